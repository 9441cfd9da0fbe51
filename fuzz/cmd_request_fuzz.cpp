// Command-socket requests against the agent's own operation table: every
// input starts from the same populated agent (three ports, neighbours with
// management addresses, VLAN names and LLDP-MED data, agent-wide and per-port
// management addresses) and runs its requests through the server's framing
// (decode, key record, descriptor, handler, reply).
//
// An input is either raw client bytes (it starts with the framing's magic) or
// a sequence of compact requests that this target frames itself, so that the
// fuzzer spends its time on operation, index, key block, object, form and
// length rather than on the framing's magic:
//
//   op(1) flags(1) index(4) object(4) value(4) length(2) keyLen(1) key
//   dataLen(1) data
//
// flags bit 0: buffer form; bit 1: key block; bit 2: index taken modulo 8
// (a port unit); bit 3: object taken modulo 80. Nothing may be read or
// written outside a buffer, every reply must be well formed, and after each
// input the agent must be torn down without a leak.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/lldp_info.h"
#include "core/lldp_core.h"
#include "core/lldp_task.h"
#include "mgmt/lldp_mgmt.h"
#include "platform/linux/linux_platform.h"
#include "platform/sil.h"
#include "platform/sim/sim.h"
#include "platform/zor_socket.h"
#include "port/lldp_mgmt_addr.h"
#include "port/lldp_port.h"
#include "rx/rx_test_util.h"

