// Remote list tables (operations 22-30, 42-56): the lists that hang off each
// remote record (management addresses, unknown TLVs, organisationally
// defined TLVs, the 802.1 PPVID, VLAN-name and protocol-identity lists) and
// its LLDP-MED policy and location slots.
//
// Every table is walked in two levels: the records in the remote table's key
// order, and inside a record its entries in the order of the entry's own
// key. A key record is the remote-record index (16 bytes, lldp_mgmt_remote.h)
// followed by the entry key:
//   management addresses  16 subtype (word), 20-51 address, 52 length  (53)
//   the other lists       16 primary word, 20 position                  (24)
//   policies, locations   16 application type / location format         (20)
// The primary word is the TLV type (unknown TLVs), OUI << 8 | subtype
// (organisationally defined TLVs), the PPVID, the VLAN id, or the protocol
// entry's index; the position (1 = first) is the entry's place in the list,
// which tells apart entries with equal primaries: a neighbour may send the
// same VLAN twice. A GetNext answers the smallest entry strictly greater
// than the key's, in its record or else in the first following record that
// has one, so a walk goes on past an entry or record that has just gone.
//
// The lists are read as they are linked, never through their 8-bit counts,
// which wrap on a neighbour that sends more than 255 entries.
#include <cstring>

#include "mgmt/lldp_location.h"
#include "mgmt/lldp_mgmt.h"
#include "mgmt/lldp_mgmt_remote.h"
#include "mgmt/lldp_mgmt_util.h"

