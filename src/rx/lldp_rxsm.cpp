// The IEEE 802.1AB receive state machine of a port, and its once-a-second
// timers: neighbour ageing, the too-many-neighbours hold-off and the end of
// LLDP-MED transmission when the last MED neighbour is gone.
//
// Callers: lldpMachine (every second, per active port) and lldpMsgRecv
// (right after a frame is stored). rxGlobalStatemachineRun makes at most one
// transition; lldpRxStatemachineRun then performs the current state's
// actions.
//
// REQUIRES: lldpLock held (protocol task).
#include "base/lldp_trace.h"
#include "rx/lldp_msap.h"
#include "rx/lldp_rx.h"
#include "rx/lldp_rx_int.h"

namespace {

constexpr uint8_t kMedNetworkConnectivity = 4;

bool portOperational(const LldpPort* port) { return port->portEnabled != 0; }

void setState(LldpPort* port, uint8_t to, bool frameVariant) {
  const uint8_t from = port->rxState;
  port->rxState = to;
  if (frameVariant)
    LLDP_TRACE(LLDP_TRC_RXSM, "[RXSTATE]  port[%s] %s -> %s\r\n", lldpRxIfName(port->unit).s,
               rxStateFromID(from), rxStateFromID(to));
  else
    LLDP_TRACE(LLDP_TRC_RXSM, "[RXSTATE] port[%s] %s -> %s\r\n", lldpRxIfName(port->unit).s,
               rxStateFromID(from), rxStateFromID(to));
}

}  // namespace

const char* rxStateFromID(uint8_t state) {
  switch (state) {
    case LLDP_WAIT_PORT_OPERATIONAL: return "LLDP_WAIT_PORT_OPERATIONAL";
    case RX_LLDP_INITIALIZE: return "RX_LLDP_INITIALIZE";
    case RX_WAIT_FOR_FRAME: return "RX_WAIT_FOR_FRAME";
    case RX_FRAME: return "RX_FRAME";
    default:
      LLDP_TRACE(LLDP_TRC_RXSM, "[RXSTATE] Unknown RX State: '%d'\r\n", state);
      return "Unknown";
  }
}

int rxGlobalStatemachineRun(LldpPort* port) {
  if (!portOperational(port)) setState(port, LLDP_WAIT_PORT_OPERATIONAL, false);
  switch (port->rxState) {
    case LLDP_WAIT_PORT_OPERATIONAL:
      if (portOperational(port)) setState(port, RX_LLDP_INITIALIZE, false);
      break;
    case RX_LLDP_INITIALIZE:
      if (port->adminStatus == LLDP_ADMIN_TXRX || port->adminStatus == LLDP_ADMIN_RX)
        setState(port, RX_WAIT_FOR_FRAME, false);
      break;
    case RX_WAIT_FOR_FRAME:
      if (port->adminStatus == LLDP_ADMIN_DISABLED || port->adminStatus == LLDP_ADMIN_TX)
        setState(port, RX_LLDP_INITIALIZE, false);
      else if (port->rcvFrame == 1)
        setState(port, RX_FRAME, true);
      break;
    case RX_FRAME:
      setState(port, RX_WAIT_FOR_FRAME, true);
      break;
    default:
      LLDP_TRACE(LLDP_TRC_RXSM, "[RXSTATE] [ERROR] The RX Global State Machine is broken!\r\n");
      break;
  }
  return 0;
}

int lldpRxInitialize(LldpPort* port) {
  port->rcvFrame = 0;
  port->tooManyNeighbors = 0;
  port->rxInfoAge = 0;
  port->remSysTotal = 0;
  port->remMedSysTotal = 0;
  port->statsAgeoutsTotal = 0;
  port->statsFramesDiscardedTotal = 0;
  port->statsFramesInErrorsTotal = 0;
  port->statsFramesInTotal = 0;
  port->statsTLVsDiscardedTotal = 0;
  port->statsTLVsUnrecognizedTotal = 0;
  // Each deletion counts in statsAgeoutsTotal, so after this it shows how
  // many neighbours the initialisation removed.
  lldpPortMsapCleanup(port);
  return 0;
}

