// Test helpers of stack synchronisation: a neighbour's LLDPDU with every TLV
// family the agent decodes, a big-endian byte builder for expected messages,
// and a walker over the messages of a buffer. Header-only, shared by
// src/sync/*_test.cpp, bench/ and fuzz/.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "rx/rx_test_util.h"
#include "sync/lldp_sync.h"

namespace synctest {

using rxtest::Bytes;
using rxtest::Frame;

// An agent that is a unit of a stack (synchronisation available).
struct Unit : rxtest::Agent {
  explicit Unit(uint32_t maxRems = 64, uint32_t ext = 31, int nports = 1) : Agent(maxRems, ext, nports) {
    sim::setInt(sim::Svc::Hw, 0, 54, 0);
  }
};

// Big-endian fields appended in order.
struct Be {
  Bytes b;
  Be& u8(uint32_t v) {
    b.push_back(static_cast<uint8_t>(v));
    return *this;
  }
  Be& u16(uint32_t v) { return u8(v >> 8).u8(v); }
  Be& u32(uint32_t v) { return u16(v >> 16).u16(v); }
  Be& raw(const Bytes& v) {
    b.insert(b.end(), v.begin(), v.end());
    return *this;
  }
  Be& str(const std::string& s) { return raw(Bytes(s.begin(), s.end())); }
  Be& zeros(size_t n) { return raw(Bytes(n, 0)); }
  // Host-order 32-bit words (the record keeps decoded OIDs as arcs in memory).
  Be& hostWords(const std::vector<uint32_t>& w) {
    for (uint32_t v : w) {
      uint8_t x[4];
      std::memcpy(x, &v, 4);
      raw(Bytes(x, x + 4));
    }
    return *this;
  }
};

// A neighbour with every family: basic TLVs, two management addresses (one
// with an OID), 802.1 PVID, two PPVIDs, two VLAN names, two protocol
// identities, every 802.3 TLV (extended power), LLDP-MED capabilities, two
// policies, a location of each format, extended power and the seven
// inventory strings, LLDP-ZOR capabilities and three strings, one unknown
// basic TLV and one unknown organizational TLV.
inline Frame everyFamily(const std::string& chassis = "core-sw", const std::string& port = "Gi1/0/24",
                         uint16_t ttl = 120) {
  using rxtest::kDot1;
  using rxtest::kDot3;
  using rxtest::kMed;
  using rxtest::kPriv;
  using rxtest::str;
  Frame f;
  f.head(chassis, port, ttl)
      .tlv(4, str("uplink"))
      .tlv(5, str("core-1"))
      .tlv(6, str("OS 1.0"))
      .tlv(7, {0x00, 0x14, 0x00, 0x04})
      .tlv(8, {5, 1, 192, 0, 2, 1, 2, 0, 0, 0, 7, 9, 0x06, 0x07, 0x2B, 0x06, 0x01, 0x02, 0x01, 0x04, 0x14})
      .tlv(8, {7, 6, 0x00, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 1, 0, 0, 0, 3, 0})
      .org(kDot1, 1, {0x00, 0x64})
      .org(kDot1, 2, {0x06, 0x00, 0x0A})
      .org(kDot1, 2, {0x02, 0x00, 0x05})
      .org(kDot1, 3, {0x00, 0x64, 5, 'u', 's', 'e', 'r', 's'})
      .org(kDot1, 3, {0x00, 0x0A, 4, 'm', 'g', 'm', 't'})
      .org(kDot1, 4, {2, 0x88, 0x8E})
      .org(kDot1, 4, {2, 0x88, 0xCC})
      .org(kDot3, 1, {0x03, 0x6C, 0x01, 0x00, 0x1E})
      .org(kDot3, 2, {0x0F, 0x01, 0x04, 0x51, 0x00, 0x64, 0x00, 0xC8})
      .org(kDot3, 3, {0x03, 0x00, 0x00, 0x00, 0x2A})
      .org(kDot3, 4, {0x05, 0xEE})
      .org(kMed, 1, {0x00, 0x33, 0x03})
      .org(kMed, 2, {0x01, 0x40, 0x15, 0x6E})
      .org(kMed, 2, {0x02, 0x80, 0x00, 0x00})
      .org(kMed, 3, {1, 0x40, 0x1E, 0x8C, 0x00, 0x00, 0x00, 0x00, 0x00, 0x60, 0x9B, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01})
      .org(kMed, 3, {2, 0x07, 0x02, 'D', 'E', 0x01, 0x02, 'B', 'Y'})
      .org(kMed, 3, {3, '1', '2', '3', '4', '5', '6', '7', '8', '9', '0'})
      .org(kMed, 4, {0x51, 0x00, 0x64})
      .org(kMed, 5, str("HW 2.1"))
      .org(kMed, 6, str("FW 3.0"))
      .org(kMed, 7, str("SW 4.2"))
      .org(kMed, 8, str("SN123"))
      .org(kMed, 9, str("ACME"))
      .org(kMed, 10, str("X100"))
      .org(kMed, 11, str("asset-9"))
      .org(kPriv, 1, {0x00, 0x14})
      .org(kPriv, 2, str("1.3.6.1.4.1.9"))
      .org(kPriv, 3, str("ZHW1"))
      .org(kPriv, 9, str("ZA-7"))
      .tlv(9, {1, 2, 3})
      .org({0x00, 0x00, 0x01}, 1, {0xAB})
      .end();
  return f;
}

// The messages of a buffer as (syncType, length) pairs, walked by their
// headers; a header that runs past the buffer ends the list with {0, 0}.
inline std::vector<std::pair<uint16_t, uint16_t>> messagesOf(const Bytes& b) {
  std::vector<std::pair<uint16_t, uint16_t>> out;
  size_t off = 0;
  while (off + 4 <= b.size()) {
    const uint16_t type = static_cast<uint16_t>((b[off] << 8) | b[off + 1]);
    const uint16_t len = static_cast<uint16_t>((b[off + 2] << 8) | b[off + 3]);
    if (len < 4 || off + len > b.size()) {
      out.push_back({0, 0});
      break;
    }
    out.push_back({type, len});
    off += len;
  }
  return out;
}

// The buffers handed to the command-sync service since the last reset.
inline std::vector<Bytes> sentBuffers() {
  std::vector<Bytes> v;
  for (const auto& c : sim::cmdSyncs()) v.push_back(c.bytes);
  return v;
}

inline uint32_t recv(const Bytes& b) { return lldpSyncMsapRecv(b.data(), static_cast<uint32_t>(b.size())); }

}  // namespace synctest
