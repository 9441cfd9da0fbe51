// Logging service: debug traces and operator log lines.
#pragma once

#include <cstdint>

// Module ids: 0x3F50000 + trace class for traces; 0x3F50008 agent errors,
// 0x3F50009 LLDP remote changes, 0x3F5000A LLDP-MED remote changes.
void loggingDebugOutput(uint32_t module, uint32_t level, uint32_t priority, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));
void loggingLogOutput(uint32_t module, uint32_t level, uint32_t priority, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));
