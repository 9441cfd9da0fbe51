// Management address object identifiers: choice by address family, BER
// encoding for the Management Address TLV and decoding of received ones.
//
// The codec keeps to two base-128 digits an arc on purpose, the form the
// deployed agents exchange: encoding reduces an arc modulo 16384 and decoding
// joins at most two bytes into one arc.
#include "local/lldp_oid.h"

#include <cstring>

#include "base/lldp_info.h"
#include "base/lldp_trace.h"
#include "platform/sil.h"

namespace {

constexpr uint8_t kBerOidTag = 0x06;
constexpr uint8_t kIsoOrg = 0x2B;  // arcs 1.3
// Received content after its first byte must stay below this.
constexpr uint32_t kMaxContentRest = 512;

}  // namespace

int lldpMgmtAddrGetOid(uint32_t addrSubtype, uint32_t /*numbering*/, const uint8_t* /*mac*/,
                       uint32_t* arcs, uint32_t* byteLen) {
  const uint32_t e = gLldpInfo.enterpriseOid;
  switch (addrSubtype) {
    case 1: {  // IPv4: ipAdEntAddr of the MIB-II address table
      const uint32_t oid[] = {1, 3, 6, 1, 2, 1, 4, 20, 1, 1};
      std::memcpy(arcs, oid, sizeof(oid));
      *byteLen = sizeof(oid);
      break;
    }
    case 2: {  // IPv6: the enterprise's own address table
      const uint32_t oid[] = {1, 3, 6, 1, 4, 1, e, 2, 1805, 4, 1, 2};
      std::memcpy(arcs, oid, sizeof(oid));
      *byteLen = sizeof(oid);
      break;
    }
    case 6: {  // IEEE 802 MAC address
      const uint32_t oid[] = {1, 3, 6, 1, 4, 1, e, 1, 1, 1, 7};
      std::memcpy(arcs, oid, sizeof(oid));
      *byteLen = sizeof(oid);
      break;
    }
    default:
      break;
  }
  return 0;
}

int lldpOidBerEncode(const uint32_t* arcs, uint32_t count, uint8_t* content, uint32_t* len) {
  *len = 0;
  if (count < 2) return 0;
  uint32_t n = 0;
  auto put = [&](uint32_t v) {
    if (v < 128) {
      content[n++] = static_cast<uint8_t>(v);
    } else {
      // Two digits at most: bits above the 14th are dropped.
      content[n++] = static_cast<uint8_t>(((v >> 7) & 0x7F) | 0x80);
      content[n++] = static_cast<uint8_t>(v & 0x7F);
    }
  };
  put(arcs[0] * 40 + arcs[1]);
  for (uint32_t i = 2; i < count; i++) put(arcs[i]);
  *len = n;
  return 0;
}

int lldpMgmtAddrEncodeOid(uint32_t addrSubtype, uint32_t numbering, const uint8_t* mac,
                          uint8_t* out, uint32_t* len) {
  uint32_t arcs[LLDP_OID_MAX_ARCS] = {};
  uint32_t byteLen = 0;
  lldpMgmtAddrGetOid(addrSubtype, numbering, mac, arcs, &byteLen);
  uint32_t content = 0;
  lldpOidBerEncode(arcs, byteLen / 4, out + 2, &content);
  out[0] = kBerOidTag;
  out[1] = static_cast<uint8_t>(content);
  *len = content + 2;
  return 0;
}

uint32_t* lldpMgmtAddrDecodeOid(const uint8_t* field, uint32_t fieldLen, uint8_t* byteLen) {
  const uint8_t tag = fieldLen >= 1 ? field[0] : 0;
  const uint8_t lenByte = fieldLen >= 2 ? field[1] : 0;
  if (fieldLen < 2 || tag != kBerOidTag || lenByte != fieldLen - 2) {
    LLDP_TRACE(LLDP_TRC_RXFRAME, "unknown management address oid type %x ,length = %x\r\n", tag,
               lenByte);
    return nullptr;
  }
  const uint8_t* p = field + 2;
  const uint32_t contentLen = lenByte;
  if (contentLen < 1 || p[0] != kIsoOrg) {
    LLDP_TRACE(LLDP_TRC_RXFRAME, "unknown management address oid  \r\n");
    return nullptr;
  }
  const uint32_t rest = contentLen - 1;
  if (rest >= kMaxContentRest) {
    LLDP_TRACE(LLDP_TRC_RXFRAME, "management address oid length error, %d \r\n",
               static_cast<int>(rest));
    return nullptr;
  }

  // Each remaining byte yields at most one arc.
  uint32_t arcs[2 + kMaxContentRest];
  uint32_t count = 0;
  arcs[count++] = 1;
  arcs[count++] = 3;
  for (uint32_t i = 1; i < contentLen;) {
    uint8_t b = p[i++];
    if ((b & 0x80) == 0) {
      arcs[count++] = b;
      continue;
    }
    if (i >= contentLen) {
      // The second digit of the last arc is missing: the field is truncated.
      LLDP_TRACE(LLDP_TRC_RXFRAME, "management address oid length error, %d \r\n",
                 static_cast<int>(rest));
      return nullptr;
    }
    arcs[count++] = (static_cast<uint32_t>(b & 0x7F) << 7) | (p[i++] & 0x7Fu);
  }

  auto* out = static_cast<uint32_t*>(silMalloc(count * sizeof(uint32_t)));
  if (out == nullptr) {
    LLDP_TRACE(LLDP_TRC_RXFRAME, "alloc management address oid memory fail\r\n");
    return nullptr;
  }
  std::memcpy(out, arcs, count * sizeof(uint32_t));
  // The remote record keeps the length in one byte.
  *byteLen = static_cast<uint8_t>(count * sizeof(uint32_t));
  return out;
}

int lldpMgmtAddrGetIf(const lldpMgmtAddr* /*addr*/, uint8_t* ifSubtype, uint32_t* ifNumber) {
  *ifSubtype = 2;  // ifIndex
  *ifNumber = 0;
  return 0;
}
