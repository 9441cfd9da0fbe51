// Debug traces by class. A class-c trace goes to module 0x3F50000 + c at the
// class's level byte, and only when its bit is set in gLldpInfo.debugFlags.
#pragma once

#include <cstdint>
#include <cstdio>

#include "base/lldp_info.h"
#include "platform/logging.h"

enum LldpTraceClass : uint32_t {
  LLDP_TRC_RXFRAME = 0,   // 0x1: received frames, decoding, remote-record updates
  LLDP_TRC_RXSM = 1,      // 0x2: receive state machine and timers
  LLDP_TRC_TX = 2,        // 0x4: transmit path
  LLDP_TRC_PORT = 3,      // 0x8: port table and port life cycle
  LLDP_TRC_TLVLIST = 4,   // 0x10: received-TLV lists
  LLDP_TRC_EVENT = 5,     // 0x20: platform events and notifications
  LLDP_TRC_SYNC = 6,      // 0x40: remote-record deletion and sync receipt
  LLDP_TRC_ERROR = 8,     // 0x100: start-up and error lines
};

constexpr uint32_t LLDP_MODULE_BASE = 0x3F50000;
constexpr uint32_t LLDP_LOG_MODULE_AGENT = 0x3F50008;
constexpr uint32_t LLDP_LOG_MODULE_REMOTE = 0x3F50009;
constexpr uint32_t LLDP_LOG_MODULE_MED = 0x3F5000A;

inline bool lldpTraceOn(uint32_t cls) { return (gLldpInfo.debugFlags & (1u << cls)) != 0; }

// LLDP_TRACE(class, fmt, ...): priority 0 trace of that class.
#define LLDP_TRACE(cls, ...)                                                                  \
  do {                                                                                        \
    if (lldpTraceOn(cls))                                                                     \
      loggingDebugOutput(LLDP_MODULE_BASE + (cls), gLldpInfo.debugLevel[(cls)], 0, __VA_ARGS__); \
  } while (0)

// Assertion-style failure line on standard output.
#define LLDP_ASSERT_LINE(func, line) std::printf("[LLDP] assert error %s, %d\r\n", (func), (line))
