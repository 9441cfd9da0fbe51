// The LLDP-MIB over hand-made sections: where each agent value lands (OID,
// type, conversion), the index of every table in lexicographic order where
// the agent's own order differs, empty and missing sections, which
// management Set each writable object makes, and the notifications.
#include "snmp/lldp_mib.h"

#include <gtest/gtest.h>

#include <map>

#include "snmp/lldp_notify.h"
#include "snmp/snmp_testutil.h"

using namespace lldpsnmp;
using lldpc::Neighbour;
using lldpc::PortInfo;
using lldpc::RemoteIndex;

namespace {

struct FakeSource : LldpSource {
  std::shared_ptr<const GlobalData> g = std::make_shared<GlobalData>();
  std::shared_ptr<const PortData> p = std::make_shared<PortData>();
  std::shared_ptr<const LocalMgmtAddressData> m = std::make_shared<LocalMgmtAddressData>();
  std::shared_ptr<const NeighbourData> n = std::make_shared<NeighbourData>();
  std::shared_ptr<const ListData<lldpc::RemoteMgmtAddress>> addrs =
      std::make_shared<ListData<lldpc::RemoteMgmtAddress>>();
  std::shared_ptr<const ListData<lldpc::RemoteTlv>> unknown = std::make_shared<ListData<lldpc::RemoteTlv>>();
  std::shared_ptr<const ListData<lldpc::RemoteOrgTlv>> org = std::make_shared<ListData<lldpc::RemoteOrgTlv>>();
  std::shared_ptr<const ListData<lldpc::RemotePpvid>> ppvids = std::make_shared<ListData<lldpc::RemotePpvid>>();
  std::shared_ptr<const ListData<lldpc::RemoteVlanName>> vlans = std::make_shared<ListData<lldpc::RemoteVlanName>>();
  std::shared_ptr<const ListData<lldpc::RemoteProtocol>> protos = std::make_shared<ListData<lldpc::RemoteProtocol>>();
  std::shared_ptr<const ListData<lldpc::RemotePolicy>> policies = std::make_shared<ListData<lldpc::RemotePolicy>>();
  std::shared_ptr<const ListData<lldpc::RemoteLocation>> locations =
      std::make_shared<ListData<lldpc::RemoteLocation>>();

  std::shared_ptr<const GlobalData> globals() override { return g; }
  std::shared_ptr<const PortData> ports() override { return p; }
  std::shared_ptr<const LocalMgmtAddressData> localMgmtAddresses() override { return m; }
  std::shared_ptr<const NeighbourData> neighbours() override { return n; }
  std::shared_ptr<const ListData<lldpc::RemoteMgmtAddress>> remoteMgmtAddresses() override { return addrs; }
  std::shared_ptr<const ListData<lldpc::RemoteTlv>> remoteUnknownTlvs() override { return unknown; }
  std::shared_ptr<const ListData<lldpc::RemoteOrgTlv>> remoteOrgTlvs() override { return org; }
  std::shared_ptr<const ListData<lldpc::RemotePpvid>> remotePpvids() override { return ppvids; }
  std::shared_ptr<const ListData<lldpc::RemoteVlanName>> remoteVlanNames() override { return vlans; }
  std::shared_ptr<const ListData<lldpc::RemoteProtocol>> remoteProtocols() override { return protos; }
  std::shared_ptr<const ListData<lldpc::RemotePolicy>> remotePolicies() override { return policies; }
  std::shared_ptr<const ListData<lldpc::RemoteLocation>> remoteLocations() override { return locations; }

  std::vector<Refresh> refreshes;
  void refresh(Refresh what) override { refreshes.push_back(what); }

