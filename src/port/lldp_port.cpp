// The port table.
//
// One LldpPort per interface the agent runs on, taken from the fixed pool
// gLldpInfo.portPool ("lldp_if") and linked in gLldpInfo.portTable, ordered by
// the platform unit. A record is born disabled (admin status 4) by
// lldpPortEntryAdd; lldpPortEntryInit moves it between the admin statuses,
// which is where the frame buffers come and go and where the protocol is
// registered with the platform on the interface:
//
//   object 53 / 54  protocol on / off in the interface's default state
//   object 56 / 57  protocol on / off in the interface's current state
//
// Every function here expects the caller to hold lldpLock.
#include "port/lldp_port.h"

#include <cstdint>
#include <cstring>

#include "base/lldp_info.h"
#include "base/lldp_nla.h"
#include "base/lldp_trace.h"
#include "frameio/lldp_frameio.h"
#include "local/lldp_local.h"
#include "platform/logging.h"
#include "platform/platform_types.h"
#include "platform/sil.h"
#include "platform/zor_if.h"
#include "rx/lldp_msap.h"
#include "rx/lldp_rx.h"
#include "tx/lldp_tx.h"

namespace {

constexpr int kErrNoEntry = 0x3E80002;
constexpr int kErrBadValue = 0x3E80010;
constexpr int kErrNoMem = 12;
constexpr uint32_t kProtoLldp = 7;  // "lldp" in the platform's protocol table
constexpr const char* kProtoName = "lldp";

constexpr uint32_t kObjDefaultOn = 53;
constexpr uint32_t kObjDefaultOff = 54;
constexpr uint32_t kObjStateOn = 56;
constexpr uint32_t kObjStateOff = 57;

constexpr uint16_t kAttrResetCfg = 75;
constexpr uint32_t kResetReasonManual = 0;
constexpr uint32_t kResetReasonPortSplit = 3;

int setProto(uint32_t unit, uint32_t objId) {
  uint32_t proto = kProtoLldp;
  return zorIfSetApi(unit, objId, &proto);
}

// The platform's "port:%d" traces of a failed deregistration are handed the
// interface name; on the agent's hosts that prints the low 32 bits of the name
// buffer's address. Kept as it is: the text is what operators grep for.
int nameAsInt(const LldpIfName& name) {
  return static_cast<int>(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(name.s)));
}

uint8_t* allocFrameBuf(uint32_t mtu) {
  return static_cast<uint8_t*>(silMalloc(lldpFrameBufSize(mtu)));
}

}  // namespace

LldpIfName lldpPortName(uint32_t unit) {
  LldpIfName name{};
  zorIfUnit2Name(unit, name.s);
  name.s[sizeof(name.s) - 1] = '\0';
  return name;
}

int lldpPortEntyrCmp(const void* a, const void* b) {
  const uint32_t ua = static_cast<const LldpPort*>(a)->unit;
  const uint32_t ub = static_cast<const LldpPort*>(b)->unit;
  if (ua > ub) return 1;
  if (ua < ub) return -1;
  return 0;
}

LldpPort* lldpPortEntryGet(uint32_t unit) {
  LldpPort key;
  key.unit = unit;
  return static_cast<LldpPort*>(avl_find(&gLldpInfo.portTable, &key));
}

int lldpPortSendMsg(void) { return 0; }

