// Transmit path: the transmit state machine (lldp_txsm.cpp), LLDPDU
// construction and basic TLVs (lldp_txframe.cpp), organizationally specific
// TLV builders (lldp_txorg.cpp).
//
// Every TLV writer appends one TLV to the port's transmit buffer tx.frame at
// offset tx.sendsize. It first checks that the TLV (header included) fits in
// tx.freesize; if not, it sets LLDP_TX_FLAG_OVERFLOW in tx.flags, writes
// nothing and returns -1. Otherwise it writes the TLV, moves tx.sendsize on
// and takes the size off tx.freesize, and returns 0. A frame whose flags carry
// the overflow bit at the end of construction is not sent.
//
// Buffer contract: tx.frame holds txSize bytes, at least 64, since frames
// shorter than 64 bytes are padded with zeros up to 64. A frame is bounded by
// the mtu and, when txSize is smaller (an MTU change that could not get a
// bigger buffer), by txSize.
//
// REQUIRES: lldpLock held by the caller of every function declared here.
#pragma once

#include <cstdint>
#include <cstring>

#include "base/lldp_wire.h"
#include "port/lldp_port.h"

// Transmit states.
enum LldpTxState : uint8_t {
  TX_LLDP_INITIALIZE = 0,
  TX_IDLE = 1,
  TX_SHUTDOWN_FRAME = 2,
  TX_INFO_FRAME = 3,
};

// Smallest frame handed to the socket (padding after End of LLDPDU).
constexpr uint32_t LLDP_TX_MIN_FRAME = 64;

// ---- Transmit state machine (lldp_txsm.cpp) -------------------------------
const char* txStateFromID(uint8_t state);
int lldpTxInitialize(LldpPort* port);
// The port's copies of the agent's reinitDelay, msgTxHold, msgTxInterval,
// txDelay and medFastStartRepeatCount, taken afresh.
void lldpTxTakeTiming(LldpPort* port);
int lldpTxStatemachineRun(LldpPort* port);
uint8_t txGlobalStatemachineRun(LldpPort* port);
int lldpTxFrame(LldpPort* port);
int lldpTxUpdateTimers(LldpPort* port);
// The platform's transmission gate (hardware scalar 55): no frame leaves
// while it reads 0 or cannot be read.
bool lldpTxGateOpen(void);
// Transmission is being turned off on the port (its admin status leaves TX
// or TXRX): when its machine has been announcing the port (TX_IDLE) and a
// frame can leave now (link up, gate open), sends the shutdown LLDPDU at once
// and leaves the machine in TX_SHUTDOWN_FRAME, which frees the transmit
// buffer reinitDelay seconds later. Returns 1 when the frame was sent, else
// 0 (nothing changed).
int lldpTxShutdown(LldpPort* port);

// ---- LLDPDU construction and basic TLVs (lldp_txframe.cpp) ---------------
int lldpTlvInitialize(LldpPort* port);
void lldpTlvCleanup(LldpPort* port);
uint32_t lldpMibConstrInfoLLDPDU(LldpPort* port);
uint32_t lldpMibConstrShutdownLLDPDU(LldpPort* port);

int lldpEndofLldpduTlv(LldpPort* port);
int lldpChassisidTlv(LldpPort* port);
int lldpPortIdTlv(LldpPort* port);
int lldpTtlTlv(LldpPort* port, uint16_t ttl);
int lldpPortDescrTlv(LldpPort* port);
int lldpSysNameTlv(LldpPort* port);
int lldpSysDescrTlv(LldpPort* port);
int lldpSysCapsTlv(LldpPort* port);
int lldpMgmtAddrTlv(LldpPort* port, lldpMgmtAddr* mgmtAddr);
int lldpDefaultMgmtAddrTlv(LldpPort* port);
int lldpDefaultMgmtMacAddrTlv(LldpPort* port);

