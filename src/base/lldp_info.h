// The agent record gLldpInfo: global settings, sockets, lock, trees, pools,
// the local system inventory and the agent-wide counters.
//
// REQUIRES: lldpLock held for every read or write of gLldpInfo after start,
// except by lldpInit itself and by scalar Gets.
#pragma once

#include <cstdint>

#include "platform/avl.h"
#include "platform/sil.h"

struct lldpMgmtAddr;
struct Msap;

// Hash index of the remote systems by port and MSAP identifier
// (src/rx/lldp_remote.cpp), so that a received frame finds its neighbour
// without walking the port's list. Chained through Msap::idxNext. Up to
// LLDP_MSAP_INDEX_MIN records share the buckets held here; beyond that a
// table twice the size of the count is allocated, and freed when the last
// neighbour goes. All zero is an empty index.
constexpr uint32_t LLDP_MSAP_INDEX_MIN = 64;
struct LldpMsapIndex {
  Msap* fixed[LLDP_MSAP_INDEX_MIN];
  Msap** grown;  // nullptr: fixed is in use
  uint32_t size;  // buckets of grown (a power of two)
  uint32_t count;
};

// Destination modes.
constexpr uint8_t LLDP_MODE_STANDARD = 1;
constexpr uint8_t LLDP_MODE_BROADCAST = 2;

// Admin status of a port: bit 1 transmit, bit 2 receive.
constexpr uint8_t LLDP_ADMIN_TX = 1;
constexpr uint8_t LLDP_ADMIN_RX = 2;
constexpr uint8_t LLDP_ADMIN_TXRX = 3;
constexpr uint8_t LLDP_ADMIN_DISABLED = 4;

// Extension TLV family bits of extEnabled.
constexpr uint32_t LLDP_EXT_DOT1 = 1;
constexpr uint32_t LLDP_EXT_DOT3 = 2;
constexpr uint32_t LLDP_EXT_MED = 4;
constexpr uint32_t LLDP_EXT_PRIV = 8;
constexpr uint32_t LLDP_EXT_DCBX = 16;

// The build's own private enterprise number, used for the system object
// identifier when no other number is configured.
constexpr uint32_t LLDP_DEFAULT_ENTERPRISE_OID = 56789;

constexpr int LLDP_INV_STR_LEN = 32;

struct LldpInfo {
  uint32_t semaphore;
  uint32_t taskId;
  uint8_t sysMac[6];
  uint16_t reinitDelay;
  uint16_t msgTxHold;
  uint16_t msgTxInterval;
  uint16_t txDelay;
  uint16_t medFastStartRepeatCount;
  uint32_t lastTrapTime;
  uint32_t dfltmode;
  uint8_t mode;
  uint8_t dflPortMode;
  lldpMgmtAddr* manAddrList;
  int32_t rtSock;
  int32_t dataSock;
  uint8_t capSupported[2];
  uint8_t capEnabled[2];
  uint16_t trapInterval;
  uint8_t medDeviceType;
  uint8_t medPoeDeviceType;
  uint8_t medHwRevLen, medFwRevLen, medSwRevLen, medSnLen, medMfgNameLen, medModelNameLen,
      medAssetIdLen, sysOidLen;
  uint8_t medHwRev[LLDP_INV_STR_LEN], medFwRev[LLDP_INV_STR_LEN], medSwRev[LLDP_INV_STR_LEN],
      medSn[LLDP_INV_STR_LEN], medMfgName[LLDP_INV_STR_LEN], medModelName[LLDP_INV_STR_LEN],
      medAssetId[LLDP_INV_STR_LEN], sysOid[LLDP_INV_STR_LEN];
  uint32_t trunkSupport;
  uint32_t extEnabled;
  uint32_t remIndex;
  uint32_t statsRemTablesLastChangeTime[2];  // high word, low word
  uint32_t statsRemTablesInserts;
  uint32_t statsRemTablesDeletes;
  uint32_t statsRemTablesDrops;
  uint32_t statsRemTablesAgeouts;
  uint32_t memCurRems;
  uint32_t memMaxRems;
  SilTimer machineTimer;
  SilTimerList timerList;
  AvlTree portTable;
  uint32_t maxifNum;
  uint32_t maxMgmtAddrNum;
  uint32_t mgmtAddrNum;
  SilMemPool portPool;
  AvlTree msapTable;
  LldpMsapIndex msapIndex;
  uint32_t enterpriseOid;
  uint32_t methIfEnable;
  // Word 0: up-time of the last clear; words 1..7: management scalars 41..47
  // (word 6, scalar 46, counts every frame sent on any port).
  uint32_t globalStatsBlock[8];
  uint8_t dstMac[6];
  uint16_t dstEtherType;
  uint32_t debugFlags;
  uint8_t globalAdminStatus;
  uint8_t dfltGlobalAdminStatus;
  uint8_t debugLevel[9];
};

extern LldpInfo gLldpInfo;

// The agent lock: one mutual-exclusion semaphore around all shared state.
// The protocol task takes it per unit of work, every management Set for its
// whole duration. Functions below those entry points take no lock.
int lldpLock(void);
int lldpUnLock(void);

// Index of the frames-sent counter in globalStatsBlock.
constexpr int LLDP_GSTAT_FRAMES_OUT = 6;
// Indexes of the agent-wide totals of the per-port receive counters.
constexpr int LLDP_GSTAT_FRAMES_DISCARDED = 1;
constexpr int LLDP_GSTAT_FRAMES_IN_ERRORS = 2;
constexpr int LLDP_GSTAT_FRAMES_IN = 3;
constexpr int LLDP_GSTAT_TLVS_DISCARDED = 4;
constexpr int LLDP_GSTAT_TLVS_UNRECOGNIZED = 5;
