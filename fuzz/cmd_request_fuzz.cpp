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

uint32_t echo(uint32_t index, uint32_t objId, ZorValue* v) {
  v->value = index ^ objId;
  return 0;
}
uint32_t fill(uint32_t, uint32_t objId, ZorValue* v) {
  std::memset(v->buf, static_cast<int>(objId & 0xFF), v->len);
  return 0;
}
uint32_t boast(uint32_t, uint32_t, ZorValue* v) {
  v->len = 0xFFFFFFFFu;
  return 0x3E8000D;
}

const IcmFuncEntry kTable[] = {{0, nullptr}, {1, echo}, {2, fill}, {3, boast}, {4, nullptr}};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  size_t off = 0;
  while (off < size) {
    lnx::CmdRequest req;
    const long used = lnx::cmdDecode(data + off, size - off, &req);
    if (used <= 0) break;  // more bytes needed, or a malformed request closes the connection
    if (static_cast<size_t>(used) > size - off) std::abort();
    // A handler of an octet object treats word 0 as a buffer; the framing
    // cannot tell an octet object from an integer one, so the harness sends
    // the filling handler only requests in the buffer form (the management
    // handlers must refuse the integer form for their octet objects).
    if (req.op == 2 && !(req.flags & lnx::kCmdFlagBuffer)) req.op = 4;
    const std::vector<uint8_t> reply = lnx::cmdExecute(kTable, 5, req);
    if (reply.size() < lnx::kCmdReplyHeaderLen) std::abort();
    const uint32_t total = lnx::cmdGetU32(reply.data() + 4);
    if (total != reply.size() || total > lnx::kCmdReplyHeaderLen + lnx::kCmdMaxData + 1) std::abort();
    off += static_cast<size_t>(used);
  }
  return 0;
}
