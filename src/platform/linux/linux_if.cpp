// Interface, system and hardware objects on Linux.
//
// Interface objects come from the link table (linux_netlink.cpp), ethtool and
// the address list; system objects from the host name, uname and DMI; what
// Linux cannot tell (PVID, PoE, voice VLAN, LLDP-MED classes, the private OUI)
// from `host.` options (docs/options.md).
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <mutex>
#include <string>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "platform/linux/linux_platform.h"
#include "platform/zor_hwil.h"
#include "platform/zor_if.h"

namespace {

int putInt(void* out, uint32_t v) {
  if (!out) return -1;
  std::memcpy(out, &v, sizeof v);
  return 0;
}

int putOctets(void* out, const void* data, size_t n) {
  if (!out) return -1;
  ZorOctets o;
  std::memcpy(&o, out, sizeof o);
  if (!o.buf) return -1;
  const uint32_t take = static_cast<uint32_t>(std::min<size_t>(n, o.len));
  if (take) std::memcpy(o.buf, data, take);
  o.len = take;
  std::memcpy(out, &o, sizeof o);
  return 0;
}

int putString(void* out, const std::string& s) { return putOctets(out, s.data(), s.size()); }

bool liveLink(uint32_t unit, lnx::Link* l) { return lnx::linkGet(unit, l) && !l->gone; }

std::string readFirstLine(const std::string& path) {
  std::ifstream f(path);
  std::string s;
  if (!f || !std::getline(f, s)) return "";
  while (!s.empty() && (s.back() == ' ' || s.back() == '\r')) s.pop_back();
  return s;
}

// A host option, else a DMI field; empty when neither is there.
std::string inventory(const char* key, const char* dmiField) {
  std::string v;
  if (lnx::optGet(key, &v)) return v;
  if (!dmiField) return "";
  return readFirstLine(std::string("/sys/class/dmi/id/") + dmiField);
}

bool parseMac(const std::string& s, uint8_t* mac, size_t n) {
  unsigned v[8] = {};
  size_t i = 0;
  const char* p = s.c_str();
  while (i < n) {
    char* end = nullptr;
    const unsigned long x = std::strtoul(p, &end, 16);
    if (end == p || x > 255) return false;
    v[i++] = static_cast<unsigned>(x);
    p = end;
    if (i < n) {
      if (*p != ':' && *p != '-') return false;
      ++p;
    }
  }
  if (*p != '\0') return false;
  for (size_t k = 0; k < n; ++k) mac[k] = static_cast<uint8_t>(v[k]);
  return true;
}

// ---- ethtool -------------------------------------------------------------
struct EthInfo {
  bool ok = false;
  bool anSupported = false, anEnabled = false;
  uint32_t advertised = 0;
  uint32_t speed = 0;
  uint8_t duplex = 0, port = 0;
};

EthInfo ethtoolGet(const std::string& name) {
  EthInfo e;
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return e;
  ethtool_cmd cmd{};
  cmd.cmd = ETHTOOL_GSET;
  ifreq ifr{};
  std::snprintf(ifr.ifr_name, sizeof ifr.ifr_name, "%s", name.c_str());
  ifr.ifr_data = reinterpret_cast<char*>(&cmd);
  if (::ioctl(fd, SIOCETHTOOL, &ifr) == 0) {
    e.ok = true;
    e.anSupported = (cmd.supported & SUPPORTED_Autoneg) != 0;
    e.anEnabled = cmd.autoneg == AUTONEG_ENABLE;
    e.advertised = cmd.advertising;
    e.speed = ethtool_cmd_speed(&cmd);
    e.duplex = cmd.duplex;
    e.port = cmd.port;
  }
  ::close(fd);
  return e;
}

// ethtool's advertised modes as the 16 bits of ifMauAutoNegCapAdvertisedBits
// (bit 0 = "other" = most significant bit of the first octet).
uint16_t advertisedBits(uint32_t adv) {
  uint16_t bits = 0;
  auto set = [&bits](int n) { bits = static_cast<uint16_t>(bits | (0x8000u >> n)); };
  if (adv & ADVERTISED_10baseT_Half) set(1);
  if (adv & ADVERTISED_10baseT_Full) set(2);
  if (adv & ADVERTISED_100baseT_Half) set(4);
  if (adv & ADVERTISED_100baseT_Full) set(5);
  if (adv & ADVERTISED_Pause) set(10);
  if (adv & ADVERTISED_Asym_Pause) set(9);
  if (adv & ADVERTISED_1000baseT_Half) set(14);
  if (adv & ADVERTISED_1000baseT_Full) set(15);
  const uint32_t known = ADVERTISED_10baseT_Half | ADVERTISED_10baseT_Full |
                         ADVERTISED_100baseT_Half | ADVERTISED_100baseT_Full |
                         ADVERTISED_1000baseT_Half | ADVERTISED_1000baseT_Full |
                         ADVERTISED_Pause | ADVERTISED_Asym_Pause | ADVERTISED_Autoneg |
                         ADVERTISED_TP | ADVERTISED_FIBRE | ADVERTISED_MII;
  if (adv & ~known) set(0);
  return bits;
}

// Operational MAU type (IANA-MAU-MIB) from speed, duplex and medium.
uint32_t mauType(const EthInfo& e) {
  const bool full = e.duplex == DUPLEX_FULL;
  const bool fibre = e.port == PORT_FIBRE;
  switch (e.speed) {
    case 10: return full ? 11 : 10;
    case 100: return fibre ? (full ? 18 : 17) : (full ? 16 : 15);
    case 1000: return fibre ? (full ? 22 : 21) : (full ? 30 : 29);
    case 10000: return fibre ? 33 : 54;
    default: return 0;
  }
}

// ---- addresses -------------------------------------------------------------
struct Addr {
  uint32_t ifindex;
  std::string ifname;
  uint8_t family;  // 1 IPv4, 2 IPv6
  uint8_t bytes[16];
};

std::vector<Addr> readHostAddresses() {
  std::vector<Addr> out;
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return out;
  for (ifaddrs* a = list; a; a = a->ifa_next) {
    if (!a->ifa_addr || !a->ifa_name) continue;
    Addr x{};
    x.ifname = a->ifa_name;
    x.ifindex = if_nametoindex(a->ifa_name);
    if (a->ifa_addr->sa_family == AF_INET) {
      sockaddr_in sin;
      std::memcpy(&sin, a->ifa_addr, sizeof sin);
      const uint32_t h = ntohl(sin.sin_addr.s_addr);
      if ((h >> 24) == 127) continue;
      x.family = 1;
      std::memcpy(x.bytes, &sin.sin_addr, 4);
    } else if (a->ifa_addr->sa_family == AF_INET6) {
      sockaddr_in6 sin6;
      std::memcpy(&sin6, a->ifa_addr, sizeof sin6);
      if (IN6_IS_ADDR_LINKLOCAL(&sin6.sin6_addr) || IN6_IS_ADDR_LOOPBACK(&sin6.sin6_addr))
        continue;
      x.family = 2;
      std::memcpy(x.bytes, &sin6.sin6_addr, 16);
    } else {
      continue;
    }
    out.push_back(x);
  }
  freeifaddrs(list);
  std::stable_sort(out.begin(), out.end(),
                   [](const Addr& a, const Addr& b) { return a.ifindex < b.ifindex; });
  return out;
}

// The host's addresses, read again at most every kHostAddrMs. Building the
// frames of many ports asks for them once per port and address family, and
// every read is a netlink dump of each interface and address of the host:
// with 256 ports whose frames fall due in the same second, reading them
// each time held the agent off its receive ring long enough to lose frames.
constexpr int64_t kHostAddrMs = 1000;
std::vector<Addr> hostAddresses() {
  static std::mutex lock;
  static std::vector<Addr> cached;
  static int64_t readAt = 0;
  static bool read = false;
  timespec t{};
  ::clock_gettime(CLOCK_MONOTONIC, &t);
  const int64_t now = int64_t{t.tv_sec} * 1000 + t.tv_nsec / 1000000;
  std::lock_guard<std::mutex> g(lock);
  if (!read || now - readAt >= kHostAddrMs) {
    cached = readHostAddresses();
    readAt = now;
    read = true;
  }
  return cached;
}

bool configuredMgmtAddr(uint8_t family, Addr* out) {
  std::string v;
  if (!lnx::optGet("host.mgmtaddr", &v) || v.empty()) return false;
  Addr a{};
  if (family == 1 && inet_pton(AF_INET, v.c_str(), a.bytes) == 1) {
    a.family = 1;
  } else if (family == 2 && inet_pton(AF_INET6, v.c_str(), a.bytes) == 1) {
    a.family = 2;
  } else {
    return false;
  }
  *out = a;
  return true;
}

bool ownAddress(uint32_t unit, Addr* out) {
  const uint32_t ifindex = lnx::ifindexOfUnit(unit);
  if (ifindex == 0) return false;
  for (uint8_t fam : {uint8_t{1}, uint8_t{2}})
    for (const Addr& a : hostAddresses())
      if (a.ifindex == ifindex && a.family == fam) {
        *out = a;
        return true;
      }
  return false;
}

std::string systemDescription() {
  std::string v;
  if (lnx::optGet("host.sysdescr", &v)) return v;
  utsname u{};
  if (uname(&u) != 0) return "Linux";
  return std::string(u.sysname) + " " + u.nodename + " " + u.release + " " + u.version + " " +
         u.machine;
}

bool systemMac(uint8_t* mac) {
  std::string v;
  if (lnx::optGet("host.sysmac", &v)) return parseMac(v, mac, 6);
  bool found = false;
  uint8_t best[6] = {};
  // Before the netlink thread has reported anything (the agent asks at start),
  // ask the kernel directly.
  std::vector<lnx::Link> links = lnx::linkAll();
  if (links.empty()) links = lnx::linkScan();
  for (const lnx::Link& l : links) {
    if (!l.isPort || l.gone || l.remote) continue;
    static const uint8_t zero[6] = {};
    if (std::memcmp(l.mac, zero, 6) == 0) continue;
    if (!found || std::memcmp(l.mac, best, 6) < 0) {
      std::memcpy(best, l.mac, 6);
      found = true;
    }
  }
  if (!found) return false;
  std::memcpy(mac, best, 6);
  return true;
}

uint32_t gProtoAnnounce = 0;  // hardware scalar 499
uint16_t gRegisteredEtherType = 0x88CC;

}  // namespace

