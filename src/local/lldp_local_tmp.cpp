// TEMPORARY: the few local providers that start-up and the port table call,
// until the real providers (lldp_local.cpp) are merged. Delete on merge.
#include <cstring>

#include "local/lldp_local.h"
#include "platform/platform_types.h"
#include "platform/zor_hwil.h"
#include "platform/zor_if.h"

namespace {
int readOctets(bool scalar, uint32_t unit, uint32_t obj, uint8_t* buf, uint32_t cap,
               uint32_t* len) {
  ZorOctets o{buf, cap};
  const int rc = scalar ? zorScalarGetApi(0, obj, &o) : zorIfGetApi(unit, obj, &o);
  if (rc != 0) return rc;
  *len = o.len;
  return 0;
}
int invString(uint32_t obj, uint8_t* buf, uint8_t* len) {
  uint32_t n = 0;
  const int rc = readOctets(true, 0, obj, buf, 32, &n);
  *len = rc == 0 ? static_cast<uint8_t>(n > 32 ? 32 : n) : 0;
  return rc;
}
}  // namespace

int lldpGetSysMac(uint8_t* mac6) {
  uint32_t n = 0;
  return readOctets(true, 0, 6, mac6, 6, &n);
}
int lldpGetCapSupported(uint8_t* buf, uint32_t* len) {
  if (*len < 2) return -1;
  buf[0] = 0x28;  // bits 2 and 4
  buf[1] = 0;
  *len = 2;
  return 0;
}
int lldpGetCapEnabled(uint8_t* buf, uint32_t* len) { return lldpGetCapSupported(buf, len); }
int lldpGetSysOid(uint8_t* buf, uint32_t* len) {
  ZorOctets o{buf, *len};
  if (snmpScalarGetApi(0, 46, &o) != 0) return -1;
  *len = o.len;
  return 0;
}
int lldpMedGetDevClass(uint32_t* devClass) { return zorScalarGetApi(0, 128, devClass); }
int lldpMedGetPowerDeviceType(uint32_t* type) { return zorHwilScalarGet(0, 197, type); }
int lldpMedGetHwRev(uint8_t* buf, uint8_t* len) { return invString(7, buf, len); }
int lldpMedGetFwRev(uint8_t* buf, uint8_t* len) { return invString(57, buf, len); }
int lldpMedGetSwRev(uint8_t* buf, uint8_t* len) { return invString(8, buf, len); }
int lldpMedGetSn(uint8_t* buf, uint8_t* len) { return invString(49, buf, len); }
int lldpMedGetManufName(uint8_t* buf, uint8_t* len) { return invString(53, buf, len); }
int lldpMedGetModelName(uint8_t* buf, uint8_t* len) {
  std::memcpy(buf, "LLDP", 5);
  *len = 4;
  return 0;
}
int lldpMedGetAssetId(uint8_t* buf, uint8_t* len) { return invString(52, buf, len); }
int lldpGetIndexFromUnit(uint32_t unit, uint32_t* index) {
  ZorIndexInfo info{};
  if (zorIndexTrans(unit, 3, &info) != 0) return -1;
  *index = info.index;
  return 0;
}
int lldpPortGetMacAddr(uint32_t unit, uint8_t* mac6) {
  uint32_t n = 0;
  return readOctets(false, unit, 33, mac6, 6, &n);
}
int lldpPortGetMtu(uint32_t unit, uint32_t* mtu) { return zorIfGetApi(unit, 78, mtu); }
int lldpPortCheckLinkUp(uint32_t unit) {
  uint32_t v = 0;
  return zorIfGetApi(unit, 19, &v) == 0 && v == 1 ? 0 : -1;
}
