// The remote systems table: one Msap per neighbour, linked at once in the
// agent-wide tree gLldpInfo.msapTable (key: time mark, local port, remIndex;
// the index order of the management tables) and in its port's msapList
// (most recently inserted or changed first, so the last one is the oldest).
// gLldpInfo.msapIndex finds a port's record by its identifier in constant
// time: a port that hears a thousand neighbours must not compare a frame's
// identifier with each of them. The index holds the same records as the
// ports' lists and is edited beside them.
//
// lldpMibUpdateObject takes the record lldpRxFrame built and decides: new
// neighbour, unchanged refresh, changed neighbour, shutdown, or table full.
// Additions, changes and deletions are mirrored to the stack
// (lldpSyncMsapSend) and notified (lldpMaspNotifier); change notifications
// are rate-limited by trapInterval.
//
// REQUIRES: lldpLock held (protocol task, or a management operation).
#include <cstring>
#include <functional>
#include <string_view>

#include "base/lldp_trace.h"
#include "platform/sil.h"
#include "rx/lldp_msap.h"
#include "rx/lldp_rx.h"
#include "rx/lldp_rx_int.h"
#include "sync/lldp_sync.h"

namespace {

// ---- Record comparison -----------------------------------------------------

bool bytesEq(const uint8_t* a, const uint8_t* b, uint32_t n) {
  if (n == 0) return true;
  if (a == nullptr || b == nullptr) return a == b;
  return std::memcmp(a, b, n) == 0;
}

bool tlvEq(const LldpTlv* a, const LldpTlv* b) {
  return a->type == b->type && a->length == b->length && bytesEq(a->info, b->info, a->length);
}

// Every TLV of `fresh` has an equal one in `stored`.
bool tlvListCovered(const LldpTlvNode* fresh, const LldpTlvNode* stored) {
  if ((fresh == nullptr) != (stored == nullptr)) return false;
  for (const LldpTlvNode* n = fresh; n != nullptr; n = n->next) {
    const LldpTlvNode* o = stored;
    while (o != nullptr && !tlvEq(n->tlv, o->tlv)) o = o->next;
    if (o == nullptr) return false;
  }
  return true;
}

bool mgmtAddrEq(const lldpMgmtAddr* a, const lldpMgmtAddr* b) {
  return a->mgmtAddrSubtype == b->mgmtAddrSubtype && a->mgmtAddrIfSubtype == b->mgmtAddrIfSubtype &&
         a->mgmtAddrOidLen == b->mgmtAddrOidLen && a->mgmtAddrLen == b->mgmtAddrLen &&
         a->mgmtAddrIfId == b->mgmtAddrIfId &&
         bytesEq(a->mgmtAddrOid, b->mgmtAddrOid, a->mgmtAddrOidLen) &&
         std::memcmp(a->mgmtAddr, b->mgmtAddr, a->mgmtAddrLen) == 0;
}

bool mgmtAddrCovered(const lldpMgmtAddr* fresh, const lldpMgmtAddr* stored) {
  if ((fresh == nullptr) != (stored == nullptr)) return false;
  for (const lldpMgmtAddr* n = fresh; n != nullptr; n = n->next) {
    const lldpMgmtAddr* o = stored;
    while (o != nullptr && !mgmtAddrEq(n, o)) o = o->next;
    if (o == nullptr) return false;
  }
  return true;
}

bool stringEq(const LldpRemString& a, const LldpRemString& b) {
  return a.len == b.len && bytesEq(a.data, b.data, a.len);
}

bool dot1Eq(const Msap* a, const Msap* b) {
  if (std::memcmp(a->dot1CapEnabled, b->dot1CapEnabled, 2) != 0 || a->dot1Pvid != b->dot1Pvid ||
      a->dot1PpvidNum != b->dot1PpvidNum || a->dot1VlanNameNum != b->dot1VlanNameNum ||
      a->dot1ProtoidNum != b->dot1ProtoidNum)
    return false;
  const LldpDot1Ppvid *p = a->dot1PpvidList, *q = b->dot1PpvidList;
  for (; p != nullptr && q != nullptr; p = p->next, q = q->next)
    if (p->supported != q->supported || p->enabled != q->enabled || p->ppvid != q->ppvid) return false;
  if (p != q) return false;
  const LldpDot1VlanName *r = a->dot1VlanNameList, *s = b->dot1VlanNameList;
  for (; r != nullptr && s != nullptr; r = r->next, s = s->next)
    if (r->vid != s->vid || r->nameLen != s->nameLen || std::memcmp(r->name, s->name, r->nameLen) != 0)
      return false;
  if (r != s) return false;
  const LldpDot1ProtoId *t = a->dot1ProtoIdList, *u = b->dot1ProtoIdList;
  for (; t != nullptr && u != nullptr; t = t->next, u = u->next)
    if (t->index != u->index || t->len != u->len || std::memcmp(t->protoId, u->protoId, t->len) != 0)
      return false;
  return t == u;
}

bool dot3Eq(const Msap* a, const Msap* b) {
  return std::memcmp(a->dot3CapEnabled, b->dot3CapEnabled, 2) == 0 &&
         a->dot3AutoNegSupported == b->dot3AutoNegSupported &&
         a->dot3AutoNegEnabled == b->dot3AutoNegEnabled &&
         a->dot3PowerExtended == b->dot3PowerExtended &&
         std::memcmp(a->dot3AutoNegAdvertisedCap, b->dot3AutoNegAdvertisedCap, 2) == 0 &&
         a->dot3MauType == b->dot3MauType && a->dot3AggPortId == b->dot3AggPortId &&
         a->dot3PowerPortClass == b->dot3PowerPortClass &&
         a->dot3PowerMDISupported == b->dot3PowerMDISupported &&
         a->dot3PowerMDIEnabled == b->dot3PowerMDIEnabled &&
         a->dot3PowerPairControl == b->dot3PowerPairControl && a->dot3PowerPairs == b->dot3PowerPairs &&
         a->dot3PowerClass == b->dot3PowerClass && a->dot3AggStatus == b->dot3AggStatus &&
         a->dot3Mfs == b->dot3Mfs && a->dot3PowerType == b->dot3PowerType &&
         a->dot3PowerSource == b->dot3PowerSource && a->dot3PowerRequested == b->dot3PowerRequested &&
         a->dot3PowerAllocated == b->dot3PowerAllocated;
}

bool medEq(const Msap* a, const Msap* b) {
  if (std::memcmp(a->medCapSupported, b->medCapSupported, 2) != 0 ||
      std::memcmp(a->medCapEnabled, b->medCapEnabled, 2) != 0 || a->medDevType != b->medDevType ||
      a->medPowerType != b->medPowerType || a->medPowerSource != b->medPowerSource ||
      a->medPowerPriority != b->medPowerPriority || a->medPowerVal != b->medPowerVal)
    return false;
  for (int i = 0; i < 8; ++i) {
    const LldpRemMedPolicy &p = a->medPolicy[i], &q = b->medPolicy[i];
    if (p.appType != q.appType || p.unknown != q.unknown || p.tagged != q.tagged ||
        p.priority != q.priority || p.dscp != q.dscp || p.vid != q.vid)
      return false;
  }
  for (int f = 1; f <= LLDP_MED_LOCATION_FORMATS; ++f) {
    const LldpRemLocation &p = lldpRemMedLocation(a, f), &q = lldpRemMedLocation(b, f);
    if (p.len != q.len || !bytesEq(p.data, q.data, p.len)) return false;
  }
  for (int i = 0; i < LLDP_INV_COUNT; ++i)
    if (!stringEq(a->medInventory[i], b->medInventory[i])) return false;
  return true;
}

bool privEq(const Msap* a, const Msap* b) {
  if (std::memcmp(a->priCapSupported, b->priCapSupported, 2) != 0 ||
      std::memcmp(a->priCapEnabled, b->priCapEnabled, 2) != 0 ||
      !stringEq(lldpRemPriSysOid(a), lldpRemPriSysOid(b)))
    return false;
  for (int i = 0; i < LLDP_INV_COUNT; ++i)
    if (!stringEq(lldpRemPriInventory(a, i), lldpRemPriInventory(b, i))) return false;
  return true;
}

bool textEq(const uint8_t* a, uint8_t alen, const uint8_t* b, uint8_t blen) {
  return alen == blen && bytesEq(a, b, alen);
}

// ---- Helpers -------------------------------------------------------------------

void stampLastChange() {
  const uint32_t up = silGetUpTime();
  // High word: sign extension of the 32-bit up-time.
  gLldpInfo.statsRemTablesLastChangeTime[0] = static_cast<int32_t>(up) < 0 ? 0xFFFFFFFFu : 0u;
  gLldpInfo.statsRemTablesLastChangeTime[1] = up;
}

void decNotBelowZero(uint32_t& v) {
  if (v > 0) --v;
}

void freeStr(LldpRemString& s) {
  silFree(s.data);
  s.data = nullptr;
  s.len = 0;
}

// ---- Identifier index ------------------------------------------------------

uint32_t idHash(uint32_t unit, const uint8_t* id, uint8_t idLen) {
  const size_t h =
      std::hash<std::string_view>{}(std::string_view(reinterpret_cast<const char*>(id), idLen));
  return static_cast<uint32_t>(h ^ (h >> 32)) ^ (unit * 0x9E3779B1u);
}

uint32_t msapHash(const Msap* m) { return idHash(m->unit, m->id, m->idLen); }

Msap** indexBuckets(uint32_t& n) {
  LldpMsapIndex& x = gLldpInfo.msapIndex;
  if (x.grown != nullptr) {
    n = x.size;
    return x.grown;
  }
  n = LLDP_MSAP_INDEX_MIN;
  return x.fixed;
}

// Moves every record to `size` buckets (LLDP_MSAP_INDEX_MIN: the fixed ones).
// Without memory for a bigger table the chains just grow longer.
void indexResize(uint32_t size) {
  LldpMsapIndex& x = gLldpInfo.msapIndex;
  Msap** fresh = x.fixed;
  Msap* moved[LLDP_MSAP_INDEX_MIN];  // the fixed buckets' chains while they are refilled
  uint32_t n = 0;
  Msap** old = indexBuckets(n);
  if (size > LLDP_MSAP_INDEX_MIN) {
    fresh = static_cast<Msap**>(silCalloc(size, sizeof(Msap*)));
    if (fresh == nullptr) return;
  }
  if (old == x.fixed) {
    std::memcpy(moved, x.fixed, sizeof(moved));
    old = moved;
  }
  std::memset(x.fixed, 0, sizeof(x.fixed));
  for (uint32_t i = 0; i < n; ++i) {
    for (Msap* m = old[i]; m != nullptr;) {
      Msap* next = m->idxNext;
      Msap*& head = fresh[msapHash(m) & (size - 1)];
      m->idxNext = head;
      head = m;
      m = next;
    }
  }
  silFree(x.grown);
  x.grown = fresh == x.fixed ? nullptr : fresh;
  x.size = fresh == x.fixed ? 0 : size;
}

}  // namespace

