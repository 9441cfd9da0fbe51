// Frame I/O.
//
// Every LLDP frame leaves and enters through gLldpInfo.dataSock, one packet
// socket opened at start for EtherType 0x88CC. Sending builds the 20-byte
// link-layer address from the port's unit and the agent's destination
// EtherType; the frame itself (addresses, type, TLVs) comes ready-made from
// the transmit path. Receiving is driven by the protocol task (lldp_task.cpp),
// which reads the socket and hands each frame to its port with lldpMsgRecv.
//
// Each port owns at most two frame buffers: rx.frame while its admin status
// includes receive and tx.frame while it includes transmit (a disabled port
// keeps tx.frame until its shutdown frame is gone). Everything here runs under
// the agent lock.
#include "frameio/lldp_frameio.h"

#include <cstdio>
#include <cstring>

#include "base/lldp_info.h"
#include "base/lldp_trace.h"
#include "base/lldp_wire.h"
#include "local/lldp_local.h"
#include "platform/logging.h"
#include "platform/platform_types.h"
#include "platform/sil.h"
#include "platform/zor_socket.h"
#include "rx/lldp_rx.h"

const uint8_t lldpMcastMac[6] = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E};
const uint8_t lldpBcastMac[6] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

namespace {

constexpr int kErrNoEntry = 0x3E80002;
constexpr uint32_t kEthHdrLen = 14;
constexpr uint32_t kVlanTagLen = 4;

// The LLDPDU starts after the Ethernet header, or after one 802.1Q tag when
// the frame still carries it (the platform may hand frames over tagged; the
// Linux platform puts a stripped tag back). Only the usual TPIDs count:
// 0x8100 (C-tag), 0x88a8 (S-tag) and the older 0x9100.
uint32_t lldpduOffset(const uint8_t* frame, uint32_t len) {
  if (len < kEthHdrLen) return kEthHdrLen;
  const uint32_t tpid = lldpGet16(frame + 12);
  if (tpid == 0x8100 || tpid == 0x88a8 || tpid == 0x9100) return kEthHdrLen + kVlanTagLen;
  return kEthHdrLen;
}

// A packet filter record as the platform takes it: unit, rule kind, field
// code, record length 28, then 16 bytes of value.
constexpr uint32_t kFilterRecLen = 28;
void fillFilterRecord(uint8_t* rec, uint32_t unit, uint32_t kind, uint8_t field,
                      const uint8_t* value, uint32_t valueLen) {
  std::memset(rec, 0, kFilterRecLen);
  std::memcpy(rec, &unit, 4);
  std::memcpy(rec + 4, &kind, 4);
  rec[8] = field;
  rec[9] = static_cast<uint8_t>(kFilterRecLen);
  std::memcpy(rec + 12, value, valueLen);
}

}  // namespace

int lldpSocketInitialize(LldpPort* port) {
  if (port == nullptr) return kErrNoEntry;
  lldpPortGetMacAddr(port->unit, port->portMac);
  uint32_t mtu = 0;
  if (lldpPortGetMtu(port->unit, &mtu) != 0) mtu = LLDP_DEFAULT_MTU;
  port->mtu = mtu;
  LLDP_TRACE(LLDP_TRC_PORT, "MTU is %d\r\n", static_cast<int>(port->mtu));
  return 0;
}

int lldpSocketCleanup(LldpPort* port) {
  if (port == nullptr) return kErrNoEntry;
  if (port->rx.frame != nullptr) {
    LLDP_TRACE(LLDP_TRC_PORT, "Freeing port %s rx framebuffer...\r\n",
               lldpPortName(port->unit).s);
    silFree(port->rx.frame);
    port->rx.frame = nullptr;
  }
  if (port->reinitDone == 0) {
    // Being disabled: the shutdown frame is still to be built in tx.frame.
    port->rxState = RX_LLDP_INITIALIZE;
  } else if (port->tx.frame != nullptr) {
    LLDP_TRACE(LLDP_TRC_PORT, "Freeing port %s tx framebuffer...\r\n",
               lldpPortName(port->unit).s);
    silFree(port->tx.frame);
    port->tx.frame = nullptr;
    port->txSize = 0;
  }
  return 0;
}

int lldpMsgRecv(LldpPort* port, const uint8_t* aux, const uint8_t* frame, uint32_t len) {
  if (port == nullptr || aux == nullptr) {
    LLDP_ASSERT_LINE("lldpMsgRecv", 115);
    return -1;
  }
  if (port->rx.frame == nullptr) return 0;  // receive buffer could not be allocated
  if (frame == nullptr) len = 0;
  // rxSize is the buffer's real capacity; it can differ from mtu after an MTU
  // change that could not get a new buffer, so it bounds both the clear and
  // the copy.
  std::memset(port->rx.frame, 0, port->rxSize);
  const uint32_t n = len < port->rxSize ? len : port->rxSize;
  if (n > 0) std::memcpy(port->rx.frame, frame, n);
  port->rx.recvsize = n;
  port->rx.info = aux[16];
  port->rxLldpduOffset = lldpduOffset(port->rx.frame, n);
  if (n == 0 || (port->adminStatus & LLDP_ADMIN_RX) == 0) return 0;
  port->rcvFrame = 1;
  lldpRxStatemachineRun(port);
  return 0;
}