LldpPort* lldpPortEntryAdd(uint32_t unit) {
  const LldpIfName name = lldpPortName(unit);
  uint32_t ifIndex = 0;
  lldpGetIndexFromUnit(unit, &ifIndex);
  LLDP_TRACE(LLDP_TRC_PORT, "Interface index:%d, port:%s is adding\r\n", static_cast<int>(ifIndex),
             name.s);

  auto* port = static_cast<LldpPort*>(silMemPoolAlloc(&gLldpInfo.portPool));
  if (port == nullptr) {
    LLDP_TRACE(LLDP_TRC_PORT, "if table is empty\r\n");
    return nullptr;
  }
  port->ifIndex = ifIndex;
  port->unit = unit;
  lldpListInit(&port->msapList);
  LLDP_TRACE(LLDP_TRC_PORT, "Adding port %s to global port list\r\n", name.s);
  if (avl_add(&gLldpInfo.portTable, port) != 0) {
    // The unit already has a record (an aggregation quit for a port that was
    // never removed): keep the one in the table.
    silMemPoolFree(&gLldpInfo.portPool, port);
    return nullptr;
  }

  port->adminStatus = LLDP_ADMIN_DISABLED;
  lldpPortInitialize(port);

  if (gLldpInfo.dflPortMode != LLDP_ADMIN_DISABLED && setProto(unit, kObjDefaultOn) != 0) {
    loggingLogOutput(LLDP_LOG_MODULE_AGENT, 5, 0,
                     "The interface enable protocol error.(ifName=[%s], proto=[%s], "
                     "type=[defaultstate])\r\n",
                     name.s, kProtoName);
    LLDP_TRACE(LLDP_TRC_PORT, "port %s DFLTSTATE enable failed !\r\n", name.s);
  }
  return port;
}

int lldpPortEntryInit(LldpPort* port, uint32_t adminStatus) {
  if (port == nullptr) return -1;
  if (adminStatus == port->adminStatus) return 0;
  const LldpIfName name = lldpPortName(port->unit);

  if (adminStatus >= LLDP_ADMIN_TX && adminStatus <= LLDP_ADMIN_TXRX) {
    if (port->protoRegistered == 0) {
      const int rc = setProto(port->unit, kObjStateOn);
      if (rc != 0) {
        loggingLogOutput(LLDP_LOG_MODULE_AGENT, 5, 0,
                         "The interface enable protocol error.(ifName=[%s], proto=[%s], "
                         "type=[state])\r\n",
                         name.s, kProtoName);
        LLDP_TRACE(LLDP_TRC_PORT, "port %s IfSetState failed !ret = %d\r\n", name.s, rc);
        return rc;
      }
      port->protoRegistered = 1;
    }
    const int rc = lldpSocketInitialize(port);
    if (rc != 0) return rc;

    if (adminStatus & LLDP_ADMIN_RX) {
      silFree(port->rx.frame);
      port->rx.frame = allocFrameBuf(port->mtu);
      if (port->rx.frame == nullptr) {
        LLDP_TRACE(LLDP_TRC_PORT, "no space rx.frame failed. %s\r\n", name.s);
        return kErrNoMem;
      }
      port->rxSize = lldpRxSizeOf(port->mtu);
    }
    if (adminStatus & LLDP_ADMIN_TX) {
      silFree(port->tx.frame);
      port->txSize = 0;
      port->tx.frame = allocFrameBuf(port->mtu);
      if (port->tx.frame == nullptr) {
        LLDP_TRACE(LLDP_TRC_PORT, "no space tx.frame failed. %s \r\n", name.s);
        return kErrNoMem;
      }
      port->txSize = lldpFrameBufSize(port->mtu);
      lldpPortSendMsg();
    }
    // Leaving TX or TXRX for receive only: the neighbours hear a shutdown
    // LLDPDU now rather than keep the port for a whole TTL. The
    // re-initialisation below must not undo that shutdown: its machine
    // finishes it (reinitDelay, then the transmit buffer goes), run by the
    // tick while reinitDone is 0.
    const bool shuttingDown = (port->adminStatus & LLDP_ADMIN_TX) &&
                              !(adminStatus & LLDP_ADMIN_TX) && lldpTxShutdown(port) == 1;
    // Going between the three active statuses keeps the TLV settings (no
    // lldpPortCleanup here); only a disable clears them.
    lldpPortMsapCleanup(port);
    port->adminStatus = static_cast<uint8_t>(adminStatus);
    lldpPortInitialize(port);
    if (shuttingDown) {
      port->txState = TX_SHUTDOWN_FRAME;
      port->txShutdownWhile = port->reinitDelay;
      port->reinitDone = 0;
    }
    return 0;
  }

  if (adminStatus == LLDP_ADMIN_DISABLED) {
    if (port->protoRegistered == 1) {
      const int rc = setProto(port->unit, kObjStateOff);
      if (rc != 0) {
        LLDP_TRACE(LLDP_TRC_PORT, "port[%s] IfSetState failed.\r\n", name.s);
        return rc;
      }
      port->protoRegistered = 0;
    }
    // The shutdown LLDPDU leaves now, while the transmit buffer is certain to
    // be there; when it cannot (link down, gate closed) the machine sends it
    // once it runs again.
    if (port->adminStatus & LLDP_ADMIN_TX) lldpTxShutdown(port);
    lldpPortCleanup(port);
    port->adminStatus = LLDP_ADMIN_DISABLED;
    port->reinitDone = 0;
    port->notificationEnable = 2;
    // reinitDone is 0 now: only the receive buffer goes, the transmit buffer
    // stays for the shutdown frame.
    lldpSocketCleanup(port);
    lldpPortSendMsg();
    return 0;
  }

  LLDP_TRACE(LLDP_TRC_PORT, "port %s unknown port statues in\tlldpPortEntryInit !\r\n", name.s);
  return kErrBadValue;
}

