// Organizationally specific TLV builders (type 127): IEEE 802.1, IEEE 802.3,
// LLDP-MED (ANSI/TIA-1057), the private "LLDP-ZOR" set and one TLV in
// Juniper's format. Each follows the writer convention of lldp_tx.h. A TLV
// whose data are absent (no VLAN name, no protocol identity, no policy, no
// location) is skipped without the overflow flag; lack of space sets it.
//
// REQUIRES: lldpLock held.
#include <cstring>

#include "base/lldp_info.h"
#include "local/lldp_local.h"
#include "platform/zor_if.h"
#include "rx/lldp_msap.h"
#include "tx/lldp_tx.h"
#include "tx/lldp_txcache.h"

namespace {

constexpr uint32_t kScalarPrivOui = 39;
constexpr uint32_t kVoiceIfIsVoicePort = 2;

// Opens an organizationally specific TLV of information length len (OUI and
// subtype included) and writes its OUI and subtype.
uint8_t* txOrgOpen(LldpPort* port, const uint8_t* oui, uint8_t subtype, uint32_t len) {
  uint8_t* p = lldpTxTlvOpen(port, LLDP_TLV_ORG, len);
  if (p == nullptr) return nullptr;
  p[2] = oui[0];
  p[3] = oui[1];
  p[4] = oui[2];
  p[5] = subtype;
  return p;
}

// The private OUI is the platform's, read once per frame.
const uint8_t* txPrivOui(LldpTxCache* cache) {
  if (!cache->privOuiRead) {
    uint8_t* oui = cache->privOui;
    oui[0] = oui[1] = oui[2] = 0;
    ZorOctets o{oui, 3};
    if (zorScalarGetApi(0, kScalarPrivOui, &o) != 0) oui[0] = oui[1] = oui[2] = 0;
    cache->privOuiRead = true;
  }
  return cache->privOui;
}

int txOrgBytes(LldpPort* port, const uint8_t* oui, uint8_t subtype, const uint8_t* data,
               uint32_t n) {
  uint8_t* p = txOrgOpen(port, oui, subtype, 4 + n);
  if (p == nullptr) return -1;
  if (n != 0) std::memcpy(p + 6, data, n);
  return lldpTxTlvClose(port, 4 + n);
}

int txInventory(LldpPort* port, const uint8_t* oui, uint8_t subtype, const uint8_t* str,
                uint8_t len) {
  const uint32_t n = len > LLDP_INV_STR_LEN ? LLDP_INV_STR_LEN : len;
  return txOrgBytes(port, oui, subtype, str, n);
}


uint32_t txGet(int (*get)(uint32_t, uint32_t*), uint32_t unit) {
  uint32_t v = 0;
  if (get(unit, &v) != 0) v = 0;
  return v;
}

// Extended power byte: power type, source and priority in the agent's
// 1-based numbering, shifted to the 2-bit, 2-bit and 4-bit wire fields.
uint8_t txPowerByte(uint32_t devType, uint32_t source, uint32_t prio) {
  return static_cast<uint8_t>((((devType - 2) & 0xFF) << 6) | (((source - 1) & 3) << 4) |
                              ((prio - 1) & 15));
}

// The port's PoE answers, or null when its PoE presence cannot be read (the
// single providers then answer, each logging the failure as it does).
const LldpPortPoe* txPoe(const LldpPort* port, LldpTxCache* cache) {
  if (!cache->poeRead) {
    cache->poeOk = lldpPortGetPoe(port->unit, &cache->poe) == 0;
    cache->poeRead = true;
  }
  return cache->poeOk ? &cache->poe : nullptr;
}

uint8_t txPsePowerByte(const LldpPort* port, LldpTxCache* cache) {
  if (!cache->pseSourceRead) {
    cache->pseSource = txGet(lldpMedPortGetPsePowerSource, port->unit);
    cache->pseSourceRead = true;
  }
  const LldpPortPoe* poe = txPoe(port, cache);
  const uint32_t prio =
      poe != nullptr ? poe->psePriority : txGet(lldpMedPortGetPsePowerPriority, port->unit);
  return txPowerByte(gLldpInfo.medPoeDeviceType, cache->pseSource, prio);
}

uint32_t txPsePowerTenths(const LldpPort* port, LldpTxCache* cache) {
  const LldpPortPoe* poe = txPoe(port, cache);
  return (poe != nullptr ? poe->psePowerValue : txGet(lldpMedPortGetPsePowerValue, port->unit)) / 100;
}

uint32_t txPvid(const LldpPort* port, LldpTxCache* cache) {
  if (!cache->pvidRead) {
    cache->pvid = txGet(lldpDot1PortGetPvid, port->unit);
    cache->pvidRead = true;
  }
  return cache->pvid;
}

// Power the port's first neighbour asked for in its extended 802.3 power TLV.
uint32_t txNeighbourRequestedPower(const LldpPort* port) {
  const LldpListHead* first = port->msapList.next;
  if (first == nullptr || first == &port->msapList) return 0;
  const Msap* m = reinterpret_cast<const Msap*>(reinterpret_cast<const char*>(first) -
                                                offsetof(Msap, link));
  return m->dot3PowerExtended ? m->dot3PowerRequested : 0;
}

struct ProtoEntry {
  uint8_t number;
  const char* name;
  uint8_t len;
  uint8_t bytes[8];
};

constexpr ProtoEntry kProtocols[] = {
    {0, "dot1x", 2, {0x88, 0x8E}},
    {1, "test", 2, {0x99, 0x99}},
    {2, "lacp", 3, {0x88, 0x09, 0x01}},
    {4, "stp-c", 8, {0x15, 0x00, 0x42, 0x42, 0x03, 0x00, 0x00, 0x03}},
    {7, "lldp", 2, {0x88, 0xCC}},
    {8, "garp", 7, {0x15, 0x00, 0x42, 0x42, 0x03, 0x00, 0x01}},
    {9, "gvrp", 8, {0x15, 0x00, 0x42, 0x42, 0x03, 0x00, 0x01, 0x01}},
    {10, "gmrp", 8, {0x15, 0x00, 0x42, 0x42, 0x03, 0x00, 0x01, 0x02}},
    {11, "vtp", 2, {0x20, 0x03}},
    {12, "udld", 2, {0x01, 0x11}},
    {13, "loopdetect", 2, {0xFF, 0xF8}},
    {14, "protect-link", 2, {0xFF, 0x10}},
    {15, "g8031", 3, {0xFE, 0x00, 0x27}},
    {16, "g8032", 3, {0xFE, 0x00, 0x28}},
    {17, "rer", 2, {0xF2, 0x12}},
    {18, "esr", 2, {0x81, 0x00}},
    {20, "bpdu-tunnel", 2, {0xFF, 0xF9}},
    {26, "bfd2", 2, {0xFF, 0x66}},
    {49, "lldp-p", 2, {0xFF, 0xCC}},
    {62, "arp", 2, {0x08, 0x06}},
    {141, "pppoe+", 2, {0x88, 0x63}},
    {143, "y1731", 2, {0x89, 0x02}},
};

constexpr uint32_t kProtoCount = sizeof kProtocols / sizeof kProtocols[0];

// Protocol number to its entry (1-based; 0 for none), asked for every
// advertised protocol of every frame.
struct ProtoIndex {
  uint8_t at[256];
  constexpr ProtoIndex() : at() {
    for (uint32_t i = kProtoCount; i-- > 0;) at[kProtocols[i].number] = static_cast<uint8_t>(i + 1);
  }
};
constexpr ProtoIndex kProtoIndex;

const ProtoEntry* txProtoFind(uint32_t proto) {
  if (proto >= 256 || kProtoIndex.at[proto] == 0) return nullptr;
  return &kProtocols[kProtoIndex.at[proto] - 1];
}

}  // namespace

