// Start-up and options.
#pragma once

#include <cstdint>

int lldpOptInit(void);
int lldpInit(uint32_t maxIfNum, uint32_t extEnabled, uint32_t trunkSupport, uint32_t mode,
             uint32_t dflPortMode, uint32_t defaultAdminStatus, uint32_t maxMgmtAddrNum,
             uint32_t enterpriseOid, uint32_t methIfEnable);
int lldpSysInit(void);
// Platform event handler (lldp_event.cpp).
int lldpEvtNotifyRecv(const uint8_t* buf, uint32_t len);
