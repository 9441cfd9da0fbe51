// Remote-table queries: record walks in key order with their filters and
// across a deletion, every field family read back as the transmit path of a
// second port sent it, the list tables' entry order, and lists longer than
// their 8-bit counts.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "mgmt/lldp_location.h"
#include "mgmt/mgmt_test_util.h"
#include "rx/lldp_tlv_list.h"
#include "tx/lldp_tx.h"
#include "tx/tx_test_port.h"

using namespace mgmttest;

namespace {

constexpr uint32_t kOk = 0, kInval = 22, kNoEntry = 0x3E80002, kBad = 0x3E80010;
using Op = uint32_t (*)(uintptr_t, uint32_t, ZorValue*);
using Keys = std::vector<Bytes>;
using V = std::vector<long>;

uintptr_t at(const Bytes& key) { return reinterpret_cast<uintptr_t>(key.data()); }
uint32_t word(const Bytes& key, size_t off) {
  uint32_t w;
  std::memcpy(&w, key.data() + off, 4);
  return w;
}

// Every key a GetFirst / GetNext pair visits; the walk must end on 0x3E80002.
Keys walk(Op first, Op next, size_t keyLen) {
  Bytes key(keyLen, 0);
  Keys out;
  uint32_t rc = first(at(key), 0, nullptr);
  for (; rc == kOk && out.size() < 2000; rc = next(at(key), 0, nullptr)) out.push_back(key);
  EXPECT_EQ(rc, kNoEntry);
  return out;
}
// The words at `off` of every key.
V words(const Keys& keys, size_t off) {
  V out;
  for (const Bytes& k : keys) out.push_back(word(k, off));
  return out;
}

uint32_t getInt(Op get, const Bytes& key, uint32_t obj, uint32_t* out = nullptr) {
  ZorValue v = intVal(0xDEAD);
  const uint32_t rc = get(at(key), obj, &v);
  if (out != nullptr) *out = v.value;
  return rc == kOk ? v.value : 0xBAD00000u + rc;
}
Bytes getBytes(Op get, const Bytes& key, uint32_t obj, uint32_t cap = 600, uint32_t* rc = nullptr) {
  Buf b(cap);
  const uint32_t r = get(at(key), obj, b.p());
  if (rc != nullptr) *rc = r;
  return r == kOk ? b.bytes() : Bytes{};
}
// The chassis ID of the record each key names.
std::vector<std::string> chassis(const Keys& keys) {
  std::vector<std::string> out;
  for (const Bytes& k : keys) {
    const Bytes id = getBytes(lldpRemSysGetApi, Bytes(k.begin(), k.begin() + 20), 3);
    out.emplace_back(id.begin(), id.end());
  }
  return out;
}

class RemoteTest : public MgmtTest {
 protected:
  static void send(uint32_t unit, rxtest::Frame& f) {
    f.end();
    sim::queueFrame(unit, f.b);
    lldpMainRound();
  }
};

// A frame from a neighbour that names itself `chassis` (port ID "p1").
rxtest::Frame from(const std::string& chassis, uint16_t ttl = 120) {
  rxtest::Frame f;
  f.head(chassis, "p1", ttl);
  return f;
}

// One management address TLV: IANA subtype, the address, ifIndex 7.
Bytes mgmtAddr(uint8_t subtype, const Bytes& addr) {
  Bytes v{static_cast<uint8_t>(addr.size() + 1), subtype};
  v.insert(v.end(), addr.begin(), addr.end());
  v.insert(v.end(), {2, 0, 0, 0, 7, 0});
  return v;
}

const Bytes kMedCap{0x00, 0x3F, 0x03};

TEST_F(RemoteTest, RecordWalksFollowTheKeyOrderAndTheirFilters) {
  for (uint32_t u : {1u, 2u, 3u}) ASSERT_NE(addPort(u), nullptr);
  // In one second: d then b on port 1, a on port 2; c on port 3 a second later.
  rxtest::Frame d = from("d"), b = from("b"), a = from("a"), c = from("c");
  d.org(rxtest::kMed, 1, kMedCap).org(rxtest::kMed, 4, {0x53, 0x00, 0x10});  // PD, source 2, priority 4
  b.org(rxtest::kDot3, 1, {0x03, 0x6c, 0x01, 0x00, 0x10}).org(rxtest::kDot3, 4, {0x05, 0xEE});
  b.org(rxtest::kMed, 1, kMedCap).org(rxtest::kMed, 4, {0x00, 0x00, 0x10});  // PSE
  a.org(rxtest::kDot1, 1, {0x00, 0x05}).org(rxtest::kMed, 1, kMedCap).org(rxtest::kMed, 5, rxtest::str("hw1"));
  c.org(rxtest::kDot3, 2, {0x07, 0x01, 0x02}).org(rxtest::kDot3, 3, {0x03, 0, 0, 0, 9});
  c.org(rxtest::kMed, 1, kMedCap).org(rxtest::kMed, 4, {0x40, 0x00, 0x20});  // PD
  send(1, d);
  send(1, b);
  send(2, a);
  sim::advanceMs(1000);
  send(3, c);
  ASSERT_EQ(gLldpInfo.msapTable.count, 4u);

  using S = std::vector<std::string>;
  const struct {
    Op first, next;
    uint32_t filter;
    S records;
  } walks[] = {
      {lldpRemSysGetFirst, lldpRemSysGetNext, 0, {"d", "b", "a", "c"}},
      {lldpDot1RemPvidGetFirst, lldpDot1RemPvidGetNext, 0x0080C200, {"a"}},
      {lldpDot3RemPortGetFirst, lldpDot3RemPortGetNext, 0x00120F00, {"b"}},
      {lldpDot3RemPowerGetFirst, lldpDot3RemPowerGetNext, 0x00120F01, {"c"}},
      {lldpDot3RemLinkAggGetFirst, lldpDot3RemLinkAggGetNext, 0x00120F02, {"c"}},
      {lldpDot3RemMaxFrameGetFirst, lldpDot3RemMaxFrameGetNext, 0x00120F03, {"b"}},
      {lldpMedRemCapGetFirst, lldpMedRemCapGetNext, 0x0012BB00, {"d", "b", "a", "c"}},
      {lldpMedRemPoePseGetFirst, lldpMedRemPoePseGetNext, 0x0012BB03, {"b"}},
      {lldpMedRemPoePdGetFirst, lldpMedRemPoePdGetNext, 0x0012BB04, {"d", "c"}},
      {lldpMedRemInventoryGetFirst, lldpMedRemInventoryGetNext, 0x0012BB05, {"a"}},
      // PSE records first; past the last one, the PD records after it: d,
      // a PD record before it, is not visited.
      {lldpMedRemPoeGetFirst, lldpMedRemPoeGetNext, 0x0012BB04, {"b", "c"}},
  };
  for (const auto& w : walks) {
    const Keys keys = walk(w.first, w.next, 20);
    EXPECT_EQ(chassis(keys), w.records) << std::hex << w.filter;
    EXPECT_EQ(words(Keys(keys.end() - 1, keys.end()), 16), V{w.filter}) << "filter written back";
  }

  // Key words: time mark, port, remIndex; d and b share the second and port.
  const Keys all = walk(lldpRemSysGetFirst, lldpRemSysGetNext, 20);
  ASSERT_EQ(all.size(), 4u);
  const long t0 = word(all[0], 4);
  EXPECT_EQ(words(all, 4), (V{t0, t0, t0, t0 + 1}));
  EXPECT_EQ(words(all, 8), (V{1, 1, 2, 3}));
  EXPECT_LT(static_cast<int32_t>(word(all[0], 12)), static_cast<int32_t>(word(all[1], 12)));
  // d's power values, each under both of its names (59-65).
  V power;
  for (uint32_t obj = 59; obj <= 65; ++obj) power.push_back(getInt(lldpRemSysGetApi, all[0], obj));
  EXPECT_EQ(power, (V{3, 16, 2, 4, 16, 2, 4}));

  // a leaves (shutdown frame); a GetNext from its key goes on with c.
  rxtest::Frame bye = from("a", 0);
  send(2, bye);
  Bytes key = all[2];
  EXPECT_EQ(lldpRemSysGetNext(at(key), 0, nullptr), kOk);
  EXPECT_EQ(chassis({key}), S{"c"});
  EXPECT_EQ((V{lldpRemSysGetNext(at(key), 0, nullptr), getInt(lldpRemSysGetApi, all[2], 2),
               lldpRemSysGetFirst(0, 0, nullptr)}),
            (V{kNoEntry, 0xBAD00000 + kNoEntry, kInval}));
}

// The sender's value of an integer provider of port `u`.
uint32_t local(int (*fn)(uint32_t, uint32_t*), uint32_t u) {
  uint32_t v = 0;
  EXPECT_EQ(fn(u, &v), 0);
  return v;
}
uint32_t truth(int (*fn)(uint32_t, uint32_t*), uint32_t u) { return local(fn, u) == 1 ? 1 : 2; }
template <class F>
Bytes octets(F fn) {
  uint8_t buf[512] = {};
  uint32_t n = sizeof buf;
  fn(buf, &n);
  return Bytes(buf, buf + n);
}
Bytes str(const uint8_t* p, uint32_t n) { return Bytes(p, p + n); }

TEST_F(RemoteTest, EveryFieldReadsBackAsTheSendingPortBuiltIt) {
  ASSERT_NE(addPort(1), nullptr);
  txtest::platformDefaults();
  txtest::Port s;  // the sender, unit 5, with every TLV family on
  txtest::enableEverything(s.get());
  gLldpInfo.medPoeDeviceType = 2;  // a PSE
  ASSERT_GT(lldpMibConstrInfoLLDPDU(s.get()), 0u);
  ASSERT_EQ(s->tx.flags & LLDP_TX_FLAG_OVERFLOW, 0u);
  const Bytes frame = s.frame();
  sim::queueFrame(1, frame);
  lldpMainRound();
  const Keys recs = walk(lldpRemSysGetFirst, lldpRemSysGetNext, 20);
  ASSERT_EQ(recs.size(), 1u);
  const Bytes& rec = recs[0];
  const uint32_t u = s->unit;
  const LldpInfo& g = gLldpInfo;

  // Integer objects. Both extended power TLVs came (PSE, then PD): the later
  // one counts, and it also sets the priority 802.3 power shares.
  uint32_t chassisSubtype = 0, pdSource = 0, pdPrio = 0, pdValue = 0;
  lldpGetChassisIdType(&chassisSubtype);
  lldpMedGetPdPowerSource(&pdSource);
  lldpMedGetPdPowerPriority(&pdPrio);
  lldpMedGetPdPowerValue(&pdValue);
  const std::vector<std::pair<uint32_t, uint32_t>> ints = {
      {1, 0}, {2, chassisSubtype}, {4, s->portIdSubtype}, {16, s->txTTL}, {18, local(lldpDot1PortGetPvid, u)},
      {24, local(lldpDot3PortGetAutoNegSupported, u)}, {25, local(lldpDot3PortGetAutoNegEnabled, u)},
      {27, local(lldpDot3PortGetOperMauType, u)}, {28, truth(lldpDot3PortGetPowerPortClass, u)},
      {29, truth(lldpDot3PortGetPowerMDISupported, u)}, {30, truth(lldpDot3PortGetPowerMDIEnabled, u)},
      {31, truth(lldpDot3PortGetPowerPairControlable, u)}, {32, local(lldpDot3PortGetPowerPairs, u)},
      {33, local(lldpDot3PortGetPowerClass, u)}, {34, 1}, {35, g.medPoeDeviceType},
      {36, local(lldpMedPortGetPsePowerSource, u)}, {37, pdPrio}, {38, 0},
      {39, local(lldpMedPortGetPsePowerValue, u) / 100}, {41, local(lldpDot3PortGetLinkAggPortId, u)},
      {42, local(lldpDot3PortGetMaxFrameSize, u)}, {45, g.medDeviceType}, {59, g.medPoeDeviceType},
      {60, pdValue}, {61, pdSource}, {62, pdPrio}};
  for (const auto& [obj, want] : ints) EXPECT_EQ(getInt(lldpRemSysGetApi, rec, obj), want) << obj;

  // Octet objects.
  uint8_t medSup[2] = {s->medTlvTxSupported[0], s->medTlvTxSupported[1]};
  reverseBits(medSup, 2);
  const std::vector<std::pair<uint32_t, Bytes>> octetRows = {
      {3, octets(lldpGetChassisId)},
      {5, octets([&](uint8_t* b, uint32_t* n) { return lldpPortGetPortId(s.get(), b, n); })},
      {6, octets([&](uint8_t* b, uint32_t* n) { return lldpPortGetDescr(u, b, n); })},
      {7, octets(lldpGetSysName)}, {8, octets(lldpGetSysDescr)}, {9, str(g.capSupported, 2)},
      {10, str(g.capEnabled, 2)}, {17, {0xF0, 0x00}}, {23, {0xF0, 0x00}},
      {26, octets([&](uint8_t* b, uint32_t* n) { return lldpDot3PortGetAutoNegAdvertisedCap(u, b, n); })},
      {40, octets([&](uint8_t* b, uint32_t* n) { return lldpDot3PortGetLinkAggStatus(u, b, n); })},
      {43, str(medSup, 2)}, {44, {0xF4, 0x00}},  // no PD bit: both power TLVs say PSE
      {51, str(g.medHwRev, g.medHwRevLen)}, {57, str(g.medAssetId, g.medAssetIdLen)},
      {66, str(s->privTlvTxSupported, 2)}, {68, str(g.sysOid, g.sysOidLen)},
      {69, str(g.medHwRev, g.medHwRevLen)}, {75, str(g.medAssetId, g.medAssetIdLen)}};
  for (const auto& [obj, want] : octetRows) EXPECT_EQ(getBytes(lldpRemSysGetApi, rec, obj), want) << obj;

  // Refusals: a short buffer (nothing copied), the other form, unknown ids.
  Buf shortBuf(3, {0xAA, 0xAA, 0xAA}), buf(64);
  EXPECT_EQ(lldpRemSysGetApi(at(rec), 3, shortBuf.p()), kInval);
  EXPECT_EQ(shortBuf.mem[0], 0xAA);
  EXPECT_EQ((V{lldpRemSysGetApi(at(rec), 2, buf.p()), getInt(lldpRemSysGetApi, rec, 3), getInt(lldpRemSysGetApi, rec, 11),
               getInt(lldpRemSysGetApi, rec, 76)}),
            (V{kInval, 0xBAD00000 + kInval, 0xBAD00000 + kBad, 0xBAD00000 + kBad}));

  // The lists of the same record: the port's MAC as its address, ...
  const Keys addrs = walk(lldpRemManAddrGetFirst, lldpRemManAddrGetNext, 53);
  ASSERT_EQ(addrs.size(), 1u);
  EXPECT_EQ((V{word(addrs[0], 16), addrs[0][52], getInt(lldpRemManAddrGetApi, addrs[0], 1),
               getInt(lldpRemManAddrGetApi, addrs[0], 2)}),
            (V{6, 6, 2, s->ifIndex}));
  EXPECT_EQ(Bytes(addrs[0].begin() + 20, addrs[0].begin() + 26), str(s->portMac, 6));
  uint32_t arcs[LLDP_OID_MAX_ARCS] = {}, oidLen = 0;
  lldpMgmtAddrGetOid(6, 6, nullptr, arcs, &oidLen);
  for (uint32_t i = 0; i < oidLen / 4; ++i) arcs[i] %= 16384;  // the BER codec's two digits an arc
  EXPECT_EQ(getBytes(lldpRemManAddrGetApi, addrs[0], 3), str(reinterpret_cast<uint8_t*>(arcs), oidLen));
  // ... the 802.1 lists, ...
  const Keys ppvids = walk(lldpDot1RemPpvidGetFirst, lldpDot1RemPpvidGetNext, 24);
  EXPECT_EQ(words(ppvids, 16), (V{10, 4094}));
  for (const Bytes& k : ppvids)
    EXPECT_EQ((V{getInt(lldpDot1RemPpvidGetApi, k, 1), getInt(lldpDot1RemPpvidGetApi, k, 2)}),
              (V{truth(lldpDot1PortGetProtoVlanSupported, u), truth(lldpDot1PortGetProtoVlanEnable, u)}));
  const Keys names = walk(lldpDot1RemVlanNameGetFirst, lldpDot1RemVlanNameGetNext, 24);
  EXPECT_EQ(words(names, 16), (V{1, 100, 4000}));
  for (const Bytes& k : names)
    EXPECT_EQ(getBytes(lldpDot1RemVlanNameGetApi, k, 1), rxtest::str("vlan:" + std::to_string(word(k, 16))));
  Keys sentProtos, gotProtos;
  for (const auto& t : txtest::tlvs(frame))
    if (t.type == 127 && t.value.size() >= 5 && Bytes(t.value.begin(), t.value.begin() + 4) == Bytes{0x00, 0x80, 0xC2, 4})
      sentProtos.emplace_back(t.value.begin() + 5, t.value.end());
  for (const Bytes& k : walk(lldpDot1RemProtoGetFirst, lldpDot1RemProtoGetNext, 24))
    gotProtos.push_back(getBytes(lldpDot1RemProtoGetApi, k, 1));
  std::sort(sentProtos.begin(), sentProtos.end());
  std::sort(gotProtos.begin(), gotProtos.end());
  EXPECT_EQ(gotProtos, sentProtos);
  EXPECT_GE(gotProtos.size(), 4u);
  // ... the policies and locations, ...
  const Keys policies = walk(lldpMedRemMediaPolicyGetFirst, lldpMedRemMediaPolicyGetNext, 20);
  EXPECT_EQ(words(policies, 16), (V{1, 2, 3, 4, 5, 6, 7, 8}));
  for (const Bytes& k : policies) {
    LldpMedPolicyFields f{};
    ASSERT_EQ(lldpMedPortGetPolicyFields(s.get(), word(k, 16), &f), 0);
    V got;
    for (uint32_t obj = 56; obj <= 60; ++obj) got.push_back(getInt(lldpMedRemMediaPolicyGetApi, k, obj));
    EXPECT_EQ(got, (V{f.vid, f.pri, f.dscp, f.unknown, f.tagged == 1 ? 1 : 2})) << word(k, 16);
  }
  const Keys locs = walk(lldpMedRemLocationGetFirst, lldpMedRemLocationGetNext, 20);
  EXPECT_EQ(words(locs, 16), (V{1, 2, 3}));
  for (const Bytes& k : locs) {
    const LldpMedLocation& loc = s->medLocation[word(k, 16) - 1];
    EXPECT_EQ(getBytes(lldpMedRemLocationGetApi, k, 2), str(loc.data, loc.len));
  }
  char text[LLDP_LOC_TEXT_ROOM];
  const uint32_t n = lldpLocationDecode(s->medLocation[0].data, text, sizeof text);
  EXPECT_EQ(getBytes(lldpMedRemLocationGetApi, locs[0], 1), str(reinterpret_cast<uint8_t*>(text), n));
  // ... and the Juniper TLV, which no decoder takes.
  const Keys orgs = walk(lldpRemOrgDefInfoGetFirst, lldpRemOrgDefInfoGetNext, 24);
  ASSERT_EQ(orgs.size(), 1u);
  EXPECT_EQ((V{word(orgs[0], 16), word(orgs[0], 20)}), (V{0x00906901, 1}));
  EXPECT_EQ(getBytes(lldpRemOrgDefInfoGetApi, orgs[0], 1), rxtest::str("TC3119380315"));
  EXPECT_TRUE(walk(lldpRemUnknownTlvGetFirst, lldpRemUnknownTlvGetNext, 24).empty());
}

TEST_F(RemoteTest, ListTablesWalkEntriesInTheirKeyOrderAcrossRecords) {
  for (uint32_t u : {1u, 2u}) ASSERT_NE(addPort(u), nullptr);
  rxtest::Frame n1 = from("n1"), n2 = from("n2");
  n1.tlv(8, mgmtAddr(1, {10, 0, 0, 2})).tlv(8, mgmtAddr(6, {2, 0, 0, 0, 0, 1})).tlv(8, mgmtAddr(1, {10, 0, 0, 1}));
  n1.tlv(8, mgmtAddr(2, Bytes(16, 0xFE))).tlv(8, mgmtAddr(1, {9, 0, 0, 0, 0}));
  n1.tlv(20, rxtest::str("x")).tlv(9, rxtest::str("yy"));
  n1.org({0x00, 0xAA, 0xBB}, 1, rxtest::str("p")).org({0x00, 0xAA, 0xBB}, 1, rxtest::str("q"));
  n1.org(rxtest::kDot1, 7, {0x42});
  n1.org(rxtest::kDot1, 2, {0x06, 0, 20}).org(rxtest::kDot1, 2, {0x02, 0, 10}).org(rxtest::kDot1, 2, {0x06, 0, 10});
  n1.org(rxtest::kDot1, 3, {0, 30, 1, 'c'}).org(rxtest::kDot1, 3, {0, 5, 1, 'a'});
  n2.tlv(8, mgmtAddr(1, {192, 0, 2, 1})).org(rxtest::kDot1, 2, {0x02, 0, 99});
  send(1, n1);
  send(2, n2);

  // Rows of (port, primary, place), or for addresses (port, subtype,
  // length, first and last octet).
  using E = std::vector<V>;
  const auto entries = [](const Keys& keys, bool addr) {
    E out;
    for (const Bytes& k : keys)
      out.push_back(addr ? V{word(k, 8), word(k, 16), k[52], k[20], k[20 + k[52] - 1]}
                         : V{word(k, 8), word(k, 16), word(k, 20)});
    return out;
  };
  const Keys addrs = walk(lldpRemManAddrGetFirst, lldpRemManAddrGetNext, 53);
  EXPECT_EQ(entries(addrs, true), (E{{1, 1, 4, 10, 1}, {1, 1, 4, 10, 2}, {1, 1, 5, 9, 0}, {1, 2, 16, 0xFE, 0xFE},
                                     {1, 6, 6, 2, 1}, {2, 1, 4, 192, 1}}));
  const Keys unknown = walk(lldpRemUnknownTlvGetFirst, lldpRemUnknownTlvGetNext, 24);
  EXPECT_EQ(entries(unknown, false), (E{{1, 9, 1}, {1, 20, 2}}));
  const Keys orgs = walk(lldpRemOrgDefInfoGetFirst, lldpRemOrgDefInfoGetNext, 24);
  EXPECT_EQ(entries(orgs, false), (E{{1, 0x0080C207, 3}, {1, 0x00AABB01, 1}, {1, 0x00AABB01, 2}}));
  const Keys ppvids = walk(lldpDot1RemPpvidGetFirst, lldpDot1RemPpvidGetNext, 24);
  EXPECT_EQ(entries(ppvids, false), (E{{1, 10, 1}, {1, 10, 2}, {1, 20, 3}, {2, 99, 1}}));
  EXPECT_EQ(entries(walk(lldpDot1RemVlanNameGetFirst, lldpDot1RemVlanNameGetNext, 24), false),
            (E{{1, 5, 1}, {1, 30, 2}}));

  // Equal primaries are told apart by their place; then the refusals: a
  // place that holds another primary, a place past the list, an unknown
  // object, a short buffer.
  EXPECT_EQ((V{getInt(lldpDot1RemPpvidGetApi, ppvids[0], 2), getInt(lldpDot1RemPpvidGetApi, ppvids[1], 2)}), (V{2, 1}));
  EXPECT_EQ(getBytes(lldpRemOrgDefInfoGetApi, orgs[2], 1), rxtest::str("q"));
  EXPECT_EQ(getBytes(lldpRemUnknownTlvGetApi, unknown[0], 1), rxtest::str("yy"));
  Bytes wrong = ppvids[2], past = ppvids[2];
  wrong[20] = 2;
  past[20] = 9;
  uint32_t shortRc = 0;
  getBytes(lldpRemOrgDefInfoGetApi, orgs[2], 1, 0, &shortRc);
  EXPECT_EQ((V{getInt(lldpDot1RemPpvidGetApi, wrong, 1), getInt(lldpDot1RemPpvidGetApi, past, 1),
               getInt(lldpDot1RemPpvidGetApi, ppvids[2], 3), shortRc}),
            (V{0xBAD00000 + kNoEntry, 0xBAD00000 + kNoEntry, 0xBAD00000 + kBad, kInval}));

  // GetNext from an address that is not there: the next greater one.
  Bytes gap = addrs[0];
  gap[23] = 0;  // 10.0.0.0
  ASSERT_EQ(lldpRemManAddrGetNext(at(gap), 0, nullptr), kOk);
  EXPECT_EQ(gap, addrs[0]);
  // And from a record that has gone: the next record's first entry.
  Bytes last = ppvids[2];
  rxtest::Frame bye = from("n1", 0);
  send(1, bye);
  ASSERT_EQ(lldpDot1RemPpvidGetNext(at(last), 0, nullptr), kOk);
  EXPECT_EQ(last, ppvids[3]);
}

// Counts kept in 8 bits wrap past 255 entries; the walks follow the lists.
// The 802.1 lists come in one jumbo frame, the addresses in another.
TEST_F(RemoteTest, ListsLongerThanTheirCountsAreWalkedWhole) {
  lldptest::addPort(1, 9216);
  sim::queueEvent(lldptest::registration(1));
  rounds(3);
  rxtest::Frame lists = from("lists"), addrs = from("addrs");
  constexpr uint16_t kN = 300;
  for (uint16_t i = 1; i <= kN; ++i) {
    const auto hi = static_cast<uint8_t>(i >> 8), lo = static_cast<uint8_t>(i);
    lists.org(rxtest::kDot1, 2, {0x02, hi, lo}).org(rxtest::kDot1, 3, {hi, lo, 0}).org(rxtest::kDot1, 4, {2, hi, lo});
    addrs.tlv(8, mgmtAddr(1, {10, 1, hi, lo}));
  }
  send(1, lists);
  send(1, addrs);
  const Keys recs = walk(lldpRemSysGetFirst, lldpRemSysGetNext, 20);
  ASSERT_EQ(chassis(recs), (std::vector<std::string>{"lists", "addrs"}));
  const auto record = [&](size_t i) {
    return lldpMsapEntyrGet(word(recs[i], 0), word(recs[i], 4), word(recs[i], 8), word(recs[i], 12));
  };
  EXPECT_EQ((V{record(0)->dot1PpvidNum, record(0)->dot1VlanNameNum, record(0)->dot1ProtoidNum, record(1)->mgmtAddrNum}),
            (V{44, 44, 44, 44}));
  const auto count = [](Op first, Op next, size_t keyLen) { return static_cast<long>(walk(first, next, keyLen).size()); };
  EXPECT_EQ((V{count(lldpDot1RemPpvidGetFirst, lldpDot1RemPpvidGetNext, 24),
               count(lldpDot1RemVlanNameGetFirst, lldpDot1RemVlanNameGetNext, 24),
               count(lldpDot1RemProtoGetFirst, lldpDot1RemProtoGetNext, 24),
               count(lldpRemManAddrGetFirst, lldpRemManAddrGetNext, 53)}),
            (V{kN, kN, kN, kN}));
  // Protocol indexes repeat once the count has wrapped: the place keeps the
  // entries apart, and the highest index (256) is still read.
  const Keys protos = walk(lldpDot1RemProtoGetFirst, lldpDot1RemProtoGetNext, 24);
  EXPECT_EQ((V{word(protos.back(), 16), word(protos.back(), 20)}), (V{256, 256}));
  EXPECT_EQ(getBytes(lldpDot1RemProtoGetApi, protos.back(), 1), (Bytes{1, 0}));
}

}  // namespace