int lldpRxStatemachineRun(LldpPort* port) {
  LLDP_TRACE(LLDP_TRC_RXSM, "running RX state machine for port %s\r\n", lldpRxIfName(port->unit).s);
  rxGlobalStatemachineRun(port);
  switch (port->rxState) {
    case LLDP_WAIT_PORT_OPERATIONAL:
    case RX_LLDP_INITIALIZE:
      lldpRxInitialize(port);
      port->rcvFrame = 0;  // a frame that arrived meanwhile is dropped
      break;
    case RX_WAIT_FOR_FRAME:
      port->rxResult = 0;
      port->rxInfoAge = 0;
      port->somethingChangedRemote = 0;
      break;
    case RX_FRAME: {
      port->rxChanges = 0;
      port->rcvFrame = 0;
      port->rxMsap = nullptr;
      port->rxResult = lldpRxFrame(port);
      if (port->rxMsap != nullptr) {
        LLDP_TRACE(LLDP_TRC_SYNC, " MSAP add\tsync on  port %s\r\n", lldpRxIfName(port->unit).s);
        Msap* m = port->rxMsap;
        port->rxMsap = nullptr;  // the table owns it now
        lldpMibUpdateObject(port, m);
      } else if (port->rxResult == RX_FRAME_NO_RESOURCE) {
        lldpMibDeleteOldestObject(port);
        if (port->tooManyNeighbors != 1) {
          if (lldpTraceOn(LLDP_TRC_RXFRAME))
            LLDP_TRACE(LLDP_TRC_RXFRAME, "too many neighbors on port %s!\r\n", lldpRxIfName(port->unit).s);
          else
            LLDP_TRACE(LLDP_TRC_RXSM, "too many neighbors on port %s!\r\n", lldpRxIfName(port->unit).s);
          port->tooManyNeighbors = 1;
          // The port's own transmit TTL, not the neighbour's: kept as the
          // agent always did.
          if (port->txTTL > port->tooManyNeighborsTimer) port->tooManyNeighborsTimer = port->txTTL;
        }
      }
      port->rx.recvsize = 0;
      if (gLldpInfo.medDeviceType == kMedNetworkConnectivity && port->remMedSysTotal > 0 &&
          port->medTransmitEnabled != 1) {
        port->medTransmitEnabled = 1;
        port->medFastStart = port->medFastStartRepeatCount;
      }
      port->rxState = RX_WAIT_FOR_FRAME;
      break;
    }
    default:
      LLDP_TRACE(LLDP_TRC_RXSM, "The RX State Machine is broken!\r\n");
      break;
  }
  return 0;
}

int lldpRxUpdateTimers(LldpPort* port) {
  LLDP_TRACE(LLDP_TRC_RXSM, "Decrementing RX Timers\r\n");
  LldpListHead* head = &port->msapList;
  if (head->next != nullptr) {
    for (LldpListHead* l = head->next; l != head;) {
      LldpListHead* next = l->next;  // the current record may go
      Msap* m = lldpMsapFromLink(l);
      if (m->rxInfoTTL > 0) --m->rxInfoTTL;
      if (m->rxInfoTTL == 0) port->rxInfoAge = 1;
      LLDP_TRACE(LLDP_TRC_RXSM, "port %s with MSAP: \r\n", lldpRxIfName(port->unit).s);
      LLDP_TRACE(LLDP_TRC_RXSM, "rxInfoTTL: %d\r\n", m->rxInfoTTL);
      if (port->rxInfoAge == 1) {
        l->prev->next = l->next;
        l->next->prev = l->prev;
        l->next = l->prev = nullptr;
        port->somethingChangedRemote = 1;
        port->rxInfoAge = 0;
        LLDP_TRACE(LLDP_TRC_RXSM, "MSAP is deleted on port %s\r\n", lldpRxIfName(port->unit).s);
        ++gLldpInfo.statsRemTablesAgeouts;
        lldpMibDeleteObject(port, m);
      }
      l = next;
    }
  }
  if (port->tooManyNeighborsTimer > 0 && --port->tooManyNeighborsTimer == 0) port->tooManyNeighbors = 0;
  if (gLldpInfo.medDeviceType == kMedNetworkConnectivity && port->medTransmitEnabled == 1 &&
      port->remMedSysTotal == 0) {
    port->medTransmitEnabled = 0;
    port->medFastStart = 0;
  }
  LLDP_TRACE(LLDP_TRC_RXSM, "port %s tooManyNeighborsTimer: %d medTransmitEnabled: %d\r\n",
             lldpRxIfName(port->unit).s, port->tooManyNeighborsTimer, port->medTransmitEnabled);
  return 0;
}
