// Stack synchronisation sender: builds the remote-record and statistics
// messages and hands buffers of them to the platform's command-synchronisation
// service (Set of scalar object 35 on the other units).
//
// Callers: the remote table (lldpSyncMsapSend on every add, change, refresh
// and delete) and the platform event handler (lldpSyncAllSend when a slot,
// card or sub-system starts). All run under the agent lock and share one
// message buffer.
//
// A remote record is written field by field in the order of the Msap record;
// the builder never writes past the space it is given: a record that does
// not fit is not built (0), and the whole-state send then skips it.
#include <cstring>

#include "base/lldp_info.h"
#include "base/lldp_trace.h"
#include "base/lldp_wire.h"
#include "platform/avl.h"
#include "platform/zor_hwil.h"
#include "rx/lldp_msap.h"
#include "sync/lldp_sync.h"

namespace {

constexpr uint32_t kHwScalarNoPeers = 54;

// The one message buffer of every send (callers hold the agent lock).
uint8_t gSyncBuf[LLDP_SYNC_BUF_LEN];

// Appends to a buffer of a fixed capacity; once something does not fit,
// nothing more is written and over() says so.
class SyncWriter {
 public:
  SyncWriter(uint8_t* buf, uint32_t cap) : buf_(buf), cap_(cap) {}
  bool room(uint32_t n) {
    if (over_ || n > cap_ - off_) over_ = true;
    return !over_;
  }
  void u8(uint32_t v) {
    if (room(1)) buf_[off_++] = static_cast<uint8_t>(v);
  }
  void u16(uint32_t v) {
    if (!room(2)) return;
    lldpPut16(buf_ + off_, v);
    off_ += 2;
  }
  void u32(uint32_t v) {
    if (!room(4)) return;
    lldpPut32(buf_ + off_, v);
    off_ += 4;
  }
  void bytes(const uint8_t* p, uint32_t n) {
    if (n == 0 || !room(n)) return;
    if (p != nullptr)
      std::memcpy(buf_ + off_, p, n);
    else
      std::memset(buf_ + off_, 0, n);
    off_ += n;
  }
  uint32_t off() const { return off_; }
  bool over() const { return over_; }
  uint8_t* at(uint32_t o) { return buf_ + o; }

