// Msap: one remote system (the pair chassis ID and port ID of a neighbour),
// held at once in gLldpInfo.msapTable (ordered by time mark, port, remIndex),
// in its port's msapList (most recently inserted or changed first) and in
// gLldpInfo.msapIndex (by port and identifier, for the receive path).
//
// A record is built zero-filled by lldpRxFrame (or by the sync receiver),
// owns every buffer and list it points to, and is freed whole by
// lldpMsapCleanup. Field order follows the remote-record sync message, so
// that the sync builder and receiver can walk it in record order.
//
// Received-TLV maps (dot1CapEnabled, dot3CapEnabled, medCapEnabled,
// priCapEnabled): bit k is mask 0x80 >> (k % 8) of byte k / 8. 802.1 and
// 802.3 bit k = subtype k + 1; LLDP-MED bits 0 capabilities, 1 network
// policy, 2 location, 3 extended power (PSE), 4 extended power (PD),
// 5 inventory; LLDP-ZOR bit k = subtype k + 1.
//
// REQUIRES: lldpLock held by the caller of every function declared here.
#pragma once

#include <cstddef>
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

constexpr int LLDP_VLAN_NAME_MAX = 32;
struct LldpDot1VlanName {
  LldpDot1VlanName* next;
  uint8_t name[LLDP_VLAN_NAME_MAX];  // not terminated
  uint8_t nameLen;                   // at most 32
  uint16_t vid;
};

constexpr int LLDP_PROTO_ID_MAX = 255;
struct LldpDot1ProtoId {
  LldpDot1ProtoId* next;
  uint32_t index;  // count of entries before insertion plus 1
  uint8_t protoId[LLDP_PROTO_ID_MAX];
  uint8_t len;
};

// One received network policy per application type (slot appType - 1).
struct LldpRemMedPolicy {
  uint8_t appType;  // 0 = not received
  uint8_t unknown;  // 0/1, bit 23 of the policy word
  uint8_t tagged;   // 0/1, bit 22
  uint8_t priority;
  uint8_t dscp;
  uint8_t reserved;
  uint16_t vid;
};

// Location data of one format (bytes after the format byte).
constexpr int LLDP_MED_LOCATION_FORMATS = 3;  // 1 coordinate, 2 civic, 3 ELIN
struct LldpRemLocation {
  uint16_t len;
  uint8_t* data;  // owned
};

// An owned, zero-terminated string of len bytes (plus the terminator).
struct LldpRemString {
  uint16_t len;
  uint8_t* data;  // owned
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
// LLDP-MED inventory strings are at most 32 bytes (TIA-1057); a longer one is
// kept from its first 32 bytes.
constexpr int LLDP_MED_INV_MAX = 32;

// The LLDP-ZOR strings of a neighbour, apart from its record: most
// neighbours send none, and a neighbour record is kept small.
struct LldpRemPriStrings {
  LldpRemString inventory[LLDP_INV_COUNT];
  LldpRemString sysOid;
};

struct Msap {
  AvlNode node;       // owned by msapTable; first in the record
  LldpListHead link;  // in the port's msapList
  Msap* idxNext;      // next in its gLldpInfo.msapIndex bucket
  uint8_t* id;        // chassis ID, 0, port ID, 0
  uint8_t idLen;      // wraps modulo 256 by design
  uint8_t mac[6];
  uint16_t rxInfoTTL;
  uint32_t timeMark[2];  // high word, low word
  uint32_t remIndex;
  uint32_t unit;
  LldpTlvNode* unknownTlvList;
  LldpTlvNode* orgTlvList;
  lldpMgmtAddr* mgmtAddrList;  // sorted by subtype, length, address bytes
  uint8_t mgmtAddrNum;
  uint8_t portIdSubtype;
  uint8_t chassIdSubtype;
  uint8_t* chassId;  // into id
  uint8_t* portId;   // into id
  uint8_t* portDescr;  // owned, zero-terminated
  uint8_t* sysName;    // owned, zero-terminated
  uint8_t* sysDescr;   // owned, zero-terminated
  uint8_t chassIdLen, portIdLen, portDescrLen, sysNameLen, sysDescrLen;
  uint8_t sysCap[2];         // bit-reversed as stored
  uint8_t sysCapEnabled[2];  // bit-reversed as stored
  uint16_t rxVlan;           // VID of a tagged frame, else 0

