// Automatic management address of a port: the agent-wide record, the
// interface's own address, the address-table search order, the borrowed
// address, and the cache that each call replaces without leaking.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "core/lldp_info.h"
#include "local/lldp_oid.h"
#include "platform/sil.h"
#include "platform/sim/sim.h"
#include "port/lldp_mgmt_addr.h"
#include "port/lldp_port.h"

namespace {

using sim::Svc;
using Bytes = std::vector<uint8_t>;

constexpr uint32_t kUnit = 12;
const Bytes kV4 = {192, 0, 2, 10};
const Bytes kV4Other = {198, 51, 100, 1};
const Bytes kV6 = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x42};

class MgmtAddrTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sim::reset();
    gLldpInfo = LldpInfo{};
    gLldpInfo.enterpriseOid = 9;
    sim::addInterface(kUnit, "eth4", 4, {2, 0, 0, 0, 0, 4});
    sim::setInt(Svc::If, kUnit, 17, 0);
    port = std::make_unique<LldpPort>();
    port->unit = kUnit;
  }
  void TearDown() override {
    if (port->sysMgmtAddrCache) {
      silFree(port->sysMgmtAddrCache->mgmtAddrOid);
      silFree(port->sysMgmtAddrCache);
    }
  }
  static Bytes addrOf(const lldpMgmtAddr* a) {
    return Bytes(a->mgmtAddr, a->mgmtAddr + a->mgmtAddrLen);
  }
  std::unique_ptr<LldpPort> port;
};

TEST_F(MgmtAddrTest, UnboundAgentWideFirstRecordServesAsIs) {
  lldpMgmtAddr bound{};
  bound.mgmtAddrPort = reinterpret_cast<uint8_t*>(&bound);  // any non-null port set
  lldpMgmtAddr unbound{};
  unbound.next = &bound;
  gLldpInfo.manAddrList = &unbound;
  size_t live = sim::liveAllocations();
  EXPECT_EQ(lldpPortGetLocalMgmtAddr(port.get()), &unbound);
  EXPECT_EQ(port->sysMgmtAddrCache, nullptr);
  EXPECT_EQ(sim::liveAllocations(), live);

  // A bound first record is passed over for the platform's address, even
  // with an unbound record behind it.
  bound.next = &unbound;
  unbound.next = nullptr;
  gLldpInfo.manAddrList = &bound;
  sim::addIpAddress(1, kV4, 0);
  lldpMgmtAddr* a = lldpPortGetLocalMgmtAddr(port.get());
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a, port->sysMgmtAddrCache);
  EXPECT_EQ(addrOf(a), kV4);
  gLldpInfo.manAddrList = nullptr;
}

TEST_F(MgmtAddrTest, InterfaceWithItsOwnAddress) {
  sim::setInt(Svc::If, kUnit, 17, 1);
  sim::addIpAddress(1, kV4Other, 0);  // not consulted
  sim::failObject(Svc::If, kUnit, 98);
  EXPECT_EQ(lldpPortGetLocalMgmtAddr(port.get()), nullptr);
  sim::setOctets(Svc::If, kUnit, 98, {});
  EXPECT_EQ(lldpPortGetLocalMgmtAddr(port.get()), nullptr);

  Bytes own = {2, 0};
  own.insert(own.end(), kV6.begin(), kV6.end());
  sim::setOctets(Svc::If, kUnit, 98, own);
  lldpMgmtAddr* a = lldpPortGetLocalMgmtAddr(port.get());
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->mgmtAddrSubtype, 2);
  EXPECT_EQ(addrOf(a), kV6);

  Bytes own4 = {1, 0};
  own4.insert(own4.end(), kV4.begin(), kV4.end());
  sim::setOctets(Svc::If, kUnit, 98, own4);
  a = lldpPortGetLocalMgmtAddr(port.get());
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->mgmtAddrSubtype, 1);
  EXPECT_EQ(addrOf(a), kV4);

  sim::failObject(Svc::If, kUnit, 17);
  EXPECT_EQ(lldpPortGetLocalMgmtAddr(port.get()), nullptr);
}

TEST_F(MgmtAddrTest, AddressTableSearchPrefersIpv4ThenPreferenceOrder) {
  EXPECT_EQ(lldpPortGetLocalMgmtAddr(port.get()), nullptr);

  sim::addIpAddress(2, kV6, 1);
  lldpMgmtAddr* a = lldpPortGetLocalMgmtAddr(port.get());
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->mgmtAddrSubtype, 2);
  EXPECT_EQ(a->mgmtAddrLen, 16);
  EXPECT_EQ(addrOf(a), kV6);
  EXPECT_EQ(a->mgmtAddrIfSubtype, 2);
  EXPECT_EQ(a->mgmtAddrIfId, 0u);
  EXPECT_EQ(a->mgmtAddrPort, nullptr);
  uint32_t arcs[LLDP_OID_MAX_ARCS];
  uint32_t len = 0;
  lldpMgmtAddrGetOid(2, 0, nullptr, arcs, &len);
  ASSERT_EQ(a->mgmtAddrOidLen, len);
  EXPECT_EQ(std::memcmp(a->mgmtAddrOid, arcs, len), 0);

  sim::addIpAddress(1, kV4Other, 2);
  a = lldpPortGetLocalMgmtAddr(port.get());
  EXPECT_EQ(addrOf(a), kV4Other);
  sim::addIpAddress(1, kV4, 0);
  a = lldpPortGetLocalMgmtAddr(port.get());
  EXPECT_EQ(a->mgmtAddrSubtype, 1);
  EXPECT_EQ(a->mgmtAddrOidLen, 40);
  EXPECT_EQ(addrOf(a), kV4);
}

TEST_F(MgmtAddrTest, UnnumberedInterfaceBorrowsItsAddress) {
  sim::addIpAddress(1, kV4, 3);  // preference 3: only the borrowed query asks for it
  EXPECT_EQ(lldpPortGetLocalMgmtAddr(port.get()), nullptr);
  sim::setOctets(Svc::If, kUnit, 196, {1});
  lldpMgmtAddr* a = lldpPortGetLocalMgmtAddr(port.get());
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->mgmtAddrSubtype, 1);
  EXPECT_EQ(addrOf(a), kV4);
}

TEST_F(MgmtAddrTest, EachCallReplacesTheCacheWithoutLeaking) {
  sim::addIpAddress(1, kV4, 0);
  size_t before = sim::liveAllocations();
  ASSERT_NE(lldpPortGetLocalMgmtAddr(port.get()), nullptr);
  size_t withCache = sim::liveAllocations();
  EXPECT_EQ(withCache, before + 2);  // the record and its OID
  for (int i = 0; i < 5; i++) {
    lldpMgmtAddr* a = lldpPortGetLocalMgmtAddr(port.get());
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(port->sysMgmtAddrCache, a);
    EXPECT_EQ(sim::liveAllocations(), withCache);
  }

  // No memory for the OID: nothing is returned and the old cache survives.
  lldpMgmtAddr* old = port->sysMgmtAddrCache;
  sim::failAllocation(2);
  EXPECT_EQ(lldpPortGetLocalMgmtAddr(port.get()), nullptr);
  EXPECT_EQ(port->sysMgmtAddrCache, old);
  EXPECT_EQ(sim::liveAllocations(), withCache);
  sim::failAllocation(1);
  EXPECT_EQ(lldpPortGetLocalMgmtAddr(port.get()), nullptr);
  EXPECT_EQ(sim::liveAllocations(), withCache);
}

}  // namespace
