// LLDPDU construction: the Ethernet header, the mandatory and basic optional
// TLVs, the management address TLV, and the information and shutdown frames.
//
// Frames are written in place in the port's transmit buffer; no TLV list is
// built. Provider scratch buffers live on the stack. A TLV that does not fit
// sets the overflow flag and the rest of the frame is still tried, so the
// trace shows every TLV that was attempted; the frame is dropped at the end.
//
// REQUIRES: lldpLock held (runs on the protocol task under the agent lock).
#include <bit>
#include <cstring>

#include "base/lldp_info.h"
#include "base/lldp_trace.h"
#include "local/lldp_local.h"
#include "local/lldp_oid.h"
#include "platform/sil.h"
#include "platform/zor_if.h"
#include "port/lldp_mgmt_addr.h"
#include "tx/lldp_tx.h"
#include "tx/lldp_txcache.h"

namespace {


constexpr uint32_t kIfObjTpid = 162;
constexpr uint32_t kOidScratch = 128;

// Writes a TLV whose information is `n` bytes from `data`.
int txBytesTlv(LldpPort* port, uint32_t type, const uint8_t* data, uint32_t n) {
  uint8_t* p = lldpTxTlvOpen(port, type, n);
  if (p == nullptr) return -1;
  if (n != 0) std::memcpy(p + 2, data, n);
  return lldpTxTlvClose(port, n);
}

// One of the three text TLVs: a provider failure still sends the TLV, empty.
int txTextTlv(LldpPort* port, uint32_t type, int rc, const uint8_t* buf, uint32_t n,
              uint32_t cap) {
  if (rc != 0) n = 0;
  if (n > cap) n = cap;
  return txBytesTlv(port, type, buf, n);
}

// Frame header. Returns 0, or -1 when it does not fit in the mtu (then
// tx.sendsize stays 0).
int txFrameHeader(LldpPort* port) {
  port->tx.freesize = port->mtu;
  // After an MTU change whose bigger buffer could not be had, the buffer is
  // smaller than the mtu: never write past it.
  if (port->txSize != 0 && port->txSize < port->tx.freesize) port->tx.freesize = port->txSize;
  port->tx.sendsize = 0;
  port->tx.flags = 0;

  uint32_t tpid = 0;
  if (zorIfGetApi(port->unit, kIfObjTpid, &tpid) != 0) tpid = 0x8100;

  const uint32_t hdrLen = port->txTagVid == 0 ? 14 : 18;
  if (port->tx.freesize < hdrLen) {
    LLDP_TRACE(LLDP_TRC_TX, "freesize %d is not enough!if mtu %d.r\n", port->tx.freesize, port->mtu);
    return -1;
  }
  uint8_t* p = port->tx.frame;
  std::memcpy(p, gLldpInfo.dstMac, 6);
  std::memcpy(p + 6, port->portMac, 6);
  if (port->txTagVid == 0) {
    lldpPut16(p + 12, gLldpInfo.dstEtherType);
  } else {
    lldpPut16(p + 12, tpid);
    // Priority 4, drop-eligible clear.
    lldpPut16(p + 14, 0x8000u | (port->txTagVid & 0x0FFFu));
    lldpPut16(p + 16, gLldpInfo.dstEtherType);
  }
  port->tx.freesize -= hdrLen;
  port->tx.sendsize += hdrLen;
  return 0;
}

// Calls fn(n) for every bit n set in a bit string of Size bytes, in
// ascending order; bit n is bit 7 - n % 8 of byte n / 8. Most of a VLAN
// bitmap is zero: it is skipped 64 bytes at a time, then a word at a time.
template <uint32_t Size, typename Fn>
void txForEachBit(const uint8_t (&bits)[Size], Fn fn) {
  static_assert(Size % 8 == 0);
  constexpr uint32_t kBlock = Size < 64 ? Size : 64;
  static_assert(Size % kBlock == 0);
  for (uint32_t block = 0; block < Size; block += kBlock) {
    uint64_t words[kBlock / 8];
    std::memcpy(words, bits + block, kBlock);
    uint64_t any = 0;
#pragma GCC unroll 8
    for (uint64_t word : words) any |= word;
    if (any == 0) continue;
    for (uint32_t w = block; w < block + kBlock; w += 8) {
      uint64_t word;
      std::memcpy(&word, bits + w, 8);
      if (word == 0) continue;
      // Read big-endian: the stored bit order becomes most significant first.
      if constexpr (std::endian::native == std::endian::little) word = __builtin_bswap64(word);
      while (word != 0) {
        const uint32_t lead = static_cast<uint32_t>(std::countl_zero(word));
        fn(8 * w + lead);
        word &= ~(uint64_t{1} << (63 - lead));
      }
    }
  }
}

// Every VLAN id whose bit is set in a 512-byte VLAN bitmap (bit n is VLAN n + 1).
template <typename Fn>
void txForEachVid(const uint8_t (&bits)[512], Fn fn) {
  txForEachBit(bits, [&fn](uint32_t n) { fn(static_cast<uint16_t>(n + 1)); });
}

// Short frames go out as 64 bytes; the tail is cleared so that no stale
// buffer content leaves the box.
void txPadMinimum(LldpPort* port) {
  if (port->tx.sendsize < LLDP_TX_MIN_FRAME) {
    std::memset(port->tx.frame + port->tx.sendsize, 0, LLDP_TX_MIN_FRAME - port->tx.sendsize);
    port->tx.sendsize = LLDP_TX_MIN_FRAME;
  }
}

// Management address TLV body shared by the configured-entry and the
// MAC-address forms. `tlvLen` is the TLV information length the agent
// advertises for this address subtype; `oid` / `k` the encoded OID.
int txMgmtAddrWrite(LldpPort* port, uint8_t subtype, const uint8_t* addr, uint32_t a,
                    uint8_t ifSubtype, const uint8_t* oid, uint32_t k, uint32_t tlvLen) {
  // The advertised length follows the subtype, not the address: an entry
  // whose address is longer than its subtype suggests would write past the
  // TLV, so the space check covers what is actually written.
  const uint32_t written = 10 + a + k;
  const uint32_t need = written > tlvLen + 2 ? written : tlvLen + 2;
  if (need > port->tx.freesize) {
    port->tx.flags |= LLDP_TX_FLAG_OVERFLOW;
    return -1;
  }
  uint8_t* p = lldpTxTlvOpen(port, LLDP_TLV_MGMT_ADDR, tlvLen);
  if (p == nullptr) return -1;
  std::memset(p + 2, 0, need - 2);
  p[2] = static_cast<uint8_t>(a + 1);
  p[3] = subtype;
  std::memcpy(p + 4, addr, a);
  p[4 + a] = ifSubtype;
  lldpPut32(p + 5 + a, port->ifIndex);
  if (k == 0) {
    // No OID: the fixed length 14 is kept whatever the address length, and
    // TLV byte 15 carries the zero OID length.
    p[15] = 0;
  } else {
    p[9 + a] = static_cast<uint8_t>(k);
    std::memcpy(p + 10 + a, oid, k);
  }
  return lldpTxTlvClose(port, tlvLen);
}

}  // namespace