 private:
  uint8_t* buf_;
  uint32_t cap_;
  uint32_t off_ = 0;
  bool over_ = false;
};

uint8_t tlvCount(const LldpTlvNode* n) {
  uint32_t c = 0;
  for (; n != nullptr; n = n->next) ++c;
  return static_cast<uint8_t>(c);
}

// The four MDI power truth values (0, 1 or 2) in one octet, two bits each.
uint8_t packMdi(const Msap* m) {
  return static_cast<uint8_t>(((m->dot3PowerPortClass & 3) << 6) | ((m->dot3PowerMDISupported & 3) << 4) |
                              ((m->dot3PowerMDIEnabled & 3) << 2) | (m->dot3PowerPairControl & 3));
}

void writeMgmtAddrs(SyncWriter& w, const Msap* m) {
  const uint32_t countAt = w.off();
  w.u8(0);
  uint32_t n = 0;
  for (const lldpMgmtAddr* a = m->mgmtAddrList; a != nullptr && n < m->mgmtAddrNum; a = a->next, ++n) {
    const uint8_t addrLen = a->mgmtAddrLen <= LLDP_MGMT_ADDR_MAX ? a->mgmtAddrLen : LLDP_MGMT_ADDR_MAX;
    const uint8_t oidLen = a->mgmtAddrOid != nullptr ? a->mgmtAddrOidLen : 0;
    const uint32_t portLen = a->mgmtAddrPort != nullptr ? a->mgmtAddrPortLen : 0;
    w.u8(a->mgmtAddrSubtype);
    w.u8(a->mgmtAddrIfSubtype);
    w.u8(oidLen);
    w.u8(addrLen);
    w.u32(a->mgmtAddrIfId);
    w.u32(portLen);
    w.bytes(a->mgmtAddr, addrLen);
    w.bytes(a->mgmtAddrOid, oidLen);
    w.bytes(a->mgmtAddrPort, portLen);
  }
  if (!w.over()) *w.at(countAt) = static_cast<uint8_t>(n);
}

void writeDot1(SyncWriter& w, const Msap* m) {
  w.bytes(m->dot1CapEnabled, 2);
  w.u16(m->dot1Pvid);
  // The counts written are those of the entries that follow.
  uint32_t np = 0, nv = 0, ni = 0;
  for (const LldpDot1Ppvid* e = m->dot1PpvidList; e != nullptr && np < 255; e = e->next) ++np;
  for (const LldpDot1VlanName* e = m->dot1VlanNameList; e != nullptr && nv < 255; e = e->next) ++nv;
  for (const LldpDot1ProtoId* e = m->dot1ProtoIdList; e != nullptr && ni < 255; e = e->next) ++ni;
  w.u8(ni);
  w.u8(np);
  w.u8(nv);
  uint32_t k = 0;
  for (const LldpDot1Ppvid* e = m->dot1PpvidList; e != nullptr && k < np; e = e->next, ++k) {
    w.u8(e->supported);
    w.u8(e->enabled);
    w.u16(e->ppvid);
  }
  k = 0;
  for (const LldpDot1VlanName* e = m->dot1VlanNameList; e != nullptr && k < nv; e = e->next, ++k) {
    const uint8_t len = e->nameLen <= LLDP_VLAN_NAME_MAX ? e->nameLen : LLDP_VLAN_NAME_MAX;
    w.u8(len);
    w.bytes(e->name, len);
    w.u8(0);  // spare octet of the entry
    w.u16(e->vid);
  }
  k = 0;
  for (const LldpDot1ProtoId* e = m->dot1ProtoIdList; e != nullptr && k < ni; e = e->next, ++k) {
    w.u32(e->index);
    w.u8(e->len);
    w.bytes(e->protoId, e->len);
    w.u8(0);   // spare octet of the entry
    w.u16(0);  // spare word of the entry
  }
}

void writeDot3(SyncWriter& w, const Msap* m) {
  w.u8(m->dot3CapEnabled[0]);
  w.u8(m->dot3AutoNegSupported);
  w.u8(m->dot3AutoNegEnabled);
  w.u8(m->dot3PowerExtended);
  w.bytes(m->dot3AutoNegAdvertisedCap, 2);
  w.u16(m->dot3MauType);
  w.u32(m->dot3AggPortId);
  w.u8(packMdi(m));
  w.u8(m->dot3PowerPairs);
  w.u8(m->dot3PowerClass);
  w.u8(m->dot3PowerType);
  w.u8(m->dot3PowerSource);
  w.u8(m->dot3AggStatus);
  w.u16(m->dot3Mfs);
}

uint8_t len8(uint32_t n) { return static_cast<uint8_t>(n <= 255 ? n : 255); }

void writeMed(SyncWriter& w, const Msap* m) {
  w.bytes(m->medCapSupported, 2);
  w.bytes(m->medCapEnabled, 2);
  for (const LldpRemMedPolicy& p : m->medPolicy) {
    w.u8(p.appType);
    w.u8(p.unknown);
    w.u8(p.tagged);
    w.u8(p.priority);
    w.u8(p.dscp);
    w.u8(p.reserved);
    w.u16(p.vid);
  }
  for (uint32_t i = 0; i < LLDP_MED_LOCATION_FORMATS; ++i) {
    const LldpRemLocation& loc = lldpRemMedLocation(m, static_cast<int>(i + 1));
    const uint16_t len = loc.data != nullptr ? loc.len : 0;
    w.u8(i + 1);  // the location format
    w.u8(0);
    w.u16(len);
    w.bytes(loc.data, len);
  }
  w.u8(m->medDevType);
  w.u8(m->medPowerType);
  w.u8(m->medPowerSource);
  w.u8(m->medPowerPriority);
  w.u16(m->medPowerVal);
  for (const LldpRemString& s : m->medInventory) w.u8(s.data != nullptr ? len8(s.len) : 0);
  for (const LldpRemString& s : m->medInventory)
    if (s.data != nullptr) w.bytes(s.data, len8(s.len));
}

void writePriv(SyncWriter& w, const Msap* m) {
  w.bytes(m->priCapSupported, 2);
  w.bytes(m->priCapEnabled, 2);
  const LldpRemString* s[8];
  for (int i = 0; i < LLDP_INV_COUNT; ++i) s[i] = &lldpRemPriInventory(m, i);
  s[7] = &lldpRemPriSysOid(m);
  for (const LldpRemString* p : s) w.u16(p->data != nullptr ? p->len : 0);
  for (const LldpRemString* p : s)
    if (p->data != nullptr) w.bytes(p->data, p->len);
}

uint32_t syncSend(uint32_t len, uint32_t ctlMode) {
  ZorValue value{};
  value.buf = gSyncBuf;
  value.len = len;
  value.form = ZOR_VALUE_BUF;
  ZorSyncCtl ctl{ctlMode, 0, len, 0};
  return static_cast<uint32_t>(zorHwilCmdSyncApi(0, LLDP_SYNC_CMD_ID, &value, &ctl));
}

}  // namespace

