// Msap: one remote system (the pair chassis ID and port ID of a neighbour),
// held at once in gLldpInfo.msapTable (ordered by time mark, port, remIndex)
// and in its port's msapList (most recently inserted or changed first).
//
// REQUIRES: lldpLock held by the caller of every function declared here.
#pragma once

#include <cstdint>

#include "platform/avl.h"
#include "port/lldp_mgmt_addr.h"
#include "port/lldp_port.h"
#include "rx/lldp_tlv_list.h"

struct LldpDot1Ppvid {
  LldpDot1Ppvid* next;
  uint8_t supported;  // truth value
  uint8_t enabled;    // truth value
  uint16_t ppvid;
};

struct LldpDot1VlanName {
  LldpDot1VlanName* next;
  uint8_t name[32];  // not terminated
  uint8_t nameLen;
  uint16_t vid;
};

struct LldpDot1ProtoId {
  LldpDot1ProtoId* next;
  uint32_t index;
  uint8_t protoId[255];
  uint8_t len;
};

struct LldpRemMedPolicy {
  uint8_t appType;  // 0 = slot not received
  uint8_t unknown;
  uint8_t tagged;
  uint8_t priority;
  uint8_t dscp;
  uint16_t vid;
};

struct LldpRemLocation {
  uint16_t len;
  uint8_t* data;  // owned
};

struct LldpRemString {
  uint16_t len;
  uint8_t* data;  // owned, zero-terminated
};

enum LldpInvSlot {
  LLDP_INV_HWREV = 0,
  LLDP_INV_FWREV,
  LLDP_INV_SWREV,
  LLDP_INV_SN,
  LLDP_INV_MFGNAME,
  LLDP_INV_MODELNAME,
  LLDP_INV_ASSETID,
  LLDP_INV_COUNT
};

struct Msap {
  AvlNode node;  // owned by msapTable
  LldpListHead link;  // in the port's msapList
  uint8_t* id;        // chassis ID, 0, port ID, 0
  uint8_t idLen;      // wraps modulo 256 by design
  uint8_t mac[6];
  uint16_t rxInfoTTL;
  uint32_t timeMark[2];  // high word, low word
  uint32_t remIndex;
  uint32_t unit;
  LldpTlvNode* unknownTlvList;
  LldpTlvNode* orgTlvList;
  lldpMgmtAddr* mgmtAddrList;
  uint8_t mgmtAddrNum;
  uint8_t portIdSubtype;
  uint8_t chassIdSubtype;
  uint8_t* chassId;  // into id
  uint8_t* portId;   // into id
  uint8_t* portDescr;
  uint8_t* sysName;
  uint8_t* sysDescr;
  uint8_t chassIdLen, portIdLen, portDescrLen, sysNameLen, sysDescrLen;
  uint8_t sysCap[2];      // bit-reversed as stored
  uint8_t sysCapEnabled[2];
  uint16_t rxVlan;

  // IEEE 802.1
  uint8_t dot1Bitmap[2];
  uint16_t dot1Pvid;
  uint8_t dot1CapEnabled;
  LldpDot1Ppvid* dot1PpvidList;
  LldpDot1VlanName* dot1VlanNameList;
  LldpDot1ProtoId* dot1ProtoIdList;
  uint8_t dot1PpvidNum, dot1VlanNameNum, dot1ProtoidNum;

  // IEEE 802.3
  uint8_t dot3Bitmap[2];
  uint8_t dot3CapEnabled;
  uint8_t dot3AutoNegSupported;
  uint8_t dot3AutoNegEnabled;
  uint16_t dot3AutoNegAdvertisedCap;
  uint16_t dot3MauType;
  uint16_t dot3Mfs;
  uint8_t dot3PowerPortClass, dot3PowerMDISupported, dot3PowerMDIEnabled, dot3PowerPairControl;
  uint8_t dot3PowerPairs, dot3PowerClass;
  uint8_t dot3PowerType, dot3PowerSource;
  uint16_t dot3PowerRequested, dot3PowerAllocated;
  uint8_t dot3PowerExtended;
  uint8_t dot3AggStatus;
  uint32_t dot3AggPortId;

  // TIA LLDP-MED
  uint8_t medBitmap[2];
  uint16_t medCapSupported;
  uint16_t medCapEnabled;
  uint8_t medDevType;
  LldpRemMedPolicy medPolicy[8];
  LldpRemLocation medLocation[3];
  uint8_t medPowerType, medPowerSource, medPowerPriority;
  uint16_t medPowerVal;
  LldpRemString medInventory[LLDP_INV_COUNT];

  // Private LLDP-ZOR
  uint8_t priBitmap[2];
  uint16_t priCapSupported;
  LldpRemString priSysOid;
  LldpRemString priInventory[LLDP_INV_COUNT];
};

inline bool lldpMsapIsMed(const Msap* m) { return (m->medBitmap[0] & 0x80) != 0; }

// Remote table (src/rx/lldp_remote.cpp).
int lldpMsapEntyrCmp(const void* a, const void* b);
Msap* lldpMsapEntyrGet(uint32_t timeHigh, uint32_t timeLow, uint32_t unit, uint32_t remIndex);
int lldpMsapEntyrAdd(Msap* msap);
int lldpMsapEntyrDel(Msap* msap);
int lldpMsapCleanup(Msap** msap);
int lldpCmpMsap(const Msap* fresh, const Msap* stored);
int lldpMibUpdateObject(LldpPort* port, Msap* msap);
int lldpMibDeleteObject(LldpPort* port, Msap* msap);
int lldpMibDeleteOldestObject(LldpPort* port);
int lldpPortMsapCleanup(LldpPort* port);