void lldpProtocolType(uint32_t proto, uint8_t* out, uint32_t* len) {
  const ProtoEntry* e = txProtoFind(proto);
  if (e == nullptr) {
    *len = 0;
    return;
  }
  std::memcpy(out, e->bytes, e->len);
  *len = e->len;
}

const char* lldpProtocolName(uint32_t proto) {
  const ProtoEntry* e = txProtoFind(proto);
  return e == nullptr ? nullptr : e->name;
}

// ---- IEEE 802.1 -----------------------------------------------------------------

int lldpDot1PvidTlv(LldpPort* port, LldpTxCache* cache) {
  uint8_t* p = txOrgOpen(port, kLldpOuiDot1, 1, 6);
  if (p == nullptr) return -1;
  lldpPut16(p + 6, txPvid(port, cache));
  return lldpTxTlvClose(port, 6);
}

int lldpDot1PvidTlv(LldpPort* port) {
  LldpTxCache cache;
  return lldpDot1PvidTlv(port, &cache);
}

int lldpDot1PpvidTlv(LldpPort* port, uint16_t vid, LldpTxCache* cache) {
  uint8_t* p = txOrgOpen(port, kLldpOuiDot1, 2, 7);
  if (p == nullptr) return -1;
  if (!cache->protoVlanRead) {
    uint8_t flags = 0;
    if (txGet(lldpDot1PortGetProtoVlanSupported, port->unit) == 1) flags |= 0x02;
    if (txGet(lldpDot1PortGetProtoVlanEnable, port->unit) == 1) flags |= 0x04;
    cache->ppvidFlags = flags;
    cache->protoVlanRead = true;
  }
  p[6] = cache->ppvidFlags;
  lldpPut16(p + 7, vid);
  return lldpTxTlvClose(port, 7);
}

