// Stack synchronisation sender and receiver.
//
// Not yet built: the message encoder and the receiver. For now every call is handed to the
// platform's command-synchronisation service with an empty descriptor, so the
// calls the remote table and the event handler make are visible to tests and
// to a stacking platform, but no record crosses.
#include "sync/lldp_sync.h"

#include "platform/zor_hwil.h"

uint32_t lldpSyncMsapSend(LldpPort* /*port*/, Msap* /*msap*/, uint32_t action) {
  ZorValue value{};
  ZorSyncCtl ctl{0x80000103u, action, 0, 0};
  return static_cast<uint32_t>(zorHwilCmdSyncApi(0, 0xB4023u, &value, &ctl));
}

uint32_t lldpSyncAllSend(uint32_t unit, uint32_t doSend) {
  if (doSend == 0) return 0;
  ZorValue value{};
  ZorSyncCtl ctl{0x80000303u, unit, 0, 0};
  return static_cast<uint32_t>(zorHwilCmdSyncApi(0, 0xB4023u, &value, &ctl));
}

// Not yet built: no message is applied; a null buffer is still refused.
uint32_t lldpSyncMsapRecv(const uint8_t* buf, uint32_t /*len*/) { return buf ? 0 : 22; }
