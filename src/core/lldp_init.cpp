// Agent core: the agent record, start-up options and construction.
//
// gLldpInfo is the one record every part of the agent hangs from: global
// settings, the two sockets, the lock, the port and remote trees, the port
// pool and the timer list. lldpOptInit reads the start-up options and hands
// them to lldpInit, which builds everything in a fixed order:
//
//   trees -> port pool "lldp_if" -> lock -> timer list -> local system info
//   -> frame socket (dataSock) -> event socket (rtSock) -> "lldptask"
//   -> command server "lldpcmdtask" over /tmp/lldpcmd.socket
//
// and on any failure unwinds what it built. After start two tasks share the
// record: the protocol task (lldp_task.cpp) and the command server; both take
// lldpLock around each unit of work.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/lldp_info.h"
#include "base/lldp_trace.h"
#include "core/lldp_core.h"
#include "core/lldp_task.h"
#include "frameio/lldp_frameio.h"
#include "local/lldp_local.h"
#include "mgmt/lldp_mgmt.h"
#include "platform/icm.h"
#include "platform/platform_types.h"
#include "platform/sil.h"
#include "platform/zor_hwil.h"
#include "platform/zor_socket.h"
#include "port/lldp_port.h"
#include "rx/lldp_msap.h"

namespace {

constexpr uint32_t kDefaultMaxIfNum = 24;
constexpr uint32_t kDefaultDebugFlags = 0x100;
constexpr int kProtoLldp = 7;  // the protocol number the platform knows us by
constexpr uint16_t kEtherTypeLldp = 0x88CC;
constexpr uint16_t kEtherTypeBcast = 0xFFCC;
constexpr int kPacketAuxData = 20;
constexpr int kSemOptions = 13;
constexpr uint32_t kHwScalarProto = 499;
// Netlink groups of the platform's port, slot and card events.
constexpr int kEventGroups[] = {34, 33, 42, 1, 85};
constexpr int kEventGroupLate = 102;

constexpr int kOptBufLen = 32;

// Reads one option into buf (cleared first). > 0 when present.
int optRead(const char* key, char (&buf)[kOptBufLen]) {
  std::memset(buf, 0, sizeof(buf));
  return silOptRead(0, key, 0, 0, 1, buf, kOptBufLen - 1);
}

bool firstIs(const char* buf, char c) {
  return buf[0] == c || buf[0] == static_cast<char>(c - 'a' + 'A');
}

// Case-insensitive comparison of the first n characters, stopping at the end
// of either string.
bool prefixEqualNoCase(const char* a, const char* b, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    char ca = a[i];
    char cb = b[i];
    if (ca >= 'A' && ca <= 'Z') ca = static_cast<char>(ca - 'A' + 'a');
    if (cb >= 'A' && cb <= 'Z') cb = static_cast<char>(cb - 'A' + 'a');
    if (ca != cb) return false;
    if (ca == '\0') return true;
  }
  return true;
}

int setIntOpt(int fd, int level, int name, int value) {
  return zor_setsockopt(fd, level, name, &value, sizeof(value));
}

int lldpInitFail(void) {
  silMemPoolDestroy(&gLldpInfo.portPool);
  if (gLldpInfo.semaphore != 0) silDeleteSem(gLldpInfo.semaphore);
  if (gLldpInfo.taskId != 0) {
    silExDeleteTask(gLldpInfo.taskId);
    gLldpInfo.taskId = 0xFFFFFFFFu;
  }
  // The record was zeroed, so before the sockets are opened both descriptor
  // fields hold 0 and descriptor 0 is closed here. That is how the agent has
  // always unwound; the process exits right after.
  if (gLldpInfo.dataSock >= 0) {
    zor_close(gLldpInfo.dataSock);
    gLldpInfo.dataSock = -1;
  }
  if (gLldpInfo.rtSock >= 0) {
    zor_close(gLldpInfo.rtSock);
    gLldpInfo.rtSock = -1;
  }
  return -1;
}

}  // namespace

