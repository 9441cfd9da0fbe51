// Local 802.1 and LLDP-MED policy tables (operations 31-41, 57-61): which
// VLAN names and which port-and-protocol VLAN IDs a port advertises (its bit
// maps vlanNameTxEnable and ppvidTxEnable, bit n for VLAN n + 1), the
// protocol identities running on it, and its LLDP-MED network policies (one
// record per application type). The 802.1 and policy TLV writers read them.
//
// Every operation holds the agent lock for its whole run. A Set forwards the
// change to the other units of the stack before applying it, and marks the
// port changed whatever the outcome, so that it sends a fresh LLDPDU.
#include "base/lldp_info.h"
#include "local/lldp_local.h"
#include "mgmt/lldp_mgmt.h"
#include "mgmt/lldp_mgmt_portrow.h"
#include "mgmt/lldp_mgmt_util.h"

// REQUIRES: nothing held; each takes lldpLock.
uint32_t _lldpDot1VlanNameSetApi(uintptr_t key, uint32_t objId, ZorValue* value, uint32_t syncMode);
uint32_t _lldpDot1ProtoVlanSetApi(uintptr_t key, uint32_t objId, ZorValue* value, uint32_t syncMode);
uint32_t _lldpMedMediaPolicySetApi(uintptr_t key, uint32_t objId, ZorValue* value, uint32_t syncMode);

// ---- The {port, id} walk ----------------------------------------------------------

uint32_t lldpPortRowWalk(uintptr_t key, bool first, uint32_t maxId, LldpPortRowCounts counts,
                         LldpPortRowHas has) {
  if (key == 0) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  const uint32_t unit = first ? 0 : lldpPortRowUnit(key);
  const uint32_t after = first ? 0 : lldpPortRowId(key);
  LldpPort probe{};
  probe.unit = unit;
  auto* p = static_cast<LldpPort*>(first ? avl_first(&gLldpInfo.portTable)
                                         : avl_greater_equal(&gLldpInfo.portTable, &probe));
  for (; p != nullptr; p = static_cast<LldpPort*>(avl_next(&gLldpInfo.portTable, p))) {
    if (!counts(p)) continue;
    const uint32_t from = (!first && p->unit == unit) ? after + 1 : 1;
    for (uint32_t id = from; id >= 1 && id <= maxId; ++id) {
      if (!has(p, id)) continue;
      lldpMgmtKeyPut32(key, 0, p->unit);
      lldpMgmtKeyPut32(key, 4, id);
      return LLDP_MGMT_OK;
    }
  }
  return LLDP_MGMT_NO_ENTRY;
}

