// Automatic management address of a port: agent-wide record, own address,
// address-table order, borrowed address, and the cache replaced each call.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "base/lldp_info.h"
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
const Bytes kV4b = {198, 51, 100, 1};
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
    gLldpInfo.manAddrList = nullptr;
    if (port->sysMgmtAddrCache) silFree(port->sysMgmtAddrCache->mgmtAddrOid);
    silFree(port->sysMgmtAddrCache);
  }
  // {subtype, address bytes...} of the choice, empty for none.
  Bytes choose() {
    lldpMgmtAddr* a = lldpPortGetLocalMgmtAddr(port.get());
    if (a == nullptr) return {};
    Bytes out{a->mgmtAddrSubtype};
    out.insert(out.end(), a->mgmtAddr, a->mgmtAddr + a->mgmtAddrLen);
    return out;
  }
  static Bytes with(uint8_t head, const Bytes& addr) {
    Bytes out{head};
    out.insert(out.end(), addr.begin(), addr.end());
    return out;
  }
  std::unique_ptr<LldpPort> port;
};

TEST_F(MgmtAddrTest, OnlyAnUnboundFirstAgentWideRecordServesAsIs) {
  lldpMgmtAddr bound{}, unbound{};
  bound.mgmtAddrPort = reinterpret_cast<uint8_t*>(&bound);
  unbound.next = &bound;
  gLldpInfo.manAddrList = &unbound;
  size_t live = sim::liveAllocations();
  EXPECT_EQ(lldpPortGetLocalMgmtAddr(port.get()), &unbound);
  EXPECT_EQ(port->sysMgmtAddrCache, nullptr);
  EXPECT_EQ(sim::liveAllocations(), live);
  // A bound first record sends the search to the platform, whatever follows.
  bound.next = &unbound;
  unbound.next = nullptr;
  gLldpInfo.manAddrList = &bound;
  sim::addIpAddress(1, kV4, 0);
  EXPECT_EQ(choose(), with(1, kV4));
}

TEST_F(MgmtAddrTest, InterfaceOwnAddressOrNothing) {
  sim::setInt(Svc::If, kUnit, 17, 1);
  sim::addIpAddress(1, kV4b, 0);  // not consulted
  sim::failObject(Svc::If, kUnit, 98);
  EXPECT_EQ(choose(), Bytes{});
  sim::setOctets(Svc::If, kUnit, 98, {});
  EXPECT_EQ(choose(), Bytes{});
  sim::setOctets(Svc::If, kUnit, 98, with(2, with(0, kV6)));
  EXPECT_EQ(choose(), with(2, kV6));
  sim::setOctets(Svc::If, kUnit, 98, with(1, with(0, kV4)));
  EXPECT_EQ(choose(), with(1, kV4));
  sim::failObject(Svc::If, kUnit, 17);
  EXPECT_EQ(choose(), Bytes{});
}

TEST_F(MgmtAddrTest, BorrowedAddressLastIpv6AfterIpv4PreferencesFirst) {
  EXPECT_EQ(choose(), Bytes{});
  sim::addIpAddress(1, kV4, 3);  // only the borrowed-address query asks for 3
  EXPECT_EQ(choose(), Bytes{});
  sim::setOctets(Svc::If, kUnit, 196, {1});
  EXPECT_EQ(choose(), with(1, kV4));

  sim::addIpAddress(2, kV6, 1);
  lldpMgmtAddr* a = lldpPortGetLocalMgmtAddr(port.get());
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->mgmtAddrLen, 16);
  EXPECT_EQ(with(a->mgmtAddrSubtype, Bytes(a->mgmtAddr, a->mgmtAddr + 16)), with(2, kV6));
  EXPECT_EQ(a->mgmtAddrIfSubtype, 2);
  uint32_t arcs[LLDP_OID_MAX_ARCS];
  uint32_t len = 0;
  lldpMgmtAddrGetOid(2, 0, nullptr, arcs, &len);
  ASSERT_EQ(a->mgmtAddrOidLen, len);
  EXPECT_EQ(std::memcmp(a->mgmtAddrOid, arcs, len), 0);

  sim::addIpAddress(1, kV4b, 2);
  EXPECT_EQ(choose(), with(1, kV4b));
}

TEST_F(MgmtAddrTest, EachCallReplacesTheCacheWithoutLeaking) {
  sim::addIpAddress(1, kV4, 0);
  size_t before = sim::liveAllocations();
  ASSERT_EQ(choose(), with(1, kV4));
  size_t withCache = sim::liveAllocations();
  EXPECT_EQ(withCache, before + 2);  // the record and its OID
  for (int i = 0; i < 3; i++) {
    EXPECT_EQ(lldpPortGetLocalMgmtAddr(port.get()), port->sysMgmtAddrCache);
    EXPECT_EQ(sim::liveAllocations(), withCache);
  }
  // Out of memory for the record or its OID: no answer, old cache kept.
  lldpMgmtAddr* old = port->sysMgmtAddrCache;
  for (uint64_t nth : {1u, 2u}) {
    sim::failAllocation(nth);
    EXPECT_EQ(choose(), Bytes{});
    EXPECT_EQ(port->sysMgmtAddrCache, old);
    EXPECT_EQ(sim::liveAllocations(), withCache);
  }
}

}  // namespace
