// Per-port objects (operations 4-8, 67-78, 99, 100): walks over the port
// table, filtered by an organisation's supported-TLV map, and one port's
// configuration and counters, read by lldpPortGetApi and changed by
// lldpPortSetApi / lldpPortSyncApi through _lldpPortSetApi.
//
// Every operation holds the agent lock for its whole run, the forward to the
// stack included, so the protocol task sees a change whole or not at all.
// A Set marks the port changed whatever its outcome, so its transmit machine
// sends a fresh LLDPDU at the next opportunity.
#include <cstring>

#include "base/lldp_info.h"
#include "local/lldp_local.h"
#include "mgmt/lldp_mgmt.h"
#include "mgmt/lldp_mgmt_util.h"
#include "platform/sil.h"
#include "platform/zor_if.h"
#include "port/lldp_port.h"
#include "tx/lldp_tx.h"

// REQUIRES: nothing held; takes lldpLock.
uint32_t _lldpPortSetApi(uintptr_t unit, uint32_t objId, ZorValue* value, uint32_t syncMode);

namespace {

constexpr uint32_t kObjLimit = 71;  // ids from here on answer 0x3E80010
constexpr uint32_t kVlanMapLen = 512;
constexpr uint32_t kPortIdRoom = 512;  // more than any port ID the providers form
constexpr uint32_t kPoeClassObj = 7;  // PoE service: the port's power class as the platform keeps it

// Key record of the port walks: filter word, port unit.
constexpr uint32_t kKeyFilter = 0;
constexpr uint32_t kKeyUnit = 4;

// 802.1 TLV bits.
constexpr uint32_t kDot1Pvid = 0;
constexpr uint32_t kDot1Ppvid = 1;
constexpr uint32_t kDot1VlanName = 2;
constexpr uint32_t kDot1Proto = 3;
// LLDP-MED TLV bit of the network policy, and the voice application type.
constexpr uint32_t kMedPolicyBit = 1;
constexpr uint32_t kAppVoice = 1;

LldpPort* portAtOrAfter(uint32_t unit, bool strictlyAfter) {
  LldpPort key;
  key.unit = unit;
  return static_cast<LldpPort*>(strictlyAfter ? avl_greater(&gLldpInfo.portTable, &key)
                                              : avl_greater_equal(&gLldpInfo.portTable, &key));
}
LldpPort* nextPort(const LldpPort* p) {
  return static_cast<LldpPort*>(avl_next(&gLldpInfo.portTable, p));
}

bool portMatches(const LldpPort* p, uint32_t filter) {
  const LldpMgmtFilterMaps maps{&p->dot1TlvTxSupported, 1, &p->dot3TlvTxSupported, 1,
                                p->medTlvTxSupported, 2};
  return lldpMgmtFilterMatch(filter, maps);
}

// GetFirst (first) or GetNext over the ports that the filter selects. The
// walk starts past the key's unit, whether or not that port still exists.
uint32_t portWalk(uintptr_t key, uint32_t filter, bool first) {
  if (key == 0) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  LldpPort* p = first ? static_cast<LldpPort*>(avl_first(&gLldpInfo.portTable))
                      : portAtOrAfter(lldpMgmtKeyGet32(key, kKeyUnit), true);
  for (; p != nullptr; p = nextPort(p)) {
    if (!portMatches(p, filter)) continue;
    lldpMgmtKeyPut32(key, kKeyFilter, filter);
    lldpMgmtKeyPut32(key, kKeyUnit, p->unit);
    return LLDP_MGMT_OK;
  }
  return LLDP_MGMT_NO_ENTRY;
}

uint32_t fixedWalk(uintptr_t key, uint32_t oui, uint32_t bit, bool first) {
  return portWalk(key, lldpMgmtFilter(oui, bit), first);
}

// ---- Get ------------------------------------------------------------------------

// 1-octet and 2-octet maps: the caller's buffer must hold them (else 22).
uint32_t putMap(ZorValue* v, const void* map, uint32_t width) {
  if (lldpMgmtIsBuf(v) && v->len == 0) return LLDP_MGMT_EINVAL;
  return lldpMgmtPutOctets(v, map, width);
}

uint32_t providerInt(ZorValue* v, uint32_t unit, int (*provider)(uint32_t, uint32_t*)) {
  if (!lldpMgmtIsInt(v)) return LLDP_MGMT_EINVAL;
  uint32_t x = 0;
  const int rc = provider(unit, &x);
  if (rc != 0) return static_cast<uint32_t>(rc);
  v->value = x;
  return LLDP_MGMT_OK;
}

// The VLAN list up to and including the octet of its highest VLAN bit.
uint32_t putTrimmed(ZorValue* v, const uint8_t* list) {
  if (!lldpMgmtIsBuf(v)) return LLDP_MGMT_EINVAL;
  uint32_t n = kVlanMapLen;
  while (n > 0 && list[n - 1] == 0) --n;
  return lldpMgmtPutOctets(v, list, n);
}

uint32_t putAdvertisedCap(ZorValue* v, uint32_t unit) {
  if (!lldpMgmtIsBuf(v)) return LLDP_MGMT_EINVAL;
  uint32_t len = v->len;
  const int rc = lldpDot3PortGetAutoNegAdvertisedCap(unit, lldpMgmtBuf(v), &len);
  if (rc != 0) return static_cast<uint32_t>(rc);
  v->len = len;
  return LLDP_MGMT_OK;
}

// The aggregation state that cannot be read counts as not aggregated. One
// octet whatever the caller's capacity, as far as the buffer holds it.
uint32_t putLinkAggStatus(ZorValue* v, uint32_t unit) {
  if (!lldpMgmtIsBuf(v)) return LLDP_MGMT_EINVAL;
  uint8_t status = 0;
  uint32_t len = 1;
  (void)lldpDot3PortGetLinkAggStatus(unit, &status, &len);
  return lldpMgmtPutCut(v, &status, 1);
}

// The port ID for the port's subtype whatever the caller's capacity (a MAC
// address is 6 octets, a name at most 255 and "interface"), as much of it as
// the buffer holds.
uint32_t putPortId(ZorValue* v, const LldpPort* p) {
  if (!lldpMgmtIsBuf(v)) return LLDP_MGMT_EINVAL;
  uint8_t id[kPortIdRoom];
  uint32_t len = sizeof id;
  lldpPortGetPortId(p, id, &len);
  return lldpMgmtPutCut(v, id, len);
}

// The description is always formed (from the alias, else the interface
// description), so a failed platform read is not the caller's concern.
uint32_t putDescr(ZorValue* v, uint32_t unit) {
  if (!lldpMgmtIsBuf(v)) return LLDP_MGMT_EINVAL;
  uint32_t len = v->len;
  (void)lldpPortGetDescr(unit, lldpMgmtBuf(v), &len);
  v->len = len;
  return LLDP_MGMT_OK;
}

// The power class that the platform's PoE service keeps for the port, or 0
// for a port without PoE (or whose class cannot be read).
uint32_t poeRecordValue(uint32_t unit) {
  uint32_t v = 0;
  if (lldpCheckPoeStatus(unit) != 0 || poeIfGetApi(unit, kPoeClassObj, &v) != 0) return 0;
  return v;
}

int medPowerDeviceType(uint32_t, uint32_t* out) { return lldpMedGetPowerDeviceType(out); }

uint32_t getObject(const LldpPort* p, uint32_t objId, ZorValue* v) {
  const uint32_t unit = p->unit;
  switch (objId) {
    case 1: return lldpMgmtPutInt(v, p->adminStatus);
    case 2: return lldpMgmtPutInt(v, p->notificationEnable);
    case 3: return putMap(v, &p->basicTlvTxSupported, 1);
    case 4: return putMap(v, &p->basicTlvTxEnabled, 1);
    case 5: return lldpMgmtPutInt(v, p->portIdSubtype);
    case 6: return putPortId(v, p);
    case 7: return putDescr(v, unit);
    case 8: return lldpMgmtPutInt(v, p->statsFramesOutTotal);
    case 9: return lldpMgmtPutInt(v, p->statsFramesDiscardedTotal);
    case 10: return lldpMgmtPutInt(v, p->statsFramesInErrorsTotal);
    case 11: return lldpMgmtPutInt(v, p->statsFramesInTotal);
    case 12: return lldpMgmtPutInt(v, p->statsTLVsDiscardedTotal);
    case 13: return lldpMgmtPutInt(v, p->statsTLVsUnrecognizedTotal);
    case 14: return lldpMgmtPutInt(v, p->statsAgeoutsTotal);
    case 20: return putMap(v, &p->dot1TlvTxSupported, 1);
    case 21: return putMap(v, &p->dot1TlvTxEnabled, 1);
    case 22: return lldpMgmtPutInt(v, p->pvidTxEnable);
    case 24: return providerInt(v, unit, lldpDot1PortGetPvid);
    case 26: return lldpMgmtPutInt(v, p->protocolIdTxEnable);
    case 27: return putTrimmed(v, p->vlanNameTxEnable);
    case 29: return putTrimmed(v, p->ppvidTxEnable);
    case 31:
      if (!lldpMgmtIsBuf(v)) return LLDP_MGMT_EINVAL;
      if (p->adminStatus == LLDP_ADMIN_DISABLED ||
          !lldpMgmtBitTest(&p->dot1TlvTxSupported, 1, kDot1VlanName))
        return LLDP_MGMT_EINVAL;
      // All 512 octets whatever the caller's capacity, as far as the buffer
      // holds them.
      return lldpMgmtPutCut(v, p->vlanNameTxEnable, kVlanMapLen);
    case 32: return putMap(v, &p->dot3TlvTxSupported, 1);
    case 33: return putMap(v, &p->dot3TlvTxEnabled, 1);
    case 34: return providerInt(v, unit, lldpDot3PortGetAutoNegSupported);
    case 35: return providerInt(v, unit, lldpDot3PortGetAutoNegEnabled);
    case 36: return putAdvertisedCap(v, unit);
    case 37: return providerInt(v, unit, lldpDot3PortGetOperMauType);
    case 38: return providerInt(v, unit, lldpDot3PortGetPowerPortClass);
    case 39: return providerInt(v, unit, lldpDot3PortGetPowerMDISupported);
    case 40: return providerInt(v, unit, lldpDot3PortGetPowerMDIEnabled);
    case 41: return providerInt(v, unit, lldpDot3PortGetPowerPairControlable);
    case 42: return providerInt(v, unit, lldpDot3PortGetPowerPairs);
    case 43: return providerInt(v, unit, lldpDot3PortGetPowerClass);
    case 44: return lldpMgmtPutInt(v, lldpMgmtBitTest(&p->dot3TlvTxEnabled, 1, 4) ? 1 : 2);
    case 45: return providerInt(v, unit, medPowerDeviceType);
    case 46: return providerInt(v, unit, lldpMedPortGetPsePowerSource);
    case 47: return providerInt(v, unit, lldpMedPortGetPsePowerPriority);
    case 48:
      if (!lldpMgmtIsInt(v)) return LLDP_MGMT_EINVAL;
      return lldpMgmtPutInt(v, poeRecordValue(unit));
    case 49: return providerInt(v, unit, lldpMedPortGetPsePowerValue);
    case 50: return putLinkAggStatus(v, unit);
    case 51: return providerInt(v, unit, lldpDot3PortGetLinkAggPortId);
    case 52: return providerInt(v, unit, lldpDot3PortGetMaxFrameSize);
    case 53: return putMap(v, p->medTlvTxSupported, 2);
    case 54: return putMap(v, &p->medTlvTxEnabled, 2);
    case 55: return lldpMgmtPutInt(v, p->medNotificationEnable);
    case 62: return providerInt(v, unit, lldpMedPortGetPsePowerValue);
    case 63: return providerInt(v, unit, lldpMedPortGetPsePowerPriority);
    case 65: return lldpMgmtPutInt(v, p->statsTrailing[0]);
    case 66: return lldpMgmtPutInt(v, p->remSysTotal);
    case 67: return lldpMgmtPutInt(v, p->remMedSysTotal);
    case 68: return lldpMgmtPutInt(v, p->juniperTlvTxEnable);
    case 69: return putMap(v, p->privTlvTxSupported, 2);
    case 70: return putMap(v, p->privTlvTxEnabled, 2);
    default: return LLDP_MGMT_BAD_OBJECT;
  }
}

// ---- Set --------------------------------------------------------------------------

enum class Form { Int, Octets, Any };

// The form of every object with a Set. Objects without one take either
// form: they are forwarded like any other and then answer 0x3E80010.
bool hasSet(uint32_t objId, Form* form) {
  switch (objId) {
    case 1: case 2: case 5: case 22: case 26: case 55: case 68:
      *form = Form::Int;
      return true;
    case 4: case 27: case 28: case 29: case 30: case 31: case 33: case 54: case 70:
      *form = Form::Octets;
      return true;
    case 64:
      *form = Form::Any;
      return true;
    default:
      return false;
  }
}

bool mapEmpty(const uint8_t* map) {
  for (uint32_t i = 0; i < kVlanMapLen; ++i)
    if (map[i] != 0) return false;
  return true;
}

// Every bit set in the caller's octets is set in (add) or cleared from the
// 4096-bit list.
void mergeBits(uint8_t* list, const ZorValue* v, bool add) {
  const uint8_t* src = lldpMgmtBuf(v);
  const uint32_t n = v->len < kVlanMapLen ? v->len : kVlanMapLen;
  for (uint32_t i = 0; i < n; ++i) list[i] = add ? (list[i] | src[i]) : (list[i] & ~src[i]);
}

// A transmit switch of an 802.1 TLV (PVID, protocol identity): 1 sets and 2
// clears the TLV's enabled bit.
uint32_t setDot1Switch(LldpPort* p, uint32_t bit, uint8_t* field, uint32_t x) {
  if (!lldpMgmtBitTest(&p->dot1TlvTxSupported, 1, bit)) return LLDP_MGMT_ENOTSUP;
  *field = static_cast<uint8_t>(x);
  if (x == 1) lldpBitSet(&p->dot1TlvTxEnabled, bit);
  if (x == 2) lldpBitClear(&p->dot1TlvTxEnabled, bit);
  return LLDP_MGMT_OK;
}

uint32_t addVlans(LldpPort* p, uint8_t* list, uint32_t bit, const ZorValue* v) {
  if (!lldpMgmtBitTest(&p->dot1TlvTxSupported, 1, bit)) return LLDP_MGMT_ENOTSUP;
  mergeBits(list, v, true);
  lldpBitSet(&p->dot1TlvTxEnabled, bit);
  return LLDP_MGMT_OK;
}

uint32_t removeVlans(LldpPort* p, uint8_t* list, uint32_t bit, const ZorValue* v) {
  mergeBits(list, v, false);
  if (mapEmpty(list)) lldpBitClear(&p->dot1TlvTxEnabled, bit);
  return LLDP_MGMT_OK;
}

// Replaces an enabled map of `width` octets with the caller's, when every
// bit the caller sets lies within the map and is supported, and the caller
// gave at least `minLen` octets. Nothing is stored on 22.
uint32_t checkedReplace(uint8_t* enabled, const uint8_t* supported, uint32_t width,
                        uint32_t minLen, const ZorValue* v) {
  const uint8_t* src = lldpMgmtBuf(v);
  for (uint32_t i = 0; i < v->len; ++i) {
    if (src[i] == 0) continue;
    if (i >= width || (src[i] & ~supported[i]) != 0) return LLDP_MGMT_EINVAL;
  }
  if (v->len < minLen) return LLDP_MGMT_EINVAL;
  std::memcpy(enabled, src, width);
  return LLDP_MGMT_OK;
}

// Enabling the network policy TLV gives a port without a voice policy the
// default one; disabling it erases the voice policy.
void seedVoicePolicy(LldpPort* p, bool wasOn, bool isOn) {
  LldpMedPolicy& voice = p->medPolicy[kAppVoice - 1];
  if (isOn && !wasOn && voice.appType == 0) {
    voice = LldpMedPolicy{};
    voice.appType = kAppVoice;
    voice.unknown = 0;
    voice.tagged = 1;
    voice.priority = 5;
    voice.dscp = 46;
    voice.vid = 0;
  } else if (!isOn && wasOn && voice.appType != 0) {
    voice = LldpMedPolicy{};
  }
}

uint32_t setMedEnabled(LldpPort* p, const ZorValue* v) {
  auto* enabled = reinterpret_cast<uint8_t*>(&p->medTlvTxEnabled);
  const bool wasOn = lldpBitTest(enabled, kMedPolicyBit) != 0;
  uint8_t next[2];
  std::memcpy(next, enabled, 2);
  const uint32_t rc = checkedReplace(next, p->medTlvTxSupported, 2, 2, v);
  if (rc != 0) return rc;
  seedVoicePolicy(p, wasOn, lldpBitTest(next, kMedPolicyBit) != 0);
  std::memcpy(enabled, next, 2);
  return LLDP_MGMT_OK;
}

void clearCounters(LldpPort* p) {
  p->statsFramesOutTotal = 0;
  p->statsAgeoutsTotal = 0;
  p->statsFramesDiscardedTotal = 0;
  p->statsFramesInErrorsTotal = 0;
  p->statsFramesInTotal = 0;
  p->statsTLVsDiscardedTotal = 0;
  p->statsTLVsUnrecognizedTotal = 0;
  p->statsTrailing[0] = silGetUpTime();
}

uint32_t applyObject(LldpPort* p, uint32_t objId, const ZorValue* v) {
  const uint32_t x = v->form == ZOR_VALUE_INT ? v->value : 0;
  switch (objId) {
    case 1: return static_cast<uint32_t>(lldpPortEntryInit(p, x & 0xFF));
    case 2: p->notificationEnable = static_cast<uint8_t>(x); return LLDP_MGMT_OK;
    case 4:
      if (v->len > 0) p->basicTlvTxEnabled = lldpMgmtBuf(v)[0];
      return LLDP_MGMT_OK;
    case 5: p->portIdSubtype = static_cast<uint8_t>(x); return LLDP_MGMT_OK;
    case 22: return setDot1Switch(p, kDot1Pvid, &p->pvidTxEnable, x);
    case 26: return setDot1Switch(p, kDot1Proto, &p->protocolIdTxEnable, x);
    case 27: return addVlans(p, p->vlanNameTxEnable, kDot1VlanName, v);
    case 28: return removeVlans(p, p->vlanNameTxEnable, kDot1VlanName, v);
    case 29: return addVlans(p, p->ppvidTxEnable, kDot1Ppvid, v);
    case 30: return removeVlans(p, p->ppvidTxEnable, kDot1Ppvid, v);
    case 31:
      std::memcpy(p->vlanNameTxEnable, lldpMgmtBuf(v), v->len < kVlanMapLen ? v->len : kVlanMapLen);
      lldpBitSet(&p->dot1TlvTxEnabled, kDot1VlanName);
      return LLDP_MGMT_OK;
    case 33: return checkedReplace(&p->dot3TlvTxEnabled, &p->dot3TlvTxSupported, 1, 1, v);
    case 54: return setMedEnabled(p, v);
    case 55: p->medNotificationEnable = static_cast<uint8_t>(x); return LLDP_MGMT_OK;
    case 64: clearCounters(p); return LLDP_MGMT_OK;
    case 68: p->juniperTlvTxEnable = static_cast<uint8_t>(x); return LLDP_MGMT_OK;
    case 70: return checkedReplace(p->privTlvTxEnabled, p->privTlvTxSupported, 2, 2, v);
    default: return LLDP_MGMT_BAD_OBJECT;
  }
}

// Ids from 71 on are refused before anything else; every id below is
// forwarded (an id without a Set too, whose result is then 0x3E80010), but
// a descriptor of the wrong form is refused first.
uint32_t setObject(LldpPort* p, uint32_t objId, ZorValue* v, uint32_t syncMode) {
  if (objId >= kObjLimit) return LLDP_MGMT_BAD_OBJECT;
  Form form = Form::Any;
  const bool settable = hasSet(objId, &form);
  if (v == nullptr || (form == Form::Int && !lldpMgmtIsInt(v)) ||
      (form == Form::Octets && !lldpMgmtIsBuf(v)))
    return LLDP_MGMT_EINVAL;
  // The port ID subtype is a setting of this unit's own ports only.
  if (objId != 5) {
    const bool octets = form == Form::Octets;
    const uint32_t mode = syncMode | LLDP_SYNC_CTL_PORT | (octets ? LLDP_SYNC_CTL_OCTETS : 0);
    const uint32_t rc = lldpMgmtForward(p->unit, 0, LLDP_CMD_BASE_PORT + objId, v, mode, 0,
                                        octets ? v->len : 4);
    if (rc != 0) return rc;
  }
  return settable ? applyObject(p, objId, v) : LLDP_MGMT_BAD_OBJECT;
}

}  // namespace

