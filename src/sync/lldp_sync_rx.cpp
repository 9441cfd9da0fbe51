// Stack synchronisation receiver: applies on this unit the remote records and
// statistics that another unit sent (lldp_sync_tx.cpp builds them).
//
// lldpSyncMsapRecv walks one buffer message by message. A remote record is
// built into a fresh zero-filled Msap with buffers of its own, exactly as the
// frame receiver would have, and handed to the remote table (add or update)
// or used as the key of a delete. Statistics overwrite the agent's and the
// port's counters. A message for a port this unit does not have is skipped.
//
// The walk keeps the agent's long-standing limit rule: it goes on while the
// offset is below the buffer's length minus the lengths of the messages
// already handled, so a buffer of several messages is applied only up to
// about its middle.
//
// The buffer comes from another process. Every read is bounded by the
// message (its length field) and by the buffer, whatever a length says: a
// message whose fields run past its end is refused whole (nothing applied,
// everything built for it freed), and a header whose length runs past the
// buffer ends the walk.
//
// REQUIRES: lldpLock held (the scalar Set or Sync worker holds it).
#include <cstdio>
#include <cstring>

#include "base/lldp_info.h"
#include "base/lldp_trace.h"
#include "base/lldp_wire.h"
#include "frameio/lldp_frameio.h"
#include "platform/sil.h"
#include "rx/lldp_msap.h"
#include "sync/lldp_sync.h"

#define SYNCTRACE(...) LLDP_TRACE(LLDP_TRC_SYNC, __VA_ARGS__)

namespace {

// Reads the fields of one message, never past its end: a read that does not
// fit marks the message bad and yields zeros (or a null view).
class SyncReader {
 public:
  SyncReader(const uint8_t* buf, uint32_t off, uint32_t end) : buf_(buf), off_(off), end_(end) {}
  bool bad() const { return bad_; }
  uint32_t off() const { return off_; }
  const uint8_t* bytes(uint32_t n) {
    if (bad_ || n > end_ - off_) {
      bad_ = true;
      return nullptr;
    }
    const uint8_t* p = buf_ + off_;
    off_ += n;
    return p;
  }
  uint8_t u8() {
    const uint8_t* p = bytes(1);
    return p != nullptr ? p[0] : 0;
  }
  uint16_t u16() {
    const uint8_t* p = bytes(2);
    return p != nullptr ? lldpGet16(p) : 0;
  }
  uint32_t u32() {
    const uint8_t* p = bytes(4);
    return p != nullptr ? lldpGet32(p) : 0;
  }
  void copy(uint8_t* dst, uint32_t n) {
    const uint8_t* p = bytes(n);
    if (p != nullptr && n > 0) std::memcpy(dst, p, n);
  }

 private:
  const uint8_t* buf_;
  uint32_t off_;
  uint32_t end_;
  bool bad_ = false;
};

// Text fields for the traces: the bytes up to the first zero, at most 255.
struct TraceText {
  char s[256];
  TraceText(const uint8_t* p, uint32_t n) {
    if (p == nullptr) n = 0;
    if (n > sizeof(s) - 1) n = sizeof(s) - 1;
    if (n > 0) std::memcpy(s, p, n);
    s[n] = 0;
  }
};

// Binary fields for the traces (addresses, identifiers): hex, at most 64 bytes.
struct TraceHex {
  char s[64 * 2 + 4];
  TraceHex(const uint8_t* p, uint32_t n) {
    s[0] = 0;
    if (p == nullptr) n = 0;
    const uint32_t shown = n > 64 ? 64 : n;
    for (uint32_t i = 0; i < shown; ++i) std::snprintf(s + 2 * i, 3, "%02X", p[i]);
    if (shown < n) std::memcpy(s + 2 * shown, "...", 4);
  }
};

// Copies n bytes into a new buffer with a terminating zero (n + 1 bytes).
uint8_t* dupString(const uint8_t* p, uint32_t n) {
  auto* b = static_cast<uint8_t*>(silMalloc(n + 1));
  if (b == nullptr) return nullptr;
  if (n > 0) std::memcpy(b, p, n);
  b[n] = 0;
  return b;
}

uint8_t* dupBytes(const uint8_t* p, uint32_t n) {
  auto* b = static_cast<uint8_t*>(silMalloc(n > 0 ? n : 1));
  if (b != nullptr && n > 0) std::memcpy(b, p, n);
  return b;
}

// The parts of one remote record message, read into m. Returns false (after
// its trace) when the message lies or an allocation fails; m then holds only
// what m's cleanup frees.
class MsapReader {
 public:
  MsapReader(SyncReader& r, Msap* m, const char* port) : r_(r), m_(m), port_(port) {}

