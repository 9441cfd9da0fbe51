// Local management-address tables (operations 9-18): the agent-wide list
// gLldpInfo.manAddrList and each port's localMgmtAddrList. The transmit path
// advertises a port's first own address, else the first agent-wide one when
// that one is not bound to ports (port/lldp_mgmtaddr.cpp).
//
// Both lists are sorted by subtype, then by the address bytes compared over
// the shorter of the two lengths; a new row goes after the rows that compare
// equal to it. The per-port walk orders rows by subtype, length, then bytes
// instead; the two orders differ and both are kept as clients know them.
// gLldpInfo.mgmtAddrNum counts the rows of all lists together against
// maxMgmtAddrNum.
//
// Every operation takes the agent lock; the row helpers below expect it held.
#include <cstring>

#include "base/lldp_info.h"
#include "local/lldp_oid.h"
#include "mgmt/lldp_mgmt.h"
#include "mgmt/lldp_mgmt_util.h"
#include "platform/sil.h"
#include "port/lldp_mgmt_addr.h"
#include "port/lldp_port.h"

// REQUIRES: nothing held; take lldpLock.
uint32_t _lldpManAddrSetApi(uintptr_t key, uint32_t objId, ZorValue* value, uint32_t syncMode);
uint32_t _lldpPortManAddrSetApi(uintptr_t key, uint32_t objId, ZorValue* value,
                                uint32_t syncMode);

