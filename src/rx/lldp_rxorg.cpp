// Receive path: decoders of the organizationally specific TLVs (type 127) of
// IEEE 802.1, IEEE 802.3, TIA LLDP-MED and the private LLDP-ZOR set, into the
// Msap being built by lldpRxFrame. The frame parser picks the family by OUI;
// v points at the OUI, len is the whole information length, so the subtype is
// v[3] and data starts at v[4]. Every read is bounded by len.
//
// A TLV below its family minimum drops the frame (RX_FRAME_BAD_TLV); an
// over-long one is only traced and decoded from its first bytes.
//
// REQUIRES: lldpLock held (protocol task).
#include <cstring>

#include "base/lldp_trace.h"
#include "platform/sil.h"
#include "rx/lldp_msap.h"
#include "rx/lldp_rx.h"
#include "rx/lldp_rx_int.h"

#define RXTRACE(...) LLDP_TRACE(LLDP_TRC_RXFRAME, __VA_ARGS__)

namespace {

inline uint8_t truth(bool b) { return b ? 1 : 2; }
inline uint8_t subtypeOf(const uint8_t* v, uint16_t len) { return len >= 4 ? v[3] : 0; }

// Replaces an owned string slot with bytes v[from..len), zero-terminated, at
// most cap bytes kept. Returns false when the buffer cannot be allocated.
bool setString(LldpRemString& s, const uint8_t* v, uint16_t len, uint16_t from, uint32_t cap) {
  uint32_t n = len > from ? len - from : 0u;
  if (n > cap) n = cap;
  auto* b = static_cast<uint8_t*>(silMalloc(n + 1));
  if (b == nullptr) return false;
  if (n > 0) std::memcpy(b, v + from, n);
  b[n] = 0;
  silFree(s.data);
  s.data = b;
  s.len = static_cast<uint16_t>(n);
  return true;
}

}  // namespace

// ---- IEEE 802.1 --------------------------------------------------------------

uint8_t lldpRxDot1Tlv(LldpRxCtx& c, const uint8_t* v, uint16_t len) {
  Msap* m = c.msap;
  switch (subtypeOf(v, len)) {
    case 1:  // Port VLAN ID
      if (len < 6) {
        RXTRACE("too short org tlv received on port  %s \r\n", c.ifName());
        return RX_FRAME_BAD_TLV;
      }
      if (len > 6) RXTRACE("Dot1Pvid TLV has invalid length '%d' received on port %s\r\n", len, c.ifName());
      m->dot1Pvid = lldpGet16(v + 4);
      lldpMapSet(m->dot1CapEnabled, 0);
      return RX_FRAME_OK;
    case 2: {  // Port and protocol VLAN ID
      if (len < 7) {
        RXTRACE("too short PPVID org tlv received on port %s \r\n", c.ifName());
        return RX_FRAME_BAD_TLV;
      }
      if (len > 7) RXTRACE("Dot1PPvid TLV has invalid length '%d' received on port %s \r\n", len, c.ifName());
      const uint8_t flags = v[4];
      if ((flags & 0x04) && !(flags & 0x02)) {
        RXTRACE("PPVID org tlv error received on port %s \r\n", c.ifName());
        return RX_FRAME_BAD_TLV;
      }
      auto* e = static_cast<LldpDot1Ppvid*>(silCalloc(1, sizeof(LldpDot1Ppvid)));
      if (e == nullptr) {
        RXTRACE("unable to allocate %u memory for id tlv received on port %s \r\n", 8u, c.ifName());
        return RX_FRAME_NO_RESOURCE;
      }
      e->supported = truth(flags & 0x02);
      e->enabled = truth(flags & 0x04);
      e->ppvid = lldpGet16(v + 5);
      LldpDot1Ppvid** at = &m->dot1PpvidList;
      while (*at != nullptr && (*at)->ppvid <= e->ppvid) at = &(*at)->next;
      e->next = *at;
      *at = e;
      ++m->dot1PpvidNum;
      lldpMapSet(m->dot1CapEnabled, 1);
      return RX_FRAME_OK;
    }
    case 3: {  // VLAN name
      if (len < 7) {
        RXTRACE("too short org tlv received on port%s \r\n", c.ifName());
        return RX_FRAME_BAD_TLV;
      }
      if (len > 39) RXTRACE("Dot1Vlanname TLV has invalid length '%d' received on port %s\r\n", len, c.ifName());
      auto* e = static_cast<LldpDot1VlanName*>(silCalloc(1, sizeof(LldpDot1VlanName)));
      if (e == nullptr) {
        RXTRACE("unable to allocate %u memory for id tlv received on port %s \r\n", 40u, c.ifName());
        return RX_FRAME_NO_RESOURCE;
      }
      e->vid = lldpGet16(v + 4);
      e->nameLen = v[6] < LLDP_VLAN_NAME_MAX ? v[6] : LLDP_VLAN_NAME_MAX;
      // The name is bounded by its field and by what the TLV carries.
      const uint32_t avail = len - 7u;
      std::memcpy(e->name, v + 7, e->nameLen < avail ? e->nameLen : avail);
      LldpDot1VlanName** at = &m->dot1VlanNameList;
      while (*at != nullptr && (*at)->vid <= e->vid) at = &(*at)->next;
      e->next = *at;
      *at = e;
      ++m->dot1VlanNameNum;
      lldpMapSet(m->dot1CapEnabled, 2);
      return RX_FRAME_OK;
    }
    case 4: {  // Protocol identity
      if (len < 5) {
        RXTRACE("too short org tlv received on port %s\r\n", c.ifName());
        return RX_FRAME_BAD_TLV;
      }
      if (len > 260) RXTRACE("Dot1ProtoID TLV has invalid length '%d' received on port %s\r\n", len, c.ifName());
      auto* e = static_cast<LldpDot1ProtoId*>(silCalloc(1, sizeof(LldpDot1ProtoId)));
      if (e == nullptr) {
        RXTRACE("unable to allocate %u memory for id tlv received on port %s\r\n", 44u, c.ifName());
        return RX_FRAME_NO_RESOURCE;
      }
      // The identity is bounded by what the TLV carries (its length byte may
      // claim more); the field holds any 8-bit length.
      const uint32_t avail = len - 5u;
      e->len = static_cast<uint8_t>(v[4] < avail ? v[4] : avail);
      std::memcpy(e->protoId, v + 5, e->len);
      e->index = m->dot1ProtoidNum + 1u;
      LldpDot1ProtoId** at = &m->dot1ProtoIdList;
      while (*at != nullptr &&
             !((*at)->len == e->len && std::memcmp((*at)->protoId, e->protoId, e->len) == 0))
        at = &(*at)->next;
      e->next = *at;
      *at = e;
      ++m->dot1ProtoidNum;
      lldpMapSet(m->dot1CapEnabled, 3);
      return RX_FRAME_OK;
    }
    default:
      return lldpRxKeepOrgTlv(c, v, len, false, "Unable to malloc buffer \r\n");
  }
}

