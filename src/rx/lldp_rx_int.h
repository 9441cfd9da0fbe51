// Shared between the frame parser (lldp_rxframe.cpp) and the
// organizationally specific decoders (lldp_rxorg.cpp). Not for other
// subsystems.
#pragma once

#include <cstdint>

#include "base/lldp_info.h"
#include "base/lldp_wire.h"
#include "platform/zor_if.h"
#include "port/lldp_port.h"
#include "rx/lldp_msap.h"

// One frame being parsed into a new Msap.
struct LldpRxCtx {
  LldpPort* port;
  Msap* msap;
  LldpTlvNode* unknownList;  // types 9..126, one per type, by type
  LldpTlvNode* orgList;      // type 127 not taken by a decoder, arrival order
  char name[ZOR_IFNAME_LEN];
  bool named;

  // The port's name for messages, asked of the platform on first use.
  const char* ifName() {
    if (!named) {
      name[0] = '\0';
      zorIfUnit2Name(port->unit, name);
      name[ZOR_IFNAME_LEN - 1] = '\0';
      named = true;
    }
    return name;
  }
};

// Per-port and agent-wide receive counters.
inline void lldpRxCountDiscarded(LldpPort* p) {
  ++p->statsFramesDiscardedTotal;
  ++gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_DISCARDED];
}
inline void lldpRxCountInErrors(LldpPort* p) {
  ++p->statsFramesInErrorsTotal;
  ++gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_IN_ERRORS];
}
inline void lldpRxCountTlvDiscarded(LldpPort* p) {
  ++p->statsTLVsDiscardedTotal;
  ++gLldpInfo.globalStatsBlock[LLDP_GSTAT_TLVS_DISCARDED];
}
inline void lldpRxCountTlvUnrecognized(LldpPort* p) {
  ++p->statsTLVsUnrecognizedTotal;
  ++gLldpInfo.globalStatsBlock[LLDP_GSTAT_TLVS_UNRECOGNIZED];
}

inline void lldpMapSet(uint8_t* map, uint32_t bit) {
  map[bit / 8] = static_cast<uint8_t>(map[bit / 8] | (0x80u >> (bit % 8)));
}

// Keeps a type-127 TLV whole (OUI and subtype included) in the
// organizationally specific list and counts it as unrecognized. copyFailMsg is
// traced when the copy of the value cannot be allocated. Returns a receive
// result code (0 or RX_FRAME_NO_RESOURCE).
uint8_t lldpRxKeepOrgTlv(LldpRxCtx& c, const uint8_t* v, uint16_t len, bool sizedMsg,
                         const char* copyFailMsg);

// Decodes a type-127 TLV whose OUI matched an enabled family. v points at the
// OUI, len is the TLV information length (len bytes of v are readable).
// Returns 0 or the failing receive result code.
uint8_t lldpRxDot1Tlv(LldpRxCtx& c, const uint8_t* v, uint16_t len);
uint8_t lldpRxDot3Tlv(LldpRxCtx& c, const uint8_t* v, uint16_t len);
uint8_t lldpRxMedTlv(LldpRxCtx& c, const uint8_t* v, uint16_t len);
uint8_t lldpRxPrivTlv(LldpRxCtx& c, const uint8_t* v, uint16_t len);

// The port name for messages, by value (for trace arguments, which are only
// evaluated when the trace is on).
struct LldpRxName {
  char s[ZOR_IFNAME_LEN];
};
inline LldpRxName lldpRxIfName(uint32_t unit) {
  LldpRxName n{};
  zorIfUnit2Name(unit, n.s);
  n.s[ZOR_IFNAME_LEN - 1] = '\0';
  return n;
}