namespace {

constexpr uint32_t kMaxVid = 4095;  // the VLAN ids the walks try
constexpr uint32_t kVlanMapLen = 512;
// A Set takes any VLAN id whose bit (id - 1) lies in the 4096-bit map.
constexpr uint32_t kMapVids = kVlanMapLen * 8;
// 802.1 TLV bits of dot1TlvTxSupported; LLDP-MED bit of the network policy.
constexpr uint32_t kDot1Ppvid = 1;
constexpr uint32_t kDot1VlanName = 2;
constexpr uint32_t kMedPolicyBit = 1;
constexpr uint32_t kMaxAppType = 8;
constexpr uint32_t kAppVoice = 1;
constexpr uint32_t kProtoStateObj = 25;
constexpr uint32_t kProtoMapLen = 32;

bool enabledPort(const LldpPort* p) { return p->adminStatus != LLDP_ADMIN_DISABLED; }

// ---- 802.1 VLAN tables ------------------------------------------------------------------
// The two tables differ only in their bit map, support bit and command base.

using VlanMap = uint8_t (LldpPort::*)[kVlanMapLen];
uint8_t* vlanMap(LldpPort* p, VlanMap m) { return p->*m; }

bool vlanSupported(const LldpPort* p, uint32_t bit) { return lldpMgmtBitTest(&p->dot1TlvTxSupported, 1, bit); }
bool hasVid(const uint8_t* map, uint32_t vid) { return vid >= 1 && lldpMgmtBitTest(map, kVlanMapLen, vid - 1); }

bool vlanNameCounts(const LldpPort* p) { return enabledPort(p) && vlanSupported(p, kDot1VlanName); }
bool vlanNameHas(const LldpPort* p, uint32_t vid) { return hasVid(p->vlanNameTxEnable, vid); }
bool protoVlanCounts(const LldpPort* p) { return enabledPort(p) && vlanSupported(p, kDot1Ppvid); }
bool protoVlanHas(const LldpPort* p, uint32_t vid) { return hasVid(p->ppvidTxEnable, vid); }

// The row's port, or the code that refuses the row: no port 0x3E80002, no
// support or VLAN bit clear 89.
uint32_t vlanRow(uintptr_t key, uint32_t supportBit, VlanMap map,
                 LldpPort** out) {
  LldpPort* p = lldpPortEntryGet(lldpPortRowUnit(key));
  if (p == nullptr) return LLDP_MGMT_NO_ENTRY;
  if (!vlanSupported(p, supportBit) || !hasVid(vlanMap(p, map), lldpPortRowId(key)))
    return LLDP_MGMT_ENOTSUP;
  *out = p;
  return LLDP_MGMT_OK;
}

// Set and Sync of both VLAN tables: only object 0; 1 adds the VLAN to the
// map, any other value takes it out. A VLAN id without a bit in the map (0,
// or above 4096) is refused with 22 before anything is forwarded.
uint32_t vlanSet(uintptr_t key, uint32_t objId, ZorValue* v, uint32_t syncMode, uint32_t supportBit,
                 VlanMap map, uint32_t cmdBase) {
  if (key == 0) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  LldpPort* p = lldpPortEntryGet(lldpPortRowUnit(key));
  if (p == nullptr) return LLDP_MGMT_NO_ENTRY;
  if (!vlanSupported(p, supportBit)) return LLDP_MGMT_ENOTSUP;
  const uint32_t vid = lldpPortRowId(key);
  uint32_t rc = LLDP_MGMT_BAD_OBJECT;
  if (objId == 0) {
    if (!lldpMgmtIsInt(v) || vid < 1 || vid > kMapVids) {
      rc = LLDP_MGMT_EINVAL;
    } else {
      rc = lldpMgmtForward(key, LLDP_PORT_ROW_KEY_LEN, cmdBase + objId, v, syncMode, 8, 4);
      if (rc == 0) {
        if (v->value == 1) lldpBitSet(vlanMap(p, map), vid - 1);
        else lldpBitClear(vlanMap(p, map), vid - 1);
      }
    }
  }
  p->somethingChangedLocal = 1;
  return rc;
}

// ---- LLDP-MED network policies ---------------------------------------------------------

bool policySupported(const LldpPort* p) { return lldpMgmtBitTest(p->medTlvTxSupported, 2, kMedPolicyBit); }
bool policyCounts(const LldpPort* p) { return enabledPort(p) && policySupported(p); }
bool policyHas(const LldpPort* p, uint32_t t) { return lldpMedPortGetPolicySupported(p, t) == 0; }

LldpMedPolicy voicePolicy(uint16_t vid, uint8_t tagged) {
  LldpMedPolicy v{};
  v.appType = kAppVoice;
  v.unknown = 0;
  v.tagged = tagged;
  v.priority = 5;
  v.dscp = 46;
  v.vid = vid;
  return v;
}

uint32_t policyInt(ZorValue* v, const LldpPort* p, uint32_t t,
                   int (*provider)(const LldpPort*, uint32_t, uint32_t*)) {
  if (!lldpMgmtIsInt(v)) return LLDP_MGMT_EINVAL;
  uint32_t x = 0;
  const int rc = provider(p, t, &x);
  if (rc != 0) return static_cast<uint32_t>(rc);
  v->value = x;
  return LLDP_MGMT_OK;
}

// Objects 56-58 store the value, truncated to the field, in the record of
// the type. The record's application type is left as it is: a type other
// than voice that was never set stays without a policy (not walked, not
// advertised) however many of its fields are stored.
void policyStore(LldpMedPolicy& rec, uint32_t objId, uint32_t x) {
  switch (objId) {
    case 56: rec.vid = static_cast<uint16_t>(x); break;
    case 57: rec.priority = static_cast<uint8_t>(x); break;
    case 58: rec.dscp = static_cast<uint8_t>(x); break;
    default: break;
  }
}

}  // namespace

// ---- 802.1 VLAN names (31-35) -----------------------------------------------------------

uint32_t lldpDot1GetVlanNameFirst(uintptr_t key, uint32_t, ZorValue*) {
  return lldpPortRowWalk(key, true, kMaxVid, vlanNameCounts, vlanNameHas);
}
uint32_t lldpDot1GetVlanNameNext(uintptr_t key, uint32_t, ZorValue*) {
  return lldpPortRowWalk(key, false, kMaxVid, vlanNameCounts, vlanNameHas);
}