// ---- Walks --------------------------------------------------------------------------

uint32_t lldpLocPortGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return portWalk(key, key ? lldpMgmtKeyGet32(key, kKeyFilter) : 0, true);
}
uint32_t lldpLocPortGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return portWalk(key, key ? lldpMgmtKeyGet32(key, kKeyFilter) : 0, false);
}
uint32_t lldpPortGetFirst(uintptr_t key, uint32_t, ZorValue*) { return portWalk(key, 0, true); }
uint32_t lldpPortGetNext(uintptr_t key, uint32_t, ZorValue*) { return portWalk(key, 0, false); }

uint32_t lldpDot1PortPvidGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT1, 0, true);
}
uint32_t lldpDot1PortPvidGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT1, 0, false);
}
uint32_t lldpDot3PortMacphyGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 0, true);
}
uint32_t lldpDot3PortMacphyGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 0, false);
}
uint32_t lldpDot3PortPowerGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 1, true);
}
uint32_t lldpDot3PortPowerGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 1, false);
}
uint32_t lldpDot3PortLinkAggGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 2, true);
}
uint32_t lldpDot3PortLinkAggGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 2, false);
}
uint32_t lldpDot3PortMfsGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 3, true);
}
uint32_t lldpDot3PortMfsGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 3, false);
}
uint32_t lldpMedPortXPoePseGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_MED, 3, true);
}
uint32_t lldpMedPortXPoePseGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_MED, 3, false);
}