  bool read() {
    return header() && mgmtAddrs() && basics() && dot1() && dot3() && med() && priv();
  }

 private:
  bool truncated() {
    SYNCTRACE("sync: record for port[%s] runs past its message at offset %d, skipped.\r\n", port_,
              static_cast<int>(r_.off()));
    return false;
  }
  bool noMemory(const char* line) {
    SYNCTRACE(line, port_);
    return false;
  }

  bool header() {
    idLen_ = r_.u8();
    id_ = r_.bytes(idLen_);
    r_.copy(m_->mac, 6);
    if (r_.bad()) return truncated();
    const uint8_t* mac = m_->mac;
    SYNCTRACE("port[%s] sync:mac[%02X:%02X:%02X:%02X:%02X:%02X], offset: %d.\r\n", port_, mac[0], mac[1],
              mac[2], mac[3], mac[4], mac[5], static_cast<int>(r_.off()));
    m_->rxInfoTTL = r_.u16();
    SYNCTRACE("port[%s] sync:rxInfoTTL:%d, offset: %d.\r\n", port_, m_->rxInfoTTL, static_cast<int>(r_.off()));
    m_->timeMark[0] = r_.u32();
    m_->timeMark[1] = r_.u32();
    m_->remIndex = r_.u32();
    SYNCTRACE("port[%s] sync:remIndex:%d, offset: %d.\r\n", port_, static_cast<int>(m_->remIndex),
              static_cast<int>(r_.off()));
    // Only the counts of the kept TLV lists travel; the lists stay empty.
    const uint8_t unknownNum = r_.u8();
    SYNCTRACE("port[%s] sync:unknownTlvNum:%d, offset: %d.\r\n", port_, unknownNum, static_cast<int>(r_.off()));
    const uint8_t orgNum = r_.u8();
    SYNCTRACE("port[%s] sync:orgTlvNum:%d, offset: %d.\r\n", port_, orgNum, static_cast<int>(r_.off()));
    return r_.bad() ? truncated() : true;
  }

  bool mgmtAddrs() {
    const uint8_t num = r_.u8();
    SYNCTRACE("port[%s] sync:mgmtAddrNum:%d, offset: %d.\r\n", port_, num, static_cast<int>(r_.off()));
    lldpMgmtAddr** tail = &m_->mgmtAddrList;
    for (uint32_t i = 0; i < num; ++i) {
      const uint8_t subtype = r_.u8();
      const uint8_t ifSubtype = r_.u8();
      const uint8_t oidLen = r_.u8();
      const uint8_t addrLen = r_.u8();
      const uint32_t ifId = r_.u32();
      const uint32_t portLen = r_.u32();
      if (r_.bad()) return truncated();
      SYNCTRACE("port[%s] sync:mgmtAddr:mgmtAddrSubtype:%d, mgmtAddrIfSubtype:%d, mgmtAddrOidLen:%d, "
                "mgmtAddrLen:%d, mgmtAddrIfId:%d, mgmtAddrPortLen:%d, offset: %d.\r\n",
                port_, subtype, ifSubtype, oidLen, addrLen, static_cast<int>(ifId), static_cast<int>(portLen),
                static_cast<int>(r_.off()));
      // An address longer than the record's field cannot be stored.
      if (addrLen > LLDP_MGMT_ADDR_MAX) return truncated();
      // Every part is checked against the message before anything is
      // allocated for it; the traces give the offset after each.
      const uint8_t* addr = r_.bytes(addrLen);
      const uint32_t addrEnd = r_.off();
      const uint8_t* oid = r_.bytes(oidLen);
      const uint32_t oidEnd = r_.off();
      const uint8_t* port = r_.bytes(portLen);
      if (r_.bad()) return truncated();
      auto* e = static_cast<lldpMgmtAddr*>(silCalloc(1, sizeof(lldpMgmtAddr)));
      if (e == nullptr) return noMemory("Sync Msap unable to allocate memory for lldpMgmtAddr received on port %s.\r\n");
      *tail = e;
      tail = &e->next;
      ++m_->mgmtAddrNum;
      e->mgmtAddrSubtype = subtype;
      e->mgmtAddrIfSubtype = ifSubtype;
      e->mgmtAddrLen = addrLen;
      e->mgmtAddrIfId = ifId;
      if (addrLen > 0) std::memcpy(e->mgmtAddr, addr, addrLen);
      SYNCTRACE("port[%s] sync:mgmtAddr:%s, offset:%d.\r\n", port_, TraceHex(addr, addrLen).s,
                static_cast<int>(addrEnd));
      if (oidLen > 0) {
        e->mgmtAddrOid = dupBytes(oid, oidLen);
        if (e->mgmtAddrOid == nullptr)
          return noMemory("unable to allocate memory for mgmtAddrOid received on\tport %s \r\n");
        e->mgmtAddrOidLen = oidLen;
      }
      SYNCTRACE("port[%s] sync:mgmtAddrOid:%s, offset:%d.\r\n", port_, TraceHex(oid, oidLen).s,
                static_cast<int>(oidEnd));
      if (portLen > 0) {
        e->mgmtAddrPort = dupBytes(port, portLen);
        if (e->mgmtAddrPort == nullptr)
          return noMemory("unable to allocate memory for mgmtAddrPort received on  port %s \r\n");
        e->mgmtAddrPortLen = portLen;
      }
      SYNCTRACE("port[%s] sync:mgmtAddrPort:%s, offset:%d.\r\n", port_, TraceHex(port, portLen).s,
                static_cast<int>(r_.off()));
    }
    return true;
  }