int lldpBufferSend(LldpPort* port, const uint8_t* buf, uint32_t len) {
  if (port == nullptr || buf == nullptr) {
    LLDP_ASSERT_LINE("lldpBufferSend", 144);
    return -1;
  }
  if (lldpPortCheckLinkUp(port->unit) != 0) return -1;

  ZorSockAddrLl to{};
  to.family = ZOR_AF_PACKET;
  to.protocol = gLldpInfo.dstEtherType;
  to.ifIndex = port->unit;
  to.hatype = 0;
  to.pktType = 2;
  to.halen = 0;
  const long sent = zor_sendto(gLldpInfo.dataSock, buf, len, 0, &to, sizeof(to));
  if (sent == static_cast<long>(len)) return 0;
  LLDP_TRACE(LLDP_TRC_TX, "call sendto failed on port %s !\r\n", lldpPortName(port->unit).s);
  return -1;
}

int lldpIfChangeMtu(uint32_t unit, uint32_t newMtu) {
  LldpPort* port = lldpPortEntryGet(unit);
  if (port == nullptr || newMtu == port->mtu) return 0;
  const uint32_t size = lldpFrameBufSize(newMtu);
  if (port->adminStatus & LLDP_ADMIN_TX) {
    // A failed allocation keeps the old buffer (and txSize says how big it is).
    if (auto* buf = static_cast<uint8_t*>(silMalloc(size))) {
      silFree(port->tx.frame);
      port->tx.frame = buf;
      port->txSize = size;
      port->tx.freesize = newMtu;
    }
  }
  if (port->adminStatus & LLDP_ADMIN_RX) {
    if (auto* buf = static_cast<uint8_t*>(silMalloc(size))) {
      silFree(port->rx.frame);
      port->rx.frame = buf;
      port->rxSize = lldpRxSizeOf(newMtu);
    }
  }
  // The new MTU is taken even when a buffer could not follow.
  port->mtu = newMtu;
  return 0;
}

int lldpSocketPktFilterSet(uint32_t unit, const uint8_t* mac, uint32_t op) {
  int name;
  if (op == 1) {
    name = ZOR_SO_PKTFILTER_ADD;
  } else if (op == 2) {
    name = ZOR_SO_PKTFILTER_DEL;
  } else {
    return 0;
  }
  if (gLldpInfo.dataSock < 0 || mac == nullptr) return -1;

  uint8_t rec[kFilterRecLen];
  fillFilterRecord(rec, unit, 1, 2, reinterpret_cast<const uint8_t*>(&unit), 4);
  if (zor_setsockopt(gLldpInfo.dataSock, ZOR_SOL_SOCKET, name, rec, kFilterRecLen) < 0) return -1;
  fillFilterRecord(rec, unit, 2, 5, mac, 6);
  if (zor_setsockopt(gLldpInfo.dataSock, ZOR_SOL_SOCKET, name, rec, kFilterRecLen) < 0) return -1;
  return 0;
}

void lldpPktPrintf(const uint8_t* buf, uint32_t len, uint32_t cls, uint32_t mask) {
  if ((gLldpInfo.debugFlags & mask) == 0 || buf == nullptr || cls > LLDP_TRC_ERROR) return;
  static const char kSep[] = "=================================================\r\n";
  loggingDebugOutput(LLDP_MODULE_BASE + cls, gLldpInfo.debugLevel[cls], 2, "packet len=%u\r\n",
                     len);
  loggingDebugOutput(LLDP_MODULE_BASE, 0, 3, "%s", kSep);

  char line[16 * 3 + 3];
  uint32_t used = 0;
  uint32_t printed = 0;
  for (uint32_t i = 0; i < len; ++i) {
    std::snprintf(line + used, sizeof(line) - used, "%02x ", buf[i]);
    used += 3;
    ++printed;
    if (printed % 16 == 0) {
      std::memcpy(line + used, "\r\n", 3);
      loggingDebugOutput(LLDP_MODULE_BASE, 0, 3, "%s", line);
      used = 0;
    }
  }
  if (used > 0) {
    line[used] = '\0';
    loggingDebugOutput(LLDP_MODULE_BASE, 0, 3, "%s", line);
  }
  loggingDebugOutput(LLDP_MODULE_BASE, 0, 1,
                     "\r\nlen:%u, print len:%u\r\n=================================================\r\n",
                     len, printed);
}

void lldpDebugHex(const uint8_t* buf, uint32_t len) {
  if (buf == nullptr) len = 0;
  for (uint32_t i = 0; i < len; ++i) loggingDebugOutput(LLDP_MODULE_BASE, 0, 3, "%02x ", buf[i]);
  loggingDebugOutput(LLDP_MODULE_BASE, 0, 1, "\r\n");
}
