// The protocol task "lldptask".
//
// One loop: wait in zor_select on the frame socket and the platform event
// socket, with the time to the next timer as the time-out; run the expired
// timers; then take at most one frame and one platform message. The
// one-second machine timer runs lldpMachine, which steps the receive and
// transmit machines of every port whose link is up.
//
// The agent lock is taken around each unit of work (the time-out question,
// the timer run, one frame, one message) and never across the wait, so the
// command server can get in between rounds.
#include "core/lldp_task.h"

#include <cstring>

#include "base/lldp_info.h"
#include "core/lldp_core.h"
#include "frameio/lldp_frameio.h"
#include "platform/platform_types.h"
#include "platform/sil.h"
#include "platform/zor_socket.h"
#include "port/lldp_port.h"
#include "rx/lldp_msap.h"
#include "rx/lldp_rx.h"
#include "tx/lldp_tx.h"

namespace {

constexpr uint32_t kMachineTickMs = 1000;
constexpr size_t kRecvBufLen = 9216;
constexpr size_t kCtrlBufLen = 256;
constexpr uint32_t kNameBufLen = 20;
// Byte 16 of the auxiliary data is the last one the agent reads.
constexpr uint32_t kAuxMinLen = 17;

// The task's buffers, for its whole life.
uint8_t gRecvBuf[kRecvBufLen];
alignas(8) uint8_t gCtrlBuf[kCtrlBufLen];
uint8_t gNameBuf[kNameBufLen];
// Auxiliary data of the last frame that carried any; it points into gCtrlBuf
// and is not reset between frames, so a frame without auxiliary data reads
// what the buffer holds at that place (the previous frame's data).
const uint8_t* gAuxData = nullptr;
int gMaxFd = 0;

uint32_t round4(uint32_t n) { return (n + 3u) & ~3u; }

// Finds the first receive auxiliary data message among the control messages.
// Never reads past ctrlLen bytes of gCtrlBuf.
const uint8_t* findAuxData(size_t ctrlLen) {
  if (ctrlLen > kCtrlBufLen) ctrlLen = kCtrlBufLen;
  size_t off = 0;
  while (ctrlLen - off >= sizeof(ZorCmsgHdr)) {
    ZorCmsgHdr hdr;
    std::memcpy(&hdr, gCtrlBuf + off, sizeof(hdr));
    if (hdr.len < sizeof(ZorCmsgHdr) || hdr.len > ctrlLen - off) break;
    if (hdr.level == ZOR_SOL_PACKET && hdr.type == ZOR_PACKET_AUXDATA &&
        hdr.len >= sizeof(ZorCmsgHdr) + kAuxMinLen)
      return gCtrlBuf + off + sizeof(ZorCmsgHdr);
    const size_t step = round4(hdr.len);
    if (step >= ctrlLen - off) break;
    off += step;
  }
  return nullptr;
}

void receiveFrame(void) {
  ZorIovec iov{gRecvBuf, kRecvBufLen};
  ZorMsg msg{};
  msg.name = gNameBuf;
  msg.nameLen = kNameBufLen;
  msg.iov = &iov;
  msg.iovLen = 1;
  msg.control = gCtrlBuf;
  msg.controlLen = kCtrlBufLen;
  msg.flags = 0;
  long n = zor_recvmsg(gLldpInfo.dataSock, &msg, 0);
  if (n <= 0) return;
  if (n > static_cast<long>(kRecvBufLen)) n = static_cast<long>(kRecvBufLen);

  if (const uint8_t* aux = findAuxData(msg.controlLen)) gAuxData = aux;
  if (gAuxData == nullptr) return;

  uint32_t unit = 0;
  std::memcpy(&unit, gNameBuf + 4, sizeof(unit));
  lldpLock();
  LldpPort* port = lldpPortEntryGet(unit);
  if (port != nullptr &&
      (port->adminStatus == LLDP_ADMIN_RX || port->adminStatus == LLDP_ADMIN_TXRX)) {
    lldpPktPrintf(gRecvBuf, static_cast<uint32_t>(n), 0, 1);
    lldpMsgRecv(port, gAuxData, gRecvBuf, static_cast<uint32_t>(n));
  }
  lldpUnLock();
}

void receiveEvent(void) {
  ZorSockAddrNl from{};
  uint32_t fromLen = sizeof(from);
  long n = zor_recvfrom(gLldpInfo.rtSock, gRecvBuf, kRecvBufLen, 0, &from, &fromLen);
  if (n <= 0) return;
  if (n > static_cast<long>(kRecvBufLen)) n = static_cast<long>(kRecvBufLen);
  lldpLock();
  lldpEvtNotifyRecv(gRecvBuf, static_cast<uint32_t>(n));
  lldpUnLock();
}

}  // namespace