namespace {

struct ReverseTable {
  uint8_t r[256];
  constexpr ReverseTable() : r() {
    for (uint32_t b = 0; b < 256; ++b) {
      uint32_t v = b, x = 0;
      for (int i = 0; i < 8; ++i) {
        x = (x << 1) | (v & 1);
        v >>= 1;
      }
      r[b] = static_cast<uint8_t>(x);
    }
  }
};
constexpr ReverseTable kReverse;

}  // namespace

// The 16-bit value read big-endian, its bits reversed: each byte reversed,
// and the two bytes swapped.
uint16_t lldpTxReverse16(const uint8_t* bits2) {
  return static_cast<uint16_t>((kReverse.r[bits2[1]] << 8) | kReverse.r[bits2[0]]);
}

uint8_t lldpTxReverse8(uint8_t b) { return kReverse.r[b]; }

// ---- Basic TLVs --------------------------------------------------------------

int lldpEndofLldpduTlv(LldpPort* port) {
  if (lldpTxTlvOpen(port, LLDP_TLV_END, 0) == nullptr) return -1;
  return lldpTxTlvClose(port, 0);
}

int lldpChassisidTlv(LldpPort* port) {
  uint8_t buf[128];
  uint32_t subtype = 0;
  uint32_t n = sizeof buf;
  const uint8_t* id = buf;
  if (lldpGetChassisIdType(&subtype) != 0 || lldpGetChassisId(buf, &n) != 0) {
    subtype = 4;  // MAC address
    id = gLldpInfo.sysMac;
    n = 6;
  }
  if (n > sizeof buf) n = sizeof buf;
  uint8_t* p = lldpTxTlvOpen(port, LLDP_TLV_CHASSIS_ID, n + 1);
  if (p == nullptr) return -1;
  p[2] = static_cast<uint8_t>(subtype);
  std::memcpy(p + 3, id, n);
  return lldpTxTlvClose(port, n + 1);
}

