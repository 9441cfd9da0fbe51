// Global objects (operations 1-3): the agent-wide settings and counters held
// in gLldpInfo, read by lldpScalarGetApi and changed by lldpScalarSetApi (a
// Set entered here) and lldpScalarSyncApi (the same Set arriving from another
// unit of the stack). Both go through _lldpScalarSetApi, which holds the
// agent lock for the whole change: forward to the stack, store, and refresh
// the ports' copies of the timing values.
//
// The Get takes no lock: integer reads are single loads, and a string read
// racing a Set is accepted.
#include <cstdio>
#include <cstring>

#include "base/lldp_info.h"
#include "base/lldp_trace.h"
#include "local/lldp_local.h"
#include "mgmt/lldp_mgmt.h"
#include "mgmt/lldp_mgmt_util.h"
#include "platform/sil.h"
#include "platform/zor_if.h"
#include "port/lldp_port.h"
#include "sync/lldp_sync.h"
#include "tx/lldp_tx.h"

// REQUIRES: nothing held; takes lldpLock.
uint32_t _lldpScalarSetApi(uintptr_t index, uint32_t objId, ZorValue* value, uint32_t syncMode);

namespace {

constexpr uint32_t kObjLimit = 51;  // ids from here on answer 0x3E80010 at once
constexpr char kVersion[] = "LLDP_V7.01.00.00";
constexpr uint32_t kVersionLen = 16;
constexpr uint32_t kFeatureBlockLen = 12;
constexpr uint32_t kProtoLldp = 7;         // "lldp" in the platform's protocol table
constexpr uint32_t kIfFilterOn = 56;       // frame filter of the addressing in force
constexpr uint32_t kIfFilterOff = 57;
constexpr uint32_t kProtoEtherType = 14;   // zorProtoSetApi: register a frame type
constexpr uint32_t kProtoRecordLen = 28;

enum : uint32_t {
  kVersionObj = 1,
  kMsgTxInterval = 2,
  kMsgTxHold = 3,
  kReinitDelay = 4,
  kTxDelay = 5,
  kTrapInterval = 6,
  kMode = 13,
  kDebugFlags = 20,
  kMedDeviceType = 21,
  kMedFastStart = 22,
  kSyncMessage = 35,
  kClearCounters = 40,
  kGlobalAdmin = 48,
  kFeatureBlock = 50,
};

// globalStatsBlock word read by Get 40..47. Ids 41 to 43 read the counters
// in the reverse of their storage order; clients know them by these ids.
constexpr int kStatsWordOf[8] = {0, 3, 2, 1, 4, 5, 6, 7};

LldpPort* firstPort() { return static_cast<LldpPort*>(avl_first(&gLldpInfo.portTable)); }
LldpPort* nextPort(const LldpPort* p) {
  return static_cast<LldpPort*>(avl_next(&gLldpInfo.portTable, p));
}

// The stored inventory strings 23..29, with their lengths.
struct Inventory {
  const uint8_t* data;
  uint8_t len;
};
Inventory inventoryOf(uint32_t objId) {
  const LldpInfo& g = gLldpInfo;
  switch (objId) {
    case 23: return {g.medHwRev, g.medHwRevLen};
    case 24: return {g.medFwRev, g.medFwRevLen};
    case 25: return {g.medSwRev, g.medSwRevLen};
    case 26: return {g.medSn, g.medSnLen};
    case 27: return {g.medMfgName, g.medMfgNameLen};
    case 28: return {g.medModelName, g.medModelNameLen};
    default: return {g.medAssetId, g.medAssetIdLen};
  }
}

// Reads a provider's integer into the descriptor; its failure is the result.
uint32_t providerInt(ZorValue* v, int (*provider)(uint32_t*)) {
  if (!lldpMgmtIsInt(v)) return LLDP_MGMT_EINVAL;
  uint32_t x = 0;
  const int rc = provider(&x);
  if (rc != 0) return static_cast<uint32_t>(rc);
  v->value = x;
  return LLDP_MGMT_OK;
}

// A provider of text or octets writing into the caller's buffer (bounded by
// the length going in).
uint32_t providerOctets(ZorValue* v, int (*provider)(uint8_t*, uint32_t*)) {
  if (!lldpMgmtIsBuf(v)) return LLDP_MGMT_EINVAL;
  uint32_t len = v->len;
  const int rc = provider(lldpMgmtBuf(v), &len);
  if (rc != 0) return static_cast<uint32_t>(rc);
  v->len = len;
  return LLDP_MGMT_OK;
}

int psePowerSource(uint32_t* out) { return lldpMedPortGetPsePowerSource(0, out); }

// The chassis ID is the system MAC, six octets whatever the caller's
// capacity; as many as the buffer holds are answered.
uint32_t chassisId(ZorValue* v) {
  if (!lldpMgmtIsBuf(v)) return LLDP_MGMT_EINVAL;
  uint8_t id[6] = {};
  uint32_t len = sizeof id;
  const int rc = lldpGetChassisId(id, &len);
  if (rc != 0) return static_cast<uint32_t>(rc);
  return lldpMgmtPutCut(v, id, len);
}

// The frame filter of every port, on (56) or off (57); a port that refuses
// is traced and skipped.
void setPortFilters(uint32_t objId) {
  for (LldpPort* p = firstPort(); p != nullptr; p = nextPort(p)) {
    uint32_t proto = kProtoLldp;
    if (zorIfSetApi(p->unit, objId, &proto) != 0)
      LLDP_TRACE(LLDP_TRC_PORT, "[LLDP] port [%s] lldpIfSetState failed !\r\n",
                 lldpPortName(p->unit).s);
  }
}

// A change of the destination mode. The destination address and EtherType
// are taken from the mode in force before the change, not the new one: a
// long-standing behaviour of the agent that peers and clients rely on.
void changeMode(uint8_t mode) {
  if (mode == gLldpInfo.mode) return;
  setPortFilters(kIfFilterOff);
  if (gLldpInfo.mode == LLDP_MODE_STANDARD) {
    const uint8_t mcast[6] = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E};
    std::memcpy(gLldpInfo.dstMac, mcast, 6);
    gLldpInfo.dstEtherType = 0x88CC;
  } else if (gLldpInfo.mode == LLDP_MODE_BROADCAST) {
    std::memset(gLldpInfo.dstMac, 0xFF, 6);
    gLldpInfo.dstEtherType = 0xFFCC;
  }
  uint8_t record[kProtoRecordLen] = {};
  std::memcpy(record, &gLldpInfo.dstEtherType, 2);
  zorProtoSetApi(0, kProtoEtherType, record);
  setPortFilters(kIfFilterOn);
  gLldpInfo.mode = mode;
}

