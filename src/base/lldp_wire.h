// LLDPDU wire helpers shared by the receive path, the transmit path and the
// notifier: network-order reads and writes over a byte pointer, the basic TLV
// type numbers of IEEE 802.1AB and the OUIs of the organizationally specific
// TLV sets the agent knows. The caller bounds every pointer.
#pragma once

#include <cstdint>

inline uint16_t lldpGet16(const uint8_t* p) { return static_cast<uint16_t>((p[0] << 8) | p[1]); }
inline uint32_t lldpGet32(const uint8_t* p) {
  return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | p[3];
}
inline void lldpPut16(uint8_t* p, uint32_t v) {
  p[0] = static_cast<uint8_t>(v >> 8);
  p[1] = static_cast<uint8_t>(v);
}
inline void lldpPut32(uint8_t* p, uint32_t v) {
  p[0] = static_cast<uint8_t>(v >> 24);
  p[1] = static_cast<uint8_t>(v >> 16);
  p[2] = static_cast<uint8_t>(v >> 8);
  p[3] = static_cast<uint8_t>(v);
}

// TLV types (the 7-bit type of the TLV header).
enum : uint8_t {
  LLDP_TLV_END = 0,
  LLDP_TLV_CHASSIS_ID = 1,
  LLDP_TLV_PORT_ID = 2,
  LLDP_TLV_TTL = 3,
  LLDP_TLV_PORT_DESCR = 4,
  LLDP_TLV_SYS_NAME = 5,
  LLDP_TLV_SYS_DESCR = 6,
  LLDP_TLV_SYS_CAPS = 7,
  LLDP_TLV_MGMT_ADDR = 8,
  LLDP_TLV_ORG = 127,
};

// OUIs of the organizationally specific TLVs.
inline constexpr uint8_t kLldpOuiDot1[3] = {0x00, 0x80, 0xC2};     // IEEE 802.1
inline constexpr uint8_t kLldpOuiDot3[3] = {0x00, 0x12, 0x0F};     // IEEE 802.3
inline constexpr uint8_t kLldpOuiMed[3] = {0x00, 0x12, 0xBB};      // TIA LLDP-MED
inline constexpr uint8_t kLldpOuiDcbx[3] = {0x00, 0x1B, 0x21};     // DCBX
inline constexpr uint8_t kLldpOuiJuniper[3] = {0x00, 0x90, 0x69};  // Juniper