// ---- Organizationally specific TLVs (lldp_txorg.cpp) ---------------------
int lldpDot1PvidTlv(LldpPort* port);
int lldpDot1PpvidTlv(LldpPort* port, uint16_t vid);
int lldpDot1VlanNameTlv(LldpPort* port, uint16_t vid);
int lldpDot1ProtoTlv(LldpPort* port, uint32_t protoIndex);
int lldpJuniperTlv(LldpPort* port);

int lldpDot3MacPhyTlv(LldpPort* port);
int lldpDot3MdiPowerTlv(LldpPort* port);
int lldpDot3LinkAggTlv(LldpPort* port);
int lldpDot3MaxFrameSizeTlv(LldpPort* port);

int lldpMedCapsTlv(LldpPort* port);
int lldpMedPolicyTlv(LldpPort* port, uint32_t appType);
int lldpMedLocationTlv(LldpPort* port, uint32_t format);
int lldpMedXpoepseTlv(LldpPort* port);
int lldpMedXpoepdTlv(LldpPort* port);
int lldpMedHwrevTlv(LldpPort* port);
int lldpMedFwrevTlv(LldpPort* port);
int lldpMedSwrevTlv(LldpPort* port);
int lldpMedSnTlv(LldpPort* port);
int lldpMedMfgNameTlv(LldpPort* port);
int lldpMedModelNameTlv(LldpPort* port);
int lldpMedAssetIdTlv(LldpPort* port);

int lldpPrivCapsTlv(LldpPort* port);
int lldpPrivSysOidTlv(LldpPort* port);
int lldpPrivHwrevTlv(LldpPort* port);
int lldpPrivFwrevTlv(LldpPort* port);
int lldpPrivSwrevTlv(LldpPort* port);
int lldpPrivSnTlv(LldpPort* port);
int lldpPrivMfgNameTlv(LldpPort* port);
int lldpPrivModelNameTlv(LldpPort* port);
int lldpPrivAssetIdTlv(LldpPort* port);

// The 32-bit LLDP-MED network policy word of one application type, as the
// policy TLV carries it (big-endian on the wire). Returns 0, or -1 when the
// policy's fields cannot be read.
int lldpMedPolicyWord(const LldpPort* port, uint32_t appType, uint32_t* word);

// Protocol identity bytes for a platform protocol number; *len = 0 for a
// number that has none. `out` holds at least 16 bytes.
void lldpProtocolType(uint32_t proto, uint8_t* out, uint32_t* len);
// Diagnostic name of a platform protocol number, or null.
const char* lldpProtocolName(uint32_t proto);

// The MED enable mask is the first byte of medTlvTxEnabled as stored.
inline uint8_t lldpTxMedMask(const LldpPort* port) {
  uint8_t b[sizeof port->medTlvTxEnabled];
  std::memcpy(b, &port->medTlvTxEnabled, sizeof b);
  return b[0];
}
inline void lldpTxSetMedMask(LldpPort* port, uint8_t mask) {
  std::memcpy(&port->medTlvTxEnabled, &mask, 1);
}

// ---- Writer helpers shared by lldp_txframe.cpp and lldp_txorg.cpp ---------
// Opens a TLV of information length len: returns where it starts, with the
// 2-byte header written, or null (overflow flagged) when len + 2 bytes are not
// free. The caller fills the information and closes it with lldpTxTlvClose.
inline uint8_t* lldpTxTlvOpen(LldpPort* port, uint32_t type, uint32_t len) {
  if (len + 2 > port->tx.freesize) {
    port->tx.flags |= LLDP_TX_FLAG_OVERFLOW;
    return nullptr;
  }
  uint8_t* p = port->tx.frame + port->tx.sendsize;
  p[0] = static_cast<uint8_t>((type << 1) | ((len >> 8) & 1));
  p[1] = static_cast<uint8_t>(len);
  return p;
}
inline int lldpTxTlvClose(LldpPort* port, uint32_t len) {
  port->tx.freesize -= len + 2;
  port->tx.sendsize += len + 2;
  return 0;
}
// Bit-string order to wire order: bit i of the 16-bit field becomes bit 15-i.
uint16_t lldpTxReverse16(const uint8_t* bits2);
uint8_t lldpTxReverse8(uint8_t b);
