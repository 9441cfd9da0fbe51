// Simulated platform: interface, system, PoE, voice VLAN and SNMP objects,
// index translation, the address table and the hardware layer.
#include <algorithm>
#include <cstring>

#include "platform/icm.h"
#include "platform/sim/sim_internal.h"
#include "platform/zor_hwil.h"
#include "platform/zor_if.h"

using namespace sim::detail;

namespace sim::detail {

void resetObjects() {
  State& s = st();
  s.objects.clear();
  gObjCache.stamp++;
  s.indexTrans.clear();
  s.selfSysIndex = 1;
  s.ips.clear();
  s.hwObjects.clear();
  s.ifSets.clear();
  s.ifSetResults.clear();
  s.cmdSyncs.clear();
  s.cmdSyncResult = 0;
  s.hwSets.clear();
  s.cardUps.clear();
}

}  // namespace sim::detail

namespace {

constexpr uint32_t kIfName = 3;
constexpr uint32_t kIfForAgent = 13;
constexpr uint32_t kIfLink = 19;
constexpr uint32_t kIfMac = 33;
constexpr uint32_t kIfMtu = 78;

ObjKey keyOf(sim::Svc svc, uint32_t unit, uint32_t objId) {
  return ObjKey{static_cast<uint32_t>(svc), unit, objId};
}

// The map lookup behind a cache miss, kept out of line so that a hit stays
// a few instructions.
__attribute__((noinline)) const Obj* findObjSlow(const ObjKey& key, ObjCacheEntry& e) {
  State& s = st();
  auto it = s.objects.find(key);
  e.key = key;
  e.stamp = gObjCache.stamp;
  e.obj = it == s.objects.end() ? nullptr : &it->second;
  return e.obj;
}

const Obj* findObj(sim::Svc svc, uint32_t unit, uint32_t objId) {
  const ObjKey key = keyOf(svc, unit, objId);
  ObjCacheEntry& e = gObjCache.entries[objCacheSlot(key)];
  if (e.stamp == gObjCache.stamp && e.key == key) return e.obj;
  return findObjSlow(key, e);
}

// Every change to the objects goes through here, so that no cached lookup
// outlives it.
Obj& objSlot(sim::Svc svc, uint32_t unit, uint32_t objId) {
  gObjCache.stamp++;
  return st().objects[keyOf(svc, unit, objId)];
}

// The object's stored kind tells how `out` is to be read: uint32_t* for an
// integer, ZorOctets* for octets and strings.
int readObj(sim::Svc svc, uint32_t unit, uint32_t objId, void* out) {
  const Obj* o = findObj(svc, unit, objId);
  if (!o) return -1;
  if (o->kind == ObjKind::Fail) return o->rc;
  if (!out) return -1;
  if (o->kind == ObjKind::Int) {
    *static_cast<uint32_t*>(out) = o->value;
    return 0;
  }
  auto* oct = static_cast<ZorOctets*>(out);
  size_t n = std::min<size_t>(oct->len, o->bytes.size());
  if (n && !oct->buf) return -1;
  if (n) std::memcpy(oct->buf, o->bytes.data(), n);
  // Strings get a terminator when the buffer has room; it is not counted.
  if (o->kind == ObjKind::String && n < oct->len && oct->buf) static_cast<char*>(oct->buf)[n] = 0;
  oct->len = static_cast<uint32_t>(n);
  return 0;
}

void nameOf(uint32_t unit, char* name) {
  name[0] = 0;
  const Obj* o = findObj(sim::Svc::If, unit, kIfName);
  if (!o || (o->kind != ObjKind::String && o->kind != ObjKind::Octets)) return;
  size_t n = std::min<size_t>(o->bytes.size(), ZOR_IFNAME_LEN - 1);
  std::memcpy(name, o->bytes.data(), n);
  name[n] = 0;
}

}  // namespace