namespace {

constexpr uint32_t kAgentKeyLen = sizeof(LldpManAddrKey);
constexpr uint32_t kPortKeyLen = sizeof(LldpPortManAddrKey);
constexpr uint32_t kPortMapLen = 512;
constexpr uint32_t kCtlArg = 40;
// Row status values of the per-port table.
constexpr uint32_t kRowStatusObj = 15;
constexpr uint32_t kRowCreate = 2;
constexpr uint32_t kRowDestroy = 4;

LldpManAddrKey keyOf(uintptr_t key) {
  LldpManAddrKey k;
  std::memcpy(&k, lldpMgmtKey(key), sizeof k);
  return k;
}
uint32_t unitOf(uintptr_t key) { return lldpMgmtKeyGet32(key, kAgentKeyLen); }
bool keyValid(const LldpManAddrKey& k) { return k.len <= LLDP_MGMT_ADDR_MAX; }
// Bytes of a key that can be compared; an over-long length stops at the array.
uint32_t keyBytes(const LldpManAddrKey& k) {
  return k.len <= LLDP_MGMT_ADDR_MAX ? k.len : LLDP_MGMT_ADDR_MAX;
}

void writeKey(uintptr_t key, const lldpMgmtAddr* row) {
  LldpManAddrKey k{};
  k.subtype = row->mgmtAddrSubtype;
  std::memcpy(k.addr, row->mgmtAddr, sizeof k.addr);
  k.len = row->mgmtAddrLen;
  std::memcpy(lldpMgmtKey(key), &k, sizeof k);
}
void writePortKey(uintptr_t key, const lldpMgmtAddr* row, uint32_t unit) {
  writeKey(key, row);
  lldpMgmtKeyPut32(key, kAgentKeyLen, unit);
}

bool sameRow(const lldpMgmtAddr* row, const LldpManAddrKey& k) {
  return row->mgmtAddrSubtype == k.subtype && row->mgmtAddrLen == k.len &&
         std::memcmp(row->mgmtAddr, k.addr, keyBytes(k)) == 0;
}

// The insertion order: subtype, then the bytes over the shorter length.
bool sortsAfter(const lldpMgmtAddr* row, const lldpMgmtAddr* fresh) {
  if (row->mgmtAddrSubtype != fresh->mgmtAddrSubtype)
    return row->mgmtAddrSubtype > fresh->mgmtAddrSubtype;
  const uint32_t n = row->mgmtAddrLen < fresh->mgmtAddrLen ? row->mgmtAddrLen : fresh->mgmtAddrLen;
  return std::memcmp(row->mgmtAddr, fresh->mgmtAddr, n) > 0;
}

void insertSorted(lldpMgmtAddr** head, lldpMgmtAddr* fresh) {
  lldpMgmtAddr** at = head;
  while (*at != nullptr && !sortsAfter(*at, fresh)) at = &(*at)->next;
  fresh->next = *at;
  *at = fresh;
}

void freeRow(lldpMgmtAddr* row) {
  silFree(row->mgmtAddrOid);
  silFree(row->mgmtAddrPort);
  silFree(row);
}

// A new row for the key, with its object identifier and interface
// numbering, or null when the limit is passed or memory lacks. The limit is
// passed only when the count is already above it, so the tables together
// hold up to maxMgmtAddrNum + 1 rows.
lldpMgmtAddr* newRow(const LldpManAddrKey& k) {
  if (gLldpInfo.maxMgmtAddrNum < gLldpInfo.mgmtAddrNum) return nullptr;
  auto* row = static_cast<lldpMgmtAddr*>(silCalloc(1, sizeof(lldpMgmtAddr)));
  if (row == nullptr) return nullptr;
  row->mgmtAddrSubtype = k.subtype;
  row->mgmtAddrLen = k.len;
  std::memcpy(row->mgmtAddr, k.addr, keyBytes(k));
  uint32_t arcs[LLDP_OID_MAX_ARCS] = {};
  uint32_t oidLen = 0;
  if (lldpMgmtAddrGetOid(k.subtype, 0, nullptr, arcs, &oidLen) == 0 && oidLen >= 1) {
    row->mgmtAddrOid = static_cast<uint8_t*>(silMalloc(oidLen));
    if (row->mgmtAddrOid == nullptr) {
      silFree(row);
      return nullptr;
    }
    std::memcpy(row->mgmtAddrOid, arcs, oidLen);
    row->mgmtAddrOidLen = static_cast<uint8_t>(oidLen);
  }
  uint8_t ifSubtype = 0;
  uint32_t ifId = 0;
  if (lldpMgmtAddrGetIf(row, &ifSubtype, &ifId) == 0) {
    row->mgmtAddrIfSubtype = ifSubtype;
    row->mgmtAddrIfId = ifId;
  }
  return row;
}

// ---- Agent-wide rows ------------------------------------------------------------

lldpMgmtAddr* lldpManAddrGetEntry(const LldpManAddrKey& k) {
  for (lldpMgmtAddr* row = gLldpInfo.manAddrList; row != nullptr; row = row->next)
    if (sameRow(row, k)) return row;
  return nullptr;
}

lldpMgmtAddr* lldpManAddrAddEntry(const LldpManAddrKey& k) {
  lldpMgmtAddr* row = newRow(k);
  if (row == nullptr) return nullptr;
  insertSorted(&gLldpInfo.manAddrList, row);
  ++gLldpInfo.mgmtAddrNum;
  return row;
}

int lldpManAddrDelEntry(const LldpManAddrKey& k) {
  for (lldpMgmtAddr** at = &gLldpInfo.manAddrList; *at != nullptr; at = &(*at)->next) {
    if (!sameRow(*at, k)) continue;
    lldpMgmtAddr* row = *at;
    *at = row->next;
    freeRow(row);
    --gLldpInfo.mgmtAddrNum;
    break;
  }
  return 0;
}

// ---- Per-port rows ---------------------------------------------------------------

lldpMgmtAddr* lldpPortManAddrGetEntry(const LldpManAddrKey& k, uint32_t unit) {
  const LldpPort* port = lldpPortEntryGet(unit);
  if (port == nullptr) return nullptr;
  for (lldpMgmtAddr* row = port->localMgmtAddrList; row != nullptr; row = row->next)
    if (sameRow(row, k)) return row;
  return nullptr;
}

// Adding an address that the port already has (same subtype, same bytes over
// the longer length) inserts nothing but still counts against the limit.
uint32_t lldpPortManAddrAddEntry(const LldpManAddrKey& k, LldpPort* port) {
  lldpMgmtAddr* fresh = newRow(k);
  if (fresh == nullptr) return LLDP_MGMT_ENOMEM;
  bool duplicate = false;
  for (const lldpMgmtAddr* row = port->localMgmtAddrList; row != nullptr && !duplicate;
       row = row->next) {
    const uint32_t n = row->mgmtAddrLen > fresh->mgmtAddrLen ? row->mgmtAddrLen : fresh->mgmtAddrLen;
    duplicate = row->mgmtAddrSubtype == fresh->mgmtAddrSubtype &&
                std::memcmp(row->mgmtAddr, fresh->mgmtAddr,
                            n < LLDP_MGMT_ADDR_MAX ? n : LLDP_MGMT_ADDR_MAX) == 0;
  }
  if (duplicate)
    freeRow(fresh);
  else
    insertSorted(&port->localMgmtAddrList, fresh);
  ++gLldpInfo.mgmtAddrNum;
  return LLDP_MGMT_OK;
}

// Matches on length and bytes only: the first row with the key's bytes goes,
// whatever its subtype.
uint32_t lldpPortManAddrDelEntry(const LldpManAddrKey& k, LldpPort* port) {
  for (lldpMgmtAddr** at = &port->localMgmtAddrList; *at != nullptr; at = &(*at)->next) {
    lldpMgmtAddr* row = *at;
    if (row->mgmtAddrLen != k.len || std::memcmp(row->mgmtAddr, k.addr, keyBytes(k)) != 0) continue;
    *at = row->next;
    freeRow(row);
    --gLldpInfo.mgmtAddrNum;
    return LLDP_MGMT_OK;
  }
  return LLDP_MGMT_NO_ENTRY;
}

// The per-port walk's order: a row comes after the key when its subtype is
// greater, or at equal subtype when its length is not below the key's and it
// differs in length or its bytes are greater over the key's length.
bool rowAfterKey(const lldpMgmtAddr* row, const LldpManAddrKey& k) {
  if (row->mgmtAddrSubtype != k.subtype) return row->mgmtAddrSubtype > k.subtype;
  if (row->mgmtAddrLen < k.len) return false;
  return row->mgmtAddrLen != k.len || std::memcmp(row->mgmtAddr, k.addr, keyBytes(k)) > 0;
}

// ---- Objects -----------------------------------------------------------------------

uint32_t putOid(ZorValue* v, const lldpMgmtAddr* row) {
  return lldpMgmtPutOctets(v, row->mgmtAddrOid, row->mgmtAddrOidLen);
}

uint32_t getAgentObject(const lldpMgmtAddr* row, uint32_t objId, ZorValue* v) {
  switch (objId) {
    case 0: {
      // Every port: the platform decides what the map means. 512 bytes
      // whatever the caller's capacity, as many as the buffer holds.
      uint8_t all[kPortMapLen];
      std::memset(all, 0xFF, sizeof all);
      return lldpMgmtPutCut(v, all, kPortMapLen);
    }
    case 1: return lldpMgmtPutInt(v, row->mgmtAddrLen);
    case 2: return lldpMgmtPutInt(v, row->mgmtAddrIfSubtype);
    case 3: return lldpMgmtPutInt(v, row->mgmtAddrIfId);
    case 4: return putOid(v, row);
    default: return LLDP_MGMT_BAD_OBJECT;
  }
}

uint32_t getPortObject(const lldpMgmtAddr* row, uint32_t objId, ZorValue* v) {
  switch (objId) {
    case kRowStatusObj: return lldpMgmtPutInt(v, 1);
    case 16: return lldpMgmtPutInt(v, row->mgmtAddrLen);
    case 17: return lldpMgmtPutInt(v, row->mgmtAddrIfSubtype);
    case 18: return lldpMgmtPutInt(v, row->mgmtAddrIfId);
    case 19: return putOid(v, row);
    default: return LLDP_MGMT_BAD_OBJECT;
  }
}

LldpPort* firstPortFrom(uint32_t unit) {
  LldpPort key;
  key.unit = unit;
  return static_cast<LldpPort*>(avl_greater_equal(&gLldpInfo.portTable, &key));
}
LldpPort* nextPort(const LldpPort* p) {
  return static_cast<LldpPort*>(avl_next(&gLldpInfo.portTable, p));
}

}  // namespace

