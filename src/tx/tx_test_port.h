// Test support for the transmit path: a port record built by hand on the
// simulated platform, the agent settings the builders read, and a
// configuration that turns every TLV family and every optional TLV on.
// Used by the transmit unit tests, the tshark cross-check, the benchmark and
// the seed-corpus generator.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "base/lldp_info.h"
#include "local/lldp_local.h"
#include "platform/sil.h"
#include "platform/sim/sim.h"
#include "platform/zor_socket.h"
#include "tx/lldp_tx.h"

namespace txtest {

constexpr uint32_t kUnit = 5;
constexpr uint32_t kIfIndex = 7;
inline const std::vector<uint8_t> kPortMac = {0x00, 0x1b, 0x21, 0x0a, 0x0b, 0x0c};
inline const std::vector<uint8_t> kSysMac = {0x00, 0x1b, 0x21, 0x00, 0x00, 0x01};
// The private OUI the receive tests and fuzzer configure too, so that the
// frames built here seed the private decoders.
inline const std::vector<uint8_t> kPrivOui = {0x00, 0x1e, 0x73};
constexpr uint32_t kEnterprise = 56789;

inline void setInv(uint8_t* dst, uint8_t* len, const char* s) {
  *len = static_cast<uint8_t>(std::strlen(s));
  std::memcpy(dst, s, *len);
}

// The platform objects of a plain switch, on a platform that is not reset:
// the port "ge-0/0/5" with its description, the system MAC, name and
// description. agentDefaults() sets them too; a test that runs a whole agent
// calls this alone to build frames on a second port of that agent.
inline void platformDefaults() {
  sim::addInterface(kUnit, "ge-0/0/5", kIfIndex, kPortMac, 1522);
  sim::setOctets(sim::Svc::Scalar, 0, 6, kSysMac);
  sim::setString(sim::Svc::Scalar, 0, 50, "sw-core-1");
  sim::setString(sim::Svc::Scalar, 0, 58, "LLDP agent test switch");
  sim::setString(sim::Svc::If, kUnit, 2, "GigabitEthernet 5");
  sim::setString(sim::Svc::If, kUnit, 4, "uplink to rack 7");
}

// Agent record and platform objects for a plain switch: system name and
// description, the port "ge-0/0/5" with its description, standard mode.
inline void agentDefaults() {
  sim::reset();
  gLldpInfo = LldpInfo{};
  std::memcpy(gLldpInfo.sysMac, kSysMac.data(), 6);
  gLldpInfo.reinitDelay = 2;
  gLldpInfo.msgTxHold = 4;
  gLldpInfo.msgTxInterval = 30;
  gLldpInfo.txDelay = 2;
  gLldpInfo.medFastStartRepeatCount = 3;
  gLldpInfo.mode = LLDP_MODE_STANDARD;
  const uint8_t mcast[6] = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E};
  std::memcpy(gLldpInfo.dstMac, mcast, 6);
  gLldpInfo.dstEtherType = 0x88CC;
  gLldpInfo.capSupported[0] = 0x28;  // bridge, router (bits 2 and 4)
  gLldpInfo.capEnabled[0] = 0x20;    // bridge
  gLldpInfo.medDeviceType = 4;
  gLldpInfo.medPoeDeviceType = 2;
  gLldpInfo.enterpriseOid = kEnterprise;
  gLldpInfo.globalAdminStatus = 1;
  gLldpInfo.debugFlags = 0x100;
  gLldpInfo.dataSock = zor_socket(ZOR_AF_PACKET, ZOR_SOCK_RAW, 0x88CC);
  platformDefaults();
}

