// The daemon around the agent: what the process does once the agent is built.
//
// lldpDaemonMain builds the agent (lldpOptInit), says what is odd about its
// options, announces it, and then waits for the platform's stop and reload
// requests:
//
//   reload -> the platform re-reads the options; the agent takes the new
//             trace mask and sends a fresh LLDPDU on every port, so that a
//             changed system name or management address reaches the
//             neighbours at once
//   stop   -> the agent disables itself as the global admin status does:
//             every transmitting port hands its shutdown LLDPDU (TTL 0) to
//             the frame socket before the disable returns, so neighbours
//             forget us now instead of after our TTL; then the process exits
//             with status 0
//
// Ports added later get their notification switch from "host.notify"
// (lldpDaemonPortAdded, called by the platform-event handler).
#include <cstdlib>
#include <cstring>

#include "base/lldp_info.h"
#include "base/lldp_trace.h"
#include "core/lldp_core.h"
#include "mgmt/lldp_mgmt.h"
#include "platform/logging.h"
#include "platform/proc_shell.h"
#include "platform/sil.h"
#include "port/lldp_port.h"
#include "tx/lldp_tx.h"

namespace {

constexpr uint32_t kDefaultDebugFlags = 0x100;
constexpr int kOptBufLen = 32;

int optRead(const char* key, char (&buf)[kOptBufLen]) {
  std::memset(buf, 0, sizeof(buf));
  return silOptRead(0, key, 0, 0, 1, buf, kOptBufLen - 1);
}

bool firstIs(const char* buf, char c) {
  return buf[0] == c || buf[0] == static_cast<char>(c - 'a' + 'A');
}

template <typename F>
void forEachPort(F f) {
  for (auto* port = static_cast<LldpPort*>(avl_first(&gLldpInfo.portTable)); port != nullptr;
       port = static_cast<LldpPort*>(avl_next(&gLldpInfo.portTable, port)))
    f(port);
}

// The trace mask of the options (decimal, as the platform stores it); the
// default when the options have none.
void applyTraceMask(void) {
  char buf[kOptBufLen];
  const uint32_t flags = optRead("lldp.debugflags", buf) > 0
                             ? static_cast<uint32_t>(std::strtoul(buf, nullptr, 0))
                             : kDefaultDebugFlags;
  lldpLock();
  gLldpInfo.debugFlags = flags;
  lldpUnLock();
}

// Options that start an agent that can do nothing useful.
void warnAboutOptions(void) {
  if (gLldpInfo.memMaxRems == 0)
    loggingLogOutput(LLDP_LOG_MODULE_AGENT, 5, 0,
                     "warning: lldp.maxifnum is not set: no neighbour will be kept\r\n");
  if (gLldpInfo.dflPortMode == LLDP_ADMIN_DISABLED)
    loggingLogOutput(LLDP_LOG_MODULE_AGENT, 5, 0,
                     "warning: lldp.defaultportmode leaves every port disabled: nothing is sent "
                     "or received (set it to rxtx, rx or tx)\r\n");
}

// The global admin status to disabled, applied here only (a unit that stops
// must not disable its stack peers): every port is re-initialised disabled
// and keeps its transmit buffer for the shutdown frame.
// The global disable of the management Sync (applied here only, never
// forwarded: one unit stopping must not disable the rest of a stack). Every
// transmitting port sends its shutdown frame on the way.
void disableAgent(void) {
  ZorValue v{};
  v.value = 2;
  v.len = 4;
  v.form = ZOR_VALUE_INT;
  lldpScalarSyncApi(0, 48, &v);
}

}  // namespace

void lldpDaemonPortAdded(LldpPort* port) {
  char buf[kOptBufLen];
  if (port == nullptr || optRead("host.notify", buf) <= 0) return;
  // The notification switch, through the port's management Sync (local only).
  ZorValue v{};
  v.len = 4;
  v.form = ZOR_VALUE_INT;
  if (firstIs(buf, 't')) v.value = 1;
  else if (firstIs(buf, 'f')) v.value = 2;
  else return;
  lldpPortSyncApi(port->unit, 2, &v);
}

void lldpDaemonReload(void) {
  if (procShellReload() <= 0) return;
  applyTraceMask();
  lldpLock();
  forEachPort([](LldpPort* port) {
    if (port->adminStatus & LLDP_ADMIN_TX) port->somethingChangedLocal = 1;
  });
  lldpUnLock();
}

void lldpDaemonShutdown(void) { disableAgent(); }

int lldpDaemonMain(void) {
  char buf[kOptBufLen];
  if (lldpOptInit() != 0) {
    if (optRead("lldp.enable", buf) > 0 && firstIs(buf, 'f')) {
      loggingLogOutput(LLDP_LOG_MODULE_AGENT, 5, 0,
                       "lldp.enable is false: the agent is disabled and does not start\r\n");
      return 0;
    }
    return -1;
  }
  applyTraceMask();
  warnAboutOptions();
  procShellReady();

  for (;;) {
    const int ev = procShellWait(-1);
    if (ev == PROC_EVENT_STOP) break;
    if (ev == PROC_EVENT_RELOAD) lldpDaemonReload();
  }
  lldpDaemonShutdown();
  procShellStop();
  return 0;
}