// ---- Agent-wide table ------------------------------------------------------------------

uint32_t lldpManAddrGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  if (key == 0) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  if (gLldpInfo.manAddrList == nullptr) return LLDP_MGMT_NO_ENTRY;
  writeKey(key, gLldpInfo.manAddrList);
  return LLDP_MGMT_OK;
}

// Needs the exact key of a row: a key between rows ends the walk.
uint32_t lldpManAddrGetNext(uintptr_t key, uint32_t, ZorValue*) {
  if (key == 0) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  const lldpMgmtAddr* row = lldpManAddrGetEntry(keyOf(key));
  if (row == nullptr || row->next == nullptr) return LLDP_MGMT_NO_ENTRY;
  writeKey(key, row->next);
  return LLDP_MGMT_OK;
}

uint32_t lldpManAddrGetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  if (key == 0 || value == nullptr) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  const lldpMgmtAddr* row = lldpManAddrGetEntry(keyOf(key));
  if (row == nullptr) return LLDP_MGMT_NO_ENTRY;
  return getAgentObject(row, objId, value);
}

uint32_t _lldpManAddrSetApi(uintptr_t key, uint32_t objId, ZorValue* value, uint32_t syncMode) {
  if (key == 0 || value == nullptr) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  if (!lldpMgmtAgentEnabled()) return LLDP_MGMT_DISABLED;
  const LldpManAddrKey k = keyOf(key);
  // Object 0 carries the port map: only its length is looked at.
  if (!keyValid(k) || (objId == 0 && !lldpMgmtIsBuf(value))) return LLDP_MGMT_EINVAL;
  uint32_t rc = lldpMgmtForward(key, kAgentKeyLen, LLDP_CMD_BASE_MANADDR + objId, value,
                                syncMode | LLDP_SYNC_CTL_OCTETS, kCtlArg, value->len);
  if (rc != 0) return rc;
  if (objId != 0) {
    rc = LLDP_MGMT_BAD_OBJECT;
  } else if (value->len != 0) {
    // A creation refused for the limit or for memory is not reported.
    if (lldpManAddrGetEntry(k) == nullptr) (void)lldpManAddrAddEntry(k);
  } else if (lldpManAddrGetEntry(k) != nullptr) {
    lldpManAddrDelEntry(k);
  } else {
    rc = LLDP_MGMT_NO_ENTRY;
  }
  lldpTxCfgSimul(0);
  return rc;
}

