// Round trip: every frame the transmit path builds, received on another
// simulated port, decodes into a record whose fields equal the sender's
// local values.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "frameio/lldp_frameio.h"
#include "local/lldp_local.h"
#include "local/lldp_oid.h"
#include "port/lldp_mgmt_addr.h"
#include "rx/lldp_msap.h"
#include "rx/lldp_rx.h"
#include "rx/rx_test_util.h"
#include "tx/tx_test_port.h"

namespace {

using Bytes = std::vector<uint8_t>;
using V = std::vector<long>;

Bytes bytes(const uint8_t* p, size_t n) { return p ? Bytes(p, p + n) : Bytes(); }

// A receiving port built by hand, as the port table would give it.
struct Receiver {
  LldpPort r{};
  Receiver() {
    sim::addInterface(6, "ge-0/0/6", 8, {0x00, 0x1b, 0x21, 0x0a, 0x0b, 0x0d});
    r.unit = 6;
    r.ifIndex = 8;
    r.mtu = r.rxSize = 1522;
    r.rx.frame = static_cast<uint8_t*>(silMalloc(r.rxSize));
    r.msapList.next = r.msapList.prev = &r.msapList;
    r.portEnabled = 1;
    r.portStatus = 1;
    r.adminStatus = LLDP_ADMIN_TXRX;
    r.rxState = RX_WAIT_FOR_FRAME;
  }
  ~Receiver() {
    lldpPortMsapCleanup(&r);
    silFree(r.rx.frame);
  }
  Msap* receive(const Bytes& f) {
    static const uint8_t aux[32] = {};
    lldpMsgRecv(&r, aux, f.data(), static_cast<uint32_t>(f.size()));
    EXPECT_EQ(r.rxResult, RX_FRAME_OK);
    return r.msapList.next != &r.msapList ? lldpMsapFromLink(r.msapList.next) : nullptr;
  }
};

class RoundTrip : public ::testing::Test {
 protected:
  void SetUp() override {
    txtest::agentDefaults();
    avl_create(&gLldpInfo.msapTable, lldpMsapEntyrCmp, sizeof(Msap));
    gLldpInfo.memMaxRems = 16;
    gLldpInfo.trapInterval = 5;
  }
};

uint32_t getU(int (*fn)(uint32_t, uint32_t*), uint32_t unit) {
  uint32_t v = 0;
  EXPECT_EQ(fn(unit, &v), 0);
  return v;
}

// The sender's local value of a text or identifier provider.
Bytes local(const std::function<int(uint8_t*, uint32_t*)>& fn) {
  uint8_t buf[512];
  uint32_t n = sizeof buf;
  EXPECT_EQ(fn(buf, &n), 0);
  return bytes(buf, n);
}

void expectBasics(LldpPort* s, const Msap* m) {
  uint32_t sub = 0;
  ASSERT_EQ(lldpGetChassisIdType(&sub), 0);
  EXPECT_EQ((V{m->chassIdSubtype, m->portIdSubtype, m->rxInfoTTL}), (V{sub, s->portIdSubtype, s->txTTL}));
  EXPECT_EQ(bytes(m->chassId, m->chassIdLen), local(lldpGetChassisId));
  EXPECT_EQ(bytes(m->portId, m->portIdLen), local([s](uint8_t* b, uint32_t* n) { return lldpPortGetPortId(s, b, n); }));
  EXPECT_EQ(bytes(m->portDescr, m->portDescrLen),
            local([s](uint8_t* b, uint32_t* n) { return lldpPortGetDescr(s->unit, b, n); }));
  EXPECT_EQ(bytes(m->sysName, m->sysNameLen), local(lldpGetSysName));
  EXPECT_EQ(bytes(m->sysDescr, m->sysDescrLen), local(lldpGetSysDescr));
  EXPECT_EQ(bytes(m->sysCap, 2), bytes(gLldpInfo.capSupported, 2));
  EXPECT_EQ(bytes(m->sysCapEnabled, 2), bytes(gLldpInfo.capEnabled, 2));
  EXPECT_EQ(bytes(m->mac, 6), bytes(s->portMac, 6));
}

// The decoded OID of a received management address equals the sender's
// arcs for that address family.
void expectOid(const lldpMgmtAddr* a, uint32_t subtype) {
  uint32_t arcs[LLDP_OID_MAX_ARCS] = {};
  uint32_t len = 0;
  lldpMgmtAddrGetOid(subtype, 6, nullptr, arcs, &len);
  ASSERT_GT(len, 0u);
  // The codec carries at most two base-128 digits per arc: larger arcs (the
  // enterprise number) arrive modulo 16384.
  for (uint32_t i = 0; i < len / 4; ++i) arcs[i] %= 16384;
  EXPECT_EQ(a->mgmtAddrOidLen, len);
  EXPECT_EQ(bytes(a->mgmtAddrOid, a->mgmtAddrOidLen), bytes(reinterpret_cast<uint8_t*>(arcs), len));
}

// The basic TLVs and the management address: the port's MAC when nothing is
// configured, else a configured address of each family with an OID.
TEST_F(RoundTrip, BasicTlvsAndManagementAddresses) {
  const struct {
    uint8_t subtype;
    Bytes addr;  // empty: none configured
  } cases[] = {{6, {}},
               {1, {192, 0, 2, 17}},
               {2, {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}},
               {6, {0x02, 0x00, 0x5e, 0x10, 0x20, 0x30}}};
  for (const auto& c : cases) {
    txtest::Port s;
    Receiver rx;
    if (!c.addr.empty()) {
      auto* cfg = static_cast<lldpMgmtAddr*>(silCalloc(1, sizeof(lldpMgmtAddr)));
      cfg->mgmtAddrSubtype = c.subtype;
      cfg->mgmtAddrIfSubtype = 2;
      cfg->mgmtAddrLen = static_cast<uint8_t>(c.addr.size());
      std::memcpy(cfg->mgmtAddr, c.addr.data(), c.addr.size());
      s->localMgmtAddrList = cfg;
    }
    ASSERT_GT(lldpMibConstrInfoLLDPDU(s.get()), 0u);
    Msap* m = rx.receive(s.frame());
    ASSERT_NE(m, nullptr);
    expectBasics(s.get(), m);
    EXPECT_EQ(m->unknownTlvList, nullptr);
    EXPECT_EQ(m->orgTlvList, nullptr);
    ASSERT_EQ(m->mgmtAddrNum, 1);
    const lldpMgmtAddr* a = m->mgmtAddrList;
    EXPECT_EQ(a->mgmtAddrSubtype, c.subtype);
    EXPECT_EQ(bytes(a->mgmtAddr, a->mgmtAddrLen), c.addr.empty() ? bytes(s->portMac, 6) : c.addr);
    EXPECT_EQ(a->mgmtAddrIfSubtype, 2);
    EXPECT_EQ(a->mgmtAddrIfId, s->ifIndex);
    expectOid(a, c.subtype);
  }
}

TEST_F(RoundTrip, EveryFamily) {
  txtest::Port s;
  txtest::enableEverything(s.get());
  Receiver rx;
  ASSERT_GT(lldpMibConstrInfoLLDPDU(s.get()), 0u);
  const Bytes frame = s.frame();
  ASSERT_EQ(s->tx.flags & LLDP_TX_FLAG_OVERFLOW, 0u);
  Msap* m = rx.receive(frame);
  ASSERT_NE(m, nullptr);
  expectBasics(s.get(), m);
  const uint32_t u = s->unit;

  // IEEE 802.1
  EXPECT_EQ(m->dot1Pvid, getU(lldpDot1PortGetPvid, u));
  const uint32_t ppSup = getU(lldpDot1PortGetProtoVlanSupported, u);
  const uint32_t ppEn = getU(lldpDot1PortGetProtoVlanEnable, u);
  std::vector<uint16_t> ppvids;
  for (LldpDot1Ppvid* e = m->dot1PpvidList; e; e = e->next) {
    ppvids.push_back(e->ppvid);
    EXPECT_EQ(e->supported, ppSup == 1 ? 1 : 2);
    EXPECT_EQ(e->enabled, ppEn == 1 ? 1 : 2);
  }
  EXPECT_EQ(ppvids, (std::vector<uint16_t>{10, 4094}));
  std::vector<uint16_t> vids;
  for (LldpDot1VlanName* e = m->dot1VlanNameList; e; e = e->next) {
    vids.push_back(e->vid);
    uint8_t name[64];
    uint32_t n = sizeof name;
    ASSERT_EQ(lldpDot1PortGetVlanName(u, e->vid, name, &n), 0);
    if (n > 32) n = 32;
    EXPECT_EQ(bytes(e->name, e->nameLen), bytes(name, n)) << e->vid;
  }
  EXPECT_EQ(vids, (std::vector<uint16_t>{1, 100, 4000}));
  // Protocol identities: the bytes of each protocol TLV sent, in order.
  std::vector<Bytes> sentProtos, gotProtos;
  for (auto& t : txtest::tlvs(frame))
    if (t.type == 127 && t.value.size() >= 5 && Bytes(t.value.begin(), t.value.begin() + 4) == (Bytes{0x00, 0x80, 0xC2, 4}))
      sentProtos.emplace_back(t.value.begin() + 5, t.value.end());
  for (LldpDot1ProtoId* e = m->dot1ProtoIdList; e; e = e->next) gotProtos.push_back(bytes(e->protoId, e->len));
  EXPECT_EQ(gotProtos.size(), sentProtos.size());
  EXPECT_GE(gotProtos.size(), 4u);
  for (auto& p : sentProtos) EXPECT_NE(std::find(gotProtos.begin(), gotProtos.end(), p), gotProtos.end());

  // IEEE 802.3
  uint8_t cap[64] = {}, agg[64] = {};
  uint32_t n = sizeof cap;
  ASSERT_EQ(lldpDot3PortGetAutoNegAdvertisedCap(u, cap, &n), 0);
  n = sizeof agg;
  ASSERT_EQ(lldpDot3PortGetLinkAggStatus(u, agg, &n), 0);
  auto truth = [u](int (*fn)(uint32_t, uint32_t*)) { return getU(fn, u) == 1 ? 1 : 2; };
  // The sender had no neighbour asking for power: 0 requested.
  EXPECT_EQ((V{m->dot3AutoNegSupported, m->dot3AutoNegEnabled, m->dot3AutoNegAdvertisedCap[0],
               m->dot3AutoNegAdvertisedCap[1], m->dot3MauType, m->dot3PowerPortClass, m->dot3PowerMDISupported,
               m->dot3PowerMDIEnabled, m->dot3PowerPairControl, m->dot3PowerPairs, m->dot3PowerClass,
               m->dot3PowerExtended, m->dot3PowerType, m->dot3PowerSource, m->dot3PowerAllocated,
               m->dot3PowerRequested, m->dot3AggStatus, m->dot3AggPortId, m->dot3Mfs}),
            (V{getU(lldpDot3PortGetAutoNegSupported, u), getU(lldpDot3PortGetAutoNegEnabled, u), cap[0], cap[1],
               getU(lldpDot3PortGetOperMauType, u), truth(lldpDot3PortGetPowerPortClass),
               truth(lldpDot3PortGetPowerMDISupported), truth(lldpDot3PortGetPowerMDIEnabled),
               truth(lldpDot3PortGetPowerPairControlable), getU(lldpDot3PortGetPowerPairs, u),
               getU(lldpDot3PortGetPowerClass, u), 1, gLldpInfo.medPoeDeviceType,
               getU(lldpMedPortGetPsePowerSource, u), getU(lldpMedPortGetPsePowerValue, u) / 100, 0, agg[0],
               getU(lldpDot3PortGetLinkAggPortId, u), getU(lldpDot3PortGetMaxFrameSize, u)}));

  // TIA LLDP-MED
  EXPECT_TRUE(lldpMsapIsMed(m));
  uint8_t sup[2] = {s->medTlvTxSupported[0], s->medTlvTxSupported[1]};
  reverseBits(sup, 2);
  EXPECT_EQ(bytes(m->medCapSupported, 2), bytes(sup, 2));
  EXPECT_EQ(m->medDevType, gLldpInfo.medDeviceType);
  for (uint32_t t = 1; t <= 8; ++t) {
    const LldpRemMedPolicy& p = m->medPolicy[t - 1];
    uint32_t vid = 0, pri = 0, dscp = 0, unknown = 0, tagged = 0;
    lldpMedPortGetPolicyVid(s.get(), t, &vid);
    lldpMedPortGetPolicyPri(s.get(), t, &pri);
    lldpMedPortGetPolicyDscp(s.get(), t, &dscp);
    lldpMedPortGetPolicyUnknown(s.get(), t, &unknown);
    lldpMedPortGetPolicyTagged(s.get(), t, &tagged);
    EXPECT_EQ((V{p.appType, p.vid, p.priority, p.dscp, p.unknown, p.tagged}),
              (V{t, vid, pri, dscp, unknown == 1, tagged == 1})) << t;
  }
  for (int f = 0; f < 3; ++f)
    EXPECT_EQ(bytes(lldpRemMedLocation(m, f + 1).data, lldpRemMedLocation(m, f + 1).len),
              bytes(s->medLocation[f].data, s->medLocation[f].len)) << f;
  // Both extended-power forms are sent (PSE, then PD); the later one is kept.
  uint32_t pdSource = 0, pdPrio = 0, pdValue = 0;
  lldpMedGetPdPowerSource(&pdSource);
  lldpMedGetPdPowerPriority(&pdPrio);
  lldpMedGetPdPowerValue(&pdValue);
  EXPECT_EQ((V{m->medPowerType, m->medPowerSource, m->medPowerPriority, m->medPowerVal}),
            (V{gLldpInfo.medPoeDeviceType, pdSource, pdPrio, pdValue}));
  const struct {
    const uint8_t* s;
    uint8_t len;
  } inv[LLDP_INV_COUNT] = {{gLldpInfo.medHwRev, gLldpInfo.medHwRevLen},   {gLldpInfo.medFwRev, gLldpInfo.medFwRevLen},
                           {gLldpInfo.medSwRev, gLldpInfo.medSwRevLen},   {gLldpInfo.medSn, gLldpInfo.medSnLen},
                           {gLldpInfo.medMfgName, gLldpInfo.medMfgNameLen}, {gLldpInfo.medModelName, gLldpInfo.medModelNameLen},
                           {gLldpInfo.medAssetId, gLldpInfo.medAssetIdLen}};
  for (int i = 0; i < LLDP_INV_COUNT; ++i) {
    EXPECT_EQ(bytes(m->medInventory[i].data, m->medInventory[i].len), bytes(inv[i].s, inv[i].len)) << i;
    EXPECT_EQ(bytes(lldpRemPriInventory(m, i).data, lldpRemPriInventory(m, i).len), bytes(inv[i].s, inv[i].len)) << i;
  }

  // Private LLDP-ZOR
  EXPECT_EQ(bytes(m->priCapSupported, 2), bytes(s->privTlvTxSupported, 2));
  EXPECT_EQ(bytes(lldpRemPriSysOid(m).data, lldpRemPriSysOid(m).len), bytes(gLldpInfo.sysOid, gLldpInfo.sysOidLen));

  // The Juniper TLV is not one the receive path decodes: kept whole.
  ASSERT_NE(m->orgTlvList, nullptr);
  EXPECT_EQ(bytes(m->orgTlvList->tlv->info, 3), (Bytes{0x00, 0x90, 0x69}));
  EXPECT_EQ(rx.r.statsTLVsDiscardedTotal + rx.r.statsFramesInErrorsTotal, 0u);
}

TEST_F(RoundTrip, ShutdownFrameDeletesTheNeighbour) {
  txtest::Port s;
  Receiver rx;
  lldpMibConstrInfoLLDPDU(s.get());
  ASSERT_NE(rx.receive(s.frame()), nullptr);
  s.clearBuffer();
  ASSERT_GT(lldpMibConstrShutdownLLDPDU(s.get()), 0u);
  EXPECT_EQ(rx.receive(s.frame()), nullptr);
  EXPECT_EQ(gLldpInfo.statsRemTablesDeletes, 1u);
}

}  // namespace
