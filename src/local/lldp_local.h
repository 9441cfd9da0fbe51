// Local system and port attribute providers, the bit-string helpers and the
// management address object identifier codec.
//
// Conventions: every provider returns 0 on success (or its documented code)
// and delivers through out arguments. String and octet providers take a
// buffer and a length in/out: *len is the buffer size going in and the number
// of bytes written coming out. Integer providers write a uint32_t. Truth
// values are 1 (true) and 2 (false). Providers keep no state.
//
// REQUIRES: lldpLock held (they read port records and the agent record).
#pragma once

#include <cstdint>

struct LldpPort;

// ---- Bit strings: bit n is byte n/8 under mask 0x80 >> (n % 8). ----------
void lldpBitSet(uint8_t* bits, uint32_t n);
void lldpBitClear(uint8_t* bits, uint32_t n);
int lldpBitTest(const uint8_t* bits, uint32_t n);

// ---- System attributes ----------------------------------------------------
int lldpGetSysName(uint8_t* buf, uint32_t* len);
int lldpGetSysDescr(uint8_t* buf, uint32_t* len);
int lldpGetSysMac(uint8_t* mac6);
int lldpGetChassisIdType(uint32_t* subtype);
int lldpGetChassisId(uint8_t* buf, uint32_t* len);
int lldpGetCapSupported(uint8_t* buf, uint32_t* len);
int lldpGetCapEnabled(uint8_t* buf, uint32_t* len);
int lldpGetSysOid(uint8_t* buf, uint32_t* len);
int lldpMedGetDevClass(uint32_t* devClass);
int lldpMedGetPowerDeviceType(uint32_t* type);
int lldpMedGetPdPowerSource(uint32_t* source);
int lldpMedGetPdPowerPriority(uint32_t* prio);
int lldpMedGetPdPowerValue(uint32_t* value);
// Inventory strings: buf holds 32 bytes; *len receives the length.
int lldpMedGetHwRev(uint8_t* buf, uint8_t* len);
int lldpMedGetFwRev(uint8_t* buf, uint8_t* len);
int lldpMedGetSwRev(uint8_t* buf, uint8_t* len);
int lldpMedGetSn(uint8_t* buf, uint8_t* len);
int lldpMedGetManufName(uint8_t* buf, uint8_t* len);
int lldpMedGetModelName(uint8_t* buf, uint8_t* len);
int lldpMedGetAssetId(uint8_t* buf, uint8_t* len);

// ---- Port attributes -------------------------------------------------------
int lldpGetIndexFromUnit(uint32_t unit, uint32_t* index);
int lldpPortGetMacAddr(uint32_t unit, uint8_t* mac6);
int lldpPortGetMtu(uint32_t unit, uint32_t* mtu);
int lldpPortCheckLinkUp(uint32_t unit);  // 0 up, -1 down
int lldpPortGetIfName(uint32_t unit, uint8_t* buf, uint32_t* len);
int lldpPortGetAlias(uint32_t unit, uint8_t* buf, uint32_t* len);
int lldpPortGetDescr(uint32_t unit, uint8_t* buf, uint32_t* len);
int lldpPortGetPortIdType(uint32_t unit, uint32_t* subtype);
// Port ID of the port's portIdSubtype; the second form names the subtype.
// Always returns 0; *len is 0 when nothing could be read.
int lldpPortGetPortId(const LldpPort* port, uint8_t* buf, uint32_t* len);
int lldpPortGetPortId(uint32_t unit, uint32_t subtype, uint8_t* buf, uint32_t* len);

int lldpDot1PortGetCapSupported(uint32_t unit, uint8_t* buf, uint32_t* len);
int lldpDot1PortGetPvid(uint32_t unit, uint32_t* pvid);
int lldpDot1PortGetVlanName(uint32_t unit, uint32_t vid, uint8_t* buf, uint32_t* len);
int lldpDot1PortGetProtoVlanEnable(uint32_t unit, uint32_t* enable);
int lldpDot1PortGetProtoVlanSupported(uint32_t unit, uint32_t* supported);
int lldpDot1PortGetProtoState(uint32_t unit, uint8_t* buf, uint32_t* len);

