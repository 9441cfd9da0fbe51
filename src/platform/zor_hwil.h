// Hardware layer: scalars, slot and card objects, and the stack command
// synchronisation service.
#pragma once

#include <cstdint>

#include "platform/platform_types.h"

// Scalars: 54 (0 when stack peers are configured), 55 (transmission gate),
// 499 (protocol announcement). Return 0 on success.
int zorHwilScalarGet(uint32_t unit, uint32_t scalarId, uint32_t* out);
int zorHwilScalarSet(uint32_t unit, uint32_t scalarId, const void* value, uint32_t flags);
// Slot and card objects; inout carries the protocol number in and the value
// out. Return 0 on success.
int zorHwilSlotGet(uint32_t slot0, uint32_t slot1, uint32_t objId, uint32_t* inout);
int zorHwilCardGet(uint32_t card0, uint32_t card1, uint32_t card2, uint32_t objId, uint32_t* inout);
int zorCardUpPcsSet(uint32_t card0, uint32_t card1, uint32_t card2, uint32_t protocol);

// Control record of a forwarded command: mode (3 Set, 1 Sync, with the flag
// bits a caller adds), an argument word, the value length, and the length of
// the key record that the index points to (0 when the index is an integer).
struct ZorSyncCtl {
  uint32_t mode;
  uint32_t arg;
  uint32_t valueLen;
  uint32_t keyLen = 0;
};
// Hands a management command (or a synchronisation message) to the other
// units of the stack. `index` is an integer, or a pointer to a key record of
// ctl->keyLen bytes; the value descriptor's form says whether word 0 is a
// buffer (of ctl->valueLen bytes) or an integer. Returns 0 when the command
// may be applied locally, or the refusal code to pass back to the client.
int zorHwilCmdSyncApi(uintptr_t index, uint32_t cmdId, ZorValue* value, ZorSyncCtl* ctl);
