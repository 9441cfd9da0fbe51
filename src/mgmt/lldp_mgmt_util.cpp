// Shared pieces of the management handlers (lldp_mgmt_util.h).
#include "mgmt/lldp_mgmt_util.h"

#include "local/lldp_local.h"

uint32_t lldpMgmtForward(uintptr_t index, uint32_t keyLen, uint32_t cmdId, ZorValue* value,
                         uint32_t mode, uint32_t arg, uint32_t valueLen) {
  if (lldpMgmtIsBuf(value) && valueLen > value->len) valueLen = value->len;
  ZorSyncCtl ctl{mode, arg, valueLen, keyLen};
  return static_cast<uint32_t>(zorHwilCmdSyncApi(index, cmdId, value, &ctl));
}

bool lldpMgmtBitTest(const uint8_t* map, uint32_t octets, uint32_t n) {
  return map != nullptr && n / 8 < octets && lldpBitTest(map, n) != 0;
}

bool lldpMgmtFilterMatch(uint32_t filter, const LldpMgmtFilterMaps& maps) {
  if (filter == 0) return true;
  const uint32_t bit = filter & 0xFF;
  switch (filter >> 8) {
    case LLDP_OUI_DOT1: return lldpMgmtBitTest(maps.dot1, maps.dot1Len, bit);
    case LLDP_OUI_DOT3: return lldpMgmtBitTest(maps.dot3, maps.dot3Len, bit);
    case LLDP_OUI_MED: return lldpMgmtBitTest(maps.med, maps.medLen, bit);
    default: return false;
  }
}