// Every port re-initialised for the new global admin status; a port that was
// transmitting sends its shutdown LLDPDU on the way down.
void applyGlobalAdmin() {
  const uint32_t status =
      gLldpInfo.globalAdminStatus == 1 ? gLldpInfo.dflPortMode : LLDP_ADMIN_DISABLED;
  for (LldpPort* p = firstPort(); p != nullptr; p = nextPort(p)) lldpPortEntryInit(p, status);
}

// Every port that is not disabled takes the new timing values and sends a
// fresh LLDPDU.
void propagateToPorts() {
  for (LldpPort* p = firstPort(); p != nullptr; p = nextPort(p)) {
    if (p->adminStatus == LLDP_ADMIN_DISABLED) continue;
    lldpTxTakeTiming(p);
    p->somethingChangedLocal = 1;
  }
}

bool isForwarded(uint32_t objId) {
  switch (objId) {
    case kMsgTxInterval: case kMsgTxHold: case kReinitDelay: case kTxDelay: case kTrapInterval:
    case kMode: case kMedDeviceType: case kMedFastStart: case kGlobalAdmin:
      return true;
    default:
      return false;
  }
}

// Stores a forwarded object (the forward has agreed). Fields narrower than 32
// bits keep the low bits of the value.
void storeForwarded(uint32_t objId, uint32_t x) {
  LldpInfo& g = gLldpInfo;
  const auto u16 = static_cast<uint16_t>(x);
  const auto u8 = static_cast<uint8_t>(x);
  switch (objId) {
    case kMsgTxInterval: g.msgTxInterval = u16; break;
    case kMsgTxHold: g.msgTxHold = u16; break;
    case kReinitDelay: g.reinitDelay = u16; break;
    case kTxDelay: g.txDelay = u16; break;
    case kTrapInterval: g.trapInterval = u16; break;
    case kMode: changeMode(u8); break;
    case kMedDeviceType: g.medDeviceType = u8; break;
    case kMedFastStart: g.medFastStartRepeatCount = u16; break;
    case kGlobalAdmin:
      g.globalAdminStatus = u8;
      applyGlobalAdmin();
      break;
    default: break;
  }
}

