// Framing of the command socket: requests and replies as documented in
// docs/command-socket.md. No operating-system calls here, so the fuzz target
// links this file alone.
#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/icm.h"
#include "platform/linux/linux_platform.h"

namespace lnx {
namespace {

constexpr uint32_t kUnknownObject = 0x3E80010;

}  // namespace

uint32_t cmdGetU32(const uint8_t* p) {
  uint32_t v;
  std::memcpy(&v, p, 4);
  return v;
}

void cmdAddU32(std::vector<uint8_t>& b, uint32_t v) {
  const size_t off = b.size();
  b.resize(off + 4);
  std::memcpy(&b[off], &v, 4);
}

long cmdDecode(const uint8_t* buf, size_t n, CmdRequest* req) {
  if (n < 8) return 0;
  if (cmdGetU32(buf) != kCmdMagic) return -1;
  const uint32_t total = cmdGetU32(buf + 4);
  if (total < kCmdHeaderLen || total > kCmdHeaderLen + kCmdMaxData) return -1;
  if (n < total) return 0;
  req->op = cmdGetU32(buf + 8);
  req->index = cmdGetU32(buf + 12);
  req->objId = cmdGetU32(buf + 16);
  req->flags = cmdGetU32(buf + 20);
  req->value = cmdGetU32(buf + 24);
  req->len = cmdGetU32(buf + 28);
  req->data.assign(buf + kCmdHeaderLen, buf + total);
  if (!(req->flags & kCmdFlagBuffer) && !req->data.empty()) return -1;
  if ((req->flags & kCmdFlagBuffer) && req->len > kCmdMaxData) return -1;
  return static_cast<long>(total);
}

std::vector<uint8_t> cmdEncodeRequest(const CmdRequest& req) {
  std::vector<uint8_t> b;
  cmdAddU32(b, kCmdMagic);
  cmdAddU32(b, static_cast<uint32_t>(kCmdHeaderLen + req.data.size()));
  cmdAddU32(b, req.op);
  cmdAddU32(b, req.index);
  cmdAddU32(b, req.objId);
  cmdAddU32(b, req.flags);
  cmdAddU32(b, req.value);
  cmdAddU32(b, req.len);
  b.insert(b.end(), req.data.begin(), req.data.end());
  return b;
}

std::vector<uint8_t> cmdExecute(const void* tablePtr, uint32_t count, const CmdRequest& req) {
  const auto* table = static_cast<const IcmFuncEntry*>(tablePtr);
  IcmHandler h = nullptr;
  for (uint32_t i = 0; table && i < count; ++i)
    if (table[i].id == req.op) {
      h = table[i].handler;
      break;
    }
  uint32_t rc = kUnknownObject;
  ZorValue v{};
  std::vector<uint8_t> buf;
  const bool buffered = (req.flags & kCmdFlagBuffer) != 0;
  if (buffered) {
    // The handler gets a buffer of the client's capacity holding the bytes
    // the client supplied; both are bounded by kCmdMaxData.
    buf.assign(std::max<size_t>(req.len, req.data.size()) + 1, 0);
    std::copy(req.data.begin(), req.data.end(), buf.begin());
    v.buf = buf.data();
    v.len = req.len;
  } else {
    v.raw = 0;
    v.value = req.value;
    v.len = req.len;
  }
  if (h) rc = h(req.index, req.objId, &v);
  std::vector<uint8_t> out;
  cmdAddU32(out, kCmdMagic);
  uint32_t dataLen = 0;
  if (buffered) dataLen = static_cast<uint32_t>(std::min<size_t>(v.len, buf.size() - 1));
  cmdAddU32(out, kCmdReplyHeaderLen + dataLen);
  cmdAddU32(out, rc);
  cmdAddU32(out, buffered ? 0 : v.value);
  cmdAddU32(out, buffered ? dataLen : v.len);
  out.insert(out.end(), buf.begin(), buf.begin() + dataLen);
  return out;
}

}  // namespace lnx
