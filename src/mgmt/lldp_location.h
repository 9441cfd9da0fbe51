// LLDP-MED coordinate location: the text an operator writes and the 16-octet
// coordinate LCI (RFC 3825 layout) that the location TLV carries, both ways.
//
// Text: seven fields, each followed by a comma:
//   hemisphere, latitude, east/west, longitude, altitude unit, altitude, datum
//   e.g. "north,35.5,east,139.25,meters,12.5,wgs84,"
// LCI, most significant bit first:
//   bits   0-5   latitude resolution (always 34)   6-39   latitude  (9.25 fixed point)
//   bits  40-45  longitude resolution (always 34)  46-79  longitude (9.25)
//   bits  80-83  altitude type (1 meters, 2 floors)
//   bits  84-89  altitude resolution (always 30)   90-119 altitude  (22.8)
//   bits 120-127 datum (1 WGS84, 2 NAD83, 3 NAD83 with MLLW)
// Fixed-point values are sign and magnitude: the top bit of the field is the
// sign, not a two's complement.
//
// Also the other two location formats as a reader wants them: the civic
// address LCI (RFC 4776 layout) split into its elements. lldpctl shows
// received and configured locations with these same functions.
//
// Pure functions: no state, no lock, no platform call.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

constexpr uint32_t LLDP_LCI_LEN = 16;
// A coordinate text is at least 36 and fewer than 68 octets long.
constexpr uint32_t LLDP_LOC_TEXT_MIN = 36;
constexpr uint32_t LLDP_LOC_TEXT_LIMIT = 68;
// Room for any text lldpLocationDecode writes, terminator included.
constexpr uint32_t LLDP_LOC_TEXT_ROOM = 80;

// The fixed-point field of `intBits` integer bits (the sign bit among them)
// and `fracBits` fraction bits: sign bit at intBits + fracBits - 1, the
// truncated magnitude shifted left by fracBits, and fracBits fraction bits.
// A fraction bit is set only when the doubled rest is strictly above 1.0, so
// an exact half comes out as 0111...1. The magnitude keeps only the bits its
// field has: from 2^(intBits - 1) on its integer part reaches the sign bit
// (256 degrees in a 9.25 field reads as a negative 0), and higher bits are
// dropped. NaN and infinities give 0.
uint64_t double2hex(double value, uint32_t intBits, uint32_t fracBits);
// The value of such a field. Fraction bits are added from bit fracBits - 1
// down to bit 1: bit 0 is never counted. A 30-bit field (the altitude) is
// read from the low 32 bits of `bits` only.
double hex2double(uint64_t bits, uint32_t intBits, uint32_t fracBits);
// The same field read as two's complement: a set sign bit negates the whole
// field first (then *negative is 1, else 0); the magnitude is returned with
// every fraction bit counted.
double lciFixedPrecision(uint64_t bits, uint32_t intBits, uint32_t fracBits, int* negative);

// Parses a coordinate text of `len` octets (not terminated) into the LCI.
// Returns 22 for a length outside 36..67, else 0: every other text gives an
// LCI. At each comma the field just ended is read by its place: 1 a word
// beginning with s or S makes the latitude negative; 2 the latitude, by
// strtod (0 when no number begins the field; what follows the number is not
// looked at); 3 a word beginning with w or W makes the longitude negative;
// 4 the longitude; 5 a word beginning with m or M gives meters, any other
// floors; 6 the altitude; 7 the datum, by the prefix "wgs84" (1),
// "nad83-mllw" (3) or "nad83" (2), any other word 0. A field whose comma
// never comes keeps its starting value (0; floors for the unit). Text after
// the seventh comma is ignored. Values are not range-checked. Nothing is
// read beyond `len` octets.
uint32_t lldpLocationEncode(const uint8_t* text, uint32_t len, uint8_t lci[LLDP_LCI_LEN]);

// The text of an LCI: "north,"/"south," and the latitude's magnitude with
// six decimals, "east,"/"west," and the longitude's, "meters," (altitude
// type 1) or "floors," (any other type), the altitude with one decimal, then
// "wgs84,", "nad83," or "nad83-mllw," for datum 1, 2, 3 (nothing for any
// other datum). Writes at most `size` octets including a terminator and
// returns the text's length without it (0 when size is 0).
uint32_t lldpLocationDecode(const uint8_t lci[LLDP_LCI_LEN], char* text, uint32_t size);

// The fields of an LCI, as lldpLocationDecode prints them (hex2double).
struct LldpLciFields {
  double latitude = 0, longitude = 0, altitude = 0;  // negative south, west
  uint32_t altitudeType = 0;                          // 1 meters, else floors
  uint32_t datum = 0;                                 // 1 WGS84, 2 NAD83, 3 NAD83 with MLLW
};
void lldpLocationFields(const uint8_t lci[LLDP_LCI_LEN], LldpLciFields* out);

// A civic address LCI: its length octet, the "what" octet (0 the DHCP
// server, 1 the network element closest to the client, 2 the client), the
// two-letter country code, then elements of a CA type octet, a length octet
// and that many octets of value. The walk is bounded by `n` and by the LCI's
// own length, whichever ends first; false when an element or the header does
// not fit (the elements before it are kept).
struct LldpCivicElement {
  uint32_t type = 0;
  std::string value;
};
struct LldpCivic {
  uint32_t what = 0;
  std::string country;
  std::vector<LldpCivicElement> elements;
};
bool lldpCivicDecode(const uint8_t* data, uint32_t n, LldpCivic* out);
// The name of a civic address CA type ("city", "house_number"...), nullptr
// for a type without one.
const char* lldpCivicTypeName(uint32_t type);