  // IEEE 802.1
  uint8_t dot1CapEnabled[2];  // received-TLV map
  uint16_t dot1Pvid;
  uint8_t dot1ProtoidNum, dot1PpvidNum, dot1VlanNameNum;
  LldpDot1Ppvid* dot1PpvidList;        // by PPVID ascending
  LldpDot1VlanName* dot1VlanNameList;  // by VLAN id ascending
  LldpDot1ProtoId* dot1ProtoIdList;

  // IEEE 802.3. The sync message carries this block in record order up to
  // dot3Mfs (only the first byte of the received-TLV map; the four MDI power
  // truth values packed two bits each into one octet); the requested and
  // allocated power of the extended power TLV do not travel.
  uint8_t dot3CapEnabled[2];  // received-TLV map
  uint8_t dot3AutoNegSupported;  // truth value
  uint8_t dot3AutoNegEnabled;    // truth value
  uint8_t dot3PowerExtended;     // 1 when the 12-byte power TLV was received
  uint8_t dot3AutoNegAdvertisedCap[2];  // as received
  uint16_t dot3MauType;
  uint32_t dot3AggPortId;
  uint8_t dot3PowerPortClass, dot3PowerMDISupported, dot3PowerMDIEnabled,
      dot3PowerPairControl;  // truth values
  uint8_t dot3PowerPairs, dot3PowerClass;
  uint8_t dot3PowerType, dot3PowerSource;  // extended form; priority is medPowerPriority
  uint8_t dot3AggStatus;  // bit-reversed over one byte
  uint16_t dot3Mfs;
  uint16_t dot3PowerRequested, dot3PowerAllocated;

  // TIA LLDP-MED
  uint8_t medCapSupported[2];  // as received
  uint8_t medCapEnabled[2];    // received-TLV map; bit 0 makes a MED neighbour
  LldpRemMedPolicy medPolicy[8];
  // Slot format - 1; allocated with the first location received, owned.
  // Read through lldpRemMedLocation.
  LldpRemLocation* medLocation;
  uint8_t medDevType;
  uint8_t medPowerType, medPowerSource, medPowerPriority;
  uint16_t medPowerVal;
  LldpRemString medInventory[LLDP_INV_COUNT];  // each at most 32 bytes

  // Private LLDP-ZOR
  uint8_t priCapSupported[2];  // bit-reversed as stored
  uint8_t priCapEnabled[2];    // received-TLV map
  // Allocated with the first string received, owned. Read through
  // lldpRemPriInventory and lldpRemPriSysOid.
  LldpRemPriStrings* priStrings;
};

// What a neighbour sent, or an empty location or string when it sent none.
inline const LldpRemLocation& lldpRemMedLocation(const Msap* m, int format) {
  static const LldpRemLocation kNone{};
  return m->medLocation != nullptr ? m->medLocation[format - 1] : kNone;
}
inline const LldpRemString& lldpRemPriInventory(const Msap* m, int slot) {
  static const LldpRemString kNone{};
  return m->priStrings != nullptr ? m->priStrings->inventory[slot] : kNone;
}
inline const LldpRemString& lldpRemPriSysOid(const Msap* m) {
  static const LldpRemString kNone{};
  return m->priStrings != nullptr ? m->priStrings->sysOid : kNone;
}
// The slots to fill, allocating their block the first time; nullptr when
// memory is exhausted.
LldpRemLocation* lldpRemMedLocationSlot(Msap* m, int format);
// slot LLDP_INV_COUNT is the system OID.
LldpRemString* lldpRemPriStringSlot(Msap* m, int slot);

inline bool lldpMsapIsMed(const Msap* m) { return (m->medCapEnabled[0] & 0x80) != 0; }

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

// The identifier index. A record is in the index exactly while it is in its
// port's msapList; each port holds an identifier once. lldpMsapIndexDel is
// harmless for a record that is not in the index.
Msap* lldpMsapIndexFind(uint32_t unit, const uint8_t* id, uint8_t idLen);
void lldpMsapIndexAdd(Msap* msap);
void lldpMsapIndexDel(Msap* msap);

// The Msap that holds a port-list link.
inline Msap* lldpMsapFromLink(LldpListHead* l) {
  return reinterpret_cast<Msap*>(reinterpret_cast<char*>(l) - offsetof(Msap, link));
}
