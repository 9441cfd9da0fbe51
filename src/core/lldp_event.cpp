// Platform port events.
//
// The platform reports its interfaces and hardware on rtSock as netlink-style
// messages (24-byte header, then a body by type). lldpEvtNotifyRecv walks one
// received buffer message by message and turns each into an action on the
// port table, the agent record or the stack synchronisation. It runs on the
// protocol task with the agent lock held.
//
// Every read stays inside the buffer: the walk only accepts a message whose
// total length fits in what remains, fixed body fields are read from a copy
// of the message's first bytes (missing bytes read as zero), and attributes
// are walked with the bounded netlink helpers.
#include <cstring>

#include "base/lldp_info.h"
#include "base/lldp_nla.h"
#include "base/lldp_trace.h"
#include "core/lldp_core.h"
#include "core/lldp_task.h"
#include "frameio/lldp_frameio.h"
#include "platform/platform_types.h"
#include "platform/zor_hwil.h"
#include "platform/zor_if.h"
#include "port/lldp_port.h"
#include "sync/lldp_sync.h"

namespace {

constexpr uint32_t kMsgHdrLen = sizeof(ZorMsgHdr);  // 24
constexpr uint32_t kProtoLldp = 7;

constexpr uint32_t kIfObjNotForUs = 13;
constexpr uint32_t kIfObjAggKind = 10;
constexpr uint32_t kAggKindBit = 0x40000;
constexpr uint32_t kTransKindIf = 5;
constexpr uint32_t kIfTypeEthernet = 1;
constexpr uint32_t kIfTypeMgmtEthernet = 44;

constexpr uint16_t kAttrSkip54 = 54;
// Attribute 55 carries a list of 16-bit values about the interface; the agent
// has no use for it.
constexpr uint16_t kAttrVlanList55 = 55;
constexpr uint16_t kAttrFirstUnknown = 56;

constexpr uint16_t kRtmConfigReset = 360;

// Slot and card hardware objects: two checks, then the peer's readiness.
constexpr uint32_t kSlotObj1 = 0x1F40032, kSlotObj2 = 0x1F4002B, kSlotObj3 = 0x1F4002A;
constexpr uint32_t kCardObj1 = 0x2EE002B, kCardObj2 = 0x2EE002A, kCardObj3 = 0x2EE0029;

// The fixed part of one message: header, interface header, and the start of
// the body, copied so that short messages read as zero-filled.
struct MsgView {
  uint8_t head[kZorIfAttrOffset];
  const uint8_t* msg;
  uint32_t len;  // total length of the message (fits in the buffer)