  // Every Set as "global OBJ VALUE", "port UNIT OBJ VALUE" or "port UNIT OBJ 0xHEX".
  std::vector<std::string> sets;
  std::optional<uint32_t> answer = 0;
  std::optional<uint32_t> setGlobal(uint32_t object, uint32_t value) override {
    sets.push_back("global " + std::to_string(object) + " " + std::to_string(value));
    return answer;
  }
  std::optional<uint32_t> setPortInt(uint32_t unit, uint32_t object, uint32_t value) override {
    sets.push_back("port " + std::to_string(unit) + " " + std::to_string(object) + " " + std::to_string(value));
    return answer;
  }
  std::optional<uint32_t> setPortBytes(uint32_t unit, uint32_t object, const std::vector<uint8_t>& b) override {
    std::string hex;
    for (uint8_t x : b) {
      static const char* d = "0123456789abcdef";
      hex += d[x >> 4];
      hex += d[x & 15];
    }
    sets.push_back("port " + std::to_string(unit) + " " + std::to_string(object) + " 0x" + hex);
    return answer;
  }
};

const Oid kLldp = {1, 0, 8802, 1, 1, 2, 1};
Value bytes(std::vector<uint8_t> b) { return Value::octets(std::move(b)); }

// The instances of one column, in GetNext order.
std::vector<VarBind> column(MibTree& tree, const Oid& prefix) {
  std::vector<VarBind> out;
  Oid o = prefix;
  while (auto vb = tree.next(o)) {
    if (!oidHasPrefix(vb->name, prefix)) break;
    o = vb->name;
    out.push_back(std::move(*vb));
  }
  return out;
}
Oid at(std::initializer_list<uint32_t> rel) { return oidJoin(kLldp, rel); }
Oid at(std::initializer_list<uint32_t> rel, const Oid& index) { return oidJoin(oidJoin(kLldp, rel), index); }

Neighbour neighbour(RemoteIndex i, const std::string& name) {
  Neighbour n;
  n.index = i;
  n.chassisIdSubtype = 4;
  n.chassisId = {0x02, 0, 0, 0, 0, 0x01};
  n.portIdSubtype = 5;
  n.portId = {'e', 't', 'h', '0'};
  n.sysName = name;
  n.capSupported = 0x2800;  // bridge, router
  n.capEnabled = 0x2000;
  return n;
}

TEST(LldpMibIndex, TheRemoteIndexIsTheAgentsRecordWithTheTimeMarkInTicks) {
  struct Case {
    RemoteIndex in;
    Oid want;
  } cases[] = {
      {{0, 31, 2, 1}, {3100, 2, 1}},
      {{0, 0, 4096, 0x7FFFFFFF}, {0, 4096, 0x7FFFFFFF}},
      // TimeTicks wrap past 497 days of up-time, as sysUpTime does.
      {{0, 42949673, 1, 9}, {4, 1, 9}},
      {{1, 0, 1, 9}, {static_cast<uint32_t>((uint64_t{1} << 32) * 100), 1, 9}},
  };
  for (const Case& c : cases) EXPECT_EQ(remoteIndexOid(c.in), c.want) << c.in.timeMarkLow;
}

TEST(LldpMibIndex, BitsHoldTheNamedBitsOfTheirSyntax) {
  EXPECT_EQ(bitsOf(0x2800, 8), (std::vector<uint8_t>{0x28})) << "capabilities: one octet";
  EXPECT_EQ(bitsOf(0xF800, 4), (std::vector<uint8_t>{0xF0})) << "a bit past the named ones is not the MIB's";
  EXPECT_EQ(bitsOf(0xFFFF, 9), (std::vector<uint8_t>{0xFF, 0x80}));
  // LLDP-MED capabilities come LSB first from the TLV: capabilities (bit 0),
  // network policy (1), inventory (5).
  EXPECT_EQ(medCapabilityBits(0x0023), (std::vector<uint8_t>{0xC4}));
  EXPECT_EQ(policyAppTypeBits(1), (std::vector<uint8_t>{0x40, 0x00})) << "voice";
  EXPECT_EQ(policyAppTypeBits(8), (std::vector<uint8_t>{0x00, 0x80})) << "video signalling";
}

// A source with two ports, two neighbours and an entry in every list.
struct Populated {
  FakeSource src;
  MibTree tree;
  RemoteIndex one{0, 31, 2, 1}, two{0, 40, 3, 2};