// A port record with a transmit buffer of max(mtu, 64) bytes, as the port
// table would give it, with the TLV settings a fresh port gets.
struct Port {
  LldpPort p{};
  explicit Port(uint32_t mtu = 1522, uint32_t unit = kUnit) {
    p.unit = unit;
    p.ifIndex = kIfIndex;
    p.mtu = mtu;
    p.msapList.next = p.msapList.prev = &p.msapList;
    std::memcpy(p.portMac, kPortMac.data(), 6);
    p.txSize = mtu < 64 ? 64 : mtu;
    p.tx.frame = static_cast<uint8_t*>(silMalloc(p.txSize));
    p.portEnabled = 1;
    p.adminStatus = LLDP_ADMIN_TXRX;
    p.reinitDone = 1;
    p.portIdSubtype = 5;
    lldpTlvInitialize(&p);
    lldpTxInitialize(&p);
    p.txTTL = 120;
  }
  ~Port() {
    lldpTlvCleanup(&p);
    if (p.tx.frame != nullptr) silFree(p.tx.frame);
  }
  Port(const Port&) = delete;
  Port& operator=(const Port&) = delete;
  LldpPort* operator->() { return &p; }
  LldpPort* get() { return &p; }
  std::vector<uint8_t> frame() const {
    return std::vector<uint8_t>(p.tx.frame, p.tx.frame + p.tx.sendsize);
  }
  // Empties the buffer so that one builder's output can be read on its own.
  void clearBuffer() {
    p.tx.sendsize = 0;
    p.tx.freesize = p.mtu;
    p.tx.flags = 0;
  }
};

inline uint8_t* copyBytes(const std::vector<uint8_t>& v) {
  auto* d = static_cast<uint8_t*>(silMalloc(static_cast<uint32_t>(v.size())));
  std::memcpy(d, v.data(), v.size());
  return d;
}

// A management address entry of the given subtype (1 IPv4, 2 IPv6),
// interface numbering ifIndex; freed with silFree (or the TLV cleanup).
inline lldpMgmtAddr* newAddr(uint8_t subtype, const std::vector<uint8_t>& addr) {
  auto* m = static_cast<lldpMgmtAddr*>(silCalloc(1, sizeof(lldpMgmtAddr)));
  m->mgmtAddrSubtype = subtype;
  m->mgmtAddrIfSubtype = 2;
  m->mgmtAddrLen = static_cast<uint8_t>(addr.size());
  std::memcpy(m->mgmtAddr, addr.data(), addr.size());
  return m;
}

