// Command-socket requests: arbitrary bytes as a client would write them,
// decoded request by request as the server does, and run against a table of
// handlers that behave well (fill exactly the capacity they were given) and
// badly (claim more bytes than they were given). Nothing may be read or
// written outside the buffers, and every reply must carry only bytes the
// handler's buffer held.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/icm.h"
#include "platform/linux/linux_platform.h"

namespace {

uint32_t echo(uintptr_t index, uint32_t objId, ZorValue* v) {
  v->value = static_cast<uint32_t>(index) ^ objId;
  return 0;
}
uint32_t fill(uintptr_t, uint32_t objId, ZorValue* v) {
  if (v->form != ZOR_VALUE_BUF) return 22;
  std::memset(v->buf, static_cast<int>(objId & 0xFF), v->len);
  return 0;
}
uint32_t boast(uintptr_t, uint32_t, ZorValue* v) {
  v->len = 0xFFFFFFFFu;
  return 0x3E8000D;
}
// Writes its whole 20-byte key record, as a walk writes the next key.
uint32_t walk(uintptr_t index, uint32_t objId, ZorValue*) {
  std::memset(reinterpret_cast<void*>(index), static_cast<int>(objId & 0xFF), 20);
  return 0;
}

const IcmFuncEntry kTable[] = {{0, nullptr, 0}, {1, echo, 0},    {2, fill, 0},
                               {3, boast, 0},   {4, nullptr, 0}, {5, walk, 20}};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  size_t off = 0;
  while (off < size) {
    lnx::CmdRequest req;
    const long used = lnx::cmdDecode(data + off, size - off, &req);
    if (used <= 0) break;  // more bytes needed, or a malformed request closes the connection
    if (static_cast<size_t>(used) > size - off) std::abort();
    const std::vector<uint8_t> reply = lnx::cmdExecute(kTable, 6, req);
    if (reply.size() < lnx::kCmdReplyHeaderLen) std::abort();
    const uint32_t total = lnx::cmdGetU32(reply.data() + 4);
    if (total != reply.size() ||
        total > lnx::kCmdReplyHeaderLen + 4 + ICM_MAX_KEY_LEN + lnx::kCmdMaxData)
      std::abort();
    off += static_cast<size_t>(used);
  }
  return 0;
}
