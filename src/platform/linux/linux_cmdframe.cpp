// The server side of the command socket: one decoded request run against
// the table of handlers, with its key record and value descriptor, and its
// reply (the framing itself is src/platform/common/cmdframe.cpp). No
// operating-system calls here, so the fuzz target links this file alone.
#include <algorithm>
#include <vector>

#include "platform/icm.h"
#include "platform/linux/linux_platform.h"

namespace lnx {

static_assert(kCmdMaxKey == ICM_MAX_KEY_LEN, "a key block holds any operation's key record");

namespace {

constexpr uint32_t kBadArgument = 22;
constexpr uint32_t kUnknownObject = 0x3E80010;

}  // namespace

std::vector<uint8_t> cmdExecute(const void* tablePtr, uint32_t count, const CmdRequest& req) {
  const auto* table = static_cast<const IcmFuncEntry*>(tablePtr);
  const IcmFuncEntry* entry = nullptr;
  for (uint32_t i = 0; table && i < count; ++i)
    if (table[i].id == req.op) {
      entry = &table[i];
      break;
    }
  const bool keyed = (req.flags & kCmdFlagKey) != 0;
  const bool buffered = (req.flags & kCmdFlagBuffer) != 0;
  if (!entry || !entry->handler) {
    return cmdEncodeReply(kUnknownObject, 0, 0, keyed ? &req.key : nullptr, nullptr, 0);
  }
  // The key record: exactly the entry's length, zero-filled past the bytes
  // the client sent. A key block where the operation takes an integer, or a
  // longer one than the operation's record, is refused before the call.
  const uint32_t keyLen = entry->keyLen > ICM_MAX_KEY_LEN ? ICM_MAX_KEY_LEN : entry->keyLen;
  if ((keyed && keyLen == 0) || req.key.size() > keyLen) {
    return cmdEncodeReply(kBadArgument, 0, 0, keyed ? &req.key : nullptr, nullptr, 0);
  }
  std::vector<uint8_t> key(keyLen, 0);
  std::copy(req.key.begin(), req.key.end(), key.begin());

  ZorValue v{};
  std::vector<uint8_t> buf;
  if (buffered) {
    // The handler gets a buffer of the client's capacity holding the bytes
    // the client supplied; both are bounded by kCmdMaxData.
    buf.assign(std::max<size_t>(req.len, req.data.size()) + 1, 0);
    std::copy(req.data.begin(), req.data.end(), buf.begin());
    v.buf = buf.data();
    v.len = req.len;
    v.form = ZOR_VALUE_BUF;
  } else {
    v.raw = 0;
    v.value = req.value;
    v.len = req.len;
    v.form = ZOR_VALUE_INT;
  }
  const uintptr_t index =
      keyLen ? reinterpret_cast<uintptr_t>(key.data()) : static_cast<uintptr_t>(req.index);
  const uint32_t rc = entry->handler(index, req.objId, &v);
  uint32_t dataLen = 0;
  if (buffered) dataLen = static_cast<uint32_t>(std::min<size_t>(v.len, buf.size() - 1));
  return cmdEncodeReply(rc, buffered ? 0 : v.value, buffered ? dataLen : v.len,
                        keyed ? &key : nullptr, buf.data(), dataLen);
}

}  // namespace lnx
