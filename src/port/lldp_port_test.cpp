// The port table: records, admin-status changes with their buffers and
// platform registrations, deletion, and the platform's configuration reset.
#include <gtest/gtest.h>

#include <vector>

#include "core/lldp_info.h"
#include "core/lldp_testutil.h"
#include "platform/sim/sim.h"
#include "port/lldp_port.h"

using namespace lldptest;

namespace {

class PortTest : public ::testing::Test {
 protected:
  void start(std::initializer_list<std::pair<const char*, const char*>> opts = {
                 {"lldp.defaultportmode", "rxtx"}}) {
    ASSERT_EQ(startAgent(opts), 0);
    gLldpInfo.debugFlags |= 0x8 | 0x20;
  }
  void TearDown() override {
    stopAgent();
    EXPECT_EQ(sim::liveAllocations(), 0u) << "buffers or pool storage leaked";
  }
  LldpPort* add(uint32_t unit, uint32_t mtu = 1522) {
    addPort(unit, mtu);
    return lldpPortEntryAdd(unit);
  }
  static std::vector<uint32_t> walk() {
    std::vector<uint32_t> units;
    for (auto* p = static_cast<LldpPort*>(avl_first(&gLldpInfo.portTable)); p != nullptr;
         p = static_cast<LldpPort*>(avl_next(&gLldpInfo.portTable, p)))
      units.push_back(p->unit);
    return units;
  }
};

TEST_F(PortTest, TableKeepsUnitOrderThroughAddAndDelete) {
  start();
  LldpPort* p5 = add(5);
  LldpPort* p1 = add(1);
  LldpPort* p3 = add(3);
  ASSERT_TRUE(p5 && p1 && p3);
  EXPECT_EQ(walk(), (std::vector<uint32_t>{1, 3, 5}));
  EXPECT_EQ(lldpPortEntryGet(3), p3);
  EXPECT_EQ(lldpPortEntryGet(2), nullptr);
  EXPECT_TRUE(sim::hasLine("Interface index:105, port:ge0/5 is adding\r\n"));
  EXPECT_TRUE(sim::hasLine("Adding port ge0/5 to global port list\r\n"));

  EXPECT_EQ(p5->ifIndex, 105u);
  EXPECT_EQ(p5->adminStatus, 4);
  EXPECT_EQ(p5->reinitDone, 1);
  EXPECT_EQ(p5->portEnabled, 1);
  EXPECT_EQ(p5->portIdSubtype, 5);
  EXPECT_EQ(p5->portStatus, 1);
  EXPECT_EQ(p5->rx.frame, nullptr);
  EXPECT_EQ(p5->tx.frame, nullptr);
  EXPECT_EQ(p5->msapList.next, &p5->msapList);

  EXPECT_EQ(lldpPortEntryDel(p3), 0);
  EXPECT_EQ(walk(), (std::vector<uint32_t>{1, 5}));
  EXPECT_EQ(lldpPortEntryGet(3), nullptr);
  EXPECT_EQ(lldpPortEntryDel(nullptr), 0x3E80002);
  EXPECT_EQ(gLldpInfo.portPool.used, 2u);

  // Unsigned comparison: the high units sort last.
  LldpPort a{}, b{};
  a.unit = 0x80000000u;
  b.unit = 1;
  EXPECT_EQ(lldpPortEntyrCmp(&a, &b), 1);
  EXPECT_EQ(lldpPortEntyrCmp(&b, &a), -1);
  EXPECT_EQ(lldpPortEntyrCmp(&a, &a), 0);
}

TEST_F(PortTest, PoolExhaustionRefusesAndRecovers) {
  start({{"lldp.maxifnum", "2"}});
  ASSERT_NE(add(1), nullptr);
  ASSERT_NE(add(2), nullptr);
  EXPECT_EQ(add(3), nullptr);
  EXPECT_TRUE(sim::hasLine("if table is empty\r\n"));
  EXPECT_EQ(walk(), (std::vector<uint32_t>{1, 2}));
  lldpPortEntryDel(lldpPortEntryGet(1));
  EXPECT_NE(add(3), nullptr);
  EXPECT_EQ(walk(), (std::vector<uint32_t>{2, 3}));
  // A second record for a unit already present is refused, the pool untouched.
  EXPECT_EQ(lldpPortEntryAdd(3), nullptr);
  EXPECT_EQ(gLldpInfo.portPool.used, 2u);
}

TEST_F(PortTest, DefaultStateRegistrationFollowsDefaultPortMode) {
  start({{"lldp.defaultportmode", "x"}});
  add(1);
  EXPECT_TRUE(protoSets(1).empty());
  stopAgent();

  start();
  add(1);
  EXPECT_EQ(protoSets(1), (std::vector<uint32_t>{53}));
  EXPECT_EQ(sim::ifSets().back().value, 7u);

  sim::setIfSetResult(53, -5);
  LldpPort* p = add(2);
  ASSERT_NE(p, nullptr);  // kept all the same
  EXPECT_EQ(p->adminStatus, 4);
  EXPECT_TRUE(sim::hasLine("port ge0/2 DFLTSTATE enable failed !\r\n"));
  bool logged = false;
  for (const auto& l : sim::logLines())
    logged |= !l.debug && l.module == 0x3F50008 && l.level == 5 &&
              l.text ==
                  "The interface enable protocol error.(ifName=[ge0/2], proto=[lldp], "
                  "type=[defaultstate])\r\n";
  EXPECT_TRUE(logged);
}

TEST_F(PortTest, AdminStatusTransitionsMoveBuffersAndRegistrations) {
  start();
  LldpPort* p = add(1, 1500);
  sim::clearLogLines();

  // 4 -> 3: registered in the current state, both buffers.
  ASSERT_EQ(lldpPortEntryInit(p, 3), 0);
  EXPECT_EQ(protoSets(1), (std::vector<uint32_t>{53, 56}));
  EXPECT_EQ(p->adminStatus, 3);
  EXPECT_EQ(p->protoRegistered, 1);
  EXPECT_EQ(p->mtu, 1500u);
  ASSERT_NE(p->rx.frame, nullptr);
  ASSERT_NE(p->tx.frame, nullptr);
  EXPECT_EQ(p->rxSize, 1500u);
  EXPECT_EQ(p->txSize, 1500u);
  EXPECT_TRUE(sim::hasLine("MTU is 1500\r\n"));

  // Same status again: nothing at all.
  const uint8_t* rx = p->rx.frame;
  const uint64_t allocs = sim::totalAllocations();
  const size_t sets = sim::ifSets().size();
  EXPECT_EQ(lldpPortEntryInit(p, 3), 0);
  EXPECT_EQ(sim::totalAllocations(), allocs);
  EXPECT_EQ(sim::ifSets().size(), sets);

  // 3 -> 1: the receive buffer stays, a new transmit buffer, no new
  // registration; the per-VLAN TLV settings survive (the basic ones are
  // refilled by the TLV initialisation).
  p->protocolIdTxEnable = 1;
  p->vlanNameTxEnable[3] = 0x10;
  EXPECT_EQ(lldpPortEntryInit(p, 1), 0);
  EXPECT_EQ(p->rx.frame, rx);
  EXPECT_EQ(sim::totalAllocations(), allocs + 1);
  EXPECT_EQ(sim::ifSets().size(), sets);
  EXPECT_EQ(p->protocolIdTxEnable, 1);
  EXPECT_EQ(p->vlanNameTxEnable[3], 0x10);

  // 1 -> 4: deregistered; only the receive buffer goes, the transmit buffer
  // stays for the shutdown frame; the TLV settings are cleared.
  p->dot1TlvTxSupported = 0x0F;
  const size_t live = sim::liveAllocations();
  EXPECT_EQ(lldpPortEntryInit(p, 4), 0);
  EXPECT_EQ(protoSets(1), (std::vector<uint32_t>{53, 56, 57}));
  EXPECT_EQ(p->protoRegistered, 0);
  EXPECT_EQ(p->rx.frame, nullptr);
  EXPECT_NE(p->tx.frame, nullptr);
  EXPECT_EQ(sim::liveAllocations(), live - 1);
  EXPECT_EQ(p->reinitDone, 0);
  EXPECT_EQ(p->rxState, 1);
  EXPECT_EQ(p->notificationEnable, 2);
  EXPECT_EQ(p->adminStatus, 4);
  EXPECT_EQ(p->basicTlvTxEnabled, 0);
  EXPECT_EQ(p->protocolIdTxEnable, 0);
  EXPECT_EQ(p->vlanNameTxEnable[3], 0);
  EXPECT_EQ(p->dot1TlvTxSupported, 0x0F);
  EXPECT_TRUE(sim::hasLine("Freeing port ge0/1 rx framebuffer...\r\n"));
  EXPECT_FALSE(sim::hasLineContaining("tx framebuffer"));

  // 4 -> 2: registered again, a receive buffer; the kept transmit buffer is
  // still there until the port is deleted (TearDown checks nothing leaks).
  EXPECT_EQ(lldpPortEntryInit(p, 2), 0);
  EXPECT_EQ(protoSets(1), (std::vector<uint32_t>{53, 56, 57, 56}));
  EXPECT_NE(p->rx.frame, nullptr);
  EXPECT_EQ(p->reinitDone, 1);
  EXPECT_EQ(p->notificationEnable, 0);
}

TEST_F(PortTest, OutOfRangeStatusIsRefused) {
  start();
  LldpPort* p = add(1);
  for (uint32_t bad : {0u, 5u, 255u}) {
    EXPECT_EQ(lldpPortEntryInit(p, bad), 0x3E80010) << bad;
    EXPECT_EQ(p->adminStatus, 4);
  }
  EXPECT_TRUE(sim::hasLine("port ge0/1 unknown port statues in\tlldpPortEntryInit !\r\n"));
  EXPECT_EQ(lldpPortEntryInit(nullptr, 3), -1);
}

TEST_F(PortTest, PlatformRefusalsAbortTheChange) {
  start();
  LldpPort* p = add(1);
  sim::setIfSetResult(56, 7);
  EXPECT_EQ(lldpPortEntryInit(p, 3), 7);
  EXPECT_EQ(p->adminStatus, 4);
  EXPECT_EQ(p->protoRegistered, 0);
  EXPECT_EQ(p->rx.frame, nullptr);
  EXPECT_TRUE(sim::hasLine("port ge0/1 IfSetState failed !ret = 7\r\n"));
  EXPECT_TRUE(sim::hasLine(
      "The interface enable protocol error.(ifName=[ge0/1], proto=[lldp], type=[state])\r\n"));

  sim::setIfSetResult(56, 0);
  ASSERT_EQ(lldpPortEntryInit(p, 3), 0);
  sim::setIfSetResult(57, 9);
  EXPECT_EQ(lldpPortEntryInit(p, 4), 9);
  EXPECT_EQ(p->adminStatus, 3);
  EXPECT_EQ(p->protoRegistered, 1);
  EXPECT_NE(p->rx.frame, nullptr);
  EXPECT_TRUE(sim::hasLine("port[ge0/1] IfSetState failed.\r\n"));
}

TEST_F(PortTest, BufferAllocationFailures) {
  start();
  LldpPort* p = add(1);
  sim::failAllocation(1);
  EXPECT_EQ(lldpPortEntryInit(p, 3), 12);
  EXPECT_TRUE(sim::hasLine("no space rx.frame failed. ge0/1\r\n"));
  EXPECT_EQ(p->adminStatus, 4);
  EXPECT_EQ(p->rx.frame, nullptr);

  sim::failAllocation(2);
  EXPECT_EQ(lldpPortEntryInit(p, 3), 12);
  EXPECT_TRUE(sim::hasLine("no space tx.frame failed. ge0/1 \r\n"));
  EXPECT_EQ(p->adminStatus, 4);
  EXPECT_EQ(p->tx.frame, nullptr);

  EXPECT_EQ(lldpPortEntryInit(p, 3), 0);
  EXPECT_EQ(p->adminStatus, 3);
}

TEST_F(PortTest, MtuDecidesBufferSizes) {
  start();
  addPort(1);
  sim::failObject(sim::Svc::If, 1, 78);
  LldpPort* p = lldpPortEntryAdd(1);
  ASSERT_EQ(lldpPortEntryInit(p, 3), 0);
  EXPECT_EQ(p->mtu, 1522u);
  EXPECT_EQ(p->rxSize, 1522u);
  EXPECT_EQ(p->txSize, 1522u);

  // A tiny MTU still gets a transmit buffer that holds a minimum frame.
  LldpPort* q = add(2, 40);
  ASSERT_EQ(lldpPortEntryInit(q, 1), 0);
  EXPECT_EQ(q->mtu, 40u);
  EXPECT_EQ(q->txSize, 64u);
}

TEST_F(PortTest, LinkStateIsReadAtInitialisation) {
  start();
  addPort(1, 1522, false);
  LldpPort* p = lldpPortEntryAdd(1);
  EXPECT_EQ(p->portStatus, 2);
  EXPECT_TRUE(sim::hasLine("port[ge0/1] status[init]-->[linkdown].\r\n"));
  sim::setLinkUp(1, true);
  ASSERT_EQ(lldpPortEntryInit(p, 3), 0);
  EXPECT_EQ(p->portStatus, 1);
  EXPECT_TRUE(sim::hasLine("port [ge0/1] status[init]-->[linkup].\r\n"));
}

TEST_F(PortTest, DeletionDeregistersAndGoesOnAfterRefusals) {
  start();
  LldpPort* p = add(1);
  ASSERT_EQ(lldpPortEntryInit(p, 3), 0);
  EXPECT_EQ(lldpPortEntryDel(p), 0);
  EXPECT_EQ(protoSets(1), (std::vector<uint32_t>{53, 56, 57, 54}));
  EXPECT_TRUE(sim::hasLine("Interface port:ge0/1 is deleting\r\n"));

  p = add(2);
  ASSERT_EQ(lldpPortEntryInit(p, 3), 0);
  sim::setIfSetResult(57, -1);
  sim::setIfSetResult(54, -1);
  EXPECT_EQ(lldpPortEntryDel(p), 0);
  EXPECT_EQ(lldpPortEntryGet(2), nullptr);
  EXPECT_TRUE(sim::hasLine(
      "The interface disable protocol error.(ifName=[ge0/2], proto=[lldp], type=[state])\r\n"));
  EXPECT_TRUE(sim::hasLine(
      "The interface disable protocol error.(ifName=[ge0/2], proto=[lldp], "
      "type=[defaultstate])\r\n"));
  EXPECT_TRUE(sim::hasLineContaining(" IfSetState failed !\r\n"));
  EXPECT_TRUE(sim::hasLineContaining(" DFLTSTATE disable failed !\r\n"));
}

// ---- Configuration reset from the platform ----------------------------------

Bytes resetMsg(uint32_t unit, std::initializer_list<Bytes> attrs) {
  return ifMessage(ZOR_RTM_RESETPORTCONFIG, unit, 0, attrs);
}
void applyReset(uint32_t unit, const Bytes& m) {
  lldpPortConfigReset(unit, m.data(), static_cast<uint32_t>(m.size()));
}

TEST_F(PortTest, ConfigResetByReason) {
  start();
  LldpPort* p = add(1);
  ASSERT_EQ(lldpPortEntryInit(p, 1), 0);
  p->notificationEnable = 1;
  p->basicTlvTxEnabled = 0x0F;

  LldpPort* fresh = add(2);
  ASSERT_EQ(lldpPortEntryInit(fresh, 3), 0);

  // Reason 0 (manual): disabled and enabled again in dflPortMode, fresh.
  applyReset(1, resetMsg(1, {attr(75, words({0, 1}))}));
  EXPECT_EQ(p->adminStatus, 3);
  EXPECT_EQ(p->basicTlvTxEnabled, fresh->basicTlvTxEnabled);
  EXPECT_NE(p->basicTlvTxEnabled, 0x0F);
  EXPECT_EQ(p->reinitDone, 1);
  EXPECT_EQ(p->notificationEnable, 0);
  bool logged = false;
  for (const auto& l : sim::logLines())
    logged |= !l.debug && l.module == 0x3F50005 && l.level == 5 &&
              l.text == "lldprecv ifUnit:ge0/1 resetcfg type:manual, op: reset all.\r\n";
  EXPECT_TRUE(logged);

  // Reason 3 (port split): disabled.
  applyReset(1, resetMsg(1, {attr(75, words({3, 2}))}));
  EXPECT_EQ(p->adminStatus, 4);
  EXPECT_EQ(p->notificationEnable, 2);
  EXPECT_TRUE(sim::hasLine("lldprecv ifUnit:ge0/1 resetcfg type:portsplit, op: reset default.\r\n"));

  // Other reasons only switch notifications off; other attributes are skipped.
  ASSERT_EQ(lldpPortEntryInit(p, 3), 0);
  p->notificationEnable = 1;
  applyReset(1, resetMsg(1, {attr32(4, 9000), attr(75, words({7, 1}))}));
  EXPECT_EQ(p->adminStatus, 3);
  EXPECT_EQ(p->notificationEnable, 2);
}

TEST_F(PortTest, ConfigResetStaysInsideTheMessage) {
  start();
  LldpPort* p = add(1);
  ASSERT_EQ(lldpPortEntryInit(p, 3), 0);
  p->notificationEnable = 1;

  // Shorter than 24 bytes, or no room for the interface header: ignored.
  Bytes m = resetMsg(1, {attr(75, words({3, 1}))});
  lldpPortConfigReset(1, m.data(), 23);
  Bytes shortMsg = message(ZOR_RTM_RESETPORTCONFIG, words({0, 1, 0}));
  applyReset(1, shortMsg);
  EXPECT_EQ(p->notificationEnable, 1);

  // An attribute whose length runs past the message is not read.
  Bytes lying = resetMsg(1, {attr(75, words({3, 1}))});
  put16(lying, 48, 200);
  applyReset(1, lying);
  EXPECT_EQ(p->adminStatus, 3);
  EXPECT_EQ(p->notificationEnable, 2);

  // A total length beyond the buffer: only the buffer is walked.
  Bytes big = resetMsg(1, {attr(75, words({3, 1}))});
  put32(big, 0, 4000);
  applyReset(1, big);
  EXPECT_EQ(p->adminStatus, 4);

  // Unknown unit: nothing.
  applyReset(9, resetMsg(9, {attr(75, words({3, 1}))}));
}

}  // namespace