namespace {

using rxtest::Bytes;
using rxtest::Frame;

void check(bool ok) {
  if (!ok) std::abort();
}

void neighbours(uint32_t unit) {
  Frame med;
  med.head("phone-" + std::to_string(unit), "p1", 120)
      .tlv(8, {5, 1, 10, 0, 0, static_cast<uint8_t>(unit), 2, 0, 0, 0, 1, 0})
      .tlv(8, {17, 2, 0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 0, 0, 0, 2, 0})
      .org(rxtest::kMed, 1, {0x00, 0x33, 0x03})
      .org(rxtest::kMed, 2, {0x01, 0x40, 0x0A, 0x2E})
      .org(rxtest::kMed, 5, rxtest::str("hw-1"))
      .end();
  Frame bridge;
  bridge.head("bridge-" + std::to_string(unit), "ge7", 120)
      .org(rxtest::kDot1, 1, {0x00, 0x0A})
      .org(rxtest::kDot1, 2, {0x06, 0x00, 0x14})
      .org(rxtest::kDot1, 3, {0x00, 0x0A, 0x04, 'v', 'o', 'i', 'p'})
      .org(rxtest::kDot3, 1, {0x03, 0x6C, 0x00, 0x00, 0x10})
      .org(rxtest::kDot3, 4, {0x05, 0xEE})
      .end();
  for (const Frame* f : {&med, &bridge}) {
    sim::queueFrame(unit, f->b);
    lldpMainRound();
  }
}

void call(IcmHandler h, uintptr_t index, uint32_t obj, ZorValue* v) { (void)h(index, obj, v); }

// The agent every input starts from.
void populate() {
  sim::reset();
  sim::setOctets(sim::Svc::Scalar, 0, 39, rxtest::kPriv);
  sim::setOctets(sim::Svc::Scalar, 0, 129, {0xFC, 0x00});
  lldpInit(8, 31, 0, LLDP_MODE_STANDARD, LLDP_ADMIN_TXRX, 1, 0, 0, 0);
  lldpMainStart();
  for (uint32_t u = 1; u <= 3; ++u) {
    sim::addInterface(u, "ge" + std::to_string(u), 100 + u, {0x00, 0xAA, 0xBB, 0, 0, uint8_t(u)});
    if (LldpPort* p = lldpPortEntryAdd(u)) lldpPortEntryInit(p, LLDP_ADMIN_TXRX);
  }
  for (int i = 0; i < 3; ++i) lldpMainRound();
  for (uint32_t u = 1; u <= 2; ++u) neighbours(u);

  // Management addresses: two agent-wide, two on port 1, one on port 2.
  for (uint8_t last : {1, 2}) {
    LldpManAddrKey k{1, {192, 168, 0, last}, 4};
    uint8_t map[512];
    ZorValue v{};
    v.buf = map;
    v.len = sizeof map;
    v.form = ZOR_VALUE_BUF;
    call(lldpManAddrSetApi, reinterpret_cast<uintptr_t>(&k), 0, &v);
  }
  uint8_t n = 0;
  for (uint32_t unit : {1u, 1u, 2u}) {
    LldpPortManAddrKey k{{1, {172, 16, 0, ++n}, 4}, {}};
    std::memcpy(k.unit, &unit, 4);
    ZorValue v{};
    v.value = 2;
    call(lldpPortManAddrSetApi, reinterpret_cast<uintptr_t>(&k), 15, &v);
  }
  // Some VLANs to walk and trim.
  for (uint32_t unit : {1u, 2u}) {
    uint8_t vlans[3] = {0x80, 0x00, 0x01};
    ZorValue v{};
    v.buf = vlans;
    v.len = sizeof vlans;
    v.form = ZOR_VALUE_BUF;
    call(lldpPortSetApi, unit, 27, &v);
    call(lldpPortSetApi, unit, 29, &v);
  }
  sim::clearSentFrames();
  sim::clearLogLines();
}

// Takes everything down again; nothing may be left allocated.
void teardown() {
  sim::clearFailures();
  while (auto* p = static_cast<LldpPort*>(avl_first(&gLldpInfo.portTable))) {
    lldpPortMsapCleanup(p);
    lldpPortEntryDel(p);
  }
  while (lldpMgmtAddr* row = gLldpInfo.manAddrList) {
    gLldpInfo.manAddrList = row->next;
    silFree(row->mgmtAddrOid);
    silFree(row->mgmtAddrPort);
    silFree(row);
  }
  silMemPoolDestroy(&gLldpInfo.portPool);
  silDeleteSem(gLldpInfo.semaphore);
  if (gLldpInfo.dataSock > 0) zor_close(gLldpInfo.dataSock);
  if (gLldpInfo.rtSock > 0) zor_close(gLldpInfo.rtSock);
  check(sim::liveAllocations() == 0);
  check(sim::semaphoreDepth() == 0);
}

// Runs one framed request and checks the reply's shape.
void execute(const lnx::CmdRequest& req) {
  const std::vector<uint8_t> reply = lnx::cmdExecute(glldpFuncMap, LLDP_FUNCMAP_COUNT, req);
  check(reply.size() >= lnx::kCmdReplyHeaderLen);
  const uint32_t total = lnx::cmdGetU32(reply.data() + 4);
  check(total == reply.size());
  check(total <= lnx::kCmdReplyHeaderLen + 4 + ICM_MAX_KEY_LEN + lnx::kCmdMaxData);
  if (req.flags & lnx::kCmdFlagBuffer) {
    // The data never exceed the buffer the handler was given.
    const size_t keyBlock = (req.flags & lnx::kCmdFlagKey) ? 4 + lnx::cmdGetU32(reply.data() + 20) : 0;
    const size_t dataLen = reply.size() - lnx::kCmdReplyHeaderLen - keyBlock;
    check(dataLen == lnx::cmdGetU32(reply.data() + 16));
    check(dataLen <= (req.len > req.data.size() ? req.len : req.data.size()));
  }
  // Between requests the protocol task runs, as on the real agent.
  if (req.value & 0x100) lldpMainRound();
}

// A raw byte stream as a client would write it.
void rawStream(const uint8_t* data, size_t size) {
  size_t off = 0;
  while (off < size) {
    lnx::CmdRequest req;
    const long used = lnx::cmdDecode(data + off, size - off, &req);
    if (used <= 0) break;
    check(static_cast<size_t>(used) <= size - off);
    execute(req);
    off += static_cast<size_t>(used);
  }
}

struct Reader {
  const uint8_t* p;
  size_t n;
  bool take(size_t k, const uint8_t** out) {
    if (n < k) return false;
    *out = p;
    p += k;
    n -= k;
    return true;
  }
  bool u8(uint32_t* v) {
    const uint8_t* q;
    if (!take(1, &q)) return false;
    *v = q[0];
    return true;
  }
  bool u16(uint32_t* v) {
    const uint8_t* q;
    if (!take(2, &q)) return false;
    *v = static_cast<uint32_t>(q[0] | q[1] << 8);
    return true;
  }
  bool u32(uint32_t* v) {
    const uint8_t* q;
    if (!take(4, &q)) return false;
    std::memcpy(v, q, 4);
    return true;
  }
};

// Compact requests, framed here and decoded again by the server's code.
void compactStream(const uint8_t* data, size_t size) {
  Reader r{data, size};
  for (int count = 0; count < 64; ++count) {
    lnx::CmdRequest req;
    uint32_t flags = 0, keyLen = 0, dataLen = 0;
    const uint8_t* bytes = nullptr;
    if (!r.u8(&req.op) || !r.u8(&flags) || !r.u32(&req.index) || !r.u32(&req.objId) ||
        !r.u32(&req.value) || !r.u16(&req.len) || !r.u8(&keyLen) || !r.take(keyLen, &bytes))
      return;
    req.key.assign(bytes, bytes + keyLen);
    if (!r.u8(&dataLen) || !r.take(dataLen, &bytes)) return;
    req.flags = flags & lnx::kCmdKnownFlags;
    if (flags & 4) req.index %= 8;
    if (flags & 8) req.objId %= 80;
    if (!(req.flags & lnx::kCmdFlagKey)) req.key.clear();
    if (req.flags & lnx::kCmdFlagBuffer) req.data.assign(bytes, bytes + dataLen);
    // Through the encoder and the decoder, as the bytes would travel.
    const std::vector<uint8_t> wire = lnx::cmdEncodeRequest(req);
    lnx::CmdRequest decoded;
    if (lnx::cmdDecode(wire.data(), wire.size(), &decoded) != static_cast<long>(wire.size())) continue;
    execute(decoded);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  populate();
  // An exact-size copy, so that a read one byte past the end is caught.
  const std::vector<uint8_t> buf(data, data + size);
  if (size >= 4 && lnx::cmdGetU32(buf.data()) == lnx::kCmdMagic)
    rawStream(buf.data(), buf.size());
  else
    compactStream(buf.data(), buf.size());
  teardown();
  return 0;
}
