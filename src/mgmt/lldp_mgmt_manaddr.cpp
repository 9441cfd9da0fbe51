// Local management-address tables (operations 9-18).
// Not built yet: every operation answers "unknown object" as before.
#include "mgmt/lldp_mgmt.h"
#include "mgmt/lldp_mgmt_util.h"

uint32_t lldpManAddrGetFirst(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpManAddrGetNext(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpManAddrGetApi(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpManAddrSetApi(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpManAddrSyncApi(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpPortManAddrGetFirst(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpPortManAddrGetNext(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpPortManAddrGetApi(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpPortManAddrSetApi(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpPortManAddrSyncApi(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
