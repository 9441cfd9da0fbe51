// Stack synchronisation sender: mirrors remote records and statistics to the
// other units of a stack.
//
// REQUIRES: lldpLock held by the caller of every function declared here.
#pragma once

#include <cstdint>

#include "port/lldp_port.h"

struct Msap;

constexpr uint32_t LLDP_SYNC_DELETE = 1;
constexpr uint32_t LLDP_SYNC_UPDATE = 2;

// One remote record (action 2 add/update, 1 delete).
uint32_t lldpSyncMsapSend(LldpPort* port, Msap* msap, uint32_t action);
// The whole state to a new peer; doSend 0 does nothing.
uint32_t lldpSyncAllSend(uint32_t unit, uint32_t doSend);

// Applies one buffer of synchronisation messages from another unit (the Set
// or Sync of scalar object 35 hands it over, with the agent lock held).
// Returns 0 once the buffer has been walked, 22 for a null buffer.
uint32_t lldpSyncMsapRecv(const uint8_t* buf, uint32_t len);
