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

constexpr uint32_t kBadArgument = 22;
constexpr uint32_t kUnknownObject = 0x3E80010;

std::vector<uint8_t> reply(uint32_t rc, uint32_t value, uint32_t len,
                           const std::vector<uint8_t>* key, const uint8_t* data, uint32_t dataLen) {
  std::vector<uint8_t> out;
  const uint32_t keyBlock = key ? 4 + static_cast<uint32_t>(key->size()) : 0;
  cmdAddU32(out, kCmdMagic);
  cmdAddU32(out, kCmdReplyHeaderLen + keyBlock + dataLen);
  cmdAddU32(out, rc);
  cmdAddU32(out, value);
  cmdAddU32(out, len);
  if (key) {
    cmdAddU32(out, static_cast<uint32_t>(key->size()));
    out.insert(out.end(), key->begin(), key->end());
  }
  if (dataLen) out.insert(out.end(), data, data + dataLen);
  return out;
}

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
  if (total < kCmdHeaderLen || total > kCmdHeaderLen + 4 + ICM_MAX_KEY_LEN + kCmdMaxData)
    return -1;
  if (n < total) return 0;
  req->op = cmdGetU32(buf + 8);
  req->index = cmdGetU32(buf + 12);
  req->objId = cmdGetU32(buf + 16);
  req->flags = cmdGetU32(buf + 20);
  req->value = cmdGetU32(buf + 24);
  req->len = cmdGetU32(buf + 28);
  if (req->flags & ~kCmdKnownFlags) return -1;
  const uint8_t* p = buf + kCmdHeaderLen;
  const uint8_t* end = buf + total;
  req->key.clear();
  if (req->flags & kCmdFlagKey) {
    if (end - p < 4) return -1;
    const uint32_t k = cmdGetU32(p);
    p += 4;
    if (k > ICM_MAX_KEY_LEN || k > static_cast<size_t>(end - p)) return -1;
    req->key.assign(p, p + k);
    p += k;
  }
  req->data.assign(p, end);
  if (!(req->flags & kCmdFlagBuffer) && !req->data.empty()) return -1;
  if ((req->flags & kCmdFlagBuffer) && (req->len > kCmdMaxData || req->data.size() > kCmdMaxData))
    return -1;
  return static_cast<long>(total);
}

std::vector<uint8_t> cmdEncodeRequest(const CmdRequest& req) {
  std::vector<uint8_t> b;
  const bool keyed = (req.flags & kCmdFlagKey) != 0;
  const size_t keyBlock = keyed ? 4 + req.key.size() : 0;
  cmdAddU32(b, kCmdMagic);
  cmdAddU32(b, static_cast<uint32_t>(kCmdHeaderLen + keyBlock + req.data.size()));
  cmdAddU32(b, req.op);
  cmdAddU32(b, req.index);
  cmdAddU32(b, req.objId);
  cmdAddU32(b, req.flags);
  cmdAddU32(b, req.value);
  cmdAddU32(b, req.len);
  if (keyed) {
    cmdAddU32(b, static_cast<uint32_t>(req.key.size()));
    b.insert(b.end(), req.key.begin(), req.key.end());
  }
  b.insert(b.end(), req.data.begin(), req.data.end());
  return b;
}

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
    std::vector<uint8_t> k = req.key;
    return reply(kUnknownObject, 0, 0, keyed ? &k : nullptr, nullptr, 0);
  }
  // The key record: exactly the entry's length, zero-filled past the bytes
  // the client sent. A key block where the operation takes an integer, or a
  // longer one than the operation's record, is refused before the call.
  const uint32_t keyLen = entry->keyLen > ICM_MAX_KEY_LEN ? ICM_MAX_KEY_LEN : entry->keyLen;
  if ((keyed && keyLen == 0) || req.key.size() > keyLen) {
    std::vector<uint8_t> k = req.key;
    return reply(kBadArgument, 0, 0, keyed ? &k : nullptr, nullptr, 0);
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
  return reply(rc, buffered ? 0 : v.value, buffered ? dataLen : v.len, keyed ? &key : nullptr,
               buf.data(), dataLen);
}

}  // namespace lnx
