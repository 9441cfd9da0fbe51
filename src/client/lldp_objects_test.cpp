// The typed records and walks of the client library against the agent's own
// handlers, served over a real socket by the command server's loop, with the
// agent on the simulated platform: every field must come from the object the
// management document names, in its form, decoded the right way round; key
// records must have the documented layout; walks must survive rows that go
// away under them.
#include "client/lldp_objects.h"

#include <gtest/gtest.h>

#include <cstring>

#include "client/client_testutil.h"
#include "core/lldp_task.h"
#include "core/lldp_testutil.h"
#include "platform/sil.h"
#include "port/lldp_mgmt_addr.h"
#include "rx/rx_test_util.h"

using namespace lldpc;

namespace {

const std::string& agentPath() {
  static const std::string path = [] {
    std::string why;
    const std::string p = clienttest::serveAgent("objects", &why);
    EXPECT_FALSE(p.empty()) << why;
    return p;
  }();
  return path;
}

// The result code a change was refused with, 0 when it went through.
template <class F>
uint32_t refusal(F change) {
  try {
    change();
  } catch (const OperationError& e) {
    return e.code();
  }
  return 0;
}

class ClientObjects : public lldptest::AgentTest {
 protected:
  void SetUp() override {
    if (!glldpFuncMap[1].handler) GTEST_SKIP() << "the agent's management operations are not built";
    ASSERT_EQ(lldptest::startAgent({{"lldp.defaultportmode", "rxtx"}, {"lldp.maxifnum", "16"}}), 0);
    sim::setOctets(sim::Svc::Scalar, 0, 129, {0xFC, 0x00});  // LLDP-MED TLVs 0-5 supported
    lldpMainStart();
  }
  void TearDown() override {
    if (!glldpFuncMap[1].handler) return;
    while (lldpMgmtAddr* row = gLldpInfo.manAddrList) {
      gLldpInfo.manAddrList = row->next;
      silFree(row->mgmtAddrOid);
      silFree(row->mgmtAddrPort);
      silFree(row);
    }
    lldptest::AgentTest::TearDown();
  }
  // Registers each unit and runs the rounds that bring its machines to
  // steady state.
  static void addPorts(std::initializer_list<uint32_t> units) {
    for (uint32_t u : units) {
      lldptest::addPort(u);
      sim::queueEvent(lldptest::registration(u));
      for (int i = 0; i < 3; ++i) lldpMainRound();
    }
  }
  Client c{agentPath()};
};

TEST_F(ClientObjects, GlobalRecordsReadEachFieldFromItsObject) {
  // Distinct values, so that a field read from a neighbouring object shows.
  gLldpInfo.msgTxInterval = 31;
  gLldpInfo.msgTxHold = 5;
  gLldpInfo.reinitDelay = 3;
  gLldpInfo.txDelay = 2;
  gLldpInfo.trapInterval = 7;
  gLldpInfo.mode = 1;
  gLldpInfo.dfltmode = 2;
  gLldpInfo.debugFlags = 0x104;
  gLldpInfo.medDeviceType = 3;
  gLldpInfo.medFastStartRepeatCount = 4;
  gLldpInfo.dflPortMode = 2;
  gLldpInfo.dfltGlobalAdminStatus = 2;
  gLldpInfo.maxMgmtAddrNum = 40;
  const GlobalConfig g = getGlobalConfig(c);
  EXPECT_EQ((std::vector<uint32_t>{g.msgTxInterval, g.msgTxHold, g.reinitDelay, g.txDelay, g.trapInterval,
                                   g.mode, g.defaultMode, g.debugFlags, g.medDeviceClass, g.medFastStartCount,
                                   g.defaultPortAdmin, g.adminStatus, g.defaultAdminStatus, g.mgmtAddrLimit,
                                   g.mgmtAddrCount}),
            (std::vector<uint32_t>{31, 5, 3, 2, 7, 1, 2, 0x104, 3, 4, 2, 1, 2, 40, 0}));

  gLldpInfo.statsRemTablesLastChangeTime[1] = 900;
  gLldpInfo.statsRemTablesInserts = 11;
  gLldpInfo.statsRemTablesDeletes = 12;
  gLldpInfo.statsRemTablesDrops = 13;
  gLldpInfo.statsRemTablesAgeouts = 14;
  const uint32_t block[8] = {800, 21, 22, 23, 24, 25, 26, 0};
  std::memcpy(gLldpInfo.globalStatsBlock, block, sizeof block);
  const GlobalStats s = getGlobalStats(c);
  EXPECT_EQ((std::vector<uint32_t>{s.remInserts, s.remDeletes, s.remDrops, s.remAgeouts, s.countersCleared}),
            (std::vector<uint32_t>{11, 12, 13, 14, 800}));
  EXPECT_EQ(s.framesIn, gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_IN]);
  EXPECT_EQ(s.framesInErrors, gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_IN_ERRORS]);
  EXPECT_EQ(s.framesDiscarded, gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_DISCARDED]);
  EXPECT_EQ(s.tlvsDiscarded, gLldpInfo.globalStatsBlock[LLDP_GSTAT_TLVS_DISCARDED]);
  EXPECT_EQ(s.tlvsUnrecognised, gLldpInfo.globalStatsBlock[LLDP_GSTAT_TLVS_UNRECOGNIZED]);
  EXPECT_EQ(s.framesOut, gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_OUT]);

  // The chassis ID comes from the platform: unset there, it is missing here.
  EXPECT_FALSE(getLocalSystem(c).chassisId);
  sim::setOctets(sim::Svc::Scalar, 0, 6, {0x02, 0, 0, 0, 0, 0x77});
  const LocalSystem ls = getLocalSystem(c);
  EXPECT_EQ(ls.version, "LLDP_V7.01.00.00");
  EXPECT_EQ(ls.chassisIdSubtype, 4u);
  EXPECT_EQ(ls.chassisId, (std::vector<uint8_t>{0x02, 0, 0, 0, 0, 0x77}));

  // A Set goes to the object and is cut to the field's width.
  setGlobal(c, gobj::kMsgTxInterval, 70000);
  EXPECT_EQ(getGlobalConfig(c).msgTxInterval, 4464u);
  EXPECT_EQ(refusal([this] { setGlobal(c, gobj::kRemInserts, 1); }), kUnknownObject);  // no Set
}

