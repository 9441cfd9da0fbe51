// Remote-change notifications: an operator log line and a trap for plain
// LLDP and for LLDP-MED neighbours (each behind its port flag), and always a
// binary event on netlink group 71 for the switch's other daemons.
//
// REQUIRES: lldpLock held (called from remote-table updates).
#include <cstring>

#include "base/lldp_trace.h"
#include "base/lldp_wire.h"
#include "platform/logging.h"
#include "platform/trap.h"
#include "platform/zor_socket.h"
#include "rx/lldp_msap.h"
#include "rx/lldp_rx.h"
#include "rx/lldp_rx_int.h"

namespace {

constexpr uint32_t kEventAdd = 280;
constexpr uint32_t kEventOther = 281;
constexpr uint32_t kNotifyGroup = 71;
constexpr uint32_t kEventRecordLen = 32;
constexpr uint32_t kNotifyMsgLen = 56;

const char* reasonText(uint32_t reason) {
  return reason == LLDP_NOTIFY_ADD ? "add" : reason == LLDP_NOTIFY_DELETE ? "delete" : "change";
}

}  // namespace

int lldpNotifySend(uint32_t eventType, const uint8_t* record32) {
  LLDP_TRACE(LLDP_TRC_EVENT, "lldpNotifySend event=%d.\r\n", static_cast<int>(eventType));
  uint8_t msg[kNotifyMsgLen] = {};
  lldpPut32(msg, kNotifyMsgLen);
  lldpPut16(msg + 4, eventType);
  if (record32 != nullptr) std::memcpy(msg + 24, record32, kEventRecordLen);
  (void)zorNetlinkSGrpSend(kNotifyGroup, 0, msg, kNotifyMsgLen);
  return 0;
}

int lldpMaspNotifier(LldpPort* port, Msap* msap, uint32_t reason) {
  // LldpRemChangeEvent: the neighbour's table index, its enabled
  // capabilities and the first two bytes of each received-TLV map.
  uint8_t ev[kEventRecordLen] = {};
  lldpPut32(ev + 0, msap->timeMark[0]);
  lldpPut32(ev + 4, msap->timeMark[1]);
  lldpPut32(ev + 8, port->unit);
  lldpPut32(ev + 12, msap->remIndex);
  std::memcpy(ev + 16, msap->sysCapEnabled, 2);
  std::memcpy(ev + 18, msap->dot1CapEnabled, 2);
  std::memcpy(ev + 20, msap->dot3CapEnabled, 2);
  std::memcpy(ev + 22, msap->medCapEnabled, 2);
  std::memcpy(ev + 24, msap->priCapEnabled, 2);
  const uint32_t type = reason == LLDP_NOTIFY_ADD ? kEventAdd : kEventOther;

  if (port->notificationEnable == 1) {
    loggingLogOutput(LLDP_LOG_MODULE_REMOTE, 5, 0,
                     "lldp remote information change. (ifName=[%s],reason=[%s])\r\n",
                     lldpRxIfName(port->unit).s, reasonText(reason));
    send_lldp_trap(reason);
  }
  if ((gLldpInfo.extEnabled & LLDP_EXT_MED) && port->medNotificationEnable == 1 && lldpMsapIsMed(msap)) {
    loggingLogOutput(LLDP_LOG_MODULE_MED, 5, 0,
                     "lldp remote med information change. (ifName=[%s],reason=[%s])\r\n",
                     lldpRxIfName(port->unit).s, reasonText(reason));
    send_lldpmed_trap(msap->timeMark[0], msap->timeMark[1], port->unit, msap->remIndex,
                      msap->chassIdSubtype, msap->chassId, msap->chassIdLen, msap->medDevType, reason);
  }
  return lldpNotifySend(type, ev);
}
