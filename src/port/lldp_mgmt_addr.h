// Management address record, shared by the local tables (configured agent-wide
// and per-port addresses), the automatic choice of a port's address, and the
// remote table. 56 bytes on a 64-bit host apart from the trailing port fields.
#pragma once

#include <cstdint>

constexpr int LLDP_MGMT_ADDR_MAX = 32;

struct lldpMgmtAddr {
  lldpMgmtAddr* next;
  uint8_t mgmtAddrSubtype;    // IANA address family: 1 IPv4, 2 IPv6, 6 IEEE 802
  uint8_t mgmtAddrIfSubtype;  // interface numbering subtype
  uint8_t mgmtAddrOidLen;
  uint8_t mgmtAddrLen;        // address length in bytes
  uint8_t mgmtAddr[LLDP_MGMT_ADDR_MAX];
  uint32_t mgmtAddrIfId;      // interface number
  uint8_t* mgmtAddrOid;       // owned object identifier buffer, or null
  uint8_t* mgmtAddrPort;      // owned port bitmap (agent-wide records), or null
  uint32_t mgmtAddrPortLen;
};

struct LldpPort;

// The management address a port advertises when it has none configured of
// its own: the agent-wide configured address when the first one is not bound
// to ports (returned as it is), else an address chosen from the platform's
// interface and address tables, rebuilt on every call into the port's
// sysMgmtAddrCache (the previous cached record is freed). Null when there is
// none; the caller then advertises the port's MAC address.
// REQUIRES: lldpLock held.
lldpMgmtAddr* lldpPortGetLocalMgmtAddr(LldpPort* port);