int lldpSysInit(void) {
  gLldpInfo.reinitDelay = 2;
  gLldpInfo.msgTxHold = 4;
  gLldpInfo.msgTxInterval = 30;
  gLldpInfo.txDelay = 2;
  gLldpInfo.trapInterval = 5;
  gLldpInfo.medFastStartRepeatCount = 3;
  gLldpInfo.mode = static_cast<uint8_t>(gLldpInfo.dfltmode);
  return 0;
}

int lldpOptInit(void) {
  char buf[kOptBufLen];

  if (optRead("lldp.enable", buf) > 0 && firstIs(buf, 'f')) return -1;

  uint32_t adminStatus = 1;
  if (optRead("lldp.defaultenable", buf) > 0 && firstIs(buf, 'f')) adminStatus = 2;

  uint32_t maxIfNum = 0;
  if (optRead("lldp.maxifnum", buf) > 0) maxIfNum = static_cast<uint32_t>(std::atoi(buf));

  uint32_t ext = LLDP_EXT_DOT1 | LLDP_EXT_DOT3 | LLDP_EXT_MED | LLDP_EXT_PRIV;
  if (optRead("lldp.dot1enable", buf) > 0 && firstIs(buf, 'f')) ext &= ~LLDP_EXT_DOT1;
  if (optRead("lldp.dot3enable", buf) > 0 && firstIs(buf, 'f')) ext &= ~LLDP_EXT_DOT3;
  if (optRead("lldp.medenable", buf) > 0 && firstIs(buf, 'f')) ext &= ~LLDP_EXT_MED;
  if (optRead("lldp.privenable", buf) > 0 && firstIs(buf, 'f')) ext &= ~LLDP_EXT_PRIV;
  if (optRead("lldp.dcbxenable", buf) > 0 && firstIs(buf, 't')) ext |= LLDP_EXT_DCBX;

  uint32_t mode = LLDP_MODE_STANDARD;
  if (optRead("lldp.mode", buf) > 0 && firstIs(buf, 'b')) mode = LLDP_MODE_BROADCAST;

  // Only as many characters as were read are compared, so "r" means rx and
  // "rxtx" gets past "rx" only because it is longer. Kept on purpose.
  uint32_t portMode = LLDP_ADMIN_DISABLED;
  const int n = optRead("lldp.defaultportmode", buf);
  if (n > 0) {
    const size_t len = static_cast<size_t>(n);
    if (prefixEqualNoCase(buf, "rx", len)) {
      portMode = LLDP_ADMIN_RX;
    } else if (prefixEqualNoCase(buf, "tx", len)) {
      portMode = LLDP_ADMIN_TX;
    } else if (prefixEqualNoCase(buf, "rxtx", len)) {
      portMode = LLDP_ADMIN_TXRX;
    }
  }

  uint32_t maxMgmtAddrNum = 0;
  if (optRead("lldp.maxmgmtaddrnum", buf) > 0)
    maxMgmtAddrNum = static_cast<uint32_t>(std::atoi(buf));

  // Read and passed on; lldpInit takes the enterprise number from
  // maxMgmtAddrNum instead (kept as the agent always did).
  uint32_t enterpriseOid = 0;
  if (optRead("snmp.enterpriseoid", buf) > 0)
    enterpriseOid = static_cast<uint32_t>(std::atoi(buf));

  uint32_t methIfEnable = 2;
  if (optRead("lldp.methifenable", buf) > 0 && firstIs(buf, 't')) methIfEnable = 1;

  if (lldpInit(maxIfNum, ext, 0, mode, portMode, adminStatus, maxMgmtAddrNum, enterpriseOid,
               methIfEnable) != 0) {
    std::puts("lldp init failed\r");
    return -1;
  }
  return 0;
}