int zorIfGetApi(uint32_t unit, uint32_t objId, void* out) {
  // The TPID (asked twice for every frame received), the PVID and the VLAN
  // filter of a tagged one come from the options: they need the link to be
  // there, not a copy of its record, and the options only when they change.
  switch (objId) {
    case 159:
    case 162:
    case 211: {
      if (!lnx::linkLive(unit)) return -1;
      static std::atomic<uint64_t> pvid{0}, tpid{0}, filter{0};
      if (objId == 159)
        return putInt(out, lnx::optCached(&pvid, [] {
                        return static_cast<uint32_t>(lnx::optLong("host.pvid", 1));
                      }));
      if (objId == 162)
        return putInt(out, lnx::optCached(&tpid, [] {
                        return static_cast<uint32_t>(lnx::optLong("host.tpid", 0x8100));
                      }));
      // Tagged LLDPDUs are held against the PVID unless switched off.
      return lnx::optCached(&filter, [] { return lnx::optBool("host.vlanfilter", true) ? 1u : 0u; }) ? 0
                                                                                                   : -1;
    }
    case 210:  // the VID is taken as it is
      return lnx::linkLive(unit) ? 0 : -1;
    default:
      break;
  }
  lnx::Link l;
  const bool known = lnx::linkGet(unit, &l);
  if (objId == 13) return putInt(out, known && l.isPort && !l.gone ? 0 : 1);
  if (!known || l.gone) return -1;
  switch (objId) {
    case 2:  // description
    case 3:  // name
      return putString(out, l.name);
    case 4:
      return putString(out, l.alias);
    case 10:  // aggregation kind: 0x40000 takes LLDP off the members
      if (l.kind != "bond" && l.kind != "team") return -1;
      return putInt(out, lnx::optString("host.bondmembers", "keep") == "drop" ? 0x40000u : 0u);
    case 17: {
      Addr a;
      return putInt(out, ownAddress(unit, &a) ? 1 : 2);
    }
    case 19:
      return putInt(out, lnx::linkOperUp(l) ? 1 : 2);
    case 33:
      return putOctets(out, l.mac, 6);
    case 55: {
      uint8_t bits[48] = {};
      if (lnx::frameGroupJoined(unit)) bits[7 / 8] |= static_cast<uint8_t>(0x80u >> (7 % 8));
      if (lnx::optBool("host.poe", false)) bits[183 / 8] |= static_cast<uint8_t>(0x80u >> (183 % 8));
      return putOctets(out, bits, sizeof bits);
    }
    case 78:
      return putInt(out, l.mtu + lnx::kFrameOverhead);
    case 98: {
      Addr a;
      if (!ownAddress(unit, &a)) return -1;
      uint8_t b[18] = {};
      b[0] = a.family;
      b[1] = a.family == 1 ? 4 : 16;
      std::memcpy(b + 2, a.bytes, b[1]);
      return putOctets(out, b, 2u + b[1]);
    }
    case 131:
    case 133:
    case 141:
    case 145: {
      if (objId == 145 && lnx::optGet("host.mautype", nullptr))
        return putInt(out, static_cast<uint32_t>(lnx::optLong("host.mautype", 0)));
      const EthInfo e = ethtoolGet(l.name);
      if (!e.ok) return -1;
      if (objId == 131) return putInt(out, e.anEnabled ? 1 : 2);
      if (objId == 133) return putInt(out, e.anSupported ? 1 : 2);
      if (objId == 145) return putInt(out, mauType(e));
      const uint16_t bits = advertisedBits(e.advertised);
      const uint8_t b[2] = {static_cast<uint8_t>(bits >> 8), static_cast<uint8_t>(bits)};
      return putOctets(out, b, 2);
    }
    case 235: {
      lnx::Link m;
      const bool inAgg = l.master && lnx::linkGet(lnx::unitOfIfindex(l.master), &m) &&
                         (m.kind == "bond" || m.kind == "team");
      return putInt(out, inAgg ? 1 : 2);
    }
    case 236: {
      lnx::Link m;
      const uint32_t bond = lnx::unitOfIfindex(l.master);
      if (!l.master || !lnx::linkGet(bond, &m) || (m.kind != "bond" && m.kind != "team")) return -1;
      return putInt(out, bond);
    }
    default:
      return -1;
  }
}

