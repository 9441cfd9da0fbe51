// Frame I/O: the per-port frame buffers, hand-over of a received frame to its
// port, sending a built frame on the frame socket, MTU changes, the platform
// packet filter, and the hexadecimal packet trace.
//
// REQUIRES: lldpLock held by the caller of every function declared here
// (lldpPktPrintf and lldpDebugHex only read gLldpInfo.debugFlags).
#pragma once

#include <cstdint>

#include "port/lldp_port.h"

// 01:80:C2:00:00:0E, the nearest-bridge group address.
extern const uint8_t lldpMcastMac[6];
// FF:FF:FF:FF:FF:FF.
extern const uint8_t lldpBcastMac[6];

// Bytes allocated for a frame buffer of a port whose MTU is mtu: never fewer
// than 64, so that a minimum-size frame always fits, and never more than
// 64 KiB, so that a platform reporting an absurd MTU cannot make the agent
// ask for gigabytes (no Ethernet frame comes near that size).
constexpr uint32_t LLDP_MIN_FRAME_BUF = 64;
constexpr uint32_t LLDP_MAX_FRAME_BUF = 65536;
inline uint32_t lldpFrameBufSize(uint32_t mtu) {
  if (mtu < LLDP_MIN_FRAME_BUF) return LLDP_MIN_FRAME_BUF;
  return mtu > LLDP_MAX_FRAME_BUF ? LLDP_MAX_FRAME_BUF : mtu;
}
// Bytes of a received frame the port keeps: the MTU, within the buffer.
inline uint32_t lldpRxSizeOf(uint32_t mtu) {
  return mtu > LLDP_MAX_FRAME_BUF ? LLDP_MAX_FRAME_BUF : mtu;
}

// Default MTU when the platform cannot tell a port's.
constexpr uint32_t LLDP_DEFAULT_MTU = 1522;

// Reads the port's MAC and MTU (1522 when unreadable). 0, or 0x3E80002 for a
// null port.
int lldpSocketInitialize(LldpPort* port);
// Frees the receive buffer; frees the transmit buffer too unless the port is
// being disabled (reinitDone 0), whose shutdown frame still needs it.
int lldpSocketCleanup(LldpPort* port);
// Stores a received frame in the port's receive buffer (cut to rxSize) and
// runs the receive machine. aux is the frame's receive auxiliary data (at
// least 17 bytes). Returns 0, or -1 for a null port or aux.
int lldpMsgRecv(LldpPort* port, const uint8_t* aux, const uint8_t* frame, uint32_t len);
// Sends len bytes of buf on the port. 0 when all was sent, else -1.
int lldpBufferSend(LldpPort* port, const uint8_t* buf, uint32_t len);
// Resizes the frame buffers of the port of `unit` to newMtu. Returns 0.
int lldpIfChangeMtu(uint32_t unit, uint32_t newMtu);
// op 1 adds, 2 removes the platform packet filter for (unit, mac); other ops
// do nothing. 0, or -1 when the frame socket is closed or a call fails.
int lldpSocketPktFilterSet(uint32_t unit, const uint8_t* mac, uint32_t op);
// Packet trace of a frame through trace class cls, when debugFlags & mask.
void lldpPktPrintf(const uint8_t* buf, uint32_t len, uint32_t cls, uint32_t mask);
// The bytes as "%02x " each, then a line end.
void lldpDebugHex(const uint8_t* buf, uint32_t len);