uint32_t lldpManAddrSetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return _lldpManAddrSetApi(key, objId, value, LLDP_SYNC_MODE_SET);
}
uint32_t lldpManAddrSyncApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return _lldpManAddrSetApi(key, objId, value, LLDP_SYNC_MODE_SYNC);
}

// ---- Per-port table ----------------------------------------------------------------------

uint32_t lldpPortManAddrGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  if (key == 0) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  for (LldpPort* p = firstPortFrom(0); p != nullptr; p = nextPort(p)) {
    if (p->localMgmtAddrList == nullptr) continue;
    writePortKey(key, p->localMgmtAddrList, p->unit);
    return LLDP_MGMT_OK;
  }
  return LLDP_MGMT_NO_ENTRY;
}

uint32_t lldpPortManAddrGetNext(uintptr_t key, uint32_t, ZorValue*) {
  if (key == 0) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  const LldpManAddrKey k = keyOf(key);
  const uint32_t unit = unitOf(key);
  for (LldpPort* p = firstPortFrom(unit); p != nullptr; p = nextPort(p)) {
    for (const lldpMgmtAddr* row = p->localMgmtAddrList; row != nullptr; row = row->next) {
      if (p->unit == unit && !rowAfterKey(row, k)) continue;
      writePortKey(key, row, p->unit);
      return LLDP_MGMT_OK;
    }
  }
  return LLDP_MGMT_NO_ENTRY;
}

uint32_t lldpPortManAddrGetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  if (key == 0 || value == nullptr) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  const lldpMgmtAddr* row = lldpPortManAddrGetEntry(keyOf(key), unitOf(key));
  if (row == nullptr) return LLDP_MGMT_NO_ENTRY;
  return getPortObject(row, objId, value);
}

// The agent's global admin status is not looked at: a port's own addresses
// can be configured while the agent is disabled.
uint32_t _lldpPortManAddrSetApi(uintptr_t key, uint32_t objId, ZorValue* value,
                                uint32_t syncMode) {
  if (key == 0) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  LldpPort* port = lldpPortEntryGet(unitOf(key));
  if (port == nullptr) return LLDP_MGMT_NO_ENTRY;
  const LldpManAddrKey k = keyOf(key);
  uint32_t rc;
  if (objId != kRowStatusObj) {
    rc = LLDP_MGMT_BAD_OBJECT;
  } else if (!lldpMgmtIsInt(value) || !keyValid(k)) {
    rc = LLDP_MGMT_EINVAL;
  } else {
    rc = lldpMgmtForward(key, kPortKeyLen, LLDP_CMD_BASE_PORT_MANADDR + kRowStatusObj, value,
                         syncMode, kCtlArg, 4);
    if (rc == 0 && value->value == kRowCreate)
      rc = port->adminStatus == LLDP_ADMIN_DISABLED ? LLDP_MGMT_EINVAL
                                                    : lldpPortManAddrAddEntry(k, port);
    else if (rc == 0 && value->value == kRowDestroy)
      rc = lldpPortManAddrDelEntry(k, port);
  }
  port->somethingChangedLocal = 1;
  return rc;
}

uint32_t lldpPortManAddrSetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return _lldpPortManAddrSetApi(key, objId, value, LLDP_SYNC_MODE_SET);
}
uint32_t lldpPortManAddrSyncApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return _lldpPortManAddrSetApi(key, objId, value, LLDP_SYNC_MODE_SYNC);
}
