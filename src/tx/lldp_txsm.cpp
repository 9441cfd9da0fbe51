// Transmit state machine of a port, after IEEE 802.1AB-2005 clause 10.5.4,
// with the LLDP-MED fast start of ANSI/TIA-1057.
//
// The protocol task's one-second tick calls lldpTxStatemachineRun for each
// port that may transmit. One run makes at most one conditional transition
// (txGlobalStatemachineRun), performs the new state's action, and then steps
// the timers (lldpTxUpdateTimers). The one exception is TX_INFO_FRAME, whose
// exit to TX_IDLE is unconditional and, as in IEEE 802.1AB, taken at once
// after the frame is sent. Timers are whole-second counters in the
// port record; 0 means expired. medFastStart is not a timer: it counts the
// fast-start frames still to send.
//
// REQUIRES: lldpLock held.
#include "base/lldp_info.h"
#include "base/lldp_trace.h"
#include "frameio/lldp_frameio.h"
#include "platform/sil.h"
#include "platform/zor_hwil.h"
#include "tx/lldp_tx.h"

namespace {

constexpr uint8_t kMedNetworkConnectivity = 4;
constexpr uint8_t kGlobalDisabled = 2;
constexpr uint32_t kHwScalarTxGate = 55;

bool txDisabled(const LldpPort* port) {
  return port->adminStatus == LLDP_ADMIN_DISABLED || port->adminStatus == LLDP_ADMIN_RX;
}

void txMoveTo(LldpPort* port, uint8_t to, const char* fmt) {
  LLDP_TRACE(LLDP_TRC_TX, fmt, txStateFromID(port->txState), txStateFromID(to));
  port->txState = to;
}

// The TX_IDLE entry action: reload the TTL and the timers.
void txEnterIdle(LldpPort* port) {
  const uint32_t ttl = static_cast<uint32_t>(port->msgTxInterval) * port->msgTxHold;
  port->txTTL = static_cast<uint16_t>(ttl > 65535 ? 65535 : ttl);
  port->txTTR = port->msgTxInterval;
  port->somethingChangedLocal = 0;
  // Fast start sends one frame a second.
  port->txDelayWhile = port->medFastStart != 0 ? 1 : port->txDelay;
}

// The TX_SHUTDOWN_FRAME entry action: one LLDPDU with TTL 0, then
// reinitDelay seconds before the port may re-initialise.
void txEnterShutdown(LldpPort* port) {
  port->txTagVid = 0;
  lldpMibConstrShutdownLLDPDU(port);
  lldpTxFrame(port);
  port->txShutdownWhile = port->reinitDelay;
}

}  // namespace

bool lldpTxGateOpen(void) {
  uint32_t gate = 0;
  return zorHwilScalarGet(0, kHwScalarTxGate, &gate) == 0 && gate != 0;
}

int lldpTxShutdown(LldpPort* port) {
  if (port->txState != TX_IDLE || port->tx.frame == nullptr) return 0;
  if (port->portStatus != 1 || !lldpTxGateOpen()) return 0;
  txMoveTo(port, TX_SHUTDOWN_FRAME, "%s -> %s\r\n");
  txEnterShutdown(port);
  return 1;
}

const char* txStateFromID(uint8_t state) {
  switch (state) {
    case TX_LLDP_INITIALIZE: return "TX_LLDP_INITIALIZE";
    case TX_IDLE: return "TX_IDLE";
    case TX_SHUTDOWN_FRAME: return "TX_SHUTDOWN_FRAME";
    case TX_INFO_FRAME: return "TX_INFO_FRAME";
    default:
      LLDP_TRACE(LLDP_TRC_TX, "Unknown TX State: '%d'\r\n", state);
      return "Unknown";
  }
}

void lldpTxTakeTiming(LldpPort* port) {
  port->reinitDelay = gLldpInfo.reinitDelay;
  port->msgTxHold = gLldpInfo.msgTxHold;
  port->msgTxInterval = gLldpInfo.msgTxInterval;
  port->txDelay = gLldpInfo.txDelay;
  port->medFastStartRepeatCount = gLldpInfo.medFastStartRepeatCount;
}

int lldpTxInitialize(LldpPort* port) {
  port->somethingChangedLocal = 1;
  port->statsFramesOutTotal = 0;
  lldpTxTakeTiming(port);
  port->txTagVid = 0;
  if (gLldpInfo.medDeviceType == kMedNetworkConnectivity) {
    // A network connectivity device starts MED only when the receive path
    // sees an MED endpoint on the port.
    port->medTransmitEnabled = 0;
    port->medFastStart = 0;
  } else {
    port->medTransmitEnabled = 1;
    port->medFastStart = port->medFastStartRepeatCount;
  }
  port->txShutdownWhile = 0;
  return 0;
}