int lldpPortIdTlv(LldpPort* port) {
  uint8_t buf[256];
  uint32_t n = sizeof buf;
  // A failing provider must not leak the scratch buffer: its port id goes
  // out as the subtype alone.
  if (lldpPortGetPortId(port, buf, &n) != 0) n = 0;
  if (n > sizeof buf) n = sizeof buf;
  uint8_t* p = lldpTxTlvOpen(port, LLDP_TLV_PORT_ID, n + 1);
  if (p == nullptr) return -1;
  p[2] = port->portIdSubtype;
  std::memcpy(p + 3, buf, n);
  return lldpTxTlvClose(port, n + 1);
}

int lldpTtlTlv(LldpPort* port, uint16_t ttl) {
  uint8_t* p = lldpTxTlvOpen(port, LLDP_TLV_TTL, 2);
  if (p == nullptr) return -1;
  lldpPut16(p + 2, ttl);
  return lldpTxTlvClose(port, 2);
}

int lldpPortDescrTlv(LldpPort* port) {
  uint8_t buf[256];
  uint32_t n = sizeof buf;
  const int rc = lldpPortGetDescr(port->unit, buf, &n);
  return txTextTlv(port, LLDP_TLV_PORT_DESCR, rc, buf, n, sizeof buf);
}

int lldpSysNameTlv(LldpPort* port) {
  uint8_t buf[256];
  uint32_t n = sizeof buf;
  const int rc = lldpGetSysName(buf, &n);
  return txTextTlv(port, LLDP_TLV_SYS_NAME, rc, buf, n, sizeof buf);
}

int lldpSysDescrTlv(LldpPort* port) {
  uint8_t buf[256];
  uint32_t n = sizeof buf;
  const int rc = lldpGetSysDescr(buf, &n);
  return txTextTlv(port, LLDP_TLV_SYS_DESCR, rc, buf, n, sizeof buf);
}

int lldpSysCapsTlv(LldpPort* port) {
  uint8_t* p = lldpTxTlvOpen(port, LLDP_TLV_SYS_CAPS, 4);
  if (p == nullptr) return -1;
  lldpPut16(p + 2, lldpTxReverse16(gLldpInfo.capSupported));
  lldpPut16(p + 4, lldpTxReverse16(gLldpInfo.capEnabled));
  return lldpTxTlvClose(port, 4);
}

int lldpMgmtAddrTlv(LldpPort* port, lldpMgmtAddr* mgmtAddr) {
  if (mgmtAddr == nullptr) return -1;
  uint8_t oid[kOidScratch];
  uint32_t k = 0;
  if (lldpMgmtAddrEncodeOid(mgmtAddr->mgmtAddrSubtype, 6, port->portMac, oid, &k) != 0 ||
      k > sizeof oid)
    k = 0;
  uint32_t a = mgmtAddr->mgmtAddrLen;
  if (a > LLDP_MGMT_ADDR_MAX) a = LLDP_MGMT_ADDR_MAX;
  uint32_t len;
  if (k == 0)
    len = 14;
  else if (mgmtAddr->mgmtAddrSubtype == 1)
    len = k + 12;
  else if (mgmtAddr->mgmtAddrSubtype == 6)
    len = k + 14;
  else
    len = k + 24;  // sized for IPv6
  mgmtAddr->mgmtAddrIfId = port->ifIndex;
  return txMgmtAddrWrite(port, mgmtAddr->mgmtAddrSubtype, mgmtAddr->mgmtAddr, a,
                         mgmtAddr->mgmtAddrIfSubtype, oid, k, len);
}

int lldpDefaultMgmtMacAddrTlv(LldpPort* port) {
  uint8_t oid[kOidScratch];
  uint32_t k = 0;
  if (lldpMgmtAddrEncodeOid(6, 6, port->portMac, oid, &k) != 0 || k > sizeof oid) k = 0;
  return txMgmtAddrWrite(port, 6, port->portMac, 6, 2, oid, k, 14 + k);
}

int lldpDefaultMgmtAddrTlv(LldpPort* port) {
  uint8_t* p = lldpTxTlvOpen(port, LLDP_TLV_MGMT_ADDR, 14);
  if (p == nullptr) return -1;
  p[2] = 7;
  p[3] = 6;
  std::memcpy(p + 4, port->portMac, 6);
  p[10] = 2;
  lldpPut32(p + 11, port->ifIndex);
  p[15] = 0;
  return lldpTxTlvClose(port, 14);
}

// ---- Frames -------------------------------------------------------------------

