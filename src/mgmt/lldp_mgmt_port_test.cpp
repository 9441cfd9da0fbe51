// Per-port objects: the filtered port walks, the Get answers and refusals,
// the Set failure rows and forwarding, checked replace, the voice policy,
// the VLAN lists, the counters, and turning transmission off through a Set.
#include <gtest/gtest.h>

#include <functional>

#include "mgmt/mgmt_test_util.h"
#include "tx/lldp_tx.h"

using namespace mgmttest;

namespace {

constexpr uint32_t kOk = 0, kInval = 22, kNoSupport = 89, kNoEntry = 0x3E80002,
                   kBad = 0x3E80010, kDisabled = 0x3E80036;
constexpr uint32_t kPortBit = 0x10000000, kOctetsBit = 0x80000000;

class PortTest : public MgmtTest {
 protected:
  void SetUp() override {
    MgmtTest::SetUp();
    sim::setOctets(sim::Svc::Scalar, 0, 129, {0xFC, 0x00});  // LLDP-MED TLVs 0-5 supported
  }
};

using Walk = uint32_t (*)(uintptr_t, uint32_t, ZorValue*);

// The units a GetFirst / GetNext pair visits from a key record with `filter`.
std::vector<uint32_t> walk(Walk first, Walk next, uint32_t filter = 0, uint32_t* filterOut = nullptr) {
  uint32_t key[2] = {filter, 0};
  std::vector<uint32_t> units;
  for (uint32_t rc = first(reinterpret_cast<uintptr_t>(key), 0, nullptr); rc == 0;
       rc = next(reinterpret_cast<uintptr_t>(key), 0, nullptr)) {
    units.push_back(key[1]);
    if (units.size() > 10) break;
  }
  if (filterOut) *filterOut = key[0];
  return units;
}

TEST_F(PortTest, WalksFollowUnitsAndTheSupportedMapOfTheFilter) {
  for (uint32_t u : {9u, 3u, 5u}) ASSERT_NE(addPort(u), nullptr);
  lldpPortEntryGet(5)->medTlvTxSupported[0] = 0x10;    // only MED bit 3
  lldpPortEntryGet(9)->dot3TlvTxSupported = 0x80;      // only 802.3 bit 0
  using V = std::vector<uint32_t>;
  uint32_t f = 0;
  EXPECT_EQ(walk(lldpPortGetFirst, lldpPortGetNext), (V{3, 5, 9}));
  EXPECT_EQ(walk(lldpLocPortGetFirst, lldpLocPortGetNext, lldpMgmtFilter(LLDP_OUI_MED, 1)), (V{3, 9}));
  EXPECT_EQ(walk(lldpLocPortGetFirst, lldpLocPortGetNext, 0x00ABCD01), V{}) << "other OUIs match nothing";
  EXPECT_EQ(walk(lldpLocPortGetFirst, lldpLocPortGetNext, lldpMgmtFilter(LLDP_OUI_DOT3, 9)), V{})
      << "a bit beyond the map is clear";
  // Fixed filters, written back into the key record.
  struct Fixed {
    Walk first, next;
    uint32_t filter;
    V units;
  };
  const Fixed fixed[] = {
      {lldpDot1PortPvidGetFirst, lldpDot1PortPvidGetNext, 0x0080C200, {3, 5, 9}},
      {lldpDot3PortMacphyGetFirst, lldpDot3PortMacphyGetNext, 0x00120F00, {3, 5, 9}},
      {lldpDot3PortPowerGetFirst, lldpDot3PortPowerGetNext, 0x00120F01, {3, 5}},
      {lldpDot3PortLinkAggGetFirst, lldpDot3PortLinkAggGetNext, 0x00120F02, {3, 5}},
      {lldpDot3PortMfsGetFirst, lldpDot3PortMfsGetNext, 0x00120F03, {3, 5}},
      {lldpMedPortXPoePseGetFirst, lldpMedPortXPoePseGetNext, 0x0012BB03, {3, 5, 9}},
  };
  for (const Fixed& w : fixed) {
    EXPECT_EQ(walk(w.first, w.next, 0, &f), w.units) << std::hex << w.filter;
    EXPECT_EQ(f, w.filter);
  }

  // GetNext from a unit that has just gone continues with the next one.
  uint32_t key[2] = {0, 5};
  ASSERT_EQ(lldpPortEntryDel(lldpPortEntryGet(5)), 0);
  EXPECT_EQ(lldpPortGetNext(reinterpret_cast<uintptr_t>(key), 0, nullptr), kOk);
  EXPECT_EQ(key[1], 9u);
  EXPECT_EQ(lldpPortGetNext(reinterpret_cast<uintptr_t>(key), 0, nullptr), kNoEntry);
  EXPECT_EQ(lldpPortGetFirst(0, 0, nullptr), kInval);
}

struct GetRow {
  uint32_t obj;
  bool buf;
  uint32_t cap;
  uint32_t rc;
  uint32_t value;
  Bytes bytes;
};

TEST_F(PortTest, GetAnswersEachObjectInItsFormAndRefusesTheOther) {
  LldpPort* p = addPort(1);
  ASSERT_NE(p, nullptr);
  neighbour(1, "phone", true);
  neighbour(1, "switch");
  p->statsFramesInTotal = 11;
  p->statsAgeoutsTotal = 14;
  p->statsTrailing[0] = 65;

  const GetRow rows[] = {
      {1, false, 0, kOk, LLDP_ADMIN_TXRX, {}},
      {1, true, 4, kInval, 0, {}},
      {3, true, 0, kInval, 0, {}},  // a 1-octet object needs a byte
      {3, true, 8, kOk, 0, {0xF0}},
      {4, false, 0, kInval, 0, {}},
      {5, false, 0, kOk, 5, {}},
      {6, true, 64, kOk, 0, rxtest::str("ge0/1")},
      {6, true, 3, kOk, 0, rxtest::str("ge0")},
      {11, false, 0, kOk, 11, {}},
      {14, false, 0, kOk, 14, {}},
      {20, true, 1, kOk, 0, {0xF0}},
      {22, false, 0, kOk, 2, {}},
      {27, true, 4, kOk, 0, {}},  // an empty VLAN list: length 0
      // The whole list whatever the capacity says, as far as the buffer holds it.
      {31, true, 511, kOk, 0, Bytes(511, 0)},
      {31, true, 512, kOk, 0, Bytes(512, 0)},
      {32, true, 1, kOk, 0, {0xF8}},
      {44, false, 0, kOk, 1, {}},
      {48, false, 0, kOk, 0, {}},  // no PoE
      {50, true, 1, kOk, 0, {0x80}},
      {50, true, 0, kOk, 0, {}},
      {53, true, 1, kInval, 0, {}},
      {53, true, 2, kOk, 0, {0xFC, 0x00}},
      {65, false, 0, kOk, 65, {}},
      {66, false, 0, kOk, 2, {}},  // live neighbour counts
      {67, false, 0, kOk, 1, {}},
      {69, true, 2, kOk, 0, {0xE0, 0x00}},
      {23, false, 0, kBad, 0, {}},
      {64, false, 0, kBad, 0, {}},  // Set only
      {71, false, 0, kBad, 0, {}},
  };
  for (const GetRow& r : rows) {
    Buf b(r.cap);
    ZorValue iv = intVal(0xDEAD);
    EXPECT_EQ(lldpPortGetApi(1, r.obj, r.buf ? b.p() : &iv), r.rc) << "object " << r.obj;
    if (r.rc != kOk) continue;
    if (r.buf)
      EXPECT_EQ(b.bytes(), r.bytes) << "object " << r.obj;
    else
      EXPECT_EQ(iv.value, r.value) << "object " << r.obj;
  }
  ZorValue v = intVal();
  EXPECT_EQ(lldpPortGetApi(2, 1, &v), kNoEntry);
  // A MAC address port ID is cut to the buffer like a name.
  p->portIdSubtype = 3;
  Buf mac(4), fullMac(6);
  ASSERT_EQ(lldpPortGetApi(1, 6, fullMac.p()), kOk);
  const Bytes full = fullMac.bytes();
  ASSERT_EQ(full.size(), 6u);
  ASSERT_EQ(lldpPortGetApi(1, 6, mac.p()), kOk);
  EXPECT_EQ(mac.bytes(), Bytes(full.begin(), full.begin() + 4));
  p->portIdSubtype = 5;
  Buf whole(512);
  p->dot1TlvTxSupported = 0xD0;
  EXPECT_EQ(lldpPortGetApi(1, 31, whole.p()), kInval) << "the whole list without VLAN-name support";
  p->dot1TlvTxSupported = 0xF0;
  ASSERT_EQ(lldpPortEntryInit(p, LLDP_ADMIN_DISABLED), 0);
  EXPECT_EQ(lldpPortGetApi(1, 31, whole.p()), kInval) << "the whole list of a disabled port";
}

// One Set on unit 1 (supports every 802.1 TLV) or 2 (supports none).
struct SetRow {
  const char* what;
  bool sync;
  uint32_t unit, obj;
  bool buf;
  uint32_t value;  // integer, or the one byte supplied
  int fwdResult;
  uint32_t rc;
  uint32_t fwdMode;  // 0: not forwarded
  bool marked;
};

TEST_F(PortTest, SetFailureRowsForwardingAndTheChangeMark) {
  LldpPort* p1 = addPort(1);
  LldpPort* p2 = addPort(2);
  ASSERT_TRUE(p1 && p2);
  p2->dot1TlvTxSupported = 0;
  const SetRow rows[] = {
      {"no such port", false, 7, 2, false, 1, 0, kNoEntry, 0, false},
      {"id 71", false, 1, 71, false, 1, 0, kBad, 0, true},
      {"no Set: forwarded, then refused", false, 1, 24, false, 1, 0, kBad, 3 | kPortBit, true},
      {"no Set, refused forward", true, 1, 3, false, 1, 6, 6, 1 | kPortBit, true},
      {"integer as buffer", false, 1, 2, true, 1, 0, kInval, 0, true},
      {"octets as integer", false, 1, 4, false, 1, 0, kInval, 0, true},
      {"refused forward", false, 1, 68, false, 1, 9, 9, 3 | kPortBit, true},
      {"stored", false, 1, 2, false, 1, 0, kOk, 3 | kPortBit, true},
      {"sync", true, 1, 55, false, 1, 0, kOk, 1 | kPortBit, true},
      {"octets", false, 1, 4, true, 0x80, 0, kOk, 3 | kPortBit | kOctetsBit, true},
      {"subtype not forwarded", false, 1, 5, false, 7, 0, kOk, 0, true},
      {"pvid unsupported", false, 2, 22, false, 1, 0, kNoSupport, 3 | kPortBit, true},
      {"proto unsupported", false, 2, 26, false, 1, 0, kNoSupport, 3 | kPortBit, true},
      {"vlan names unsupported", false, 2, 27, true, 0x80, 0, kNoSupport, 3 | kPortBit | kOctetsBit, true},
      {"ppvid unsupported", false, 2, 29, true, 0x80, 0, kNoSupport, 3 | kPortBit | kOctetsBit, true},
      {"bad admin status", false, 1, 1, false, 5, 0, kBad, 3 | kPortBit, true},
      {"admin status, low octet", false, 1, 1, false, 0x103, 0, kOk, 3 | kPortBit, true},
  };
  for (const SetRow& r : rows) {
    sim::setCmdSyncResult(r.fwdResult);
    p1->somethingChangedLocal = p2->somethingChangedLocal = 0;
    const size_t before = sim::cmdSyncs().size();
    Buf b = Buf::of({static_cast<uint8_t>(r.value)});
    ZorValue iv = intVal(r.value);
    ZorValue* d = r.buf ? b.p() : &iv;
    EXPECT_EQ(r.sync ? lldpPortSyncApi(r.unit, r.obj, d) : lldpPortSetApi(r.unit, r.obj, d), r.rc) << r.what;
    const LldpPort* p = r.unit == 2 ? p2 : p1;
    EXPECT_EQ(p->somethingChangedLocal, r.marked ? 1 : 0) << r.what;
    if (r.fwdMode == 0) {
      EXPECT_EQ(sim::cmdSyncs().size(), before) << r.what;
      continue;
    }
    ASSERT_EQ(sim::cmdSyncs().size(), before + 1) << r.what;
    const sim::CmdSync& c = sim::cmdSyncs().back();
    EXPECT_EQ((std::vector<uint32_t>{c.index, c.cmdId, c.ctlMode, c.ctlLen}),
              (std::vector<uint32_t>{r.unit, 0x4074000 + r.obj, r.fwdMode, r.buf ? 1u : 4u}))
        << r.what;
    if (r.buf) {
      EXPECT_EQ(c.bytes, Bytes{static_cast<uint8_t>(r.value)}) << r.what;
    }
  }
  sim::setCmdSyncResult(0);
  EXPECT_EQ((std::vector<uint32_t>{p1->notificationEnable, p1->medNotificationEnable,
                                   p1->basicTlvTxEnabled, p1->portIdSubtype, p1->adminStatus,
                                   p1->juniperTlvTxEnable}),
            (std::vector<uint32_t>{1, 1, 0x80, 7, LLDP_ADMIN_TXRX, 0}))
      << "the refused forward left the Juniper switch alone";

  // With the agent disabled every Set is refused and marks nothing.
  gLldpInfo.globalAdminStatus = 2;
  ZorValue v = intVal(2);
  p1->somethingChangedLocal = 0;
  EXPECT_EQ(lldpPortSetApi(1, 2, &v), kDisabled);
  EXPECT_EQ(lldpPortSetApi(1, 99, &v), kDisabled);
  EXPECT_EQ(p1->somethingChangedLocal, 0);
  EXPECT_EQ(lldpPortGetApi(1, 2, &v), kOk) << "Gets still answer";
  gLldpInfo.globalAdminStatus = 1;
}

// One Set of an enabled map (33, 54, 70): the bytes, the code, the map after.
struct MapRow {
  uint32_t obj;
  Bytes data;
  uint32_t rc;
  Bytes after;
};

TEST_F(PortTest, CheckedReplaceStoresOnlySupportedBitsOfTheMapsWidth) {
  LldpPort* p = addPort(1);
  ASSERT_NE(p, nullptr);
  auto map = [p](uint32_t obj) {
    Buf b(8);
    EXPECT_EQ(lldpPortGetApi(1, obj, b.p()), kOk);
    return b.bytes();
  };
  const MapRow rows[] = {
      {33, {0x04}, kInval, {0xF8}},  // 802.3 bit 5 is not supported
      {33, {}, kInval, {0xF8}},
      {33, {0x80, 0x01}, kInval, {0xF8}},  // beyond one octet
      {33, {0x80}, kOk, {0x80}},
      {33, {0x40, 0x00}, kOk, {0x40}},
      {70, {0x20}, kInval, {0xC0, 0x00}},  // two octets needed
      {70, {0x10, 0x00}, kInval, {0xC0, 0x00}},
      {70, {0x20, 0x00}, kOk, {0x20, 0x00}},
      {54, {0x02, 0x00}, kInval, {0x00, 0x00}},  // MED bit 6 unsupported
      {54, {0x84, 0x00, 0x00}, kOk, {0x84, 0x00}},
  };
  for (const MapRow& r : rows) {
    Buf b = Buf::of(r.data);
    EXPECT_EQ(lldpPortSetApi(1, r.obj, b.p()), r.rc) << "object " << r.obj;
    EXPECT_EQ(map(r.obj), r.after) << "object " << r.obj;
  }
  EXPECT_EQ(lldpTxMedMask(p), 0x84) << "the transmit path reads what was stored";
}

TEST_F(PortTest, EnablingNetworkPolicySeedsTheVoicePolicyAndDisablingErasesIt) {
  LldpPort* p = addPort(1);
  ASSERT_NE(p, nullptr);
  auto voice = [p] {
    const LldpMedPolicy& v = p->medPolicy[0];
    return std::vector<uint32_t>{v.appType, v.unknown, v.tagged, v.priority, v.dscp, v.vid};
  };
  auto set = [](Bytes data) {
    Buf b = Buf::of(data);
    return lldpPortSetApi(1, 54, b.p());
  };
  EXPECT_EQ(set({0x40}), kInval);
  EXPECT_EQ(voice(), (std::vector<uint32_t>{0, 0, 0, 0, 0, 0})) << "nothing seeded by a refused Set";
  EXPECT_EQ(set({0x40, 0x00}), kOk);
  EXPECT_EQ(voice(), (std::vector<uint32_t>{1, 0, 1, 5, 46, 0}));
  p->medPolicy[0].vid = 7;
  EXPECT_EQ(set({0xC0, 0x00}), kOk);
  EXPECT_EQ(voice()[5], 7u) << "a voice policy that exists is kept";
  EXPECT_EQ(set({0x80, 0x00}), kOk);
  EXPECT_EQ(voice(), (std::vector<uint32_t>{0, 0, 0, 0, 0, 0}));
  p->medPolicy[0] = LldpMedPolicy{1, 0, 0, 3, 3, 3};
  EXPECT_EQ(set({0x80, 0x00}), kOk);
  EXPECT_EQ(voice()[0], 1u) << "not erased when the bit was already off";
}

TEST_F(PortTest, VlanListsAddRemoveReplaceAndReadTrimmed) {
  LldpPort* p = addPort(1);
  LldpPort* bare = addPort(2);
  ASSERT_TRUE(p && bare);
  bare->dot1TlvTxSupported = 0;
  auto set = [](uint32_t unit, uint32_t obj, const Bytes& data) {
    Buf b = Buf::of(data);
    return lldpPortSetApi(unit, obj, b.p());
  };
  auto enabled = [p] { return p->dot1TlvTxEnabled; };
  // VLAN n is bit n - 1: VLAN 1 = 0x80 of octet 0, VLAN 10 = 0x40 of octet 1.
  ASSERT_EQ(set(1, 27, {0x80}), kOk);
  ASSERT_EQ(set(1, 27, {0x00, 0x40}), kOk);
  EXPECT_EQ(enabled() & 0x20, 0x20);
  ASSERT_EQ(set(1, 28, {0x80}), kOk);
  EXPECT_EQ(enabled() & 0x20, 0x20) << "VLAN 10 is still named";
  ASSERT_EQ(set(1, 28, {0x00, 0x40}), kOk);
  EXPECT_EQ(enabled() & 0x20, 0) << "the last VLAN gone clears the TLV";
  ASSERT_EQ(set(1, 29, {0x00, 0x00, 0x01}), kOk);
  EXPECT_EQ(enabled() & 0x40, 0x40);
  Buf list(8);
  ASSERT_EQ(lldpPortGetApi(1, 29, list.p()), kOk);
  EXPECT_EQ(list.bytes(), (Bytes{0x00, 0x00, 0x01}));
  ASSERT_EQ(set(1, 30, {0xFF, 0xFF, 0xFF, 0xFF}), kOk);
  EXPECT_EQ(enabled() & 0x40, 0);

  // Only VLAN 4095: the trimmed list is the whole 512 octets.
  Bytes last(512, 0);
  last[511] = 0x02;
  ASSERT_EQ(set(1, 27, last), kOk);
  Buf small(511), whole(512);
  EXPECT_EQ(lldpPortGetApi(1, 27, small.p()), kInval);
  ASSERT_EQ(lldpPortGetApi(1, 27, whole.p()), kOk);
  EXPECT_EQ(whole.bytes(), last);

  // Replace overwrites the start, keeps the rest, and needs no support.
  ASSERT_EQ(set(2, 31, {0x01}), kOk);
  EXPECT_EQ((std::vector<uint32_t>{bare->vlanNameTxEnable[0], bare->dot1TlvTxEnabled & 0x20u}),
            (std::vector<uint32_t>{0x01, 0x20}));
  ASSERT_EQ(set(1, 31, {0xFF}), kOk);
  EXPECT_EQ((std::vector<uint32_t>{p->vlanNameTxEnable[0], p->vlanNameTxEnable[511]}),
            (std::vector<uint32_t>{0xFF, 0x02}));
}

TEST_F(PortTest, ClearingCountersKeepsTheNeighbourCounts) {
  LldpPort* p = addPort(1);
  ASSERT_NE(p, nullptr);
  neighbour(1, "a", true);
  neighbour(1, "b");
  neighbour(1, "c", false, 2);
  rounds(4);  // "c" ages out
  ASSERT_GT(p->statsFramesInTotal, 0u);
  ASSERT_EQ(p->statsAgeoutsTotal, 1u);
  sim::advanceMs(5000);
  ZorValue any = intVal(123);
  ASSERT_EQ(lldpPortSetApi(1, 64, &any), kOk);
  auto get = [](uint32_t obj) {
    ZorValue v = intVal();
    EXPECT_EQ(lldpPortGetApi(1, obj, &v), kOk);
    return v.value;
  };
  EXPECT_EQ((std::vector<uint32_t>{get(8), get(9), get(10), get(11), get(12), get(13), get(14)}),
            std::vector<uint32_t>(7, 0));
  EXPECT_EQ(get(65), silGetUpTime());
  EXPECT_EQ((std::vector<uint32_t>{get(66), get(67)}), (std::vector<uint32_t>{2, 1}));
}

TEST_F(PortTest, TurningTransmissionOffSendsExactlyOneShutdownFrame) {
  for (uint32_t u : {1u, 2u, 3u}) ASSERT_NE(addPort(u), nullptr);
  rounds(35);
  ZorValue v = intVal();

  // TXRX -> RX: the frame leaves with the Set; the buffer goes reinitDelay
  // seconds later; reception goes on.
  sim::clearSentFrames();
  v = intVal(LLDP_ADMIN_RX);
  ASSERT_EQ(lldpPortSetApi(1, 1, &v), kOk);
  EXPECT_EQ(sent(), (std::vector<std::pair<uint32_t, int>>{{1, 0}}));
  LldpPort* p1 = lldpPortEntryGet(1);
  EXPECT_NE(p1->tx.frame, nullptr);
  rounds(4);
  EXPECT_EQ((std::vector<int>{p1->tx.frame == nullptr, p1->txState, p1->reinitDone}),
            (std::vector<int>{1, TX_LLDP_INITIALIZE, 1}));
  neighbour(1, "still-heard");
  EXPECT_EQ(p1->remSysTotal, 1u);

  // TXRX -> disabled through a Sync, and TX -> disabled.
  v = intVal(LLDP_ADMIN_TX);
  ASSERT_EQ(lldpPortSetApi(3, 1, &v), kOk);
  rounds(3);
  sim::clearSentFrames();
  v = intVal(LLDP_ADMIN_DISABLED);
  ASSERT_EQ(lldpPortSyncApi(2, 1, &v), kOk);
  ASSERT_EQ(lldpPortSetApi(3, 1, &v), kOk);
  EXPECT_EQ(sent(), (std::vector<std::pair<uint32_t, int>>{{2, 0}, {3, 0}}));
  rounds(60);
  EXPECT_EQ(sent().size(), 2u) << "exactly one frame each";

  // RX -> disabled, and a port whose link is down: nothing to say.
  ASSERT_EQ(lldpPortSetApi(1, 1, &v), kOk);
  v = intVal(LLDP_ADMIN_TXRX);
  ASSERT_EQ(lldpPortSetApi(2, 1, &v), kOk);
  rounds(35);
  lldpPortEntryGet(2)->portStatus = 2;
  sim::clearSentFrames();
  v = intVal(LLDP_ADMIN_RX);
  ASSERT_EQ(lldpPortSetApi(2, 1, &v), kOk);
  rounds(10);
  EXPECT_TRUE(sent().empty());
}

}  // namespace