Msap* lldpMsapIndexFind(uint32_t unit, const uint8_t* id, uint8_t idLen) {
  uint32_t n = 0;
  Msap** b = indexBuckets(n);
  for (Msap* m = b[idHash(unit, id, idLen) & (n - 1)]; m != nullptr; m = m->idxNext)
    if (m->unit == unit && m->idLen == idLen && bytesEq(m->id, id, idLen)) return m;
  return nullptr;
}

void lldpMsapIndexAdd(Msap* msap) {
  uint32_t n = 0;
  Msap** b = indexBuckets(n);
  Msap*& head = b[msapHash(msap) & (n - 1)];
  msap->idxNext = head;
  head = msap;
  // At most one record per bucket on average.
  if (++gLldpInfo.msapIndex.count > n && n < (1u << 30)) indexResize(2 * n);
}

void lldpMsapIndexDel(Msap* msap) {
  uint32_t n = 0;
  Msap** b = indexBuckets(n);
  for (Msap** p = &b[msapHash(msap) & (n - 1)]; *p != nullptr; p = &(*p)->idxNext) {
    if (*p != msap) continue;
    *p = msap->idxNext;
    msap->idxNext = nullptr;
    LldpMsapIndex& x = gLldpInfo.msapIndex;
    --x.count;
    // A table that emptied out gives its memory back (to a quarter of its size).
    if (x.grown != nullptr && x.count <= n / 8)
      indexResize(n / 4 > LLDP_MSAP_INDEX_MIN ? n / 4 : LLDP_MSAP_INDEX_MIN);
    return;
  }
}