uint32_t setObject(uint32_t objId, ZorValue* value, uint32_t syncMode) {
  if (objId >= kObjLimit) return LLDP_MGMT_BAD_OBJECT;
  if (value == nullptr) return LLDP_MGMT_EINVAL;
  if (isForwarded(objId)) {
    if (!lldpMgmtIsInt(value)) return LLDP_MGMT_EINVAL;
    const uint32_t rc =
        lldpMgmtForward(0, 0, LLDP_CMD_BASE_SCALAR + objId, value, syncMode, 0, 4);
    if (rc != 0) return rc;
    storeForwarded(objId, value->value);
    return LLDP_MGMT_OK;
  }
  switch (objId) {
    case kDebugFlags:
      if (!lldpMgmtIsInt(value)) return LLDP_MGMT_EINVAL;
      gLldpInfo.debugFlags = value->value;
      return LLDP_MGMT_OK;
    case kSyncMessage:
      if (!lldpMgmtIsBuf(value)) return LLDP_MGMT_EINVAL;
      return lldpSyncMsapRecv(lldpMgmtBuf(value), value->len);
    case kClearCounters:
      std::memset(gLldpInfo.globalStatsBlock, 0, sizeof gLldpInfo.globalStatsBlock);
      gLldpInfo.globalStatsBlock[0] = silGetUpTime();
      return LLDP_MGMT_OK;
    default:
      return LLDP_MGMT_BAD_OBJECT;
  }
}

}  // namespace