int lldpInit(uint32_t maxIfNum, uint32_t extEnabled, uint32_t trunkSupport, uint32_t mode,
             uint32_t dflPortMode, uint32_t defaultAdminStatus, uint32_t maxMgmtAddrNum,
             uint32_t /*enterpriseOid*/, uint32_t methIfEnable) {
  LldpInfo& g = gLldpInfo;
  std::memset(&g, 0, sizeof(g));
  g.debugFlags = kDefaultDebugFlags;

  g.maxifNum = maxIfNum != 0 ? maxIfNum : kDefaultMaxIfNum;
  g.maxMgmtAddrNum = maxMgmtAddrNum != 0 ? maxMgmtAddrNum : 4 * g.maxifNum;
  g.mgmtAddrNum = 0;
  // The enterprise number follows "lldp.maxmgmtaddrnum", not
  // "snmp.enterpriseoid": the agent has always done so.
  g.enterpriseOid = maxMgmtAddrNum != 0 ? maxMgmtAddrNum : LLDP_DEFAULT_ENTERPRISE_OID;
  g.methIfEnable = methIfEnable != 0 ? methIfEnable : 2;

  avl_create(&g.portTable, lldpPortEntyrCmp, sizeof(LldpPort));
  avl_create(&g.msapTable, lldpMsapEntyrCmp, sizeof(Msap));

  if (silMemPoolInit(&g.portPool, "lldp_if", g.maxifNum, sizeof(LldpPort), 0) != 0) {
    LLDP_TRACE(LLDP_TRC_ERROR, "Malloc MemPort pool error\r\n");
    return lldpInitFail();
  }
  g.semaphore = silCreateMSem(kSemOptions);
  if (g.semaphore == 0) return lldpInitFail();
  if (silTimerListInit(&g.timerList) != 0) {
    LLDP_TRACE(LLDP_TRC_ERROR, "timer init\terror!\n");
    return lldpInitFail();
  }

  g.reinitDelay = 2;
  g.msgTxHold = 4;
  g.msgTxInterval = 30;
  g.txDelay = 2;
  g.extEnabled = extEnabled;
  g.trunkSupport = trunkSupport;
  g.dfltmode = mode;
  g.mode = static_cast<uint8_t>(g.dfltmode);
  if (g.mode == LLDP_MODE_STANDARD) {
    std::memcpy(g.dstMac, lldpMcastMac, 6);
    g.dstEtherType = kEtherTypeLldp;
  } else if (g.mode == LLDP_MODE_BROADCAST) {
    std::memset(g.dstMac, 0xFF, 6);
    g.dstEtherType = kEtherTypeBcast;  // not 0x88CC: the broadcast mode's own type
  }

  g.dflPortMode = static_cast<uint8_t>(dflPortMode);
  g.globalAdminStatus = static_cast<uint8_t>(defaultAdminStatus);
  g.dfltGlobalAdminStatus = static_cast<uint8_t>(defaultAdminStatus);

  uint32_t len = 2;
  lldpGetCapSupported(g.capSupported, &len);
  len = 2;
  lldpGetCapEnabled(g.capEnabled, &len);
  g.manAddrList = nullptr;
  g.remIndex = 0;
  g.trapInterval = 5;
  g.lastTrapTime = 0;
  g.memMaxRems = maxIfNum;  // the raw option, 0 when absent: no default here
  lldpGetSysMac(g.sysMac);
  uint32_t value = 0;
  g.medDeviceType = lldpMedGetDevClass(&value) == 0 ? static_cast<uint8_t>(value) : 0;
  g.medFastStartRepeatCount = 3;
  lldpMedGetHwRev(g.medHwRev, &g.medHwRevLen);
  lldpMedGetFwRev(g.medFwRev, &g.medFwRevLen);
  lldpMedGetSwRev(g.medSwRev, &g.medSwRevLen);
  lldpMedGetSn(g.medSn, &g.medSnLen);
  lldpMedGetManufName(g.medMfgName, &g.medMfgNameLen);
  lldpMedGetModelName(g.medModelName, &g.medModelNameLen);
  lldpMedGetAssetId(g.medAssetId, &g.medAssetIdLen);
  value = 0;
  g.medPoeDeviceType = lldpMedGetPowerDeviceType(&value) == 0 ? static_cast<uint8_t>(value) : 0;
  len = LLDP_INV_STR_LEN;
  if (lldpGetSysOid(g.sysOid, &len) == 0 && len <= LLDP_INV_STR_LEN)
    g.sysOidLen = static_cast<uint8_t>(len);

  if (g.dataSock < 1) {
    g.dataSock = zor_socket(ZOR_AF_PACKET, ZOR_SOCK_RAW, kEtherTypeLldp);
    if (g.dataSock < 0) {
      LLDP_TRACE(LLDP_TRC_ERROR, "create dataSock failed.\r\n");
      return lldpInitFail();
    }
  }
  if (setIntOpt(g.dataSock, ZOR_SOL_SOCKET, ZOR_SO_PROTONAME, kProtoLldp) < 0) {
    LLDP_TRACE(LLDP_TRC_ERROR, "dataSock setsockopt name failed.\r\n");
    return lldpInitFail();
  }
  if (setIntOpt(g.dataSock, ZOR_SOL_PACKET, kPacketAuxData, 1) < 0) {
    LLDP_TRACE(LLDP_TRC_ERROR, "dataSock setsockopt failed.\r\n");
    return lldpInitFail();
  }

  g.rtSock = zor_socket(ZOR_AF_NETLINK, ZOR_SOCK_DGRAM, 0);
  if (g.rtSock < 0) {
    LLDP_TRACE(LLDP_TRC_ERROR, "rtsocket create error.\r\n");
    return lldpInitFail();
  }
  ZorSockAddrNl local{};
  local.family = ZOR_AF_NETLINK;
  if (zor_bind(g.rtSock, &local, sizeof(local)) < 0) {
    LLDP_TRACE(LLDP_TRC_ERROR, "rtSock bind failed.\r\n");
    return lldpInitFail();
  }
  for (int group : kEventGroups) {
    if (setIntOpt(g.rtSock, ZOR_SOL_NETLINK, ZOR_NETLINK_ADD_MEMBERSHIP, group) < 0) {
      LLDP_TRACE(LLDP_TRC_ERROR, "rtSock setsockopt nl_group %d failed.\r\n", group);
      return lldpInitFail();
    }
  }
  if (setIntOpt(g.rtSock, ZOR_SOL_SOCKET, ZOR_SO_PROTONAME, kProtoLldp) < 0) {
    LLDP_TRACE(LLDP_TRC_ERROR, "rtSock setsockopt name failed.\r\n");
    return lldpInitFail();
  }
  if (setIntOpt(g.rtSock, ZOR_SOL_NETLINK, ZOR_NETLINK_ADD_MEMBERSHIP, kEventGroupLate) < 0) {
    LLDP_TRACE(LLDP_TRC_ERROR, "rtSock setsockopt nl_group %d failed.\r\n", kEventGroupLate);
    return lldpInitFail();
  }

  silCreateTask("lldptask", 50, 0x10000, lldpMain, 0, 0, &g.taskId);
  if (g.taskId == 0xFFFFFFFFu) {
    LLDP_TRACE(LLDP_TRC_ERROR, "silCreateTask create failed.\r\n");
    return lldpInitFail();
  }

  // The agent runs without its command server if that cannot start; the
  // protocol itself does not depend on it.
  (void)icmProcTcpInit("lldpcmdtask", "/tmp/lldpcmd.socket", glldpFuncMap, LLDP_FUNCMAP_COUNT);
  const int proto = kProtoLldp;
  zorHwilScalarSet(0, kHwScalarProto, &proto, 0);
  return 0;
}
