// Arbitrary bytes through the Linux stack's own message parsers: the hello
// a peer unit sends (and its reply), and the split of a buffer of sync
// messages into what this unit forwards. The first byte picks the parser
// (and, for the split, this unit's number); the rest is the message, in an
// exact-size copy so that a read past it is caught.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/linux/linux_platform.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const uint8_t pick = data[0];
  std::vector<uint8_t> buf(data + 1, data + size);
  switch (pick % 3) {
    case 0: {
      lnx::StackHello h;
      if (lnx::helloDecode(buf.data(), buf.size(), &h)) {
        // What decodes encodes back to the same bytes but for the names,
        // which are cut at a zero and made printable.
        const auto again = lnx::helloEncode(h);
        if (again.size() != buf.size()) __builtin_trap();
      }
      break;
    }
    case 1: {
      lnx::StackHelloReply r;
      lnx::helloReplyDecode(buf.data(), buf.size(), &r);
      break;
    }
    default: {
      size_t total = 0;
      for (const auto& m : lnx::stackSyncMessages(buf.data(), buf.size(), pick >> 2)) total += m.size();
      if (total > buf.size()) __builtin_trap();
      break;
    }
  }
  return 0;
}
