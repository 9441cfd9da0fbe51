// Interface and system objects, and the PoE, voice VLAN and SNMP services.
//
// Call shapes: integer objects write a uint32_t through `out`; string and
// octet objects take a ZorOctets {buffer, size} and return the length written
// in its len. Each call returns 0 on success and non-zero on failure; a
// failed call leaves `out` unspecified.
#pragma once

#include <cstdint>

#include "platform/platform_types.h"

constexpr int ZOR_IFNAME_LEN = 64;

int zorIfGetApi(uint32_t unit, uint32_t objId, void* out);
int zorIfSetApi(uint32_t unit, uint32_t objId, void* in);
// System-wide objects; unit is 0.
int zorScalarGetApi(uint32_t unit, uint32_t objId, void* out);
// Writes the interface name (zero-terminated, at most ZOR_IFNAME_LEN bytes
// with the terminator). Always leaves a valid string, "" for unknown units.
int zorIfUnit2Name(uint32_t unit, char* name);
int zorIfIndex2Name(uint32_t ifIndex, char* name);

// Translation of a unit: kind 5 describes the interface, kind 3 gives its
// platform port index in `index`.
struct ZorIndexInfo {
  uint32_t index;
  uint32_t ifType;    // 1 Ethernet port, 44 management Ethernet interface
  uint32_t portKind;  // 1 or 2 for interfaces the agent handles on removal
  uint32_t status;    // 0 = usable
};
int zorIndexTrans(uint32_t unit, uint32_t kind, ZorIndexInfo* out);
uint32_t zorSelfSysIndex(void);

// Address-table query, 28 bytes.
struct ZorIpQuery {
  uint8_t family;  // 1 IPv4, 2 IPv6 (address family numbers)
  uint8_t reserved[3];
  uint32_t unit;      // 0 = any interface
  uint32_t kindSet;   // bit (1 << kind) for each address kind accepted
  uint32_t preference;
  uint32_t spare[3];
};
static_assert(sizeof(ZorIpQuery) == 28);
struct ZorIpAddr {
  uint8_t family;  // 1 IPv4, 2 IPv6
  uint8_t len;     // 4 or 16
  uint8_t addr[16];
};
int zorIpGetFirst(const ZorIpQuery* query, ZorIpAddr* out);
int zorProtoSetApi(uint32_t unit, uint32_t objId, void* in);

int poeIfGetApi(uint32_t unit, uint32_t objId, void* out);
int voiceVlanIfGetApi(uint32_t unit, uint32_t objId, void* out);
int voiceVlanScalarGetApi(uint32_t unit, uint32_t objId, void* out);
int snmpScalarGetApi(uint32_t unit, uint32_t objId, void* out);
