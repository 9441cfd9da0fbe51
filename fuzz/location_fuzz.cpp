// Coordinate location texts and LCIs from outside: the input is tried as a
// coordinate text (text -> LCI -> text) and its first 16 octets as a received
// LCI (LCI -> text). Nothing is read past the input, and a text the agent
// writes is one it accepts again and reads back unchanged.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "mgmt/lldp_location.h"

namespace {

// A text lldpLocationDecode wrote, when it is accepted again, must read back
// as the same text.
void checkStable(const char* text, uint32_t len) {
  uint8_t lci[LLDP_LCI_LEN];
  if (lldpLocationEncode(reinterpret_cast<const uint8_t*>(text), len, lci) != 0) return;
  char again[LLDP_LOC_TEXT_ROOM];
  const uint32_t n = lldpLocationDecode(lci, again, sizeof again);
  if (n != len || std::memcmp(again, text, len) != 0) std::abort();
}

uint32_t decodeChecked(const uint8_t* lci, char* text) {
  const uint32_t n = lldpLocationDecode(lci, text, LLDP_LOC_TEXT_ROOM);
  if (n >= LLDP_LOC_TEXT_ROOM || text[n] != '\0' || std::strlen(text) != n) std::abort();
  return n;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Exact-size copies, so that a read one byte past the end is caught.
  const std::vector<uint8_t> text(data, data + size);
  uint8_t lci[LLDP_LCI_LEN];
  char back[LLDP_LOC_TEXT_ROOM];
  if (lldpLocationEncode(text.data(), static_cast<uint32_t>(text.size()), lci) == 0) {
    const uint32_t n = decodeChecked(lci, back);
    // Every text of an accepted LCI is itself acceptable.
    uint8_t again[LLDP_LCI_LEN];
    if (lldpLocationEncode(reinterpret_cast<const uint8_t*>(back), n, again) != 0) std::abort();
    checkStable(back, n);
  }
  if (size >= LLDP_LCI_LEN) {
    const std::vector<uint8_t> raw(data, data + LLDP_LCI_LEN);
    checkStable(back, decodeChecked(raw.data(), back));
  }
  return 0;
}