int zorIfSetApi(uint32_t unit, uint32_t objId, void* in) {
  if (!in) return -1;
  switch (objId) {
    case 53: return lnx::frameGroupSet(unit, 1, true);
    case 54: return lnx::frameGroupSet(unit, 1, false);
    case 56: return lnx::frameGroupSet(unit, 2, true);
    case 57: return lnx::frameGroupSet(unit, 2, false);
    default: return -1;
  }
}

int zorProtoSetApi(uint32_t /*unit*/, uint32_t objId, void* in) {
  if (objId != 14 || !in) return -1;
  // The 28-octet protocol record carries the EtherType in its first two
  // octets. The frame socket's kernel filter takes both LLDP types already.
  const auto* r = static_cast<const uint8_t*>(in);
  std::memcpy(&gRegisteredEtherType, r, 2);
  return 0;
}

int zorScalarGetApi(uint32_t /*unit*/, uint32_t objId, void* out) {
  switch (objId) {
    case 6: {
      uint8_t mac[6];
      if (!systemMac(mac)) return -1;
      return putOctets(out, mac, 6);
    }
    case 7: { auto s = inventory("host.hwrev", "product_version"); return s.empty() ? -1 : putString(out, s); }
    case 8: {
      std::string s;
      if (!lnx::optGet("host.swrev", &s)) {
        utsname u{};
        if (uname(&u) == 0) s = std::string(u.sysname) + " " + u.release;
      }
      return s.empty() ? -1 : putString(out, s);
    }
    case 39: {
      // Asked for every frame received. Default: a company ID with the
      // locally-assigned bit, not an IEEE OUI. Bit 24 says the option parsed.
      static std::atomic<uint64_t> cell{0};
      const uint32_t v = lnx::optCached(&cell, [] {
        uint8_t o[3];
        if (!parseMac(lnx::optString("host.privateoui", "0a:00:5a"), o, 3)) return 0u;
        return 1u << 24 | uint32_t{o[0]} << 16 | uint32_t{o[1]} << 8 | o[2];
      });
      if (!(v >> 24)) return -1;
      const uint8_t oui[3] = {static_cast<uint8_t>(v >> 16), static_cast<uint8_t>(v >> 8),
                              static_cast<uint8_t>(v)};
      return putOctets(out, oui, 3);
    }
    case 49: { auto s = inventory("host.serial", "product_serial"); return s.empty() ? -1 : putString(out, s); }
    case 50: {
      std::string s;
      if (!lnx::optGet("host.sysname", &s)) {
        char h[256] = {};
        if (gethostname(h, sizeof h - 1) != 0) return -1;
        s = h;
      }
      return putString(out, s);
    }
    case 52: { auto s = inventory("host.assetid", "chassis_asset_tag"); return s.empty() ? -1 : putString(out, s); }
    case 53: { auto s = inventory("host.manufacturer", "sys_vendor"); return s.empty() ? -1 : putString(out, s); }
    case 57: { auto s = inventory("host.fwrev", "bios_version"); return s.empty() ? -1 : putString(out, s); }
    case 58:
      return putString(out, systemDescription());
    case 128:
      return putInt(out, static_cast<uint32_t>(lnx::optLong("host.meddevclass", 4)));
    case 129: {
      // Capabilities, network policy, location, inventory; extended power
      // (PSE) only with PoE. Bit 0 is the most significant bit of octet 0.
      long caps = lnx::optLong("host.medcaps", -1);
      if (caps < 0) caps = 0xE400 | (lnx::optBool("host.poe", false) ? 0x1000 : 0);
      const uint8_t b[2] = {static_cast<uint8_t>(caps >> 8), static_cast<uint8_t>(caps)};
      return putOctets(out, b, 2);
    }
    default:
      return -1;
  }
}