int lldpDot1PpvidTlv(LldpPort* port, uint16_t vid) {
  LldpTxCache cache;
  return lldpDot1PpvidTlv(port, vid, &cache);
}

int lldpDot1VlanNameTlv(LldpPort* port, uint16_t vid) {
  uint8_t name[64];
  uint32_t n = sizeof name;
  if (lldpDot1PortGetVlanName(port->unit, vid, name, &n) != 0 || n == 0) return -1;
  if (n > sizeof name) n = sizeof name;
  uint8_t* p = txOrgOpen(port, kLldpOuiDot1, 3, 7 + n);
  if (p == nullptr) return -1;
  lldpPut16(p + 6, vid);
  p[8] = static_cast<uint8_t>(n);
  std::memcpy(p + 9, name, n);
  return lldpTxTlvClose(port, 7 + n);
}

int lldpDot1ProtoTlv(LldpPort* port, uint32_t protoIndex) {
  uint8_t id[16];
  uint32_t n = 0;
  lldpProtocolType(protoIndex, id, &n);
  if (n == 0) return 0;
  uint8_t* p = txOrgOpen(port, kLldpOuiDot1, 4, 5 + n);
  if (p == nullptr) return -1;
  p[6] = static_cast<uint8_t>(n);
  std::memcpy(p + 7, id, n);
  return lldpTxTlvClose(port, 5 + n);
}

int lldpJuniperTlv(LldpPort* port, LldpTxCache* cache) {
  static constexpr char kText[] = "TC3119380315";
  // The PVID is read and not used, as the format has always done.
  (void)txPvid(port, cache);
  uint8_t* p = txOrgOpen(port, kLldpOuiJuniper, 1, 16);
  if (p == nullptr) return -1;
  std::memcpy(p + 6, kText, 12);
  return lldpTxTlvClose(port, 16);
}

int lldpJuniperTlv(LldpPort* port) {
  LldpTxCache cache;
  return lldpJuniperTlv(port, &cache);
}

// ---- IEEE 802.3 -----------------------------------------------------------------

int lldpDot3MacPhyTlv(LldpPort* port) {
  uint8_t* p = txOrgOpen(port, kLldpOuiDot3, 1, 9);
  if (p == nullptr) return -1;
  uint8_t st = 0;
  if (txGet(lldpDot3PortGetAutoNegSupported, port->unit) == 1) st |= 0x01;
  if (txGet(lldpDot3PortGetAutoNegEnabled, port->unit) == 1) st |= 0x02;
  uint8_t adv[6] = {};
  uint32_t advLen = sizeof adv;
  if (lldpDot3PortGetAutoNegAdvertisedCap(port->unit, adv, &advLen) != 0) adv[0] = adv[1] = 0;
  p[6] = st;
  p[7] = adv[0];
  p[8] = adv[1];
  lldpPut16(p + 9, txGet(lldpDot3PortGetOperMauType, port->unit));
  return lldpTxTlvClose(port, 9);
}

