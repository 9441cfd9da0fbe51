// Command server: serves a table of numbered management operations on a
// local stream socket, each request calling one handler on the server task.
#pragma once

#include <cstdint>

#include "platform/platform_types.h"

// A management handler: (index, object id, value descriptor) -> code.
//
// The index is either an integer (a port unit, a filter word; ignored by the
// scalar operations) or, for the operations whose table entry names a key
// length, a pointer to a key record of exactly that many bytes that the
// server owns for the call: walks read the current key from it and write the
// next key back. The server never hands a handler an integer where its entry
// asks for a key record, nor a key record where it asks for an integer.
using IcmHandler = uint32_t (*)(uintptr_t index, uint32_t objId, ZorValue* value);
struct IcmFuncEntry {
  uint32_t id;
  IcmHandler handler;
  uint32_t keyLen = 0;  // 0: the index is an integer; N: a pointer to an N-byte key record
};
// The largest key record an operation may declare.
constexpr uint32_t ICM_MAX_KEY_LEN = 256;

// Starts the server task `taskName` listening on `path` with `count` table
// entries. Returns 0 or -1.
int icmProcTcpInit(const char* taskName, const char* path, const IcmFuncEntry* table,
                   uint32_t count);
