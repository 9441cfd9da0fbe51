// LLDP-MED coordinate location codec (lldp_location.h).
#include "mgmt/lldp_location.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t kEinval = 22;

// Field widths and places in the LCI (bit offsets from the first octet's
// most significant bit).
constexpr uint32_t kLatRes = 34, kLonRes = 34, kAltRes = 30;
constexpr uint32_t kAngleInt = 9, kAngleFrac = 25, kAltInt = 22, kAltFrac = 8;
constexpr uint32_t kLatResAt = 0, kLatAt = 6, kLonResAt = 40, kLonAt = 46;
constexpr uint32_t kAltTypeAt = 80, kAltResAt = 84, kAltAt = 90, kDatumAt = 120;
constexpr uint32_t kAltMeters = 1, kAltFloors = 2;

void putBits(uint8_t* lci, uint32_t at, uint32_t n, uint64_t v) {
  for (uint32_t i = 0; i < n; ++i) {
    const uint32_t bit = at + i;
    const auto mask = static_cast<uint8_t>(0x80u >> (bit % 8));
    if ((v >> (n - 1 - i)) & 1) lci[bit / 8] |= mask;
    else lci[bit / 8] &= static_cast<uint8_t>(~mask);
  }
}

uint64_t getBits(const uint8_t* lci, uint32_t at, uint32_t n) {
  uint64_t v = 0;
  for (uint32_t i = 0; i < n; ++i) {
    const uint32_t bit = at + i;
    v = (v << 1) | ((lci[bit / 8] >> (7 - bit % 8)) & 1u);
  }
  return v;
}

uint64_t fieldMask(uint32_t bits) { return bits >= 64 ? ~0ull : (1ull << bits) - 1; }

// One comma-terminated field of the text.
struct Field {
  const uint8_t* p;
  uint32_t n;
};

bool startsWith(const Field& f, const char* word) {
  const size_t w = std::strlen(word);
  return f.n >= w && std::memcmp(f.p, word, w) == 0;
}

// Whether the field's word begins with the letter, in either case; an empty
// field begins with none.
bool firstIs(const Field& f, char lower) {
  return f.n > 0 && (f.p[0] == lower || f.p[0] == lower - 'a' + 'A');
}

// The field read by strtod: the number at its start, 0 when there is none;
// what follows the number is not looked at.
double number(const Field& f) {
  char buf[LLDP_LOC_TEXT_LIMIT];
  const uint32_t n = f.n < sizeof buf ? f.n : sizeof buf - 1;
  std::memcpy(buf, f.p, n);
  buf[n] = '\0';
  return std::strtod(buf, nullptr);
}

}  // namespace

uint64_t double2hex(double value, uint32_t intBits, uint32_t fracBits) {
  const uint32_t width = intBits + fracBits;
  if (width == 0 || width > 63 || !std::isfinite(value)) return 0;
  const bool negative = std::signbit(value);
  double mag = std::fabs(value);
  // Cut a magnitude beyond the field to it, so that the conversion below is
  // always defined.
  const double room = std::ldexp(1.0, static_cast<int>(intBits));
  if (!(mag < room)) mag = std::fmod(mag, room);
  const auto whole = static_cast<uint64_t>(mag);
  double frac = mag - static_cast<double>(whole);
  uint64_t bits = 0;
  for (uint32_t i = 0; i < fracBits; ++i) {
    frac *= 2.0;
    bits <<= 1;
    // Strictly greater on purpose: a rest of exactly 1.0 sets no bit and
    // stays, so 0.5 comes out as 0111...1.
    if (frac > 1.0) {
      bits |= 1;
      frac -= 1.0;
    }
  }
  uint64_t out = ((whole << fracBits) | bits) & fieldMask(width);
  if (negative) out |= 1ull << (width - 1);
  return out;
}

double hex2double(uint64_t bits, uint32_t intBits, uint32_t fracBits) {
  const uint32_t width = intBits + fracBits;
  if (width == 0 || width > 63) return 0.0;
  if (width == 30) bits &= 0xFFFFFFFFull;
  const uint64_t sign = 1ull << (width - 1);
  const bool negative = (bits & sign) != 0;
  bits &= ~sign;
  double v = static_cast<double>(bits >> fracBits);
  double weight = 0.5;
  // Down to bit 1 only: the lowest fraction bit is never counted.
  for (uint32_t b = fracBits; b-- > 1; weight /= 2)
    if ((bits >> b) & 1) v += weight;
  return negative ? -v : v;
}

double lciFixedPrecision(uint64_t bits, uint32_t intBits, uint32_t fracBits, int* negative) {
  const uint32_t width = intBits + fracBits;
  int neg = 0;
  double v = 0.0;
  if (width != 0 && width <= 63) {
    const uint64_t mask = fieldMask(width);
    bits &= mask;
    if (bits & (1ull << (width - 1))) {
      bits = (~bits + 1) & mask;
      neg = 1;
    }
    v = static_cast<double>(bits >> fracBits);
    double weight = 0.5;
    for (uint32_t b = fracBits; b-- > 0; weight /= 2)
      if ((bits >> b) & 1) v += weight;
  }
  if (negative != nullptr) *negative = neg;
  return v;
}

