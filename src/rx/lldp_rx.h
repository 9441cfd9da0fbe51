// Receive path: validation and basic TLVs (lldp_rxframe.cpp), organizationally
// specific decoding (lldp_rxorg.cpp), the receive state machine and timers
// (lldp_rxsm.cpp), remote-change notifications (lldp_notify.cpp).
//
// REQUIRES: lldpLock held by the caller of every function declared here.
#pragma once

#include <cstdint>

#include "port/lldp_port.h"

struct Msap;

enum LldpRxResult : uint8_t {
  RX_FRAME_OK = 0,
  RX_FRAME_NO_RESOURCE = 1,
  RX_FRAME_BAD_FRAME = 2,
  RX_FRAME_BAD_TLV = 3,
  RX_FRAME_FILTERED = 255,
};

enum LldpRxState : uint8_t {
  LLDP_WAIT_PORT_OPERATIONAL = 0,
  RX_LLDP_INITIALIZE = 1,
  RX_WAIT_FOR_FRAME = 2,
  RX_FRAME = 3,
};

uint8_t lldpRxFrame(LldpPort* port);
const char* rxStateFromID(uint8_t state);
int rxGlobalStatemachineRun(LldpPort* port);
int lldpRxStatemachineRun(LldpPort* port);
int lldpRxInitialize(LldpPort* port);
int lldpRxUpdateTimers(LldpPort* port);

// Notification reasons.
constexpr uint32_t LLDP_NOTIFY_ADD = 1;
constexpr uint32_t LLDP_NOTIFY_DELETE = 2;
constexpr uint32_t LLDP_NOTIFY_CHANGE = 3;
int lldpMaspNotifier(LldpPort* port, Msap* msap, uint32_t reason);
int lldpNotifySend(uint32_t eventType, const uint8_t* record32);