int zorIfUnit2Name(uint32_t unit, char* name) {
  if (!name) return -1;
  name[0] = '\0';
  lnx::Link l;
  if (lnx::linkGet(unit, &l)) {
    std::snprintf(name, ZOR_IFNAME_LEN, "%s", l.name.c_str());
    return 0;
  }
  char buf[IF_NAMESIZE + 1] = {};
  const uint32_t ifindex = lnx::ifindexOfUnit(unit);
  if (ifindex != 0 && if_indextoname(ifindex, buf)) {
    std::snprintf(name, ZOR_IFNAME_LEN, "%s", buf);
    return 0;
  }
  return -1;
}

int zorIfIndex2Name(uint32_t ifIndex, char* name) { return zorIfUnit2Name(ifIndex, name); }

int zorIndexTrans(uint32_t unit, uint32_t kind, ZorIndexInfo* out) {
  if (!out) return -1;
  lnx::Link l;
  // A removed interface still translates, so that its removal can be handled.
  if (!lnx::linkGet(unit, &l) || !l.isPort) return -1;
  std::memset(out, 0, sizeof *out);
  if (kind == 5) {
    out->index = unit;
    out->ifType = l.isMgmt ? 44 : 1;
    out->portKind = l.remote ? 2 : 1;  // 2: a port of another unit of the stack
    out->status = 0;
    return 0;
  }
  if (kind == 3) {
    out->index = unit;
    out->ifType = l.isMgmt ? 44 : 1;
    out->portKind = 1;
    return 0;
  }
  return -1;
}