uint32_t lldpMibConstrInfoLLDPDU(LldpPort* port) {
  if (port->tx.frame == nullptr) return port->tx.sendsize;
  if (txFrameHeader(port) != 0) return 0;

  lldpChassisidTlv(port);
  lldpPortIdTlv(port);
  lldpTtlTlv(port, port->txTTL);

  const uint8_t basic = port->basicTlvTxEnabled;
  if (basic & 0x80) lldpPortDescrTlv(port);
  if (basic & 0x40) lldpSysNameTlv(port);
  if (basic & 0x20) lldpSysDescrTlv(port);
  if (basic & 0x10) lldpSysCapsTlv(port);

  // Only the first configured address is advertised.
  if (port->localMgmtAddrList == nullptr) {
    lldpMgmtAddr* sys = lldpPortGetLocalMgmtAddr(port);
    if (sys != nullptr)
      lldpMgmtAddrTlv(port, sys);
    else
      lldpDefaultMgmtMacAddrTlv(port);
  } else {
    lldpMgmtAddrTlv(port, port->localMgmtAddrList);
  }

  LldpTxCache cache;
  const uint32_t ext = gLldpInfo.extEnabled;
  if (ext & LLDP_EXT_DOT1) {
    if (port->pvidTxEnable == 1) lldpDot1PvidTlv(port, &cache);
    if (port->juniperTlvTxEnable == 1) lldpJuniperTlv(port, &cache);
    txForEachVid(port->ppvidTxEnable,
                 [port, &cache](uint16_t vid) { lldpDot1PpvidTlv(port, vid, &cache); });
    txForEachVid(port->vlanNameTxEnable, [port](uint16_t vid) { lldpDot1VlanNameTlv(port, vid); });
    if (port->protocolIdTxEnable == 1) {
      uint8_t bitmap[32] = {};
      uint32_t len = sizeof bitmap;
      if (lldpDot1PortGetProtoState(port->unit, bitmap, &len) == 0) {
        if (len > sizeof bitmap) len = sizeof bitmap;
        // Bytes past len are cleared so that the whole bitmap can be scanned.
        std::memset(bitmap + len, 0, sizeof bitmap - len);
        txForEachBit(bitmap, [port](uint32_t n) { lldpDot1ProtoTlv(port, n); });
      }
    }
  }

  if (ext & LLDP_EXT_DOT3) {
    const uint8_t m = port->dot3TlvTxEnabled;
    if (m & 0x80) lldpDot3MacPhyTlv(port);
    if (m & 0x40) lldpDot3MdiPowerTlv(port, &cache);
    if (m & 0x20) lldpDot3LinkAggTlv(port);
    if (m & 0x10) lldpDot3MaxFrameSizeTlv(port);
  }

  if (ext & LLDP_EXT_MED) {
    const uint8_t m = lldpTxMedMask(port);
    if (m & 0x80) lldpMedCapsTlv(port);
    if (m & 0x40)
      for (uint32_t t = 1; t <= 8; ++t) lldpMedPolicyTlv(port, t);
    if (m & 0x20)
      for (uint32_t f = 1; f <= 3; ++f) lldpMedLocationTlv(port, f);
    if (m & 0x10) lldpMedXpoepseTlv(port, &cache);
    if (m & 0x08) lldpMedXpoepdTlv(port);
    if (m & 0x04) {
      lldpMedHwrevTlv(port);
      lldpMedFwrevTlv(port);
      lldpMedSwrevTlv(port);
      lldpMedSnTlv(port);
      lldpMedMfgNameTlv(port);
      lldpMedModelNameTlv(port);
      lldpMedAssetIdTlv(port);
    }
  }

  if (ext & LLDP_EXT_PRIV) {
    const uint8_t m = port->privTlvTxEnabled[0];
    if (m & 0x80) lldpPrivCapsTlv(port, &cache);
    if (m & 0x40) lldpPrivSysOidTlv(port, &cache);
    if (m & 0x20)
      for (uint8_t subtype = 3; subtype <= 9; ++subtype) lldpPrivInventoryTlv(port, subtype, &cache);
  }

  lldpEndofLldpduTlv(port);
  LLDP_TRACE(LLDP_TRC_TX, "Would send data!lldpPort->tx.sendsize=%d, \r\n", port->tx.sendsize);
  txPadMinimum(port);
  if (port->tx.flags & LLDP_TX_FLAG_OVERFLOW) {
    LLDP_TRACE(LLDP_TRC_TX, "Tx frame length is longer than MTU!\r\n");
    LLDP_TRACE(LLDP_TRC_TX, "MTU = %d, sendSize = %d!\r\n", port->mtu, port->tx.sendsize);
    port->tx.sendsize = 0;
  }
  return port->tx.sendsize;
}

