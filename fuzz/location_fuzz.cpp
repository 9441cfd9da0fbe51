// Coordinate location texts and LCIs from outside: the input is tried as a
// coordinate text (text -> LCI -> text) and its first 16 octets as a received
// LCI (LCI -> text). Nothing is read past the input, every text the agent
// writes is one it accepts again, and it reads back unchanged unless a value
// was printed rounded up to the first magnitude its field cannot hold. The
// input is also read as a civic address LCI.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "mgmt/lldp_location.h"

namespace {

// Whether the text that lldpLocationDecode wrote prints a latitude or
// longitude of 256 degrees or more, or an altitude of 2097152 or more: such
// a value (255.9999999 printed with six decimals) no longer fits its field.
bool printsBeyondItsField(const char* text, uint32_t len) {
  const std::string t(text, len);
  size_t start = 0;
  for (int field = 1; field <= 6; ++field) {
    const size_t comma = t.find(',', start);
    if (comma == std::string::npos) return false;
    const double v = std::fabs(std::strtod(t.substr(start, comma - start).c_str(), nullptr));
    if ((field == 2 || field == 4) && v >= 256.0) return true;
    if (field == 6 && v >= 2097152.0) return true;
    start = comma + 1;
  }
  return false;
}

// A text lldpLocationDecode wrote is accepted again and, unless it prints a
// value beyond its field, reads back as the same text.
void checkStable(const char* text, uint32_t len) {
  uint8_t lci[LLDP_LCI_LEN];
  if (lldpLocationEncode(reinterpret_cast<const uint8_t*>(text), len, lci) != 0) std::abort();
  if (printsBeyondItsField(text, len)) return;
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
    checkStable(back, decodeChecked(lci, back));
  }
  if (size >= LLDP_LCI_LEN) {
    const std::vector<uint8_t> raw(data, data + LLDP_LCI_LEN);
    checkStable(back, decodeChecked(raw.data(), back));
  }
  // The input as a received civic address: the elements taken are inside
  // it, each with its two header octets.
  LldpCivic civic;
  lldpCivicDecode(text.data(), static_cast<uint32_t>(text.size()), &civic);
  size_t used = civic.elements.empty() && civic.country.empty() ? 0 : 4;
  for (const auto& e : civic.elements) used += 2 + e.value.size();
  if (used > size) std::abort();
  return 0;
}