// ---- IEEE 802.3 --------------------------------------------------------------

uint8_t lldpRxDot3Tlv(LldpRxCtx& c, const uint8_t* v, uint16_t len) {
  Msap* m = c.msap;
  switch (subtypeOf(v, len)) {
    case 1:  // MAC/PHY configuration/status
      if (len < 9) {
        RXTRACE("too short mac/phy tlv received on port %s \r\n", c.ifName());
        return RX_FRAME_BAD_TLV;
      }
      if (len > 9) RXTRACE("Dot3MacPhy TLV has invalid length '%d' received on port %s\r\n", len, c.ifName());
      m->dot3AutoNegSupported = truth(v[4] & 0x01);
      m->dot3AutoNegEnabled = truth(v[4] & 0x02);
      m->dot3AutoNegAdvertisedCap[0] = v[5];
      m->dot3AutoNegAdvertisedCap[1] = v[6];
      m->dot3MauType = lldpGet16(v + 7);
      lldpMapSet(m->dot3CapEnabled, 0);
      return RX_FRAME_OK;
    case 2:  // Power via MDI
      if (len < 7) {
        RXTRACE("too short power tlv received on port %s\r\n", c.ifName());
        return RX_FRAME_BAD_TLV;
      }
      if (len > 12) RXTRACE("Dot3Power TLV has invalid length '%d' received on port  %s \r\n", len, c.ifName());
      m->dot3PowerPortClass = truth(v[4] & 0x01);
      m->dot3PowerMDISupported = truth(v[4] & 0x02);
      m->dot3PowerMDIEnabled = truth(v[4] & 0x04);
      m->dot3PowerPairControl = truth(v[4] & 0x08);
      m->dot3PowerPairs = v[5];
      m->dot3PowerClass = v[6];
      if (len == 12) {
        // Extended form. The +2 and +1 offsets match the MED power fields;
        // the priority is the one MED extended power also writes.
        m->dot3PowerType = static_cast<uint8_t>((v[7] >> 6) + 2);
        m->dot3PowerSource = static_cast<uint8_t>(((v[7] & 0x30) >> 4) + 1);
        m->medPowerPriority = static_cast<uint8_t>((v[7] & 0x0F) + 1);
        m->dot3PowerRequested = lldpGet16(v + 8);
        m->dot3PowerAllocated = lldpGet16(v + 10);
        m->dot3PowerExtended = 1;
      }
      lldpMapSet(m->dot3CapEnabled, 1);
      return RX_FRAME_OK;
    case 3:  // Link aggregation
      if (len < 9) {
        RXTRACE("too short aggreg tlv received on port %s \r\n", c.ifName());
        return RX_FRAME_BAD_TLV;
      }
      if (len > 9) RXTRACE("Dot3LinkAgg TLV has invalid length '%d' received on port %s \r\n", len, c.ifName());
      m->dot3AggStatus = v[4];
      reverseBits(&m->dot3AggStatus, 1);
      m->dot3AggPortId = lldpGet32(v + 5);
      lldpMapSet(m->dot3CapEnabled, 2);
      return RX_FRAME_OK;
    case 4:  // Maximum frame size
      if (len < 6) {
        RXTRACE("too short dot3Mfs tlv received on port %s \r\n", c.ifName());
        return RX_FRAME_BAD_TLV;
      }
      if (len > 6) RXTRACE("Dot3Mfs TLV has invalid length '%d' received on port %s \r\n", len, c.ifName());
      m->dot3Mfs = lldpGet16(v + 4);
      lldpMapSet(m->dot3CapEnabled, 3);
      return RX_FRAME_OK;
    default:
      return lldpRxKeepOrgTlv(c, v, len, false, "Unable to malloc buffer \r\n");
  }
}