uint32_t lldpDot1VlanNameGetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  if (key == 0 || value == nullptr) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  LldpPort* p = nullptr;
  const uint32_t rc = vlanRow(key, kDot1VlanName, &LldpPort::vlanNameTxEnable, &p);
  if (rc != 0) return rc;
  switch (objId) {
    case 0: return lldpMgmtPutInt(value, 1);
    case 1: {
      // The name is written into the caller's buffer, cut to it.
      if (!lldpMgmtIsBuf(value)) return LLDP_MGMT_EINVAL;
      uint32_t len = value->len;
      if (lldpDot1PortGetVlanName(p->unit, lldpPortRowId(key), lldpMgmtBuf(value), &len) != 0)
        return LLDP_MGMT_EINVAL;
      value->len = len;
      return LLDP_MGMT_OK;
    }
    default: return LLDP_MGMT_BAD_OBJECT;
  }
}

uint32_t _lldpDot1VlanNameSetApi(uintptr_t key, uint32_t objId, ZorValue* value, uint32_t syncMode) {
  return vlanSet(key, objId, value, syncMode, kDot1VlanName, &LldpPort::vlanNameTxEnable,
                 LLDP_CMD_BASE_VLAN_NAME);
}
uint32_t lldpDot1VlanNameSetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return _lldpDot1VlanNameSetApi(key, objId, value, LLDP_SYNC_MODE_SET);
}
uint32_t lldpDot1VlanNameSyncApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return _lldpDot1VlanNameSetApi(key, objId, value, LLDP_SYNC_MODE_SYNC);
}

// ---- 802.1 port and protocol VLAN IDs (36-40) -------------------------------------------

uint32_t lldpDot1GetProtoVlanFirst(uintptr_t key, uint32_t, ZorValue*) {
  return lldpPortRowWalk(key, true, kMaxVid, protoVlanCounts, protoVlanHas);
}
uint32_t lldpDot1GetProtoVlanNext(uintptr_t key, uint32_t, ZorValue*) {
  return lldpPortRowWalk(key, false, kMaxVid, protoVlanCounts, protoVlanHas);
}

uint32_t lldpDot1ProtoVlanGetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  if (key == 0 || value == nullptr) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  LldpPort* p = nullptr;
  const uint32_t rc = vlanRow(key, kDot1Ppvid, &LldpPort::ppvidTxEnable, &p);
  if (rc != 0) return rc;
  uint32_t x = 0;
  switch (objId) {
    case 0: return lldpMgmtPutInt(value, 1);
    case 1: return lldpMgmtPutInt(value, lldpDot1PortGetProtoVlanSupported(p->unit, &x) == 0 ? x : 2);
    // Whether the platform answers, not what: kept as the agent has always read it.
    case 2: return lldpMgmtPutInt(value, lldpDot1PortGetProtoVlanEnable(p->unit, &x) == 0 ? 1 : 2);
    default: return LLDP_MGMT_BAD_OBJECT;
  }
}

uint32_t _lldpDot1ProtoVlanSetApi(uintptr_t key, uint32_t objId, ZorValue* value, uint32_t syncMode) {
  return vlanSet(key, objId, value, syncMode, kDot1Ppvid, &LldpPort::ppvidTxEnable,
                 LLDP_CMD_BASE_PROTO_VLAN);
}
uint32_t lldpDot1ProtoVlanSetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return _lldpDot1ProtoVlanSetApi(key, objId, value, LLDP_SYNC_MODE_SET);
}
uint32_t lldpDot1ProtoVlanSyncApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return _lldpDot1ProtoVlanSetApi(key, objId, value, LLDP_SYNC_MODE_SYNC);
}

// ---- 802.1 protocol identities (41) ------------------------------------------------------