namespace sim {

void setInt(Svc svc, uint32_t unit, uint32_t objId, uint32_t value) {
  Obj o;
  o.kind = ObjKind::Int;
  o.value = value;
  objSlot(svc, unit, objId) = std::move(o);
}
void setOctets(Svc svc, uint32_t unit, uint32_t objId, const std::vector<uint8_t>& bytes) {
  Obj o;
  o.kind = ObjKind::Octets;
  o.bytes = bytes;
  objSlot(svc, unit, objId) = std::move(o);
}
void setString(Svc svc, uint32_t unit, uint32_t objId, const std::string& text) {
  Obj o;
  o.kind = ObjKind::String;
  o.bytes.assign(text.begin(), text.end());
  objSlot(svc, unit, objId) = std::move(o);
}
void failObject(Svc svc, uint32_t unit, uint32_t objId, int rc) {
  Obj o;
  o.kind = ObjKind::Fail;
  o.rc = rc;
  objSlot(svc, unit, objId) = std::move(o);
}
void clearObject(Svc svc, uint32_t unit, uint32_t objId) {
  gObjCache.stamp++;
  st().objects.erase(keyOf(svc, unit, objId));
}

void addInterface(uint32_t unit, const std::string& name, uint32_t ifIndex,
                  const std::vector<uint8_t>& mac, uint32_t mtu, bool linkUp) {
  setString(Svc::If, unit, kIfName, name);
  setIndexTrans(unit, 5, ifIndex, 1, 1, 0);
  setIndexTrans(unit, 3, ifIndex, 1, 1, 0);
  setOctets(Svc::If, unit, kIfMac, mac);
  setInt(Svc::If, unit, kIfMtu, mtu);
  setInt(Svc::If, unit, kIfLink, linkUp ? 1 : 2);
  setInt(Svc::If, unit, kIfForAgent, 0);
}
void setLinkUp(uint32_t unit, bool up) { setInt(Svc::If, unit, kIfLink, up ? 1 : 2); }
void setIndexTrans(uint32_t unit, uint32_t kind, uint32_t index, uint32_t ifType,
                   uint32_t portKind, uint32_t status, int rc) {
  st().indexTrans[{unit, kind}] = IndexTrans{index, ifType, portKind, status, rc};
}
void setSelfSysIndex(uint32_t index) { st().selfSysIndex = index; }
void addIpAddress(uint8_t family, const std::vector<uint8_t>& addr, uint32_t preference,
                  uint32_t unit) {
  st().ips.push_back(IpEntry{family, addr, preference, unit});
}
void setHwObject(uint32_t objId, uint32_t value, int rc) { st().hwObjects[objId] = {value, rc}; }

const std::vector<IfSet>& ifSets() { return st().ifSets; }
void setIfSetResult(uint32_t objId, int rc) { st().ifSetResults[objId] = rc; }

const std::vector<CmdSync>& cmdSyncs() { return st().cmdSyncs; }
void setCmdSyncResult(int rc) { st().cmdSyncResult = rc; }
const std::vector<HwSet>& hwSets() { return st().hwSets; }
const std::vector<CardUp>& cardUps() { return st().cardUps; }

}  // namespace sim

// ---- Interface and system objects ------------------------------------------

int zorIfGetApi(uint32_t unit, uint32_t objId, void* out) {
  int rc = -1;
  if (enter(Fn::zorIfGetApi, &rc)) return rc;
  return readObj(sim::Svc::If, unit, objId, out);
}

namespace {
int recordSet(uint32_t unit, uint32_t objId, const void* in, bool proto) {
  State& s = st();
  uint32_t v = 0;
  if (in) std::memcpy(&v, in, sizeof(v));
  s.ifSets.push_back({unit, objId, v, proto});
  auto it = s.ifSetResults.find(objId);
  return it == s.ifSetResults.end() ? 0 : it->second;
}
}  // namespace

int zorIfSetApi(uint32_t unit, uint32_t objId, void* in) {
  int rc = -1;
  if (enter(Fn::zorIfSetApi, &rc)) return rc;
  return recordSet(unit, objId, in, false);
}

int zorProtoSetApi(uint32_t unit, uint32_t objId, void* in) {
  int rc = -1;
  if (enter(Fn::zorProtoSetApi, &rc)) return rc;
  return recordSet(unit, objId, in, true);
}

int zorScalarGetApi(uint32_t unit, uint32_t objId, void* out) {
  int rc = -1;
  if (enter(Fn::zorScalarGetApi, &rc)) return rc;
  return readObj(sim::Svc::Scalar, unit, objId, out);
}

int zorIfUnit2Name(uint32_t unit, char* name) {
  int rc = -1;
  if (!name) return -1;
  name[0] = 0;
  if (enter(Fn::zorIfUnit2Name, &rc)) return rc;
  nameOf(unit, name);
  return name[0] ? 0 : -1;
}

int zorIfIndex2Name(uint32_t ifIndex, char* name) {
  int rc = -1;
  if (!name) return -1;
  name[0] = 0;
  if (enter(Fn::zorIfIndex2Name, &rc)) return rc;
  for (const auto& [key, t] : st().indexTrans) {
    if (key.second == 3 && t.rc == 0 && t.index == ifIndex) {
      nameOf(key.first, name);
      if (name[0]) return 0;
    }
  }
  return -1;
}

int zorIndexTrans(uint32_t unit, uint32_t kind, ZorIndexInfo* out) {
  int rc = -1;
  if (enter(Fn::zorIndexTrans, &rc)) return rc;
  auto it = st().indexTrans.find({unit, kind});
  if (it == st().indexTrans.end() || !out) return -1;
  const IndexTrans& t = it->second;
  *out = ZorIndexInfo{t.index, t.ifType, t.portKind, t.status};
  return t.rc;
}

uint32_t zorSelfSysIndex(void) {
  int rc = -1;
  if (enter(Fn::zorSelfSysIndex, &rc)) return static_cast<uint32_t>(rc);
  return st().selfSysIndex;
}

int zorIpGetFirst(const ZorIpQuery* query, ZorIpAddr* out) {
  int rc = -1;
  if (enter(Fn::zorIpGetFirst, &rc)) return rc;
  if (!query || !out) return -1;
  for (const IpEntry& e : st().ips) {
    if (e.family != query->family || e.preference != query->preference) continue;
    if (query->unit != 0 && e.unit != 0 && e.unit != query->unit) continue;
    *out = ZorIpAddr{};
    out->family = e.family;
    size_t n = std::min<size_t>(e.addr.size(), sizeof(out->addr));
    out->len = static_cast<uint8_t>(n);
    std::memcpy(out->addr, e.addr.data(), n);
    return 0;
  }
  return -1;
}