// ---- TIA LLDP-MED --------------------------------------------------------------

uint8_t lldpRxMedTlv(LldpRxCtx& c, const uint8_t* v, uint16_t len) {
  Msap* m = c.msap;
  const uint8_t subtype = subtypeOf(v, len);
  switch (subtype) {
    case 1:  // Capabilities
      if (len < 7) {
        RXTRACE("too short LLDP-MED cap tlv received on port %s\r\n", c.ifName());
        return RX_FRAME_BAD_TLV;
      }
      if (len > 7) RXTRACE("MedCap TLV has invalid length '%d' received on port %s\r\n", len, c.ifName());
      m->medCapSupported[0] = v[4];
      m->medCapSupported[1] = v[5];
      m->medDevType = v[6];
      lldpMapSet(m->medCapEnabled, 0);
      return RX_FRAME_OK;
    case 2: {  // Network policy
      if (len < 8) {
        RXTRACE("too short LLDP-MED policy tlv received on port %s \r\n", c.ifName());
        return RX_FRAME_BAD_TLV;
      }
      if (len > 8) RXTRACE("MedNetworkPolicy TLV has invalid length '%d' received on port %s \r\n", len, c.ifName());
      const uint32_t w = lldpGet32(v + 4);
      const uint32_t app = w >> 24;
      if (app < 1 || app > 8) {
        RXTRACE("unknown policy field %d received on port %s \r\n", static_cast<int>(app), c.ifName());
        return RX_FRAME_OK;  // only this TLV is ignored
      }
      LldpRemMedPolicy& p = m->medPolicy[app - 1];
      p.appType = static_cast<uint8_t>(app);
      p.unknown = static_cast<uint8_t>((w >> 23) & 1);
      p.tagged = static_cast<uint8_t>((w >> 22) & 1);
      p.priority = static_cast<uint8_t>((w >> 6) & 0x7);
      p.dscp = static_cast<uint8_t>(w & 0x3F);
      p.vid = static_cast<uint16_t>((w >> 9) & 0x0FFF);
      lldpMapSet(m->medCapEnabled, 1);
      return RX_FRAME_OK;
    }
    case 3: {  // Location identification
      if (len < 6) {
        RXTRACE("too short LLDP-MED location tlv received on port %s \r\n", c.ifName());
        return RX_FRAME_BAD_TLV;
      }
      if (len > 260) RXTRACE("MedLocation TLV has invalid length '%d' received on port %s \r\n", len, c.ifName());
      const uint8_t format = v[4];
      if (format < 1 || format > 3) {
        RXTRACE("unknown location type received on port %s \r\n", c.ifName());
        return RX_FRAME_OK;
      }
      const uint32_t n = len - 5u;
      auto* data = static_cast<uint8_t*>(silMalloc(n));
      LldpRemLocation* loc = data != nullptr ? lldpRemMedLocationSlot(m, format) : nullptr;
      if (loc == nullptr) {
        silFree(data);
        RXTRACE("unable to allocate memory for LLDP-MED location for frame received on port %s \r\n", c.ifName());
        return RX_FRAME_NO_RESOURCE;
      }
      std::memcpy(data, v + 5, n);
      silFree(loc->data);
      loc->data = data;
      loc->len = static_cast<uint16_t>(n);
      lldpMapSet(m->medCapEnabled, 2);
      return RX_FRAME_OK;
    }
    case 4: {  // Extended power via MDI
      if (len < 7) {
        RXTRACE("too short LLDP-MED PoE-MDI tlv received on port %s \r\n", c.ifName());
        return RX_FRAME_BAD_TLV;
      }
      if (len > 7) RXTRACE("MedPower TLV has invalid length '%d' received on port %s \r\n", len, c.ifName());
      const uint8_t b = v[4];
      const uint8_t kind = b >> 6;
      m->medPowerType = kind == 0 ? 2 : kind == 1 ? 3 : 4;
      m->medPowerSource = static_cast<uint8_t>(((b >> 4) & 0x3) + 1);
      switch (b & 0x0F) {
        case 1: m->medPowerPriority = 2; break;
        case 2: m->medPowerPriority = 3; break;
        case 3: m->medPowerPriority = 4; break;
        default: m->medPowerPriority = 1; break;
      }
      m->medPowerVal = lldpGet16(v + 5);
      if (m->medPowerType == 2) lldpMapSet(m->medCapEnabled, 3);
      if (m->medPowerType == 3) lldpMapSet(m->medCapEnabled, 4);
      return RX_FRAME_OK;
    }
    case 5: case 6: case 7: case 8: case 9: case 10: case 11: {  // Inventory
      if (len < 4) {
        RXTRACE("too short LLDP-MED inventory(subtype:%d) tlv received on port %s \r\n", subtype, c.ifName());
        return RX_FRAME_BAD_TLV;
      }
      if (len > 36)
        RXTRACE("LLDP-MED inventory(subtype:%d) TLV has invalid length '%d' received on port %s \r\n",
                subtype, len, c.ifName());
      if (!setString(m->medInventory[subtype - 5], v, len, 4, LLDP_MED_INV_MAX)) {
        RXTRACE("unable to allocate memory for LLDP-MED inventory(subtype:%d) for frame received on port %s \r\n",
                subtype, c.ifName());
        return RX_FRAME_NO_RESOURCE;
      }
      lldpMapSet(m->medCapEnabled, 5);
      return RX_FRAME_OK;
    }
    default:
      return lldpRxKeepOrgTlv(c, v, len, true, "Unable to malloc %d buffer\r\n");
  }
}

