// Placeholder transmit path so that the layers below link; replaced by the
// transmit state machine and the frame builders.
#include "core/lldp_info.h"
#include "tx/lldp_tx.h"

const char* txStateFromID(uint8_t) { return "Unknown"; }
int lldpTxInitialize(LldpPort* port) {
  port->reinitDelay = gLldpInfo.reinitDelay;
  port->msgTxHold = gLldpInfo.msgTxHold;
  port->msgTxInterval = gLldpInfo.msgTxInterval;
  port->txDelay = gLldpInfo.txDelay;
  port->medFastStartRepeatCount = gLldpInfo.medFastStartRepeatCount;
  return 0;
}
int lldpTxStatemachineRun(LldpPort*) { return 0; }
int lldpTlvInitialize(LldpPort*) { return 0; }
void lldpTlvCleanup(LldpPort*) {}
uint32_t lldpMibConstrInfoLLDPDU(LldpPort*) { return 0; }
uint32_t lldpMibConstrShutdownLLDPDU(LldpPort*) { return 0; }
