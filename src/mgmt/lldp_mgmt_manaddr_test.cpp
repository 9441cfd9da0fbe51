// Local management-address tables: order and walks of both tables, their
// objects, the Set rules and forwarding, the shared limit, and the address
// reaching the wire.
#include <gtest/gtest.h>

#include <algorithm>

#include "mgmt/mgmt_test_util.h"

using namespace mgmttest;

namespace {

constexpr uint32_t kOk = 0, kNoMem = 12, kInval = 22, kNoEntry = 0x3E80002, kBad = 0x3E80010,
                   kDisabled = 0x3E80036;

LldpManAddrKey key(uint8_t subtype, const Bytes& addr) {
  LldpManAddrKey k{};
  k.subtype = subtype;
  std::copy(addr.begin(), addr.end(), k.addr);
  k.len = static_cast<uint8_t>(addr.size());
  return k;
}
LldpPortManAddrKey pkey(uint8_t subtype, const Bytes& addr, uint32_t unit) {
  LldpPortManAddrKey k{};
  k.a = key(subtype, addr);
  std::memcpy(k.unit, &unit, 4);
  return k;
}
template <typename K>
uintptr_t at(K& k) {
  return reinterpret_cast<uintptr_t>(&k);
}
Bytes addrOf(const LldpManAddrKey& k) { return Bytes(k.addr, k.addr + std::min<int>(k.len, 32)); }
uint32_t unitOf(const LldpPortManAddrKey& k) {
  uint32_t u;
  std::memcpy(&u, k.unit, 4);
  return u;
}

// Agent-wide row: object 0 with a non-empty buffer creates, an empty one deletes.
uint32_t setAgent(LldpManAddrKey k, bool create, bool sync = false) {
  Buf b = create ? Buf::of(Bytes(512, 0xFF)) : Buf(0);
  return sync ? lldpManAddrSyncApi(at(k), 0, b.p()) : lldpManAddrSetApi(at(k), 0, b.p());
}
uint32_t setPort(LldpPortManAddrKey k, uint32_t status) {
  ZorValue v = intVal(status);
  return lldpPortManAddrSetApi(at(k), 15, &v);
}

std::vector<std::pair<uint8_t, Bytes>> agentWalk() {
  std::vector<std::pair<uint8_t, Bytes>> out;
  LldpManAddrKey k{};
  for (uint32_t rc = lldpManAddrGetFirst(at(k), 0, nullptr); rc == 0 && out.size() < 20;
       rc = lldpManAddrGetNext(at(k), 0, nullptr))
    out.emplace_back(k.subtype, addrOf(k));
  return out;
}
struct PortRow {
  uint32_t unit;
  uint8_t subtype;
  Bytes addr;
  bool operator==(const PortRow&) const = default;
};
std::vector<PortRow> portWalk() {
  std::vector<PortRow> out;
  LldpPortManAddrKey k{};
  for (uint32_t rc = lldpPortManAddrGetFirst(at(k), 0, nullptr); rc == 0 && out.size() < 20;
       rc = lldpPortManAddrGetNext(at(k), 0, nullptr))
    out.push_back({unitOf(k), k.a.subtype, addrOf(k.a)});
  return out;
}

const Bytes kIp1 = {10, 0, 0, 1}, kIp2 = {10, 0, 0, 2}, kIp9 = {192, 168, 1, 9};
const Bytes kIp6 = {0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

using ManAddrTest = MgmtTest;

TEST_F(ManAddrTest, AgentTableOrderWalkObjectsAndForwarding) {
  ASSERT_NE(addPort(1), nullptr);
  for (const auto& k : {key(2, kIp6), key(1, kIp2), key(1, kIp1)}) ASSERT_EQ(setAgent(k, true), kOk);
  ASSERT_EQ(setAgent(key(1, kIp1), true, true), kOk) << "an existing row is left as it is";
  using W = std::vector<std::pair<uint8_t, Bytes>>;
  EXPECT_EQ(agentWalk(), (W{{1, kIp1}, {1, kIp2}, {2, kIp6}}));
  EXPECT_EQ(gLldpInfo.mgmtAddrNum, 3u);

  // GetNext needs the exact key of a row.
  LldpManAddrKey between = key(1, {10, 0, 0, 1, 5});
  EXPECT_EQ(lldpManAddrGetNext(at(between), 0, nullptr), kNoEntry);

  const sim::CmdSync& c = sim::cmdSyncs().back();
  const LldpManAddrKey sent = key(1, kIp1);
  EXPECT_EQ((std::vector<uint32_t>{c.cmdId, c.ctlMode, c.ctlArg, c.ctlLen, c.form}),
            (std::vector<uint32_t>{0x92A4000, 1 | 0x80000000u, 40, 512, ZOR_VALUE_BUF}));
  EXPECT_EQ(c.key, Bytes(reinterpret_cast<const uint8_t*>(&sent), reinterpret_cast<const uint8_t*>(&sent) + 34));

  LldpManAddrKey k = key(1, kIp1);
  ZorValue v = intVal();
  Buf map(512), shortMap(511), oid(64), shortOid(39);
  EXPECT_EQ(lldpManAddrGetApi(at(k), 0, map.p()), kOk);
  EXPECT_EQ(map.bytes(), Bytes(512, 0xFF));
  // The map is answered whatever the capacity says, as far as the buffer holds it.
  EXPECT_EQ(lldpManAddrGetApi(at(k), 0, shortMap.p()), kOk);
  EXPECT_EQ(shortMap.bytes(), Bytes(511, 0xFF));
  EXPECT_EQ(lldpManAddrGetApi(at(k), 0, &v), kInval) << "object 0 in integer form";
  EXPECT_EQ(lldpManAddrGetApi(at(k), 1, &v), kOk);
  EXPECT_EQ(v.value, 4u);
  EXPECT_EQ(lldpManAddrGetApi(at(k), 2, &v), kOk);
  EXPECT_EQ(v.value, 2u);
  ASSERT_EQ(lldpManAddrGetApi(at(k), 4, oid.p()), kOk);
  const uint32_t arcs[] = {1, 3, 6, 1, 2, 1, 4, 20, 1, 1};
  EXPECT_EQ(oid.bytes(), Bytes(reinterpret_cast<const uint8_t*>(arcs), reinterpret_cast<const uint8_t*>(arcs) + 40));
  EXPECT_EQ(lldpManAddrGetApi(at(k), 4, shortOid.p()), kInval);
  EXPECT_EQ(lldpManAddrGetApi(at(k), 1, map.p()), kInval);
  EXPECT_EQ(lldpManAddrGetApi(at(k), 5, &v), kBad);
  EXPECT_EQ(lldpManAddrGetApi(at(between), 1, &v), kNoEntry);

  // Set refusals.
  EXPECT_EQ(lldpManAddrSetApi(at(k), 0, &v), kInval) << "object 0 in integer form";
  sim::setCmdSyncResult(4);
  EXPECT_EQ(setAgent(key(1, kIp9), true), 4u);
  sim::setCmdSyncResult(0);
  EXPECT_EQ(lldpManAddrSetApi(at(k), 1, &v), kBad) << "forwarded, then refused";
  EXPECT_EQ(setAgent(key(1, kIp9), false), kNoEntry);
  gLldpInfo.globalAdminStatus = 2;
  const size_t fwd = sim::cmdSyncs().size();
  EXPECT_EQ(setAgent(key(1, kIp9), true), kDisabled);
  EXPECT_EQ(sim::cmdSyncs().size(), fwd) << "nothing forwarded while disabled";
  gLldpInfo.globalAdminStatus = 1;
  EXPECT_EQ(setAgent(key(2, kIp6), false), kOk);
  EXPECT_EQ(agentWalk(), (W{{1, kIp1}, {1, kIp2}}));
  EXPECT_EQ(gLldpInfo.mgmtAddrNum, 2u);
}

TEST_F(ManAddrTest, AnAgentAddressIsAdvertisedByEveryPortAtOnce) {
  ASSERT_NE(addPort(1), nullptr);
  ASSERT_NE(addPort(2), nullptr);
  rounds(40);
  sim::clearSentFrames();
  ASSERT_EQ(setAgent(key(1, kIp9), true), kOk);
  rounds(3);
  // In the management address TLV: string length 5, subtype 1, the address.
  const Bytes tlv = {5, 1, 192, 168, 1, 9};
  std::vector<uint32_t> units;
  for (const auto& f : sim::sentFrames())
    if (std::search(f.bytes.begin(), f.bytes.end(), tlv.begin(), tlv.end()) != f.bytes.end())
      units.push_back(f.unit);
  EXPECT_EQ(units, (std::vector<uint32_t>{1, 2}));
}

TEST_F(ManAddrTest, PortTableWalkRowStatusAndDeletion) {
  LldpPort* p1 = addPort(1);
  LldpPort* p3 = addPort(3);
  ASSERT_TRUE(p1 && p3);
  for (const auto& k : {pkey(1, kIp2, 3), pkey(2, kIp6, 1), pkey(1, kIp9, 1), pkey(1, kIp1, 1)})
    ASSERT_EQ(setPort(k, 2), kOk);
  using W = std::vector<PortRow>;
  EXPECT_EQ(portWalk(), (W{{1, 1, kIp1}, {1, 1, kIp9}, {1, 2, kIp6}, {3, 1, kIp2}}));

  // GetNext from keys that are no row: the walk's own order.
  struct Next {
    LldpPortManAddrKey from;
    uint32_t rc;
    PortRow to;
  };
  const Next nexts[] = {
      {pkey(1, {10, 0, 0, 5}, 1), kOk, {1, 1, kIp9}},
      {pkey(1, {10, 0, 0}, 1), kOk, {1, 1, kIp1}},  // a longer row comes after a shorter key
      {pkey(0, {}, 2), kOk, {3, 1, kIp2}},  // from a unit without a port
      {pkey(2, kIp6, 1), kOk, {3, 1, kIp2}},
      {pkey(9, {}, 3), kNoEntry, {}},
  };
  for (Next n : nexts) {
    EXPECT_EQ(lldpPortManAddrGetNext(at(n.from), 0, nullptr), n.rc);
    if (n.rc == kOk) {
      EXPECT_EQ((PortRow{unitOf(n.from), n.from.a.subtype, addrOf(n.from.a)}), n.to);
    }
  }

  // Forwarding: the 38-byte key, no control bits.
  const sim::CmdSync& c = sim::cmdSyncs().back();
  EXPECT_EQ((std::vector<uint32_t>{c.cmdId, c.ctlMode, c.ctlArg, c.ctlLen, static_cast<uint32_t>(c.key.size())}),
            (std::vector<uint32_t>{0x8D6800F, 3, 40, 4, 38}));

  LldpPortManAddrKey k = pkey(1, kIp9, 1);
  ZorValue v = intVal();
  Buf oid(64);
  EXPECT_EQ(lldpPortManAddrGetApi(at(k), 15, &v), kOk);
  EXPECT_EQ(v.value, 1u);
  EXPECT_EQ(lldpPortManAddrGetApi(at(k), 19, oid.p()), kOk);
  EXPECT_EQ(oid.v.len, 40u);
  EXPECT_EQ(lldpPortManAddrGetApi(at(k), 14, &v), kBad);
  LldpPortManAddrKey gone = pkey(1, kIp2, 1);
  EXPECT_EQ(lldpPortManAddrGetApi(at(gone), 15, &v), kNoEntry);

  // Deletion matches length and bytes, whatever the subtype.
  EXPECT_EQ(setPort(pkey(6, kIp9, 1), 4), kOk);
  EXPECT_EQ(setPort(pkey(1, kIp9, 1), 4), kNoEntry);
  EXPECT_EQ(setPort(pkey(1, kIp1, 1), 3), kOk) << "other values change nothing";
  EXPECT_EQ(portWalk(), (W{{1, 1, kIp1}, {1, 2, kIp6}, {3, 1, kIp2}}));

  // Refusals: unknown port, unknown object (not forwarded, still marked),
  // buffer form, a disabled port (after the forwarding).
  EXPECT_EQ(setPort(pkey(1, kIp9, 7), 2), kNoEntry);
  p1->somethingChangedLocal = 0;
  const size_t fwd = sim::cmdSyncs().size();
  EXPECT_EQ(lldpPortManAddrSetApi(at(k), 16, &v), kBad);
  Buf b = Buf::of({2, 0, 0, 0});
  EXPECT_EQ(lldpPortManAddrSetApi(at(k), 15, b.p()), kInval);
  EXPECT_EQ(sim::cmdSyncs().size(), fwd);
  EXPECT_EQ(p1->somethingChangedLocal, 1);
  ASSERT_EQ(lldpPortEntryInit(p3, LLDP_ADMIN_DISABLED), 0);
  EXPECT_EQ(setPort(pkey(1, kIp9, 3), 2), kInval);
  EXPECT_EQ(sim::cmdSyncs().size(), fwd + 1);

  // The agent's global status does not stop a port row.
  gLldpInfo.globalAdminStatus = 2;
  EXPECT_EQ(setPort(pkey(1, kIp2, 1), 2), kOk);
  gLldpInfo.globalAdminStatus = 1;
  EXPECT_EQ(portWalk(), (W{{1, 1, kIp1}, {1, 1, kIp2}, {1, 2, kIp6}}));
}

TEST_F(ManAddrTest, BothTablesShareOneLimitThatAdmitsOneRowMore) {
  ASSERT_NE(addPort(1), nullptr);
  gLldpInfo.maxMgmtAddrNum = 4;
  ASSERT_EQ(setAgent(key(1, {1, 1, 1, 1}), true), kOk);
  ASSERT_EQ(setAgent(key(1, {1, 1, 1, 2}), true), kOk);
  ASSERT_EQ(setPort(pkey(1, {2, 2, 2, 1}, 1), 2), kOk);
  ASSERT_EQ(setPort(pkey(1, {2, 2, 2, 2}, 1), 2), kOk);
  EXPECT_EQ(setPort(pkey(1, {2, 2, 2, 3}, 1), 2), kOk) << "the fifth row";
  EXPECT_EQ(setPort(pkey(1, {2, 2, 2, 4}, 1), 2), kNoMem);
  EXPECT_EQ(setAgent(key(1, {1, 1, 1, 3}), true), kOk) << "refused silently";
  EXPECT_EQ(agentWalk().size() + portWalk().size(), 5u);
  EXPECT_EQ(gLldpInfo.mgmtAddrNum, 5u);

  // An address the port already has adds no row but counts all the same.
  gLldpInfo.maxMgmtAddrNum = 10;
  EXPECT_EQ(setPort(pkey(1, {2, 2, 2, 1}, 1), 2), kOk);
  EXPECT_EQ(portWalk().size(), 3u);
  EXPECT_EQ(gLldpInfo.mgmtAddrNum, 6u);
  ZorValue v = intVal();
  ASSERT_EQ(lldpScalarGetApi(0, 38, &v), kOk);
  EXPECT_EQ(v.value, 6u);
}

}  // namespace