LldpRemLocation* lldpRemMedLocationSlot(Msap* m, int format) {
  if (m->medLocation == nullptr)
    m->medLocation =
        static_cast<LldpRemLocation*>(silCalloc(LLDP_MED_LOCATION_FORMATS, sizeof(LldpRemLocation)));
  return m->medLocation != nullptr ? &m->medLocation[format - 1] : nullptr;
}

LldpRemString* lldpRemPriStringSlot(Msap* m, int slot) {
  if (m->priStrings == nullptr)
    m->priStrings = static_cast<LldpRemPriStrings*>(silCalloc(1, sizeof(LldpRemPriStrings)));
  if (m->priStrings == nullptr) return nullptr;
  return slot < LLDP_INV_COUNT ? &m->priStrings->inventory[slot] : &m->priStrings->sysOid;
}

int lldpMsapEntyrCmp(const void* a, const void* b) {
  const auto* x = static_cast<const Msap*>(a);
  const auto* y = static_cast<const Msap*>(b);
  for (int i = 0; i < 2; ++i)
    if (x->timeMark[i] != y->timeMark[i]) return x->timeMark[i] < y->timeMark[i] ? -1 : 1;
  if (x->unit != y->unit) return x->unit < y->unit ? -1 : 1;
  const auto xi = static_cast<int32_t>(x->remIndex);
  const auto yi = static_cast<int32_t>(y->remIndex);
  if (xi != yi) return xi < yi ? -1 : 1;
  return 0;
}