  // An owned, zero-terminated text field, or null when empty.
  bool text(uint8_t** slot, uint8_t* slotLen, const uint8_t* p, uint8_t n, const char* failLine) {
    if (n == 0) return true;
    *slot = dupString(p, n);
    if (*slot == nullptr) return noMemory(failLine);
    *slotLen = n;
    return true;
  }

  bool basics() {
    r_.copy(m_->sysCap, 2);
    r_.copy(m_->sysCapEnabled, 2);
    const uint8_t chassLen = r_.u8();
    SYNCTRACE("port[%s] sync:chassIdLen:%d, offset: %d.\r\n", port_, chassLen, static_cast<int>(r_.off()));
    const uint8_t portIdLen = r_.u8();
    SYNCTRACE("port[%s] sync:portIdLen:%d, offset: %d.\r\n", port_, portIdLen, static_cast<int>(r_.off()));
    const uint8_t portDescrLen = r_.u8();
    SYNCTRACE("port[%s] sync:portDescrLen:%d, offset: %d.\r\n", port_, portDescrLen, static_cast<int>(r_.off()));
    const uint8_t sysNameLen = r_.u8();
    SYNCTRACE("port[%s] sync:sysNameLen:%d, offset: %d.\r\n", port_, sysNameLen, static_cast<int>(r_.off()));
    const uint8_t sysDescrLen = r_.u8();
    SYNCTRACE("port[%s] sync:sysDescrLen:%d, offset: %d.\r\n", port_, sysDescrLen, static_cast<int>(r_.off()));
    m_->portIdSubtype = r_.u8();
    SYNCTRACE("port[%s] sync:portIdSubtype:%d, offset: %d.\r\n", port_, m_->portIdSubtype,
              static_cast<int>(r_.off()));
    m_->chassIdSubtype = r_.u8();
    SYNCTRACE("port[%s] sync:chassIdSubtype:%d, offset: %d.\r\n", port_, m_->chassIdSubtype,
              static_cast<int>(r_.off()));
    // Each text is checked against the message first; the traces give the
    // offset after each.
    const uint8_t* chass = r_.bytes(chassLen);
    const uint8_t* portId = r_.bytes(portIdLen);
    const uint32_t portIdEnd = r_.off();
    const uint8_t* portDescr = r_.bytes(portDescrLen);
    const uint32_t portDescrEnd = r_.off();
    const uint8_t* sysName = r_.bytes(sysNameLen);
    const uint32_t sysNameEnd = r_.off();
    const uint8_t* sysDescr = r_.bytes(sysDescrLen);
    if (r_.bad()) return truncated();

    // The identifier buffer holds chassis ID, 0, port ID, 0, and the chassis
    // and port IDs point into it; it is large enough for both even when the
    // identifier length (8 bits, wrapping) says less.
    const uint32_t layout = chassLen + portIdLen + 2u;
    const uint32_t size = idLen_ > layout ? idLen_ : layout;
    m_->id = static_cast<uint8_t*>(silCalloc(1, size));
    if (m_->id == nullptr) return noMemory("unable to allocate memory for msap id received on\tport %s.\r\n");
    if (idLen_ > 0) std::memcpy(m_->id, id_, idLen_);
    if (chassLen > 0) std::memcpy(m_->id, chass, chassLen);
    m_->id[chassLen] = 0;
    if (portIdLen > 0) std::memcpy(m_->id + chassLen + 1, portId, portIdLen);
    m_->id[layout - 1] = 0;
    m_->idLen = idLen_;
    m_->chassId = m_->id;
    m_->chassIdLen = chassLen;
    m_->portId = m_->id + chassLen + 1;
    m_->portIdLen = portIdLen;
    SYNCTRACE("port[%s] sync:portId:%s, offset:%d.\r\n", port_, TraceText(portId, portIdLen).s,
              static_cast<int>(portIdEnd));

    if (!text(&m_->portDescr, &m_->portDescrLen, portDescr, portDescrLen,
              "unable to allocate memory for portDescr  received on  port %s \r\n"))
      return false;
    SYNCTRACE("port[%s] sync:portDescr:%s, offset:%d.\r\n", port_, TraceText(portDescr, portDescrLen).s,
              static_cast<int>(portDescrEnd));
    if (!text(&m_->sysName, &m_->sysNameLen, sysName, sysNameLen,
              "unable to allocate memory for sysName\treceived on  port %s \r\n"))
      return false;
    SYNCTRACE("port[%s] sync:sysName:%s, offset: %d.\r\n", port_, TraceText(sysName, sysNameLen).s,
              static_cast<int>(sysNameEnd));
    if (!text(&m_->sysDescr, &m_->sysDescrLen, sysDescr, sysDescrLen,
              "unable to allocate memory for sysDescr received on  port %s \r\n"))
      return false;
    SYNCTRACE("port[%s] sync:sysDescr:%s, offset: %d.\r\n", port_, TraceText(sysDescr, sysDescrLen).s,
              static_cast<int>(r_.off()));
    return true;
  }