// ---- Get / Set / Sync -----------------------------------------------------------------

uint32_t lldpPortGetApi(uintptr_t unit, uint32_t objId, ZorValue* value) {
  if (value == nullptr) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  const LldpPort* p = lldpPortEntryGet(static_cast<uint32_t>(unit));
  if (p == nullptr) return LLDP_MGMT_NO_ENTRY;
  if (objId >= kObjLimit) return LLDP_MGMT_BAD_OBJECT;
  return getObject(p, objId, value);
}

uint32_t _lldpPortSetApi(uintptr_t unit, uint32_t objId, ZorValue* value, uint32_t syncMode) {
  LldpMgmtLock lock;
  if (!lldpMgmtAgentEnabled()) return LLDP_MGMT_DISABLED;
  LldpPort* p = lldpPortEntryGet(static_cast<uint32_t>(unit));
  if (p == nullptr) return LLDP_MGMT_NO_ENTRY;
  const uint32_t rc = setObject(p, objId, value, syncMode);
  p->somethingChangedLocal = 1;
  return rc;
}

uint32_t lldpPortSetApi(uintptr_t unit, uint32_t objId, ZorValue* value) {
  return _lldpPortSetApi(unit, objId, value, LLDP_SYNC_MODE_SET);
}

uint32_t lldpPortSyncApi(uintptr_t unit, uint32_t objId, ZorValue* value) {
  return _lldpPortSetApi(unit, objId, value, LLDP_SYNC_MODE_SYNC);
}

int lldpTxCfgSimul(uint32_t unit) {
  for (auto* p = static_cast<LldpPort*>(avl_first(&gLldpInfo.portTable)); p != nullptr;
       p = nextPort(p)) {
    if (unit != 0 && p->unit != unit) continue;
    if (p->adminStatus != LLDP_ADMIN_DISABLED) p->somethingChangedLocal = 1;
    if (unit != 0) break;
  }
  return 0;
}