int lldpDot3MdiPowerTlv(LldpPort* port, LldpTxCache* cache) {
  const bool extended = (port->dot3TlvTxEnabled & 0x08) != 0;
  const uint32_t len = extended ? 12 : 7;
  uint8_t* p = txOrgOpen(port, kLldpOuiDot3, 2, len);
  if (p == nullptr) return -1;
  const uint32_t unit = port->unit;
  uint8_t st = 0;
  if (txGet(lldpDot3PortGetPowerPortClass, unit) == 1) st |= 0x01;
  if (const LldpPortPoe* poe = txPoe(port, cache)) {
    if (poe->mdiSupported == 1) st |= 0x02;
    if (poe->mdiEnabled == 1) st |= 0x04;
    if (poe->pairControlable == 1) st |= 0x08;
    p[7] = static_cast<uint8_t>(poe->pairs);
    p[8] = static_cast<uint8_t>(poe->powerClass);
  } else {
    if (txGet(lldpDot3PortGetPowerMDISupported, unit) == 1) st |= 0x02;
    if (txGet(lldpDot3PortGetPowerMDIEnabled, unit) == 1) st |= 0x04;
    if (txGet(lldpDot3PortGetPowerPairControlable, unit) == 1) st |= 0x08;
    p[7] = static_cast<uint8_t>(txGet(lldpDot3PortGetPowerPairs, unit));
    p[8] = static_cast<uint8_t>(txGet(lldpDot3PortGetPowerClass, unit));
  }
  p[6] = st;
  if (extended) {
    p[9] = txPsePowerByte(port, cache);
    lldpPut16(p + 10, txNeighbourRequestedPower(port));
    lldpPut16(p + 12, txPsePowerTenths(port, cache));
  }
  return lldpTxTlvClose(port, len);
}

int lldpDot3MdiPowerTlv(LldpPort* port) {
  LldpTxCache cache;
  return lldpDot3MdiPowerTlv(port, &cache);
}

int lldpDot3LinkAggTlv(LldpPort* port) {
  uint8_t* p = txOrgOpen(port, kLldpOuiDot3, 3, 9);
  if (p == nullptr) return -1;
  uint8_t st[4] = {};
  uint32_t stLen = sizeof st;
  lldpDot3PortGetLinkAggStatus(port->unit, st, &stLen);
  p[6] = lldpTxReverse8(st[0]);
  lldpPut32(p + 7, txGet(lldpDot3PortGetLinkAggPortId, port->unit));
  return lldpTxTlvClose(port, 9);
}

int lldpDot3MaxFrameSizeTlv(LldpPort* port) {
  uint8_t* p = txOrgOpen(port, kLldpOuiDot3, 4, 6);
  if (p == nullptr) return -1;
  lldpPut16(p + 6, txGet(lldpDot3PortGetMaxFrameSize, port->unit));
  return lldpTxTlvClose(port, 6);
}

// ---- LLDP-MED ---------------------------------------------------------------------

int lldpMedCapsTlv(LldpPort* port) {
  uint8_t* p = txOrgOpen(port, kLldpOuiMed, 1, 7);
  if (p == nullptr) return -1;
  // The supported set is advertised, not the enabled one.
  lldpPut16(p + 6, lldpTxReverse16(port->medTlvTxSupported));
  p[8] = gLldpInfo.medDeviceType;
  return lldpTxTlvClose(port, 7);
}

int lldpMedPolicyWord(const LldpPort* port, uint32_t appType, uint32_t* word) {
  LldpMedPolicyFields f{};
  if (lldpMedPortGetPolicyFields(port, appType, &f) != 0) return -1;
  uint32_t w = appType << 24;
  if (f.unknown == 1) w |= 0x800000;
  if (f.tagged == 1) w |= 0x400000;
  w |= (f.vid << 9) & 0x1FFE00;
  w |= (f.pri << 6) & 0x1C0;
  w |= f.dscp & 63;
  *word = w;
  return 0;
}

