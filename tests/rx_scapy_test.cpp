// Frames crafted by scapy (tests/rx_scapy_frames.py), an encoder independent
// of the agent, fed to the receive path: the result code, the counters and
// the decoded fields. Runs Debian's /usr/bin/python3, which has python3-scapy;
// a missing scapy fails the test.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <sstream>
#include <string>

#include "rx/rx_test_util.h"

using namespace rxtest;

namespace {

Bytes fromHex(const std::string& h) {
  Bytes b;
  for (size_t i = 0; i + 1 < h.size(); i += 2) b.push_back(static_cast<uint8_t>(std::stoi(h.substr(i, 2), nullptr, 16)));
  return b;
}

// name -> frame, from the scapy script; empty when it could not run.
std::map<std::string, Bytes> scapyFrames(std::string* error) {
  std::map<std::string, Bytes> out;
  const char* src = std::getenv("LLDP_SOURCE_DIR");
  const std::string script = std::string(src ? src : ".") + "/tests/rx_scapy_frames.py";
  const std::string cmd = "/usr/bin/python3 '" + script + "' 2>&1";
  FILE* p = popen(cmd.c_str(), "r");
  if (p == nullptr) {
    *error = "cannot run " + cmd;
    return out;
  }
  std::string all;
  char buf[4096];
  while (fgets(buf, sizeof buf, p)) all += buf;
  const int rc = pclose(p);
  if (rc != 0) {
    *error = "scapy script failed (is python3-scapy installed?): " + all;
    out.clear();
    return out;
  }
  std::istringstream lines(all);
  for (std::string name, hex; lines >> name >> hex;) out[name] = fromHex(hex);
  return out;
}

struct Expect {
  uint8_t code;
  int discarded, inErrors, in, tlvDiscarded, unrecognized;
  std::function<void(Msap*)> check;
  const char* trace = nullptr;
};

const Expect kFiltered{255, 1, 0, 0, 0, 0, nullptr};
const Expect kBadFrame{2, 1, 1, 1, 0, 0, nullptr};
const Expect kBadTlv{3, 1, 1, 1, 1, 0, nullptr};
Expect ok(std::function<void(Msap*)> check, int unrecognized = 0) { return {0, 0, 0, 1, 0, unrecognized, std::move(check)}; }
Expect badTlv(const char* trace) {
  Expect e = kBadTlv;
  e.trace = trace;
  return e;
}

std::string s(const uint8_t* p, size_t n) { return text(p, n); }
using V = std::vector<long>;

std::map<std::string, Expect> expectations() {
  std::map<std::string, Expect> e;
  e["basic"] = ok([](Msap* m) {
    EXPECT_EQ((V{m->chassIdSubtype, m->portIdSubtype, m->rxInfoTTL}), (V{4, 5, 120}));
    EXPECT_EQ(Bytes(m->chassId, m->chassId + m->chassIdLen), (Bytes{0x00, 0x11, 0x22, 0x33, 0x44, 0x55}));
    EXPECT_EQ(s(m->portId, m->portIdLen), "ge-1/0/1");
    EXPECT_EQ(s(m->portDescr, m->portDescrLen), "uplink to core");
    EXPECT_EQ(s(m->sysName, m->sysNameLen), "sw-edge-7");
    EXPECT_EQ(s(m->sysDescr, m->sysDescrLen), "Linux sw-edge-7 6.1.0");
    // Bridge (bit 2) and router (bit 4) available, bridge enabled; bit-reversed.
    EXPECT_EQ((V{m->sysCap[0], m->sysCap[1], m->sysCapEnabled[0], m->sysCapEnabled[1]}), (V{0x28, 0, 0x20, 0}));
    ASSERT_EQ(m->mgmtAddrNum, 3);
    const lldpMgmtAddr* a = m->mgmtAddrList;
    EXPECT_EQ(Bytes(a->mgmtAddr, a->mgmtAddr + a->mgmtAddrLen), (Bytes{192, 0, 2, 1}));
    EXPECT_EQ((V{a->mgmtAddrSubtype, a->mgmtAddrIfSubtype, a->mgmtAddrIfId}), (V{1, 2, 3}));
    const uint32_t ipv4Oid[10] = {1, 3, 6, 1, 2, 1, 4, 20, 1, 1};
    ASSERT_EQ(a->mgmtAddrOidLen, 40);
    EXPECT_EQ(std::memcmp(a->mgmtAddrOid, ipv4Oid, 40), 0);
    a = a->next;
    EXPECT_EQ((V{a->mgmtAddrSubtype, a->mgmtAddrLen, a->mgmtAddrIfId}), (V{2, 16, 4}));
    EXPECT_EQ(a->mgmtAddrOid, nullptr);
    a = a->next;
    EXPECT_EQ((V{a->mgmtAddrSubtype, a->mgmtAddrLen}), (V{6, 6}));
    const uint32_t macOid[8] = {1, 3, 6, 1, 4, 1, 1805, 1};
    ASSERT_EQ(a->mgmtAddrOidLen, 32);
    EXPECT_EQ(std::memcmp(a->mgmtAddrOid, macOid, 32), 0);
  });
  e["tagged"] = ok([](Msap* m) { EXPECT_EQ(m->rxVlan, 42); });
  e["dot1"] = ok([](Msap* m) {
    ASSERT_EQ((V{m->dot1PpvidNum, m->dot1VlanNameNum, m->dot1ProtoidNum}), (V{2, 1, 1}));
    const LldpDot1Ppvid* p = m->dot1PpvidList;
    EXPECT_EQ((V{m->dot1Pvid, p->ppvid, p->enabled, p->next->ppvid, p->next->supported, p->next->enabled,
                 m->dot1VlanNameList->vid, m->dot1CapEnabled[0]}),
              (V{100, 150, 2, 200, 1, 1, 100, 0xF0}));
    EXPECT_EQ(s(m->dot1VlanNameList->name, m->dot1VlanNameList->nameLen), "users");
    EXPECT_EQ(Bytes(m->dot1ProtoIdList->protoId, m->dot1ProtoIdList->protoId + m->dot1ProtoIdList->len),
              (Bytes{0x88, 0x8E}));
  });
  e["dot3"] = ok([](Msap* m) {
    EXPECT_EQ((V{m->dot3AutoNegSupported, m->dot3AutoNegEnabled, m->dot3AutoNegAdvertisedCap[0],
                 m->dot3AutoNegAdvertisedCap[1], m->dot3MauType, m->dot3PowerPortClass, m->dot3PowerMDISupported,
                 m->dot3PowerMDIEnabled, m->dot3PowerPairControl, m->dot3PowerPairs, m->dot3PowerClass,
                 m->dot3PowerExtended, m->dot3PowerType, m->dot3PowerSource, m->medPowerPriority,
                 m->dot3PowerRequested, m->dot3PowerAllocated, m->dot3AggStatus, m->dot3AggPortId, m->dot3Mfs,
                 m->dot3CapEnabled[0]}),
              (V{1, 1, 0x6C, 0x01, 30, 1, 1, 1, 1, 1, 4, 1, 3, 2, 2, 255, 300, 0xC0, 7, 9216, 0xF0}));
  });
  // Inner lengths that disagree with the TLV: the fields hold only what the
  // TLV holds, and the system name behind it is read whole, as itself.
  auto nameAfter = [](Msap* m) { EXPECT_EQ(s(m->sysName, m->sysNameLen), std::string(40, '\xee')); };
  e["dot1_vlanname_over"] = ok([nameAfter](Msap* m) {
    nameAfter(m);
    ASSERT_EQ(m->dot1VlanNameNum, 1);
    const LldpDot1VlanName* v = m->dot1VlanNameList;
    Bytes name(LLDP_VLAN_NAME_MAX, 0);
    std::memcpy(name.data(), "abc", 3);
    EXPECT_EQ((V{v->vid, v->nameLen}), (V{5, 20}));
    EXPECT_EQ(Bytes(v->name, v->name + LLDP_VLAN_NAME_MAX), name);
  });
  e["dot1_protoid_over"] = ok([nameAfter](Msap* m) {
    nameAfter(m);
    ASSERT_EQ(m->dot1ProtoidNum, 1);
    const LldpDot1ProtoId* p = m->dot1ProtoIdList;
    EXPECT_EQ(Bytes(p->protoId, p->protoId + p->len), (Bytes{0x88, 0x8E}));
  });
  e["dot1_ppvid_long"] = ok([nameAfter](Msap* m) {
    nameAfter(m);
    ASSERT_EQ(m->dot1PpvidNum, 1);
    EXPECT_EQ((V{m->dot1PpvidList->ppvid, m->dot1PpvidList->supported, m->dot1PpvidList->enabled}), (V{7, 1, 1}));
  });
  e["dot1_ppvid_long"].trace = "Dot1PPvid TLV has invalid length '9' received on port ge1 \r\n";
  // Only a power TLV of exactly 12 bytes is the extended form.
  for (int n : {7, 8, 9, 10, 11, 13})
    e["dot3_power_len" + std::to_string(n)] = ok([nameAfter](Msap* m) {
      nameAfter(m);
      EXPECT_EQ((V{m->dot3PowerPortClass, m->dot3PowerMDIEnabled, m->dot3PowerPairControl, m->dot3PowerPairs,
                   m->dot3PowerClass, m->dot3PowerExtended, m->dot3PowerType, m->dot3PowerSource,
                   m->medPowerPriority, m->dot3PowerRequested, m->dot3PowerAllocated}),
                (V{1, 1, 2, 1, 2, 0, 0, 0, 0, 0, 0}));
    });
  e["dot3_power_len13"].trace = "Dot3Power TLV has invalid length '13' received on port  ge1 \r\n";
  e["med"] = ok([](Msap* m) {
    EXPECT_TRUE(lldpMsapIsMed(m));
    const LldpRemMedPolicy& p = m->medPolicy[0];
    EXPECT_EQ((V{m->medDevType, m->medCapSupported[1], p.appType, p.unknown, p.tagged, p.vid, p.priority, p.dscp,
                 m->medPowerType, m->medPowerSource, m->medPowerPriority, m->medPowerVal}),
              (V{3, 0x33, 1, 0, 1, 10, 5, 46, 3, 2, 3, 130}));
    EXPECT_EQ(Bytes(lldpRemMedLocation(m, 2).data, lldpRemMedLocation(m, 2).data + lldpRemMedLocation(m, 2).len),
              (Bytes{0x1a, 'U', 'S', 0x00, 0x01, 0x02, 'C', 'A'}));
    EXPECT_EQ(s(m->medInventory[LLDP_INV_HWREV].data, m->medInventory[LLDP_INV_HWREV].len), "HW-1");
    EXPECT_EQ(s(m->medInventory[LLDP_INV_MODELNAME].data, m->medInventory[LLDP_INV_MODELNAME].len), "Phone 9000");
  });
  e["private"] = ok([](Msap* m) {
    EXPECT_EQ(m->priCapSupported[0], 0x28);
    EXPECT_EQ(s(lldpRemPriSysOid(m).data, lldpRemPriSysOid(m).len), "1.3.6.1.4.1.56789");
    EXPECT_EQ(s(lldpRemPriInventory(m, LLDP_INV_SN).data, lldpRemPriInventory(m, LLDP_INV_SN).len), "SN42");
  });
  e["unknown"] = ok(
      [](Msap* m) {
        ASSERT_NE(m->unknownTlvList, nullptr);
        EXPECT_EQ(m->unknownTlvList->tlv->type, 20);
        EXPECT_EQ(s(m->unknownTlvList->tlv->info, m->unknownTlvList->tlv->length), "twenty");
        ASSERT_NE(m->orgTlvList, nullptr);
        ASSERT_NE(m->orgTlvList->next, nullptr);
        EXPECT_EQ(m->orgTlvList->tlv->info[2], 0x5E);
        EXPECT_EQ(m->orgTlvList->next->tlv->info[3], 7);
      },
      3);
  e["shutdown"] = {0, 0, 0, 1, 0, 0, nullptr};  // accepted; an unknown neighbour is not stored
  e["bad_dst"] = kFiltered;
  e["bad_ethertype"] = kFiltered;
  e["order_port_first"] = kBadFrame;
  e["order_no_ttl"] = kBadFrame;
  e["order_no_ttl"].trace = "TLV number 3 should have tlv_type 3, but is actually 0\r\n";
  e["no_end"] = badTlv("some mandatory tlv are missing for frame received on port ge1 \r\n");
  e["overrun"] = kBadFrame;
  e["overrun"].trace = "Received a bad TLV:  1 bytes too long!  Frame will be skipped.\r\n";
  e["ttl_short"] = badTlv("TTL TLV has an invalid length! Should be '2', but is:1\r\n");
  e["chassis_short"] = badTlv("ChassisID TLV invalid length:1 received on port ge1 \r\n");
  e["chassis_subtype0"] = kBadFrame;
  e["port_subtype8"] = kBadFrame;
  e["end_with_length"] = badTlv("lldp end received with size not null on port ge1\r\n");
  e["syscap_short"] = badTlv("SystemCap tlv too small received on port ge1 \r\n");
  e["mgmt_len8"] = badTlv("TLV has invalid length '8'.\r\n\tIt should be between 9 and 167 inclusive!\r\n");
  e["mgmt_ipv4_short"] = badTlv("management tlv too short received on port ge1 \r\n");
  e["mgmt_ipv6_short"] = badTlv("management tlv too short received on port ge1 \r\n");
  e["mgmt_mac_short"] = badTlv("management tlv too short received on port ge1\r\n");
  e["mgmt_other_long"] = badTlv("management tlv too short received on port ge1\r\n");
  e["dot1_pvid_short"] = badTlv("too short org tlv received on port  ge1 \r\n");
  e["dot1_ppvid_short"] = badTlv("too short PPVID org tlv received on port ge1 \r\n");
  e["dot1_ppvid_flags"] = badTlv("PPVID org tlv error received on port ge1 \r\n");
  e["dot1_vlanname_short"] = badTlv("too short org tlv received on portge1 \r\n");
  e["dot1_protoid_short"] = badTlv("too short org tlv received on port ge1\r\n");
  e["dot3_macphy_short"] = badTlv("too short mac/phy tlv received on port ge1 \r\n");
  e["dot3_power_short"] = badTlv("too short power tlv received on port ge1\r\n");
  e["dot3_agg_short"] = badTlv("too short aggreg tlv received on port ge1 \r\n");
  e["dot3_mfs_short"] = badTlv("too short dot3Mfs tlv received on port ge1 \r\n");
  e["med_cap_short"] = badTlv("too short LLDP-MED cap tlv received on port ge1\r\n");
  e["med_policy_short"] = badTlv("too short LLDP-MED policy tlv received on port ge1 \r\n");
  e["med_location_short"] = badTlv("too short LLDP-MED location tlv received on port ge1 \r\n");
  e["med_power_short"] = badTlv("too short LLDP-MED PoE-MDI tlv received on port ge1 \r\n");
  e["priv_cap_short"] = badTlv("too short LLDP-ZOR cap tlv received on port ge1 \r\n");
  e["priv_inventory_short"] = badTlv("too short LLDP-ZOR inventory(subtype:3) tlv received on port ge1\r\n");
  return e;
}

TEST(RxScapy, EveryCraftedFrameGivesItsResultCountersAndFields) {
  std::string error;
  const auto frames = scapyFrames(&error);
  ASSERT_FALSE(frames.empty()) << error;
  const auto expect = expectations();
  // Every frame has an expectation and every expectation a frame.
  for (auto& [name, f] : frames) EXPECT_TRUE(expect.count(name)) << "no expectation for " << name;
  for (auto& [name, x] : expect) ASSERT_TRUE(frames.count(name)) << "scapy built no frame " << name;

  for (auto& [name, x] : expect) {
    SCOPED_TRACE(name);
    Agent a;
    const size_t live = sim::liveAllocations();
    const Counters b = Counters::of(a.port());
    EXPECT_EQ(a.recv(frames.at(name)), x.code);
    const Counters c = Counters::of(a.port());
    EXPECT_EQ((V{c.discarded - b.discarded, c.inErrors - b.inErrors, c.in - b.in, c.tlvDiscarded - b.tlvDiscarded,
                 c.tlvUnrecognized - b.tlvUnrecognized}),
              (V{x.discarded, x.inErrors, x.in, x.tlvDiscarded, x.unrecognized}));
    EXPECT_TRUE(!x.trace || sim::hasLine(x.trace)) << (x.trace ? x.trace : "");
    auto ns = neighbours(a.port());
    if (x.check) {
      ASSERT_EQ(ns.size(), 1u);
      x.check(ns[0]);
    } else {
      EXPECT_TRUE(ns.empty());
      EXPECT_EQ(sim::liveAllocations(), live);
    }
  }
}

}  // namespace
