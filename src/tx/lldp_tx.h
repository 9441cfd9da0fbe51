// Transmit path: the transmit state machine (lldp_txsm.cpp), LLDPDU
// construction and basic TLVs (lldp_txframe.cpp), organizationally specific
// TLV builders (lldp_txorg.cpp).
//
// REQUIRES: lldpLock held by the caller of every function declared here.
#pragma once

#include <cstdint>

#include "port/lldp_port.h"

// Transmit states.
enum LldpTxState : uint8_t {
  TX_LLDP_INITIALIZE = 0,
  TX_IDLE = 1,
  TX_SHUTDOWN_FRAME = 2,
  TX_INFO_FRAME = 3,
};

const char* txStateFromID(uint8_t state);
int lldpTxInitialize(LldpPort* port);
int lldpTxStatemachineRun(LldpPort* port);

int lldpTlvInitialize(LldpPort* port);
void lldpTlvCleanup(LldpPort* port);
uint32_t lldpMibConstrInfoLLDPDU(LldpPort* port);
uint32_t lldpMibConstrShutdownLLDPDU(LldpPort* port);