int lldpMedPolicyTlv(LldpPort* port, uint32_t appType) {
  if (lldpMedPortGetPolicySupported(port, appType) != 0) return -1;
  if (lldpMedPortGetPolicyIsDefault(port, appType) == 1) {
    // The voice default only makes sense where the voice VLAN service knows
    // the port as a voice port.
    uint32_t voice = 0;
    if (voiceVlanIfGetApi(port->unit, kVoiceIfIsVoicePort, &voice) != 0 || voice != 1) return -1;
  }
  if (port->tx.freesize < 10) {
    port->tx.flags |= LLDP_TX_FLAG_OVERFLOW;
    return -1;
  }
  uint32_t word = 0;
  if (lldpMedPolicyWord(port, appType, &word) != 0) return -1;
  uint8_t* p = txOrgOpen(port, kLldpOuiMed, 2, 8);
  if (p == nullptr) return -1;
  lldpPut32(p + 6, word);
  return lldpTxTlvClose(port, 8);
}

int lldpMedLocationTlv(LldpPort* port, uint32_t format) {
  if (format < 1 || format > 3) return -1;
  const LldpMedLocation& loc = port->medLocation[format - 1];
  if (!loc.present || loc.data == nullptr) return -1;
  const uint32_t n = loc.len;
  // The 9-bit TLV length caps the data; longer data can never be sent.
  if (n + 5 > 511 || n + 7 > port->tx.freesize) {
    port->tx.flags |= LLDP_TX_FLAG_OVERFLOW;
    return -1;
  }
  uint8_t* p = txOrgOpen(port, kLldpOuiMed, 3, 5 + n);
  if (p == nullptr) return -1;
  p[6] = static_cast<uint8_t>(format);
  if (n != 0) std::memcpy(p + 7, loc.data, n);
  return lldpTxTlvClose(port, 5 + n);
}

int lldpMedXpoepseTlv(LldpPort* port, LldpTxCache* cache) {
  uint8_t* p = txOrgOpen(port, kLldpOuiMed, 4, 7);
  if (p == nullptr) return -1;
  p[6] = txPsePowerByte(port, cache);
  lldpPut16(p + 7, txPsePowerTenths(port, cache));
  return lldpTxTlvClose(port, 7);
}

int lldpMedXpoepseTlv(LldpPort* port) {
  LldpTxCache cache;
  return lldpMedXpoepseTlv(port, &cache);
}

int lldpMedXpoepdTlv(LldpPort* port) {
  uint8_t* p = txOrgOpen(port, kLldpOuiMed, 4, 7);
  if (p == nullptr) return -1;
  uint32_t source = 0, prio = 0, value = 0;
  if (lldpMedGetPdPowerSource(&source) != 0) source = 0;
  if (lldpMedGetPdPowerPriority(&prio) != 0) prio = 0;
  if (lldpMedGetPdPowerValue(&value) != 0) value = 0;
  p[6] = txPowerByte(gLldpInfo.medPoeDeviceType, source, prio);
  // Sent as the provider gives it: unlike the PSE value it is not divided.
  lldpPut16(p + 7, value);
  return lldpTxTlvClose(port, 7);
}

int lldpMedHwrevTlv(LldpPort* port) {
  return txInventory(port, kLldpOuiMed, 5, gLldpInfo.medHwRev, gLldpInfo.medHwRevLen);
}
int lldpMedFwrevTlv(LldpPort* port) {
  return txInventory(port, kLldpOuiMed, 6, gLldpInfo.medFwRev, gLldpInfo.medFwRevLen);
}
int lldpMedSwrevTlv(LldpPort* port) {
  return txInventory(port, kLldpOuiMed, 7, gLldpInfo.medSwRev, gLldpInfo.medSwRevLen);
}
int lldpMedSnTlv(LldpPort* port) {
  return txInventory(port, kLldpOuiMed, 8, gLldpInfo.medSn, gLldpInfo.medSnLen);
}
int lldpMedMfgNameTlv(LldpPort* port) {
  return txInventory(port, kLldpOuiMed, 9, gLldpInfo.medMfgName, gLldpInfo.medMfgNameLen);
}
int lldpMedModelNameTlv(LldpPort* port) {
  return txInventory(port, kLldpOuiMed, 10, gLldpInfo.medModelName, gLldpInfo.medModelNameLen);
}
int lldpMedAssetIdTlv(LldpPort* port) {
  return txInventory(port, kLldpOuiMed, 11, gLldpInfo.medAssetId, gLldpInfo.medAssetIdLen);
}

