#include "base/lldp_nla.h"

#include <cstring>

uint16_t lldpNlaLen(const uint8_t* attr) {
  uint16_t len;
  std::memcpy(&len, attr, sizeof(len));
  return len;
}

uint16_t lldpNlaType(const uint8_t* attr) {
  uint16_t type;
  std::memcpy(&type, attr + 2, sizeof(type));
  return type;
}

const uint8_t* lldpNlaData(const uint8_t* attr) { return attr + 4; }

int32_t lldpNlaPayload(const uint8_t* attr) { return static_cast<int32_t>(lldpNlaLen(attr)) - 4; }

bool lldpNlaOk(const uint8_t* attr, int32_t remaining) {
  if (remaining < 4) return false;
  const int32_t len = lldpNlaLen(attr);
  return len >= 4 && len <= remaining;
}

const uint8_t* lldpNlaNext(const uint8_t* attr, int32_t* remaining) {
  const int32_t step = static_cast<int32_t>((lldpNlaLen(attr) + 3u) & ~3u);
  if (step >= *remaining) {
    // The padding of the last attribute may be missing; stop at the end.
    const uint8_t* end = attr + *remaining;
    *remaining = 0;
    return end;
  }
  *remaining -= step;
  return attr + step;
}

uint8_t lldpNlaGetU8(const uint8_t* attr) {
  return lldpNlaPayload(attr) >= 1 ? lldpNlaData(attr)[0] : 0;
}

uint32_t lldpNlaGetU32(const uint8_t* attr) {
  uint32_t v = 0;
  const int32_t have = lldpNlaPayload(attr);
  if (have > 0) std::memcpy(&v, lldpNlaData(attr), have < 4 ? static_cast<size_t>(have) : 4u);
  return v;
}

