// Typed records over the management objects. Each record type has a table
// of its fields (object id, form, how the reply fills the field); one table
// serves the single read, the walk and the request list alike.
#include "client/lldp_objects.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <span>
#include <type_traits>

namespace lldpc {

namespace {

template <class T>
struct Field {
  uint32_t object;
  uint32_t capacity;  // 0: integer form; else a buffer Get of this many bytes
  bool optional;      // read from the agent's platform: a failure leaves it unset
  void (*apply)(T&, CmdReply&);
};

// `Fields` is a table: an array or a span of Field<T>.
template <class Fields>
void fieldRequests(const Fields& fields, uint32_t op, uint32_t index, const std::vector<uint8_t>* key,
                   std::vector<CmdRequest>& out) {
  for (const auto& f : fields) {
    CmdRequest r =
        f.capacity ? bufGetRequest(op, index, f.object, f.capacity) : intRequest(op, index, f.object);
    if (key) r = withKey(std::move(r), *key);
    out.push_back(std::move(r));
  }
}

// Fills `out` from the replies (from `first` on). Returns false when the row
// is gone (no such row); throws OperationError for any other failure of a
// field that is not optional.
template <class Fields, class T>
bool fieldApply(const Fields& fields, uint32_t op, std::vector<CmdReply>& replies, size_t first, T& out) {
  for (size_t i = 0; i < std::size(fields); ++i) {
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
// The first kBasicFields are the basic ones. Strings with 8-bit lengths fit
// 256 bytes; the private ones come from one TLV, which fits 512.
const Field<NB> kNeighbourDetail[] = {
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
    {robj::kRxVlan, 0, false, [](NB& n, CmdReply& r) { n.rxVlan = r.value; }},
    {robj::kDot1Tlvs, 2, false, [](NB& n, CmdReply& r) { n.dot1.tlvs = octets2(r); }},
    {robj::kPvid, 0, false, [](NB& n, CmdReply& r) { n.dot1.pvid = r.value; }},
    {robj::kDot3Tlvs, 2, false, [](NB& n, CmdReply& r) { n.dot3.tlvs = octets2(r); }},
    {robj::kAutoNegSupported, 0, false, [](NB& n, CmdReply& r) { n.dot3.autoNegSupported = r.value; }},
    {robj::kAutoNegEnabled, 0, false, [](NB& n, CmdReply& r) { n.dot3.autoNegEnabled = r.value; }},
    {robj::kAutoNegAdvertised, 2, false, [](NB& n, CmdReply& r) { n.dot3.autoNegAdvertised = octets2(r); }},
    {robj::kMauType, 0, false, [](NB& n, CmdReply& r) { n.dot3.mauType = r.value; }},
    {robj::kPowerPortClassPse, 0, false, [](NB& n, CmdReply& r) { n.dot3.powerPortClassPse = r.value; }},
    {robj::kMdiPowerSupported, 0, false, [](NB& n, CmdReply& r) { n.dot3.mdiPowerSupported = r.value; }},
    {robj::kMdiPowerEnabled, 0, false, [](NB& n, CmdReply& r) { n.dot3.mdiPowerEnabled = r.value; }},
    {robj::kPairControl, 0, false, [](NB& n, CmdReply& r) { n.dot3.pairControl = r.value; }},
    {robj::kPowerPairs, 0, false, [](NB& n, CmdReply& r) { n.dot3.powerPairs = r.value; }},
    {robj::kPowerClass, 0, false, [](NB& n, CmdReply& r) { n.dot3.powerClass = r.value; }},
    {robj::kExtPower, 0, false, [](NB& n, CmdReply& r) { n.dot3.extendedPower = r.value; }},
    {robj::kPowerType, 0, false, [](NB& n, CmdReply& r) { n.dot3.powerType = r.value; }},
    {robj::kPowerSource, 0, false, [](NB& n, CmdReply& r) { n.dot3.powerSource = r.value; }},
    {robj::kPowerPriority, 0, false, [](NB& n, CmdReply& r) { n.dot3.powerPriority = r.value; }},
    {robj::kPdRequested, 0, false, [](NB& n, CmdReply& r) { n.dot3.pdRequested = r.value; }},
    {robj::kPseAllocated, 0, false, [](NB& n, CmdReply& r) { n.dot3.pseAllocated = r.value; }},
    {robj::kLinkAggStatus, 1, false, [](NB& n, CmdReply& r) { n.dot3.linkAggStatus = octet(r); }},
    {robj::kAggPortId, 0, false, [](NB& n, CmdReply& r) { n.dot3.aggPortId = r.value; }},
    {robj::kMaxFrameSize, 0, false, [](NB& n, CmdReply& r) { n.dot3.maxFrameSize = r.value; }},
    {robj::kMedCapabilities, 2, false, [](NB& n, CmdReply& r) { n.med.capabilities = octets2(r); }},
    {robj::kMedTlvs, 2, false, [](NB& n, CmdReply& r) { n.med.tlvs = octets2(r); }},
    {robj::kMedDeviceClass, 0, false, [](NB& n, CmdReply& r) { n.med.deviceClass = r.value; }},
    {robj::kMedHwRev + 0, 32, false, [](NB& n, CmdReply& r) { n.med.inventory.hardwareRev = text(r); }},
    {robj::kMedHwRev + 1, 32, false, [](NB& n, CmdReply& r) { n.med.inventory.firmwareRev = text(r); }},
    {robj::kMedHwRev + 2, 32, false, [](NB& n, CmdReply& r) { n.med.inventory.softwareRev = text(r); }},
    {robj::kMedHwRev + 3, 32, false, [](NB& n, CmdReply& r) { n.med.inventory.serialNumber = text(r); }},
    {robj::kMedHwRev + 4, 32, false, [](NB& n, CmdReply& r) { n.med.inventory.manufacturer = text(r); }},
    {robj::kMedHwRev + 5, 32, false, [](NB& n, CmdReply& r) { n.med.inventory.model = text(r); }},
    {robj::kMedHwRev + 6, 32, false, [](NB& n, CmdReply& r) { n.med.inventory.assetId = text(r); }},
    {robj::kMedPowerType, 0, false, [](NB& n, CmdReply& r) { n.med.powerType = r.value; }},
    {robj::kMedPowerValue, 0, false, [](NB& n, CmdReply& r) { n.med.powerValue = r.value; }},
    {robj::kMedPowerSource, 0, false, [](NB& n, CmdReply& r) { n.med.powerSource = r.value; }},
    {robj::kMedPowerPriority, 0, false, [](NB& n, CmdReply& r) { n.med.powerPriority = r.value; }},
    {robj::kPrivSupported, 2, false, [](NB& n, CmdReply& r) { n.priv.supported = octets2(r); }},
    {robj::kPrivTlvs, 2, false, [](NB& n, CmdReply& r) { n.priv.tlvs = octets2(r); }},
    {robj::kPrivSysOid, 512, false, [](NB& n, CmdReply& r) { n.priv.sysOid = std::move(r.data); }},
    {robj::kPrivHwRev + 0, 512, false, [](NB& n, CmdReply& r) { n.priv.inventory.hardwareRev = text(r); }},
    {robj::kPrivHwRev + 1, 512, false, [](NB& n, CmdReply& r) { n.priv.inventory.firmwareRev = text(r); }},
    {robj::kPrivHwRev + 2, 512, false, [](NB& n, CmdReply& r) { n.priv.inventory.softwareRev = text(r); }},
    {robj::kPrivHwRev + 3, 512, false, [](NB& n, CmdReply& r) { n.priv.inventory.serialNumber = text(r); }},
    {robj::kPrivHwRev + 4, 512, false, [](NB& n, CmdReply& r) { n.priv.inventory.manufacturer = text(r); }},
    {robj::kPrivHwRev + 5, 512, false, [](NB& n, CmdReply& r) { n.priv.inventory.model = text(r); }},
    {robj::kPrivHwRev + 6, 512, false, [](NB& n, CmdReply& r) { n.priv.inventory.assetId = text(r); }},
};
constexpr size_t kBasicFields = 10;
const std::span<const Field<NB>> kNeighbourBasic(kNeighbourDetail, kBasicFields);

// The lists' entries: the objects of their Get operations.
const Field<RemoteMgmtAddress> kRemMgmtAddr[] = {
    {1, 0, false, [](RemoteMgmtAddress& e, CmdReply& r) { e.ifSubtype = r.value; }},
    {2, 0, false, [](RemoteMgmtAddress& e, CmdReply& r) { e.ifId = r.value; }},
    {3, 512, false, [](RemoteMgmtAddress& e, CmdReply& r) { e.oid = std::move(r.data); }},
};
const Field<RemoteTlv> kRemUnknownTlv[] = {
    {1, 512, false, [](RemoteTlv& e, CmdReply& r) { e.info = std::move(r.data); }}};
const Field<RemoteOrgTlv> kRemOrgTlv[] = {
    {1, 512, false, [](RemoteOrgTlv& e, CmdReply& r) { e.info = std::move(r.data); }}};
const Field<RemotePpvid> kRemPpvid[] = {
    {1, 0, false, [](RemotePpvid& e, CmdReply& r) { e.supported = r.value; }},
    {2, 0, false, [](RemotePpvid& e, CmdReply& r) { e.enabled = r.value; }},
};
const Field<RemoteVlanName> kRemVlanName[] = {
    {1, 64, false, [](RemoteVlanName& e, CmdReply& r) { e.name = text(r); }}};
const Field<RemoteProtocol> kRemProto[] = {
    {1, 512, false, [](RemoteProtocol& e, CmdReply& r) { e.identity = std::move(r.data); }}};
#define LLDPC_POLICY_FIELDS(T, m)                                                       \
  {polobj::kVlan, 0, false, [](T& e, CmdReply& r) { e.m.vlan = r.value; }},             \
      {polobj::kPriority, 0, false, [](T& e, CmdReply& r) { e.m.priority = r.value; }}, \
      {polobj::kDscp, 0, false, [](T& e, CmdReply& r) { e.m.dscp = r.value; }},         \
      {polobj::kUnknown, 0, false, [](T& e, CmdReply& r) { e.m.unknown = r.value; }}, { \
    polobj::kTagged, 0, false, [](T& e, CmdReply& r) { e.m.tagged = r.value; }          \
  }
const Field<RemotePolicy> kRemPolicy[] = {LLDPC_POLICY_FIELDS(RemotePolicy, policy)};
const Field<LocalPolicy> kLocalPolicy[] = {LLDPC_POLICY_FIELDS(LocalPolicy, policy)};
#undef LLDPC_POLICY_FIELDS
const Field<RemoteLocation> kRemLocation[] = {
    {1, 512, true, [](RemoteLocation& e, CmdReply& r) { e.value = std::move(r.data); }},
    {2, 512, false, [](RemoteLocation& e, CmdReply& r) { e.data = std::move(r.data); }},
};

const Field<LocalVlanName> kLocalVlanName[] = {
    {1, 64, false, [](LocalVlanName& e, CmdReply& r) { e.name = text(r); }}};
const Field<LocalProtoVlan> kLocalProtoVlan[] = {
    {1, 0, false, [](LocalProtoVlan& e, CmdReply& r) { e.supported = r.value; }},
    {2, 0, false, [](LocalProtoVlan& e, CmdReply& r) { e.enabled = r.value; }},
};
const Field<LocalLocation> kLocalLocation[] = {
    {0, 0, false, [](LocalLocation& e, CmdReply& r) { e.configured = r.value == 1; }},
    {1, 512, false, [](LocalLocation& e, CmdReply& r) { e.value = std::move(r.data); }},
    {2, 512, false, [](LocalLocation& e, CmdReply& r) { e.data = std::move(r.data); }},
};

// Reads one record of a field table in one round trip.
template <class Fields, class T>
bool readRecord(Client& c, const Fields& fields, uint32_t op, uint32_t index, const std::vector<uint8_t>* key,
                T& out) {
  std::vector<CmdRequest> reqs;
  fieldRequests(fields, op, index, key, reqs);
  std::vector<CmdReply> replies;
  c.callMany(reqs, replies);
  return fieldApply(fields, op, replies, 0, out);
}

uint32_t portOfKey(const std::vector<uint8_t>& key, size_t off) { return keyWord(key, off); }

// A walk whose rows are read with the objects of `fields` by the operation
// `get`, keyed by the row's key record, or with byUnit by the port unit at
// offset 4 of it. fromKey fills what the key record itself says.
template <class T, class FromKey>
Walk<T> fieldWalk(Client& c, WalkPlan s, uint32_t get, std::type_identity_t<std::span<const Field<T>>> fields,
                  FromKey fromKey, bool byUnit = false) {
  s.extra = [get, fields, byUnit](const std::vector<uint8_t>& key, std::vector<CmdRequest>& out) {
    fieldRequests(fields, get, byUnit ? portOfKey(key, 4) : 0, byUnit ? nullptr : &key, out);
  };
  return Walk<T>(c, std::move(s), [get, fields, fromKey](WalkStep& st) -> std::optional<T> {
    T row;
    fromKey(row, st.key);
    if (!fieldApply(fields, get, st.replies, 0, row)) return std::nullopt;
    return row;
  });
}

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
  WalkPlan s{op::kLocPortGetFirst, op::kLocPortGetNext, keyWords({filter, 0}), {}};
  return Walk<uint32_t>(c, std::move(s),
                        [](WalkStep& st) { return std::optional<uint32_t>(portOfKey(st.key, 4)); });
}

std::vector<CmdPortName> portNames(Client& c) {
  std::vector<CmdPortName> all;
  uint32_t from = 0;
  for (;;) {
    const CmdReply r = c.call(bufGetRequest(kCmdOpPortNames, from, 0, 8192));
    if (r.rc == kUnknownObject) return {};
    if (r.rc != kOk) throw OperationError(kCmdOpPortNames, 0, r.rc);
    std::vector<CmdPortName> part;
    if (!cmdDecodePortNames(r.data.data(), r.data.size(), &part))
      throw ConnectionError("operation " + std::to_string(kCmdOpPortNames) + ": malformed port names");
    if (part.empty() || part.front().unit < from) return all;
    from = part.back().unit + 1;
    for (auto& p : part) all.push_back(std::move(p));
    if (from == 0) return all;  // the last unit there is
  }
}

std::optional<std::string> portName(Client& c, uint32_t unit) {
  const CmdReply r = c.call(bufGetRequest(kCmdOpPortNames, unit, 0, 8 + kCmdPortNameMax));
  if (r.rc == kUnknownObject) return std::nullopt;
  if (r.rc != kOk) throw OperationError(kCmdOpPortNames, 0, r.rc);
  std::vector<CmdPortName> part;
  if (!cmdDecodePortNames(r.data.data(), r.data.size(), &part))
    throw ConnectionError("operation " + std::to_string(kCmdOpPortNames) + ": malformed port names");
  if (part.empty() || part.front().unit != unit) return std::nullopt;
  return part.front().name;
}

std::optional<uint32_t> agentUptime(Client& c) {
  const CmdReply r = c.call(intRequest(kCmdOpPortNames, 0, 0));
  if (r.rc != kOk) return std::nullopt;
  return r.value;
}

std::optional<PortInfo> getPort(Client& c, uint32_t unit) {
  PortInfo p;
  p.unit = unit;
  if (!readRecord(c, kPort, op::kPortGet, unit, nullptr, p)) return std::nullopt;
  return p;
}

Walk<PortInfo> portWalk(Client& c) {
  return fieldWalk<PortInfo>(
      c, WalkPlan(op::kPortGetFirst, op::kPortGetNext), op::kPortGet, kPort,
      [](PortInfo& p, const std::vector<uint8_t>& key) { p.unit = portOfKey(key, 4); }, true);
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
  if (std::sscanf(t.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x%c", &m[0], &m[1], &m[2], &m[3], &m[4], &m[5], &extra) ==
          6 &&
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
  return fieldWalk<ManAddrRow>(
      c, WalkPlan(op::kManAddrGetFirst, op::kManAddrGetNext), op::kManAddrGet, kManAddr,
      [](ManAddrRow& m, const std::vector<uint8_t>& key) { m.addr = manAddrFromKey(key); });
}

Walk<ManAddrRow> portManAddrWalk(Client& c) {
  return fieldWalk<ManAddrRow>(c, WalkPlan(op::kPortManAddrGetFirst, op::kPortManAddrGetNext),
                               op::kPortManAddrGet, kPortManAddr,
                               [](ManAddrRow& m, const std::vector<uint8_t>& key) {
                                 m.addr = manAddrFromKey(key);
                                 m.unit = portOfKey(key, 34);
                               });
}

void addManAddr(Client& c, const MgmtAddress& a) {
  // Object 0 is the map of the ports that advertise the row; any non-empty
  // map creates it.
  c.check(withKey(bufSetRequest(op::kManAddrSet, 0, mobj::kPorts, std::vector<uint8_t>(512, 0xFF)),
                  manAddrKey(a)));
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

namespace {

std::pair<uint32_t, uint32_t> remoteWalkOps(RemoteFilter f) {
  switch (f) {
    case RemoteFilter::All:
      return {19, 20};
    case RemoteFilter::Dot1Pvid:
      return {85, 86};
    case RemoteFilter::Dot3MacPhy:
      return {87, 88};
    case RemoteFilter::Dot3Power:
      return {89, 90};
    case RemoteFilter::Dot3LinkAgg:
      return {91, 92};
    case RemoteFilter::Dot3MaxFrame:
      return {93, 94};
    case RemoteFilter::MedCapable:
      return {95, 96};
    case RemoteFilter::MedPoePse:
      return {81, 82};
    case RemoteFilter::MedPoePd:
      return {79, 80};
    case RemoteFilter::MedInventory:
      return {97, 98};
    case RemoteFilter::MedPoe:
      return {83, 84};
  }
  return {19, 20};
}

Walk<Neighbour> neighbourWalk(Client& c, RemoteFilter filter, std::span<const Field<Neighbour>> fields,
                              bool detailed) {
  const auto [first, next] = remoteWalkOps(filter);
  return fieldWalk<Neighbour>(c, WalkPlan(first, next), op::kRemSysGet, fields,
                              [detailed](Neighbour& n, const std::vector<uint8_t>& key) {
                                n.index = RemoteIndex::fromKey(key);
                                n.detailed = detailed;
                              });
}

bool sameRecord(const std::vector<uint8_t>& key, const std::vector<uint8_t>& index16) {
  return key.size() >= 16 && std::equal(index16.begin(), index16.end(), key.begin());
}

// A walk of one list table (GetFirst, GetNext, Get at base, base + 1,
// base + 2), each entry with the objects of `fields`. With `one`, only that
// neighbour's entries: the walk starts with a GetNext from the record's index
// and an entry key of zeros, below every entry.
template <class T>
Walk<T> listWalk(Client& c, uint32_t base, std::type_identity_t<std::span<const Field<T>>> fields,
                 void (*fromKey)(T&, const std::vector<uint8_t>&), const RemoteIndex* one = nullptr) {
  WalkPlan s(base, base + 1);
  if (one) {
    std::vector<uint8_t> index16 = one->key();
    index16.resize(16);
    s.firstOp = base + 1;
    s.seed = index16;
    s.within = [index16](const std::vector<uint8_t>& key) { return sameRecord(key, index16); };
  }
  return fieldWalk<T>(c, std::move(s), base + 2, fields, fromKey);
}

void keyMgmtAddr(RemoteMgmtAddress& e, const std::vector<uint8_t>& k) {
  e.index = RemoteIndex::fromKey(k);
  if (k.size() < 53) return;
  e.addr.subtype = static_cast<uint8_t>(keyWord(k, 16));
  e.addr.bytes.assign(k.begin() + 20, k.begin() + 20 + (k[52] > 32 ? 32 : k[52]));
}
void keyUnknownTlv(RemoteTlv& e, const std::vector<uint8_t>& k) {
  e.index = RemoteIndex::fromKey(k);
  e.type = keyWord(k, 16);
  e.place = keyWord(k, 20);
}
void keyOrgTlv(RemoteOrgTlv& e, const std::vector<uint8_t>& k) {
  e.index = RemoteIndex::fromKey(k);
  e.oui = keyWord(k, 16) >> 8;
  e.subtype = keyWord(k, 16) & 0xFF;
  e.place = keyWord(k, 20);
}
void keyPpvid(RemotePpvid& e, const std::vector<uint8_t>& k) {
  e.index = RemoteIndex::fromKey(k);
  e.ppvid = keyWord(k, 16);
  e.place = keyWord(k, 20);
}
void keyVlanName(RemoteVlanName& e, const std::vector<uint8_t>& k) {
  e.index = RemoteIndex::fromKey(k);
  e.vlan = keyWord(k, 16);
  e.place = keyWord(k, 20);
}
void keyProto(RemoteProtocol& e, const std::vector<uint8_t>& k) {
  e.index = RemoteIndex::fromKey(k);
  e.entry = keyWord(k, 16);
  e.place = keyWord(k, 20);
}
void keyPolicy(RemotePolicy& e, const std::vector<uint8_t>& k) {
  e.index = RemoteIndex::fromKey(k);
  e.policy.appType = keyWord(k, 16);
}
void keyLocation(RemoteLocation& e, const std::vector<uint8_t>& k) {
  e.index = RemoteIndex::fromKey(k);
  e.format = keyWord(k, 16);
}

// Each list of one neighbour, or of all of them, handed to `put`.
template <class Put>
void readLists(Client& c, const RemoteIndex* one, Put put) {
  for (auto& e : listWalk(c, op::kRemManAddr, kRemMgmtAddr, keyMgmtAddr, one))
    put(e.index)->mgmtAddresses.push_back(e);
  for (auto& e : listWalk(c, op::kRemUnknownTlv, kRemUnknownTlv, keyUnknownTlv, one))
    put(e.index)->unknownTlvs.push_back(e);
  for (auto& e : listWalk(c, op::kRemOrgDefInfo, kRemOrgTlv, keyOrgTlv, one))
    put(e.index)->orgTlvs.push_back(e);
  for (auto& e : listWalk(c, op::kRemPpvid, kRemPpvid, keyPpvid, one)) put(e.index)->dot1.ppvids.push_back(e);
  for (auto& e : listWalk(c, op::kRemVlanName, kRemVlanName, keyVlanName, one))
    put(e.index)->dot1.vlanNames.push_back(e);
  for (auto& e : listWalk(c, op::kRemProto, kRemProto, keyProto, one))
    put(e.index)->dot1.protocols.push_back(e);
  for (auto& e : listWalk(c, op::kRemMediaPolicy, kRemPolicy, keyPolicy, one))
    put(e.index)->med.policies.push_back(e);
  for (auto& e : listWalk(c, op::kRemLocation, kRemLocation, keyLocation, one))
    put(e.index)->med.locations.push_back(e);
}

}  // namespace

Walk<RemoteIndex> neighbourIndexes(Client& c, RemoteFilter filter) {
  const auto [first, next] = remoteWalkOps(filter);
  WalkPlan s{first, next, {}, {}};
  return Walk<RemoteIndex>(
      c, std::move(s), [](WalkStep& st) { return std::optional<RemoteIndex>(RemoteIndex::fromKey(st.key)); });
}

Walk<Neighbour> neighbours(Client& c, RemoteFilter filter) {
  return neighbourWalk(c, filter, kNeighbourBasic, false);
}

Walk<Neighbour> neighboursBrief(Client& c, RemoteFilter filter) {
  const auto [first, next] = remoteWalkOps(filter);
  WalkPlan s(first, next);
  // The basic fields, then a GetNext of the management-address table from
  // the record's index and an entry key of zeros, which is below every
  // address: it answers the record's first address, or one of a later record.
  s.extra = [](const std::vector<uint8_t>& key, std::vector<CmdRequest>& out) {
    fieldRequests(kNeighbourBasic, op::kRemSysGet, 0, &key, out);
    std::vector<uint8_t> index16(key.begin(), key.begin() + std::min<size_t>(16, key.size()));
    out.push_back(withKey(intRequest(op::kRemManAddr + 1, 0, 0), std::move(index16)));
  };
  return Walk<Neighbour>(c, std::move(s), [](WalkStep& st) -> std::optional<Neighbour> {
    Neighbour n;
    n.index = RemoteIndex::fromKey(st.key);
    if (!fieldApply(kNeighbourBasic, op::kRemSysGet, st.replies, 0, n)) return std::nullopt;
    const CmdReply& addr = st.replies[kBasicFields];
    std::vector<uint8_t> index16(st.key.begin(), st.key.begin() + std::min<size_t>(16, st.key.size()));
    if (addr.rc == kOk && sameRecord(addr.key, index16)) {
      RemoteMgmtAddress a;
      keyMgmtAddr(a, addr.key);
      n.mgmtAddresses.push_back(std::move(a));
    }
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

Walk<Neighbour> neighbourFieldWalk(Client& c, RemoteFilter filter) {
  return neighbourWalk(c, filter, kNeighbourDetail, true);
}

std::vector<Neighbour> neighboursDetail(Client& c) {
  std::vector<Neighbour> all = neighbourWalk(c, RemoteFilter::All, kNeighbourDetail, true).all();
  std::map<RemoteIndex, Neighbour*> byIndex;
  for (Neighbour& n : all) byIndex[n.index] = &n;
  // An entry of a neighbour that came after the walk above has nowhere to go.
  Neighbour stray;
  readLists(c, nullptr, [&](const RemoteIndex& i) {
    auto it = byIndex.find(i);
    return it == byIndex.end() ? &stray : it->second;
  });
  return all;
}

std::optional<Neighbour> getNeighbourDetail(Client& c, const RemoteIndex& index) {
  Neighbour n;
  n.index = index;
  n.detailed = true;
  const std::vector<uint8_t> key = index.key();
  if (!readRecord(c, kNeighbourDetail, op::kRemSysGet, 0, &key, n)) return std::nullopt;
  readLists(c, &index, [&n](const RemoteIndex&) { return &n; });
  return n;
}

Walk<RemoteMgmtAddress> remoteMgmtAddresses(Client& c) {
  return listWalk(c, op::kRemManAddr, kRemMgmtAddr, keyMgmtAddr);
}
Walk<RemoteTlv> remoteUnknownTlvs(Client& c) {
  return listWalk(c, op::kRemUnknownTlv, kRemUnknownTlv, keyUnknownTlv);
}
Walk<RemoteOrgTlv> remoteOrgTlvs(Client& c) { return listWalk(c, op::kRemOrgDefInfo, kRemOrgTlv, keyOrgTlv); }
Walk<RemotePpvid> remotePpvids(Client& c) { return listWalk(c, op::kRemPpvid, kRemPpvid, keyPpvid); }
Walk<RemoteVlanName> remoteVlanNames(Client& c) {
  return listWalk(c, op::kRemVlanName, kRemVlanName, keyVlanName);
}
Walk<RemoteProtocol> remoteProtocols(Client& c) { return listWalk(c, op::kRemProto, kRemProto, keyProto); }
Walk<RemotePolicy> remotePolicies(Client& c) {
  return listWalk(c, op::kRemMediaPolicy, kRemPolicy, keyPolicy);
}
Walk<RemoteLocation> remoteLocations(Client& c) {
  return listWalk(c, op::kRemLocation, kRemLocation, keyLocation);
}

// ---- Local 802.1 and LLDP-MED tables ---------------------------------------------
namespace {

// A walk of a local table keyed {port unit, second word}: GetFirst, GetNext
// and Get at base, base + 1, base + 2.
template <class T, class FromKey>
Walk<T> portPairWalk(Client& c, uint32_t base, std::type_identity_t<std::span<const Field<T>>> fields,
                     FromKey fromKey) {
  return fieldWalk<T>(
      c, WalkPlan(base, base + 1), base + 2, fields,
      [fromKey](T& row, const std::vector<uint8_t>& key) { fromKey(row, keyWord(key, 0), keyWord(key, 4)); });
}

}  // namespace

Walk<LocalVlanName> localVlanNames(Client& c) {
  return portPairWalk<LocalVlanName>(c, op::kVlanName, kLocalVlanName,
                                     [](LocalVlanName& e, uint32_t u, uint32_t v) {
                                       e.unit = u;
                                       e.vlan = v;
                                     });
}

Walk<LocalProtoVlan> localProtoVlans(Client& c) {
  return portPairWalk<LocalProtoVlan>(c, op::kProtoVlan, kLocalProtoVlan,
                                      [](LocalProtoVlan& e, uint32_t u, uint32_t v) {
                                        e.unit = u;
                                        e.vlan = v;
                                      });
}

Walk<LocalPolicy> localPolicies(Client& c) {
  return portPairWalk<LocalPolicy>(c, op::kMediaPolicy, kLocalPolicy,
                                   [](LocalPolicy& e, uint32_t u, uint32_t t) {
                                     e.unit = u;
                                     e.policy.appType = t;
                                   });
}

Walk<LocalLocation> localLocations(Client& c) {
  return portPairWalk<LocalLocation>(c, op::kLocation, kLocalLocation,
                                     [](LocalLocation& e, uint32_t u, uint32_t f) {
                                       e.unit = u;
                                       e.format = f;
                                     });
}

void setVlanNameAdvertised(Client& c, uint32_t unit, uint32_t vlan, bool on) {
  c.check(withKey(intRequest(op::kVlanName + 3, 0, 0, on ? 1 : 2), keyWords({unit, vlan})));
}

void setProtoVlanAdvertised(Client& c, uint32_t unit, uint32_t vlan, bool on) {
  c.check(withKey(intRequest(op::kProtoVlan + 3, 0, 0, on ? 1 : 2), keyWords({unit, vlan})));
}

bool protocolRunning(Client& c, uint32_t unit, uint32_t protocol) {
  return c.check(intRequest(op::kDot1ProtoGet, unit, 25, protocol)).len == 1;
}

void setPolicy(Client& c, uint32_t unit, uint32_t appType, uint32_t object, uint32_t value) {
  c.check(withKey(intRequest(op::kMediaPolicy + 3, 0, object, value), keyWords({unit, appType})));
}

void setLocation(Client& c, uint32_t unit, uint32_t format, const std::vector<uint8_t>& value) {
  c.check(withKey(bufSetRequest(op::kLocation + 3, 0, 1, value), keyWords({unit, format})));
}

void removeLocation(Client& c, uint32_t unit, uint32_t format) {
  c.check(withKey(intRequest(op::kLocation + 3, 0, 0, 2), keyWords({unit, format})));
}

}  // namespace lldpc