uint32_t zorSelfSysIndex(void) {
  const uint32_t n = lnx::stackUnitSelf();
  return n != 0 ? n : 1;
}

int zorIpGetFirst(const ZorIpQuery* query, ZorIpAddr* out) {
  if (!query || !out || (query->family != 1 && query->family != 2) || query->kindSet == 0)
    return -1;
  const std::string mgmtIf = lnx::optString("host.mgmtif", "");
  std::vector<Addr> pick;
  Addr conf;
  if (query->preference == 0 && query->unit == 0 && configuredMgmtAddr(query->family, &conf)) {
    pick.push_back(conf);
  } else {
    for (const Addr& a : hostAddresses()) {
      if (a.family != query->family) continue;
      if (query->unit != 0 && a.ifindex != lnx::ifindexOfUnit(query->unit)) continue;
      switch (query->preference) {
        case 0:  // the management interface's own address
          if (!mgmtIf.empty() && a.ifname == mgmtIf) pick.push_back(a);
          break;
        case 1:  // an address on the loopback device (a router id)
          if (a.ifname == "lo") pick.push_back(a);
          break;
        case 2:  // any other address of the host
          if (a.ifname != "lo" && a.ifname != mgmtIf) pick.push_back(a);
          break;
        default:  // only with a unit
          if (query->unit != 0) pick.push_back(a);
          break;
      }
    }
  }
  if (pick.empty()) return -1;
  std::memset(out, 0, sizeof *out);
  out->family = pick.front().family;
  out->len = out->family == 1 ? 4 : 16;
  std::memcpy(out->addr, pick.front().bytes, out->len);
  return 0;
}

