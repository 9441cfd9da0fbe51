// Remote-table queries (operations 19-21, 79-98): walks over the remote
// records in the remote table's key order, plain or filtered by the TLVs a
// neighbour sent, and one record's decoded fields (lldpRemSysGetApi).
//
// Every operation holds the agent lock from the lookup to the copy, so a
// record cannot age out or be replaced while it is read. A GetNext goes on
// from the first record whose index is strictly greater than the key's, so
// a walk survives the deletion of the record it stands on.
#include "mgmt/lldp_mgmt_remote.h"

#include "base/lldp_info.h"
#include "mgmt/lldp_mgmt.h"
#include "mgmt/lldp_mgmt_util.h"

// ---- Index and record walks --------------------------------------------------------

LldpRemIndex lldpRemIndexOf(const Msap* m) {
  return LldpRemIndex{m->timeMark[0], m->timeMark[1], m->unit, m->remIndex};
}

LldpRemIndex lldpRemIndexGet(uintptr_t key) {
  return LldpRemIndex{lldpMgmtKeyGet32(key, 0), lldpMgmtKeyGet32(key, 4), lldpMgmtKeyGet32(key, 8),
                      lldpMgmtKeyGet32(key, 12)};
}

void lldpRemIndexPut(uintptr_t key, const Msap* m) {
  lldpMgmtKeyPut32(key, 0, m->timeMark[0]);
  lldpMgmtKeyPut32(key, 4, m->timeMark[1]);
  lldpMgmtKeyPut32(key, 8, m->unit);
  lldpMgmtKeyPut32(key, 12, m->remIndex);
}

bool lldpRemIndexIs(const Msap* m, const LldpRemIndex& idx) {
  return m->timeMark[0] == idx.timeHigh && m->timeMark[1] == idx.timeLow && m->unit == idx.unit &&
         m->remIndex == idx.remIndex;
}

Msap* lldpRemFind(const LldpRemIndex& idx) {
  return lldpMsapEntyrGet(idx.timeHigh, idx.timeLow, idx.unit, idx.remIndex);
}

Msap* lldpRemAfter(const LldpRemIndex& idx, bool orEqual) {
  Msap key{};
  key.timeMark[0] = idx.timeHigh;
  key.timeMark[1] = idx.timeLow;
  key.unit = idx.unit;
  key.remIndex = idx.remIndex;
  return static_cast<Msap*>(orEqual ? avl_greater_equal(&gLldpInfo.msapTable, &key)
                                    : avl_greater(&gLldpInfo.msapTable, &key));
}

Msap* lldpRemFirst() { return static_cast<Msap*>(avl_first(&gLldpInfo.msapTable)); }

Msap* lldpRemNext(const Msap* m) { return static_cast<Msap*>(avl_next(&gLldpInfo.msapTable, m)); }

bool lldpRemFilterMatch(const Msap* m, uint32_t filter) {
  const LldpMgmtFilterMaps maps{m->dot1CapEnabled, 2, m->dot3CapEnabled, 2, m->medCapEnabled, 2};
  return lldpMgmtFilterMatch(filter, maps);
}

namespace {

uint32_t remWalkFrom(Msap* m, uint32_t filter, uintptr_t key) {
  for (; m != nullptr; m = lldpRemNext(m)) {
    if (!lldpRemFilterMatch(m, filter)) continue;
    lldpRemIndexPut(key, m);
    lldpMgmtKeyPut32(key, LLDP_REM_KEY_FILTER, filter);
    return LLDP_MGMT_OK;
  }
  return LLDP_MGMT_NO_ENTRY;
}

}  // namespace

uint32_t lldpRemGetFirst(uint32_t filter, uintptr_t key) { return remWalkFrom(lldpRemFirst(), filter, key); }

uint32_t lldpRemGetNext(uint32_t filter, uintptr_t key) {
  return remWalkFrom(lldpRemAfter(lldpRemIndexGet(key), false), filter, key);
}

