// Automatic choice of a port's management address.
//
// A port without configured addresses of its own advertises either the first
// agent-wide configured address (when that one is not bound to particular
// ports) or an address the platform knows: the interface's own address, else
// the best address of the address table, IPv4 before IPv6, else the address
// an unnumbered interface borrows. The chosen address is rebuilt into a fresh
// record on every call and kept as the port's sysMgmtAddrCache, which owns it.
//
// REQUIRES: lldpLock held.
#include <cstring>
#include <initializer_list>

#include "base/lldp_info.h"
#include "local/lldp_oid.h"
#include "platform/platform_types.h"
#include "platform/sil.h"
#include "platform/zor_if.h"
#include "port/lldp_mgmt_addr.h"
#include "port/lldp_port.h"

namespace {

constexpr uint8_t kFamilyIpv4 = 1;
constexpr uint8_t kFamilyIpv6 = 2;

// Interface objects: 17 the interface has an address of its own, 98 that
// address (family byte, a byte, the address), 196 the interface borrows an
// address (unnumbered).
constexpr uint32_t kIfHasOwnAddr = 17;
constexpr uint32_t kIfOwnAddr = 98;
constexpr uint32_t kIfBorrowsAddr = 196;

// Address kinds accepted by the table search.
constexpr uint32_t kindBit(uint32_t k) { return 1u << k; }
constexpr uint32_t kSearchKinds = kindBit(6) | kindBit(1) | kindBit(2) | kindBit(3) | kindBit(4);
constexpr uint32_t kBorrowedKinds = kindBit(6);
constexpr uint32_t kBorrowedPreference = 3;

struct Chosen {
  uint8_t family;  // 1 IPv4, 2 IPv6
  uint8_t len;     // 4 or 16
  uint8_t addr[16];
};

uint8_t lenOfFamily(uint8_t family) { return family == kFamilyIpv6 ? 16 : 4; }

bool queryTable(uint8_t family, uint32_t unit, uint32_t kinds, uint32_t preference, ZorIpAddr* out) {
  ZorIpQuery q{};
  q.family = family;
  q.unit = unit;
  q.kindSet = kinds;
  q.preference = preference;
  *out = ZorIpAddr{};
  return zorIpGetFirst(&q, out) == 0;
}

// Finds the address to advertise; false when there is none.
bool chooseAddress(const LldpPort* port, Chosen* c) {
  uint32_t hasOwn = 0;
  if (zorIfGetApi(port->unit, kIfHasOwnAddr, &hasOwn) != 0) return false;

  if (hasOwn == 1) {
    uint8_t buf[512] = {};
    ZorOctets oct{buf, sizeof(buf)};
    if (zorIfGetApi(port->unit, kIfOwnAddr, &oct) != 0 || oct.len == 0) return false;
    c->family = buf[0] == kFamilyIpv6 ? kFamilyIpv6 : kFamilyIpv4;
    c->len = lenOfFamily(c->family);
    std::memcpy(c->addr, buf + 2, c->len);
    return true;
  }

  ZorIpAddr got{};
  for (uint8_t family : {kFamilyIpv4, kFamilyIpv6}) {
    for (uint32_t pref = 0; pref <= 2; pref++) {
      if (queryTable(family, 0, kSearchKinds, pref, &got)) {
        c->family = family;
        c->len = lenOfFamily(family);
        std::memcpy(c->addr, got.addr, c->len);
        return true;
      }
    }
  }

  uint8_t buf[512] = {};
  ZorOctets oct{buf, sizeof(buf)};
  if (zorIfGetApi(port->unit, kIfBorrowsAddr, &oct) != 0 || oct.len == 0) return false;
  if (!queryTable(kFamilyIpv4, port->unit, kBorrowedKinds, kBorrowedPreference, &got)) return false;
  c->family = got.family == kFamilyIpv6 ? kFamilyIpv6 : kFamilyIpv4;
  c->len = lenOfFamily(c->family);
  std::memcpy(c->addr, got.addr, c->len);
  return true;
}

void freeMgmtAddr(lldpMgmtAddr* rec) {
  if (rec == nullptr) return;
  silFree(rec->mgmtAddrPort);
  silFree(rec->mgmtAddrOid);
  silFree(rec);
}

}  // namespace

lldpMgmtAddr* lldpPortGetLocalMgmtAddr(LldpPort* port) {
  if (port == nullptr) return nullptr;

  // Only the first agent-wide record is considered; an unbound one serves
  // every port as it is.
  lldpMgmtAddr* global = gLldpInfo.manAddrList;
  if (global != nullptr && global->mgmtAddrPort == nullptr) return global;

  Chosen c{};
  if (!chooseAddress(port, &c)) return nullptr;

  // The port's own first record is refilled when there is one (the frame
  // builder only asks when the list is empty, so normally there is none).
  lldpMgmtAddr* rec = port->localMgmtAddrList;
  const bool fresh = rec == nullptr;
  if (fresh) {
    rec = static_cast<lldpMgmtAddr*>(silCalloc(1, sizeof(lldpMgmtAddr)));
    if (rec == nullptr) return nullptr;
  } else {
    // Keep the record linked in the port's list while clearing it.
    lldpMgmtAddr* next = rec->next;
    silFree(rec->mgmtAddrOid);
    std::memset(rec, 0, sizeof(*rec));
    rec->next = next;
  }
  rec->mgmtAddrSubtype = c.family;
  rec->mgmtAddrLen = c.len;
  std::memcpy(rec->mgmtAddr, c.addr, c.len);
  rec->mgmtAddrPort = nullptr;

  uint32_t arcs[512 / sizeof(uint32_t)] = {};
  uint32_t oidLen = 0;
  if (lldpMgmtAddrGetOid(c.family, 0, nullptr, arcs, &oidLen) == 0 && oidLen > 0) {
    rec->mgmtAddrOidLen = static_cast<uint8_t>(oidLen);
    rec->mgmtAddrOid = static_cast<uint8_t*>(silMalloc(oidLen));
    if (rec->mgmtAddrOid == nullptr) {
      if (fresh) {
        silFree(rec);
      } else {
        // The refilled record still belongs to the port's list: leave it
        // there, only drop the cache.
        rec->mgmtAddrOidLen = 0;
        if (port->sysMgmtAddrCache != rec) freeMgmtAddr(port->sysMgmtAddrCache);
        port->sysMgmtAddrCache = nullptr;
      }
      return nullptr;
    }
    std::memcpy(rec->mgmtAddrOid, arcs, oidLen);
  }

  uint8_t ifSubtype = 0;
  if (lldpMgmtAddrGetIf(rec, &ifSubtype, &rec->mgmtAddrIfId) == 0) rec->mgmtAddrIfSubtype = ifSubtype;

  if (port->sysMgmtAddrCache != rec) freeMgmtAddr(port->sysMgmtAddrCache);
  port->sysMgmtAddrCache = rec;
  return rec;
}