int poeIfGetApi(uint32_t unit, uint32_t objId, void* out) {
  int rc = -1;
  if (enter(Fn::poeIfGetApi, &rc)) return rc;
  return readObj(sim::Svc::Poe, unit, objId, out);
}

int voiceVlanIfGetApi(uint32_t unit, uint32_t objId, void* out) {
  int rc = -1;
  if (enter(Fn::voiceVlanIfGetApi, &rc)) return rc;
  return readObj(sim::Svc::VoiceIf, unit, objId, out);
}

int voiceVlanScalarGetApi(uint32_t unit, uint32_t objId, void* out) {
  int rc = -1;
  if (enter(Fn::voiceVlanScalarGetApi, &rc)) return rc;
  return readObj(sim::Svc::VoiceScalar, unit, objId, out);
}

int snmpScalarGetApi(uint32_t unit, uint32_t objId, void* out) {
  int rc = -1;
  if (enter(Fn::snmpScalarGetApi, &rc)) return rc;
  return readObj(sim::Svc::Snmp, unit, objId, out);
}

// ---- Hardware layer ---------------------------------------------------------

int zorHwilScalarGet(uint32_t unit, uint32_t scalarId, uint32_t* out) {
  int rc = -1;
  if (enter(Fn::zorHwilScalarGet, &rc)) return rc;
  if (!findObj(sim::Svc::Hw, unit, scalarId) && out) {
    // Defaults of a stand-alone unit: transmit gate open, no stack peers.
    if (scalarId == 55 || scalarId == 54) {
      *out = 1;
      return 0;
    }
  }
  return readObj(sim::Svc::Hw, unit, scalarId, out);
}

int zorHwilScalarSet(uint32_t unit, uint32_t scalarId, const void* value, uint32_t flags) {
  int rc = -1;
  if (enter(Fn::zorHwilScalarSet, &rc)) return rc;
  uint32_t v = 0;
  if (value) std::memcpy(&v, value, sizeof(v));
  st().hwSets.push_back({unit, scalarId, v, flags});
  return 0;
}

namespace {
int hwObject(uint32_t objId, uint32_t* inout) {
  auto it = st().hwObjects.find(objId);
  if (it == st().hwObjects.end()) return -1;
  if (inout) *inout = it->second.first;
  return it->second.second;
}
}  // namespace

int zorHwilSlotGet(uint32_t, uint32_t, uint32_t objId, uint32_t* inout) {
  int rc = -1;
  if (enter(Fn::zorHwilSlotGet, &rc)) return rc;
  return hwObject(objId, inout);
}

int zorHwilCardGet(uint32_t, uint32_t, uint32_t, uint32_t objId, uint32_t* inout) {
  int rc = -1;
  if (enter(Fn::zorHwilCardGet, &rc)) return rc;
  return hwObject(objId, inout);
}

int zorCardUpPcsSet(uint32_t card0, uint32_t card1, uint32_t card2, uint32_t protocol) {
  int rc = -1;
  if (enter(Fn::zorCardUpPcsSet, &rc)) return rc;
  st().cardUps.push_back({card0, card1, card2, protocol});
  return 0;
}

int zorHwilCmdSyncApi(uintptr_t index, uint32_t cmdId, ZorValue* value, ZorSyncCtl* ctl) {
  int rc = -1;
  if (enter(Fn::zorHwilCmdSyncApi, &rc)) return rc;
  sim::CmdSync c{};
  c.cmdId = cmdId;
  if (ctl) {
    c.ctlMode = ctl->mode;
    c.ctlArg = ctl->arg;
    c.ctlLen = ctl->valueLen;
  }
  // A key record travels by pointer; an integer index as itself.
  if (ctl && ctl->keyLen > 0 && index != 0) {
    const auto* k = reinterpret_cast<const uint8_t*>(index);
    c.key.assign(k, k + ctl->keyLen);
  } else {
    c.index = static_cast<uint32_t>(index);
  }
  if (value) {
    c.form = value->form;
    if (value->form == ZOR_VALUE_BUF) {
      // Word 0 is a buffer: copy the bytes the control record names.
      if (ctl && value->buf && ctl->valueLen > 0) {
        const auto* p = static_cast<const uint8_t*>(value->buf);
        c.bytes.assign(p, p + ctl->valueLen);
      }
    } else {
      c.value = value->value;
    }
  }
  st().cmdSyncs.push_back(std::move(c));
  return st().cmdSyncResult;
}

// ---- Command server -----------------------------------------------------------

int icmProcTcpInit(const char* taskName, const char* path, const IcmFuncEntry* table,
                   uint32_t count) {
  int rc = -1;
  if (enter(Fn::icmProcTcpInit, &rc)) return rc;
  st().cmdServers.push_back({taskName ? taskName : "", path ? path : "", table, count});
  return 0;
}
