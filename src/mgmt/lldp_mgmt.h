// Management operations: the table of numbered operations that the command
// server ("lldpcmdtask" on /tmp/lldpcmd.socket) dispatches.
#pragma once

#include <cstdint>

#include "platform/icm.h"

// Entry 0 is empty; entries 1..100 carry the operation ids 1..100. The ids
// are shared with every client and are never renumbered.
constexpr uint32_t LLDP_FUNCMAP_COUNT = 101;
extern const IcmFuncEntry glldpFuncMap[LLDP_FUNCMAP_COUNT];