namespace {

// One walk operation with a fixed filter, under the lock.
uint32_t fixedWalk(uintptr_t key, uint32_t oui, uint32_t bit, bool first) {
  if (key == 0) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  const uint32_t filter = oui == 0 ? 0 : lldpMgmtFilter(oui, bit);
  return first ? lldpRemGetFirst(filter, key) : lldpRemGetNext(filter, key);
}

// ---- lldpRemSysGetApi ------------------------------------------------------------------

constexpr uint32_t kSysObjLimit = 76;  // ids from here on answer 0x3E80010

uint32_t putInt(ZorValue* v, uint32_t x) { return lldpMgmtPutInt(v, x); }
// A string or octet field: 22 when the caller's buffer is shorter than it.
uint32_t putBytes(ZorValue* v, const void* p, uint32_t n) {
  return lldpMgmtPutOctets(v, p, p == nullptr ? 0 : n, LLDP_MGMT_EINVAL);
}
uint32_t putString(ZorValue* v, const LldpRemString& s) { return putBytes(v, s.data, s.len); }

uint32_t sysObject(const Msap* m, uint32_t objId, ZorValue* v) {
  switch (objId) {
    case 1: return putInt(v, m->rxVlan);
    case 2: return putInt(v, m->chassIdSubtype);
    case 3: return putBytes(v, m->chassId, m->chassIdLen);
    case 4: return putInt(v, m->portIdSubtype);
    case 5: return putBytes(v, m->portId, m->portIdLen);
    case 6: return putBytes(v, m->portDescr, m->portDescrLen);
    case 7: return putBytes(v, m->sysName, m->sysNameLen);
    case 8: return putBytes(v, m->sysDescr, m->sysDescrLen);
    case 9: return putBytes(v, m->sysCap, 2);
    case 10: return putBytes(v, m->sysCapEnabled, 2);
    case 16: return putInt(v, m->rxInfoTTL);
    case 17: return putBytes(v, m->dot1CapEnabled, 2);
    case 18: return putInt(v, m->dot1Pvid);
    case 23: return putBytes(v, m->dot3CapEnabled, 2);
    case 24: return putInt(v, m->dot3AutoNegSupported);
    case 25: return putInt(v, m->dot3AutoNegEnabled);
    case 26: return putBytes(v, m->dot3AutoNegAdvertisedCap, 2);
    case 27: return putInt(v, m->dot3MauType);
    case 28: return putInt(v, m->dot3PowerPortClass);
    case 29: return putInt(v, m->dot3PowerMDISupported);
    case 30: return putInt(v, m->dot3PowerMDIEnabled);
    case 31: return putInt(v, m->dot3PowerPairControl);
    case 32: return putInt(v, m->dot3PowerPairs);
    case 33: return putInt(v, m->dot3PowerClass);
    case 34: return putInt(v, m->dot3PowerExtended == 1 ? 1 : 2);
    case 35: return putInt(v, m->dot3PowerType);
    case 36: return putInt(v, m->dot3PowerSource);
    // The extended 802.3 power TLV and the LLDP-MED one share the priority.
    case 37: return putInt(v, m->medPowerPriority);
    case 38: return putInt(v, m->dot3PowerRequested);
    case 39: return putInt(v, m->dot3PowerAllocated);
    case 40: return putBytes(v, &m->dot3AggStatus, 1);
    case 41: return putInt(v, m->dot3AggPortId);
    case 42: return putInt(v, m->dot3Mfs);
    case 43: return putBytes(v, m->medCapSupported, 2);
    case 44: return putBytes(v, m->medCapEnabled, 2);
    case 45: return putInt(v, m->medDevType);
    case 51: case 52: case 53: case 54: case 55: case 56: case 57:
      return putString(v, m->medInventory[objId - 51]);
    case 59: return putInt(v, m->medPowerType);
    // 60 to 62 and 63 to 65 are two names each of the same three values.
    case 60: case 63: return putInt(v, m->medPowerVal);
    case 61: case 64: return putInt(v, m->medPowerSource);
    case 62: case 65: return putInt(v, m->medPowerPriority);
    case 66: return putBytes(v, m->priCapSupported, 2);
    case 67: return putBytes(v, m->priCapEnabled, 2);
    case 68: return putString(v, lldpRemPriSysOid(m));
    case 69: case 70: case 71: case 72: case 73: case 74: case 75:
      return putString(v, lldpRemPriInventory(m, static_cast<int>(objId - 69)));
    default: return LLDP_MGMT_BAD_OBJECT;
  }
}

}  // namespace

// ---- Operations --------------------------------------------------------------------------

uint32_t lldpRemSysGetFirst(uintptr_t key, uint32_t, ZorValue*) { return fixedWalk(key, 0, 0, true); }
uint32_t lldpRemSysGetNext(uintptr_t key, uint32_t, ZorValue*) { return fixedWalk(key, 0, 0, false); }

uint32_t lldpRemSysGetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  if (key == 0 || value == nullptr) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  const Msap* m = lldpRemFind(lldpRemIndexGet(key));
  if (m == nullptr) return LLDP_MGMT_NO_ENTRY;
  if (objId >= kSysObjLimit) return LLDP_MGMT_BAD_OBJECT;
  return sysObject(m, objId, value);
}

uint32_t lldpDot1RemPvidGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT1, 0, true);
}
uint32_t lldpDot1RemPvidGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT1, 0, false);
}
uint32_t lldpDot3RemPortGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 0, true);
}
uint32_t lldpDot3RemPortGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 0, false);
}
uint32_t lldpDot3RemPowerGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 1, true);
}
uint32_t lldpDot3RemPowerGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 1, false);
}
uint32_t lldpDot3RemLinkAggGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 2, true);
}
uint32_t lldpDot3RemLinkAggGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 2, false);
}
uint32_t lldpDot3RemMaxFrameGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 3, true);
}
uint32_t lldpDot3RemMaxFrameGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_DOT3, 3, false);
}
uint32_t lldpMedRemCapGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_MED, 0, true);
}
uint32_t lldpMedRemCapGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_MED, 0, false);
}
uint32_t lldpMedRemPoePseGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_MED, 3, true);
}
uint32_t lldpMedRemPoePseGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_MED, 3, false);
}
uint32_t lldpMedRemPoePdGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_MED, 4, true);
}
uint32_t lldpMedRemPoePdGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_MED, 4, false);
}
uint32_t lldpMedRemInventoryGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_MED, 5, true);
}
uint32_t lldpMedRemInventoryGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return fixedWalk(key, LLDP_OUI_MED, 5, false);
}

// The PSE walk; only where it finds nothing, the PD walk (from the same key,
// so a GetNext past the last PSE record goes on with the PD records after it).
uint32_t lldpMedRemPoeGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  if (key == 0) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  const uint32_t rc = lldpRemGetFirst(lldpMgmtFilter(LLDP_OUI_MED, 3), key);
  return rc == LLDP_MGMT_OK ? rc : lldpRemGetFirst(lldpMgmtFilter(LLDP_OUI_MED, 4), key);
}
uint32_t lldpMedRemPoeGetNext(uintptr_t key, uint32_t, ZorValue*) {
  if (key == 0) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  const uint32_t rc = lldpRemGetNext(lldpMgmtFilter(LLDP_OUI_MED, 3), key);
  return rc == LLDP_MGMT_OK ? rc : lldpRemGetNext(lldpMgmtFilter(LLDP_OUI_MED, 4), key);
}
