// Start-up and options.
#pragma once

#include <cstdint>

struct LldpPort;

int lldpOptInit(void);
int lldpInit(uint32_t maxIfNum, uint32_t extEnabled, uint32_t trunkSupport, uint32_t mode,
             uint32_t dflPortMode, uint32_t defaultAdminStatus, uint32_t maxMgmtAddrNum,
             uint32_t enterpriseOid, uint32_t methIfEnable);
int lldpSysInit(void);
// Platform event handler (lldp_event.cpp).
int lldpEvtNotifyRecv(const uint8_t* buf, uint32_t len);

// The daemon around the agent (lldp_daemon.cpp). lldpDaemonMain builds the
// agent, runs it until the platform asks it to stop, stops it in order and
// returns the process's exit status.
int lldpDaemonMain(void);
// A reload request: the platform re-reads the options; when something
// changed at run time the agent takes the trace mask again and sends a fresh
// LLDPDU on every transmitting port.
void lldpDaemonReload(void);
// Disables the agent on this unit: every transmitting port whose link is up
// has sent its shutdown LLDPDU when this returns.
void lldpDaemonShutdown(void);
// Sets the notification switch of a port that just appeared from the option
// "host.notify" (t: on, f: off, absent: left as the port record has it).
// REQUIRES: lldpLock held.
void lldpDaemonPortAdded(LldpPort* port);
