// Global objects (operations 1-3).
// Not built yet: every operation answers "unknown object" as before.
#include "mgmt/lldp_mgmt.h"
#include "mgmt/lldp_mgmt_util.h"

uint32_t lldpScalarGetApi(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpScalarSetApi(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpScalarSyncApi(uintptr_t, uint32_t, ZorValue*) { return LLDP_MGMT_BAD_OBJECT; }
uint32_t lldpExtEnableGet(void) { return gLldpInfo.extEnabled; }
uint32_t lldpExtEnableSet(uint32_t value) { return gLldpInfo.extEnabled = value; }
