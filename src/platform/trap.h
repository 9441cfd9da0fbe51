// Trap senders for remote-table changes.
#pragma once

#include <cstdint>

int send_lldp_trap(uint32_t reason);
int send_lldpmed_trap(uint32_t timeMarkHigh, uint32_t timeMarkLow, uint32_t unit,
                      uint32_t remIndex, uint32_t chassisIdSubtype, const uint8_t* chassisId,
                      uint32_t chassisIdLen, uint32_t medDevType, uint32_t reason);