namespace {

constexpr uint32_t kEntryAt = LLDP_REM_INDEX_LEN;

uint32_t putBytes(ZorValue* v, const void* p, uint32_t n) {
  return lldpMgmtPutOctets(v, p, p == nullptr ? 0 : n, LLDP_MGMT_EINVAL);
}

// ---- The two-level walk and Get ------------------------------------------------------
//
// A table T gives:
//   T::Key                               its entry key
//   T::read(key) / T::write(key, k)      the entry key in the key record
//   T::next(m, after, &out)              the smallest entry key of m above
//                                        *after (any, when after is null)
//   T::get(m, k, objId, value)           one object of entry k, 0x3E80002
//                                        when m has no such entry

template <class T>
uint32_t listWalk(uintptr_t key, bool first) {
  if (key == 0) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  typename T::Key out{};
  Msap* m = lldpRemFirst();
  if (!first) {
    const LldpRemIndex idx = lldpRemIndexGet(key);
    const typename T::Key after = T::read(key);
    m = lldpRemAfter(idx, true);
    if (m != nullptr && lldpRemIndexIs(m, idx)) {
      if (T::next(m, &after, &out)) {
        lldpRemIndexPut(key, m);
        T::write(key, out);
        return LLDP_MGMT_OK;
      }
      m = lldpRemNext(m);
    }
  }
  for (; m != nullptr; m = lldpRemNext(m)) {
    if (!T::next(m, nullptr, &out)) continue;
    lldpRemIndexPut(key, m);
    T::write(key, out);
    return LLDP_MGMT_OK;
  }
  return LLDP_MGMT_NO_ENTRY;
}

template <class T>
uint32_t listGet(uintptr_t key, uint32_t objId, ZorValue* value) {
  if (key == 0 || value == nullptr) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  const Msap* m = lldpRemFind(lldpRemIndexGet(key));
  if (m == nullptr) return LLDP_MGMT_NO_ENTRY;
  return T::get(m, T::read(key), objId, value);
}

// ---- Lists keyed by a primary word and the position ----------------------------------

struct PosKey {
  uint32_t primary, pos;
};
bool lessThan(const PosKey& a, const PosKey& b) {
  return a.primary < b.primary || (a.primary == b.primary && a.pos < b.pos);
}

// L gives Node, head(m) and primary(node); the entry key is {primary, place}.
template <class L>
struct PosTable {
  using Key = PosKey;
  using Node = typename L::Node;
  static Key read(uintptr_t key) {
    return Key{lldpMgmtKeyGet32(key, kEntryAt), lldpMgmtKeyGet32(key, kEntryAt + 4)};
  }
  static void write(uintptr_t key, const Key& k) {
    lldpMgmtKeyPut32(key, kEntryAt, k.primary);
    lldpMgmtKeyPut32(key, kEntryAt + 4, k.pos);
  }
  // One pass, whatever order the list is in.
  static bool next(const Msap* m, const Key* after, Key* out) {
    bool found = false;
    uint32_t pos = 0;
    for (const Node* e = L::head(m); e != nullptr; e = e->next) {
      const Key k{L::primary(e), ++pos};
      if (after != nullptr && !lessThan(*after, k)) continue;
      if (!found || lessThan(k, *out)) *out = k;
      found = true;
    }
    return found;
  }
  static const Node* find(const Msap* m, const Key& k) {
    uint32_t pos = 0;
    for (const Node* e = L::head(m); e != nullptr; e = e->next)
      if (++pos == k.pos) return L::primary(e) == k.primary ? e : nullptr;
    return nullptr;
  }
  static uint32_t get(const Msap* m, const Key& k, uint32_t objId, ZorValue* v) {
    const Node* e = find(m, k);
    if (e == nullptr) return LLDP_MGMT_NO_ENTRY;
    return L::object(e, objId, v);
  }
};

// Unknown TLVs (types 9 to 126): object 1 the information string.
struct UnknownTlvs {
  using Node = LldpTlvNode;
  static const Node* head(const Msap* m) { return m->unknownTlvList; }
  static uint32_t primary(const Node* e) { return e->tlv != nullptr ? e->tlv->type : 0; }
  static uint32_t object(const Node* e, uint32_t objId, ZorValue* v) {
    if (objId != 1) return LLDP_MGMT_BAD_OBJECT;
    return e->tlv != nullptr ? putBytes(v, e->tlv->info, e->tlv->length) : putBytes(v, nullptr, 0);
  }
};

// Organisationally defined TLVs that no decoder took, kept whole (OUI and
// subtype included): object 1 the information after the OUI and subtype.
struct OrgTlvs {
  using Node = LldpTlvNode;
  static constexpr uint32_t kHead = 4;  // OUI and subtype
  static const Node* head(const Msap* m) { return m->orgTlvList; }
  // A TLV too short to hold an OUI and subtype reads as zeros where it ends.
  static uint32_t primary(const Node* e) {
    uint32_t w = 0;
    for (uint32_t i = 0; i < kHead; ++i) {
      const bool have = e->tlv != nullptr && e->tlv->info != nullptr && i < e->tlv->length;
      w = (w << 8) | (have ? e->tlv->info[i] : 0u);
    }
    return w;
  }
  static uint32_t object(const Node* e, uint32_t objId, ZorValue* v) {
    if (objId != 1) return LLDP_MGMT_BAD_OBJECT;
    if (e->tlv == nullptr || e->tlv->info == nullptr || e->tlv->length <= kHead) return putBytes(v, nullptr, 0);
    return putBytes(v, e->tlv->info + kHead, e->tlv->length - kHead);
  }
};

// Port and protocol VLAN IDs: objects 1 supported, 2 enabled (truth values).
struct Ppvids {
  using Node = LldpDot1Ppvid;
  static const Node* head(const Msap* m) { return m->dot1PpvidList; }
  static uint32_t primary(const Node* e) { return e->ppvid; }
  static uint32_t object(const Node* e, uint32_t objId, ZorValue* v) {
    switch (objId) {
      case 1: return lldpMgmtPutInt(v, e->supported);
      case 2: return lldpMgmtPutInt(v, e->enabled);
      default: return LLDP_MGMT_BAD_OBJECT;
    }
  }
};

// VLAN names: object 1 the name (at most 32 octets).
struct VlanNames {
  using Node = LldpDot1VlanName;
  static const Node* head(const Msap* m) { return m->dot1VlanNameList; }
  static uint32_t primary(const Node* e) { return e->vid; }
  static uint32_t object(const Node* e, uint32_t objId, ZorValue* v) {
    if (objId != 1) return LLDP_MGMT_BAD_OBJECT;
    const uint32_t n = e->nameLen < LLDP_VLAN_NAME_MAX ? e->nameLen : LLDP_VLAN_NAME_MAX;
    return putBytes(v, e->name, n);
  }
};

// Protocol identities, by their index: object 1 the identity octets.
struct Protocols {
  using Node = LldpDot1ProtoId;
  static const Node* head(const Msap* m) { return m->dot1ProtoIdList; }
  static uint32_t primary(const Node* e) { return e->index; }
  static uint32_t object(const Node* e, uint32_t objId, ZorValue* v) {
    if (objId != 1) return LLDP_MGMT_BAD_OBJECT;
    return putBytes(v, e->protoId, e->len);
  }
};

// ---- Management addresses ------------------------------------------------------------
// Ordered by subtype, then address length, then the address octets.

struct ManAddrs {
  struct Key {
    uint32_t subtype;
    uint8_t addr[LLDP_MGMT_ADDR_MAX];
    uint8_t len;
  };
  static constexpr uint32_t kAddrAt = kEntryAt + 4, kLenAt = kAddrAt + LLDP_MGMT_ADDR_MAX;