  bool dot1() {
    r_.copy(m_->dot1CapEnabled, 2);
    SYNCTRACE("port[%s] sync:dot1CapEnabled:[%02X], %0x, offset:%d.\r\n", port_, m_->dot1CapEnabled[0],
              m_->dot1CapEnabled[1], static_cast<int>(r_.off()));
    m_->dot1Pvid = r_.u16();
    SYNCTRACE("port[%s] sync:dot1Pvid:[%02X], offset: %d.\r\n", port_, m_->dot1Pvid, static_cast<int>(r_.off()));
    const uint8_t protoNum = r_.u8();
    SYNCTRACE("port[%s] sync:dot1ProtoidNum:%d, offset: %d.\r\n", port_, protoNum, static_cast<int>(r_.off()));
    const uint8_t ppvidNum = r_.u8();
    SYNCTRACE("port[%s] sync:dot1PpvidNum:%d, offset: %d.\r\n", port_, ppvidNum, static_cast<int>(r_.off()));
    const uint8_t vlanNum = r_.u8();
    SYNCTRACE("port[%s] sync:dot1VlanNameNum:%d, offset: %d.\r\n", port_, vlanNum, static_cast<int>(r_.off()));
    if (r_.bad()) return truncated();

    LldpDot1Ppvid** ptail = &m_->dot1PpvidList;
    for (uint32_t i = 0; i < ppvidNum; ++i) {
      const uint8_t supported = r_.u8();
      const uint8_t enabled = r_.u8();
      const uint16_t vid = r_.u16();
      if (r_.bad()) return truncated();
      SYNCTRACE("port[%s] sync:dot1Ppvid:supported:%d, enable:%d, vid:%d, offset: %d.\r\n", port_, supported,
                enabled, vid, static_cast<int>(r_.off()));
      auto* e = static_cast<LldpDot1Ppvid*>(silCalloc(1, sizeof(LldpDot1Ppvid)));
      if (e == nullptr) return noMemory("Sync Msap unable to allocate memory for dot1 ppvid received on port %s.\r\n");
      e->supported = supported;
      e->enabled = enabled;
      e->ppvid = vid;
      *ptail = e;
      ptail = &e->next;
      ++m_->dot1PpvidNum;
    }

    LldpDot1VlanName** vtail = &m_->dot1VlanNameList;
    for (uint32_t i = 0; i < vlanNum; ++i) {
      const uint8_t nameLen = r_.u8();
      if (r_.bad()) return truncated();
      SYNCTRACE("port[%s] sync:dot1VlanName:nameLen:%d, offset: %d.\r\n", port_, nameLen,
                static_cast<int>(r_.off()));
      // A name longer than the record's field cannot be stored.
      if (nameLen > LLDP_VLAN_NAME_MAX) return truncated();
      const uint8_t* name = r_.bytes(nameLen);
      r_.u8();  // spare octet of the entry
      const uint16_t vid = r_.u16();
      if (r_.bad()) return truncated();
      SYNCTRACE("port[%s] sync:dot1VlanName:name:%s, offset: %d.\r\n", port_, TraceText(name, nameLen).s,
                static_cast<int>(r_.off()));
      SYNCTRACE("port[%s] sync:dot1VlanName:vid:%d, offset: %d.\r\n", port_, vid, static_cast<int>(r_.off()));
      auto* e = static_cast<LldpDot1VlanName*>(silCalloc(1, sizeof(LldpDot1VlanName)));
      if (e == nullptr) return noMemory("Sync Msap unable to allocate memory for dot1VlanName received on port %s \r\n");
      if (nameLen > 0) std::memcpy(e->name, name, nameLen);
      e->nameLen = nameLen;
      e->vid = vid;
      *vtail = e;
      vtail = &e->next;
      ++m_->dot1VlanNameNum;
    }

    LldpDot1ProtoId** itail = &m_->dot1ProtoIdList;
    for (uint32_t i = 0; i < protoNum; ++i) {
      const uint32_t index = r_.u32();
      if (r_.bad()) return truncated();
      SYNCTRACE("port[%s] sync:dot1ProtoId:index:%d, offset: %d.\r\n", port_, static_cast<int>(index),
                static_cast<int>(r_.off()));
      const uint8_t len = r_.u8();
      if (r_.bad()) return truncated();
      SYNCTRACE("port[%s] sync:dot1ProtoId:protoidLen:%d, offset: %d.\r\n", port_, len, static_cast<int>(r_.off()));
      const uint8_t* proto = r_.bytes(len);
      r_.u8();   // spare octet of the entry
      r_.u16();  // spare word of the entry
      if (r_.bad()) return truncated();
      SYNCTRACE("port[%s] sync:dot1ProtoId:protoid:%s, offset: %d.\r\n", port_, TraceHex(proto, len).s,
                static_cast<int>(r_.off()));
      auto* e = static_cast<LldpDot1ProtoId*>(silCalloc(1, sizeof(LldpDot1ProtoId)));
      if (e == nullptr)
        return noMemory("Sync Msap unable to allocate memory for dot1ProtoidNum received on port %s \r\n");
      e->index = index;
      e->len = len;
      if (len > 0) std::memcpy(e->protoId, proto, len);
      *itail = e;
      itail = &e->next;
      ++m_->dot1ProtoidNum;
    }
    return true;
  }