bool lldpSyncAvailable() {
  uint32_t v = 1;
  return zorHwilScalarGet(0, kHwScalarNoPeers, &v) == 0 && v == 0;
}

uint32_t lldpSyncPortMsapBuild(const LldpPort* port, const Msap* m, uint8_t* buf, uint32_t space,
                               uint32_t action) {
  if (port == nullptr || m == nullptr || buf == nullptr) return LLDP_SYNC_FAILED;
  space &= 0xFFFFu;
  if (space < LLDP_SYNC_MSAP_MIN_ROOM) return 0;
  SyncWriter w(buf, space);
  w.u16(LLDP_SYNC_TYPE_MSAP);
  w.u16(0);  // the length, written last
  w.u8(action);
  w.u32(port->unit);
  w.u8(m->idLen);
  w.bytes(m->id, m->idLen);
  w.bytes(m->mac, 6);
  w.u16(m->rxInfoTTL);
  w.u32(m->timeMark[0]);
  w.u32(m->timeMark[1]);
  w.u32(m->remIndex);
  w.u8(tlvCount(m->unknownTlvList));
  w.u8(tlvCount(m->orgTlvList));
  writeMgmtAddrs(w, m);
  w.bytes(m->sysCap, 2);
  w.bytes(m->sysCapEnabled, 2);
  const uint8_t portDescrLen = m->portDescr != nullptr ? m->portDescrLen : 0;
  const uint8_t sysNameLen = m->sysName != nullptr ? m->sysNameLen : 0;
  const uint8_t sysDescrLen = m->sysDescr != nullptr ? m->sysDescrLen : 0;
  w.u8(m->chassIdLen);
  w.u8(m->portIdLen);
  w.u8(portDescrLen);
  w.u8(sysNameLen);
  w.u8(sysDescrLen);
  w.u8(m->portIdSubtype);
  w.u8(m->chassIdSubtype);
  w.bytes(m->chassId, m->chassIdLen);
  w.bytes(m->portId, m->portIdLen);
  w.bytes(m->portDescr, portDescrLen);
  w.bytes(m->sysName, sysNameLen);
  w.bytes(m->sysDescr, sysDescrLen);
  writeDot1(w, m);
  writeDot3(w, m);
  writeMed(w, m);
  writePriv(w, m);
  if (w.over()) {
    LLDP_TRACE(LLDP_TRC_SYNC, "sync: record of port %s does not fit in %u octets, not sent.\r\n",
               lldpPortName(port->unit).s, space);
    return 0;
  }
  lldpPut16(buf + 2, w.off());
  return w.off();
}

uint32_t lldpSyncGlobalStatBuild(uint8_t* buf, uint32_t space) {
  if (buf == nullptr) return LLDP_SYNC_FAILED;
  if (space < LLDP_SYNC_GLOBAL_STATS_LEN) return 0;
  lldpPut16(buf, LLDP_SYNC_TYPE_GLOBAL_STATS);
  lldpPut16(buf + 2, LLDP_SYNC_GLOBAL_STATS_LEN);
  lldpPut32(buf + 4, gLldpInfo.statsRemTablesLastChangeTime[0]);
  lldpPut32(buf + 8, gLldpInfo.statsRemTablesLastChangeTime[1]);
  lldpPut32(buf + 12, gLldpInfo.statsRemTablesInserts);
  lldpPut32(buf + 16, gLldpInfo.statsRemTablesDeletes);
  lldpPut32(buf + 20, gLldpInfo.statsRemTablesDrops);
  lldpPut32(buf + 24, gLldpInfo.statsRemTablesAgeouts);
  return LLDP_SYNC_GLOBAL_STATS_LEN;
}

