// The stack's own messages between the agents of one host: the hello that
// announces a unit and its ports, its reply, and the split of a buffer of
// the agent's synchronisation messages into what this unit forwards. No
// operating-system calls here, so the fuzz target links this file alone.
//
// A hello comes from another process: it is decoded bounded by the bytes
// received, whatever its counts say, and refused whole when anything in it
// does not fit.
#include <cstring>
#include <string>
#include <vector>

#include "platform/linux/linux_platform.h"

namespace lnx {
namespace {

constexpr uint32_t kHelloVersion = 1;
constexpr size_t kHelloHeadLen = 16;
constexpr size_t kHelloPortLen = 36;  // ifindex, flags, MTU, MAC + 2, name[16]
constexpr size_t kHelloReplyLen = 16;
constexpr size_t kHelloNameLen = 16;

uint16_t be16(const uint8_t* p) { return static_cast<uint16_t>((p[0] << 8) | p[1]); }
uint32_t be32(const uint8_t* p) {
  return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | p[3];
}

}  // namespace

std::vector<uint8_t> helloEncode(const StackHello& h) {
  std::vector<uint8_t> b;
  cmdAddU32(b, kHelloVersion);
  cmdAddU32(b, h.unit);
  cmdAddU32(b, h.incarnation);
  cmdAddU32(b, static_cast<uint32_t>(h.ports.size()));
  for (const StackHelloPort& p : h.ports) {
    cmdAddU32(b, p.ifindex);
    cmdAddU32(b, p.up ? 1u : 0u);
    cmdAddU32(b, p.mtu);
    b.insert(b.end(), p.mac, p.mac + 6);
    b.insert(b.end(), 2, 0);
    char name[kHelloNameLen] = {};
    std::memcpy(name, p.name.data(), p.name.size() < kHelloNameLen ? p.name.size() : kHelloNameLen);
    b.insert(b.end(), name, name + kHelloNameLen);
  }
  return b;
}

bool helloDecode(const uint8_t* p, size_t n, StackHello* out) {
  if (p == nullptr || n < kHelloHeadLen || cmdGetU32(p) != kHelloVersion) return false;
  StackHello h;
  h.unit = cmdGetU32(p + 4);
  h.incarnation = cmdGetU32(p + 8);
  const uint32_t count = cmdGetU32(p + 12);
  if (h.unit < 1 || h.unit > kStackUnitMax || count > kStackPortsMax ||
      count != (n - kHelloHeadLen) / kHelloPortLen || (n - kHelloHeadLen) % kHelloPortLen != 0)
    return false;
  for (uint32_t i = 0; i < count; ++i) {
    const uint8_t* r = p + kHelloHeadLen + i * kHelloPortLen;
    StackHelloPort port;
    port.ifindex = cmdGetU32(r);
    port.up = (cmdGetU32(r + 4) & 1) != 0;
    port.mtu = cmdGetU32(r + 8);
    std::memcpy(port.mac, r + 12, 6);
    const auto* name = reinterpret_cast<const char*>(r + 20);
    port.name.assign(name, strnlen(name, kHelloNameLen));
    // Names end up in log lines and displays: printable ASCII only.
    for (char& c : port.name)
      if (c < 0x21 || c > 0x7E) c = '?';
    if (port.ifindex < 1 || port.ifindex > 0xFFFF || port.name.empty() || port.mtu > 0xFFFF) return false;
    h.ports.push_back(port);
  }
  *out = std::move(h);
  return true;
}

std::vector<uint8_t> helloReplyEncode(const StackHelloReply& r) {
  std::vector<uint8_t> b;
  cmdAddU32(b, kHelloVersion);
  cmdAddU32(b, r.unit);
  cmdAddU32(b, r.incarnation);
  cmdAddU32(b, r.ready ? 1u : 0u);
  return b;
}

bool helloReplyDecode(const uint8_t* p, size_t n, StackHelloReply* out) {
  if (p == nullptr || n != kHelloReplyLen || cmdGetU32(p) != kHelloVersion) return false;
  out->unit = cmdGetU32(p + 4);
  out->incarnation = cmdGetU32(p + 8);
  out->ready = cmdGetU32(p + 12) == 1;
  return out->unit >= 1 && out->unit <= kStackUnitMax;
}

std::vector<std::vector<uint8_t>> stackSyncMessages(const uint8_t* buf, size_t n, uint32_t self) {
  std::vector<std::vector<uint8_t>> out;
  size_t off = 0;
  while (buf != nullptr && n - off >= 4) {
    const uint16_t type = be16(buf + off);
    const uint16_t len = be16(buf + off + 2);
    if (len < 4 || len > n - off) break;
    bool own = false;
    switch (type) {
      case 2:  // global statistics
        own = true;
        break;
      case 1:  // a remote record: the port unit follows the action octet
        own = len >= 9 && (be32(buf + off + 5) >> 16) == self;
        break;
      case 3:  // port statistics
        own = len >= 8 && (be32(buf + off + 4) >> 16) == self;
        break;
      default:
        break;
    }
    if (own) out.emplace_back(buf + off, buf + off + len);
    off += len;
  }
  return out;
}

}  // namespace lnx
