// What a client reads from the command socket: replies (to a request of each
// form) and events, decoded by the shared framing code as the client library
// does, the event payloads it decodes further and the platform's port-name
// records. Every decoder must stay inside the bytes it was given and only
// accept what it can re-encode.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "client/lldp_events.h"
#include "platform/common/cmdframe.h"

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  // The first byte picks the request's form; the rest is the stream.
  const uint32_t flags = data[0] & kCmdKnownFlags;
  const uint8_t* p = data + 1;
  size_t n = size - 1;
  size_t off = 0;
  while (off < n) {
    CmdReply r;
    const long used = cmdDecodeReply(p + off, n - off, flags, &r);
    if (used <= 0) break;
    check(static_cast<size_t>(used) <= n - off);
    // An accepted reply is exactly what the server's encoder makes of it.
    const auto again = cmdEncodeReply(r.rc, r.value, r.len, r.keyed ? &r.key : nullptr, r.data.data(),
                                      static_cast<uint32_t>(r.data.size()));
    check(again.size() == static_cast<size_t>(used));
    check(std::equal(again.begin(), again.end(), p + off));
    // A buffer reply read as the platform's port names (operation 1001).
    std::vector<CmdPortName> names;
    if (cmdDecodePortNames(r.data.data(), r.data.size(), &names)) {
      std::vector<uint8_t> b;
      for (const auto& pn : names) check(cmdAddPortName(b, pn, r.data.size()));
      check(b == r.data);
    }
    off += static_cast<size_t>(used);
  }
  off = 0;
  while (off < n) {
    CmdEvent e;
    const long used = cmdDecodeEvent(p + off, n - off, &e);
    if (used <= 0) break;
    check(static_cast<size_t>(used) == kCmdEventHeaderLen + e.payload.size());
    lldpc::RemoteChange rc;
    if (lldpc::decodeRemoteChange(e.payload, &rc)) check(e.payload.size() == 56);
    lldpc::MedTrap mt;
    if (lldpc::decodeMedTrap(e.payload, &mt)) check(mt.chassisId.size() + 28 == e.payload.size());
    off += static_cast<size_t>(used);
  }
  return 0;
}