  bool dot3() {
    m_->dot3CapEnabled[0] = r_.u8();
    SYNCTRACE("port[%s] sync:dot3CapEnabled:[%02X], offset:%d.\r\n", port_, m_->dot3CapEnabled[0],
              static_cast<int>(r_.off()));
    m_->dot3AutoNegSupported = r_.u8();
    SYNCTRACE("port[%s] sync:dot3AutoNegSupported:[%02X], offset:%d.\r\n", port_, m_->dot3AutoNegSupported,
              static_cast<int>(r_.off()));
    m_->dot3AutoNegEnabled = r_.u8();
    m_->dot3PowerExtended = r_.u8();
    r_.copy(m_->dot3AutoNegAdvertisedCap, 2);
    m_->dot3MauType = r_.u16();
    SYNCTRACE("port[%s] sync:dot3MauType:%d, offset:%d.\r\n", port_, m_->dot3MauType, static_cast<int>(r_.off()));
    m_->dot3AggPortId = r_.u32();
    const uint8_t mdi = r_.u8();
    m_->dot3PowerPortClass = static_cast<uint8_t>(mdi >> 6);
    m_->dot3PowerMDISupported = static_cast<uint8_t>((mdi >> 4) & 3);
    m_->dot3PowerMDIEnabled = static_cast<uint8_t>((mdi >> 2) & 3);
    m_->dot3PowerPairControl = static_cast<uint8_t>(mdi & 3);
    m_->dot3PowerPairs = r_.u8();
    m_->dot3PowerClass = r_.u8();
    m_->dot3PowerType = r_.u8();
    m_->dot3PowerSource = r_.u8();
    m_->dot3AggStatus = r_.u8();
    m_->dot3Mfs = r_.u16();
    SYNCTRACE("port[%s] sync:dot3Mfs:%d, offset:%d.\r\n", port_, m_->dot3Mfs, static_cast<int>(r_.off()));
    return r_.bad() ? truncated() : true;
  }

