// Per-port objects and port walks (operations 4-8, 67-78, 99, 100).
// Not built yet: every operation answers "unknown object" as before.
#include "mgmt/lldp_mgmt.h"
#include "mgmt/lldp_mgmt_util.h"

uint32_t lldpLocPortGetFirst(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpLocPortGetNext(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpPortGetApi(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpPortSetApi(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpPortSyncApi(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpDot1PortPvidGetFirst(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpDot1PortPvidGetNext(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpDot3PortMacphyGetFirst(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpDot3PortMacphyGetNext(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpDot3PortPowerGetFirst(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpDot3PortPowerGetNext(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpDot3PortLinkAggGetFirst(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpDot3PortLinkAggGetNext(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpDot3PortMfsGetFirst(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpDot3PortMfsGetNext(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpMedPortXPoePseGetFirst(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpMedPortXPoePseGetNext(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpPortGetFirst(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpPortGetNext(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
int lldpTxCfgSimul(uint32_t) { return 0; }