  Populated() {
    auto g = std::make_shared<GlobalData>();
    g->config.msgTxInterval = 30;
    g->config.msgTxHold = 4;
    g->config.trapInterval = 5;
    g->config.medDeviceClass = 4;
    g->stats.remLastChange = 12;
    g->stats.remInserts = 7;
    g->local.chassisIdSubtype = 4;
    g->local.chassisId = std::vector<uint8_t>{2, 0, 0, 0, 0, 9};
    g->local.sysName = "alpha";
    g->local.capSupported = 0x2800;
    src.g = g;

    auto p = std::make_shared<PortData>();
    for (uint32_t unit : {7u, 3u}) {
      PortInfo x;
      x.unit = unit;
      x.adminStatus = 3;
      x.notifications = 1;
      x.basicEnabled = 0xF0;
      x.portIdSubtype = 5;
      x.portId = std::vector<uint8_t>{'v', 'a'};
      x.stats.framesOut = 100 + unit;
      x.stats.ageouts = 2;
      x.medSupported = 0xFC00;
      x.medEnabled = 0xE000;
      x.medNotifications = 2;
      x.dot3Enabled = 0xF0;
      p->ports.push_back(x);
    }
    src.p = p;

    auto m = std::make_shared<LocalMgmtAddressData>();
    m->rows.push_back(LocalMgmtAddress{{1, {10, 0, 0, 1}}, 4, 2, 7, {1, 3, 6, 1, 2, 1, 2, 2, 1, 1, 7}});
    src.m = m;

    auto n = std::make_shared<NeighbourData>();
    Neighbour a = neighbour(one, "bravo");
    a.dot1.tlvs = 0x8000;
    a.dot1.pvid = 100;
    a.dot3.tlvs = 0xF000;
    a.dot3.autoNegSupported = 1;
    a.dot3.autoNegEnabled = 2;
    a.dot3.autoNegAdvertised = 0x6C01;
    a.dot3.mauType = 30;
    a.dot3.powerPortClassPse = 2;
    a.dot3.powerPairs = 1;
    a.dot3.linkAggStatus = 0xC0;
    a.dot3.aggPortId = 12;
    a.dot3.maxFrameSize = 1522;
    a.med.tlvs = 0x9400;  // capabilities, extended power as PSE, inventory
    a.med.capabilities = 0x0023;
    a.med.deviceClass = 4;
    a.med.powerType = 2;
    a.med.powerValue = 150;
    a.med.powerSource = 2;
    a.med.powerPriority = 3;
    a.med.inventory.model = "X1";
    n->neighbours.push_back(a);
    n->neighbours.push_back(neighbour(two, "charlie"));
    src.n = n;

    auto addrs = std::make_shared<ListData<lldpc::RemoteMgmtAddress>>();
    std::vector<uint8_t> arcs;  // the agent's form: a host-order word an arc
    cmdAddU32(arcs, 1);
    cmdAddU32(arcs, 3);
    addrs->entries.push_back({one, {1, {192, 0, 2, 9}}, 2, 5, arcs});
    src.addrs = addrs;
    auto unknown = std::make_shared<ListData<lldpc::RemoteTlv>>();
    unknown->entries.push_back({one, 9, 1, {'y', 'y'}});
    unknown->entries.push_back({one, 9, 2, {'z'}});  // the same type again: not served
    src.unknown = unknown;
    auto org = std::make_shared<ListData<lldpc::RemoteOrgTlv>>();
    org->entries.push_back({one, 0x00AABB, 1, 3, {'p'}});
    src.org = org;
    auto ppvids = std::make_shared<ListData<lldpc::RemotePpvid>>();
    ppvids->entries.push_back({one, 20, 1, 1, 2});
    src.ppvids = ppvids;
    auto vlans = std::make_shared<ListData<lldpc::RemoteVlanName>>();
    vlans->entries.push_back({one, 10, 1, "voice"});
    src.vlans = vlans;
    auto protos = std::make_shared<ListData<lldpc::RemoteProtocol>>();
    protos->entries.push_back({one, 1, 1, {0x88, 0x8E}});
    src.protos = protos;
    auto policies = std::make_shared<ListData<lldpc::RemotePolicy>>();
    policies->entries.push_back({one, {1, 10, 5, 46, 0, 1}});
    policies->entries.push_back({one, {8, 30, 4, 32, 1, 2}});
    src.policies = policies;
    auto locations = std::make_shared<ListData<lldpc::RemoteLocation>>();
    locations->entries.push_back({one, 2, std::nullopt, {0x07, 0x02, 'U', 'S'}});
    src.locations = locations;

    addLldpMib(tree, src);
  }