  static Key read(uintptr_t key) {
    Key k{};
    k.subtype = lldpMgmtKeyGet32(key, kEntryAt);
    std::memcpy(k.addr, lldpMgmtKey(key) + kAddrAt, LLDP_MGMT_ADDR_MAX);
    k.len = lldpMgmtKey(key)[kLenAt];
    return k;
  }
  static void write(uintptr_t key, const Key& k) {
    lldpMgmtKeyPut32(key, kEntryAt, k.subtype);
    std::memcpy(lldpMgmtKey(key) + kAddrAt, k.addr, LLDP_MGMT_ADDR_MAX);
    lldpMgmtKey(key)[kLenAt] = k.len;
  }
  static Key keyOf(const lldpMgmtAddr* a) {
    Key k{};
    k.subtype = a->mgmtAddrSubtype;
    k.len = a->mgmtAddrLen < LLDP_MGMT_ADDR_MAX ? a->mgmtAddrLen : LLDP_MGMT_ADDR_MAX;
    std::memcpy(k.addr, a->mgmtAddr, k.len);
    return k;
  }
  // A key's length may claim more than 32 octets; it then equals no entry
  // and the octets are never compared past the field.
  static int compare(const Key& a, const Key& b) {
    if (a.subtype != b.subtype) return a.subtype < b.subtype ? -1 : 1;
    if (a.len != b.len) return a.len < b.len ? -1 : 1;
    const uint32_t n = a.len < LLDP_MGMT_ADDR_MAX ? a.len : LLDP_MGMT_ADDR_MAX;
    return std::memcmp(a.addr, b.addr, n);
  }
  static bool next(const Msap* m, const Key* after, Key* out) {
    bool found = false;
    for (const lldpMgmtAddr* a = m->mgmtAddrList; a != nullptr; a = a->next) {
      const Key k = keyOf(a);
      if (after != nullptr && compare(k, *after) <= 0) continue;
      if (!found || compare(k, *out) < 0) *out = k;
      found = true;
    }
    return found;
  }
  // Objects: 1 interface numbering subtype, 2 interface number, 3 the
  // object identifier as stored (32-bit arcs, or the received octets when
  // they did not decode).
  static uint32_t get(const Msap* m, const Key& k, uint32_t objId, ZorValue* v) {
    const lldpMgmtAddr* a = m->mgmtAddrList;
    while (a != nullptr && compare(keyOf(a), k) != 0) a = a->next;
    if (a == nullptr) return LLDP_MGMT_NO_ENTRY;
    switch (objId) {
      case 1: return lldpMgmtPutInt(v, a->mgmtAddrIfSubtype);
      case 2: return lldpMgmtPutInt(v, a->mgmtAddrIfId);
      case 3: return putBytes(v, a->mgmtAddrOid, a->mgmtAddrOidLen);
      default: return LLDP_MGMT_BAD_OBJECT;
    }
  }
};

// ---- LLDP-MED policy and location slots ---------------------------------------------

// S gives kCount and has(m, n) for slot numbers 1..kCount.
template <class S>
struct SlotTable {
  using Key = uint32_t;
  static Key read(uintptr_t key) { return lldpMgmtKeyGet32(key, kEntryAt); }
  static void write(uintptr_t key, const Key& k) { lldpMgmtKeyPut32(key, kEntryAt, k); }
  static bool next(const Msap* m, const Key* after, Key* out) {
    for (uint32_t n = after != nullptr ? *after + 1 : 1; n >= 1 && n <= S::kCount; ++n) {
      if (!S::has(m, n)) continue;
      *out = n;
      return true;
    }
    return false;
  }
  static uint32_t get(const Msap* m, const Key& k, uint32_t objId, ZorValue* v) {
    if (k < 1 || k > S::kCount || !S::has(m, k)) return LLDP_MGMT_NO_ENTRY;
    return S::object(m, k, objId, v);
  }
};

// Network policies by application type (1-8): objects 56 VLAN id,
// 57 priority, 58 DSCP, 59 unknown-policy flag (1 set, 0 clear), 60 tagged
// (1 tagged, 2 untagged), as in the local policy table.
struct Policies {
  static constexpr uint32_t kCount = 8;
  static bool has(const Msap* m, uint32_t t) { return m->medPolicy[t - 1].appType != 0; }
  static uint32_t object(const Msap* m, uint32_t t, uint32_t objId, ZorValue* v) {
    const LldpRemMedPolicy& p = m->medPolicy[t - 1];
    switch (objId) {
      case 56: return lldpMgmtPutInt(v, p.vid);
      case 57: return lldpMgmtPutInt(v, p.priority);
      case 58: return lldpMgmtPutInt(v, p.dscp);
      case 59: return lldpMgmtPutInt(v, p.unknown);
      case 60: return lldpMgmtPutInt(v, p.tagged == 1 ? 1 : 2);
      default: return LLDP_MGMT_BAD_OBJECT;
    }
  }
};

// Locations by format (1 coordinate, 2 civic address, 3 ELIN): object 1 the
// location as a client sets it (a coordinate LCI as its text, 22 when it is
// shorter than 16 octets; the others as received), object 2 the octets as
// received.
struct Locations {
  static constexpr uint32_t kCount = 3;
  static bool has(const Msap* m, uint32_t f) { return lldpRemMedLocation(m, static_cast<int>(f)).data != nullptr; }
  static uint32_t object(const Msap* m, uint32_t f, uint32_t objId, ZorValue* v) {
    const LldpRemLocation& loc = lldpRemMedLocation(m, static_cast<int>(f));
    if (objId == 2 || (objId == 1 && f != 1)) return putBytes(v, loc.data, loc.len);
    if (objId != 1) return LLDP_MGMT_BAD_OBJECT;
    if (!lldpMgmtIsBuf(v) || loc.len < LLDP_LCI_LEN) return LLDP_MGMT_EINVAL;
    char text[LLDP_LOC_TEXT_ROOM];
    const uint32_t n = lldpLocationDecode(loc.data, text, sizeof text);
    return putBytes(v, text, n);
  }
};

using UnknownTlvTable = PosTable<UnknownTlvs>;
using OrgTlvTable = PosTable<OrgTlvs>;
using PpvidTable = PosTable<Ppvids>;
using VlanNameTable = PosTable<VlanNames>;
using ProtocolTable = PosTable<Protocols>;
using PolicyTable = SlotTable<Policies>;
using LocationTable = SlotTable<Locations>;

}  // namespace