uint32_t lldpSyncPortStatsBuild(const LldpPort* port, uint8_t* buf, uint32_t space) {
  if (port == nullptr || buf == nullptr || space < LLDP_SYNC_PORT_STATS_LEN) return 0;
  lldpPut16(buf, LLDP_SYNC_TYPE_PORT_STATS);
  lldpPut16(buf + 2, LLDP_SYNC_PORT_STATS_LEN);
  const uint32_t words[10] = {port->unit,
                              port->remSysTotal,
                              port->remMedSysTotal,
                              port->statsAgeoutsTotal,
                              port->statsFramesDiscardedTotal,
                              port->statsFramesInErrorsTotal,
                              port->statsFramesInTotal,
                              port->statsTLVsDiscardedTotal,
                              port->statsTLVsUnrecognizedTotal,
                              port->statsFramesOutTotal};
  for (uint32_t i = 0; i < 10; ++i) lldpPut32(buf + 4 + 4 * i, words[i]);
  return LLDP_SYNC_PORT_STATS_LEN;
}

uint32_t lldpSyncMsapSend(LldpPort* port, Msap* msap, uint32_t action) {
  if (!lldpSyncAvailable()) return LLDP_SYNC_FAILED;
  const uint32_t n = lldpSyncPortMsapBuild(port, msap, gSyncBuf, LLDP_SYNC_BUF_LEN, action);
  if (n == 0 || n == LLDP_SYNC_FAILED) return LLDP_SYNC_FAILED;
  return syncSend(n, LLDP_SYNC_CTL_MSAP);
}

uint32_t lldpSyncPortStatSend(LldpPort* port) {
  if (!lldpSyncAvailable()) return LLDP_SYNC_FAILED;
  const uint32_t n = lldpSyncPortStatsBuild(port, gSyncBuf, LLDP_SYNC_BUF_LEN);
  if (n == 0) return LLDP_SYNC_FAILED;
  return syncSend(n, LLDP_SYNC_CTL_ALL);
}

uint32_t lldpSyncGlobalStatSend() {
  if (!lldpSyncAvailable()) return LLDP_SYNC_FAILED;
  return syncSend(lldpSyncGlobalStatBuild(gSyncBuf, LLDP_SYNC_BUF_LEN), LLDP_SYNC_CTL_ALL);
}

uint32_t lldpSyncAllSend(uint32_t /*unit*/, uint32_t doSend) {
  if (doSend == 0) return 0;
  if (!lldpSyncAvailable()) return LLDP_SYNC_FAILED;
  uint32_t used = lldpSyncGlobalStatBuild(gSyncBuf, LLDP_SYNC_BUF_LEN);
  for (auto* port = static_cast<LldpPort*>(avl_first(&gLldpInfo.portTable)); port != nullptr;
       port = static_cast<LldpPort*>(avl_next(&gLldpInfo.portTable, port))) {
    // Stricter than the room actually left (a flush once more than 4478
    // octets are used); kept as the agent has always done it.
    if (LLDP_SYNC_BUF_LEN - used < used + LLDP_SYNC_PORT_STATS_LEN) {
      syncSend(used, LLDP_SYNC_CTL_ALL);
      used = 0;
    }
    used += lldpSyncPortStatsBuild(port, gSyncBuf + used, LLDP_SYNC_BUF_LEN - used);
    if (port->msapList.next == nullptr) continue;
    for (LldpListHead* l = port->msapList.next; l != &port->msapList; l = l->next) {
      const Msap* m = lldpMsapFromLink(l);
      uint32_t n = lldpSyncPortMsapBuild(port, m, gSyncBuf + used, (LLDP_SYNC_BUF_LEN - used) & 0xFFFFu,
                                         LLDP_SYNC_UPDATE);
      if (n == 0) {
        if (used > 0) syncSend(used, LLDP_SYNC_CTL_ALL);
        used = 0;
        n = lldpSyncPortMsapBuild(port, m, gSyncBuf, LLDP_SYNC_BUF_LEN, LLDP_SYNC_UPDATE);
        if (n == 0) continue;  // larger than a whole buffer: not mirrored
      }
      used += n;
    }
  }
  if (used > 0) syncSend(used, LLDP_SYNC_CTL_ALL);
  return 0;
}
