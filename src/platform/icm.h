// Command server: serves a table of numbered management operations on a
// local stream socket, each request calling one handler on the server task.
#pragma once

#include <cstdint>

#include "platform/platform_types.h"

// A management handler: (index key, object id, value descriptor) -> code.
using IcmHandler = uint32_t (*)(uint32_t index, uint32_t objId, ZorValue* value);
struct IcmFuncEntry {
  uint32_t id;
  IcmHandler handler;
};

// Starts the server task `taskName` listening on `path` with `count` table
// entries. Returns 0 or -1.
int icmProcTcpInit(const char* taskName, const char* path, const IcmFuncEntry* table,
                   uint32_t count);