  MsgView(const uint8_t* m, uint32_t l) : head{}, msg(m), len(l) {
    std::memcpy(head, m, l < sizeof(head) ? l : sizeof(head));
  }
  uint16_t type() const {
    uint16_t t;
    std::memcpy(&t, head + 4, 2);
    return t;
  }
  uint32_t word(uint32_t off) const {
    uint32_t w;
    std::memcpy(&w, head + off, 4);
    return w;
  }
  // Body word i (the body starts after the 24-byte header).
  uint32_t body(uint32_t i) const { return word(kMsgHdrLen + 4 * i); }
};

void slotUp(const MsgView& m) {
  const uint32_t s0 = m.body(0), s1 = m.body(1);
  LLDP_TRACE(LLDP_TRC_EVENT, "lldpSlotNotifier: slot:%lu/%lu ZOR_RTM_SLOT_UP!\r\n",
             static_cast<unsigned long>(s0), static_cast<unsigned long>(s1));
  uint32_t v1 = kProtoLldp, v2 = kProtoLldp;
  if (zorHwilSlotGet(s0, s1, kSlotObj1, &v1) != 0 || zorHwilSlotGet(s0, s1, kSlotObj2, &v2) != 0 ||
      !lldpSyncAvailable())
    return;
  uint32_t v3 = kProtoLldp;
  const uint32_t ok = zorHwilSlotGet(s0, s1, kSlotObj3, &v3) == 0 ? 1 : 0;
  lldpSyncAllSend(2, ok);
}

void cardUp(const MsgView& m) {
  const uint32_t c0 = m.body(0), c1 = m.body(1), c2 = m.body(2);
  LLDP_TRACE(LLDP_TRC_EVENT, "lldpCardNotifier: card:%lu/%lu/%lu ZOR_RTM_CARD_UP!\r\n",
             static_cast<unsigned long>(c0), static_cast<unsigned long>(c1),
             static_cast<unsigned long>(c2));
  uint32_t v1 = kProtoLldp, v2 = kProtoLldp;
  if (zorHwilCardGet(c0, c1, c2, kCardObj1, &v1) != 0 ||
      zorHwilCardGet(c0, c1, c2, kCardObj2, &v2) != 0 || !lldpSyncAvailable())
    return;
  uint32_t v3 = kProtoLldp;
  const uint32_t ok = zorHwilCardGet(c0, c1, c2, kCardObj3, &v3) == 0 ? 1 : 0;
  lldpSyncAllSend(1, ok);
  zorCardUpPcsSet(c0, c1, c2, kProtoLldp);
}

void subSysUp(const MsgView& m) {
  const uint32_t sys = m.body(0);
  LLDP_TRACE(LLDP_TRC_EVENT, "lldpSubSysNotifier: subsystem:%lu UP!\r\n",
             static_cast<unsigned long>(sys));
  if (sys != zorSelfSysIndex() && lldpSyncAvailable()) lldpSyncAllSend(2, 1);
}

void delLink(const MsgView& m) {
  if (m.len < kMsgHdrLen) return;
  const uint32_t unit = m.body(1);
  ZorIndexInfo info{};
  if (zorIndexTrans(unit, kTransKindIf, &info) != 0) return;
  if (info.portKind != 1 && info.portKind != 2) return;
  if (LldpPort* port = lldpPortEntryGet(unit)) {
    LLDP_TRACE(LLDP_TRC_EVENT, "unregister port %s \r\n", lldpPortName(unit).s);
    lldpPortEntryDel(port);
  }
}

// Reads interface object 10 of the aggregation named by the attribute and
// tells whether its kind bit is set. False also when the read fails (*ok 0).
bool aggKindBit(const uint8_t* attr, bool* ok) {
  const uint32_t aggUnit = lldpNlaGetU32(attr);
  uint32_t kind = 0;
  *ok = zorIfGetApi(aggUnit, kIfObjAggKind, &kind) == 0;
  return *ok && (kind & kAggKindBit) != 0;
}

void newLinkAttrs(const MsgView& m, uint32_t unit, LldpPort* port) {
  if (m.len <= kZorIfAttrOffset) return;
  int32_t rem = static_cast<int32_t>(m.len - kZorIfAttrOffset);
  const LldpIfName name = lldpPortName(unit);
  for (const uint8_t* attr = m.msg + kZorIfAttrOffset; lldpNlaOk(attr, rem);
       attr = lldpNlaNext(attr, &rem)) {
    const uint16_t type = lldpNlaType(attr);
    // Without a record only an aggregation quit can bring the port back.
    if (port == nullptr && type != ZOR_IFLA_PHYQUITAGG) return;
    if (type >= kAttrFirstUnknown) {
      LLDP_TRACE(LLDP_TRC_PORT, "port %s unknown event %d!\r\n", name.s, type);
      continue;
    }
    switch (type) {
      case ZOR_IFLA_ADDRESS: {
        const int32_t n = lldpNlaPayload(attr);
        std::memcpy(port->portMac, lldpNlaData(attr), n < 6 ? static_cast<size_t>(n) : 6u);
        const uint8_t* mac = port->portMac;
        LLDP_TRACE(LLDP_TRC_EVENT,
                   "port %s change mac to%02x:%02x:%02x:%02x:%02x:%02x \r\n", name.s, mac[0],
                   mac[1], mac[2], mac[3], mac[4], mac[5]);
        break;
      }
      case ZOR_IFLA_MTU: {
        const int32_t mtu = static_cast<int32_t>(lldpNlaGetU32(attr));
        LLDP_TRACE(LLDP_TRC_EVENT, "port %s change mtu to %d \r\n", name.s, mtu);
        lldpIfChangeMtu(unit, static_cast<uint32_t>(mtu));
        // Applied first, warned about after: a short MTU is the platform's word.
        if (mtu < 64) LLDP_TRACE(LLDP_TRC_EVENT, "ifMtu %d is too short!\r\n", mtu);
        break;
      }
      case ZOR_IFLA_OPERSTATE: {
        const uint8_t st = lldpNlaGetU8(attr);
        if (st == 1) {
          port->portStatus = 1;
          LLDP_TRACE(LLDP_TRC_EVENT, "port %s linkup!\r\n", name.s);
        } else if (st == 2) {
          port->portStatus = 2;
          LLDP_TRACE(LLDP_TRC_EVENT, "port %s linkdown!\r\n", name.s);
        } else {
          LLDP_TRACE(LLDP_TRC_EVENT, "port %s unknown oper status %d!\r\n", name.s, st);
        }
        break;
      }
      case ZOR_IFLA_PHYJOINAGG: {
        LLDP_TRACE(LLDP_TRC_EVENT, "port %s ZOR_IFLA_PHYJOINAGG \r\n", name.s);
        bool ok = false;
        const bool member = aggKindBit(attr, &ok);
        if (!ok) return;
        if (member) {
          lldpPortEntryDel(port);
          return;
        }
        break;
      }
      case ZOR_IFLA_PHYQUITAGG: {
        LLDP_TRACE(LLDP_TRC_EVENT, "port %s ZOR_IFLA_PHYQUITAGG \r\n", name.s);
        bool ok = false;
        if (aggKindBit(attr, &ok)) {
          // Unlike a registration, this does not look at globalAdminStatus.
          if (LldpPort* fresh = lldpPortEntryAdd(unit)) {
            lldpPortEntryInit(fresh, gLldpInfo.dflPortMode);
            lldpDaemonPortAdded(fresh);
          }
        }
        return;
      }
      case kAttrSkip54:
      case kAttrVlanList55:
      default:
        break;
    }
  }
}

void newLink(const MsgView& m) {
  if (m.len < kMsgHdrLen) {
    LLDP_TRACE(LLDP_TRC_EVENT, "NewLink data len:%d.\r\n", static_cast<int>(m.len));
    return;
  }
  const uint32_t unit = m.body(1);
  uint32_t notForUs = 0;
  if (zorIfGetApi(unit, kIfObjNotForUs, &notForUs) == 0 && notForUs == 1) return;

  ZorIndexInfo info{};
  if (zorIndexTrans(unit, kTransKindIf, &info) != 0) return;
  const bool typeOk = info.ifType == kIfTypeEthernet ||
                      (info.ifType == kIfTypeMgmtEthernet && gLldpInfo.methIfEnable == 1);
  if (!typeOk || info.status != 0) return;

  LldpPort* port = lldpPortEntryGet(unit);
  if (m.body(3) == 0xFFFFFFFFu) {
    if (port != nullptr) return;
    LLDP_TRACE(LLDP_TRC_EVENT, "port %s REGISTER\r\n", lldpPortName(unit).s);
    if (LldpPort* fresh = lldpPortEntryAdd(unit)) {
      lldpPortEntryInit(fresh, gLldpInfo.globalAdminStatus == 1 ? gLldpInfo.dflPortMode
                                                                : LLDP_ADMIN_DISABLED);
      lldpDaemonPortAdded(fresh);
    }
    return;
  }
  newLinkAttrs(m, unit, port);
}

void tunnelMacChange(const MsgView& m) {
  LLDP_TRACE(LLDP_TRC_EVENT, "lldpEvtNotifyRecv: ZOR_RTM_L2PROTOTUNNEL_MACCHANGE\r\n");
  const uint32_t unit = m.word(24);
  const uint8_t op = m.head[29];
  const uint8_t* mac = m.head + 30;
  if (std::memcmp(mac, lldpMcastMac, 6) == 0) lldpSocketPktFilterSet(unit, mac, op);
}

void handleMessage(const MsgView& m) {
  switch (m.type()) {
    case ZOR_RTM_NEWLINK:
      LLDP_TRACE(LLDP_TRC_EVENT, "lldpEvtNotifyRecv: ZOR_RTM_NEWLINK!\r\n");
      newLink(m);
      break;
    case ZOR_RTM_DELLINK:
      LLDP_TRACE(LLDP_TRC_EVENT, "lldpEvtNotifyRecv: ZOR_RTM_DELLINK!\r\n");
      delLink(m);
      break;
    case ZOR_RTM_RESETPORTCONFIG:
      LLDP_TRACE(LLDP_TRC_EVENT, "lldpEvtNotifyRecv: ZOR_RTM_RESETPORTCONFIG!\r\n");
      if (m.len < kMsgHdrLen) {
        LLDP_TRACE(LLDP_TRC_EVENT, "ERROR NewLink data len:%d\r\n", static_cast<int>(m.len));
        break;
      }
      lldpPortConfigReset(m.body(1), m.msg, m.len);
      break;
    case ZOR_RTM_SLOT_UP:
      slotUp(m);
      break;
    case ZOR_RTM_CARD_UP:
      cardUp(m);
      break;
    case ZOR_RTM_SUBSYS_UP:
      subSysUp(m);
      break;
    case kRtmConfigReset:
      lldpSysInit();
      break;
    case ZOR_RTM_L2PROTOTUNNEL_MACCHANGE:
      tunnelMacChange(m);
      break;
    default:
      LLDP_TRACE(LLDP_TRC_EVENT, "unknown rtm type %d!\r\n", m.type());
      break;
  }
}

}  // namespace

int lldpEvtNotifyRecv(const uint8_t* buf, uint32_t len) {
  if (buf == nullptr) return 0;
  uint32_t rem = len;
  const uint8_t* p = buf;
  while (rem >= kMsgHdrLen) {
    uint32_t msgLen;
    std::memcpy(&msgLen, p, sizeof(msgLen));
    if (msgLen < kMsgHdrLen || msgLen > rem) break;
    handleMessage(MsgView(p, msgLen));
    const uint32_t step = (msgLen + 3u) & ~3u;
    if (step >= rem) break;
    p += step;
    rem -= step;
  }
  return 0;
}