// ---- Private "LLDP-ZOR" -----------------------------------------------------------

int lldpPrivCapsTlv(LldpPort* port, LldpTxCache* cache) {
  uint8_t* p = txOrgOpen(port, txPrivOui(cache), 1, 6);
  if (p == nullptr) return -1;
  lldpPut16(p + 6, lldpTxReverse16(port->privTlvTxSupported));
  return lldpTxTlvClose(port, 6);
}

int lldpPrivCapsTlv(LldpPort* port) {
  LldpTxCache cache;
  return lldpPrivCapsTlv(port, &cache);
}

int lldpPrivSysOidTlv(LldpPort* port) {
  LldpTxCache cache;
  return lldpPrivSysOidTlv(port, &cache);
}

int lldpPrivSysOidTlv(LldpPort* port, LldpTxCache* cache) {
  if (gLldpInfo.sysOidLen == 0) {
    uint8_t buf[64] = {};
    uint32_t n = sizeof buf;
    if (lldpGetSysOid(buf, &n) == 0) {
      if (n > sizeof gLldpInfo.sysOid) n = sizeof gLldpInfo.sysOid;
      std::memcpy(gLldpInfo.sysOid, buf, n);
      gLldpInfo.sysOidLen = static_cast<uint8_t>(n);
    }
  }
  const uint8_t* oui = txPrivOui(cache);
  uint32_t n = gLldpInfo.sysOidLen;
  if (n > sizeof gLldpInfo.sysOid) n = sizeof gLldpInfo.sysOid;
  return txOrgBytes(port, oui, 2, gLldpInfo.sysOid, n);
}

int lldpPrivInventoryTlv(LldpPort* port, uint8_t subtype, LldpTxCache* cache) {
  const uint8_t* str = nullptr;
  uint8_t len = 0;
  switch (subtype) {
    case 3: str = gLldpInfo.medHwRev; len = gLldpInfo.medHwRevLen; break;
    case 4: str = gLldpInfo.medFwRev; len = gLldpInfo.medFwRevLen; break;
    case 5: str = gLldpInfo.medSwRev; len = gLldpInfo.medSwRevLen; break;
    case 6: str = gLldpInfo.medSn; len = gLldpInfo.medSnLen; break;
    case 7: str = gLldpInfo.medMfgName; len = gLldpInfo.medMfgNameLen; break;
    case 8: str = gLldpInfo.medModelName; len = gLldpInfo.medModelNameLen; break;
    case 9: str = gLldpInfo.medAssetId; len = gLldpInfo.medAssetIdLen; break;
    default: return -1;
  }
  return txInventory(port, txPrivOui(cache), subtype, str, len);
}

int lldpPrivHwrevTlv(LldpPort* port) {
  LldpTxCache cache;
  return lldpPrivInventoryTlv(port, 3, &cache);
}
int lldpPrivFwrevTlv(LldpPort* port) {
  LldpTxCache cache;
  return lldpPrivInventoryTlv(port, 4, &cache);
}
int lldpPrivSwrevTlv(LldpPort* port) {
  LldpTxCache cache;
  return lldpPrivInventoryTlv(port, 5, &cache);
}
int lldpPrivSnTlv(LldpPort* port) {
  LldpTxCache cache;
  return lldpPrivInventoryTlv(port, 6, &cache);
}
int lldpPrivMfgNameTlv(LldpPort* port) {
  LldpTxCache cache;
  return lldpPrivInventoryTlv(port, 7, &cache);
}
int lldpPrivModelNameTlv(LldpPort* port) {
  LldpTxCache cache;
  return lldpPrivInventoryTlv(port, 8, &cache);
}
int lldpPrivAssetIdTlv(LldpPort* port) {
  LldpTxCache cache;
  return lldpPrivInventoryTlv(port, 9, &cache);
}
