// Receive path, first stage: one received Ethernet frame, stored in the port
// record by frame I/O, becomes a new remote-system record (Msap) or is
// rejected with a result code and the IEEE 802.1AB receive statistics.
//
// Flow: lldpRxStatemachineRun (state RX_FRAME) -> lldpRxFrame -> addressing,
// VLAN and TPID filter -> TLV walk (order rule, per-type length rules, basic
// TLVs here, type 127 to lldp_rxorg.cpp) -> mandatory check -> MSAP
// identifier -> port->rxMsap, which lldpMibUpdateObject (lldp_remote.cpp)
// then takes over.
//
// Every read of the frame is bounded by the received length and by the TLV
// it belongs to, whatever a length byte claims; every copy is bounded by the
// field it fills.
//
// REQUIRES: lldpLock held (protocol task).
#include <cstring>

#include "base/lldp_trace.h"
#include "frameio/lldp_frameio.h"
#include "local/lldp_oid.h"
#include "platform/sil.h"
#include "platform/zor_if.h"
#include "rx/lldp_msap.h"
#include "rx/lldp_rx.h"
#include "rx/lldp_rx_int.h"

#define RXTRACE(...) LLDP_TRACE(LLDP_TRC_RXFRAME, __VA_ARGS__)

namespace {


constexpr uint32_t kIfTpid = 162;
constexpr uint32_t kIfPvid = 159;
constexpr uint32_t kIfVlanQueryA = 211;
constexpr uint32_t kIfVlanQueryB = 210;
constexpr uint32_t kScalarPrivOui = 39;

uint8_t* dupBytes(const uint8_t* src, uint32_t n) {
  auto* b = static_cast<uint8_t*>(silMalloc(n));
  if (b != nullptr && n > 0) std::memcpy(b, src, n);
  return b;
}

// Chassis ID (1) and Port ID (2): subtype, then the ID in its own buffer until
// the identifier is built.
uint8_t rxIdTlv(LldpRxCtx& c, uint8_t type, const uint8_t* v, uint16_t len, uint8_t hdr1) {
  const bool chassis = type == LLDP_TLV_CHASSIS_ID;
  if (len < 2) {
    if (chassis)
      RXTRACE("ChassisID TLV invalid length:%d received on port %s \r\n", len, c.ifName());
    else
      RXTRACE("PortId TLV has invalid length '%d' received on  port %s\r\n", len, c.ifName());
    return RX_FRAME_BAD_TLV;
  }
  if (len > 255) {
    if (chassis)
      RXTRACE("ChassisID TLV invalid length:%d received on port%s\r\n", len, c.ifName());
    else
      RXTRACE("PortId TLV has invalid length '%d' received on  port %s \r\n", len, c.ifName());
  }
  const uint8_t subtype = v[0];
  if (subtype == 0 || subtype > 7) {
    if (chassis)
      RXTRACE("unknown subtype for chassid tlv received on port %s \r\n", c.ifName());
    else
      RXTRACE("unknown subtype for portid tlv received on  port %s \r\n", c.ifName());
    return RX_FRAME_BAD_FRAME;
  }
  uint8_t* id = dupBytes(v + 1, len - 1u);
  if (id == nullptr) {
    if (chassis)
      RXTRACE("unable to allocate memory for chassid tlv received on port %s\r\n", c.ifName());
    else
      RXTRACE("unable to allocate memory for portid tlv received on port %s\r\n", c.ifName());
    return RX_FRAME_NO_RESOURCE;
  }
  // The recorded length is the low header byte minus one, modulo 256: for an
  // over-long ID it is not len - 1. It never exceeds the buffer (len - 1).
  const auto idLen = static_cast<uint8_t>(hdr1 - 1);
  Msap* m = c.msap;
  if (chassis) {
    silFree(m->chassId);
    m->chassIdSubtype = subtype;
    m->chassId = id;
    m->chassIdLen = idLen;
  } else {
    silFree(m->portId);
    m->portIdSubtype = subtype;
    m->portId = id;
    m->portIdLen = idLen;
  }
  return RX_FRAME_OK;
}

// Port Description (4), System Name (5), System Description (6).
uint8_t rxTextTlv(LldpRxCtx& c, uint8_t type, const uint8_t* v, uint16_t len, uint8_t hdr1) {
  if (len > 255) RXTRACE("TLV has invalid length '%d' received on port %s \r\n", len, c.ifName());
  uint8_t* text = nullptr;
  if (len > 0) {
    text = static_cast<uint8_t*>(silMalloc(len + 1u));
    if (text == nullptr) {
      RXTRACE("unable to allocate memory for id tlv received on port %s\r\n", c.ifName());
      return RX_FRAME_NO_RESOURCE;
    }
    std::memcpy(text, v, len);
    text[len] = 0;
  }
  Msap* m = c.msap;
  uint8_t** slot = type == LLDP_TLV_PORT_DESCR ? &m->portDescr : type == LLDP_TLV_SYS_NAME ? &m->sysName : &m->sysDescr;
  uint8_t* slotLen =
      type == LLDP_TLV_PORT_DESCR ? &m->portDescrLen : type == LLDP_TLV_SYS_NAME ? &m->sysNameLen : &m->sysDescrLen;
  silFree(*slot);
  *slot = text;
  *slotLen = text != nullptr ? hdr1 : 0;  // 8 bits of the length, never above the buffer
  return RX_FRAME_OK;
}

// Orders management addresses by subtype, then address length, then bytes.
int mgmtAddrOrder(const lldpMgmtAddr* a, const lldpMgmtAddr* b) {
  if (a->mgmtAddrSubtype != b->mgmtAddrSubtype) return a->mgmtAddrSubtype < b->mgmtAddrSubtype ? -1 : 1;
  if (a->mgmtAddrLen != b->mgmtAddrLen) return a->mgmtAddrLen < b->mgmtAddrLen ? -1 : 1;
  return std::memcmp(a->mgmtAddr, b->mgmtAddr, a->mgmtAddrLen);
}

uint8_t rxMgmtAddrTlv(LldpRxCtx& c, const uint8_t* v, uint16_t len) {
  if (len <= 8) {
    RXTRACE("TLV has invalid length '%d'.\r\n\tIt should be between 9 and 167 inclusive!\r\n", len);
    return RX_FRAME_BAD_TLV;
  }
  if (len > 167) RXTRACE("Mgmt TLV has invalid length '%d' received on port %s \r\n", len, c.ifName());
  const uint32_t strLen = v[0];  // subtype byte plus address
  const uint8_t subtype = v[1];
  bool tooShort = false;
  bool blank = false;
  switch (subtype) {
    case 1: tooShort = strLen < 5; blank = true; break;
    case 2: tooShort = strLen < 17; blank = true; break;
    case 6: tooShort = strLen < 7; break;
    default: tooShort = strLen > 32; break;
  }
  // The fields behind the address string must lie inside the TLV: string,
  // interface subtype (1), interface number (4), OID length (1), OID.
  if (!tooShort && (strLen < 1 || strLen + 7u > len || strLen + 7u + v[strLen + 6] > len)) {
    tooShort = true;
    blank = false;
  }
  if (tooShort) {
    if (blank)
      RXTRACE("management tlv too short received on port %s \r\n", c.ifName());
    else
      RXTRACE("management tlv too short received on port %s\r\n", c.ifName());
    return RX_FRAME_BAD_TLV;
  }
  auto* e = static_cast<lldpMgmtAddr*>(silCalloc(1, sizeof(lldpMgmtAddr)));
  if (e == nullptr) {
    RXTRACE("unable to allocate memory for id tlv received on port %s\r\n", c.ifName());
    return RX_FRAME_NO_RESOURCE;
  }
  const uint32_t addrLen = strLen - 1;
  const uint32_t copyLen = addrLen < LLDP_MGMT_ADDR_MAX ? addrLen : LLDP_MGMT_ADDR_MAX;
  e->mgmtAddrSubtype = subtype;
  e->mgmtAddrLen = static_cast<uint8_t>(copyLen);
  std::memcpy(e->mgmtAddr, v + 2, copyLen);
  const uint8_t* after = v + 1 + strLen;
  e->mgmtAddrIfSubtype = after[0];
  e->mgmtAddrIfId = lldpGet32(after + 1);
  const uint8_t oidLen = after[5];
  const uint8_t* oid = after + 6;
  if (oidLen > 0) {
    uint8_t decodedLen = 0;
    e->mgmtAddrOid = reinterpret_cast<uint8_t*>(lldpMgmtAddrDecodeOid(oid, oidLen, &decodedLen));
    if (e->mgmtAddrOid != nullptr) {
      e->mgmtAddrOidLen = decodedLen;
    } else {
      RXTRACE("unable to decode mgmt address oid received on port %s\r\n", c.ifName());
      e->mgmtAddrOid = dupBytes(oid, oidLen);
      if (e->mgmtAddrOid == nullptr) {
        silFree(e);
        RXTRACE("unable to allocate memory for id tlv received on port %s\r\n", c.ifName());
        return RX_FRAME_NO_RESOURCE;
      }
      e->mgmtAddrOidLen = oidLen;
    }
  }
  // Sorted insert; an entry equal to existing ones goes behind them.
  lldpMgmtAddr** at = &c.msap->mgmtAddrList;
  while (*at != nullptr && mgmtAddrOrder(*at, e) <= 0) at = &(*at)->next;
  e->next = *at;
  *at = e;
  ++c.msap->mgmtAddrNum;
  return RX_FRAME_OK;
}

// A copy of a TLV for one of the kept lists; null when an allocation fails
// (the copy failure is traced with the given message).
LldpTlv* copyTlv(uint8_t type, const uint8_t* v, uint16_t len, bool sizedMsg, const char* failMsg) {
  LldpTlv* t = lldpInitializeTlv();
  if (t == nullptr) return nullptr;
  t->type = type;
  t->length = len;
  if (len > 0) {
    t->info = dupBytes(v, len);
    if (t->info == nullptr) {
      if (sizedMsg)
        RXTRACE(failMsg, len);
      else
        RXTRACE("%s", failMsg);
      lldpDestroyTlv(&t);
      return nullptr;
    }
  }
  return t;
}

uint8_t rxUnknownTlv(LldpRxCtx& c, uint8_t type, const uint8_t* v, uint16_t len) {
  LldpTlv* t = copyTlv(type, v, len, true, "Unable to malloc %d buffer\r\n");
  if (t == nullptr) return RX_FRAME_NO_RESOURCE;
  RXTRACE("Adding exploded TLV to MSAP TLV list.\r\n");
  // A node that cannot be allocated loses the TLV (freed by the list) but
  // not the frame: the TLV still counts as unrecognized.
  (void)lldpAddUnknownTlv(t, &c.unknownList);
  lldpRxCountTlvUnrecognized(c.port);
  return RX_FRAME_OK;
}

struct OrgFamilies {
  uint32_t ext;
  uint8_t privOui[3];
  bool privKnown;
};

uint8_t rxOrgTlv(LldpRxCtx& c, const OrgFamilies& f, const uint8_t* v, uint16_t len) {
  // A TLV too short to carry an OUI matches no family.
  auto is = [&](const uint8_t* oui) { return len >= 3 && std::memcmp(v, oui, 3) == 0; };
  if ((f.ext & LLDP_EXT_DOT1) && is(kLldpOuiDot1)) return lldpRxDot1Tlv(c, v, len);
  if ((f.ext & LLDP_EXT_DOT3) && is(kLldpOuiDot3)) return lldpRxDot3Tlv(c, v, len);
  if ((f.ext & LLDP_EXT_MED) && is(kLldpOuiMed)) return lldpRxMedTlv(c, v, len);
  if ((f.ext & LLDP_EXT_PRIV) && f.privKnown && is(f.privOui)) return lldpRxPrivTlv(c, v, len);
  if ((f.ext & LLDP_EXT_DCBX) && is(kLldpOuiDcbx)) return RX_FRAME_OK;  // accepted, ignored
  RXTRACE("unknown org tlv received on port %s \r\n", c.ifName());
  return lldpRxKeepOrgTlv(c, v, len, true, "Unable to malloc %d buffer\r\n");
}

// The common failure exit: counters by code, then everything built is freed.
uint8_t rxFail(LldpRxCtx& c, uint8_t code) {
  LldpPort* p = c.port;
  switch (code) {
    case RX_FRAME_BAD_FRAME:
      lldpRxCountInErrors(p);
      lldpRxCountDiscarded(p);
      break;
    case RX_FRAME_BAD_TLV:
      lldpRxCountTlvDiscarded(p);
      lldpRxCountInErrors(p);
      lldpRxCountDiscarded(p);
      break;
    case RX_FRAME_NO_RESOURCE:
      lldpRxCountDiscarded(p);
      ++gLldpInfo.statsRemTablesDrops;
      break;
    default:
      break;
  }
  lldpDestroyTlvList(&c.unknownList);
  lldpDestroyTlvList(&c.orgList);
  if (c.msap != nullptr && c.msap->id == nullptr) {
    // Until the identifier is built the IDs have buffers of their own.
    silFree(c.msap->chassId);
    silFree(c.msap->portId);
    c.msap->chassId = c.msap->portId = nullptr;
  }
  lldpMsapCleanup(&c.msap);
  return code;
}

}  // namespace