// Platform objects and port settings for every TLV family and every optional
// TLV: three VLAN names, two PPVIDs, four protocol identities, all eight
// network policies, the three location formats, both extended power forms,
// the MED and private inventories.
inline void enableEverything(LldpPort* p) {
  gLldpInfo.extEnabled = LLDP_EXT_DOT1 | LLDP_EXT_DOT3 | LLDP_EXT_MED | LLDP_EXT_PRIV;
  setInv(gLldpInfo.medHwRev, &gLldpInfo.medHwRevLen, "HW-2.1");
  setInv(gLldpInfo.medFwRev, &gLldpInfo.medFwRevLen, "FW-1.0.7");
  setInv(gLldpInfo.medSwRev, &gLldpInfo.medSwRevLen, "SW-5.4.3");
  setInv(gLldpInfo.medSn, &gLldpInfo.medSnLen, "SN0001234");
  setInv(gLldpInfo.medMfgName, &gLldpInfo.medMfgNameLen, "ZOR Networks");
  setInv(gLldpInfo.medModelName, &gLldpInfo.medModelNameLen, "LLDP");
  setInv(gLldpInfo.medAssetId, &gLldpInfo.medAssetIdLen, "ASSET-42");

  const uint32_t u = p->unit;
  sim::setInt(sim::Svc::If, u, 159, 100);  // PVID
  // Protocol bitmap: dot1x (0), lacp (2), lldp (7), y1731 (143), and PoE (183).
  std::vector<uint8_t> protos(48, 0);
  protos[0] = 0xA1;
  protos[17] = 0x01;
  protos[22] = 0x01;
  sim::setOctets(sim::Svc::If, u, 55, protos);
  sim::setInt(sim::Svc::If, u, 133, 1);
  sim::setInt(sim::Svc::If, u, 131, 1);
  sim::setOctets(sim::Svc::If, u, 141, {0x6c, 0x01});
  sim::setInt(sim::Svc::If, u, 145, 30);
  sim::setInt(sim::Svc::If, u, 235, 1);
  sim::setInt(sim::Svc::If, u, 236, 12);
  sim::setInt(sim::Svc::Poe, u, 1, 1);
  sim::setInt(sim::Svc::Poe, u, 2, 1);
  sim::setInt(sim::Svc::Poe, u, 3, 2);
  sim::setInt(sim::Svc::Poe, u, 5, 1);  // priority 2 after mapping
  sim::setInt(sim::Svc::Poe, u, 7, 4);  // class 5: 30000 mW
  sim::setInt(sim::Svc::Hw, 0, 198, 2);
  sim::setOctets(sim::Svc::Scalar, 0, 39, kPrivOui);
  sim::setOctets(sim::Svc::Snmp, 0, 46, {0x2b, 0x06, 0x01, 0x04, 0x01, 0x83, 0xbb, 0x55});

  p->pvidTxEnable = 1;
  p->juniperTlvTxEnable = 1;
  p->protocolIdTxEnable = 1;
  lldpBitSet(p->ppvidTxEnable, 10 - 1);
  lldpBitSet(p->ppvidTxEnable, 4094 - 1);
  lldpBitSet(p->vlanNameTxEnable, 1 - 1);
  lldpBitSet(p->vlanNameTxEnable, 100 - 1);
  lldpBitSet(p->vlanNameTxEnable, 4000 - 1);
  p->dot3TlvTxEnabled = 0xF8;
  p->medTlvTxSupported[0] = 0xFC;
  lldpTxSetMedMask(p, 0xFC);
  p->privTlvTxSupported[0] = 0xE0;
  p->privTlvTxEnabled[0] = 0xE0;

  for (uint8_t t = 1; t <= 8; ++t) {
    LldpMedPolicy& pol = p->medPolicy[t - 1];
    pol.appType = t;
    pol.unknown = t == 8 ? 1 : 0;
    pol.tagged = t % 2;
    pol.priority = static_cast<uint8_t>(t - 1);
    pol.dscp = static_cast<uint8_t>(8 * t - 2);
    pol.vid = static_cast<uint16_t>(100 + t);
  }
  for (uint32_t f = 1; f <= 3; ++f) {
    uint8_t buf[256];
    uint32_t n = sizeof buf;
    if (lldpMedPortGetLocation(u, f, buf, &n) != 0) continue;
    LldpMedLocation& loc = p->medLocation[f - 1];
    loc.present = 1;
    loc.len = static_cast<uint16_t>(n);
    loc.data = copyBytes(std::vector<uint8_t>(buf, buf + n));
  }
}

inline std::vector<uint8_t> hex(const std::string& s) {
  std::vector<uint8_t> out;
  int hi = -1;
  for (char c : s) {
    int v;
    if (c >= '0' && c <= '9') v = c - '0';
    else if (c >= 'a' && c <= 'f') v = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F') v = c - 'A' + 10;
    else continue;
    if (hi < 0) {
      hi = v;
    } else {
      out.push_back(static_cast<uint8_t>(hi << 4 | v));
      hi = -1;
    }
  }
  return out;
}

// One TLV of a built frame.
struct Tlv {
  uint32_t type;
  std::vector<uint8_t> value;
  bool operator==(const Tlv&) const = default;
};

// Walks the TLVs of a frame from `offset` (14 untagged, 18 tagged) up to and
// including End of LLDPDU; stops early on a TLV that runs past the frame.
inline std::vector<Tlv> tlvs(const std::vector<uint8_t>& f, size_t offset = 14) {
  std::vector<Tlv> out;
  size_t i = offset;
  while (i + 2 <= f.size()) {
    const uint32_t type = f[i] >> 1;
    const uint32_t len = (static_cast<uint32_t>(f[i] & 1) << 8) | f[i + 1];
    if (i + 2 + len > f.size()) break;
    out.push_back({type, std::vector<uint8_t>(f.begin() + static_cast<long>(i) + 2,
                                              f.begin() + static_cast<long>(i + 2 + len))});
    i += 2 + len;
    if (type == 0) break;
  }
  return out;
}

}  // namespace txtest