void lldpMainStart(void) {
  std::memset(gRecvBuf, 0, sizeof(gRecvBuf));
  std::memset(gCtrlBuf, 0, sizeof(gCtrlBuf));
  std::memset(gNameBuf, 0, sizeof(gNameBuf));
  gAuxData = nullptr;
  lldpLock();
  silTimerStart(&gLldpInfo.timerList, &gLldpInfo.machineTimer, kMachineTickMs, lldpMachine,
                nullptr, nullptr);
  lldpUnLock();
  gMaxFd = gLldpInfo.rtSock > gLldpInfo.dataSock ? gLldpInfo.rtSock : gLldpInfo.dataSock;
}

void lldpMainRound(void) {
  ZorFdSet readSet;
  ZOR_FD_ZERO(&readSet);
  ZOR_FD_SET(gLldpInfo.rtSock, &readSet);
  ZOR_FD_SET(gLldpInfo.dataSock, &readSet);

  lldpLock();
  const int32_t ms = silTimerListNextTimeout(&gLldpInfo.timerList);
  lldpUnLock();
  ZorTimeval tv{};
  if (ms < 0) {
    tv.sec = 1;
    tv.usec = 0;
  } else {
    tv.sec = ms / 1000;
    tv.usec = (ms % 1000) * 1000;
  }

  const int ready = zor_select(gMaxFd + 1, &readSet, nullptr, nullptr, &tv);

  // Timers run after every wait, whether it timed out or not.
  lldpLock();
  silTimerListCheck(&gLldpInfo.timerList);
  lldpUnLock();

  // Only a clean time-out skips the reads; after a failed wait the set decides.
  if (ready == 0) return;
  if (ZOR_FD_ISSET(gLldpInfo.dataSock, &readSet)) receiveFrame();
  if (ZOR_FD_ISSET(gLldpInfo.rtSock, &readSet)) receiveEvent();
}

void lldpMain(void) {
  lldpMainStart();
  for (;;) lldpMainRound();
}

int lldpMachine(void* /*arg1*/, void* /*arg2*/) {
  for (auto* port = static_cast<LldpPort*>(avl_first(&gLldpInfo.portTable)); port != nullptr;
       port = static_cast<LldpPort*>(avl_next(&gLldpInfo.portTable, port))) {
    if (port->portStatus == 1) {
      if (port->adminStatus != LLDP_ADMIN_DISABLED) lldpRxUpdateTimers(port);
      if (port->adminStatus & LLDP_ADMIN_RX) lldpRxStatemachineRun(port);
      if (lldpTxGateOpen()) {
        // A port whose transmission was turned off (disabled, or receive
        // only) still runs its transmit machine until its shutdown is done
        // (reinitDone back to 1).
        if ((port->adminStatus & LLDP_ADMIN_TX) || port->reinitDone == 0)
          lldpTxStatemachineRun(port);
      }
    } else if (!lldpListEmpty(&port->msapList)) {
      lldpPortMsapCleanup(port);
    }
  }
  // Re-armed at the end of the run, so a slow run shifts the later ticks.
  silTimerStart(&gLldpInfo.timerList, &gLldpInfo.machineTimer, kMachineTickMs, lldpMachine,
                nullptr, nullptr);
  return 0;
}