// Object 25: whether the protocol whose number is in word 0 runs on the port:
// word 1 becomes 1 (it runs) or 2. Other objects answer 0 and write nothing.
uint32_t lldpDot1ProtoGetApi(uintptr_t unit, uint32_t objId, ZorValue* value) {
  if (value == nullptr) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  const LldpPort* p = lldpPortEntryGet(static_cast<uint32_t>(unit));
  if (p == nullptr) return LLDP_MGMT_NO_ENTRY;
  if (objId != kProtoStateObj) return LLDP_MGMT_OK;
  if (!lldpMgmtIsInt(value)) return LLDP_MGMT_EINVAL;
  uint8_t map[kProtoMapLen] = {};
  uint32_t len = sizeof map;
  const int rc = lldpDot1PortGetProtoState(p->unit, map, &len);
  if (rc != 0) return static_cast<uint32_t>(rc);
  value->len = lldpMgmtBitTest(map, len < kProtoMapLen ? len : kProtoMapLen, value->value) ? 1 : 2;
  return LLDP_MGMT_OK;
}

// ---- LLDP-MED network policies (57-61) ---------------------------------------------------

uint32_t lldpMedMediaPolicyGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return lldpPortRowWalk(key, true, kMaxAppType, policyCounts, policyHas);
}
uint32_t lldpMedMediaPolicyGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return lldpPortRowWalk(key, false, kMaxAppType, policyCounts, policyHas);
}

uint32_t lldpMedMediaPolicyGetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  if (key == 0 || value == nullptr) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  const LldpPort* p = lldpPortEntryGet(lldpPortRowUnit(key));
  if (p == nullptr) return LLDP_MGMT_NO_ENTRY;
  if (!policySupported(p)) return LLDP_MGMT_ENOTSUP;
  const uint32_t t = lldpPortRowId(key);
  if (!policyHas(p, t)) return LLDP_MGMT_NO_ENTRY;
  switch (objId) {
    case 56: return policyInt(value, p, t, lldpMedPortGetPolicyVid);
    case 57: return policyInt(value, p, t, lldpMedPortGetPolicyPri);
    case 58: return policyInt(value, p, t, lldpMedPortGetPolicyDscp);
    case 59: return policyInt(value, p, t, lldpMedPortGetPolicyUnknown);
    case 60: {
      const uint32_t rc = policyInt(value, p, t, lldpMedPortGetPolicyTagged);
      if (rc == 0) value->value = value->value == 1 ? 1 : 2;
      return rc;
    }
    default: return LLDP_MGMT_BAD_OBJECT;
  }
}

uint32_t _lldpMedMediaPolicySetApi(uintptr_t key, uint32_t objId, ZorValue* value, uint32_t syncMode) {
  if (key == 0) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  LldpPort* p = lldpPortEntryGet(lldpPortRowUnit(key));
  if (p == nullptr) return LLDP_MGMT_NO_ENTRY;
  if (!policySupported(p)) return LLDP_MGMT_ENOTSUP;
  const uint32_t t = lldpPortRowId(key);
  // The first change of a voice policy starts from the default one, whatever
  // the object and whether or not the change is then refused.
  if (t == kAppVoice && p->medPolicy[0].appType == 0) p->medPolicy[0] = voicePolicy(0, 1);

  uint32_t rc = LLDP_MGMT_BAD_OBJECT;  // 59 (the unknown flag) and the rest
  if (objId == 56 || objId == 57 || objId == 58 || objId == 60) {
    // A type outside 1-8 has no record to store into: no such row, and
    // nothing forwarded.
    if (t < 1 || t > kMaxAppType) rc = LLDP_MGMT_NO_ENTRY;
    else if (!lldpMgmtIsInt(value)) rc = LLDP_MGMT_EINVAL;
    else
      rc = lldpMgmtForward(key, LLDP_PORT_ROW_KEY_LEN, LLDP_CMD_BASE_MED_POLICY + objId, value,
                           syncMode, 8, 4);
    if (rc == 0) {
      LldpMedPolicy& rec = p->medPolicy[t - 1];
      // Tagged applies to the voice policy only: 1 gives back the default
      // (tagged) voice policy, 2 the untagged one on VLAN 4095.
      if (objId != 60) policyStore(rec, objId, value->value);
      else if (t == kAppVoice && value->value == 1) rec = voicePolicy(0, 1);
      else if (t == kAppVoice && value->value == 2) rec = voicePolicy(4095, 0);
    }
  }
  p->somethingChangedLocal = 1;
  return rc;
}
uint32_t lldpMedMediaPolicySetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return _lldpMedMediaPolicySetApi(key, objId, value, LLDP_SYNC_MODE_SET);
}
uint32_t lldpMedMediaPolicySyncApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return _lldpMedMediaPolicySetApi(key, objId, value, LLDP_SYNC_MODE_SYNC);
}