  std::map<Oid, Value> walk() {
    std::map<Oid, Value> out;
    for (auto& vb : tree.walk()) out[vb.name] = vb.value;
    return out;
  }
};

TEST(LldpMib, EveryTableServesTheAgentsValuesAtTheMibsObjects) {
  Populated f;
  const std::vector<VarBind> all = f.tree.walk();
  for (size_t i = 1; i < all.size(); ++i)
    ASSERT_LT(all[i - 1].name, all[i].name) << "the walk must go up: " << oidStr(all[i].name);
  for (const VarBind& vb : all) ASSERT_TRUE(oidHasPrefix(vb.name, mib::kLldpMib)) << oidStr(vb.name);

  const Oid r1 = remoteIndexOid(f.one);
  const auto ticks = Value::ticks;
  const auto gauge = Value::gauge;
  const auto integer = Value::integer;
  const auto str = [](const std::string& s) { return Value::octets(s); };
  const auto oct = [](std::vector<uint8_t> b) { return Value::octets(std::move(b)); };
  const std::pair<Oid, Value> want[] = {
      {at({1, 1, 0}), integer(30)},                       // lldpMessageTxInterval
      {at({1, 2, 0}), integer(4)},                        // lldpMessageTxHoldMultiplier
      {at({1, 5, 0}), integer(5)},                        // lldpNotificationInterval
      {at({1, 6, 1, 2, 3}), integer(3)},                  // lldpPortConfigAdminStatus
      {at({1, 6, 1, 3, 7}), integer(1)},                  // lldpPortConfigNotificationEnable
      {at({1, 6, 1, 4, 7}), oct({0xF0})},                 // lldpPortConfigTLVsTxEnable
      {at({2, 1, 0}), ticks(1200)},                       // lldpStatsRemTablesLastChangeTime
      {at({2, 2, 0}), gauge(7)},                          // lldpStatsRemTablesInserts
      {at({2, 6, 1, 2, 7}), Value::counter(107)},         // lldpStatsTxPortFramesTotal
      {at({2, 7, 1, 7, 3}), gauge(2)},                    // lldpStatsRxPortAgeoutsTotal
      {at({3, 2, 0}), oct({2, 0, 0, 0, 0, 9})},           // lldpLocChassisId
      {at({3, 3, 0}), str("alpha")},                      // lldpLocSysName
      {at({3, 5, 0}), oct({0x28})},                       // lldpLocSysCapSupported
      {at({3, 7, 1, 3, 3}), str("va")},                   // lldpLocPortId
      {at({3, 8, 1, 3, 1, 4, 10, 0, 0, 1}), integer(5)},  // lldpLocManAddrLen: subtype and address
      {at({3, 8, 1, 6, 1, 4, 10, 0, 0, 1}), Value::objectId({1, 3, 6, 1, 2, 1, 2, 2, 1, 1, 7})},
      {at({4, 1, 1, 4}, r1), integer(4)},    // lldpRemChassisIdSubtype
      {at({4, 1, 1, 7}, r1), str("eth0")},   // lldpRemPortId
      {at({4, 1, 1, 9}, r1), str("bravo")},  // lldpRemSysName
      {at({4, 1, 1, 11}, r1), oct({0x28})},  // lldpRemSysCapSupported
      {at({4, 1, 1, 12}, r1), oct({0x20})},  // lldpRemSysCapEnabled
      {at({4, 1, 1, 9}, remoteIndexOid(f.two)), str("charlie")},
      {at({4, 2, 1, 4}, oidJoin(r1, {1, 4, 192, 0, 2, 9})), integer(5)},  // lldpRemManAddrIfId
      {at({4, 2, 1, 5}, oidJoin(r1, {1, 4, 192, 0, 2, 9})), Value::objectId({1, 3})},
      {at({4, 3, 1, 2}, oidJoin(r1, {9})), str("yy")},                      // lldpRemUnknownTLVInfo
      {at({4, 4, 1, 4}, oidJoin(r1, {0x00, 0xAA, 0xBB, 1, 3})), str("p")},  // lldpRemOrgDefInfo
      {at({5, 32962, 1, 3, 1, 1, 1}, r1), integer(100)},                    // lldpXdot1RemPortVlanId
      {at({5, 32962, 1, 3, 2, 1, 3}, oidJoin(r1, {20})), integer(2)},       // ...RemProtoVlanEnabled
      {at({5, 32962, 1, 3, 3, 1, 2}, oidJoin(r1, {10})), str("voice")},     // ...RemVlanName
      {at({5, 32962, 1, 3, 4, 1, 2}, oidJoin(r1, {1})), oct({0x88, 0x8E})},
      {at({5, 4623, 1, 1, 1, 1, 1, 7}), oct({0xF0})},                                 // lldpXdot3PortConfigTLVsTxEnable
      {at({5, 4623, 1, 3, 1, 1, 2}, r1), integer(2)},                                 // ...RemPortAutoNegEnabled
      {at({5, 4623, 1, 3, 1, 1, 3}, r1), oct({0x6C, 0x01})},                          // ...AutoNegAdvertisedCap
      {at({5, 4623, 1, 3, 2, 1, 1}, r1), integer(2)},                                 // ...RemPowerPortClass pClassPD
      {at({5, 4623, 1, 3, 3, 1, 1}, r1), oct({0xC0})},                                // ...RemLinkAggStatus
      {at({5, 4623, 1, 3, 4, 1, 1}, r1), integer(1522)},                              // ...RemMaxFrameSize
      {at({5, 4795, 1, 1, 1, 0}), integer(4)},                                        // lldpXMedLocDeviceClass
      {at({5, 4795, 1, 1, 2, 1, 1, 3}), oct({0xFC})},                                 // ...PortConfigTLVsTxSupported
      {at({5, 4795, 1, 1, 2, 1, 3, 3}), integer(2)},                                  // ...PortConfigNotifEnable
      {at({5, 4795, 1, 3, 1, 1, 1}, r1), oct({0xC4})},                                // lldpXMedRemCapSupported
      {at({5, 4795, 1, 3, 1, 1, 2}, r1), oct({0x94})},                                // lldpXMedRemCapCurrent
      {at({5, 4795, 1, 3, 1, 1, 3}, r1), integer(4)},                                 // lldpXMedRemDeviceClass
      {at({5, 4795, 1, 3, 2, 1, 2}, oidJoin(r1, {2, 0x40, 0})), integer(10)},         // ...MediaPolicyVlanID, voice
      {at({5, 4795, 1, 3, 2, 1, 5}, oidJoin(r1, {2, 0x00, 0x80})), integer(1)},       // ...Unknown: set
      {at({5, 4795, 1, 3, 2, 1, 6}, oidJoin(r1, {2, 0x00, 0x80})), integer(2)},       // ...Tagged: no
      {at({5, 4795, 1, 3, 3, 1, 6}, r1), str("X1")},                                  // lldpXMedRemModelName
      {at({5, 4795, 1, 3, 4, 1, 2}, oidJoin(r1, {3})), oct({0x07, 0x02, 'U', 'S'})},  // civicAddress(3)
      {at({5, 4795, 1, 3, 5, 1, 1}, r1), integer(2)},                                 // lldpXMedRemXPoEDeviceType pse
      {at({5, 4795, 1, 3, 6, 1, 1}, r1), gauge(150)},                                 // ...XPoEPSEPowerAv
      {at({5, 4795, 1, 3, 6, 1, 3}, r1), integer(3)},                                 // ...XPoEPSEPowerPriority
  };
  const std::map<Oid, Value> got = f.walk();
  for (const auto& [name, value] : want) {
    auto it = got.find(name);
    ASSERT_NE(it, got.end()) << "missing " << oidStr(name);
    EXPECT_EQ(it->second, value) << oidStr(name);
    EXPECT_EQ(f.tree.get(name).value, value) << "Get of " << oidStr(name);
  }

  // Rows that must not be there: the second neighbour sent no extension
  // TLVs, the first no PD power and no second TLV of type 9 is served.
  const Oid r2 = remoteIndexOid(f.two);
  for (const Oid& absent : {at({5, 32962, 1, 3, 1, 1, 1}, r2), at({5, 4623, 1, 3, 4, 1, 1}, r2),
                            at({5, 4795, 1, 3, 1, 1, 3}, r2), at({5, 4795, 1, 3, 7, 1, 1}, r1), at({3, 1, 0, 0})}) {
    EXPECT_EQ(got.count(absent), 0u) << oidStr(absent);
    EXPECT_NE(f.tree.get(absent).status, GetResult::Status::Ok) << oidStr(absent);
  }
  // Index OIDs near the first neighbour's that are no neighbour's.
  for (const Oid& near : {Oid{3150, 2, 1}, Oid{3100, 2}, Oid{3100, 2, 1, 0}, Oid{31, 2, 1}})
    EXPECT_EQ(f.tree.get(at({4, 1, 1, 9}, near)).status, GetResult::Status::NoSuchInstance) << oidStr(near);
  size_t unknownRows = 0;
  for (const auto& [name, v] : got) unknownRows += oidHasPrefix(name, at({4, 3, 1, 2}));
  EXPECT_EQ(unknownRows, 1u);
}

TEST(LldpMib, RowsFollowOidOrderWhereTheAgentsOrderDiffers) {
  FakeSource src;
  auto n = std::make_shared<NeighbourData>();
  // The agent compares the remote index as a signed number, so it lists
  // 0x80000001 before 5; as sub-identifiers 5 comes first.
  n->neighbours.push_back(neighbour({0, 10, 2, 0x80000001}, "high"));
  n->neighbours.push_back(neighbour({0, 10, 2, 5}, "low"));
  src.n = n;
  auto policies = std::make_shared<ListData<lldpc::RemotePolicy>>();
  for (uint32_t type : {1u, 2u, 8u}) policies->entries.push_back({{0, 10, 2, 5}, {type, type, 0, 0, 0, 1}});
  src.policies = policies;
  auto addrs = std::make_shared<ListData<lldpc::RemoteMgmtAddress>>();
  // The agent's list: subtype, length, octets; the OID: the same, since the
  // length comes first: 2001:db8::1 after 192.0.2.1, and 10.0.0.1 before it.
  addrs->entries.push_back({{0, 10, 2, 5}, {2, std::vector<uint8_t>(16, 0x20)}, 2, 1, {}});
  addrs->entries.push_back({{0, 10, 2, 5}, {1, {192, 0, 2, 1}}, 2, 1, {}});
  addrs->entries.push_back({{0, 10, 2, 5}, {1, {10, 0, 0, 1}}, 2, 1, {}});
  src.addrs = addrs;
  MibTree tree;
  addLldpMib(tree, src);

  std::vector<std::string> names;
  for (const VarBind& vb : column(tree, at({4, 1, 1, 9})))
    names.push_back(std::string(vb.value.bytes.begin(), vb.value.bytes.end()));
  EXPECT_EQ(names, (std::vector<std::string>{"low", "high"}));

  std::vector<uint32_t> vlans;
  for (const VarBind& vb : column(tree, at({5, 4795, 1, 3, 2, 1, 2})))
    vlans.push_back(static_cast<uint32_t>(vb.value.num));
  EXPECT_EQ(vlans, (std::vector<uint32_t>{8, 2, 1})) << "video signalling (bit 8) sorts before voice (bit 1)";

  std::vector<size_t> lengths;
  std::vector<uint32_t> lastOctets;
  for (const VarBind& vb : column(tree, at({4, 2, 1, 3}))) {
    lengths.push_back(vb.name[at({4, 2, 1, 3}).size() + 4]);
    lastOctets.push_back(vb.name.back());
  }
  EXPECT_EQ(lastOctets[1], 1u) << "192.0.2.1 after 10.0.0.1";
  EXPECT_EQ(lengths, (std::vector<size_t>{4, 4, 16}));
}

TEST(LldpMib, EmptyAndMissingSectionsArePassedOver) {
  Populated f;
  f.src.n = std::make_shared<NeighbourData>();
  f.src.addrs = std::make_shared<ListData<lldpc::RemoteMgmtAddress>>();
  // No neighbour: a GetNext in lldpRemTable lands past the remote tables
  // that are empty (the unknown-TLV list still has an entry of its own).
  auto vb = f.tree.next(at({4, 1}));
  ASSERT_TRUE(vb);
  EXPECT_TRUE(oidHasPrefix(vb->name, at({4, 3, 1, 2}))) << oidStr(vb->name);

  // The agent cannot be reached for the neighbours: Gets say so, walks go on.
  f.src.n = nullptr;
  EXPECT_EQ(f.tree.get(at({4, 1, 1, 9}, remoteIndexOid(f.one))).status, GetResult::Status::Unavailable);
  EXPECT_EQ(f.tree.get(at({5, 4623, 1, 3, 4, 1, 1}, remoteIndexOid(f.one))).status, GetResult::Status::Unavailable);
  for (const VarBind& b : f.tree.walk())
    EXPECT_FALSE(oidHasPrefix(b.name, at({4, 1})) || oidHasPrefix(b.name, at({5, 4623, 1, 3}))) << oidStr(b.name);
  EXPECT_TRUE(f.tree.get(at({1, 1, 0})).status == GetResult::Status::Ok) << "other sections still answer";
}

TEST(LldpMib, WritableObjectsMakeTheManagementSets) {
  struct Case {
    Oid name;
    Value v;
    SetStatus want;
    std::string set;  // the management Set made, "" for none
  } cases[] = {
      {at({1, 1, 0}), Value::integer(5), SetStatus::NoError, "global 2 5"},
      {at({1, 1, 0}), Value::integer(32768), SetStatus::NoError, "global 2 32768"},
      {at({1, 1, 0}), Value::integer(4), SetStatus::WrongValue, ""},
      {at({1, 1, 0}), Value::octets(std::string("5")), SetStatus::WrongType, ""},
      {at({1, 2, 0}), Value::integer(10), SetStatus::NoError, "global 3 10"},
      {at({1, 2, 0}), Value::integer(11), SetStatus::WrongValue, ""},
      {at({1, 3, 0}), Value::integer(1), SetStatus::NoError, "global 4 1"},
      {at({1, 4, 0}), Value::integer(8192), SetStatus::NoError, "global 5 8192"},
      {at({1, 5, 0}), Value::integer(3600), SetStatus::NoError, "global 6 3600"},
      {at({1, 5, 0}), Value::integer(4), SetStatus::WrongValue, ""},
      {at({1, 6, 1, 2, 7}), Value::integer(4), SetStatus::NoError, "port 7 1 4"},
      {at({1, 6, 1, 2, 7}), Value::integer(5), SetStatus::WrongValue, ""},
      {at({1, 6, 1, 2, 9}), Value::integer(1), SetStatus::NoCreation, ""},
      {at({1, 6, 1, 3, 3}), Value::integer(2), SetStatus::NoError, "port 3 2 2"},
      {at({1, 6, 1, 4, 3}), bytes({0x90}), SetStatus::NoError, "port 3 4 0x90"},
      {at({1, 6, 1, 4, 3}), bytes({}), SetStatus::NoError, "port 3 4 0x00"},
      {at({1, 6, 1, 4, 3}), bytes({0x08}), SetStatus::WrongValue, ""},
      {at({5, 32962, 1, 1, 1, 1, 1, 7}), Value::integer(1), SetStatus::NoError, "port 7 22 1"},
      {at({5, 4623, 1, 1, 1, 1, 1, 7}), bytes({0x10}), SetStatus::NoError, "port 7 33 0x10"},
      {at({5, 4795, 1, 1, 2, 1, 2, 7}), bytes({0xA0}), SetStatus::NoError, "port 7 54 0xa000"},
      {at({5, 4795, 1, 1, 2, 1, 2, 7}), bytes({0x02}), SetStatus::WrongValue, ""},
      {at({5, 4795, 1, 1, 2, 1, 3, 7}), Value::integer(1), SetStatus::NoError, "port 7 55 1"},
      {at({5, 4795, 1, 1, 3, 0}), Value::integer(10), SetStatus::NoError, "global 22 10"},
      {at({5, 4795, 1, 1, 2, 1, 1, 7}), bytes({0x80}), SetStatus::NotWritable, ""},
      {at({3, 3, 0}), Value::octets(std::string("x")), SetStatus::NotWritable, ""},
      {at({2, 2, 0}), Value::gauge(0), SetStatus::NotWritable, ""},
  };
  for (const Case& c : cases) {
    Populated f;
    EXPECT_EQ(f.tree.check(c.name, c.v), c.want) << oidStr(c.name);
    EXPECT_TRUE(f.src.sets.empty()) << "a check changes nothing: " << oidStr(c.name);
    EXPECT_EQ(f.tree.apply(c.name, c.v), c.want) << oidStr(c.name);
    EXPECT_EQ(f.src.sets, c.set.empty() ? std::vector<std::string>{} : std::vector<std::string>{c.set})
        << oidStr(c.name);
  }

  // What the agent answers becomes the SNMP status.
  struct Answer {
    std::optional<uint32_t> code;
    SetStatus want;
  } answers[] = {
      {lldpc::kOk, SetStatus::NoError},
      {lldpc::kBadArgument, SetStatus::InconsistentValue},
      {lldpc::kNotSupported, SetStatus::InconsistentValue},
      {lldpc::kAgentDisabled, SetStatus::InconsistentValue},
      {lldpc::kNoSuchRow, SetStatus::NoCreation},
      {0xFFFFFFFF, SetStatus::CommitFailed},
      {std::nullopt, SetStatus::ResourceUnavailable},
  };
  for (const Answer& a : answers) {
    Populated f;
    f.src.answer = a.code;
    EXPECT_EQ(f.tree.apply(at({5, 4623, 1, 1, 1, 1, 1, 7}), bytes({0x80})), a.want) << (a.code ? *a.code : 0xDEAD);
  }
}

TEST(LldpNotify, EventsBecomeTheMibsNotifications) {
  Populated f;
  lldpc::Event trap;
  trap.kind = lldpc::Event::Kind::Trap;
  trap.arg = 1;
  auto n = notificationFor(trap, f.src);
  ASSERT_TRUE(n);
  EXPECT_EQ(n->trapOid, (Oid{1, 0, 8802, 1, 1, 2, 0, 0, 1}));
  ASSERT_EQ(n->varbinds.size(), 4u);
  EXPECT_EQ(n->varbinds[0], (VarBind{at({2, 2, 0}), Value::gauge(7)}));
  EXPECT_EQ(n->varbinds[3].name, at({2, 5, 0}));
  EXPECT_EQ(f.src.refreshes, std::vector<LldpSource::Refresh>{LldpSource::Refresh::Remote})
      << "the statistics are read again, not taken from before the change";

  lldpc::Event med;
  med.kind = lldpc::Event::Kind::MedTrap;
  med.medTrap = lldpc::MedTrap{{0, 31, 2, 1}, 4, {2, 0, 0, 0, 0, 1}, 3};
  n = notificationFor(med, f.src);
  ASSERT_TRUE(n);
  EXPECT_EQ(n->trapOid, (Oid{1, 0, 8802, 1, 1, 2, 1, 5, 4795, 0, 1}));
  const Oid r = {3100, 2, 1};
  EXPECT_EQ(n->varbinds, (std::vector<VarBind>{
                             {at({4, 1, 1, 4}, r), Value::integer(4)},
                             {at({4, 1, 1, 5}, r), bytes({2, 0, 0, 0, 0, 1})},
                             {at({5, 4795, 1, 3, 1, 1, 3}, r), Value::integer(3)},
                         }));

  // Remote-change messages and a stream that came back send nothing but
  // make the tables be read again; a malformed MED trap sends nothing.
  f.src.refreshes.clear();
  lldpc::Event group, resumed, broken;
  group.kind = lldpc::Event::Kind::Group;
  resumed.kind = lldpc::Event::Kind::Resumed;
  broken.kind = lldpc::Event::Kind::MedTrap;
  EXPECT_FALSE(notificationFor(group, f.src));
  EXPECT_FALSE(notificationFor(resumed, f.src));
  EXPECT_FALSE(notificationFor(broken, f.src));
  EXPECT_EQ(f.src.refreshes, (std::vector<LldpSource::Refresh>{LldpSource::Refresh::Remote, LldpSource::Refresh::All,
                                                               LldpSource::Refresh::Remote}));
  // Without the statistics there is no lldpRemTablesChange to send.
  f.src.g = nullptr;
  EXPECT_FALSE(notificationFor(trap, f.src));
}

}  // namespace