int lldpPortInitialize(LldpPort* port) {
  if (port == nullptr) return kErrNoEntry;
  const LldpIfName name = lldpPortName(port->unit);

  LLDP_TRACE(LLDP_TRC_PORT, "port %s initializing TX SM \r\n", name.s);
  // A fresh record's list is made empty here. A list that still holds
  // neighbours is left for the receive initialisation to empty, so that no
  // remote record is cut loose while still linked in the remote table.
  if (port->msapList.next == nullptr || port->msapList.prev == nullptr) lldpListInit(&port->msapList);
  port->txState = TX_LLDP_INITIALIZE;
  lldpTxInitialize(port);

  LLDP_TRACE(LLDP_TRC_PORT, "port %s initializing RX SM for \r\n", name.s);
  port->rxState = LLDP_WAIT_PORT_OPERATIONAL;
  lldpRxInitialize(port);

  port->reinitDone = 1;
  port->portEnabled = 1;
  port->portIdSubtype = 5;
  port->notificationEnable = 0;
  port->medNotificationEnable = 0;
  std::memset(port->initCleared, 0, sizeof(port->initCleared));

  LLDP_TRACE(LLDP_TRC_PORT, "port %s initializing TLV subsystem\r\n", name.s);
  if (lldpPortCheckLinkUp(port->unit) != 0) {
    port->portStatus = 2;
    LLDP_TRACE(LLDP_TRC_PORT, "port[%s] status[init]-->[linkdown].\r\n", name.s);
  } else {
    port->portStatus = 1;
    LLDP_TRACE(LLDP_TRC_PORT, "port [%s] status[init]-->[linkup].\r\n", name.s);
  }

  if (port->adminStatus != LLDP_ADMIN_DISABLED) lldpTlvInitialize(port);
  return 0;
}

int lldpPortCleanup(LldpPort* port) {
  if (port == nullptr) return 0;
  const LldpIfName name = lldpPortName(port->unit);
  LLDP_TRACE(LLDP_TRC_PORT, "port [%s] found. cleaning...\r\n", name.s);
  lldpPortMsapCleanup(port);
  LLDP_TRACE(LLDP_TRC_PORT, "port[%s]\r\n", name.s);
  lldpTlvCleanup(port);
  port->basicTlvTxEnabled = 0;
  port->dot1TlvTxEnabled = 0;
  port->dot3TlvTxEnabled = 0;
  reinterpret_cast<uint8_t*>(&port->medTlvTxEnabled)[0] = 0;
  port->protocolIdTxEnable = 0;
  std::memset(port->vlanNameTxEnable, 0, sizeof(port->vlanNameTxEnable));
  std::memset(port->ppvidTxEnable, 0, sizeof(port->ppvidTxEnable));
  return 0;
}