Msap* lldpMsapEntyrGet(uint32_t timeHigh, uint32_t timeLow, uint32_t unit, uint32_t remIndex) {
  Msap key{};
  key.timeMark[0] = timeHigh;
  key.timeMark[1] = timeLow;
  key.unit = unit;
  key.remIndex = remIndex;
  return static_cast<Msap*>(avl_find(&gLldpInfo.msapTable, &key));
}

int lldpMsapEntyrAdd(Msap* msap) {
  if (msap == nullptr) return -1;
  return avl_add(&gLldpInfo.msapTable, msap);
}

int lldpMsapEntyrDel(Msap* msap) {
  if (msap == nullptr) return -1;
  avl_remove(&gLldpInfo.msapTable, msap);
  return lldpMsapCleanup(&msap);
}

int lldpMsapCleanup(Msap** pm) {
  if (pm == nullptr || *pm == nullptr) return 0;
  Msap* m = *pm;
  silFree(m->id);
  m->id = nullptr;
  m->idLen = 0;
  m->chassId = m->portId = nullptr;
  m->chassIdLen = m->portIdLen = 0;
  lldpDestroyTlvList(&m->unknownTlvList);
  lldpDestroyTlvList(&m->orgTlvList);
  silFree(m->portDescr);
  silFree(m->sysName);
  silFree(m->sysDescr);
  m->portDescr = m->sysName = m->sysDescr = nullptr;
  m->portDescrLen = m->sysNameLen = m->sysDescrLen = 0;
  for (lldpMgmtAddr* a = m->mgmtAddrList; a != nullptr;) {
    lldpMgmtAddr* next = a->next;
    silFree(a->mgmtAddrOid);
    silFree(a->mgmtAddrPort);
    silFree(a);
    a = next;
  }
  m->mgmtAddrList = nullptr;
  for (LldpDot1Ppvid* e = m->dot1PpvidList; e != nullptr;) {
    LldpDot1Ppvid* next = e->next;
    silFree(e);
    e = next;
  }
  for (LldpDot1VlanName* e = m->dot1VlanNameList; e != nullptr;) {
    LldpDot1VlanName* next = e->next;
    silFree(e);
    e = next;
  }
  for (LldpDot1ProtoId* e = m->dot1ProtoIdList; e != nullptr;) {
    LldpDot1ProtoId* next = e->next;
    silFree(e);
    e = next;
  }
  if (m->medLocation != nullptr)
    for (int i = 0; i < LLDP_MED_LOCATION_FORMATS; ++i) silFree(m->medLocation[i].data);
  silFree(m->medLocation);
  m->medLocation = nullptr;
  for (auto& s : m->medInventory) freeStr(s);
  if (m->priStrings != nullptr) {
    for (auto& s : m->priStrings->inventory) freeStr(s);
    freeStr(m->priStrings->sysOid);
  }
  silFree(m->priStrings);
  m->priStrings = nullptr;
  silFree(m);
  *pm = nullptr;
  return 0;
}