  bool med() {
    r_.copy(m_->medCapSupported, 2);
    SYNCTRACE("port[%s] sync:medCapSupported:[%02X], offset: %d.\r\n", port_,
              (m_->medCapSupported[0] << 8) | m_->medCapSupported[1], static_cast<int>(r_.off()));
    r_.copy(m_->medCapEnabled, 2);
    SYNCTRACE("port[%s] sync:medCapEnabled:[%02X], offset: %d.\r\n", port_,
              (m_->medCapEnabled[0] << 8) | m_->medCapEnabled[1], static_cast<int>(r_.off()));
    for (LldpRemMedPolicy& p : m_->medPolicy) {
      p.appType = r_.u8();
      p.unknown = r_.u8();
      p.tagged = r_.u8();
      p.priority = r_.u8();
      p.dscp = r_.u8();
      p.reserved = r_.u8();
      p.vid = r_.u16();
    }
    for (int f = 1; f <= LLDP_MED_LOCATION_FORMATS; ++f) {
      r_.u16();  // the format and a spare octet; the entry's place says the format
      const uint16_t len = r_.u16();
      const uint8_t* data = r_.bytes(len);
      if (r_.bad()) return truncated();
      if (len == 0) continue;
      LldpRemLocation* loc = lldpRemMedLocationSlot(m_, f);
      if (loc != nullptr) loc->data = dupBytes(data, len);
      if (loc == nullptr || loc->data == nullptr)
        return noMemory("unable to allocate memory for medLocation\treceived on  port %s \r\n");
      loc->len = len;
    }
    m_->medDevType = r_.u8();
    SYNCTRACE("port[%s] sync:medDevType:%d, offset:%d.\r\n", port_, m_->medDevType, static_cast<int>(r_.off()));
    m_->medPowerType = r_.u8();
    SYNCTRACE("port[%s] sync:medPowerType:%d, offset:%d.\r\n", port_, m_->medPowerType, static_cast<int>(r_.off()));
    m_->medPowerSource = r_.u8();
    SYNCTRACE("port[%s] sync:medPowerSource:%d, offset:%d.\r\n", port_, m_->medPowerSource,
              static_cast<int>(r_.off()));
    m_->medPowerPriority = r_.u8();
    SYNCTRACE("port[%s] sync:medPowerPriority:%d, offset:%d.\r\n", port_, m_->medPowerPriority,
              static_cast<int>(r_.off()));
    m_->medPowerVal = r_.u16();
    SYNCTRACE("port[%s] sync:medPowerVal:%d, offset:%d.\r\n", port_, m_->medPowerVal, static_cast<int>(r_.off()));
    uint8_t lens[LLDP_INV_COUNT];
    for (uint8_t& l : lens) l = r_.u8();
    if (r_.bad()) return truncated();
    for (int i = 0; i < LLDP_INV_COUNT; ++i) {
      const uint8_t* p = r_.bytes(lens[i]);
      if (r_.bad()) return truncated();
      if (lens[i] == 0) continue;
      LldpRemString& s = m_->medInventory[i];
      s.data = dupString(p, lens[i]);
      if (s.data == nullptr) return noMemory("unable to allocate memory for medInventory received on  port %s \r\n");
      s.len = lens[i];
    }
    return true;
  }