TEST_F(ClientObjects, PortRecordsMapTheirObjectsAndWalksSkipAPortThatWentAway) {
  addPorts({9, 3, 5});
  LldpPort* p = lldpPortEntryGet(5);
  ASSERT_NE(p, nullptr);
  p->statsFramesOutTotal = 1;
  p->statsFramesDiscardedTotal = 2;
  p->statsFramesInErrorsTotal = 3;
  p->statsFramesInTotal = 4;
  p->statsTLVsDiscardedTotal = 5;
  p->statsTLVsUnrecognizedTotal = 6;
  p->statsAgeoutsTotal = 7;
  setPortBytes(c, 5, pobj::kVlanNames, vlanMap({1, 10, 4095}));
  setPortBytes(c, 5, pobj::kPpvids, vlanMap({20}));
  setPortBytes(c, 5, pobj::kMedEnabled, {0xC0, 0x00});
  setPortInt(c, 5, pobj::kNotifications, 2);

  const auto got = getPort(c, 5);
  ASSERT_TRUE(got);
  const PortStats& st = got->stats;
  EXPECT_EQ((std::vector<uint32_t>{st.framesOut, st.framesDiscarded, st.framesInErrors, st.framesIn,
                                   st.tlvsDiscarded, st.tlvsUnrecognised, st.ageouts}),
            (std::vector<uint32_t>{1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(got->vlanNames, (std::vector<uint16_t>{1, 10, 4095}));
  EXPECT_EQ(got->ppvids, (std::vector<uint16_t>{20}));
  EXPECT_EQ(got->dot1Enabled & 0x60, 0x60);  // bits 1 and 2 set by the lists
  EXPECT_EQ(got->medEnabled, 0xC000);
  EXPECT_EQ(got->medSupported, 0xFC00);
  EXPECT_EQ((std::vector<uint32_t>{got->unit, got->adminStatus, got->notifications}),
            (std::vector<uint32_t>{5, 3, 2}));
  ASSERT_TRUE(got->portId);
  EXPECT_FALSE(got->portId->empty());

  clearPortCounters(c, 5);
  EXPECT_EQ(getPort(c, 5)->stats.framesIn, 0u);
  EXPECT_FALSE(getPort(c, 77));
  EXPECT_EQ(refusal([this] { setPortInt(c, 77, pobj::kAdminStatus, 4); }), kNoSuchRow);

  std::vector<uint32_t> units;
  for (uint32_t u : portUnits(c)) units.push_back(u);
  EXPECT_EQ(units, (std::vector<uint32_t>{3, 5, 9}));
  EXPECT_TRUE(portUnits(c, 0x00ABCD01).all().empty()) << "a filter of another OUI matches no port";

  // Port 5 goes away while the walk stands on port 3.
  units.clear();
  auto w = portWalk(c);
  for (auto it = w.begin(); it != w.end(); ++it) {
    units.push_back(it->unit);
    if (it->unit == 3) {
      ASSERT_EQ(lldpPortEntryDel(lldpPortEntryGet(5)), 0);
    }
  }
  EXPECT_EQ(units, (std::vector<uint32_t>{3, 9}));
}

TEST_F(ClientObjects, ManagementAddressesTravelInTheirKeyRecords) {
  addPorts({3, 5});
  const auto v4a = MgmtAddress::parse("192.0.2.1"), v4b = MgmtAddress::parse("10.0.0.1"),
             v6 = MgmtAddress::parse("2001:db8::1"), p5 = MgmtAddress::parse("172.16.0.5"),
             p3 = MgmtAddress::parse("172.16.0.3");
  ASSERT_TRUE(v4a && v4b && v6 && p5 && p3);
  for (const auto* a : {&v4a, &v4b, &v6}) addManAddr(c, **a);
  addPortManAddr(c, 5, *p5);
  addPortManAddr(c, 3, *p3);

  std::vector<std::string> rows;
  for (const ManAddrRow& r : manAddrWalk(c)) {
    rows.push_back(r.addr.str() + "/" + std::to_string(r.addrLen));
    EXPECT_FALSE(r.oid.empty()) << r.addr.str();
  }
  EXPECT_EQ(rows, (std::vector<std::string>{"10.0.0.1/4", "192.0.2.1/4", "2001:db8::1/16"}));
  rows.clear();
  for (const ManAddrRow& r : portManAddrWalk(c)) rows.push_back(std::to_string(r.unit) + " " + r.addr.str());
  EXPECT_EQ(rows, (std::vector<std::string>{"3 172.16.0.3", "5 172.16.0.5"}));

  deleteManAddr(c, *v4b);
  deletePortManAddr(c, 3, *p3);
  EXPECT_EQ(manAddrWalk(c).all().size(), 2u);
  ASSERT_EQ(portManAddrWalk(c).all().size(), 1u);
  EXPECT_EQ(getGlobalConfig(c).mgmtAddrCount, 3u);

  setGlobal(c, gobj::kAdminStatus, 2);
  EXPECT_EQ(refusal([&] { addManAddr(c, *v4b); }), kAgentDisabled);
}

// A management address TLV: subtype, address, ifIndex numbering, no OID.
std::vector<uint8_t> mgmtAddrTlv(uint8_t subtype, const std::vector<uint8_t>& addr, uint8_t ifIndex) {
  std::vector<uint8_t> v{static_cast<uint8_t>(addr.size() + 1), subtype};
  v.insert(v.end(), addr.begin(), addr.end());
  v.insert(v.end(), {2, 0, 0, 0, ifIndex, 0});
  return v;
}

TEST_F(ClientObjects, NeighboursComeWholeWithTheirOwnListEntries) {
  addPorts({1, 2});
  using rxtest::str;
  rxtest::Frame one;
  one.head("one", "p1", 120)
      .tlv(4, str("uplink"))
      .tlv(5, str("sw-one"))
      .tlv(6, str("Switch OS"))
      .tlv(7, {0x00, 0x14, 0x00, 0x04})
      .tlv(8, mgmtAddrTlv(1, {10, 0, 0, 2}, 7))
      .tlv(8, mgmtAddrTlv(1, {10, 0, 0, 1}, 7))
      .tlv(9, str("yy"))
      .org(rxtest::kDot1, 1, {0x00, 0x64})
      .org(rxtest::kDot1, 2, {0x06, 0x00, 0x14})
      .org(rxtest::kDot1, 3, {0x00, 0x0A, 5, 'v', 'o', 'i', 'c', 'e'})
      .org(rxtest::kDot1, 3, {0x00, 0x14, 4, 'd', 'a', 't', 'a'})
      .org(rxtest::kDot1, 4, {2, 0x88, 0x8E})
      .org(rxtest::kDot3, 1, {0x03, 0x6C, 0x01, 0x00, 0x1E})
      .org(rxtest::kDot3, 4, {0x05, 0xF2})
      .org(rxtest::kMed, 1, {0x00, 0x33, 0x03})
      .org(rxtest::kMed, 2, {0x01, 0x40, 0x15, 0x6E})  // voice: tagged, VLAN 10, priority 5, DSCP 46
      .org(rxtest::kMed, 3, {0x02, 0x07, 0x02, 'U', 'S', 0x03, 0x02, 'C', 'A'})
      .org(rxtest::kMed, 5, str("HW 2.1"))
      .org({0x00, 0xAA, 0xBB}, 1, str("p"))
      .end();
  rxtest::Frame two;
  two.head("two", "p9", 120).tlv(8, mgmtAddrTlv(1, {192, 0, 2, 9}, 3)).org(rxtest::kDot1, 3, {0x00, 0x63, 1, 'x'}).end();
  sim::queueFrame(1, one.b);
  lldpMainRound();
  sim::queueFrame(2, two.b);
  lldpMainRound();

  const std::vector<Neighbour> all = neighboursDetail(c);
  ASSERT_EQ(all.size(), 2u);
  const Neighbour& n = all[0];
  EXPECT_TRUE(n.detailed);
  EXPECT_EQ((std::vector<std::string>{std::string(n.chassisId.begin(), n.chassisId.end()), n.sysName, n.portDescr,
                                      n.sysDescr}),
            (std::vector<std::string>{"one", "sw-one", "uplink", "Switch OS"}));
  EXPECT_EQ((std::vector<uint32_t>{n.index.port, n.chassisIdSubtype, n.portIdSubtype, n.ttl, n.dot1.pvid,
                                   n.dot3.mauType, n.dot3.maxFrameSize, n.dot3.autoNegSupported, n.med.deviceClass}),
            (std::vector<uint32_t>{1, 7, 5, 120, 100, 30, 1522, 1, 3}));
  EXPECT_EQ(n.dot3.autoNegAdvertised, 0x6C01);
  EXPECT_EQ(n.med.inventory.hardwareRev, "HW 2.1");
  EXPECT_EQ(n.med.tlvs & 0xE000, 0xE000) << "capabilities, policy and location came";

  std::vector<std::string> addrs, names;
  for (const auto& a : n.mgmtAddresses) addrs.push_back(a.addr.str() + "@" + std::to_string(a.ifId));
  EXPECT_EQ(addrs, (std::vector<std::string>{"10.0.0.1@7", "10.0.0.2@7"}));
  for (const auto& v : n.dot1.vlanNames) names.push_back(std::to_string(v.vlan) + "=" + v.name);
  EXPECT_EQ(names, (std::vector<std::string>{"10=voice", "20=data"}));
  ASSERT_EQ(n.dot1.ppvids.size(), 1u);
  EXPECT_EQ(n.dot1.ppvids[0].ppvid, 20u);
  ASSERT_EQ(n.dot1.protocols.size(), 1u);
  EXPECT_EQ(n.dot1.protocols[0].identity, (std::vector<uint8_t>{0x88, 0x8E}));
  ASSERT_EQ(n.med.policies.size(), 1u);
  EXPECT_EQ(n.med.policies[0].policy, (MediaPolicy{1, 10, 5, 46, 0, 1}));
  ASSERT_EQ(n.med.locations.size(), 1u);
  EXPECT_EQ(n.med.locations[0].format, 2u);
  EXPECT_EQ(n.med.locations[0].data, (std::vector<uint8_t>{0x07, 0x02, 'U', 'S', 0x03, 0x02, 'C', 'A'}));
  ASSERT_EQ(n.unknownTlvs.size(), 1u);
  EXPECT_EQ((std::vector<uint32_t>{n.unknownTlvs[0].type, n.unknownTlvs[0].place}), (std::vector<uint32_t>{9, 1}));
  EXPECT_EQ(n.unknownTlvs[0].info, str("yy"));
  ASSERT_EQ(n.orgTlvs.size(), 1u);
  EXPECT_EQ((std::vector<uint32_t>{n.orgTlvs[0].oui, n.orgTlvs[0].subtype}), (std::vector<uint32_t>{0x00AABB, 1}));

  // The second neighbour has its own entries and none of the first's.
  const Neighbour& m = all[1];
  ASSERT_EQ(m.mgmtAddresses.size(), 1u);
  EXPECT_EQ(m.mgmtAddresses[0].addr.str(), "192.0.2.9");
  ASSERT_EQ(m.dot1.vlanNames.size(), 1u);
  EXPECT_EQ(m.dot1.vlanNames[0].name, "x");
  EXPECT_TRUE(m.med.policies.empty() && m.unknownTlvs.empty() && m.dot1.ppvids.empty());

  // One neighbour read alone stops at the end of its own entries.
  for (const Neighbour& want : all) {
    const auto got = getNeighbourDetail(c, want.index);
    ASSERT_TRUE(got);
    EXPECT_EQ(got->mgmtAddresses.size(), want.mgmtAddresses.size());
    EXPECT_EQ(got->dot1.vlanNames.size(), want.dot1.vlanNames.size());
    EXPECT_EQ(got->med.policies.size(), want.med.policies.size());
    EXPECT_EQ(got->sysName, want.sysName);
  }

  // Walks by what the neighbours sent.
  const auto indexes = [this](RemoteFilter f) {
    std::vector<uint32_t> ports;
    for (const RemoteIndex& i : neighbourIndexes(c, f)) ports.push_back(i.port);
    return ports;
  };
  EXPECT_EQ(indexes(RemoteFilter::All), (std::vector<uint32_t>{1, 2}));
  EXPECT_EQ(indexes(RemoteFilter::MedCapable), (std::vector<uint32_t>{1}));
  EXPECT_EQ(indexes(RemoteFilter::Dot3MaxFrame), (std::vector<uint32_t>{1}));
  EXPECT_EQ(neighbours(c).all().size(), 2u);
  // Every field without the lists, in one walk.
  const std::vector<Neighbour> fields = neighbourFieldWalk(c).all();
  ASSERT_EQ(fields.size(), 2u);
  EXPECT_EQ((std::vector<uint32_t>{fields[0].dot3.maxFrameSize, fields[0].med.deviceClass, fields[1].index.port}),
            (std::vector<uint32_t>{1522, 3, 2}));
  EXPECT_EQ(fields[0].med.inventory.hardwareRev, "HW 2.1");
  EXPECT_TRUE(fields[0].mgmtAddresses.empty() && fields[0].dot1.vlanNames.empty());

  // A neighbour that is gone reads as nothing.
  rxtest::Frame bye;
  bye.head("two", "p9", 0).end();
  sim::queueFrame(2, bye.b);
  lldpMainRound();
  EXPECT_FALSE(getNeighbour(c, m.index));
  EXPECT_FALSE(getNeighbourDetail(c, m.index));
}

TEST_F(ClientObjects, LocalVlanPolicyAndLocationTablesReadBackWhatWasSet) {
  addPorts({4});
  setVlanNameAdvertised(c, 4, 10, true);
  setVlanNameAdvertised(c, 4, 30, true);
  setVlanNameAdvertised(c, 4, 10, false);
  setProtoVlanAdvertised(c, 4, 7, true);
  std::vector<uint32_t> vlans;
  for (const LocalVlanName& v : localVlanNames(c)) {
    EXPECT_EQ(v.unit, 4u);
    vlans.push_back(v.vlan);
  }
  EXPECT_EQ(vlans, (std::vector<uint32_t>{30}));
  const auto ppv = localProtoVlans(c).all();
  ASSERT_EQ(ppv.size(), 1u);
  EXPECT_EQ(ppv[0].vlan, 7u);

  setPortBytes(c, 4, pobj::kMedEnabled, {0xE0, 0x00});  // capabilities, policy, location
  setPolicy(c, 4, 1, polobj::kVlan, 200);
  setPolicy(c, 4, 1, polobj::kPriority, 6);
  const auto policies = localPolicies(c).all();
  ASSERT_EQ(policies.size(), 1u);
  EXPECT_EQ(policies[0].policy, (MediaPolicy{1, 200, 6, 46, 0, 1}));
  EXPECT_EQ(refusal([this] { setPolicy(c, 4, 1, polobj::kUnknown, 1); }), kUnknownObject);

  const std::vector<uint8_t> civic = {0x07, 0x02, 'D', 'E', 0x03, 0x02, 'B', 'E'};
  setLocation(c, 4, 2, civic);
  const std::string coord = "north,35.5,east,139.25,meters,12.5,wgs84,";
  setLocation(c, 4, 1, std::vector<uint8_t>(coord.begin(), coord.end()));
  std::vector<std::string> rows;
  for (const LocalLocation& l : localLocations(c))
    rows.push_back(std::to_string(l.format) + (l.configured ? " set " : " unset ") + std::to_string(l.data.size()));
  EXPECT_EQ(rows, (std::vector<std::string>{"1 set 16", "2 set 8", "3 unset 0"}));
  const auto locs = localLocations(c).all();
  EXPECT_EQ(locs[1].value, civic);
  EXPECT_EQ(std::string(locs[0].value.begin(), locs[0].value.end()).substr(0, 11), "north,35.50");
  removeLocation(c, 4, 2);
  EXPECT_FALSE(localLocations(c).all()[1].configured);
}

TEST(ClientAddressText, ParsesAndPrintsTheThreeFamilies) {
  const std::pair<std::string, std::optional<std::pair<uint8_t, size_t>>> cases[] = {
      {"192.0.2.1", {{1, 4}}}, {"2001:db8::1", {{2, 16}}},       {"00:11:22:aa:bb:cc", {{6, 6}}},
      {"1.2.3", std::nullopt}, {"00:11:22:aa:bb", std::nullopt}, {"00:11:22:aa:bb:cc:", std::nullopt}};
  for (const auto& [text, want] : cases) {
    const auto a = MgmtAddress::parse(text);
    ASSERT_EQ(a.has_value(), want.has_value()) << text;
    if (!a) continue;
    EXPECT_EQ(a->subtype, want->first) << text;
    EXPECT_EQ(a->bytes.size(), want->second) << text;
    EXPECT_EQ(a->str(), text);
    EXPECT_EQ(manAddrFromKey(manAddrKey(*a)), *a) << text;
  }
  EXPECT_EQ(vlanList(vlanMap({4096, 1, 9})), (std::vector<uint16_t>{1, 9, 4096}));
}

}  // namespace