int lldpCmpMsap(const Msap* n, const Msap* o) {
  if (n == nullptr || o == nullptr) return -1;
  if (n->idLen != o->idLen || !bytesEq(n->id, o->id, n->idLen)) return 1;
  if (n->chassIdSubtype != o->chassIdSubtype || n->portIdSubtype != o->portIdSubtype) return 1;
  if (!tlvListCovered(n->unknownTlvList, o->unknownTlvList)) return 1;
  if (!tlvListCovered(n->orgTlvList, o->orgTlvList)) return 1;
  if (!textEq(n->portId, n->portIdLen, o->portId, o->portIdLen) ||
      !textEq(n->portDescr, n->portDescrLen, o->portDescr, o->portDescrLen) ||
      !textEq(n->sysName, n->sysNameLen, o->sysName, o->sysNameLen) ||
      !textEq(n->sysDescr, n->sysDescrLen, o->sysDescr, o->sysDescrLen))
    return 1;
  if (std::memcmp(n->sysCap, o->sysCap, 2) != 0 || std::memcmp(n->sysCapEnabled, o->sysCapEnabled, 2) != 0)
    return 1;
  if (!mgmtAddrCovered(n->mgmtAddrList, o->mgmtAddrList)) return 1;
  if (!dot1Eq(n, o) || !dot3Eq(n, o) || !medEq(n, o) || !privEq(n, o)) return 1;
  return 0;
}

int lldpMibUpdateObject(LldpPort* port, Msap* msap) {
  if (msap == nullptr) return 0;
  // 1. The same MSAP on this port (same identifier length and bytes).
  Msap* old = lldpMsapIndexFind(port->unit, msap->id, msap->idLen);

  if (old == nullptr) {
    if (msap->rxInfoTTL == 0) {
      // Shutdown from a neighbour we do not know.
      lldpMsapCleanup(&msap);
      port->somethingChangedRemote = 1;
      return 0;
    }
    if (gLldpInfo.memCurRems < gLldpInfo.memMaxRems) {
      stampLastChange();
      LLDP_TRACE(LLDP_TRC_RXFRAME, "New MSAP Cache Miss on port%s\r\n", lldpRxIfName(port->unit).s);
      ++port->remSysTotal;
      if (lldpMsapIsMed(msap)) ++port->remMedSysTotal;
      ++gLldpInfo.memCurRems;
      ++gLldpInfo.statsRemTablesInserts;
      if (++gLldpInfo.remIndex == 0) gLldpInfo.remIndex = 1;  // 0 is never an index
      msap->remIndex = gLldpInfo.remIndex;
      msap->timeMark[0] = gLldpInfo.statsRemTablesLastChangeTime[0];
      msap->timeMark[1] = gLldpInfo.statsRemTablesLastChangeTime[1];
      lldpListPushFront(&port->msapList, &msap->link);
      lldpMsapIndexAdd(msap);
      avl_add(&gLldpInfo.msapTable, msap);
      lldpSyncMsapSend(port, msap, LLDP_SYNC_UPDATE);
      lldpMaspNotifier(port, msap, LLDP_NOTIFY_ADD);
      return 0;
    }
    // Table full: the newcomer is dropped, the known neighbours stay.
    if (port->tooManyNeighbors != 1) {
      LLDP_TRACE(LLDP_TRC_RXFRAME, "too many neighbors(%u/%u) on port %s !\r\n", gLldpInfo.memMaxRems,
                 gLldpInfo.memCurRems, lldpRxIfName(port->unit).s);
      port->tooManyNeighbors = 1;
      if (msap->rxInfoTTL > port->tooManyNeighborsTimer) port->tooManyNeighborsTimer = msap->rxInfoTTL;
    }
    ++gLldpInfo.statsRemTablesDrops;
    lldpMsapCleanup(&msap);
    LLDP_TRACE(LLDP_TRC_RXFRAME, "too many neighbors, discard new MSAP Cache on port %s \r\n",
               lldpRxIfName(port->unit).s);
    return 0;
  }

  LLDP_TRACE(LLDP_TRC_RXFRAME, "MSAP Length: %#x\r\n", msap->idLen);
  LLDP_TRACE(LLDP_TRC_RXFRAME, "Same MSAP\tCache Hit on port %s\r\n", lldpRxIfName(port->unit).s);
  if (lldpCmpMsap(msap, old) == 0) {
    old->rxInfoTTL = msap->rxInfoTTL;
    port->somethingChangedRemote = 0;
    port->rxChanges = 0;
    lldpSyncMsapSend(port, msap, LLDP_SYNC_UPDATE);
    lldpMsapCleanup(&msap);
    return 0;
  }

  LLDP_TRACE(LLDP_TRC_RXFRAME, "MSAP Cache has changed on port %s\r\n", lldpRxIfName(port->unit).s);
  stampLastChange();
  port->somethingChangedRemote = 1;
  port->rxChanges = 1;
  if (msap->rxInfoTTL == 0) {
    lldpMsapCleanup(&msap);
    lldpMibDeleteObject(port, old);
    LLDP_TRACE(LLDP_TRC_RXFRAME, "MSAP rxTTL is zero and shall be delete on unit %s \r\n",
               lldpRxIfName(port->unit).s);
    return 0;
  }
  // The changed record takes the old one's place in the management tables.
  msap->remIndex = old->remIndex;
  msap->timeMark[0] = old->timeMark[0];
  msap->timeMark[1] = old->timeMark[1];
  const bool wasMed = lldpMsapIsMed(old);
  const bool isMed = lldpMsapIsMed(msap);
  if (isMed && !wasMed) ++port->remMedSysTotal;
  if (!isMed && wasMed) decNotBelowZero(port->remMedSysTotal);
  lldpListUnlink(&old->link);
  lldpMsapIndexDel(old);
  lldpListPushFront(&port->msapList, &msap->link);
  lldpMsapIndexAdd(msap);
  avl_remove(&gLldpInfo.msapTable, old);
  avl_add(&gLldpInfo.msapTable, msap);
  lldpMsapCleanup(&old);
  LLDP_TRACE(LLDP_TRC_RXFRAME, "MSAP change %s \r\n", lldpRxIfName(port->unit).s);
  const uint32_t now = silGetUpTime();
  if (static_cast<uint32_t>(now - gLldpInfo.lastTrapTime) >= gLldpInfo.trapInterval) {
    lldpMaspNotifier(port, msap, LLDP_NOTIFY_CHANGE);
    gLldpInfo.lastTrapTime = now;
  }
  lldpSyncMsapSend(port, msap, LLDP_SYNC_UPDATE);
  return 0;
}

