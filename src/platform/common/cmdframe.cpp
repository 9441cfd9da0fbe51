// The command socket's framing: see cmdframe.h and docs/command-socket.md.
#include "platform/common/cmdframe.h"

#include <cstring>

namespace {

// Checks the magic and the total length of the frame at buf: returns the
// total once the whole frame is there, 0 while bytes are missing, -1 when it
// cannot be one of ours (wrong magic, total outside [minLen, maxLen]).
long cmdWholeFrame(const uint8_t* buf, size_t n, uint32_t minLen, uint32_t maxLen) {
  if (n < 8) return 0;
  if (cmdGetU32(buf) != kCmdMagic) return -1;
  const uint32_t total = cmdGetU32(buf + 4);
  if (total < minLen || total > maxLen) return -1;
  return n < total ? 0 : static_cast<long>(total);
}

// Splits an optional key block off the front of [*p, end): false when it
// claims more bytes than there are or more than a key record may hold.
bool cmdTakeKey(const uint8_t** p, const uint8_t* end, std::vector<uint8_t>* key) {
  key->clear();
  if (end - *p < 4) return false;
  const uint32_t k = cmdGetU32(*p);
  *p += 4;
  if (k > kCmdMaxKey || k > static_cast<size_t>(end - *p)) return false;
  key->assign(*p, *p + k);
  *p += k;
  return true;
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

void cmdAppendRequest(std::vector<uint8_t>& b, const CmdRequest& req) {
  const bool keyed = (req.flags & kCmdFlagKey) != 0;
  const size_t keyBlock = keyed ? 4 + req.key.size() : 0;
  const uint32_t words[8] = {kCmdMagic, static_cast<uint32_t>(kCmdHeaderLen + keyBlock + req.data.size()),
                             req.op,    req.index,
                             req.objId, req.flags,
                             req.value, req.len};
  const size_t off = b.size();
  b.resize(off + sizeof words);
  std::memcpy(&b[off], words, sizeof words);
  if (keyed) {
    cmdAddU32(b, static_cast<uint32_t>(req.key.size()));
    b.insert(b.end(), req.key.begin(), req.key.end());
  }
  b.insert(b.end(), req.data.begin(), req.data.end());
}

std::vector<uint8_t> cmdEncodeRequest(const CmdRequest& req) {
  std::vector<uint8_t> b;
  b.reserve(kCmdHeaderLen + 4 + req.key.size() + req.data.size());
  cmdAppendRequest(b, req);
  return b;
}

long cmdDecode(const uint8_t* buf, size_t n, CmdRequest* req) {
  const long total = cmdWholeFrame(buf, n, kCmdHeaderLen, kCmdMaxRequest);
  if (total <= 0) return total;
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
  if ((req->flags & kCmdFlagKey) && !cmdTakeKey(&p, end, &req->key)) return -1;
  req->data.assign(p, end);
  if (!(req->flags & kCmdFlagBuffer) && !req->data.empty()) return -1;
  if ((req->flags & kCmdFlagBuffer) && (req->len > kCmdMaxData || req->data.size() > kCmdMaxData)) return -1;
  return total;
}

std::vector<uint8_t> cmdEncodeReply(uint32_t rc, uint32_t value, uint32_t len,
                                    const std::vector<uint8_t>* key, const uint8_t* data, uint32_t dataLen) {
  std::vector<uint8_t> out;
  const uint32_t keyBlock = key ? 4 + static_cast<uint32_t>(key->size()) : 0;
  out.reserve(kCmdReplyHeaderLen + keyBlock + dataLen);
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

long cmdDecodeReply(const uint8_t* buf, size_t n, uint32_t requestFlags, CmdReply* out) {
  const long total = cmdWholeFrame(buf, n, kCmdReplyHeaderLen, kCmdMaxReply);
  if (total <= 0) return total;
  out->rc = cmdGetU32(buf + 8);
  out->value = cmdGetU32(buf + 12);
  out->len = cmdGetU32(buf + 16);
  const uint8_t* p = buf + kCmdReplyHeaderLen;
  const uint8_t* end = buf + total;
  out->keyed = (requestFlags & kCmdFlagKey) != 0;
  out->key.clear();
  if (out->keyed && !cmdTakeKey(&p, end, &out->key)) return -1;
  out->data.assign(p, end);
  // An integer reply carries no data; a buffer reply's length word is the
  // number of data bytes.
  if (!(requestFlags & kCmdFlagBuffer) && !out->data.empty()) return -1;
  if ((requestFlags & kCmdFlagBuffer) && (out->data.size() > kCmdMaxData || out->len != out->data.size()))
    return -1;
  return total;
}

std::vector<uint8_t> cmdEncodeEvent(uint32_t kind, uint32_t arg, const uint8_t* payload, size_t len) {
  if (len > kCmdMaxData) len = kCmdMaxData;
  std::vector<uint8_t> b;
  b.reserve(kCmdEventHeaderLen + len);
  cmdAddU32(b, kCmdMagic);
  cmdAddU32(b, static_cast<uint32_t>(kCmdEventHeaderLen + len));
  cmdAddU32(b, kind);
  cmdAddU32(b, arg);
  if (len) b.insert(b.end(), payload, payload + len);
  return b;
}

long cmdDecodeEvent(const uint8_t* buf, size_t n, CmdEvent* out) {
  const long total = cmdWholeFrame(buf, n, kCmdEventHeaderLen, kCmdMaxEvent);
  if (total <= 0) return total;
  out->kind = cmdGetU32(buf + 8);
  out->arg = cmdGetU32(buf + 12);
  out->payload.assign(buf + kCmdEventHeaderLen, buf + total);
  return total;
}

bool cmdAddPortName(std::vector<uint8_t>& out, const CmdPortName& p, size_t capacity) {
  const size_t n = p.name.size();
  if (n == 0 || n > kCmdPortNameMax || out.size() + 8 + n > capacity) return false;
  cmdAddU32(out, p.unit);
  cmdAddU32(out, static_cast<uint32_t>(n));
  out.insert(out.end(), p.name.begin(), p.name.end());
  return true;
}

bool cmdDecodePortNames(const uint8_t* p, size_t n, std::vector<CmdPortName>* out) {
  std::vector<CmdPortName> v;
  size_t off = 0;
  while (off < n) {
    if (n - off < 8) return false;
    CmdPortName r;
    r.unit = cmdGetU32(p + off);
    const uint32_t len = cmdGetU32(p + off + 4);
    off += 8;
    if (len == 0 || len > kCmdPortNameMax || len > n - off) return false;
    if (!v.empty() && r.unit <= v.back().unit) return false;
    r.name.assign(reinterpret_cast<const char*>(p + off), len);
    off += len;
    v.push_back(std::move(r));
  }
  *out = std::move(v);
  return true;
}