uint32_t lldpMibConstrShutdownLLDPDU(LldpPort* port) {
  if (port->tx.frame == nullptr) return port->tx.sendsize;
  if (txFrameHeader(port) != 0) return 0;
  lldpChassisidTlv(port);
  lldpPortIdTlv(port);
  lldpTtlTlv(port, 0);
  lldpEndofLldpduTlv(port);
  LLDP_TRACE(LLDP_TRC_TX, "Would send shutdown!lldpPort->tx.sendsize=%d, \r\n", port->tx.sendsize);
  txPadMinimum(port);
  if (port->tx.flags & LLDP_TX_FLAG_OVERFLOW) {
    LLDP_TRACE(LLDP_TRC_TX, "Tx frame length is longer than MTU(%d)!\r\n", port->mtu);
    port->tx.sendsize = 0;
  }
  return port->tx.sendsize;
}

// ---- Per-port TLV configuration ------------------------------------------------

int lldpTlvInitialize(LldpPort* port) {
  port->basicTlvTxSupported = 0xF0;
  port->basicTlvTxEnabled = 0xF0;
  port->pvidTxEnable = 2;
  port->dot1TlvTxSupported = 0;
  port->dot1TlvTxEnabled = 0;

  uint8_t scratch[1024];
  uint32_t len;
  auto fresh = [&]() {
    std::memset(scratch, 0, sizeof scratch);
    len = sizeof scratch;
  };
  // The providers' results are not looked at: a failing one leaves its
  // zeroed scratch, so that TLV family reads as unsupported / off.
  fresh();
  (void)lldpDot1PortGetCapSupported(port->unit, scratch, &len);
  port->dot1TlvTxSupported = scratch[0];
  fresh();
  (void)lldpDot3PortGetCapSupported(port->unit, scratch, &len);
  port->dot3TlvTxSupported = scratch[0];
  fresh();
  (void)lldpDot3PortGetCapDfltEnabled(port->unit, scratch, &len);
  port->dot3TlvTxEnabled = scratch[0];
  fresh();
  (void)lldpMedPortGetCapSupported(port->unit, scratch, &len);
  std::memcpy(port->medTlvTxSupported, scratch, 2);
  port->medTlvTxEnabled = 0;
  fresh();
  (void)lldpPrivPortGetCapSupported(port->unit, scratch, &len);
  std::memcpy(port->privTlvTxSupported, scratch, 2);
  fresh();
  (void)lldpPrivPortGetCapDfltEnabled(port->unit, scratch, &len);
  std::memcpy(port->privTlvTxEnabled, scratch, 2);
  return 0;
}

namespace {

void txFreeMgmtAddr(lldpMgmtAddr* m) {
  if (m->mgmtAddrOid != nullptr) silFree(m->mgmtAddrOid);
  if (m->mgmtAddrPort != nullptr) silFree(m->mgmtAddrPort);
  silFree(m);
}

}  // namespace

void lldpTlvCleanup(LldpPort* port) {
  if (port->medLocationCfg != nullptr) {
    if (port->medLocationCfg->data != nullptr) silFree(port->medLocationCfg->data);
    silFree(port->medLocationCfg);
    port->medLocationCfg = nullptr;
  }

  for (LldpVlanNameCfg* v = port->vlanNameCfgList; v != nullptr;) {
    LldpVlanNameCfg* next = v->next;
    if (v->name != nullptr) silFree(v->name);
    if (v->descr != nullptr) silFree(v->descr);
    silFree(v);
    v = next;
  }
  port->vlanNameCfgList = nullptr;

  for (lldpMgmtAddr* m = port->localMgmtAddrList; m != nullptr;) {
    lldpMgmtAddr* next = m->next;
    if (m->mgmtAddrPort != nullptr) {
      // The entry carries a port map: take this port out of it first.
      ZorIndexInfo info{};
      if (zorIndexTrans(port->unit, 3, &info) == 0 && info.index >= 1) {
        const uint32_t bit = info.index - 1;
        if (bit / 8 < m->mgmtAddrPortLen) lldpBitClear(m->mgmtAddrPort, bit);
      }
    }
    txFreeMgmtAddr(m);
    m = next;
  }
  port->localMgmtAddrList = nullptr;

  if (port->sysMgmtAddrCache != nullptr) {
    txFreeMgmtAddr(port->sysMgmtAddrCache);
    port->sysMgmtAddrCache = nullptr;
  }

  for (LldpMedLocation& loc : port->medLocation) {
    if (loc.data != nullptr) silFree(loc.data);
    loc.data = nullptr;
    loc.len = 0;
    loc.present = 0;
  }
  std::memset(port->medState, 0, sizeof port->medState);
  port->medStateWord = 0;
}