// ---- Private LLDP-ZOR ------------------------------------------------------------

uint8_t lldpRxPrivTlv(LldpRxCtx& c, const uint8_t* v, uint16_t len) {
  Msap* m = c.msap;
  const uint8_t subtype = subtypeOf(v, len);
  if (subtype == 1) {
    if (len < 6) {
      RXTRACE("too short LLDP-ZOR cap tlv received on port %s \r\n", c.ifName());
      return RX_FRAME_BAD_TLV;
    }
    if (len > 6) RXTRACE("PRICap TLV has invalid length '%d' received on port %s \r\n", len, c.ifName());
    m->priCapSupported[0] = v[4];
    m->priCapSupported[1] = v[5];
    reverseBits(m->priCapSupported, 2);
    lldpMapSet(m->priCapEnabled, 0);
    return RX_FRAME_OK;
  }
  if (subtype >= 2 && subtype <= 9) {
    if (subtype >= 3) {
      if (len < 5) {
        RXTRACE("too short LLDP-ZOR inventory(subtype:%d) tlv received on port %s\r\n", subtype, c.ifName());
        return RX_FRAME_BAD_TLV;
      }
      if (len > 36)
        RXTRACE("LLDP-ZOR inventory(subtype:%d) TLV has invalid length '%d' received on port %s\r\n",
                subtype, len, c.ifName());
    }
    LldpRemString* s = lldpRemPriStringSlot(m, subtype == 2 ? LLDP_INV_COUNT : subtype - 3);
    if (s == nullptr || !setString(*s, v, len, 4, 0xFFFF)) {
      RXTRACE("unable to allocate %u memory for LLDP-ZOR inventory for frame received on port %s\r\n",
              static_cast<unsigned>(len - 3u), c.ifName());
      return RX_FRAME_NO_RESOURCE;
    }
    lldpMapSet(m->priCapEnabled, subtype - 1u);
    return RX_FRAME_OK;
  }
  // Unlike the other families, an unknown private subtype is neither kept
  // nor counted.
  RXTRACE("should not be there! \r\n");
  return RX_FRAME_OK;
}
