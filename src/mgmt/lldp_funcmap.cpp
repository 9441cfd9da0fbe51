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
    {19, nullptr, 20},  // lldpRemSysGetFirst
    {20, nullptr, 20},  // lldpRemSysGetNext
    {21, nullptr, 20},  // lldpRemSysGetApi
    {22, nullptr, 53},  // lldpRemManAddrGetFirst
    {23, nullptr, 53},  // lldpRemManAddrGetNext
    {24, nullptr, 53},  // lldpRemManAddrGetApi
    {25, nullptr, 0},  // lldpRemUnknownTlvGetFirst: 16 + the entry's own key
    {26, nullptr, 0},  // lldpRemUnknownTlvGetNext: 16 + the entry's own key
    {27, nullptr, 0},  // lldpRemUnknownTlvGetApi: 16 + the entry's own key
    {28, nullptr, 0},  // lldpRemOrgDefInfoGetFirst: 16 + the entry's own key
    {29, nullptr, 0},  // lldpRemOrgDefInfoGetNext: 16 + the entry's own key
    {30, nullptr, 0},  // lldpRemOrgDefInfoGetApi: 16 + the entry's own key
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
    {42, nullptr, 0},  // lldpDot1RemPpvidGetFirst: 16 + the entry's own key
    {43, nullptr, 0},  // lldpDot1RemPpvidGetNext: 16 + the entry's own key
    {44, nullptr, 0},  // lldpDot1RemPpvidGetApi: 16 + the entry's own key
    {45, nullptr, 0},  // lldpDot1RemVlanNameGetFirst: 16 + the entry's own key
    {46, nullptr, 0},  // lldpDot1RemVlanNameGetNext: 16 + the entry's own key
    {47, nullptr, 0},  // lldpDot1RemVlanNameGetApi: 16 + the entry's own key
    {48, nullptr, 0},  // lldpDot1RemProtoGetFirst: 16 + the entry's own key
    {49, nullptr, 0},  // lldpDot1RemProtoGetNext: 16 + the entry's own key
    {50, nullptr, 0},  // lldpDot1RemProtoGetApi: 16 + the entry's own key
    {51, nullptr, 0},  // lldpMedRemMediaPolicyGetFirst: 16 + the entry's own key
    {52, nullptr, 0},  // lldpMedRemMediaPolicyGetNext: 16 + the entry's own key
    {53, nullptr, 0},  // lldpMedRemMediaPolicyGetApi: 16 + the entry's own key
    {54, nullptr, 0},  // lldpMedRemLocationGetFirst: 16 + the entry's own key
    {55, nullptr, 0},  // lldpMedRemLocationGetNext: 16 + the entry's own key
    {56, nullptr, 0},  // lldpMedRemLocationGetApi: 16 + the entry's own key
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
    {79, nullptr, 20},  // lldpMedRemPoePdGetFirst
    {80, nullptr, 20},  // lldpMedRemPoePdGetNext
    {81, nullptr, 20},  // lldpMedRemPoePseGetFirst
    {82, nullptr, 20},  // lldpMedRemPoePseGetNext
    {83, nullptr, 20},  // lldpMedRemPoeGetFirst
    {84, nullptr, 20},  // lldpMedRemPoeGetNext
    {85, nullptr, 20},  // lldpDot1RemPvidGetFirst
    {86, nullptr, 20},  // lldpDot1RemPvidGetNext
    {87, nullptr, 20},  // lldpDot3RemPortGetFirst
    {88, nullptr, 20},  // lldpDot3RemPortGetNext
    {89, nullptr, 20},  // lldpDot3RemPowerGetFirst
    {90, nullptr, 20},  // lldpDot3RemPowerGetNext
    {91, nullptr, 20},  // lldpDot3RemLinkAggGetFirst
    {92, nullptr, 20},  // lldpDot3RemLinkAggGetNext
    {93, nullptr, 20},  // lldpDot3RemMaxFrameGetFirst
    {94, nullptr, 20},  // lldpDot3RemMaxFrameGetNext
    {95, nullptr, 20},  // lldpMedRemCapGetFirst
    {96, nullptr, 20},  // lldpMedRemCapGetNext
    {97, nullptr, 20},  // lldpMedRemInventoryGetFirst
    {98, nullptr, 20},  // lldpMedRemInventoryGetNext
    {99, lldpPortGetFirst, 8},
    {100, lldpPortGetNext, 8},
};