uint32_t lldpLocationEncode(const uint8_t* text, uint32_t len, uint8_t lci[LLDP_LCI_LEN]) {
  if (text == nullptr || lci == nullptr) return kEinval;
  if (len < LLDP_LOC_TEXT_MIN || len >= LLDP_LOC_TEXT_LIMIT) return kEinval;

  // Each field is read when its comma is reached; a field whose comma never
  // comes keeps the value it starts with.
  bool south = false, west = false;
  double lat = 0, lon = 0, alt = 0;
  uint32_t altType = kAltFloors, datum = 0;
  uint32_t field = 0, start = 0;
  for (uint32_t i = 0; i < len && field < 7; ++i) {
    if (text[i] != ',') continue;
    const Field f{text + start, i - start};
    start = i + 1;
    switch (++field) {
      case 1: south = firstIs(f, 's'); break;
      case 2: lat = south ? -number(f) : number(f); break;
      case 3: west = firstIs(f, 'w'); break;
      case 4: lon = west ? -number(f) : number(f); break;
      case 5: altType = firstIs(f, 'm') ? kAltMeters : kAltFloors; break;
      case 6: alt = number(f); break;
      default:
        // "nad83-mllw" before "nad83": both begin with "nad83".
        if (startsWith(f, "wgs84")) datum = 1;
        else if (startsWith(f, "nad83-mllw")) datum = 3;
        else if (startsWith(f, "nad83")) datum = 2;
        break;
    }
  }

  std::memset(lci, 0, LLDP_LCI_LEN);
  putBits(lci, kLatResAt, 6, kLatRes);
  putBits(lci, kLatAt, kAngleInt + kAngleFrac, double2hex(lat, kAngleInt, kAngleFrac));
  putBits(lci, kLonResAt, 6, kLonRes);
  putBits(lci, kLonAt, kAngleInt + kAngleFrac, double2hex(lon, kAngleInt, kAngleFrac));
  putBits(lci, kAltTypeAt, 4, altType);
  putBits(lci, kAltResAt, 6, kAltRes);
  putBits(lci, kAltAt, kAltInt + kAltFrac, double2hex(alt, kAltInt, kAltFrac));
  putBits(lci, kDatumAt, 8, datum);
  return 0;
}

void lldpLocationFields(const uint8_t lci[LLDP_LCI_LEN], LldpLciFields* out) {
  out->latitude = hex2double(getBits(lci, kLatAt, kAngleInt + kAngleFrac), kAngleInt, kAngleFrac);
  out->longitude = hex2double(getBits(lci, kLonAt, kAngleInt + kAngleFrac), kAngleInt, kAngleFrac);
  out->altitude = hex2double(getBits(lci, kAltAt, kAltInt + kAltFrac), kAltInt, kAltFrac);
  out->altitudeType = static_cast<uint32_t>(getBits(lci, kAltTypeAt, 4));
  out->datum = static_cast<uint32_t>(getBits(lci, kDatumAt, 8));
}

uint32_t lldpLocationDecode(const uint8_t lci[LLDP_LCI_LEN], char* text, uint32_t size) {
  if (lci == nullptr || text == nullptr || size == 0) return 0;
  LldpLciFields f;
  lldpLocationFields(lci, &f);
  const double lat = f.latitude, lon = f.longitude, alt = f.altitude;
  const uint32_t altType = f.altitudeType, datum = f.datum;
  const char* datumText = datum == 1 ? "wgs84," : datum == 2 ? "nad83," : datum == 3 ? "nad83-mllw," : "";
  // Every value is bounded by its field, so the text fits LLDP_LOC_TEXT_ROOM.
  char out[LLDP_LOC_TEXT_ROOM];
  const int n = std::snprintf(out, sizeof out, "%s%.6lf,%s%.6lf,%s%.1lf,%s",
                              std::signbit(lat) ? "south," : "north,", std::fabs(lat),
                              std::signbit(lon) ? "west," : "east,", std::fabs(lon),
                              altType == kAltMeters ? "meters," : "floors,", alt, datumText);
  uint32_t len = n < 0 ? 0 : static_cast<uint32_t>(n);
  if (len >= sizeof out) len = sizeof out - 1;
  if (len >= size) len = size - 1;
  std::memcpy(text, out, len);
  text[len] = '\0';
  return len;
}

bool lldpCivicDecode(const uint8_t* data, uint32_t n, LldpCivic* out) {
  *out = LldpCivic{};
  // Length octet, what, two country letters.
  if (data == nullptr || n < 4) return false;
  const uint32_t end = 1u + data[0] < n ? 1u + data[0] : n;
  if (end < 4) return false;
  out->what = data[1];
  out->country.assign(reinterpret_cast<const char*>(data + 2), 2);
  uint32_t at = 4;
  while (at < end) {
    if (end - at < 2 || data[at + 1] > end - at - 2) return false;
    LldpCivicElement e;
    e.type = data[at];
    e.value.assign(reinterpret_cast<const char*>(data + at + 2), data[at + 1]);
    out->elements.push_back(std::move(e));
    at += 2u + data[at + 1];
  }
  return true;
}

const char* lldpCivicTypeName(uint32_t type) {
  switch (type) {
    case 0: return "language";
    case 1: return "state";
    case 2: return "county";
    case 3: return "city";
    case 4: return "city_division";
    case 5: return "neighbourhood";
    case 6: return "street_group";
    case 16: return "leading_street_direction";
    case 17: return "trailing_street_suffix";
    case 18: return "street_suffix";
    case 19: return "house_number";
    case 20: return "house_number_suffix";
    case 21: return "landmark";
    case 22: return "additional_location";
    case 23: return "name";
    case 24: return "postal_code";
    case 25: return "building";
    case 26: return "unit";
    case 27: return "floor";
    case 28: return "room";
    case 29: return "place_type";
    case 30: return "postal_community";
    case 31: return "po_box";
    case 32: return "additional_code";
    case 33: return "seat";
    case 34: return "road";
    case 35: return "road_section";
    case 36: return "road_branch";
    case 37: return "road_sub_branch";
    case 38: return "road_pre_modifier";
    case 39: return "road_post_modifier";
    case 128: return "script";
    default: return nullptr;
  }
}