uint8_t lldpRxKeepOrgTlv(LldpRxCtx& c, const uint8_t* v, uint16_t len, bool sizedMsg,
                         const char* copyFailMsg) {
  LldpTlv* t = copyTlv(LLDP_TLV_ORG, v, len, sizedMsg, copyFailMsg);
  if (t == nullptr) return RX_FRAME_NO_RESOURCE;
  RXTRACE("Adding exploded TLV to MSAP TLV list.\r\n");
  (void)lldpAddTlv(t, &c.orgList);  // as for unknown basic TLVs
  lldpRxCountTlvUnrecognized(c.port);
  return RX_FRAME_OK;
}

uint8_t lldpRxFrame(LldpPort* port) {
  LldpRxCtx c{};
  c.port = port;
  const uint8_t* frame = port->rx.frame;
  const uint32_t size = frame != nullptr ? port->rx.recvsize : 0;
  // Header bytes beyond the received length read as zero.
  auto at = [&](uint32_t i) -> uint8_t { return i < size ? frame[i] : 0; };
  // Nothing stored: a successful frame leaves rcvFrame set, so the machine
  // passes RX_FRAME once more with the buffer already released. There is no
  // frame to judge or count.
  if (size == 0) return RX_FRAME_FILTERED;

  OrgFamilies fam{};
  fam.ext = gLldpInfo.extEnabled;
  {
    ZorOctets o{fam.privOui, sizeof fam.privOui};
    fam.privKnown = zorScalarGetApi(0, kScalarPrivOui, &o) == 0 && o.len >= 3;
  }

  // 1. Destination address.
  uint8_t dst[6];
  for (uint32_t i = 0; i < 6; ++i) dst[i] = at(i);
  if (std::memcmp(dst, gLldpInfo.dstMac, 6) != 0) {
    RXTRACE("This frame is incorrectly addressed to: %02x.%02x.%02x.%02x.%02x.%02x\r\n", dst[0],
            dst[1], dst[2], dst[3], dst[4], dst[5]);
    RXTRACE("statsFramesInTotal will *NOT* be incremented\r\n");
    lldpRxCountDiscarded(port);
    return RX_FRAME_FILTERED;
  }

  // 2. The port's TPID (the platform is asked twice; a zero answer means the
  // default).
  uint32_t tpid = 0x8100;
  {
    uint32_t first = 0;
    if (zorIfGetApi(port->unit, kIfTpid, &first) == 0) {
      uint32_t second = 0;
      if (zorIfGetApi(port->unit, kIfTpid, &second) == 0)
        tpid = second != 0 ? second : 0x8100;
      else
        tpid = first;
    }
  }

  // 3. VLAN tag or LLDP EtherType.
  const uint32_t etherType = (uint32_t{at(12)} << 8) | at(13);
  bool tagged = false;
  uint16_t frameVid = 0;
  if (etherType == tpid) {
    tagged = true;
    frameVid = static_cast<uint16_t>(((at(14) << 8) | at(15)) & 0x0FFF);
    uint32_t vid = frameVid;
    const int known = zorIfGetApi(port->unit, kIfVlanQueryA, &vid);
    (void)zorIfGetApi(port->unit, kIfVlanQueryB, &vid);
    if (known == 0) {
      uint32_t pvid = 0;
      if (zorIfGetApi(port->unit, kIfPvid, &pvid) != 0) {
        lldpRxCountDiscarded(port);
        return RX_FRAME_FILTERED;
      }
      if (vid != pvid) {
        RXTRACE("This frame is from vlan %d, port %s pvid is %d.\r\n", static_cast<int>(vid),
                c.ifName(), static_cast<int>(pvid));
        lldpRxCountDiscarded(port);
        return RX_FRAME_FILTERED;
      }
    }
  } else if (etherType != gLldpInfo.dstEtherType) {
    RXTRACE("this frame tpid=0x%04x, sysTpid=0x%04x.\r\n", etherType, tpid);
    lldpRxCountDiscarded(port);
    return RX_FRAME_FILTERED;
  }

  // 4. The frame is received.
  ++port->statsFramesInTotal;
  ++gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_IN];

  // 5, 6. The new record.
  c.msap = static_cast<Msap*>(silCalloc(1, sizeof(Msap)));
  if (c.msap == nullptr) {
    RXTRACE("unable to allocate memory for MSAP received on port %s.\r\n", c.ifName());
    // Counted here and again at the failure exit: a failed record allocation
    // adds 2 to each counter, as the agent always has.
    ++gLldpInfo.statsRemTablesDrops;
    lldpRxCountDiscarded(port);
    return rxFail(c, RX_FRAME_NO_RESOURCE);
  }
  Msap* m = c.msap;
  m->unit = port->unit;
  m->mgmtAddrList = nullptr;
  for (uint32_t i = 0; i < 6; ++i) m->mac[i] = at(6 + i);
  if (tagged) m->rxVlan = frameVid;

  // TLV walk.
  uint32_t pos = port->rxLldpduOffset;
  // Frame I/O only knows the usual tag protocol identifiers; a frame tagged
  // with the port's own (possibly non-standard) TPID has its LLDPDU behind
  // the tag all the same.
  if (tagged && pos < 18) pos = 18;
  uint16_t count = 0;
  bool endSeen = false;
  while (pos < size && !endSeen) {
    ++count;
    RXTRACE("Processing TLV #: %d\r\n", count);
    const uint8_t h0 = at(pos);
    const uint8_t h1 = at(pos + 1);
    const auto type = static_cast<uint8_t>(h0 >> 1);
    const auto len = static_cast<uint16_t>(((h0 & 1u) << 8) | h1);
    if (count < 4 && type != count) {
      RXTRACE("TLV number %d should have tlv_type %d, but is actually %d\r\n", count, count, type);
      RXTRACE("statsFramesDiscardedTotal and statsFramesInErrorsTotal willbe incremented as per "
              "802.1AB 10.3.2\r\n");
      return rxFail(c, RX_FRAME_BAD_FRAME);
    }
    RXTRACE("TLV type: %d (%s)\tLength: %d\r\n", type, lldpTlvName(type), len);
    const uint32_t end = pos + 2u + len;
    if (end > size) {
      RXTRACE("Received a bad TLV:  %d bytes too long!  Frame will be skipped.\r\n",
              static_cast<int>(end - size));
      return rxFail(c, RX_FRAME_BAD_FRAME);
    }
    RXTRACE("TLV would read to: %d, Frame ends at: %d\r\n", end, size);
    const uint8_t* v = frame + pos + 2;
    uint8_t rc = RX_FRAME_OK;
    switch (type) {
      case LLDP_TLV_END:
        if (len != 0) {
          RXTRACE("lldp end received with size not null on port %s\r\n", c.ifName());
          rc = RX_FRAME_BAD_TLV;
          break;
        }
        if (end != size) RXTRACE("extra data after lldp end on port %s\r\n", c.ifName());
        endSeen = true;
        break;
      case LLDP_TLV_CHASSIS_ID:
      case LLDP_TLV_PORT_ID:
        rc = rxIdTlv(c, type, v, len, h1);
        break;
      case LLDP_TLV_TTL:
        if (len < 2) {
          RXTRACE("TTL TLV has an invalid length! Should be '2', but is:%d\r\n", len);
          rc = RX_FRAME_BAD_TLV;
          break;
        }
        if (len > 2) RXTRACE("TTL TLV has invalid length '%d' received on port %s \r\n", len, c.ifName());
        port->rxTTL = lldpGet16(v);
        RXTRACE("rxTTL is: %d\r\n", port->rxTTL);
        break;
      case LLDP_TLV_PORT_DESCR:
      case LLDP_TLV_SYS_NAME:
      case LLDP_TLV_SYS_DESCR:
        rc = rxTextTlv(c, type, v, len, h1);
        break;
      case LLDP_TLV_SYS_CAPS:
        if (len < 4) {
          RXTRACE("SystemCap tlv too small received on port %s \r\n", c.ifName());
          rc = RX_FRAME_BAD_TLV;
          break;
        }
        if (len > 4) RXTRACE("SystemCap TLV has invalid length '%d' received on port %s \r\n", len, c.ifName());
        std::memcpy(m->sysCap, v, 2);
        std::memcpy(m->sysCapEnabled, v + 2, 2);
        reverseBits(m->sysCap, 2);
        reverseBits(m->sysCapEnabled, 2);
        break;
      case LLDP_TLV_MGMT_ADDR:
        rc = rxMgmtAddrTlv(c, v, len);
        break;
      case LLDP_TLV_ORG:
        rc = rxOrgTlv(c, fam, v, len);
        break;
      default:
        rc = rxUnknownTlv(c, type, v, len);
        break;
    }
    if (rc != RX_FRAME_OK) return rxFail(c, rc);
    pos += 2u + len;
  }

  // Mandatory TLVs (TTL only through the order rule).
  if (m->chassId == nullptr || m->portId == nullptr || !endSeen) {
    RXTRACE("some mandatory tlv are missing for frame received on port %s \r\n", c.ifName());
    return rxFail(c, RX_FRAME_BAD_TLV);
  }

  // The MSAP identifier: chassis ID, 0, port ID, 0 in one buffer, so that the
  // table compares neighbours with one length test and one memcmp. Its length
  // is kept in 8 bits and wraps, as the agent always has.
  const uint32_t idSize = m->chassIdLen + m->portIdLen + 2u;
  auto* id = static_cast<uint8_t*>(silMalloc(idSize));
  if (id == nullptr) {
    RXTRACE("Unable to malloc %d buffer.\r\n", static_cast<int>(idSize));
    return rxFail(c, RX_FRAME_NO_RESOURCE);
  }
  std::memcpy(id, m->chassId, m->chassIdLen);
  id[m->chassIdLen] = 0;
  std::memcpy(id + m->chassIdLen + 1, m->portId, m->portIdLen);
  id[idSize - 1] = 0;
  silFree(m->chassId);
  silFree(m->portId);
  m->id = id;
  m->idLen = static_cast<uint8_t>(idSize);
  m->chassId = id;
  m->portId = id + m->chassIdLen + 1;

  m->rxInfoTTL = port->rxTTL;
  m->unknownTlvList = c.unknownList;
  m->orgTlvList = c.orgList;
  port->rcvFrame = 1;
  RXTRACE("Setting rxInfoTTL to: %d.\r\n", m->rxInfoTTL);
  if (lldpTraceOn(LLDP_TRC_RXFRAME)) {
    loggingDebugOutput(LLDP_MODULE_BASE + LLDP_TRC_RXFRAME, gLldpInfo.debugLevel[LLDP_TRC_RXFRAME], 2,
                       "Receive MSAP ID:\r\n");
    lldpDebugHex(m->id, m->idLen);
  }
  port->rxMsap = m;
  return RX_FRAME_OK;
}
