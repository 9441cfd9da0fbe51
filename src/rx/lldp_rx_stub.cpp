// Placeholder receive path so that the layers below link; replaced by the
// receive state machine, the frame parser and the remote table.
#include "rx/lldp_msap.h"
#include "rx/lldp_rx.h"

uint8_t lldpRxFrame(LldpPort*) { return RX_FRAME_FILTERED; }
const char* rxStateFromID(uint8_t) { return "Unknown"; }
int rxGlobalStatemachineRun(LldpPort*) { return 0; }
int lldpRxStatemachineRun(LldpPort*) { return 0; }
int lldpRxInitialize(LldpPort*) { return 0; }
int lldpRxUpdateTimers(LldpPort*) { return 0; }
int lldpMaspNotifier(LldpPort*, Msap*, uint32_t) { return 0; }
int lldpNotifySend(uint32_t, const uint8_t*) { return 0; }
int lldpMsapEntyrCmp(const void*, const void*) { return 0; }
Msap* lldpMsapEntyrGet(uint32_t, uint32_t, uint32_t, uint32_t) { return nullptr; }
int lldpMsapEntyrAdd(Msap*) { return 0; }
int lldpMsapEntyrDel(Msap*) { return 0; }
int lldpMsapCleanup(Msap**) { return 0; }
int lldpCmpMsap(const Msap*, const Msap*) { return 0; }
int lldpMibUpdateObject(LldpPort*, Msap*) { return 0; }
int lldpMibDeleteObject(LldpPort*, Msap*) { return 0; }
int lldpMibDeleteOldestObject(LldpPort*) { return 0; }
int lldpPortMsapCleanup(LldpPort* port) { return port ? 0 : -1; }
LldpTlv* lldpInitializeTlv(void) { return nullptr; }
int lldpAddTlv(LldpTlv*, LldpTlvNode**) { return 0; }
int lldpAddUnknownTlv(LldpTlv*, LldpTlvNode**) { return 0; }
void lldpDestroyTlv(LldpTlv**) {}
void lldpDestroyTlvList(LldpTlvNode**) {}
const char* lldpTlvName(uint8_t) { return "Unknown"; }
int reverseBits(uint8_t*, uint32_t) { return 0; }