int lldpPortEntryDel(LldpPort* port) {
  if (port == nullptr) return kErrNoEntry;
  const LldpIfName name = lldpPortName(port->unit);
  LLDP_TRACE(LLDP_TRC_PORT, "Interface port:%s is deleting\r\n", name.s);

  if (port->protoRegistered) {
    if (setProto(port->unit, kObjStateOff) != 0) {
      loggingLogOutput(LLDP_LOG_MODULE_AGENT, 5, 0,
                       "The interface disable protocol error.(ifName=[%s], proto=[%s], "
                       "type=[state])\r\n",
                       name.s, kProtoName);
      LLDP_TRACE(LLDP_TRC_PORT, "port:%d IfSetState failed !\r\n", nameAsInt(name));
    } else {
      port->protoRegistered = 0;
    }
  }
  if (setProto(port->unit, kObjDefaultOff) != 0) {
    loggingLogOutput(LLDP_LOG_MODULE_AGENT, 5, 0,
                     "The interface disable protocol error.(ifName=[%s], proto=[%s], "
                     "type=[defaultstate])\r\n",
                     name.s, kProtoName);
    LLDP_TRACE(LLDP_TRC_PORT, "port:%d DFLTSTATE disable failed !\r\n", nameAsInt(name));
  }

  lldpPortCleanup(port);
  lldpSocketCleanup(port);
  // A port deleted while still disabling kept its transmit buffer for the
  // shutdown frame; the record goes back to the pool, so the buffer goes too.
  silFree(port->tx.frame);
  port->tx.frame = nullptr;
  avl_remove(&gLldpInfo.portTable, port);
  silMemPoolFree(&gLldpInfo.portPool, port);
  return 0;
}

void lldpPortConfigReset(uint32_t unit, const uint8_t* msg, uint32_t len) {
  if (msg == nullptr || len < 24) return;
  uint32_t total = 0;
  std::memcpy(&total, msg, 4);
  // Walk only what both the message and the buffer hold.
  const uint32_t avail = total < len ? total : len;
  if (avail < kZorIfAttrOffset) return;
  LldpPort* port = lldpPortEntryGet(unit);
  if (port == nullptr) return;
  port->notificationEnable = 2;

  int32_t rem = static_cast<int32_t>(avail - kZorIfAttrOffset);
  for (const uint8_t* attr = msg + kZorIfAttrOffset; lldpNlaOk(attr, rem);
       attr = lldpNlaNext(attr, &rem)) {
    if (lldpNlaType(attr) != kAttrResetCfg || lldpNlaPayload(attr) < 8) continue;
    uint32_t words[2];
    std::memcpy(words, lldpNlaData(attr), sizeof(words));
    const uint32_t reason = words[0];
    const uint32_t op = words[1];
    const LldpIfName name = lldpPortName(unit);
    const char* type = reason == kResetReasonPortSplit ? "portsplit" : "manual";
    const char* what = op == 1 ? "reset all" : "reset default";
    loggingLogOutput(LLDP_MODULE_BASE + LLDP_TRC_EVENT, 5, 0,
                     "lldprecv ifUnit:%s resetcfg type:%s, op: %s.\r\n", name.s, type, what);
    LLDP_TRACE(LLDP_TRC_EVENT, "lldprecv ifUnit:%s resetcfg type:%s, op: %s.\r\n", name.s, type,
               what);
    if (reason == kResetReasonPortSplit) {
      lldpPortEntryInit(port, LLDP_ADMIN_DISABLED);
    } else if (reason == kResetReasonManual) {
      lldpPortEntryInit(port, LLDP_ADMIN_DISABLED);
      lldpPortEntryInit(port, gLldpInfo.dflPortMode);
    }
  }
}