// ---- Operations ---------------------------------------------------------------------------

uint32_t lldpRemManAddrGetFirst(uintptr_t key, uint32_t, ZorValue*) { return listWalk<ManAddrs>(key, true); }
uint32_t lldpRemManAddrGetNext(uintptr_t key, uint32_t, ZorValue*) { return listWalk<ManAddrs>(key, false); }
uint32_t lldpRemManAddrGetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return listGet<ManAddrs>(key, objId, value);
}

uint32_t lldpRemUnknownTlvGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return listWalk<UnknownTlvTable>(key, true);
}
uint32_t lldpRemUnknownTlvGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return listWalk<UnknownTlvTable>(key, false);
}
uint32_t lldpRemUnknownTlvGetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return listGet<UnknownTlvTable>(key, objId, value);
}

uint32_t lldpRemOrgDefInfoGetFirst(uintptr_t key, uint32_t, ZorValue*) { return listWalk<OrgTlvTable>(key, true); }
uint32_t lldpRemOrgDefInfoGetNext(uintptr_t key, uint32_t, ZorValue*) { return listWalk<OrgTlvTable>(key, false); }
uint32_t lldpRemOrgDefInfoGetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return listGet<OrgTlvTable>(key, objId, value);
}

uint32_t lldpDot1RemPpvidGetFirst(uintptr_t key, uint32_t, ZorValue*) { return listWalk<PpvidTable>(key, true); }
uint32_t lldpDot1RemPpvidGetNext(uintptr_t key, uint32_t, ZorValue*) { return listWalk<PpvidTable>(key, false); }
uint32_t lldpDot1RemPpvidGetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return listGet<PpvidTable>(key, objId, value);
}

uint32_t lldpDot1RemVlanNameGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return listWalk<VlanNameTable>(key, true);
}
uint32_t lldpDot1RemVlanNameGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return listWalk<VlanNameTable>(key, false);
}
uint32_t lldpDot1RemVlanNameGetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return listGet<VlanNameTable>(key, objId, value);
}

uint32_t lldpDot1RemProtoGetFirst(uintptr_t key, uint32_t, ZorValue*) { return listWalk<ProtocolTable>(key, true); }
uint32_t lldpDot1RemProtoGetNext(uintptr_t key, uint32_t, ZorValue*) { return listWalk<ProtocolTable>(key, false); }
uint32_t lldpDot1RemProtoGetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return listGet<ProtocolTable>(key, objId, value);
}

uint32_t lldpMedRemMediaPolicyGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return listWalk<PolicyTable>(key, true);
}
uint32_t lldpMedRemMediaPolicyGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return listWalk<PolicyTable>(key, false);
}
uint32_t lldpMedRemMediaPolicyGetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return listGet<PolicyTable>(key, objId, value);
}

uint32_t lldpMedRemLocationGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return listWalk<LocationTable>(key, true);
}
uint32_t lldpMedRemLocationGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return listWalk<LocationTable>(key, false);
}
uint32_t lldpMedRemLocationGetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return listGet<LocationTable>(key, objId, value);
}
