// Local 802.1, LLDP-MED policy and location tables: their walks, Gets and
// refusals, Set forwarding, the voice policy's default, the location length
// rules, and a configuration that reaches a neighbour in the LLDPDU.
#include <gtest/gtest.h>

#include <string>

#include "mgmt/mgmt_test_util.h"
#include "tx/tx_test_port.h"

using namespace mgmttest;

namespace {

constexpr uint32_t kOk = 0, kInval = 22, kNoSupport = 89, kNoEntry = 0x3E80002, kTooSmall = 0x3E8000D,
                   kBad = 0x3E80010;
constexpr long kErr = 0xBAD00000;  // an answer below is kErr + the code when the call failed
using Op = uint32_t (*)(uintptr_t, uint32_t, ZorValue*);
using V = std::vector<long>;
using W = std::vector<V>;

uint32_t call(Op op, uint32_t unit, uint32_t id, uint32_t obj, ZorValue* v) {
  uint32_t key[2] = {unit, id};
  return op(reinterpret_cast<uintptr_t>(key), obj, v);
}
uint32_t setInt(Op op, uint32_t unit, uint32_t id, uint32_t obj, uint32_t value) {
  ZorValue v = intVal(value);
  return call(op, unit, id, obj, &v);
}
uint32_t setBytes(Op op, uint32_t unit, uint32_t id, uint32_t obj, const Bytes& data) {
  Buf b = Buf::of(data);
  return call(op, unit, id, obj, b.p());
}
long getInt(Op op, uint32_t unit, uint32_t id, uint32_t obj) {
  ZorValue v = intVal(0xDEAD);
  const uint32_t rc = call(op, unit, id, obj, &v);
  return rc == kOk ? v.value : kErr + rc;
}
Bytes getBytes(Op op, uint32_t unit, uint32_t id, uint32_t obj, uint32_t cap = 300, uint32_t* rc = nullptr) {
  Buf b(cap);
  const uint32_t r = call(op, unit, id, obj, b.p());
  if (rc != nullptr) *rc = r;
  return r == kOk ? b.bytes() : Bytes{};
}
W walk(Op first, Op next) {
  uint32_t key[2] = {};
  const auto k = reinterpret_cast<uintptr_t>(key);
  W out;
  uint32_t rc = first(k, 0, nullptr);
  for (; rc == kOk && out.size() < 50; rc = next(k, 0, nullptr)) out.push_back({key[0], key[1]});
  EXPECT_EQ(rc, kNoEntry);
  return out;
}

class LocalTest : public MgmtTest {
 protected:
  void SetUp() override {
    MgmtTest::SetUp();
    sim::setOctets(sim::Svc::Scalar, 0, 129, {0xFC, 0x00});  // LLDP-MED TLVs 0-5 supported
    for (uint32_t u : {1u, 2u, 3u, 4u}) ASSERT_NE(addPort(u), nullptr);
  }
  static LldpPort* port(uint32_t u) { return lldpPortEntryGet(u); }
  // Clears the port-changed flags; forwarded() gives the forwards from here.
  void fresh() {
    for (uint32_t u : {1u, 2u, 3u, 4u}) port(u)->somethingChangedLocal = 0;
    mark_ = sim::cmdSyncs().size();
  }
  std::vector<sim::CmdSync> forwarded() const {
    return std::vector<sim::CmdSync>(sim::cmdSyncs().begin() + static_cast<long>(mark_), sim::cmdSyncs().end());
  }
  // The one forward since fresh(): command id, mode, argument, length; its key.
  V forward(Bytes* key = nullptr) const {
    const auto f = forwarded();
    if (f.size() != 1) return V{static_cast<long>(f.size())};
    if (key != nullptr) *key = f[0].key;
    return V{f[0].cmdId, f[0].ctlMode, f[0].ctlArg, f[0].ctlLen};
  }
  size_t mark_ = 0;
};

TEST_F(LocalTest, WalksSkipDisabledPortsAndPortsWithoutSupport) {
  ASSERT_EQ(lldpPortEntryInit(port(2), LLDP_ADMIN_DISABLED), 0);
  port(3)->dot1TlvTxSupported = 0;
  port(3)->medTlvTxSupported[0] = 0;
  for (uint32_t u : {1u, 2u, 3u, 4u}) {
    LldpPort* p = port(u);
    for (uint32_t vid : {10u, 4095u, 4096u}) lldpBitSet(p->vlanNameTxEnable, vid - 1);
    lldpBitSet(p->ppvidTxEnable, 7 - 1);
    p->medPolicy[0].appType = 1;
    p->medPolicy[2].appType = 3;
  }
  // VLAN 4096 is beyond the VLAN ids the tables know.
  EXPECT_EQ(walk(lldpDot1GetVlanNameFirst, lldpDot1GetVlanNameNext), (W{{1, 10}, {1, 4095}, {4, 10}, {4, 4095}}));
  EXPECT_EQ(walk(lldpDot1GetProtoVlanFirst, lldpDot1GetProtoVlanNext), (W{{1, 7}, {4, 7}}));
  EXPECT_EQ(walk(lldpMedMediaPolicyGetFirst, lldpMedMediaPolicyGetNext), (W{{1, 1}, {1, 3}, {4, 1}, {4, 3}}));
  EXPECT_EQ(walk(lldpMedLocationGetFirst, lldpMedLocationGetNext), (W{{1, 1}, {1, 2}, {1, 3}, {4, 1}, {4, 2}, {4, 3}}));
  // GetNext from a port that does not count, or is not there: the next one.
  uint32_t key[2] = {3, 500}, gone[2] = {5, 0};
  EXPECT_EQ(lldpDot1GetVlanNameNext(reinterpret_cast<uintptr_t>(key), 0, nullptr), kOk);
  EXPECT_EQ((V{key[0], key[1]}), (V{4, 10}));
  EXPECT_EQ((V{lldpMedMediaPolicyGetNext(reinterpret_cast<uintptr_t>(gone), 0, nullptr),
               lldpDot1GetVlanNameFirst(0, 0, nullptr)}),
            (V{kNoEntry, kInval}));
}

TEST_F(LocalTest, VlanTablesAnswerTheirRowsAndForwardEveryChange) {
  port(3)->dot1TlvTxSupported = 0;
  lldpBitSet(port(1)->vlanNameTxEnable, 10 - 1);
  lldpBitSet(port(1)->ppvidTxEnable, 7 - 1);
  sim::setInt(sim::Svc::If, 1, 159, 1);  // the platform answers the PVID object
  EXPECT_EQ(getBytes(lldpDot1VlanNameGetApi, 1, 10, 1, 64), rxtest::str("vlan:10"));
  EXPECT_EQ(getBytes(lldpDot1VlanNameGetApi, 1, 10, 1, 3), rxtest::str("vl")) << "cut to the buffer";
  EXPECT_EQ((V{getInt(lldpDot1VlanNameGetApi, 1, 10, 0), getInt(lldpDot1VlanNameGetApi, 1, 11, 0),
               getInt(lldpDot1VlanNameGetApi, 3, 10, 0), getInt(lldpDot1VlanNameGetApi, 9, 10, 0),
               getInt(lldpDot1VlanNameGetApi, 1, 10, 2), getInt(lldpDot1VlanNameGetApi, 1, 10, 1),
               getInt(lldpDot1ProtoVlanGetApi, 1, 7, 1), getInt(lldpDot1ProtoVlanGetApi, 1, 7, 2)}),
            (V{1, kErr + kNoSupport, kErr + kNoSupport, kErr + kNoEntry, kErr + kBad, kErr + kInval, 1, 1}));
  sim::failObject(sim::Svc::If, 1, 159);
  EXPECT_EQ(getInt(lldpDot1ProtoVlanGetApi, 1, 7, 2), 2) << "enabled only while the platform answers";

  // {operation, unit, vid, object, value, forwarding result} -> {result, VLAN
  // bit afterwards, forwarded command (0: none), mode, port marked changed}.
  struct Row {
    Op op;
    uint32_t unit, vid, obj, value;
    int fwd;
    uint32_t rc;
    bool bit;
    uint32_t cmd, mode;
    bool changed;
  };
  const Row rows[] = {
      {lldpDot1VlanNameSetApi, 1, 20, 0, 1, 0, kOk, true, 0x8D64000, 3, true},
      {lldpDot1VlanNameSyncApi, 1, 20, 0, 2, 0, kOk, false, 0x8D64000, 1, true},
      {lldpDot1VlanNameSetApi, 1, 20, 0, 1, 7, 7, false, 0x8D64000, 3, true},  // refused by the stack
      {lldpDot1VlanNameSetApi, 1, 20, 1, 1, 0, kBad, false, 0, 0, true},
      {lldpDot1VlanNameSetApi, 1, 0, 0, 1, 0, kInval, false, 0, 0, true},
      {lldpDot1VlanNameSetApi, 1, 4097, 0, 1, 0, kInval, false, 0, 0, true},
      {lldpDot1VlanNameSetApi, 1, 4096, 0, 1, 0, kOk, true, 0x8D64000, 3, true},  // the map's last bit
      {lldpDot1VlanNameSetApi, 3, 20, 0, 1, 0, kNoSupport, false, 0, 0, false},
      {lldpDot1VlanNameSetApi, 9, 20, 0, 1, 0, kNoEntry, false, 0, 0, false},
      {lldpDot1ProtoVlanSetApi, 1, 30, 0, 1, 0, kOk, true, 0x8D60000, 3, true},
      {lldpDot1ProtoVlanSyncApi, 1, 30, 0, 0, 0, kOk, false, 0x8D60000, 1, true},
  };
  for (const Row& r : rows) {
    fresh();
    sim::setCmdSyncResult(r.fwd);
    EXPECT_EQ(setInt(r.op, r.unit, r.vid, r.obj, r.value), r.rc) << r.vid << " " << r.obj;
    sim::setCmdSyncResult(0);
    Bytes key;
    const V want = r.cmd ? V{r.cmd, r.mode, 8, 4} : V{0};
    EXPECT_EQ(forward(&key), want) << r.vid;
    EXPECT_EQ(key, r.cmd ? lldptest::words({r.unit, r.vid}) : Bytes{}) << r.vid;
    if (const LldpPort* p = port(r.unit); p != nullptr && r.vid >= 1 && r.vid <= 4096) {
      const bool ppvid = r.op == lldpDot1ProtoVlanSetApi || r.op == lldpDot1ProtoVlanSyncApi;
      EXPECT_EQ(lldpBitTest(ppvid ? p->ppvidTxEnable : p->vlanNameTxEnable, r.vid - 1) == 1, r.bit) << r.vid;
      EXPECT_EQ(p->somethingChangedLocal == 1, r.changed) << r.vid;
    }
  }

  // Protocol identities (41): whether the protocol in word 0 runs, in word 1.
  Bytes protos(32, 0);
  protos[0] = 0x01;  // protocol 7 (lldp)
  sim::setOctets(sim::Svc::If, 1, 55, protos);
  const auto state = [](uint32_t unit, uint32_t obj, uint32_t proto) {
    ZorValue v = intVal(proto);
    v.len = 0xDEAD;
    const uint32_t rc = lldpDot1ProtoGetApi(unit, obj, &v);
    return rc == kOk ? static_cast<long>(v.len) : kErr + rc;
  };
  // Other objects answer 0 and write nothing.
  EXPECT_EQ((V{state(1, 25, 7), state(1, 25, 8), state(1, 25, 100000), state(1, 24, 7), state(9, 25, 7)}),
            (V{1, 2, 2, 0xDEAD, kErr + kNoEntry}));
}

TEST_F(LocalTest, PolicySetsStartTheVoicePolicyFromItsDefault) {
  port(3)->medTlvTxSupported[0] = 0;
  const auto policy = [](uint32_t u, uint32_t t) {
    const LldpMedPolicy& r = port(u)->medPolicy[t - 1];
    return V{r.appType, r.unknown, r.tagged, r.priority, r.dscp, r.vid};
  };
  const auto gets = [](uint32_t u, uint32_t t) {
    V out;
    for (uint32_t obj = 56; obj <= 60; ++obj) out.push_back(getInt(lldpMedMediaPolicyGetApi, u, t, obj));
    return out;
  };
  fresh();
  EXPECT_EQ(setInt(lldpMedMediaPolicySetApi, 1, 1, 56, 100), kOk);
  EXPECT_EQ(policy(1, 1), (V{1, 0, 1, 5, 46, 100}));
  EXPECT_EQ(gets(1, 1), (V{100, 5, 46, 0, 1}));
  Bytes key;
  EXPECT_EQ(forward(&key), (V{0x73C4000 + 56, 3, 8, 4}));
  EXPECT_EQ(key, lldptest::words({1, 1}));

  // The unknown flag cannot be set, yet the port is marked changed.
  fresh();
  EXPECT_EQ(setInt(lldpMedMediaPolicySetApi, 1, 1, 59, 1), kBad);
  EXPECT_EQ((V{static_cast<long>(forwarded().size()), port(1)->somethingChangedLocal}), (V{0, 1}));
  // Tagged on the voice policy: 2 untagged on VLAN 4095, 1 the default again.
  EXPECT_EQ(setInt(lldpMedMediaPolicySyncApi, 1, 1, 60, 2), kOk);
  EXPECT_EQ(gets(1, 1), (V{4095, 5, 46, 0, 2}));
  EXPECT_EQ(setInt(lldpMedMediaPolicySetApi, 1, 1, 60, 1), kOk);
  EXPECT_EQ(policy(1, 1), (V{1, 0, 1, 5, 46, 0}));

  // Other types: the values are stored, cut to their fields, but a type
  // never set stays without a policy; tagged changes nothing.
  for (auto [obj, value] : {std::pair{57u, 0x105u}, {56u, 0x10064u}, {60u, 1u}})
    EXPECT_EQ(setInt(lldpMedMediaPolicySetApi, 1, 3, obj, value), kOk);
  EXPECT_EQ(policy(1, 3), (V{0, 0, 0, 5, 0, 100}));
  EXPECT_EQ(getInt(lldpMedMediaPolicyGetApi, 1, 3, 56), kErr + kNoEntry);
  EXPECT_EQ(walk(lldpMedMediaPolicyGetFirst, lldpMedMediaPolicyGetNext), (W{{1, 1}}))
      << "only the voice policy";
  port(1)->medPolicy[2].appType = 3;  // a policy of type 3 that exists takes the values
  EXPECT_EQ(setInt(lldpMedMediaPolicySetApi, 1, 3, 58, 0x12C), kOk);
  EXPECT_EQ(policy(1, 3), (V{3, 0, 0, 5, 0x2C, 100}));
  EXPECT_EQ(setInt(lldpMedMediaPolicySetApi, 1, 2, 59, 1), kBad);
  EXPECT_EQ(policy(1, 2), (V{0, 0, 0, 0, 0, 0}));

  // A refused change still starts the voice policy from its default.
  sim::setCmdSyncResult(5);
  EXPECT_EQ(setInt(lldpMedMediaPolicySetApi, 4, 1, 56, 7), 5u);
  sim::setCmdSyncResult(0);
  EXPECT_EQ(policy(4, 1), (V{1, 0, 1, 5, 46, 0}));
  // A type outside 1-8: no such row for the values (not forwarded), the
  // unknown object as any other; the port is marked changed either way.
  for (auto [obj, rc] : {std::pair{56u, kNoEntry}, {59u, kBad}}) {
    fresh();
    EXPECT_EQ(setInt(lldpMedMediaPolicySetApi, 2, 0, obj, 1), rc);
    EXPECT_EQ((V{static_cast<long>(forwarded().size()), port(2)->somethingChangedLocal}), (V{0, 1}));
  }
  Buf b(4);
  EXPECT_EQ((V{setInt(lldpMedMediaPolicySetApi, 3, 1, 56, 1), setInt(lldpMedMediaPolicySetApi, 1, 9, 56, 1),
               setInt(lldpMedMediaPolicySetApi, 9, 1, 56, 1), call(lldpMedMediaPolicySetApi, 1, 1, 56, b.p()),
               getInt(lldpMedMediaPolicyGetApi, 1, 2, 56), getInt(lldpMedMediaPolicyGetApi, 3, 1, 56),
               getInt(lldpMedMediaPolicyGetApi, 1, 1, 61)}),
            (V{kNoSupport, kNoEntry, kNoEntry, kInval, kErr + kNoEntry, kErr + kNoSupport, kErr + kBad}));
}

TEST_F(LocalTest, LocationsKeepCoordinatesAsTheirLciAndTheOtherFormatsAsGiven) {
  const std::string text = "north,35.5,east,139.25,meters,12.5,wgs84,";
  const Bytes lci = txtest::hex("88 46FFFFFF 89 167FFFFF 17 80 000C7F 01");
  fresh();
  ASSERT_EQ(setBytes(lldpMedLocationSetApi, 1, 1, 1, rxtest::str(text)), kOk);
  const LldpMedLocation& coord = port(1)->medLocation[0];
  EXPECT_EQ(Bytes(coord.data, coord.data + coord.len), lci);
  Bytes key;
  EXPECT_EQ(forward(&key), (V{0x73C8001, 0x80000003, 8, static_cast<long>(text.size())}));
  EXPECT_EQ(forwarded()[0].bytes, rxtest::str(text)) << "the peers parse the text themselves";
  EXPECT_EQ(key, lldptest::words({1, 1}));
  EXPECT_EQ(getBytes(lldpMedLocationGetApi, 1, 1, 1), rxtest::str("north,35.500000,east,139.250000,meters,12.5,wgs84,"));
  EXPECT_EQ(getBytes(lldpMedLocationGetApi, 1, 1, 2), lci);
  uint32_t rc = 0;
  getBytes(lldpMedLocationGetApi, 1, 1, 1, 20, &rc);
  EXPECT_EQ(rc, kTooSmall);

  // Length rules: nothing forwarded, nothing stored.
  const Bytes civic(6, 0x20), elin = rxtest::str("12025550100");
  const struct {
    uint32_t format;
    Bytes data;
    uint32_t rc;
  } rows[] = {
      {1, rxtest::str("north,1,east,1,meters,1,wgs84,xxxxx"), kInval},  // 35 octets
      {1, Bytes(68, ','), kInval},
      {2, Bytes(5, 0x20), kInval}, {2, Bytes(257, 0x20), kInval}, {2, Bytes(256, 0x20), kOk}, {2, civic, kOk},
      {3, Bytes(507, '9'), kInval}, {3, {}, kInval}, {3, elin, kOk}, {4, elin, kBad},
  };
  for (const auto& r : rows) {
    fresh();
    EXPECT_EQ(setBytes(lldpMedLocationSetApi, 1, r.format, 1, r.data), r.rc) << r.format << " " << r.data.size();
    EXPECT_EQ(forwarded().size(), r.rc == kOk ? 1u : 0u);
    EXPECT_EQ(port(1)->somethingChangedLocal, 1);
  }
  EXPECT_EQ(Bytes(coord.data, coord.data + coord.len), lci);
  EXPECT_EQ(getBytes(lldpMedLocationGetApi, 1, 2, 1), civic);
  EXPECT_EQ(getBytes(lldpMedLocationGetApi, 1, 3, 1), elin);

  // Status 2 removes a location; nothing else can be set through it.
  EXPECT_EQ(setInt(lldpMedLocationSyncApi, 1, 3, 0, 2), kOk);
  EXPECT_EQ(getInt(lldpMedLocationGetApi, 1, 3, 0), 2);
  EXPECT_EQ(getBytes(lldpMedLocationGetApi, 1, 3, 1, 300, &rc), Bytes{});
  EXPECT_EQ(rc, kOk);
  port(3)->medTlvTxSupported[0] = 0;
  ZorValue i = intVal(1);
  EXPECT_EQ((V{setInt(lldpMedLocationSetApi, 1, 1, 0, 1), call(lldpMedLocationSetApi, 1, 1, 1, &i),
               setInt(lldpMedLocationSetApi, 1, 1, 2, 1), setInt(lldpMedLocationSetApi, 3, 1, 0, 2),
               getInt(lldpMedLocationGetApi, 1, 4, 0), getInt(lldpMedLocationGetApi, 9, 1, 0)}),
            (V{kBad, kInval, kBad, kNoSupport, kErr + kNoEntry, kErr + kNoEntry}));
}

// The whole chain on one agent: port 1 configured through the tables sends
// its LLDPDU; port 2, its neighbour, reads the same values back.
TEST_F(LocalTest, ConfigurationReachesTheNeighbourThroughTheLldpdu) {
  Buf medOn = Buf::of({0xE0, 0x00});  // capabilities, network policy, location
  ASSERT_EQ(lldpPortSetApi(1, 54, medOn.p()), kOk);
  for (uint32_t vid : {10u, 20u}) ASSERT_EQ(setInt(lldpDot1VlanNameSetApi, 1, vid, 0, 1), kOk);
  ASSERT_EQ(setInt(lldpMedMediaPolicySetApi, 1, 1, 56, 100), kOk);
  const Bytes civic = {9, 2, 'D', 'E', 3, 5, 'B', 'o', 'n', 'n', 0};
  ASSERT_EQ(setBytes(lldpMedLocationSetApi, 1, 2, 1, civic), kOk);
  ASSERT_EQ(setBytes(lldpMedLocationSetApi, 1, 1, 1, rxtest::str("south,33.86,east,151.21,floors,3,wgs84,")), kOk);
  sim::clearSentFrames();
  Bytes sent;
  for (int n = 0; n < 10 && sent.empty(); ++n) {
    rounds(1);
    for (const auto& f : sim::sentFrames())
      if (f.unit == 1) sent = f.bytes;
  }
  ASSERT_FALSE(sent.empty());
  sim::queueFrame(2, sent);
  rounds(1);

  // The neighbour record, then each list from its index and a zero entry key.
  std::vector<uint32_t> rec(6, 0);
  ASSERT_EQ(lldpRemSysGetFirst(reinterpret_cast<uintptr_t>(rec.data()), 0, nullptr), kOk);
  ASSERT_EQ(rec[2], 2u);
  const auto rows = [&](Op next, Op get, std::vector<uint32_t> objs) {
    std::vector<uint32_t> key(rec.begin(), rec.begin() + 4);
    key.resize(6, 0);
    const auto k = reinterpret_cast<uintptr_t>(key.data());
    std::vector<V> out;
    while (next(k, 0, nullptr) == kOk) {
      V row{key[4]};
      for (uint32_t obj : objs) {
        ZorValue v = intVal();
        Buf b(80);
        row.push_back(get(k, obj, &v) == kOk ? v.value : get(k, obj, b.p()) == kOk ? static_cast<long>(b.bytes().size()) : -1);
      }
      out.push_back(row);
    }
    return out;
  };
  EXPECT_EQ(rows(lldpDot1RemVlanNameGetNext, lldpDot1RemVlanNameGetApi, {1}), (W{{10, 7}, {20, 7}}));
  EXPECT_EQ(rows(lldpMedRemMediaPolicyGetNext, lldpMedRemMediaPolicyGetApi, {56, 57, 58, 59, 60}),
            (W{{1, 100, 5, 46, 0, 1}}));
  const uint32_t loc1[6] = {rec[0], rec[1], rec[2], rec[3], 1}, loc2[6] = {rec[0], rec[1], rec[2], rec[3], 2};
  Buf coordText(80), civicBytes(80);
  EXPECT_EQ(lldpMedRemLocationGetApi(reinterpret_cast<uintptr_t>(loc1), 1, coordText.p()), kOk);
  EXPECT_EQ(lldpMedRemLocationGetApi(reinterpret_cast<uintptr_t>(loc2), 1, civicBytes.p()), kOk);
  EXPECT_EQ(coordText.bytes(), rxtest::str("south,33.860000,east,151.210000,floors,3.0,wgs84,"));
  EXPECT_EQ(civicBytes.bytes(), civic);
}

}  // namespace