uint8_t txGlobalStatemachineRun(LldpPort* port) {
  switch (port->txState) {
    case TX_LLDP_INITIALIZE:
      if (port->adminStatus == LLDP_ADMIN_TXRX || port->adminStatus == LLDP_ADMIN_TX)
        txMoveTo(port, TX_IDLE, "%s -> %s\r\n");
      break;
    case TX_IDLE:
      if (txDisabled(port) || gLldpInfo.globalAdminStatus == kGlobalDisabled) {
        const bool byGlobalSwitch = !txDisabled(port);
        txMoveTo(port, TX_SHUTDOWN_FRAME, "%s -> %s\r\n");
        // Disabled by the global switch rather than by the port's own status:
        // the port is taken down here too. The machine has left TX_IDLE
        // already, so the re-initialisation leaves the shutdown frame to this
        // run's state action.
        if (byGlobalSwitch) lldpPortEntryInit(port, LLDP_ADMIN_DISABLED);
      } else if (port->txDelayWhile != 0) {
      } else if (port->txTTR != 0 && port->somethingChangedLocal == 0 && port->medFastStart == 0) {
      } else {
        txMoveTo(port, TX_INFO_FRAME, " %s -> %s\r\n");
      }
      break;
    case TX_SHUTDOWN_FRAME:
      if (port->txShutdownWhile == 0) {
        if (port->tx.frame != nullptr) silFree(port->tx.frame);
        port->tx.frame = nullptr;
        port->txSize = 0;
        port->reinitDone = 1;
        txMoveTo(port, TX_LLDP_INITIALIZE, "%s -> %s\r\n");
      }
      break;
    case TX_INFO_FRAME:
      txMoveTo(port, TX_IDLE, "%s -> %s\r\n");
      break;
    default:
      LLDP_TRACE(LLDP_TRC_TX, "[ERROR] The TX State Machine is broken!\r\n");
      break;
  }
  return port->txState;
}

int lldpTxFrame(LldpPort* port) {
  if (port->tx.sendsize == 0) return -1;  // dropped for overflow: nothing to send
  const int ret = lldpBufferSend(port, port->tx.frame, port->tx.sendsize);
  LLDP_TRACE(LLDP_TRC_TX, "send packet to port %s, ret %#x.\r\n", lldpPortName(port->unit).s,
             static_cast<unsigned>(ret));
  lldpPktPrintf(port->tx.frame, port->tx.sendsize, LLDP_TRC_TX, 4);
  port->tx.sendsize = 0;
  if (ret != -1) {
    ++port->statsFramesOutTotal;
    ++gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_OUT];
  }
  return ret;
}

int lldpTxUpdateTimers(LldpPort* port) {
  if (port->txShutdownWhile != 0) --port->txShutdownWhile;
  if (port->txDelayWhile != 0) --port->txDelayWhile;
  if (port->txTTR != 0) --port->txTTR;
  if (gLldpInfo.medDeviceType != kMedNetworkConnectivity) port->medTransmitEnabled = 1;
  LLDP_TRACE(LLDP_TRC_TX,
             "port %s \r\n\t txTTL: %d\r\n\t txTTR: %d\r\n\t txDelayWhile: %d\r\n\t "
             "txShutdownWhile: %d\r\n\t medFastStart: %d \r\n\t medTransmitEnabled: %s\r\n",
             lldpPortName(port->unit).s, port->txTTL, port->txTTR, port->txDelayWhile,
             port->txShutdownWhile, port->medFastStart, port->medTransmitEnabled ? "yes" : "no");
  return 0;
}

int lldpTxStatemachineRun(LldpPort* port) {
  LLDP_TRACE(LLDP_TRC_TX, "port %s -> %s\r\n", lldpPortName(port->unit).s,
             txStateFromID(port->txState));
  const uint8_t before = port->txState;
  const uint8_t now = txGlobalStatemachineRun(port);

  switch (now) {
    case TX_LLDP_INITIALIZE:
      lldpTxInitialize(port);
      break;
    case TX_IDLE:
      if (before != TX_IDLE) txEnterIdle(port);
      break;
    case TX_SHUTDOWN_FRAME:
      if (before != TX_SHUTDOWN_FRAME) txEnterShutdown(port);
      break;
    case TX_INFO_FRAME:
      if (port->portEnabled != 0) {
        port->txTagVid = 0;
        lldpMibConstrInfoLLDPDU(port);
        lldpTxFrame(port);
        if (port->medFastStart != 0) --port->medFastStart;
      }
      // Back to TX_IDLE in the same run: the timers reload on the tick that
      // sent, so frames leave every msgTxInterval seconds, fast-start frames
      // one second apart, and never two within txDelay.
      txMoveTo(port, TX_IDLE, "%s -> %s\r\n");
      txEnterIdle(port);
      break;
    default:
      LLDP_TRACE(LLDP_TRC_TX, "The TX State Machine is broken!\r\n");
      break;
  }
  lldpTxUpdateTimers(port);
  return 0;
}