uint32_t lldpScalarGetApi(uintptr_t /*index*/, uint32_t objId, ZorValue* value) {
  if (value == nullptr) {
    LLDP_ASSERT_LINE("lldpScalarGetApi", 44);
    return LLDP_MGMT_EINVAL;
  }
  if (objId >= kObjLimit) return LLDP_MGMT_BAD_OBJECT;
  const LldpInfo& g = gLldpInfo;
  switch (objId) {
    case kVersionObj:
      if (!lldpMgmtIsBuf(value)) return LLDP_MGMT_EINVAL;
      if (value->len < kVersionLen) {
        value->len = 0;
        return LLDP_MGMT_OK;
      }
      return lldpMgmtPutOctets(value, kVersion, kVersionLen);
    case kMsgTxInterval: return lldpMgmtPutInt(value, g.msgTxInterval);
    case kMsgTxHold: return lldpMgmtPutInt(value, g.msgTxHold);
    case kReinitDelay: return lldpMgmtPutInt(value, g.reinitDelay);
    case kTxDelay: return lldpMgmtPutInt(value, g.txDelay);
    case kTrapInterval: return lldpMgmtPutInt(value, g.trapInterval);
    // The 64-bit last-change time is answered by its low word.
    case 7: return lldpMgmtPutInt(value, g.statsRemTablesLastChangeTime[1]);
    case 8: return lldpMgmtPutInt(value, g.statsRemTablesInserts);
    case 9: return lldpMgmtPutInt(value, g.statsRemTablesDeletes);
    case 10: return lldpMgmtPutInt(value, g.statsRemTablesDrops);
    case 11: return lldpMgmtPutInt(value, g.statsRemTablesAgeouts);
    case 12: return lldpMgmtPutInt(value, g.dfltmode);
    case kMode: return lldpMgmtPutInt(value, g.mode);
    case 14: return providerInt(value, lldpGetChassisIdType);
    case 15: return chassisId(value);
    case 16: return providerOctets(value, lldpGetSysName);
    case 17: return providerOctets(value, lldpGetSysDescr);
    // Two octets whatever the caller's capacity, as many as the buffer holds.
    case 18: return lldpMgmtPutCut(value, g.capSupported, 2);
    case 19: return lldpMgmtPutCut(value, g.capEnabled, 2);
    case kDebugFlags: return lldpMgmtPutInt(value, g.debugFlags);
    case kMedDeviceType: return lldpMgmtPutInt(value, g.medDeviceType);
    case kMedFastStart: return lldpMgmtPutInt(value, g.medFastStartRepeatCount);
    case 23: case 24: case 25: case 26: case 27: case 28: case 29: {
      const Inventory inv = inventoryOf(objId);
      // The stored string whatever the caller's capacity, cut to the buffer
      // (and to the 32 octets it is kept in).
      const uint32_t n = inv.len < LLDP_INV_STR_LEN ? inv.len : LLDP_INV_STR_LEN;
      return lldpMgmtPutCut(value, inv.data, n);
    }
    case 30: return lldpMgmtPutInt(value, g.medPoeDeviceType);
    case 31: return providerInt(value, psePowerSource);
    case 32: return providerInt(value, lldpMedGetPdPowerValue);
    case 33: return providerInt(value, lldpMedGetPdPowerSource);
    case 34: return providerInt(value, lldpMedGetPdPowerPriority);
    case 36: return lldpMgmtPutInt(value, g.dflPortMode);
    case 37: return lldpMgmtPutInt(value, g.maxMgmtAddrNum);
    case 38: return lldpMgmtPutInt(value, g.mgmtAddrNum);
    case 40: case 41: case 42: case 43: case 44: case 45: case 46: case 47:
      return lldpMgmtPutInt(value, g.globalStatsBlock[kStatsWordOf[objId - kClearCounters]]);
    case kGlobalAdmin: return lldpMgmtPutInt(value, g.globalAdminStatus);
    case 49: return lldpMgmtPutInt(value, g.dfltGlobalAdminStatus);
    case kFeatureBlock: {
      uint8_t block[kFeatureBlockLen] = {};
      const uint32_t one = 1;
      std::memcpy(block, &one, 4);
      return lldpMgmtPutOctets(value, block, kFeatureBlockLen, LLDP_MGMT_TOO_SMALL);
    }
    default:
      return LLDP_MGMT_BAD_OBJECT;
  }
}

uint32_t _lldpScalarSetApi(uintptr_t /*index*/, uint32_t objId, ZorValue* value,
                           uint32_t syncMode) {
  LldpMgmtLock lock;
  const uint32_t rc = setObject(objId, value, syncMode);
  // The debug flags alone leave the ports alone; every other Set, whatever
  // its outcome, refreshes them.
  if (objId != kDebugFlags) propagateToPorts();
  return rc;
}

uint32_t lldpScalarSetApi(uintptr_t index, uint32_t objId, ZorValue* value) {
  return _lldpScalarSetApi(index, objId, value, LLDP_SYNC_MODE_SET);
}

uint32_t lldpScalarSyncApi(uintptr_t index, uint32_t objId, ZorValue* value) {
  return _lldpScalarSetApi(index, objId, value, LLDP_SYNC_MODE_SYNC);
}

uint32_t lldpExtEnableGet(void) {
  std::printf("\n\r %x \n\r ", gLldpInfo.extEnabled);
  return gLldpInfo.extEnabled;
}

uint32_t lldpExtEnableSet(uint32_t value) {
  std::printf("\n\r old %x \n\r ", gLldpInfo.extEnabled);
  gLldpInfo.extEnabled = value;
  std::printf("\n\r new %x \n\r ", gLldpInfo.extEnabled);
  return gLldpInfo.extEnabled;
}
