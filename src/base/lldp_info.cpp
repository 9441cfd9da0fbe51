// The agent record and the agent lock.
#include "base/lldp_info.h"

#include "platform/sil.h"

LldpInfo gLldpInfo;

int lldpLock(void) { return silTakeSem(gLldpInfo.semaphore, -1); }

int lldpUnLock(void) { return silGiveSem(gLldpInfo.semaphore); }