  bool priv() {
    r_.copy(m_->priCapSupported, 2);
    SYNCTRACE("port[%s] sync:priCapSupported:[%02X:%02X], offset: %d.\r\n", port_, m_->priCapSupported[0],
              m_->priCapSupported[1], static_cast<int>(r_.off()));
    r_.copy(m_->priCapEnabled, 2);
    static const char* const kLenLines[5] = {
        "port[%s] sync:priHwRevLen:%d, offset: %d.\r\n", "port[%s] sync:priFwRevLen:%d, offset: %d.\r\n",
        "port[%s] sync:priSwRevLen:%d, offset: %d.\r\n", "port[%s] sync:priSnLen:%d, offset: %d.\r\n",
        "port[%s] sync:priMfgNameLen:%d, offset: %d.\r\n"};
    static const char* const kFailLines[8] = {
        "unable to allocate memory for privHwRev received on  port %s \r\n",
        "unable to allocate memory for privFwRev received on  port %s \r\n",
        "unable to allocate memory for privSwRev received on  port %s \r\n",
        "unable to allocate memory for privSn  received on\tport %s \r\n",
        "unable to allocate memory for privMfgName\treceived on  port %s \r\n",
        "unable to allocate memory for privModelName  received on  port %s \r\n",
        "unable to allocate memory for privAssetId\treceived on  port %s \r\n",
        "unable to allocate memory for privSysOid  received on\tport %s \r\n"};
    uint16_t lens[8];
    for (int i = 0; i < 8; ++i) {
      lens[i] = r_.u16();
      if (i < 5) SYNCTRACE(kLenLines[i], port_, lens[i], static_cast<int>(r_.off()));
    }
    if (r_.bad()) return truncated();
    for (int i = 0; i < 8; ++i) {
      const uint8_t* p = r_.bytes(lens[i]);
      if (r_.bad()) return truncated();
      if (lens[i] == 0) continue;
      LldpRemString* s = lldpRemPriStringSlot(m_, i);
      if (s != nullptr) s->data = dupString(p, lens[i]);
      if (s == nullptr || s->data == nullptr) return noMemory(kFailLines[i]);
      s->len = lens[i];
    }
    return true;
  }

