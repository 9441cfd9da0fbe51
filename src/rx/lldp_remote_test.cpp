// The remote table's life cycle against the virtual clock, the receive state
// machine's ageing and hold-offs, and the notifier's outputs.
#include <gtest/gtest.h>

#include <functional>

#include "rx/rx_test_util.h"

using namespace rxtest;

namespace {

using V = std::vector<long>;
size_t groupSends(uint16_t type) {
  size_t n = 0;
  for (auto& g : sim::groupSends())
    if (g.bytes.size() == 56 && ((g.bytes[4] << 8) | g.bytes[5]) == type) ++n;
  return n;
}

Frame neighbour(const std::string& chassis, uint16_t ttl, const std::string& name = "sw") {
  Frame f;
  f.head(chassis, "p1", ttl).tlv(5, str(name)).end();
  return f;
}

TEST(RemoteTable, InsertThenUnchangedRefreshWithoutNotification) {
  Agent a;
  sim::setInt(sim::Svc::Hw, 0, 54, 0);  // a unit of a stack
  sim::advanceMs(7000);
  ASSERT_EQ(a.recv(neighbour("A", 120)), RX_FRAME_OK);
  ASSERT_EQ(neighbours(a.port()).size(), 1u);
  Msap* m = neighbours(a.port())[0];
  EXPECT_EQ(lldpMsapEntyrGet(0, 7, 1, 1), m);
  EXPECT_EQ((V{m->remIndex, m->timeMark[0], m->timeMark[1], gLldpInfo.statsRemTablesInserts, gLldpInfo.memCurRems,
               a.port()->remSysTotal, gLldpInfo.statsRemTablesLastChangeTime[1], long(groupSends(280)),
               long(sim::cmdSyncs().size())}),
            (V{1, 0, 7, 1, 1, 1, 7, 1, 1}));
  EXPECT_TRUE(sim::hasLine("New MSAP Cache Miss on portge1\r\n"));

  for (int i = 0; i < 10; ++i) a.tick();
  EXPECT_EQ(m->rxInfoTTL, 110);
  ASSERT_EQ(a.recv(neighbour("A", 120)), RX_FRAME_OK);
  ASSERT_EQ(neighbours(a.port()).size(), 1u);
  EXPECT_EQ(neighbours(a.port())[0], m) << "the stored record stays";
  // No notification for a refresh, but the stack is told.
  EXPECT_EQ((V{m->rxInfoTTL, gLldpInfo.statsRemTablesInserts, gLldpInfo.statsRemTablesLastChangeTime[1],
               long(sim::groupSends().size()), long(sim::cmdSyncs().size())}),
            (V{120, 1, 7, 1, 2}));
  EXPECT_TRUE(sim::hasLine("Same MSAP\tCache Hit on port ge1\r\n"));
}

TEST(RemoteTable, ChangeKeepsIndexAndMovesToFrontWithRateLimitedNotifications) {
  Agent a;
  sim::setInt(sim::Svc::Hw, 0, 54, 0);  // a unit of a stack
  gLldpInfo.trapInterval = 5;
  sim::advanceMs(1000);
  a.recv(neighbour("A", 120, "v0"));
  a.recv(neighbour("B", 120));
  auto ns = neighbours(a.port());
  ASSERT_EQ(ns.size(), 2u);
  EXPECT_EQ(text(ns[0]->chassId, 1), "B");
  const uint32_t idxA = ns[1]->remIndex;

  sim::advanceMs(9000);  // up-time 10
  const size_t syncs = sim::cmdSyncs().size();
  a.recv(neighbour("A", 100, "v1"));
  ns = neighbours(a.port());
  ASSERT_EQ(ns.size(), 2u);
  EXPECT_EQ(text(ns[0]->sysName, ns[0]->sysNameLen), "v1");
  EXPECT_EQ(lldpMsapEntyrGet(0, 1, 1, idxA), ns[0]) << "the tree holds the new record";
  EXPECT_EQ((V{ns[0]->remIndex, ns[0]->timeMark[1], gLldpInfo.statsRemTablesLastChangeTime[1],
               gLldpInfo.statsRemTablesInserts, gLldpInfo.statsRemTablesDeletes, a.port()->rxChanges,
               long(groupSends(281)), long(sim::cmdSyncs().size() - syncs)}),
            (V{idxA, 1, 10, 2, 0, 1, 1, 1}));

  sim::advanceMs(2000);  // 2 s after the last change notification: suppressed
  a.recv(neighbour("A", 100, "v2"));
  EXPECT_EQ(groupSends(281), 1u);
  EXPECT_EQ(sim::cmdSyncs().size(), syncs + 2);
  EXPECT_EQ(gLldpInfo.statsRemTablesLastChangeTime[1], 12u);

  sim::advanceMs(3000);  // 5 s: allowed again
  a.recv(neighbour("A", 100, "v3"));
  EXPECT_EQ(groupSends(281), 2u);
  EXPECT_EQ(gLldpInfo.lastTrapTime, 15u);
}

// ---- Change detection: one field at a time --------------------------------

// A neighbour that carries every field the comparison looks at, as a list of
// TLVs (organizationally specific values start with OUI and subtype, so
// their data starts at byte 4). Decoded values are chosen so that removing
// the PVID, the maximum frame size, the empty MED inventory or the empty
// private system OID changes nothing but the received-TLV map, and removing
// the all-zero policy of application 1 nothing but that slot's application.
enum { kChassis, kPort, kPortDescr = 3, kSysName, kSysDescr, kCaps, kMgmt, kUnknown, kOrgUnknown, kPvid, kPpvid,
       kVlanName, kProto, kMacPhy, kPower, kAgg, kMfs, kMedCap, kPolicyZero, kPolicy, kLocation, kMedPse, kMedPd,
       kMedInv, kPrivCap, kPrivOid, kPrivInv };
using Tlvs = std::vector<std::pair<uint8_t, Bytes>>;
Tlvs richNeighbour() {
  auto o = [](const Bytes& oui, uint8_t sub, Bytes data) {
    Bytes v = oui;
    v.push_back(sub);
    v.insert(v.end(), data.begin(), data.end());
    return std::make_pair(uint8_t{127}, v);
  };
  return {{1, {7, 'A'}}, {2, {5, 'p', '1'}}, {3, {0, 120}}, {4, str("pd")}, {5, str("sn")}, {6, str("sd")},
          {7, {0, 0x14, 0, 0x04}}, {8, {5, 1, 10, 0, 0, 1, 2, 0, 0, 0, 7, 5, 0x06, 0x03, 0x2B, 0x06, 0x01}},
          {20, str("u")}, o({0, 0, 0x5E}, 1, {9}),
          o(kDot1, 1, {0, 0}), o(kDot1, 2, {0x02, 0, 0x10}), o(kDot1, 3, {0, 5, 2, 'v', 'n'}),
          o(kDot1, 4, {2, 0x88, 0x8E}),
          o(kDot3, 1, {0x03, 0x6C, 0x01, 0x00, 0x1E}), o(kDot3, 2, {0x0F, 1, 4, 0x51, 0, 0x64, 0, 0x96}),
          o(kDot3, 3, {0x03, 0, 0, 0, 7}), o(kDot3, 4, {0, 0}),
          o(kMed, 1, {0x00, 0x33, 0x03}), o(kMed, 2, {0x01, 0, 0, 0}), o(kMed, 2, {0x02, 0xC0, 0x15, 0x6E}),
          o(kMed, 3, {0x02, 'c', 'i', 'v'}),
          o(kMed, 4, {0x12, 0x00, 0xC8}), o(kMed, 4, {0x52, 0x00, 0xC8}), o(kMed, 11, {}),
          o(kPriv, 1, {0x00, 0x14}), o(kPriv, 2, {}), o(kPriv, 3, str("hw"))};
}
Frame frameOf(const Tlvs& tlvs) {
  Frame f;
  for (const auto& [type, value] : tlvs) f.tlv(type, value);
  return f.end();
}

struct ChangeCase {
  const char* name;
  std::function<void(Tlvs&)> edit;  // null: the same frame again
};
std::function<void(Tlvs&)> flip(size_t tlv, size_t byte, uint8_t mask) {
  return [=](Tlvs& t) { t[tlv].second[byte] ^= mask; };
}
std::function<void(Tlvs&)> drop(size_t tlv) {
  return [=](Tlvs& t) { t.erase(t.begin() + static_cast<long>(tlv)); };
}
std::function<void(Tlvs&)> shorten(size_t tlv) {
  return [=](Tlvs& t) { t[tlv].second.pop_back(); };
}
std::function<void(Tlvs&)> append(size_t tlv, Bytes more) {
  return [=](Tlvs& t) { t[tlv].second.insert(t[tlv].second.end(), more.begin(), more.end()); };
}
std::function<void(Tlvs&)> add(size_t before, uint8_t type, Bytes value) {
  return [=](Tlvs& t) { t.insert(t.begin() + static_cast<long>(before), {type, value}); };
}

const ChangeCase kChanges[] = {
    {"Unchanged", nullptr}, {"ChassisIdSubtype", flip(kChassis, 0, 0x03)}, {"PortIdSubtype", flip(kPort, 0, 0x02)},
    {"PortDescription", flip(kPortDescr, 1, 1)}, {"SystemName", flip(kSysName, 0, 1)},
    {"SystemNameLength", shorten(kSysName)}, {"SystemDescription", flip(kSysDescr, 1, 1)},
    {"Capabilities", flip(kCaps, 1, 0x01)}, {"EnabledCapabilities", flip(kCaps, 3, 0x10)},
    {"MgmtAddress", flip(kMgmt, 5, 1)}, {"MgmtAddressSubtype", flip(kMgmt, 1, 0x02)},
    {"MgmtAddressLength",
     [](Tlvs& t) { t[kMgmt].second[0] = 6; t[kMgmt].second.insert(t[kMgmt].second.begin() + 6, 0); }},
    {"MgmtIfSubtype", flip(kMgmt, 6, 1)}, {"MgmtIfNumber", flip(kMgmt, 10, 1)}, {"MgmtOid", flip(kMgmt, 16, 1)},
    {"MgmtOidLength", [](Tlvs& t) { t[kMgmt].second[11] = 4; t[kMgmt].second[13] = 2; shorten(kMgmt)(t); }},
    {"MgmtAddressAdded", add(kMgmt, 8, {5, 1, 10, 0, 0, 2, 2, 0, 0, 0, 7, 0})},
    {"UnknownTlv", flip(kUnknown, 0, 1)}, {"UnknownTlvAdded", add(kUnknown, 21, {})},
    {"UnknownTlvType", [](Tlvs& t) { t[kUnknown].first = 22; }}, {"UnknownTlvLength", shorten(kUnknown)},
    {"UnknownOrgTlv", flip(kOrgUnknown, 4, 1)},
    {"Dot1Map", drop(kPvid)}, {"Dot1Pvid", flip(kPvid, 5, 1)},
    {"PpvidSupported", flip(kPpvid, 4, 0x02)}, {"PpvidEnabled", flip(kPpvid, 4, 0x04)},
    {"Ppvid", flip(kPpvid, 6, 1)}, {"PpvidAdded", add(kPpvid, 127, {0, 0x80, 0xC2, 2, 0x02, 0, 0x11})},
    {"VlanNameVid", flip(kVlanName, 5, 1)}, {"VlanName", flip(kVlanName, 8, 1)},
    {"VlanNameLength", flip(kVlanName, 6, 0x03)}, {"ProtocolIdentity", flip(kProto, 6, 1)},
    {"ProtocolIdentityLength", [](Tlvs& t) { t[kProto].second[4] = 1; shorten(kProto)(t); }},
    {"AutoNegSupported", flip(kMacPhy, 4, 0x01)}, {"AutoNegEnabled", flip(kMacPhy, 4, 0x02)},
    {"AdvertisedCapability", flip(kMacPhy, 6, 1)}, {"MauType", flip(kMacPhy, 8, 1)},
    {"PowerPortClass", flip(kPower, 4, 0x01)}, {"PowerSupported", flip(kPower, 4, 0x02)},
    {"PowerEnabled", flip(kPower, 4, 0x04)}, {"PowerPairControl", flip(kPower, 4, 0x08)},
    {"PowerPairs", flip(kPower, 5, 0x03)}, {"PowerClass", flip(kPower, 6, 1)},
    {"PowerType", flip(kPower, 7, 0x40)}, {"PowerSource", flip(kPower, 7, 0x10)},
    {"PowerRequested", flip(kPower, 9, 1)}, {"PowerAllocated", flip(kPower, 11, 1)},
    {"AggregationStatus", flip(kAgg, 4, 0x01)}, {"AggregatedPort", flip(kAgg, 8, 1)},
    {"Dot3Map", drop(kMfs)}, {"MaxFrameSize", flip(kMfs, 5, 1)},
    {"MedCapabilities", flip(kMedCap, 5, 0x04)}, {"MedDeviceType", flip(kMedCap, 6, 0x01)},
    {"MedMap", drop(kMedInv)}, {"PolicyApplication", drop(kPolicyZero)},
    {"PolicyUnknown", flip(kPolicy, 5, 0x80)}, {"PolicyTagged", flip(kPolicy, 5, 0x40)},
    {"PolicyVlan", flip(kPolicy, 6, 0x02)}, {"PolicyPriority", flip(kPolicy, 7, 0x40)},
    {"PolicyDscp", flip(kPolicy, 7, 0x01)}, {"Location", flip(kLocation, 5, 1)},
    {"LocationLength", shorten(kLocation)},
    // PSE then PD, or PD then PSE: the same map, another power type.
    {"MedPowerType", [](Tlvs& t) { std::swap(t[kMedPse], t[kMedPd]); }},
    {"MedPowerSource", flip(kMedPd, 4, 0x10)},
    {"MedPowerPriority", flip(kMedPd, 4, 0x01)}, {"MedPowerValue", flip(kMedPd, 6, 1)},
    {"MedInventory", append(kMedInv, {'a'})},
    {"PrivateCapabilities", flip(kPrivCap, 5, 0x01)}, {"PrivateMap", drop(kPrivOid)},
    {"PrivateSystemOid", append(kPrivOid, {'1'})}, {"PrivateInventory", flip(kPrivInv, 4, 1)},
};

void PrintTo(const ChangeCase& c, std::ostream* os) { *os << c.name; }

class Change : public ::testing::TestWithParam<ChangeCase> {};

// Each edit changes one field of a known neighbour: the table must see a
// change (trace, new record in its place, change notification); the same
// frame again is a refresh.
TEST_P(Change, OneFieldIsEnoughToNotify) {
  const ChangeCase& c = GetParam();
  Agent a;
  gLldpInfo.trapInterval = 0;
  ASSERT_EQ(a.recv(frameOf(richNeighbour())), RX_FRAME_OK);
  Msap* before = neighbours(a.port())[0];
  Tlvs edited = richNeighbour();
  if (c.edit) c.edit(edited);
  sim::clearLogLines();
  ASSERT_EQ(a.recv(frameOf(edited)), RX_FRAME_OK);
  ASSERT_EQ(neighbours(a.port()).size(), 1u);
  const bool changed = c.edit != nullptr;
  EXPECT_EQ(sim::hasLine("MSAP Cache has changed on port ge1\r\n"), changed);
  EXPECT_EQ(neighbours(a.port())[0] != before, changed);
  EXPECT_EQ(groupSends(281), changed ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Fields, Change,
                         ::testing::ValuesIn(kChanges),
                         [](const auto& p) { return std::string(p.param.name); });

TEST(RemoteTable, ShutdownOfKnownAndUnknownNeighbours) {
  Agent a;
  a.recv(neighbour("A", 120));
  a.recv(neighbour("B", 120));
  const Counters before = Counters::of(a.port());
  // A real shutdown frame carries the mandatory TLVs only, so it differs.
  a.recv(Frame().head("A", "p1", 0).end());
  auto ns = neighbours(a.port());
  ASSERT_EQ(ns.size(), 1u);
  EXPECT_EQ(text(ns[0]->chassId, 1), "B");
  const Counters after = Counters::of(a.port());
  EXPECT_EQ((V{after.deletes - before.deletes, after.ageouts - before.ageouts,
               after.tableAgeouts - before.tableAgeouts, gLldpInfo.memCurRems, a.port()->remSysTotal,
               long(groupSends(281))}),
            (V{1, 1, 0, 1, 1, 1}));
  EXPECT_TRUE(sim::hasLine("MSAP rxTTL is zero and shall be delete on unit ge1 \r\n"));

  a.port()->somethingChangedRemote = 0;
  const size_t events = sim::groupSends().size();
  a.recv(Frame().head("Z", "p1", 0).end());
  EXPECT_EQ(neighbours(a.port()).size(), 1u);
  EXPECT_EQ(a.port()->somethingChangedRemote, 1);
  EXPECT_EQ(sim::groupSends().size(), events);
  EXPECT_EQ(Counters::of(a.port()).deletes, after.deletes);
}

TEST(RemoteTable, FullTableDropsNewcomersAndHoldsOff) {
  Agent a(2);
  a.recv(neighbour("A", 120));
  a.recv(neighbour("B", 120));
  a.recv(neighbour("C", 50));
  EXPECT_EQ(neighbours(a.port()).size(), 2u);
  EXPECT_EQ((V{gLldpInfo.statsRemTablesDrops, a.port()->tooManyNeighbors, a.port()->tooManyNeighborsTimer}),
            (V{1, 1, 50}));
  EXPECT_TRUE(sim::hasLine("too many neighbors(2/2) on port ge1 !\r\n"));
  a.recv(neighbour("D", 90));
  EXPECT_EQ(gLldpInfo.statsRemTablesDrops, 2u);
  EXPECT_EQ(sim::countLinesContaining("too many neighbors(2/2)"), 1u) << "traced once while held off";
  EXPECT_EQ(sim::countLinesContaining("too many neighbors, discard new MSAP Cache"), 2u);
  EXPECT_EQ(a.port()->tooManyNeighborsTimer, 50) << "not raised while the flag is set";
  // Known neighbours still refresh.
  EXPECT_EQ(a.recv(neighbour("A", 120)), RX_FRAME_OK);
  for (int i = 0; i < 49; ++i) a.tick();
  EXPECT_EQ(a.port()->tooManyNeighbors, 1);
  a.tick();
  EXPECT_EQ((V{a.port()->tooManyNeighbors, a.port()->tooManyNeighborsTimer}), (V{0, 0}));
  // A hold-off already running longer than the newcomer's TTL is kept.
  a.port()->tooManyNeighborsTimer = 200;
  a.recv(neighbour("E", 30));
  EXPECT_EQ((V{a.port()->tooManyNeighbors, a.port()->tooManyNeighborsTimer}), (V{1, 200}));
}

TEST(RemoteTable, NoLimitConfiguredAdmitsNobody) {
  Agent a(0);
  a.recv(neighbour("A", 120));
  EXPECT_TRUE(neighbours(a.port()).empty());
  EXPECT_EQ(gLldpInfo.statsRemTablesDrops, 1u);
}

TEST(RemoteTable, RemIndexSkipsZeroOnWrap) {
  Agent a;
  gLldpInfo.remIndex = 0xFFFFFFFEu;
  a.recv(neighbour("A", 120));
  a.recv(neighbour("B", 120));
  auto ns = neighbours(a.port());
  EXPECT_EQ(ns[1]->remIndex, 0xFFFFFFFFu);
  EXPECT_EQ(ns[0]->remIndex, 1u);
  // Tree order: time mark, port, remIndex as a signed value.
  Msap* first = static_cast<Msap*>(avl_first(&gLldpInfo.msapTable));
  EXPECT_EQ(first->remIndex, 0xFFFFFFFFu);
}

// Hundreds of neighbours on two ports with the same identifiers: every frame
// finds its own port's record while the identifier index grows and shrinks.
TEST(RemoteTable, ManyNeighboursOnTwoPortsAreFoundByIdentifier) {
  Agent a(2000, 31, 2);
  auto id = [](int i) { return "n" + std::to_string(i); };
  for (int i = 0; i < 300; ++i) {
    a.recv(neighbour(id(i), 120), 1);
    a.recv(neighbour(id(i), 120, "other"), 2);
  }
  ASSERT_EQ((V{gLldpInfo.statsRemTablesInserts, gLldpInfo.memCurRems}), (V{600, 600}));
  const std::vector<Msap*> port1 = neighbours(a.port(1));

  // Refreshes hit the stored records and leave the list as it was.
  for (int i = 0; i < 300; ++i) a.recv(neighbour(id(i), 110), 1);
  EXPECT_EQ(neighbours(a.port(1)), port1);
  EXPECT_EQ(port1.back()->rxInfoTTL, 110);
  EXPECT_EQ(gLldpInfo.statsRemTablesInserts, 600u);

  // Changes on port 2 replace port 2's records only.
  for (int i = 0; i < 300; i += 2) a.recv(neighbour(id(i), 120, "v2"), 2);
  auto ns2 = neighbours(a.port(2));
  ASSERT_EQ(ns2.size(), 300u);
  EXPECT_EQ(text(ns2[0]->chassId, ns2[0]->chassIdLen) + text(ns2[0]->sysName, ns2[0]->sysNameLen), "n298v2");
  EXPECT_EQ(text(ns2[150]->sysName, ns2[150]->sysNameLen), "other");
  EXPECT_EQ(neighbours(a.port(1)), port1);
  EXPECT_EQ((V{gLldpInfo.statsRemTablesInserts, gLldpInfo.statsRemTablesDeletes}), (V{600, 0}));

  // Shutdowns empty port 1 down to ten; the rest are still found, the gone ones not.
  for (int i = 10; i < 300; ++i) a.recv(Frame().head(id(i), "p1", 0).end(), 1);
  EXPECT_EQ((V{a.port(1)->remSysTotal, gLldpInfo.statsRemTablesDeletes}), (V{10, 290}));
  for (int i = 0; i < 10; ++i) a.recv(neighbour(id(i), 100), 1);
  a.recv(Frame().head(id(20), "p1", 0).end(), 1);
  for (int i = 0; i < 300; ++i) a.recv(neighbour(id(i), 120, i % 2 ? "other" : "v2"), 2);
  EXPECT_EQ((V{gLldpInfo.statsRemTablesInserts, gLldpInfo.statsRemTablesDeletes, gLldpInfo.memCurRems}),
            (V{600, 290, 310}));
  EXPECT_EQ(neighbours(a.port(1)).back()->rxInfoTTL, 100);
}

TEST(RxTimers, TwoNeighboursAgeOutInTheSameSecond) {
  Agent a;
  a.recv(neighbour("A", 3));
  a.recv(neighbour("B", 3));
  a.recv(neighbour("C", 10));
  a.tick();
  a.tick();
  EXPECT_EQ(neighbours(a.port()).size(), 3u);
  const size_t events = sim::groupSends().size();
  a.tick();
  auto ns = neighbours(a.port());
  ASSERT_EQ(ns.size(), 1u);
  EXPECT_EQ(text(ns[0]->chassId, 1), "C");
  EXPECT_EQ((V{gLldpInfo.statsRemTablesAgeouts, a.port()->statsAgeoutsTotal, gLldpInfo.statsRemTablesDeletes,
               gLldpInfo.memCurRems, long(sim::groupSends().size() - events),
               long(sim::countLinesContaining("MSAP is deleted on port ge1")), long(avl_count(&gLldpInfo.msapTable))}),
            (V{2, 2, 2, 1, 2, 2, 1}));
}

TEST(RxTimers, TransmitOnlyPortStillAges) {
  Agent a;
  a.recv(neighbour("A", 2));
  a.port()->adminStatus = LLDP_ADMIN_TX;
  a.tick();
  a.tick();
  EXPECT_TRUE(neighbours(a.port()).empty());
  EXPECT_EQ(gLldpInfo.statsRemTablesAgeouts, 1u);
}

TEST(RxMachine, PortGoingDownLosesItsNeighboursAndStatistics) {
  Agent a;
  a.recv(neighbour("A", 120));
  a.recv(neighbour("B", 120));
  a.recv(Frame().port("x").end());  // one error to be cleared
  EXPECT_EQ(a.port()->statsFramesInErrorsTotal, 1u);
  a.port()->portEnabled = 0;
  sim::clearLogLines();
  lldpRxStatemachineRun(a.port());
  EXPECT_TRUE(neighbours(a.port()).empty());
  // The ageouts count the neighbours the initialisation removed.
  EXPECT_EQ((V{a.port()->rxState, a.port()->statsFramesInErrorsTotal, a.port()->statsFramesInTotal,
               a.port()->statsAgeoutsTotal, long(groupSends(281))}),
            (V{LLDP_WAIT_PORT_OPERATIONAL, 0, 0, 2, 2}));
  EXPECT_TRUE(sim::hasLine("[RXSTATE] port[ge1] RX_WAIT_FOR_FRAME -> LLDP_WAIT_PORT_OPERATIONAL\r\n"));
  // Learning again after link up is crossed end to end by tests/link_test.sh.
}

TEST(RxMachine, DisablingReceptionReinitialises) {
  Agent a;
  a.recv(neighbour("A", 120));
  a.port()->adminStatus = LLDP_ADMIN_TX;
  lldpRxStatemachineRun(a.port());
  EXPECT_EQ(a.port()->rxState, RX_LLDP_INITIALIZE);
  EXPECT_TRUE(neighbours(a.port()).empty());
  lldpRxStatemachineRun(a.port());
  EXPECT_EQ(a.port()->rxState, RX_LLDP_INITIALIZE) << "stays while reception is off";
  EXPECT_STREQ(rxStateFromID(9), "Unknown");
  EXPECT_TRUE(sim::hasLine("[RXSTATE] Unknown RX State: '9'\r\n"));
}

TEST(RxMachine, MedTransmissionFollowsMedNeighboursOnConnectivityDevices) {
  Agent a;
  gLldpInfo.medDeviceType = 4;
  a.port()->medTransmitEnabled = 0;  // as the transmit side leaves a connectivity device
  a.port()->medFastStart = 0;
  a.port()->medFastStartRepeatCount = 4;
  Frame med;
  med.head("phone", "p1", 2).org(kMed, 1, {0x00, 0x33, 0x03}).end();
  a.recv(neighbour("plain", 120));
  EXPECT_EQ(a.port()->medTransmitEnabled, 0);
  a.recv(med);
  EXPECT_EQ((V{a.port()->remMedSysTotal, a.port()->medTransmitEnabled, a.port()->medFastStart}), (V{1, 1, 4}));
  a.port()->medFastStart = 1;  // the transmit side counts it down
  a.recv(med);
  EXPECT_EQ(a.port()->medFastStart, 1) << "no second burst while MED is on";
  a.tick();
  a.tick();
  EXPECT_EQ((V{a.port()->remMedSysTotal, a.port()->medTransmitEnabled, a.port()->medFastStart,
               a.port()->remSysTotal}),
            (V{0, 0, 0, 1}));
}

TEST(RxMachine, MedPropertyChangeAdjustsTheMedCount) {
  Agent a;
  Frame med;
  med.head("x", "p1", 120).org(kMed, 1, {0x00, 0x33, 0x03}).end();
  a.recv(med);
  EXPECT_EQ(a.port()->remMedSysTotal, 1u);
  a.recv(neighbour("x", 120));
  EXPECT_EQ(a.port()->remMedSysTotal, 0u);
  a.recv(med);
  EXPECT_EQ(a.port()->remMedSysTotal, 1u);
  EXPECT_EQ(a.port()->remSysTotal, 1u);
}

// ---- Notifications ---------------------------------------------------------

TEST(Notifier, AddWithTrapsOffStillPublishesTheEvent) {
  Agent a;
  sim::advanceMs(3000);
  Frame f;
  f.head("A", "p1", 120).tlv(7, {0x00, 0x14, 0x00, 0x04}).org(kDot1, 1, {0, 1}).org(kDot3, 4, {5, 0xEE})
      .org(kMed, 1, {0, 0x33, 1}).org(kPriv, 1, {0, 1}).end();
  a.recv(f);
  EXPECT_TRUE(sim::traps().empty());
  for (auto& l : sim::logLines()) EXPECT_TRUE(l.debug) << l.text;
  ASSERT_EQ(sim::groupSends().size(), 1u);
  const auto& g = sim::groupSends()[0];
  EXPECT_EQ(g.group, 71u);
  const Bytes want{0, 0, 0, 56, 0x01, 0x18, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                   0, 0, 0, 0, 0, 0, 0, 3,     // time mark
                   0, 0, 0, 1, 0, 0, 0, 1,     // port unit, remIndex
                   0x20, 0x00,                 // enabled capabilities, bit-reversed
                   0x80, 0x00, 0x10, 0x00, 0x80, 0x00, 0x80, 0x00,  // received-TLV maps
                   0, 0, 0, 0, 0, 0};
  EXPECT_EQ(g.bytes, want);
  EXPECT_TRUE(sim::hasLine("lldpNotifySend event=280.\r\n"));
}

TEST(Notifier, LogLinesAndTrapsPerFlag) {
  Agent a;
  a.port()->notificationEnable = 1;
  a.port()->medNotificationEnable = 1;
  Frame med;
  med.head("phone", "p1", 120).org(kMed, 1, {0, 0x33, 3}).end();
  a.recv(med);
  a.recv(Frame().head("phone", "p1", 0).end());  // shutdown: delete
  std::vector<std::string> logs;
  for (auto& l : sim::logLines())
    if (!l.debug) logs.push_back(std::to_string(l.module) + " " + l.text);
  const std::vector<std::string> want{
      "66387977 lldp remote information change. (ifName=[ge1],reason=[add])\r\n",
      "66387978 lldp remote med information change. (ifName=[ge1],reason=[add])\r\n",
      "66387977 lldp remote information change. (ifName=[ge1],reason=[delete])\r\n",
      "66387978 lldp remote med information change. (ifName=[ge1],reason=[delete])\r\n"};
  EXPECT_EQ(logs, want);
  ASSERT_EQ(sim::traps().size(), 4u);
  EXPECT_FALSE(sim::traps()[0].med);
  EXPECT_EQ(sim::traps()[0].args, (std::vector<uint32_t>{1}));
  const auto& t = sim::traps()[3];
  EXPECT_TRUE(t.med);
  // time mark high, low, port, remIndex, chassis subtype, chassis length,
  // device type, reason.
  EXPECT_EQ(t.args, (std::vector<uint32_t>{0, 0, 1, 1, 7, 5, 3, 2}));
  EXPECT_EQ(t.chassisId, str("phone"));

  // With LLDP-MED off in the extension mask only the plain notification.
  gLldpInfo.extEnabled &= ~LLDP_EXT_MED;
  const size_t n = sim::traps().size();
  a.recv(med);
  ASSERT_EQ(sim::traps().size(), n + 1);
  EXPECT_FALSE(sim::traps().back().med);
}

}  // namespace