int lldpDot3PortGetCapSupported(uint32_t unit, uint8_t* buf, uint32_t* len);
int lldpDot3PortGetCapDfltEnabled(uint32_t unit, uint8_t* buf, uint32_t* len);
int lldpDot3PortGetAutoNegSupported(uint32_t unit, uint32_t* value);
int lldpDot3PortGetAutoNegEnabled(uint32_t unit, uint32_t* value);
int lldpDot3PortGetAutoNegAdvertisedCap(uint32_t unit, uint8_t* buf, uint32_t* len);
int lldpDot3PortGetOperMauType(uint32_t unit, uint32_t* value);
int lldpDot3PortGetPowerPortClass(uint32_t unit, uint32_t* value);
int lldpDot3PortGetPowerMDISupported(uint32_t unit, uint32_t* value);
int lldpDot3PortGetPowerMDIEnabled(uint32_t unit, uint32_t* value);
int lldpDot3PortGetPowerPairControlable(uint32_t unit, uint32_t* value);
int lldpDot3PortGetPowerPairs(uint32_t unit, uint32_t* value);
int lldpDot3PortGetPowerClass(uint32_t unit, uint32_t* value);
int lldpDot3PortGetLinkAggStatus(uint32_t unit, uint8_t* buf, uint32_t* len);
int lldpDot3PortGetLinkAggPortId(uint32_t unit, uint32_t* value);
int lldpDot3PortGetMaxFrameSize(uint32_t unit, uint32_t* value);

int lldpMedPortGetCapSupported(uint32_t unit, uint8_t* buf, uint32_t* len);
int lldpMedPortGetCapDfltEnabled(uint32_t unit, uint8_t* buf, uint32_t* len);
int lldpMedPortGetPolicySupported(const LldpPort* port, uint32_t appType);
int lldpMedPortGetPolicyIsDefault(const LldpPort* port, uint32_t appType);
int lldpMedPortGetPolicyVid(const LldpPort* port, uint32_t appType, uint32_t* value);
int lldpMedPortGetPolicyPri(const LldpPort* port, uint32_t appType, uint32_t* value);
int lldpMedPortGetPolicyDscp(const LldpPort* port, uint32_t appType, uint32_t* value);
int lldpMedPortGetPolicyUnknown(const LldpPort* port, uint32_t appType, uint32_t* value);
int lldpMedPortGetPolicyTagged(const LldpPort* port, uint32_t appType, uint32_t* value);
// The five fields above in one call, with one look at who owns the policy;
// -1 when any of them would fail (then *out is not to be used).
struct LldpMedPolicyFields {
  uint32_t vid, pri, dscp, unknown, tagged;
};
int lldpMedPortGetPolicyFields(const LldpPort* port, uint32_t appType, LldpMedPolicyFields* out);
int lldpMedPortGetLocationSupported(uint32_t unit, uint32_t format);
int lldpMedPortGetLocation(uint32_t unit, uint32_t format, uint8_t* buf, uint32_t* len);
int lldpMedPortGetPsePowerSource(uint32_t unit, uint32_t* value);
int lldpMedPortGetPsePowerPriority(uint32_t unit, uint32_t* value);
int lldpMedPortGetPsePowerValue(uint32_t unit, uint32_t* value);

int lldpPrivPortGetCapSupported(uint32_t unit, uint8_t* buf, uint32_t* len);
int lldpPrivPortGetCapDfltEnabled(uint32_t unit, uint8_t* buf, uint32_t* len);
int lldpCheckPoeStatus(uint32_t unit);  // 0 with PoE, -1 without

// Every PoE answer of a port from one presence check, each PoE object read
// once: the values the single providers above give on a steady platform.
// Returns -1, with no output and nothing logged, when the presence itself
// cannot be read; the caller then asks the single providers.
struct LldpPortPoe {
  uint32_t mdiSupported, mdiEnabled, pairControlable, pairs, powerClass;
  uint32_t psePriority, psePowerValue;
};
int lldpPortGetPoe(uint32_t unit, LldpPortPoe* out);

// ---- Management address object identifier codec (lldp_oid.cpp) -----------
#include "local/lldp_oid.h"  // IWYU pragma: export