int lldpMibDeleteObject(LldpPort* port, Msap* msap) {
  if (msap == nullptr) return 0;
  LLDP_TRACE(LLDP_TRC_RXSM, "MSAP Cache delete on port %s\r\n", lldpRxIfName(port->unit).s);
  decNotBelowZero(port->remSysTotal);
  if (lldpMsapIsMed(msap)) decNotBelowZero(port->remMedSysTotal);
  decNotBelowZero(gLldpInfo.memCurRems);
  ++gLldpInfo.statsRemTablesDeletes;
  // Every deletion counts as an age-out of the port, whatever its cause.
  ++port->statsAgeoutsTotal;
  LLDP_TRACE(LLDP_TRC_SYNC, "MSAP del sync on  port %s\r\n", lldpRxIfName(port->unit).s);
  lldpSyncMsapSend(port, msap, LLDP_SYNC_DELETE);
  lldpMaspNotifier(port, msap, LLDP_NOTIFY_DELETE);
  avl_remove(&gLldpInfo.msapTable, msap);
  lldpListUnlink(&msap->link);
  lldpMsapIndexDel(msap);
  lldpMsapCleanup(&msap);
  return 0;
}

int lldpMibDeleteOldestObject(LldpPort* port) {
  if (port == nullptr || lldpListEmpty(&port->msapList)) return 0;
  return lldpMibDeleteObject(port, lldpMsapFromLink(port->msapList.prev));
}

int lldpPortMsapCleanup(LldpPort* port) {
  if (port == nullptr) return -1;
  while (!lldpListEmpty(&port->msapList)) lldpMibDeleteObject(port, lldpMsapFromLink(port->msapList.next));
  return 0;
}
