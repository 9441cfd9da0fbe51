// Typed records over the management objects. Each record type has a table
// of its fields (object id, form, how the reply fills the field); one table
// serves the single read, the walk and the request list alike.
#include "client/lldp_objects.h"

#include <cstdio>
#include <cstring>

#include <arpa/inet.h>

namespace lldpc {

namespace {

template <class T>
struct Field {
  uint32_t object;
  uint32_t capacity;  // 0: integer form; else a buffer Get of this many bytes
  bool optional;      // read from the agent's platform: a failure leaves it unset
  void (*apply)(T&, CmdReply&);
};

template <class T, size_t N>
void fieldRequests(const Field<T> (&fields)[N], uint32_t op, uint32_t index,
                   const std::vector<uint8_t>* key, std::vector<CmdRequest>& out) {
  for (const Field<T>& f : fields) {
    CmdRequest r = f.capacity ? bufGetRequest(op, index, f.object, f.capacity) : intRequest(op, index, f.object);
    if (key) r = withKey(std::move(r), *key);
    out.push_back(std::move(r));
  }
}

// Fills `out` from the replies (from `first` on). Returns false when the row
// is gone (no such row); throws OperationError for any other failure of a
// field that is not optional.
template <class T, size_t N>
bool fieldApply(const Field<T> (&fields)[N], uint32_t op, std::vector<CmdReply>& replies, size_t first,
                T& out) {
  for (size_t i = 0; i < N; ++i) {
    CmdReply& r = replies[first + i];
    if (r.rc == kOk) {
      fields[i].apply(out, r);
    } else if (r.rc == kNoSuchRow) {
      return false;
    } else if (!fields[i].optional) {
      throw OperationError(op, fields[i].object, r.rc);
    }
  }
  return true;
}

std::string text(const CmdReply& r) { return std::string(r.data.begin(), r.data.end()); }
uint8_t octet(const CmdReply& r) { return r.data.empty() ? 0 : r.data[0]; }
uint16_t octets2(const CmdReply& r) {
  const uint16_t hi = r.data.empty() ? 0 : r.data[0];
  const uint16_t lo = r.data.size() < 2 ? 0 : r.data[1];
  return static_cast<uint16_t>(hi << 8 | lo);
}
std::vector<uint32_t> arcs(const CmdReply& r) {
  std::vector<uint32_t> out;
  for (size_t i = 0; i + 4 <= r.data.size(); i += 4) out.push_back(cmdGetU32(r.data.data() + i));
  return out;
}

// The field tables. Capacities: strings the agent cuts to the buffer get
// room for what a host has; maps and lists their full size.
using GC = GlobalConfig;
const Field<GC> kGlobalConfig[] = {
    {gobj::kMsgTxInterval, 0, false, [](GC& g, CmdReply& r) { g.msgTxInterval = r.value; }},
    {gobj::kMsgTxHold, 0, false, [](GC& g, CmdReply& r) { g.msgTxHold = r.value; }},
    {gobj::kReinitDelay, 0, false, [](GC& g, CmdReply& r) { g.reinitDelay = r.value; }},
    {gobj::kTxDelay, 0, false, [](GC& g, CmdReply& r) { g.txDelay = r.value; }},
    {gobj::kTrapInterval, 0, false, [](GC& g, CmdReply& r) { g.trapInterval = r.value; }},
    {gobj::kMode, 0, false, [](GC& g, CmdReply& r) { g.mode = r.value; }},
    {gobj::kDefaultMode, 0, false, [](GC& g, CmdReply& r) { g.defaultMode = r.value; }},
    {gobj::kDebugFlags, 0, false, [](GC& g, CmdReply& r) { g.debugFlags = r.value; }},
    {gobj::kMedDeviceClass, 0, false, [](GC& g, CmdReply& r) { g.medDeviceClass = r.value; }},
    {gobj::kMedFastStartCount, 0, false, [](GC& g, CmdReply& r) { g.medFastStartCount = r.value; }},
    {gobj::kDefaultPortAdmin, 0, false, [](GC& g, CmdReply& r) { g.defaultPortAdmin = r.value; }},
    {gobj::kAdminStatus, 0, false, [](GC& g, CmdReply& r) { g.adminStatus = r.value; }},
    {gobj::kDefaultAdminStatus, 0, false, [](GC& g, CmdReply& r) { g.defaultAdminStatus = r.value; }},
    {gobj::kMgmtAddrLimit, 0, false, [](GC& g, CmdReply& r) { g.mgmtAddrLimit = r.value; }},
    {gobj::kMgmtAddrCount, 0, false, [](GC& g, CmdReply& r) { g.mgmtAddrCount = r.value; }},
};

using LS = LocalSystem;
const Field<LS> kLocalSystem[] = {
    {gobj::kVersion, 64, false, [](LS& s, CmdReply& r) { s.version = text(r); }},
    {gobj::kChassisIdSubtype, 0, false, [](LS& s, CmdReply& r) { s.chassisIdSubtype = r.value; }},
    {gobj::kChassisId, 255, true, [](LS& s, CmdReply& r) { s.chassisId = r.data; }},
    {gobj::kSysName, 1024, true, [](LS& s, CmdReply& r) { s.sysName = text(r); }},
    {gobj::kSysDescr, 4096, true, [](LS& s, CmdReply& r) { s.sysDescr = text(r); }},
    {gobj::kCapSupported, 2, false, [](LS& s, CmdReply& r) { s.capSupported = octets2(r); }},
    {gobj::kCapEnabled, 2, false, [](LS& s, CmdReply& r) { s.capEnabled = octets2(r); }},
    {gobj::kMedHwRev + 0, 32, false, [](LS& s, CmdReply& r) { s.inventory.hardwareRev = text(r); }},
    {gobj::kMedHwRev + 1, 32, false, [](LS& s, CmdReply& r) { s.inventory.firmwareRev = text(r); }},
    {gobj::kMedHwRev + 2, 32, false, [](LS& s, CmdReply& r) { s.inventory.softwareRev = text(r); }},
    {gobj::kMedHwRev + 3, 32, false, [](LS& s, CmdReply& r) { s.inventory.serialNumber = text(r); }},
    {gobj::kMedHwRev + 4, 32, false, [](LS& s, CmdReply& r) { s.inventory.manufacturer = text(r); }},
    {gobj::kMedHwRev + 5, 32, false, [](LS& s, CmdReply& r) { s.inventory.model = text(r); }},
    {gobj::kMedHwRev + 6, 32, false, [](LS& s, CmdReply& r) { s.inventory.assetId = text(r); }},
    {gobj::kMedPoeDeviceType, 0, false, [](LS& s, CmdReply& r) { s.medPoeDeviceType = r.value; }},
    {gobj::kPsePowerSource, 0, true, [](LS& s, CmdReply& r) { s.psePowerSource = r.value; }},
    {gobj::kPdPowerValue, 0, true, [](LS& s, CmdReply& r) { s.pdPowerValue = r.value; }},
    {gobj::kPdPowerSource, 0, true, [](LS& s, CmdReply& r) { s.pdPowerSource = r.value; }},
    {gobj::kPdPowerPriority, 0, true, [](LS& s, CmdReply& r) { s.pdPowerPriority = r.value; }},
};

using GS = GlobalStats;
const Field<GS> kGlobalStats[] = {
    {gobj::kRemLastChange, 0, false, [](GS& s, CmdReply& r) { s.remLastChange = r.value; }},
    {gobj::kRemInserts, 0, false, [](GS& s, CmdReply& r) { s.remInserts = r.value; }},
    {gobj::kRemDeletes, 0, false, [](GS& s, CmdReply& r) { s.remDeletes = r.value; }},
    {gobj::kRemDrops, 0, false, [](GS& s, CmdReply& r) { s.remDrops = r.value; }},
    {gobj::kRemAgeouts, 0, false, [](GS& s, CmdReply& r) { s.remAgeouts = r.value; }},
    {gobj::kCountersCleared, 0, false, [](GS& s, CmdReply& r) { s.countersCleared = r.value; }},
    {gobj::kFramesIn, 0, false, [](GS& s, CmdReply& r) { s.framesIn = r.value; }},
    {gobj::kFramesInErrors, 0, false, [](GS& s, CmdReply& r) { s.framesInErrors = r.value; }},
    {gobj::kFramesDiscarded, 0, false, [](GS& s, CmdReply& r) { s.framesDiscarded = r.value; }},
    {gobj::kTlvsDiscarded, 0, false, [](GS& s, CmdReply& r) { s.tlvsDiscarded = r.value; }},
    {gobj::kTlvsUnrecognised, 0, false, [](GS& s, CmdReply& r) { s.tlvsUnrecognised = r.value; }},
    {gobj::kFramesOut, 0, false, [](GS& s, CmdReply& r) { s.framesOut = r.value; }},
};

using PI = PortInfo;
const Field<PI> kPort[] = {
    {pobj::kAdminStatus, 0, false, [](PI& p, CmdReply& r) { p.adminStatus = r.value; }},
    {pobj::kNotifications, 0, false, [](PI& p, CmdReply& r) { p.notifications = r.value; }},
    {pobj::kBasicSupported, 1, false, [](PI& p, CmdReply& r) { p.basicSupported = octet(r); }},
    {pobj::kBasicEnabled, 1, false, [](PI& p, CmdReply& r) { p.basicEnabled = octet(r); }},
    {pobj::kPortIdSubtype, 0, false, [](PI& p, CmdReply& r) { p.portIdSubtype = r.value; }},
    {pobj::kPortId, 255, true, [](PI& p, CmdReply& r) { p.portId = r.data; }},
    {pobj::kPortDescr, 255, true, [](PI& p, CmdReply& r) { p.portDescr = text(r); }},
    {pobj::kDot1Supported, 1, false, [](PI& p, CmdReply& r) { p.dot1Supported = octet(r); }},
    {pobj::kDot1Enabled, 1, false, [](PI& p, CmdReply& r) { p.dot1Enabled = octet(r); }},
    {pobj::kPvidTx, 0, false, [](PI& p, CmdReply& r) { p.pvidTx = r.value; }},
    {pobj::kPvid, 0, true, [](PI& p, CmdReply& r) { p.pvid = r.value; }},
    {pobj::kProtoIdTx, 0, false, [](PI& p, CmdReply& r) { p.protoIdTx = r.value; }},
    {pobj::kVlanNames, 512, false, [](PI& p, CmdReply& r) { p.vlanNames = vlanList(r.data); }},
    {pobj::kPpvids, 512, false, [](PI& p, CmdReply& r) { p.ppvids = vlanList(r.data); }},
    {pobj::kDot3Supported, 1, false, [](PI& p, CmdReply& r) { p.dot3Supported = octet(r); }},
    {pobj::kDot3Enabled, 1, false, [](PI& p, CmdReply& r) { p.dot3Enabled = octet(r); }},
    {pobj::kAutoNegSupported, 0, true, [](PI& p, CmdReply& r) { p.autoNegSupported = r.value; }},
    {pobj::kAutoNegEnabled, 0, true, [](PI& p, CmdReply& r) { p.autoNegEnabled = r.value; }},
    {pobj::kAutoNegAdvertised, 6, true, [](PI& p, CmdReply& r) { p.autoNegAdvertised = r.data; }},
    {pobj::kMauType, 0, true, [](PI& p, CmdReply& r) { p.mauType = r.value; }},
    {pobj::kPowerPortClass, 0, true, [](PI& p, CmdReply& r) { p.powerPortClass = r.value; }},
    {pobj::kMdiPowerSupported, 0, true, [](PI& p, CmdReply& r) { p.mdiPowerSupported = r.value; }},
    {pobj::kMdiPowerEnabled, 0, true, [](PI& p, CmdReply& r) { p.mdiPowerEnabled = r.value; }},
    {pobj::kPowerPairControl, 0, true, [](PI& p, CmdReply& r) { p.powerPairControl = r.value; }},
    {pobj::kPowerPairs, 0, true, [](PI& p, CmdReply& r) { p.powerPairs = r.value; }},
    {pobj::kPowerClass, 0, true, [](PI& p, CmdReply& r) { p.powerClass = r.value; }},
    {pobj::kMedPowerDeviceType, 0, true, [](PI& p, CmdReply& r) { p.medPowerDeviceType = r.value; }},
    {pobj::kPsePowerSource, 0, true, [](PI& p, CmdReply& r) { p.psePowerSource = r.value; }},
    {pobj::kPsePowerPriority, 0, true, [](PI& p, CmdReply& r) { p.psePowerPriority = r.value; }},
    {pobj::kPsePowerValue, 0, true, [](PI& p, CmdReply& r) { p.psePowerValue = r.value; }},
    {pobj::kLinkAggStatus, 1, true, [](PI& p, CmdReply& r) { p.linkAggStatus = octet(r); }},
    {pobj::kAggPortId, 0, true, [](PI& p, CmdReply& r) { p.aggPortId = r.value; }},
    {pobj::kMaxFrameSize, 0, true, [](PI& p, CmdReply& r) { p.maxFrameSize = r.value; }},
    {pobj::kMedSupported, 2, false, [](PI& p, CmdReply& r) { p.medSupported = octets2(r); }},
    {pobj::kMedEnabled, 2, false, [](PI& p, CmdReply& r) { p.medEnabled = octets2(r); }},
    {pobj::kMedNotifications, 0, false, [](PI& p, CmdReply& r) { p.medNotifications = r.value; }},
    {pobj::kJuniperTx, 0, false, [](PI& p, CmdReply& r) { p.juniperTx = r.value; }},
    {pobj::kPrivSupported, 2, false, [](PI& p, CmdReply& r) { p.privSupported = octets2(r); }},
    {pobj::kPrivEnabled, 2, false, [](PI& p, CmdReply& r) { p.privEnabled = octets2(r); }},
    {pobj::kFramesOut, 0, false, [](PI& p, CmdReply& r) { p.stats.framesOut = r.value; }},
    {pobj::kFramesDiscarded, 0, false, [](PI& p, CmdReply& r) { p.stats.framesDiscarded = r.value; }},
    {pobj::kFramesInErrors, 0, false, [](PI& p, CmdReply& r) { p.stats.framesInErrors = r.value; }},
    {pobj::kFramesIn, 0, false, [](PI& p, CmdReply& r) { p.stats.framesIn = r.value; }},
    {pobj::kTlvsDiscarded, 0, false, [](PI& p, CmdReply& r) { p.stats.tlvsDiscarded = r.value; }},
    {pobj::kTlvsUnrecognised, 0, false, [](PI& p, CmdReply& r) { p.stats.tlvsUnrecognised = r.value; }},
    {pobj::kAgeouts, 0, false, [](PI& p, CmdReply& r) { p.stats.ageouts = r.value; }},
    {pobj::kCountersCleared, 0, false, [](PI& p, CmdReply& r) { p.stats.countersCleared = r.value; }},
    {pobj::kNeighbours, 0, false, [](PI& p, CmdReply& r) { p.stats.neighbours = r.value; }},
    {pobj::kMedNeighbours, 0, false, [](PI& p, CmdReply& r) { p.stats.medNeighbours = r.value; }},
};

using MR = ManAddrRow;
const Field<MR> kManAddr[] = {
    {mobj::kAddrLen, 0, false, [](MR& m, CmdReply& r) { m.addrLen = r.value; }},
    {mobj::kIfSubtype, 0, false, [](MR& m, CmdReply& r) { m.ifSubtype = r.value; }},
    {mobj::kIfId, 0, false, [](MR& m, CmdReply& r) { m.ifId = r.value; }},
    {mobj::kOid, 512, false, [](MR& m, CmdReply& r) { m.oid = arcs(r); }},
};
const Field<MR> kPortManAddr[] = {
    {mobj::kPortAddrLen, 0, false, [](MR& m, CmdReply& r) { m.addrLen = r.value; }},
    {mobj::kPortIfSubtype, 0, false, [](MR& m, CmdReply& r) { m.ifSubtype = r.value; }},
    {mobj::kPortIfId, 0, false, [](MR& m, CmdReply& r) { m.ifId = r.value; }},
    {mobj::kPortOid, 512, false, [](MR& m, CmdReply& r) { m.oid = arcs(r); }},
};

using NB = Neighbour;
const Field<NB> kNeighbourBasic[] = {
    {robj::kChassisIdSubtype, 0, false, [](NB& n, CmdReply& r) { n.chassisIdSubtype = r.value; }},
    {robj::kChassisId, 256, false, [](NB& n, CmdReply& r) { n.chassisId = std::move(r.data); }},
    {robj::kPortIdSubtype, 0, false, [](NB& n, CmdReply& r) { n.portIdSubtype = r.value; }},
    {robj::kPortId, 256, false, [](NB& n, CmdReply& r) { n.portId = std::move(r.data); }},
    {robj::kPortDescr, 256, false, [](NB& n, CmdReply& r) { n.portDescr = text(r); }},
    {robj::kSysName, 256, false, [](NB& n, CmdReply& r) { n.sysName = text(r); }},
    {robj::kSysDescr, 256, false, [](NB& n, CmdReply& r) { n.sysDescr = text(r); }},
    {robj::kCapSupported, 2, false, [](NB& n, CmdReply& r) { n.capSupported = octets2(r); }},
    {robj::kCapEnabled, 2, false, [](NB& n, CmdReply& r) { n.capEnabled = octets2(r); }},
    {robj::kTtl, 0, false, [](NB& n, CmdReply& r) { n.ttl = r.value; }},
};

// Reads one record of a field table in one round trip.
template <class T, size_t N>
bool readRecord(Client& c, const Field<T> (&fields)[N], uint32_t op, uint32_t index,
                const std::vector<uint8_t>* key, T& out) {
  std::vector<CmdRequest> reqs;
  fieldRequests(fields, op, index, key, reqs);
  std::vector<CmdReply> replies;
  c.callMany(reqs, replies);
  return fieldApply(fields, op, replies, 0, out);
}

uint32_t portOfKey(const std::vector<uint8_t>& key, size_t off) { return keyWord(key, off); }

}  // namespace

// ---- Global objects ---------------------------------------------------------
GlobalConfig getGlobalConfig(Client& c) {
  GlobalConfig g;
  readRecord(c, kGlobalConfig, op::kScalarGet, 0, nullptr, g);
  return g;
}

LocalSystem getLocalSystem(Client& c) {
  LocalSystem s;
  readRecord(c, kLocalSystem, op::kScalarGet, 0, nullptr, s);
  return s;
}

GlobalStats getGlobalStats(Client& c) {
  GlobalStats s;
  readRecord(c, kGlobalStats, op::kScalarGet, 0, nullptr, s);
  return s;
}

void setGlobal(Client& c, uint32_t object, uint32_t value) {
  c.check(intRequest(op::kScalarSet, 0, object, value));
}

void clearGlobalCounters(Client& c) { setGlobal(c, gobj::kCountersCleared, 0); }

// ---- Ports --------------------------------------------------------------------
Walk<uint32_t> portUnits(Client& c, uint32_t filter) {
  WalkSpec s{op::kLocPortGetFirst, op::kLocPortGetNext, keyWords({filter, 0}), {}};
  return Walk<uint32_t>(c, std::move(s), [](WalkStep& st) { return std::optional<uint32_t>(portOfKey(st.key, 4)); });
}

std::optional<PortInfo> getPort(Client& c, uint32_t unit) {
  PortInfo p;
  p.unit = unit;
  if (!readRecord(c, kPort, op::kPortGet, unit, nullptr, p)) return std::nullopt;
  return p;
}

Walk<PortInfo> portWalk(Client& c) {
  WalkSpec s{op::kPortGetFirst, op::kPortGetNext, {},
             [](const std::vector<uint8_t>& key, std::vector<CmdRequest>& out) {
               fieldRequests(kPort, op::kPortGet, portOfKey(key, 4), nullptr, out);
             }};
  return Walk<PortInfo>(c, std::move(s), [](WalkStep& st) -> std::optional<PortInfo> {
    PortInfo p;
    p.unit = portOfKey(st.key, 4);
    if (!fieldApply(kPort, op::kPortGet, st.replies, 0, p)) return std::nullopt;
    return p;
  });
}

void setPortInt(Client& c, uint32_t unit, uint32_t object, uint32_t value) {
  c.check(intRequest(op::kPortSet, unit, object, value));
}

void setPortBytes(Client& c, uint32_t unit, uint32_t object, const std::vector<uint8_t>& bytes) {
  c.check(bufSetRequest(op::kPortSet, unit, object, bytes));
}

void clearPortCounters(Client& c, uint32_t unit) { setPortInt(c, unit, pobj::kClearCounters, 0); }

std::vector<uint8_t> vlanMap(const std::vector<uint16_t>& vlans) {
  std::vector<uint8_t> map;
  for (uint16_t v : vlans) {
    if (v < 1 || v > 4096) continue;
    const size_t bit = v - 1u;
    if (map.size() <= bit / 8) map.resize(bit / 8 + 1, 0);
    map[bit / 8] = static_cast<uint8_t>(map[bit / 8] | (0x80 >> (bit % 8)));
  }
  return map;
}

std::vector<uint16_t> vlanList(const std::vector<uint8_t>& map) {
  std::vector<uint16_t> out;
  for (size_t i = 0; i < map.size() && i < 512; ++i)
    for (unsigned b = 0; b < 8; ++b)
      if (map[i] & (0x80 >> b)) out.push_back(static_cast<uint16_t>(i * 8 + b + 1));
  return out;
}

// ---- Local management addresses --------------------------------------------------
std::optional<MgmtAddress> MgmtAddress::parse(const std::string& t) {
  MgmtAddress a;
  uint8_t b[16];
  if (inet_pton(AF_INET, t.c_str(), b) == 1) {
    a.subtype = 1;
    a.bytes.assign(b, b + 4);
    return a;
  }
  if (inet_pton(AF_INET6, t.c_str(), b) == 1) {
    a.subtype = 2;
    a.bytes.assign(b, b + 16);
    return a;
  }
  unsigned m[6];
  char extra;
  if (std::sscanf(t.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x%c", &m[0], &m[1], &m[2], &m[3], &m[4], &m[5], &extra) == 6 &&
      t.size() == 17) {
    a.subtype = 6;
    for (unsigned v : m) a.bytes.push_back(static_cast<uint8_t>(v));
    return a;
  }
  return std::nullopt;
}

std::string MgmtAddress::str() const {
  char buf[64];
  if (subtype == 1 && bytes.size() == 4) return inet_ntop(AF_INET, bytes.data(), buf, sizeof buf);
  if (subtype == 2 && bytes.size() == 16) return inet_ntop(AF_INET6, bytes.data(), buf, sizeof buf);
  std::string s;
  for (size_t i = 0; i < bytes.size(); ++i) {
    std::snprintf(buf, sizeof buf, i ? ":%02x" : "%02x", bytes[i]);
    s += buf;
  }
  if (subtype == 6 && bytes.size() == 6) return s;
  return "family " + std::to_string(subtype) + " " + s;
}

std::vector<uint8_t> manAddrKey(const MgmtAddress& a) {
  std::vector<uint8_t> k(34, 0);
  k[0] = a.subtype;
  const size_t n = a.bytes.size() > 32 ? 32 : a.bytes.size();
  std::memcpy(&k[1], a.bytes.data(), n);
  k[33] = static_cast<uint8_t>(a.bytes.size() > 255 ? 255 : a.bytes.size());
  return k;
}

std::vector<uint8_t> portManAddrKey(const MgmtAddress& a, uint32_t unit) {
  std::vector<uint8_t> k = manAddrKey(a);
  cmdAddU32(k, unit);
  return k;
}

MgmtAddress manAddrFromKey(const std::vector<uint8_t>& key) {
  MgmtAddress a;
  if (key.size() < 34) return a;
  a.subtype = key[0];
  const size_t n = key[33] > 32 ? 32 : key[33];
  a.bytes.assign(key.begin() + 1, key.begin() + 1 + static_cast<long>(n));
  return a;
}

Walk<ManAddrRow> manAddrWalk(Client& c) {
  WalkSpec s{op::kManAddrGetFirst, op::kManAddrGetNext, {},
             [](const std::vector<uint8_t>& key, std::vector<CmdRequest>& out) {
               fieldRequests(kManAddr, op::kManAddrGet, 0, &key, out);
             }};
  return Walk<ManAddrRow>(c, std::move(s), [](WalkStep& st) -> std::optional<ManAddrRow> {
    ManAddrRow m;
    m.addr = manAddrFromKey(st.key);
    if (!fieldApply(kManAddr, op::kManAddrGet, st.replies, 0, m)) return std::nullopt;
    return m;
  });
}

Walk<ManAddrRow> portManAddrWalk(Client& c) {
  WalkSpec s{op::kPortManAddrGetFirst, op::kPortManAddrGetNext, {},
             [](const std::vector<uint8_t>& key, std::vector<CmdRequest>& out) {
               fieldRequests(kPortManAddr, op::kPortManAddrGet, 0, &key, out);
             }};
  return Walk<ManAddrRow>(c, std::move(s), [](WalkStep& st) -> std::optional<ManAddrRow> {
    ManAddrRow m;
    m.addr = manAddrFromKey(st.key);
    m.unit = portOfKey(st.key, 34);
    if (!fieldApply(kPortManAddr, op::kPortManAddrGet, st.replies, 0, m)) return std::nullopt;
    return m;
  });
}

void addManAddr(Client& c, const MgmtAddress& a) {
  // Object 0 is the map of the ports that advertise the row; any non-empty
  // map creates it.
  c.check(withKey(bufSetRequest(op::kManAddrSet, 0, mobj::kPorts, std::vector<uint8_t>(512, 0xFF)), manAddrKey(a)));
}

void deleteManAddr(Client& c, const MgmtAddress& a) {
  c.check(withKey(bufSetRequest(op::kManAddrSet, 0, mobj::kPorts, {}), manAddrKey(a)));
}

void addPortManAddr(Client& c, uint32_t unit, const MgmtAddress& a) {
  c.check(withKey(intRequest(op::kPortManAddrSet, 0, mobj::kPortRowStatus, 2), portManAddrKey(a, unit)));
}

void deletePortManAddr(Client& c, uint32_t unit, const MgmtAddress& a) {
  c.check(withKey(intRequest(op::kPortManAddrSet, 0, mobj::kPortRowStatus, 4), portManAddrKey(a, unit)));
}

// ---- Neighbours -------------------------------------------------------------------
std::vector<uint8_t> RemoteIndex::key(uint32_t filter) const {
  return keyWords({timeMarkHigh, timeMarkLow, port, remIndex, filter});
}

RemoteIndex RemoteIndex::fromKey(const std::vector<uint8_t>& key) {
  return RemoteIndex{keyWord(key, 0), keyWord(key, 4), keyWord(key, 8), keyWord(key, 12)};
}

Walk<RemoteIndex> neighbourIndexes(Client& c) {
  WalkSpec s{op::kRemSysGetFirst, op::kRemSysGetNext, {}, {}};
  return Walk<RemoteIndex>(c, std::move(s),
                           [](WalkStep& st) { return std::optional<RemoteIndex>(RemoteIndex::fromKey(st.key)); });
}

Walk<Neighbour> neighbours(Client& c) {
  WalkSpec s{op::kRemSysGetFirst, op::kRemSysGetNext, {},
             [](const std::vector<uint8_t>& key, std::vector<CmdRequest>& out) {
               fieldRequests(kNeighbourBasic, op::kRemSysGet, 0, &key, out);
             }};
  return Walk<Neighbour>(c, std::move(s), [](WalkStep& st) -> std::optional<Neighbour> {
    Neighbour n;
    n.index = RemoteIndex::fromKey(st.key);
    if (!fieldApply(kNeighbourBasic, op::kRemSysGet, st.replies, 0, n)) return std::nullopt;
    return n;
  });
}

std::optional<Neighbour> getNeighbour(Client& c, const RemoteIndex& index) {
  Neighbour n;
  n.index = index;
  const std::vector<uint8_t> key = index.key();
  if (!readRecord(c, kNeighbourBasic, op::kRemSysGet, 0, &key, n)) return std::nullopt;
  return n;
}

}  // namespace lldpc