  SyncReader& r_;
  Msap* m_;
  const char* port_;
  uint8_t idLen_ = 0;
  const uint8_t* id_ = nullptr;
};

void recvMsap(const uint8_t* buf, uint32_t start, uint32_t end) {
  SyncReader r(buf, start + 4, end);
  const uint8_t action = r.u8();
  const uint32_t unit = r.u32();
  if (r.bad()) {
    SYNCTRACE("sync: record at offset %d runs past its message, skipped.\r\n", static_cast<int>(start));
    return;
  }
  LldpPort* port = lldpPortEntryGet(unit);
  if (port == nullptr) return;
  const LldpIfName name = lldpPortName(unit);
  SYNCTRACE("port[%s] sync:action:%d.\r\n", name.s, action);
  auto* m = static_cast<Msap*>(silCalloc(1, sizeof(Msap)));
  if (m == nullptr) {
    SYNCTRACE("syncMsap unable to allocate memory for MSAP received.\r\n");
    return;
  }
  m->unit = unit;
  if (!MsapReader(r, m, name.s).read()) {
    lldpMsapCleanup(&m);
    return;
  }
  if (action == LLDP_SYNC_UPDATE) {
    lldpMibUpdateObject(port, m);  // takes the record over
  } else if (action == LLDP_SYNC_DELETE) {
    lldpMibDeleteObject(port, lldpMsapEntyrGet(m->timeMark[0], m->timeMark[1], unit, m->remIndex));
    lldpMsapCleanup(&m);
  } else {
    lldpMsapCleanup(&m);
  }
}

void recvGlobalStats(const uint8_t* buf, uint32_t start, uint32_t end) {
  SyncReader r(buf, start + 4, end);
  const uint32_t hi = r.u32(), lo = r.u32();
  const uint32_t inserts = r.u32(), deletes = r.u32(), drops = r.u32(), ageouts = r.u32();
  if (r.bad()) {
    SYNCTRACE("sync: global statistics at offset %d run past their message, skipped.\r\n", static_cast<int>(start));
    return;
  }
  gLldpInfo.statsRemTablesLastChangeTime[0] = hi;
  gLldpInfo.statsRemTablesLastChangeTime[1] = lo;
  gLldpInfo.statsRemTablesInserts = inserts;
  gLldpInfo.statsRemTablesDeletes = deletes;
  gLldpInfo.statsRemTablesDrops = drops;
  gLldpInfo.statsRemTablesAgeouts = ageouts;
  SYNCTRACE("global statistic:statsRemTablesLastChangeTime:%d, statsRemTablesInserts:%d, "
            "statsRemTablesDeletes:%d, statsRemTablesDrops:%d, statsRemTablesAgeouts:%d, offset: %d.\r\n",
            static_cast<int>(lo), static_cast<int>(inserts), static_cast<int>(deletes), static_cast<int>(drops),
            static_cast<int>(ageouts), static_cast<int>(r.off()));
}

void recvPortStats(const uint8_t* buf, uint32_t start, uint32_t end) {
  SyncReader r(buf, start + 4, end);
  const uint32_t unit = r.u32();
  uint32_t v[9];
  for (uint32_t& w : v) w = r.u32();
  if (r.bad()) {
    SYNCTRACE("sync: port statistics at offset %d run past their message, skipped.\r\n", static_cast<int>(start));
    return;
  }
  LldpPort* port = lldpPortEntryGet(unit);
  if (port == nullptr) return;
  const LldpIfName name = lldpPortName(unit);
  SYNCTRACE("find port[%s].\r\n", name.s);
  port->remSysTotal = v[0];
  port->remMedSysTotal = v[1];
  port->statsAgeoutsTotal = v[2];
  port->statsFramesDiscardedTotal = v[3];
  port->statsFramesInErrorsTotal = v[4];
  port->statsFramesInTotal = v[5];
  port->statsTLVsDiscardedTotal = v[6];
  port->statsTLVsUnrecognizedTotal = v[7];
  port->statsFramesOutTotal = v[8];
  SYNCTRACE("port[%s] sync:remSysTotal:%d, remMedSysTotal:%d, statsAgeoutsTotal:%d, "
            "statsFramesDiscardedTotal:%d, statsFramesInErrorsTotal:%d, statsFramesInTotal:%d, "
            "statsTLVsDiscardedTotal:%d, statsTLVsUnrecognizedTotal:%d, statsFramesOutTotal:%d, offset: %d.\r\n",
            name.s, static_cast<int>(v[0]), static_cast<int>(v[1]), static_cast<int>(v[2]), static_cast<int>(v[3]),
            static_cast<int>(v[4]), static_cast<int>(v[5]), static_cast<int>(v[6]), static_cast<int>(v[7]),
            static_cast<int>(v[8]), static_cast<int>(r.off()));
}

}  // namespace

uint32_t lldpSyncMsapRecv(const uint8_t* buf, uint32_t len) {
  if (buf == nullptr) {
    LLDP_ASSERT_LINE("lldpSyncMsapRecv", 741);
    return 22;
  }
  lldpPktPrintf(buf, len, LLDP_TRC_SYNC, 1u << LLDP_TRC_SYNC);
  uint32_t off = 0;
  // Shrinks by every message handled while the offset grows past it.
  int64_t limit = len;
  while (off < limit) {
    if (len - off < 4) {
      SYNCTRACE("sync: %d octets at offset %d are too few for a message, ignored.\r\n", static_cast<int>(len - off),
                static_cast<int>(off));
      break;
    }
    const uint16_t type = lldpGet16(buf + off);
    const uint16_t mlen = lldpGet16(buf + off + 2);
    SYNCTRACE("sync:syncType:%d, offset %d.\r\n", type, static_cast<int>(off));
    SYNCTRACE("sync:length:%d, offset %d.\r\n", mlen, static_cast<int>(off + 2));
    if (mlen < 4 || mlen > len - off) {
      SYNCTRACE("sync: message length %d at offset %d does not fit the buffer, rest ignored.\r\n", mlen,
                static_cast<int>(off));
      break;
    }
    switch (type) {
      case LLDP_SYNC_TYPE_MSAP: recvMsap(buf, off, off + mlen); break;
      case LLDP_SYNC_TYPE_GLOBAL_STATS: recvGlobalStats(buf, off, off + mlen); break;
      case LLDP_SYNC_TYPE_PORT_STATS: recvPortStats(buf, off, off + mlen); break;
      default: break;  // unknown types are skipped
    }
    off += mlen;
    limit -= mlen;
  }
  return 0;
}