// ---- PoE, voice VLAN, SNMP ----------------------------------------------------
int poeIfGetApi(uint32_t unit, uint32_t objId, void* out) {
  lnx::Link l;
  if (!lnx::optBool("host.poe", false) || !liveLink(unit, &l)) return -1;
  switch (objId) {
    case 1: return putInt(out, 1);
    case 2: return putInt(out, 2);
    case 3: return putInt(out, static_cast<uint32_t>(lnx::optLong("host.poepairs", 1)));
    case 5: return putInt(out, static_cast<uint32_t>(lnx::optLong("host.poepriority", 2)));
    case 7: return putInt(out, static_cast<uint32_t>(lnx::optLong("host.poeclass", 0)));
    default: return -1;
  }
}

int voiceVlanIfGetApi(uint32_t unit, uint32_t objId, void* out) {
  lnx::Link l;
  if (!liveLink(unit, &l)) return -1;
  const long vid = lnx::optLong("host.voicevlan", 0);
  if (objId == 2) return putInt(out, vid > 0 ? 1 : 2);
  if (objId == 1 && vid > 0) return putInt(out, static_cast<uint32_t>(vid));
  return -1;
}

int voiceVlanScalarGetApi(uint32_t /*unit*/, uint32_t objId, void* out) {
  if (objId == 10) return putInt(out, static_cast<uint32_t>(lnx::optLong("host.voicepriority", 5)));
  if (objId == 11) return putInt(out, static_cast<uint32_t>(lnx::optLong("host.voicedscp", 46)));
  return -1;
}

int snmpScalarGetApi(uint32_t /*unit*/, uint32_t objId, void* out) {
  std::string oid;
  if (objId != 46 || !lnx::optGet("host.sysoid", &oid) || oid.empty()) return -1;
  return putString(out, oid);
}

// ---- Hardware layer -----------------------------------------------------------
int zorHwilScalarGet(uint32_t /*unit*/, uint32_t scalarId, uint32_t* out) {
  if (scalarId == 54) {
    // 0 only when stack peers are configured; some callers pass no value
    // and read the result code alone.
    const uint32_t v = lnx::stackHasPeers() ? 0 : 1;
    if (out) *out = v;
    return static_cast<int>(v);
  }
  if (!out) return -1;
  switch (scalarId) {
    case 55: *out = 1; return 0;  // frames may always be sent
    case 197:
      if (!lnx::optGet("host.medpowertype", nullptr)) return -1;
      *out = static_cast<uint32_t>(lnx::optLong("host.medpowertype", 0));
      return 0;
    case 198:
      if (!lnx::optGet("host.psepowersource", nullptr)) return -1;
      *out = static_cast<uint32_t>(lnx::optLong("host.psepowersource", 0));
      return 0;
    case 499: *out = gProtoAnnounce; return 0;
    default: return -1;
  }
}

int zorHwilScalarSet(uint32_t /*unit*/, uint32_t scalarId, const void* value, uint32_t /*flags*/) {
  if (scalarId != 499 || !value) return -1;
  std::memcpy(&gProtoAnnounce, value, sizeof gProtoAnnounce);
  return 0;
}

int zorHwilSlotGet(uint32_t, uint32_t, uint32_t, uint32_t*) { return -1; }
int zorHwilCardGet(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t*) { return -1; }
int zorCardUpPcsSet(uint32_t, uint32_t, uint32_t, uint32_t) { return 0; }
