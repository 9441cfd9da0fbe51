// The LLDP-MIB and its extensions over the agent's objects: which object of
// which section answers each column, how the agent's values become the
// MIBs' (truth values, BITS, TimeTicks), and which Sets change what.
#include "snmp/lldp_mib.h"

namespace lldpsnmp {

using lldpc::Neighbour;
using lldpc::PortInfo;
using T = Value::Type;

uint32_t timeMarkTicks(uint32_t high, uint32_t low) {
  const uint64_t seconds = static_cast<uint64_t>(high) << 32 | low;
  return static_cast<uint32_t>(seconds * 100);
}

Oid remoteIndexOid(const lldpc::RemoteIndex& i) {
  return {timeMarkTicks(i.timeMarkHigh, i.timeMarkLow), i.port, i.remIndex};
}

std::vector<uint8_t> bitsOf(uint16_t map16, unsigned namedBits) {
  std::vector<uint8_t> b{static_cast<uint8_t>(map16 >> 8), static_cast<uint8_t>(map16)};
  b.resize(namedBits > 8 ? 2 : 1);
  // Bits past the named ones are not the MIB's.
  const unsigned spare = static_cast<unsigned>(b.size()) * 8 - namedBits;
  b.back() = static_cast<uint8_t>(b.back() & (0xFF << spare));
  return b;
}

std::vector<uint8_t> medCapabilityBits(uint16_t wire) {
  uint16_t map = 0;
  for (unsigned k = 0; k < 16; ++k)
    if (wire & (1u << k)) map = static_cast<uint16_t>(map | (0x8000 >> k));
  return bitsOf(map, 6);
}

std::vector<uint8_t> policyAppTypeBits(uint32_t appType) {
  const uint16_t map = appType < 16 ? static_cast<uint16_t>(0x8000 >> appType) : 0;
  return bitsOf(map, 9);
}

SetStatus setStatusOf(std::optional<uint32_t> code) {
  if (!code) return SetStatus::ResourceUnavailable;
  switch (*code) {
    case lldpc::kOk:
      return SetStatus::NoError;
    case lldpc::kBadArgument:    // a TLV the port does not support, among others
    case lldpc::kNotSupported:   // the same for the 802.1 switches
    case lldpc::kAgentDisabled:  // per-port changes wait for the agent to be enabled
      return SetStatus::InconsistentValue;
    case lldpc::kNoSuchRow:
      return SetStatus::NoCreation;
    case lldpc::kUnknownObject:
      return SetStatus::WrongValue;
    case lldpc::kNoMemory:
      return SetStatus::ResourceUnavailable;
    default:  // refused by the stack's forwarding or by the platform
      return SetStatus::CommitFailed;
  }
}

namespace {

template <class S>
using Section = std::function<std::shared_ptr<const S>()>;

template <class S>
void scalar(MibTree& t, Oid oid, Section<S> sec, typename Scalar<S>::Getter get,
            std::optional<Writable<S>> w = std::nullopt) {
  t.add(std::make_unique<Scalar<S>>(std::move(oid), std::move(sec), std::move(get), std::move(w)));
}

template <class S, class Row>
void table(MibTree& t, Oid base, Section<S> sec, typename Table<S, Row>::Rows rows,
           std::vector<typename Table<S, Row>::Column> cols) {
  t.add(std::make_unique<Table<S, Row>>(std::move(base), std::move(sec), std::move(rows), std::move(cols)));
}

Value integer(uint32_t v) { return Value::integer(static_cast<int32_t>(v)); }
// The agent's truth values are 1 and 2 already; anything else reads false.
Value truth(uint32_t v) { return Value::integer(v == 1 ? 1 : 2); }
Value octets(const std::vector<uint8_t>& b) { return Value::octets(b); }
Value text(const std::string& s) { return Value::octets(s); }
bool tlvBit(uint16_t map, unsigned k) { return (map & (0x8000 >> k)) != 0; }

// Up-time seconds as TimeTicks.
Value upTime(uint32_t seconds) { return Value::ticks(timeMarkTicks(0, seconds)); }

// An OBJECT IDENTIFIER from 32-bit arcs; zeroDotZero where there is none to
// give (a value needs two arcs at least).
Value objectId(std::vector<uint32_t> arcs) {
  if (arcs.size() < 2) arcs = {0, 0};
  return Value::objectId(std::move(arcs));
}

// The rows of a table over ports: every port, by its unit.
void portRows(const PortData& d, std::vector<std::pair<Oid, const PortInfo*>>& out) {
  for (const PortInfo& p : d.ports) out.emplace_back(Oid{p.unit}, &p);
}

// The rows of a table over neighbours: those `keep` takes, by their index.
using NeighbourRows = Table<NeighbourData, Neighbour>::Rows;
NeighbourRows neighbourRows(bool (*keep)(const Neighbour&)) {
  return [keep](const NeighbourData& d, std::vector<std::pair<Oid, const Neighbour*>>& out) {
    for (const Neighbour& n : d.neighbours)
      if (!keep || keep(n)) out.emplace_back(remoteIndexOid(n.index), &n);
  };
}

// The rows of a list table: the neighbour's index, then the entry's own.
template <class E>
typename Table<ListData<E>, E>::Rows listRows(void (*entryIndex)(const E&, IndexWriter&)) {
  return [entryIndex](const ListData<E>& d, std::vector<std::pair<Oid, const E*>>& out) {
    for (const E& e : d.entries) {
      Oid o = remoteIndexOid(e.index);
      IndexWriter w(o);
      entryIndex(e, w);
      out.emplace_back(std::move(o), &e);
    }
  };
}

// A BITS value given to a Set: the octets the agent's map takes (`width`),
// or nullopt when a bit past the `named` ones is set.
std::optional<std::vector<uint8_t>> bitsForSet(const std::vector<uint8_t>& v, unsigned named, size_t width) {
  for (size_t i = 0; i < v.size(); ++i)
    for (unsigned b = 0; b < 8; ++b)
      if ((v[i] & (0x80 >> b)) && i * 8 + b >= named) return std::nullopt;
  std::vector<uint8_t> out(v.begin(), v.end());
  out.resize(width, 0);
  return out;
}

// A TLV selection (BITS of `named` bits) written as a port's octet object
// of `width` octets; bits past the named ones are refused.
Writable<PortInfo> bitsWritable(LldpSource& src, uint32_t object, unsigned named, size_t width) {
  Writable<PortInfo> w{T::OctetString, 0, 2, [&src, object, named, width](const PortInfo& port, const Value& v) {
                         auto b = bitsForSet(v.bytes, named, width);
                         if (!b) return SetStatus::WrongValue;
                         return setStatusOf(src.setPortBytes(port.unit, object, *b));
                       }};
  w.accepts = [named](const Value& v) { return bitsForSet(v.bytes, named, 0).has_value(); };
  return w;
}

const Oid kObjects = {1, 0, 8802, 1, 1, 2, 1};
const Oid kConfig = oidJoin(kObjects, {1});
const Oid kStatsBase = oidJoin(kObjects, {2});
const Oid kLocal = oidJoin(kObjects, {3});
const Oid kRemote = oidJoin(kObjects, {4});
const Oid kDot1 = oidJoin(kObjects, {5, 32962, 1});  // lldpXdot1Objects
const Oid kDot3 = oidJoin(kObjects, {5, 4623, 1});   // lldpXdot3Objects
const Oid kMed = oidJoin(kObjects, {5, 4795, 1});    // lldpXMedObjects

void addConfiguration(MibTree& t, LldpSource& src) {
  const Section<GlobalData> g = [&src] { return src.globals(); };
  // lldpMessageTxInterval, lldpMessageTxHoldMultiplier, lldpReinitDelay,
  // lldpTxDelay, lldpNotificationInterval: read and set as the agent's
  // global objects, with the MIBs' ranges.
  struct Knob {
    uint32_t sub, object;
    int64_t min, max;
    uint32_t lldpc::GlobalConfig::*field;
  };
  const Knob knobs[] = {
      {1, lldpc::gobj::kMsgTxInterval, 5, 32768, &lldpc::GlobalConfig::msgTxInterval},
      {2, lldpc::gobj::kMsgTxHold, 2, 10, &lldpc::GlobalConfig::msgTxHold},
      {3, lldpc::gobj::kReinitDelay, 1, 10, &lldpc::GlobalConfig::reinitDelay},
      {4, lldpc::gobj::kTxDelay, 1, 8192, &lldpc::GlobalConfig::txDelay},
      {5, lldpc::gobj::kTrapInterval, 5, 3600, &lldpc::GlobalConfig::trapInterval},
  };
  for (const Knob& k : knobs) {
    Writable<GlobalData> w{T::Integer, k.min, k.max, [&src, obj = k.object](const GlobalData&, const Value& v) {
                             return setStatusOf(src.setGlobal(obj, static_cast<uint32_t>(v.num)));
                           }};
    scalar<GlobalData>(
        t, oidJoin(kConfig, {k.sub}), g, [f = k.field](const GlobalData& d) { return integer(d.config.*f); },
        std::move(w));
  }

  // lldpPortConfigTable: AdminStatus, NotificationEnable, TLVsTxEnable.
  const Section<PortData> p = [&src] { return src.ports(); };
  using Col = Table<PortData, PortInfo>::Column;
  const auto setInt = [&src](uint32_t object) {
    return [&src, object](const PortInfo& port, const Value& v) {
      return setStatusOf(src.setPortInt(port.unit, object, static_cast<uint32_t>(v.num)));
    };
  };
  table<PortData, PortInfo>(
      t, oidJoin(kConfig, {6}), p, portRows,
      {
          Col{2, [](const PortInfo& x) { return std::optional(integer(x.adminStatus)); },
              Writable<PortInfo>{T::Integer, 1, 4, setInt(lldpc::pobj::kAdminStatus)}},
          Col{3, [](const PortInfo& x) { return std::optional(truth(x.notifications)); },
              Writable<PortInfo>{T::Integer, 1, 2, setInt(lldpc::pobj::kNotifications)}},
          Col{4, [](const PortInfo& x) { return std::optional(octets(bitsOf(uint16_t(x.basicEnabled << 8), 4))); },
              bitsWritable(src, lldpc::pobj::kBasicEnabled, 4, 1)},
      });
}

void addStatistics(MibTree& t, LldpSource& src) {
  const Section<GlobalData> g = [&src] { return src.globals(); };
  scalar<GlobalData>(t, oidJoin(kStatsBase, {1}), g, [](const GlobalData& d) { return upTime(d.stats.remLastChange); });
  // ZeroBasedCounter32, a Gauge32.
  scalar<GlobalData>(t, oidJoin(kStatsBase, {2}), g,
                     [](const GlobalData& d) { return Value::gauge(d.stats.remInserts); });
  scalar<GlobalData>(t, oidJoin(kStatsBase, {3}), g,
                     [](const GlobalData& d) { return Value::gauge(d.stats.remDeletes); });
  scalar<GlobalData>(t, oidJoin(kStatsBase, {4}), g,
                     [](const GlobalData& d) { return Value::gauge(d.stats.remDrops); });
  scalar<GlobalData>(t, oidJoin(kStatsBase, {5}), g,
                     [](const GlobalData& d) { return Value::gauge(d.stats.remAgeouts); });

  const Section<PortData> p = [&src] { return src.ports(); };
  using Col = Table<PortData, PortInfo>::Column;
  const auto counter = [](uint32_t lldpc::PortStats::*f) {
    return [f](const PortInfo& x) { return std::optional(Value::counter(x.stats.*f)); };
  };
  // lldpStatsTxPortTable: lldpStatsTxPortFramesTotal.
  table<PortData, PortInfo>(t, oidJoin(kStatsBase, {6}), p, portRows, {Col{2, counter(&lldpc::PortStats::framesOut)}});
  // lldpStatsRxPortTable.
  table<PortData, PortInfo>(t, oidJoin(kStatsBase, {7}), p, portRows,
                            {
                                Col{2, counter(&lldpc::PortStats::framesDiscarded)},
                                Col{3, counter(&lldpc::PortStats::framesInErrors)},
                                Col{4, counter(&lldpc::PortStats::framesIn)},
                                Col{5, counter(&lldpc::PortStats::tlvsDiscarded)},
                                Col{6, counter(&lldpc::PortStats::tlvsUnrecognised)},
                                Col{7, [](const PortInfo& x) { return std::optional(Value::gauge(x.stats.ageouts)); }},
                            });
}

void addLocalSystem(MibTree& t, LldpSource& src) {
  const Section<GlobalData> g = [&src] { return src.globals(); };
  scalar<GlobalData>(t, oidJoin(kLocal, {1}), g, [](const GlobalData& d) { return integer(d.local.chassisIdSubtype); });
  scalar<GlobalData>(t, oidJoin(kLocal, {2}), g, [](const GlobalData& d) -> std::optional<Value> {
    if (!d.local.chassisId) return std::nullopt;
    return octets(*d.local.chassisId);
  });
  scalar<GlobalData>(t, oidJoin(kLocal, {3}), g, [](const GlobalData& d) -> std::optional<Value> {
    if (!d.local.sysName) return std::nullopt;
    return text(*d.local.sysName);
  });
  scalar<GlobalData>(t, oidJoin(kLocal, {4}), g, [](const GlobalData& d) -> std::optional<Value> {
    if (!d.local.sysDescr) return std::nullopt;
    return text(*d.local.sysDescr);
  });
  scalar<GlobalData>(t, oidJoin(kLocal, {5}), g,
                     [](const GlobalData& d) { return octets(bitsOf(d.local.capSupported, 8)); });
  scalar<GlobalData>(t, oidJoin(kLocal, {6}), g,
                     [](const GlobalData& d) { return octets(bitsOf(d.local.capEnabled, 8)); });

  // lldpLocPortTable.
  const Section<PortData> p = [&src] { return src.ports(); };
  using PCol = Table<PortData, PortInfo>::Column;
  table<PortData, PortInfo>(t, oidJoin(kLocal, {7}), p, portRows,
                            {
                                PCol{2, [](const PortInfo& x) { return std::optional(integer(x.portIdSubtype)); }},
                                PCol{3,
                                     [](const PortInfo& x) -> std::optional<Value> {
                                       if (!x.portId) return std::nullopt;
                                       return octets(*x.portId);
                                     }},
                                PCol{4,
                                     [](const PortInfo& x) -> std::optional<Value> {
                                       if (!x.portDescr) return std::nullopt;
                                       return text(*x.portDescr);
                                     }},
                            });

  // lldpLocManAddrTable, indexed by subtype and address.
  const Section<LocalMgmtAddressData> m = [&src] { return src.localMgmtAddresses(); };
  using MCol = Table<LocalMgmtAddressData, LocalMgmtAddress>::Column;
  table<LocalMgmtAddressData, LocalMgmtAddress>(
      t, oidJoin(kLocal, {8}), m,
      [](const LocalMgmtAddressData& d, std::vector<std::pair<Oid, const LocalMgmtAddress*>>& out) {
        for (const LocalMgmtAddress& a : d.rows) {
          Oid o;
          IndexWriter(o).u32(a.addr.subtype).octets(a.addr.bytes);
          out.emplace_back(std::move(o), &a);
        }
      },
      {
          // The length of subtype and address together, as the TLV counts it.
          MCol{3, [](const LocalMgmtAddress& a) { return std::optional(integer(a.addrLen + 1)); }},
          MCol{4, [](const LocalMgmtAddress& a) { return std::optional(integer(a.ifSubtype)); }},
          MCol{5, [](const LocalMgmtAddress& a) { return std::optional(integer(a.ifId)); }},
          MCol{6, [](const LocalMgmtAddress& a) { return std::optional(objectId(a.oid)); }},
      });
}

void addRemoteSystems(MibTree& t, LldpSource& src) {
  const Section<NeighbourData> n = [&src] { return src.neighbours(); };
  using NCol = Table<NeighbourData, Neighbour>::Column;
  // lldpRemTable.
  table<NeighbourData, Neighbour>(
      t, oidJoin(kRemote, {1}), n, neighbourRows(nullptr),
      {
          NCol{4, [](const Neighbour& x) { return std::optional(integer(x.chassisIdSubtype)); }},
          NCol{5, [](const Neighbour& x) { return std::optional(octets(x.chassisId)); }},
          NCol{6, [](const Neighbour& x) { return std::optional(integer(x.portIdSubtype)); }},
          NCol{7, [](const Neighbour& x) { return std::optional(octets(x.portId)); }},
          NCol{8, [](const Neighbour& x) { return std::optional(text(x.portDescr)); }},
          NCol{9, [](const Neighbour& x) { return std::optional(text(x.sysName)); }},
          NCol{10, [](const Neighbour& x) { return std::optional(text(x.sysDescr)); }},
          NCol{11, [](const Neighbour& x) { return std::optional(octets(bitsOf(x.capSupported, 8))); }},
          NCol{12, [](const Neighbour& x) { return std::optional(octets(bitsOf(x.capEnabled, 8))); }},
      });

  // lldpRemManAddrTable: ..., lldpRemManAddrSubtype, lldpRemManAddr.
  using lldpc::RemoteMgmtAddress;
  table<ListData<RemoteMgmtAddress>, RemoteMgmtAddress>(
      t, oidJoin(kRemote, {2}), [&src] { return src.remoteMgmtAddresses(); },
      listRows<RemoteMgmtAddress>(
          [](const RemoteMgmtAddress& e, IndexWriter& w) { w.u32(e.addr.subtype).octets(e.addr.bytes); }),
      {
          {3, [](const RemoteMgmtAddress& e) { return std::optional(integer(e.ifSubtype)); }},
          {4, [](const RemoteMgmtAddress& e) { return std::optional(integer(e.ifId)); }},
          {5,
           [](const RemoteMgmtAddress& e) {
             // 4 bytes an arc; octets that are not arcs have no identifier to show.
             std::vector<uint32_t> arcs;
             if (e.oid.size() % 4 == 0)
               for (size_t i = 0; i < e.oid.size(); i += 4) arcs.push_back(cmdGetU32(e.oid.data() + i));
             return std::optional(objectId(std::move(arcs)));
           }},
      });

  // lldpRemUnknownTLVTable: ..., lldpRemUnknownTLVType. The index has no
  // place for two TLVs of one type: the first one received is served.
  using lldpc::RemoteTlv;
  table<ListData<RemoteTlv>, RemoteTlv>(t, oidJoin(kRemote, {3}), [&src] { return src.remoteUnknownTlvs(); },
                                        listRows<RemoteTlv>([](const RemoteTlv& e, IndexWriter& w) { w.u32(e.type); }),
                                        {{2, [](const RemoteTlv& e) { return std::optional(octets(e.info)); }}});

  // lldpRemOrgDefInfoTable: ..., lldpRemOrgDefInfoOUI (three octets),
  // lldpRemOrgDefInfoSubtype, lldpRemOrgDefInfoIndex (the TLV's place in the
  // neighbour's list, unique for the neighbour).
  using lldpc::RemoteOrgTlv;
  table<ListData<RemoteOrgTlv>, RemoteOrgTlv>(
      t, oidJoin(kRemote, {4}), [&src] { return src.remoteOrgTlvs(); },
      listRows<RemoteOrgTlv>([](const RemoteOrgTlv& e, IndexWriter& w) {
        const uint8_t oui[3] = {uint8_t(e.oui >> 16), uint8_t(e.oui >> 8), uint8_t(e.oui)};
        w.fixedOctets(oui).u32(e.subtype).u32(e.place);
      }),
      {{4, [](const RemoteOrgTlv& e) { return std::optional(octets(e.info)); }}});
}

void addDot1(MibTree& t, LldpSource& src) {
  // lldpXdot1ConfigPortVlanTable: lldpXdot1ConfigPortVlanTxEnable.
  const Section<PortData> p = [&src] { return src.ports(); };
  using PCol = Table<PortData, PortInfo>::Column;
  table<PortData, PortInfo>(
      t, oidJoin(kDot1, {1, 1}), p, portRows,
      {PCol{1, [](const PortInfo& x) { return std::optional(truth(x.pvidTx)); },
            Writable<PortInfo>{T::Integer, 1, 2, [&src](const PortInfo& port, const Value& v) {
                                 return setStatusOf(
                                     src.setPortInt(port.unit, lldpc::pobj::kPvidTx, static_cast<uint32_t>(v.num)));
                               }}}});
  // lldpXdot1LocTable: lldpXdot1LocPortVlanId.
  table<PortData, PortInfo>(t, oidJoin(kDot1, {2, 1}), p, portRows,
                            {PCol{1, [](const PortInfo& x) -> std::optional<Value> {
                                    if (!x.pvid) return std::nullopt;
                                    return integer(*x.pvid);
                                  }}});

  // lldpXdot1RemTable: the neighbours that sent a port VLAN ID.
  const Section<NeighbourData> n = [&src] { return src.neighbours(); };
  using NCol = Table<NeighbourData, Neighbour>::Column;
  table<NeighbourData, Neighbour>(t, oidJoin(kDot1, {3, 1}), n,
                                  neighbourRows([](const Neighbour& x) { return tlvBit(x.dot1.tlvs, 0); }),
                                  {NCol{1, [](const Neighbour& x) { return std::optional(integer(x.dot1.pvid)); }}});

  // lldpXdot1RemProtoVlanTable: ..., lldpXdot1RemProtoVlanId.
  using lldpc::RemotePpvid;
  table<ListData<RemotePpvid>, RemotePpvid>(
      t, oidJoin(kDot1, {3, 2}), [&src] { return src.remotePpvids(); },
      listRows<RemotePpvid>([](const RemotePpvid& e, IndexWriter& w) { w.u32(e.ppvid); }),
      {
          {2, [](const RemotePpvid& e) { return std::optional(truth(e.supported)); }},
          {3, [](const RemotePpvid& e) { return std::optional(truth(e.enabled)); }},
      });
  // lldpXdot1RemVlanNameTable: ..., lldpXdot1RemVlanId.
  using lldpc::RemoteVlanName;
  table<ListData<RemoteVlanName>, RemoteVlanName>(
      t, oidJoin(kDot1, {3, 3}), [&src] { return src.remoteVlanNames(); },
      listRows<RemoteVlanName>([](const RemoteVlanName& e, IndexWriter& w) { w.u32(e.vlan); }),
      {{2, [](const RemoteVlanName& e) { return std::optional(text(e.name)); }}});
  // lldpXdot1RemProtocolTable: ..., lldpXdot1RemProtocolIndex.
  using lldpc::RemoteProtocol;
  table<ListData<RemoteProtocol>, RemoteProtocol>(
      t, oidJoin(kDot1, {3, 4}), [&src] { return src.remoteProtocols(); },
      listRows<RemoteProtocol>([](const RemoteProtocol& e, IndexWriter& w) { w.u32(e.entry); }),
      {{2, [](const RemoteProtocol& e) { return std::optional(octets(e.identity)); }}});
}

void addDot3(MibTree& t, LldpSource& src) {
  // lldpXdot3PortConfigTable: lldpXdot3PortConfigTLVsTxEnable.
  const Section<PortData> p = [&src] { return src.ports(); };
  using PCol = Table<PortData, PortInfo>::Column;
  table<PortData, PortInfo>(
      t, oidJoin(kDot3, {1, 1}), p, portRows,
      {PCol{1, [](const PortInfo& x) { return std::optional(octets(bitsOf(uint16_t(x.dot3Enabled << 8), 4))); },
            bitsWritable(src, lldpc::pobj::kDot3Enabled, 4, 1)}});

  const Section<NeighbourData> n = [&src] { return src.neighbours(); };
  using NCol = Table<NeighbourData, Neighbour>::Column;
  // lldpXdot3RemPortTable: the neighbours that sent MAC/PHY configuration.
  table<NeighbourData, Neighbour>(
      t, oidJoin(kDot3, {3, 1}), n, neighbourRows([](const Neighbour& x) { return tlvBit(x.dot3.tlvs, 0); }),
      {
          NCol{1, [](const Neighbour& x) { return std::optional(truth(x.dot3.autoNegSupported)); }},
          NCol{2, [](const Neighbour& x) { return std::optional(truth(x.dot3.autoNegEnabled)); }},
          NCol{3,
               [](const Neighbour& x) {
                 const uint16_t a = x.dot3.autoNegAdvertised;
                 return std::optional(octets({uint8_t(a >> 8), uint8_t(a)}));
               }},
          NCol{4, [](const Neighbour& x) { return std::optional(integer(x.dot3.mauType)); }},
      });
  // lldpXdot3RemPowerTable: power via MDI. PortClass pClassPSE(1) and
  // pClassPD(2) are the agent's truth value "PSE".
  table<NeighbourData, Neighbour>(
      t, oidJoin(kDot3, {3, 2}), n, neighbourRows([](const Neighbour& x) { return tlvBit(x.dot3.tlvs, 1); }),
      {
          NCol{1, [](const Neighbour& x) { return std::optional(truth(x.dot3.powerPortClassPse)); }},
          NCol{2, [](const Neighbour& x) { return std::optional(truth(x.dot3.mdiPowerSupported)); }},
          NCol{3, [](const Neighbour& x) { return std::optional(truth(x.dot3.mdiPowerEnabled)); }},
          NCol{4, [](const Neighbour& x) { return std::optional(truth(x.dot3.pairControl)); }},
          NCol{5, [](const Neighbour& x) { return std::optional(integer(x.dot3.powerPairs)); }},
          NCol{6, [](const Neighbour& x) { return std::optional(integer(x.dot3.powerClass)); }},
      });
  // lldpXdot3RemLinkAggTable.
  table<NeighbourData, Neighbour>(
      t, oidJoin(kDot3, {3, 3}), n, neighbourRows([](const Neighbour& x) { return tlvBit(x.dot3.tlvs, 2); }),
      {
          NCol{
              1,
              [](const Neighbour& x) { return std::optional(octets(bitsOf(uint16_t(x.dot3.linkAggStatus << 8), 2))); }},
          NCol{2, [](const Neighbour& x) { return std::optional(integer(x.dot3.aggPortId)); }},
      });
  // lldpXdot3RemMaxFrameSizeTable.
  table<NeighbourData, Neighbour>(
      t, oidJoin(kDot3, {3, 4}), n, neighbourRows([](const Neighbour& x) { return tlvBit(x.dot3.tlvs, 3); }),
      {NCol{1, [](const Neighbour& x) { return std::optional(integer(x.dot3.maxFrameSize)); }}});
}

void addMed(MibTree& t, LldpSource& src) {
  const Section<GlobalData> g = [&src] { return src.globals(); };
  // lldpXMedLocDeviceClass.
  scalar<GlobalData>(t, oidJoin(kMed, {1, 1}), g, [](const GlobalData& d) { return integer(d.config.medDeviceClass); });
  // lldpXMedPortConfigTable: TLVsTxSupported, TLVsTxEnable, NotifEnable.
  const Section<PortData> p = [&src] { return src.ports(); };
  using PCol = Table<PortData, PortInfo>::Column;
  table<PortData, PortInfo>(
      t, oidJoin(kMed, {1, 2}), p, portRows,
      {
          PCol{1, [](const PortInfo& x) { return std::optional(octets(bitsOf(x.medSupported, 6))); }},
          PCol{2, [](const PortInfo& x) { return std::optional(octets(bitsOf(x.medEnabled, 6))); },
               bitsWritable(src, lldpc::pobj::kMedEnabled, 6, 2)},
          PCol{3, [](const PortInfo& x) { return std::optional(truth(x.medNotifications)); },
               Writable<PortInfo>{T::Integer, 1, 2,
                                  [&src](const PortInfo& port, const Value& v) {
                                    return setStatusOf(src.setPortInt(port.unit, lldpc::pobj::kMedNotifications,
                                                                      static_cast<uint32_t>(v.num)));
                                  }}},
      });
  // lldpXMedFastStartRepeatCount.
  scalar<GlobalData>(
      t, oidJoin(kMed, {1, 3}), g, [](const GlobalData& d) { return integer(d.config.medFastStartCount); },
      Writable<GlobalData>{T::Integer, 1, 10, [&src](const GlobalData&, const Value& v) {
                             return setStatusOf(
                                 src.setGlobal(lldpc::gobj::kMedFastStartCount, static_cast<uint32_t>(v.num)));
                           }});
  // lldpXMedLocHardwareRev ... lldpXMedLocAssetID.
  using Inv = lldpc::MedInventory;
  std::string Inv::*const inventory[] = {&Inv::hardwareRev,  &Inv::firmwareRev, &Inv::softwareRev, &Inv::serialNumber,
                                         &Inv::manufacturer, &Inv::model,       &Inv::assetId};
  for (uint32_t i = 0; i < 7; ++i)
    scalar<GlobalData>(t, oidJoin(kMed, {2, 2 + i}), g,
                       [f = inventory[i]](const GlobalData& d) { return text(d.local.inventory.*f); });

  const Section<NeighbourData> n = [&src] { return src.neighbours(); };
  using NCol = Table<NeighbourData, Neighbour>::Column;
  // lldpXMedRemCapabilitiesTable: the LLDP-MED neighbours.
  table<NeighbourData, Neighbour>(
      t, oidJoin(kMed, {3, 1}), n, neighbourRows([](const Neighbour& x) { return tlvBit(x.med.tlvs, 0); }),
      {
          NCol{1, [](const Neighbour& x) { return std::optional(octets(medCapabilityBits(x.med.capabilities))); }},
          NCol{2, [](const Neighbour& x) { return std::optional(octets(bitsOf(x.med.tlvs, 6))); }},
          NCol{3, [](const Neighbour& x) { return std::optional(integer(x.med.deviceClass)); }},
      });

  // lldpXMedRemMediaPolicyTable: ..., lldpXMedRemMediaPolicyAppType.
  using lldpc::RemotePolicy;
  table<ListData<RemotePolicy>, RemotePolicy>(
      t, oidJoin(kMed, {3, 2}), [&src] { return src.remotePolicies(); },
      listRows<RemotePolicy>(
          [](const RemotePolicy& e, IndexWriter& w) { w.octets(policyAppTypeBits(e.policy.appType)); }),
      {
          {2, [](const RemotePolicy& e) { return std::optional(integer(e.policy.vlan)); }},
          {3, [](const RemotePolicy& e) { return std::optional(integer(e.policy.priority)); }},
          {4, [](const RemotePolicy& e) { return std::optional(integer(e.policy.dscp)); }},
          // The agent says 1 set, 0 clear.
          {5, [](const RemotePolicy& e) { return std::optional(truth(e.policy.unknown == 1 ? 1 : 2)); }},
          {6, [](const RemotePolicy& e) { return std::optional(truth(e.policy.tagged)); }},
      });

  // lldpXMedRemInventoryTable.
  table<NeighbourData, Neighbour>(
      t, oidJoin(kMed, {3, 3}), n, neighbourRows([](const Neighbour& x) { return tlvBit(x.med.tlvs, 5); }), [&] {
        std::vector<NCol> cols;
        for (uint32_t i = 0; i < 7; ++i)
          cols.push_back(
              NCol{1 + i, [f = inventory[i]](const Neighbour& x) { return std::optional(text(x.med.inventory.*f)); }});
        return cols;
      }());

  // lldpXMedRemLocationTable: ..., lldpXMedRemLocationSubtype (unknown(1),
  // coordinateBased(2), civicAddress(3), elin(4): the agent's format + 1).
  using lldpc::RemoteLocation;
  table<ListData<RemoteLocation>, RemoteLocation>(
      t, oidJoin(kMed, {3, 4}), [&src] { return src.remoteLocations(); },
      listRows<RemoteLocation>([](const RemoteLocation& e, IndexWriter& w) { w.u32(e.format + 1); }),
      {{2, [](const RemoteLocation& e) { return std::optional(octets(e.data)); }}});

  // Extended power via MDI: lldpXMedRemXPoETable for every neighbour that
  // sent it, lldpXMedRemXPoEPSETable and lldpXMedRemXPoEPDTable by its kind.
  const auto poe = [](const Neighbour& x) { return tlvBit(x.med.tlvs, 3) || tlvBit(x.med.tlvs, 4); };
  table<NeighbourData, Neighbour>(
      t, oidJoin(kMed, {3, 5}), n, neighbourRows(poe),
      {NCol{1, [](const Neighbour& x) { return std::optional(integer(x.med.powerType)); }}});
  const std::vector<NCol> power = {
      NCol{1, [](const Neighbour& x) { return std::optional(Value::gauge(x.med.powerValue)); }},
      NCol{2, [](const Neighbour& x) { return std::optional(integer(x.med.powerSource)); }},
      NCol{3, [](const Neighbour& x) { return std::optional(integer(x.med.powerPriority)); }},
  };
  table<NeighbourData, Neighbour>(t, oidJoin(kMed, {3, 6}), n,
                                  neighbourRows([](const Neighbour& x) { return tlvBit(x.med.tlvs, 3); }), power);
  table<NeighbourData, Neighbour>(t, oidJoin(kMed, {3, 7}), n,
                                  neighbourRows([](const Neighbour& x) { return tlvBit(x.med.tlvs, 4); }), power);
}

}  // namespace

void addLldpMib(MibTree& tree, LldpSource& src) {
  addConfiguration(tree, src);
  addStatistics(tree, src);
  addLocalSystem(tree, src);
  addRemoteSystems(tree, src);
  addDot1(tree, src);
  addDot3(tree, src);
  addMed(tree, src);
}

}  // namespace lldpsnmp
