// Management operations: the table of numbered operations that the command
// server ("lldpcmdtask" on /tmp/lldpcmd.socket) dispatches, and the entry
// points behind it.
//
// Every operation has the handler shape of platform/icm.h: (index, object
// id, value descriptor) -> result code. The index is an integer (a port
// unit; ignored by the scalar operations) or, for the operations whose table
// entry names a key length, a pointer to a key record of that length (the
// layouts are in docs/management.md). Each operation takes the agent lock
// itself (the scalar Get excepted); none may be called with it held.
#pragma once

#include <cstdint>

#include "platform/icm.h"
#include "platform/platform_types.h"

// Entry 0 is empty; entries 1..100 carry the operation ids 1..100. The ids
// are shared with every client and are never renumbered.
constexpr uint32_t LLDP_FUNCMAP_COUNT = 101;
extern const IcmFuncEntry glldpFuncMap[LLDP_FUNCMAP_COUNT];

// ---- Global objects (lldp_mgmt_scalar.cpp): ids 1-3 -----------------------
uint32_t lldpScalarGetApi(uintptr_t index, uint32_t objId, ZorValue* value);
uint32_t lldpScalarSetApi(uintptr_t index, uint32_t objId, ZorValue* value);
uint32_t lldpScalarSyncApi(uintptr_t index, uint32_t objId, ZorValue* value);
// The extension switch extEnabled, for the diagnostic shell (no table entry).
uint32_t lldpExtEnableGet(void);
uint32_t lldpExtEnableSet(uint32_t value);

// ---- Per-port objects (lldp_mgmt_port.cpp): ids 4-8, 67-78, 99, 100 --------
uint32_t lldpLocPortGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpLocPortGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpPortGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpPortGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpPortGetApi(uintptr_t unit, uint32_t objId, ZorValue* value);
uint32_t lldpPortSetApi(uintptr_t unit, uint32_t objId, ZorValue* value);
uint32_t lldpPortSyncApi(uintptr_t unit, uint32_t objId, ZorValue* value);
uint32_t lldpDot1PortPvidGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1PortPvidGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3PortMacphyGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3PortMacphyGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3PortPowerGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3PortPowerGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3PortLinkAggGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3PortLinkAggGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3PortMfsGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3PortMfsGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedPortXPoePseGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedPortXPoePseGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
// Marks the port with this unit (0: every port) as changed locally, unless it
// is disabled, so that its transmit machine sends a fresh LLDPDU. Returns 0.
// REQUIRES: lldpLock held.
int lldpTxCfgSimul(uint32_t unit);

// ---- Local management-address tables (lldp_mgmt_manaddr.cpp): ids 9-18 ----
// Key record of the agent-wide table (34 bytes) and of a port's table (38
// bytes: the same, then the port unit, unaligned, in host order).
struct LldpManAddrKey {
  uint8_t subtype;   // IANA address family
  uint8_t addr[32];  // left-aligned, zero after the address
  uint8_t len;       // address length
};
struct LldpPortManAddrKey {
  LldpManAddrKey a;
  uint8_t unit[4];
};
static_assert(sizeof(LldpManAddrKey) == 34 && sizeof(LldpPortManAddrKey) == 38);
uint32_t lldpManAddrGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpManAddrGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpManAddrGetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpManAddrSetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpManAddrSyncApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpPortManAddrGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpPortManAddrGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpPortManAddrGetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpPortManAddrSetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpPortManAddrSyncApi(uintptr_t key, uint32_t objId, ZorValue* value);

// ---- Remote table (ids 19-30, 42-56, 79-98), 802.1 and MED policy tables
// (31-41, 57-61), MED location (62-66): declared here, defined in the files of
// their families.
uint32_t lldpRemSysGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpRemSysGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpRemSysGetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpRemManAddrGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpRemManAddrGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpRemManAddrGetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpRemUnknownTlvGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpRemUnknownTlvGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpRemUnknownTlvGetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpRemOrgDefInfoGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpRemOrgDefInfoGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpRemOrgDefInfoGetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1GetVlanNameFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1GetVlanNameNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1VlanNameGetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1VlanNameSetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1VlanNameSyncApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1GetProtoVlanFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1GetProtoVlanNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1ProtoVlanGetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1ProtoVlanSetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1ProtoVlanSyncApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1ProtoGetApi(uintptr_t unit, uint32_t objId, ZorValue* value);
uint32_t lldpDot1RemPpvidGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1RemPpvidGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1RemPpvidGetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1RemVlanNameGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1RemVlanNameGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1RemVlanNameGetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1RemProtoGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1RemProtoGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1RemProtoGetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemMediaPolicyGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemMediaPolicyGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemMediaPolicyGetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemLocationGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemLocationGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemLocationGetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedMediaPolicyGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedMediaPolicyGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedMediaPolicyGetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedMediaPolicySetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedMediaPolicySyncApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedLocationGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedLocationGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedLocationGetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedLocationSetApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedLocationSyncApi(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemPoePdGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemPoePdGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemPoePseGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemPoePseGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemPoeGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemPoeGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1RemPvidGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot1RemPvidGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3RemPortGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3RemPortGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3RemPowerGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3RemPowerGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3RemLinkAggGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3RemLinkAggGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3RemMaxFrameGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpDot3RemMaxFrameGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemCapGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemCapGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemInventoryGetFirst(uintptr_t key, uint32_t objId, ZorValue* value);
uint32_t lldpMedRemInventoryGetNext(uintptr_t key, uint32_t objId, ZorValue* value);
