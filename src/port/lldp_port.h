// The port record LldpPort and the port table.
//
// One record per interface on which the agent runs, taken from the fixed pool
// gLldpInfo.portPool and linked in gLldpInfo.portTable ordered by unit.
// Transmit fields are driven by src/tx, receive fields by src/rx, the
// neighbour list by the remote table.
//
// REQUIRES: lldpLock held by the caller of every function declared here.
#pragma once

#include <cstdint>

#include "platform/avl.h"
#include "port/lldp_mgmt_addr.h"

struct Msap;

// Doubly linked list head/links of a port's neighbours (an empty list points
// at itself).
struct LldpListHead {
  LldpListHead* next;
  LldpListHead* prev;
};

inline void lldpListInit(LldpListHead* head) { head->next = head->prev = head; }
// Empty when it points at itself (or was never initialised: a zero-filled record).
inline bool lldpListEmpty(const LldpListHead* head) {
  return head->next == head || head->next == nullptr;
}
inline void lldpListPushFront(LldpListHead* head, LldpListHead* e) {
  if (head->next == nullptr) lldpListInit(head);
  e->next = head->next;
  e->prev = head;
  head->next->prev = e;
  head->next = e;
}
// Harmless on an element that is not linked.
inline void lldpListUnlink(LldpListHead* e) {
  if (e->next == nullptr) return;
  e->prev->next = e->next;
  e->next->prev = e->prev;
  e->next = e->prev = nullptr;
}

// One LLDP-MED network policy per application type (1..8).
struct LldpMedPolicy {
  uint8_t appType;  // 0 = never set
  uint8_t unknown;
  uint8_t tagged;   // 1 tagged
  uint8_t priority;
  uint8_t dscp;
  uint16_t vid;
};

// One configured LLDP-MED location per data format (1 coordinate, 2 civic,
// 3 ELIN): the bytes the location TLV carries.
struct LldpMedLocation {
  uint8_t present;
  uint16_t len;
  uint8_t* data;  // owned
};

// A configured VLAN name record of the port.
struct LldpVlanNameCfg {
  LldpVlanNameCfg* next;
  uint16_t vid;
  uint8_t nameLen;
  char* name;   // owned
  char* descr;  // owned
};

struct LldpPortRx {
  uint8_t* frame;      // mtu bytes while receive is enabled
  uint32_t recvsize;
  uint32_t info;       // byte 16 of the frame's receive auxiliary data
};

struct LldpPortTx {
  uint8_t* frame;      // mtu bytes while transmit is enabled
  uint32_t sendsize;   // bytes written / length to send; 0 after each send
  uint32_t freesize;   // bytes still free
  uint32_t flags;      // bit 0: a TLV did not fit, the frame is not sent
};
constexpr uint32_t LLDP_TX_FLAG_OVERFLOW = 0x1;

struct LldpPort {
  AvlNode node;  // owned by portTable
  uint32_t ifIndex;
  uint32_t unit;
  uint32_t mtu;
  LldpPortRx rx;
  uint32_t rxSize;
  uint8_t rxState;
  // Receive machine flags.
  uint8_t rcvFrame;  // a stored frame is waiting to be processed
  uint8_t rxChanges;
  uint8_t rxInfoAge;
  uint8_t somethingChangedRemote;
  uint8_t tooManyNeighbors;
  uint16_t tooManyNeighborsTimer;
  uint16_t rxTTL;
  // Receive statistics. The neighbour counts (management port objects 66
  // and 67) are remSysTotal and remMedSysTotal below.
  uint32_t statsAgeoutsTotal;
  uint32_t statsFramesDiscardedTotal;
  uint32_t statsFramesInErrorsTotal;
  uint32_t statsFramesInTotal;
  uint32_t statsTLVsDiscardedTotal;
  uint32_t statsTLVsUnrecognizedTotal;
  LldpPortTx tx;
  uint8_t txState;
  uint8_t somethingChangedLocal;
  uint8_t medTransmitEnabled;
  uint16_t txTagVid;
  uint16_t txTTL;
  uint16_t reinitDelay;
  uint16_t msgTxHold;
  uint16_t msgTxInterval;
  uint16_t txDelay;
  uint16_t medFastStartRepeatCount;
  uint16_t txTTR;
  uint16_t txShutdownWhile;
  uint16_t txDelayWhile;
  uint16_t medFastStart;
  uint32_t statsFramesOutTotal;
  lldpMgmtAddr* localMgmtAddrList;
  lldpMgmtAddr* sysMgmtAddrCache;
  LldpListHead msapList;
  uint8_t initCleared[12];  // cleared whenever the port is initialised
  uint8_t portMac[6];
  uint8_t portEnabled;
  uint8_t adminStatus;
  uint8_t portStatus;  // 1 link up, 2 link down
  uint8_t protoRegistered;
  uint8_t reinitDone;
  uint8_t notificationEnable;     // remote-change traps: 1 on, 2 off
  uint8_t basicTlvTxSupported;
  uint8_t basicTlvTxEnabled;
  uint8_t portIdSubtype;
  uint8_t dot1TlvTxSupported;
  uint8_t dot1TlvTxEnabled;
  uint8_t pvidTxEnable;
  uint8_t protocolIdTxEnable;
  uint8_t juniperTlvTxEnable;
  uint8_t vlanNameTxEnable[512];
  uint8_t ppvidTxEnable[512];
  uint8_t dot3TlvTxSupported;
  uint8_t dot3TlvTxEnabled;
  uint8_t medTlvTxSupported[2];
  uint8_t medNotificationEnable;  // LLDP-MED topology-change traps
  uint32_t medTlvTxEnabled;       // first byte is the mask
  uint8_t privTlvTxSupported[2];
  uint8_t privTlvTxEnabled[2];
  uint32_t statsTrailing[4];      // [0]: up-time of the last counter clear (port object 65)

  // Receive-path working state.
  uint8_t rxResult;       // last code returned by lldpRxFrame
  uint32_t rxLldpduOffset;  // where the LLDPDU starts in rx.frame
  Msap* rxMsap;           // record built from the last frame, until the table takes it
  uint32_t remSysTotal;     // neighbours on the port now
  uint32_t remMedSysTotal;  // of which LLDP-MED endpoints

  // Per-port TLV configuration set through management (policies, location,
  // VLAN names); freed by lldpTlvCleanup.
  LldpMedPolicy medPolicy[8];
  LldpMedLocation medLocation[3];
  LldpMedLocation* medLocationCfg;
  LldpVlanNameCfg* vlanNameCfgList;
  uint8_t medState[5];
  uint16_t medStateWord;

  // Capacity of tx.frame. Normally max(mtu, 64); it can fall behind mtu when
  // an MTU change could not get a bigger buffer, so frame builders must not
  // write more than this.
  uint32_t txSize;
};

// Table operations (src/port/lldp_port.cpp).
int lldpPortEntyrCmp(const void* a, const void* b);
LldpPort* lldpPortEntryGet(uint32_t unit);
LldpPort* lldpPortEntryAdd(uint32_t unit);
int lldpPortEntryInit(LldpPort* port, uint32_t adminStatus);
int lldpPortEntryDel(LldpPort* port);
int lldpPortInitialize(LldpPort* port);
int lldpPortCleanup(LldpPort* port);
void lldpPortConfigReset(uint32_t unit, const uint8_t* msg, uint32_t len);
int lldpPortSendMsg(void);

// The port's name for messages (zorIfUnit2Name into a 64-byte buffer).
struct LldpIfName {
  char s[64];
};
LldpIfName lldpPortName(uint32_t unit);
