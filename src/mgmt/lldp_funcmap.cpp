// The operation table of the command server: operation id, handler, and
// the length of the key record that the operation takes instead of an
// integer index (0: the index is an integer). The key-record layouts are in
// docs/management.md.
#include "mgmt/lldp_mgmt.h"

const IcmFuncEntry glldpFuncMap[LLDP_FUNCMAP_COUNT] = {
    {0, nullptr, 0},
    {1, lldpScalarGetApi, 0},
    {2, lldpScalarSetApi, 0},
    {3, lldpScalarSyncApi, 0},
    {4, lldpLocPortGetFirst, 8},
    {5, lldpLocPortGetNext, 8},
    {6, lldpPortGetApi, 0},
    {7, lldpPortSetApi, 0},
    {8, lldpPortSyncApi, 0},
    {9, lldpManAddrGetFirst, 34},
    {10, lldpManAddrGetNext, 34},
    {11, lldpManAddrGetApi, 34},
    {12, lldpManAddrSetApi, 34},
    {13, lldpManAddrSyncApi, 34},
    {14, lldpPortManAddrGetFirst, 38},
    {15, lldpPortManAddrGetNext, 38},
    {16, lldpPortManAddrGetApi, 38},
    {17, lldpPortManAddrSetApi, 38},
    {18, lldpPortManAddrSyncApi, 38},
    {19, lldpRemSysGetFirst, 20},
    {20, lldpRemSysGetNext, 20},
    {21, lldpRemSysGetApi, 20},
    {22, lldpRemManAddrGetFirst, 53},
    {23, lldpRemManAddrGetNext, 53},
    {24, lldpRemManAddrGetApi, 53},
    {25, lldpRemUnknownTlvGetFirst, 24},
    {26, lldpRemUnknownTlvGetNext, 24},
    {27, lldpRemUnknownTlvGetApi, 24},
    {28, lldpRemOrgDefInfoGetFirst, 24},
    {29, lldpRemOrgDefInfoGetNext, 24},
    {30, lldpRemOrgDefInfoGetApi, 24},
    {31, nullptr, 8},  // lldpDot1GetVlanNameFirst
    {32, nullptr, 8},  // lldpDot1GetVlanNameNext
    {33, nullptr, 8},  // lldpDot1VlanNameGetApi
    {34, nullptr, 8},  // lldpDot1VlanNameSetApi
    {35, nullptr, 8},  // lldpDot1VlanNameSyncApi
    {36, nullptr, 8},  // lldpDot1GetProtoVlanFirst
    {37, nullptr, 8},  // lldpDot1GetProtoVlanNext
    {38, nullptr, 8},  // lldpDot1ProtoVlanGetApi
    {39, nullptr, 8},  // lldpDot1ProtoVlanSetApi
    {40, nullptr, 8},  // lldpDot1ProtoVlanSyncApi
    {41, nullptr, 0},  // lldpDot1ProtoGetApi
    {42, lldpDot1RemPpvidGetFirst, 24},
    {43, lldpDot1RemPpvidGetNext, 24},
    {44, lldpDot1RemPpvidGetApi, 24},
    {45, lldpDot1RemVlanNameGetFirst, 24},
    {46, lldpDot1RemVlanNameGetNext, 24},
    {47, lldpDot1RemVlanNameGetApi, 24},
    {48, lldpDot1RemProtoGetFirst, 24},
    {49, lldpDot1RemProtoGetNext, 24},
    {50, lldpDot1RemProtoGetApi, 24},
    {51, lldpMedRemMediaPolicyGetFirst, 20},
    {52, lldpMedRemMediaPolicyGetNext, 20},
    {53, lldpMedRemMediaPolicyGetApi, 20},
    {54, lldpMedRemLocationGetFirst, 20},
    {55, lldpMedRemLocationGetNext, 20},
    {56, lldpMedRemLocationGetApi, 20},
    {57, nullptr, 8},  // lldpMedMediaPolicyGetFirst
    {58, nullptr, 8},  // lldpMedMediaPolicyGetNext
    {59, nullptr, 8},  // lldpMedMediaPolicyGetApi
    {60, nullptr, 8},  // lldpMedMediaPolicySetApi
    {61, nullptr, 8},  // lldpMedMediaPolicySyncApi
    {62, nullptr, 8},  // lldpMedLocationGetFirst
    {63, nullptr, 8},  // lldpMedLocationGetNext
    {64, nullptr, 8},  // lldpMedLocationGetApi
    {65, nullptr, 8},  // lldpMedLocationSetApi
    {66, nullptr, 8},  // lldpMedLocationSyncApi
    {67, lldpDot1PortPvidGetFirst, 8},
    {68, lldpDot1PortPvidGetNext, 8},
    {69, lldpDot3PortMacphyGetFirst, 8},
    {70, lldpDot3PortMacphyGetNext, 8},
    {71, lldpDot3PortPowerGetFirst, 8},
    {72, lldpDot3PortPowerGetNext, 8},
    {73, lldpDot3PortLinkAggGetFirst, 8},
    {74, lldpDot3PortLinkAggGetNext, 8},
    {75, lldpDot3PortMfsGetFirst, 8},
    {76, lldpDot3PortMfsGetNext, 8},
    {77, lldpMedPortXPoePseGetFirst, 8},
    {78, lldpMedPortXPoePseGetNext, 8},
    {79, lldpMedRemPoePdGetFirst, 20},
    {80, lldpMedRemPoePdGetNext, 20},
    {81, lldpMedRemPoePseGetFirst, 20},
    {82, lldpMedRemPoePseGetNext, 20},
    {83, lldpMedRemPoeGetFirst, 20},
    {84, lldpMedRemPoeGetNext, 20},
    {85, lldpDot1RemPvidGetFirst, 20},
    {86, lldpDot1RemPvidGetNext, 20},
    {87, lldpDot3RemPortGetFirst, 20},
    {88, lldpDot3RemPortGetNext, 20},
    {89, lldpDot3RemPowerGetFirst, 20},
    {90, lldpDot3RemPowerGetNext, 20},
    {91, lldpDot3RemLinkAggGetFirst, 20},
    {92, lldpDot3RemLinkAggGetNext, 20},
    {93, lldpDot3RemMaxFrameGetFirst, 20},
    {94, lldpDot3RemMaxFrameGetNext, 20},
    {95, lldpMedRemCapGetFirst, 20},
    {96, lldpMedRemCapGetNext, 20},
    {97, lldpMedRemInventoryGetFirst, 20},
    {98, lldpMedRemInventoryGetNext, 20},
    {99, lldpPortGetFirst, 8},
    {100, lldpPortGetNext, 8},
};
