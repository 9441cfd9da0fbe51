// Operation ids and object ids of the agent's command socket, by name
// (docs/management.md). The ids are shared with the agent and never change.
#pragma once

#include <cstdint>

namespace lldpc {

namespace op {
constexpr uint32_t kScalarGet = 1;
constexpr uint32_t kScalarSet = 2;
constexpr uint32_t kLocPortGetFirst = 4;  // port walk with a filter from the key record
constexpr uint32_t kLocPortGetNext = 5;
constexpr uint32_t kPortGet = 6;
constexpr uint32_t kPortSet = 7;
constexpr uint32_t kManAddrGetFirst = 9;
constexpr uint32_t kManAddrGetNext = 10;
constexpr uint32_t kManAddrGet = 11;
constexpr uint32_t kManAddrSet = 12;
constexpr uint32_t kPortManAddrGetFirst = 14;
constexpr uint32_t kPortManAddrGetNext = 15;
constexpr uint32_t kPortManAddrGet = 16;
constexpr uint32_t kPortManAddrSet = 17;
constexpr uint32_t kRemSysGetFirst = 19;
constexpr uint32_t kRemSysGetNext = 20;
constexpr uint32_t kRemSysGet = 21;
// The remote records' lists: GetFirst, GetNext, Get at id, id + 1, id + 2.
constexpr uint32_t kRemManAddr = 22;
constexpr uint32_t kRemUnknownTlv = 25;
constexpr uint32_t kRemOrgDefInfo = 28;
constexpr uint32_t kRemPpvid = 42;
constexpr uint32_t kRemVlanName = 45;
constexpr uint32_t kRemProto = 48;
constexpr uint32_t kRemMediaPolicy = 51;
constexpr uint32_t kRemLocation = 54;
// Local 802.1 and LLDP-MED tables: GetFirst, GetNext, Get, Set at id .. id + 3.
constexpr uint32_t kVlanName = 31;
constexpr uint32_t kProtoVlan = 36;
constexpr uint32_t kDot1ProtoGet = 41;
constexpr uint32_t kMediaPolicy = 57;
constexpr uint32_t kLocation = 62;
constexpr uint32_t kPortGetFirst = 99;  // port walk, every port
constexpr uint32_t kPortGetNext = 100;
}  // namespace op

// Global objects (operations 1-3).
namespace gobj {
constexpr uint32_t kVersion = 1;
constexpr uint32_t kMsgTxInterval = 2;
constexpr uint32_t kMsgTxHold = 3;
constexpr uint32_t kReinitDelay = 4;
constexpr uint32_t kTxDelay = 5;
constexpr uint32_t kTrapInterval = 6;
constexpr uint32_t kRemLastChange = 7;
constexpr uint32_t kRemInserts = 8;
constexpr uint32_t kRemDeletes = 9;
constexpr uint32_t kRemDrops = 10;
constexpr uint32_t kRemAgeouts = 11;
constexpr uint32_t kDefaultMode = 12;
constexpr uint32_t kMode = 13;
constexpr uint32_t kChassisIdSubtype = 14;
constexpr uint32_t kChassisId = 15;
constexpr uint32_t kSysName = 16;
constexpr uint32_t kSysDescr = 17;
constexpr uint32_t kCapSupported = 18;
constexpr uint32_t kCapEnabled = 19;
constexpr uint32_t kDebugFlags = 20;
constexpr uint32_t kMedDeviceClass = 21;
constexpr uint32_t kMedFastStartCount = 22;
constexpr uint32_t kMedHwRev = 23;  // 23-29: the LLDP-MED inventory strings
constexpr uint32_t kMedPoeDeviceType = 30;
constexpr uint32_t kPsePowerSource = 31;
constexpr uint32_t kPdPowerValue = 32;
constexpr uint32_t kPdPowerSource = 33;
constexpr uint32_t kPdPowerPriority = 34;
constexpr uint32_t kDefaultPortAdmin = 36;
constexpr uint32_t kMgmtAddrLimit = 37;
constexpr uint32_t kMgmtAddrCount = 38;
constexpr uint32_t kCountersCleared = 40;  // Set: clears the global counters
constexpr uint32_t kFramesIn = 41;
constexpr uint32_t kFramesInErrors = 42;
constexpr uint32_t kFramesDiscarded = 43;
constexpr uint32_t kTlvsDiscarded = 44;
constexpr uint32_t kTlvsUnrecognised = 45;
constexpr uint32_t kFramesOut = 46;
constexpr uint32_t kAdminStatus = 48;
constexpr uint32_t kDefaultAdminStatus = 49;
}  // namespace gobj

// Port objects (operations 6-8).
namespace pobj {
constexpr uint32_t kAdminStatus = 1;
constexpr uint32_t kNotifications = 2;
constexpr uint32_t kBasicSupported = 3;
constexpr uint32_t kBasicEnabled = 4;
constexpr uint32_t kPortIdSubtype = 5;
constexpr uint32_t kPortId = 6;
constexpr uint32_t kPortDescr = 7;
constexpr uint32_t kFramesOut = 8;
constexpr uint32_t kFramesDiscarded = 9;
constexpr uint32_t kFramesInErrors = 10;
constexpr uint32_t kFramesIn = 11;
constexpr uint32_t kTlvsDiscarded = 12;
constexpr uint32_t kTlvsUnrecognised = 13;
constexpr uint32_t kAgeouts = 14;
constexpr uint32_t kDot1Supported = 20;
constexpr uint32_t kDot1Enabled = 21;
constexpr uint32_t kPvidTx = 22;
constexpr uint32_t kPvid = 24;
constexpr uint32_t kProtoIdTx = 26;
constexpr uint32_t kVlanNames = 27;  // Get: trimmed list; Set: add
constexpr uint32_t kVlanNamesRemove = 28;
constexpr uint32_t kPpvids = 29;  // Get: trimmed list; Set: add
constexpr uint32_t kPpvidsRemove = 30;
constexpr uint32_t kDot3Supported = 32;
constexpr uint32_t kDot3Enabled = 33;
constexpr uint32_t kAutoNegSupported = 34;
constexpr uint32_t kAutoNegEnabled = 35;
constexpr uint32_t kAutoNegAdvertised = 36;
constexpr uint32_t kMauType = 37;
constexpr uint32_t kPowerPortClass = 38;
constexpr uint32_t kMdiPowerSupported = 39;
constexpr uint32_t kMdiPowerEnabled = 40;
constexpr uint32_t kPowerPairControl = 41;
constexpr uint32_t kPowerPairs = 42;
constexpr uint32_t kPowerClass = 43;
constexpr uint32_t kMedPowerDeviceType = 45;
constexpr uint32_t kPsePowerSource = 46;
constexpr uint32_t kPsePowerPriority = 47;
constexpr uint32_t kPsePowerValue = 49;
constexpr uint32_t kLinkAggStatus = 50;
constexpr uint32_t kAggPortId = 51;
constexpr uint32_t kMaxFrameSize = 52;
constexpr uint32_t kMedSupported = 53;
constexpr uint32_t kMedEnabled = 54;
constexpr uint32_t kMedNotifications = 55;
constexpr uint32_t kClearCounters = 64;
constexpr uint32_t kCountersCleared = 65;
constexpr uint32_t kNeighbours = 66;
constexpr uint32_t kMedNeighbours = 67;
constexpr uint32_t kJuniperTx = 68;
constexpr uint32_t kPrivSupported = 69;
constexpr uint32_t kPrivEnabled = 70;
}  // namespace pobj

// Agent-wide (operations 9-13) and per-port (14-18) management-address
// objects.
namespace mobj {
constexpr uint32_t kPorts = 0;  // agent-wide: the port map; Set: create (length > 0) or delete
constexpr uint32_t kAddrLen = 1;
constexpr uint32_t kIfSubtype = 2;
constexpr uint32_t kIfId = 3;
constexpr uint32_t kOid = 4;
constexpr uint32_t kPortRowStatus = 15;  // per-port: Get 1; Set 2 create, 4 delete
constexpr uint32_t kPortAddrLen = 16;
constexpr uint32_t kPortIfSubtype = 17;
constexpr uint32_t kPortIfId = 18;
constexpr uint32_t kPortOid = 19;
}  // namespace mobj

// Remote-system objects (operation 21).
namespace robj {
constexpr uint32_t kRxVlan = 1;
constexpr uint32_t kChassisIdSubtype = 2;
constexpr uint32_t kChassisId = 3;
constexpr uint32_t kPortIdSubtype = 4;
constexpr uint32_t kPortId = 5;
constexpr uint32_t kPortDescr = 6;
constexpr uint32_t kSysName = 7;
constexpr uint32_t kSysDescr = 8;
constexpr uint32_t kCapSupported = 9;
constexpr uint32_t kCapEnabled = 10;
constexpr uint32_t kTtl = 16;
constexpr uint32_t kDot1Tlvs = 17;
constexpr uint32_t kPvid = 18;
constexpr uint32_t kDot3Tlvs = 23;
constexpr uint32_t kAutoNegSupported = 24;
constexpr uint32_t kAutoNegEnabled = 25;
constexpr uint32_t kAutoNegAdvertised = 26;
constexpr uint32_t kMauType = 27;
constexpr uint32_t kPowerPortClassPse = 28;
constexpr uint32_t kMdiPowerSupported = 29;
constexpr uint32_t kMdiPowerEnabled = 30;
constexpr uint32_t kPairControl = 31;
constexpr uint32_t kPowerPairs = 32;
constexpr uint32_t kPowerClass = 33;
constexpr uint32_t kExtPower = 34;
constexpr uint32_t kPowerType = 35;
constexpr uint32_t kPowerSource = 36;
constexpr uint32_t kPowerPriority = 37;
constexpr uint32_t kPdRequested = 38;
constexpr uint32_t kPseAllocated = 39;
constexpr uint32_t kLinkAggStatus = 40;
constexpr uint32_t kAggPortId = 41;
constexpr uint32_t kMaxFrameSize = 42;
constexpr uint32_t kMedCapabilities = 43;
constexpr uint32_t kMedTlvs = 44;
constexpr uint32_t kMedDeviceClass = 45;
constexpr uint32_t kMedHwRev = 51;  // 51-57: the LLDP-MED inventory strings
constexpr uint32_t kMedPowerType = 59;
constexpr uint32_t kMedPowerValue = 60;
constexpr uint32_t kMedPowerSource = 61;
constexpr uint32_t kMedPowerPriority = 62;
constexpr uint32_t kPrivSupported = 66;
constexpr uint32_t kPrivTlvs = 67;
constexpr uint32_t kPrivSysOid = 68;
constexpr uint32_t kPrivHwRev = 69;  // 69-75: the private inventory strings
}  // namespace robj

// Media policy objects, local (59, 60) and remote (53).
namespace polobj {
constexpr uint32_t kVlan = 56;
constexpr uint32_t kPriority = 57;
constexpr uint32_t kDscp = 58;
constexpr uint32_t kUnknown = 59;
constexpr uint32_t kTagged = 60;
}  // namespace polobj

}  // namespace lldpc
