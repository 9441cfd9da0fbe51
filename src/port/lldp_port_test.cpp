// The port table: records, admin-status changes with their buffers and
// platform registrations, deletion, and the platform's configuration reset.
#include <gtest/gtest.h>

#include <vector>

#include "core/lldp_testutil.h"

using namespace lldptest;

namespace {

class PortTest : public AgentTest {
 protected:
  static void start(Options opts = {{"lldp.defaultportmode", "rxtx"}}) {
    ASSERT_EQ(startAgent(opts), 0);
    gLldpInfo.debugFlags |= 0x8 | 0x20;
  }
  static LldpPort* add(uint32_t unit, uint32_t mtu = 1522, uint32_t status = 0) {
    addPort(unit, mtu);
    LldpPort* p = lldpPortEntryAdd(unit);
    if (p != nullptr && status != 0) { EXPECT_EQ(lldpPortEntryInit(p, status), 0); }
    return p;
  }
  static std::vector<uint32_t> walk() {
    std::vector<uint32_t> units;
    for (auto* p = static_cast<LldpPort*>(avl_first(&gLldpInfo.portTable)); p != nullptr;
         p = static_cast<LldpPort*>(avl_next(&gLldpInfo.portTable, p)))
      units.push_back(p->unit);
    return units;
  }
  // A platform log line (not a debug trace) of module 0x3F500xx, level 5.
  static bool logged(uint32_t module, const std::string& text) {
    for (const auto& l : sim::logLines())
      if (!l.debug && l.module == module && l.level == 5 && l.text == text) return true;
    return false;
  }
};

TEST_F(PortTest, TableAddDeleteWalkAndPoolExhaustion) {
  start({{"lldp.defaultportmode", "rxtx"}, {"lldp.maxifnum", "3"}});
  LldpPort* p5 = add(5);
  add(1);
  LldpPort* p3 = add(3);
  EXPECT_EQ(walk(), (std::vector<uint32_t>{1, 3, 5}));
  EXPECT_EQ(lldpPortEntryGet(3), p3);
  EXPECT_EQ(lldpPortEntryGet(2), nullptr);
  EXPECT_TRUE(sim::hasLine("Interface index:105, port:ge0/5 is adding\r\n"));
  EXPECT_TRUE(sim::hasLine("Adding port ge0/5 to global port list\r\n"));
  EXPECT_EQ(std::vector<long>({p5->ifIndex, p5->adminStatus, p5->reinitDone, p5->portEnabled,
                               p5->portIdSubtype, p5->portStatus}),
            std::vector<long>({105, 4, 1, 1, 5, 1}));
  EXPECT_TRUE(p5->rx.frame == nullptr && p5->tx.frame == nullptr &&
              p5->msapList.next == &p5->msapList);

  EXPECT_EQ(add(4), nullptr);  // pool full
  EXPECT_TRUE(sim::hasLine("if table is empty\r\n"));
  EXPECT_EQ(lldpPortEntryDel(p3), 0);
  EXPECT_EQ(walk(), (std::vector<uint32_t>{1, 5}));
  EXPECT_EQ(lldpPortEntryDel(nullptr), 0x3E80002);
  EXPECT_NE(add(4), nullptr);
  EXPECT_EQ(lldpPortEntryAdd(4), nullptr);  // a second record for a unit: refused
  EXPECT_EQ(walk(), (std::vector<uint32_t>{1, 4, 5}));
  EXPECT_EQ(gLldpInfo.portPool.used, 3u);

  // Unsigned comparison: the high units sort last.
  LldpPort a{}, b{};
  a.unit = 0x80000000u;
  b.unit = 1;
  EXPECT_TRUE(lldpPortEntyrCmp(&a, &b) == 1 && lldpPortEntyrCmp(&b, &a) == -1 && lldpPortEntyrCmp(&a, &a) == 0);
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
  EXPECT_TRUE(sim::hasLine("port ge0/2 DFLTSTATE enable failed !\r\n"));
  EXPECT_TRUE(logged(0x3F50008, "The interface enable protocol error.(ifName=[ge0/2], proto=[lldp], "
                                "type=[defaultstate])\r\n"));
}

TEST_F(PortTest, AdminStatusTransitionsMoveBuffersAndRegistrations) {
  start();
  LldpPort* p = add(1, 1500);
  // 4 -> 3: registered in the current state, both buffers of the MTU.
  ASSERT_EQ(lldpPortEntryInit(p, 3), 0);
  EXPECT_EQ(protoSets(1), (std::vector<uint32_t>{53, 56}));
  EXPECT_EQ(p->protoRegistered, 1);
  ASSERT_TRUE(p->rx.frame != nullptr && p->tx.frame != nullptr);
  EXPECT_EQ(p->rxSize + p->txSize, 3000u);
  EXPECT_TRUE(sim::hasLine("MTU is 1500\r\n"));
  // Same status again: nothing at all.
  const uint8_t* rx = p->rx.frame;
  const uint64_t allocs = sim::totalAllocations();
  EXPECT_EQ(lldpPortEntryInit(p, 3), 0);
  EXPECT_EQ(sim::totalAllocations(), allocs);
  // 3 -> 1: the receive buffer stays, a new transmit buffer, no new
  // registration; the per-VLAN TLV settings survive.
  p->protocolIdTxEnable = 1;
  p->vlanNameTxEnable[3] = 0x10;
  EXPECT_EQ(lldpPortEntryInit(p, 1), 0);
  EXPECT_EQ(p->rx.frame, rx);
  EXPECT_EQ(sim::totalAllocations(), allocs + 1);
  EXPECT_EQ(protoSets(1).size(), 2u);
  EXPECT_EQ(p->protocolIdTxEnable + p->vlanNameTxEnable[3], 0x11);
  // 1 -> 4: deregistered; only the receive buffer goes, the transmit buffer
  // stays for the shutdown frame; the TLV settings are cleared.
  p->dot1TlvTxSupported = 0x0F;
  const size_t live = sim::liveAllocations();
  EXPECT_EQ(lldpPortEntryInit(p, 4), 0);
  EXPECT_EQ(protoSets(1), (std::vector<uint32_t>{53, 56, 57}));
  EXPECT_TRUE(p->rx.frame == nullptr && p->tx.frame != nullptr);
  EXPECT_EQ(sim::liveAllocations(), live - 1);
  EXPECT_EQ(std::vector<long>({p->protoRegistered, p->reinitDone, p->rxState, p->notificationEnable,
                               p->adminStatus, p->basicTlvTxEnabled, p->protocolIdTxEnable,
                               p->vlanNameTxEnable[3], p->dot1TlvTxSupported}),
            std::vector<long>({0, 0, 1, 2, 4, 0, 0, 0, 0x0F}));
  EXPECT_TRUE(sim::hasLine("Freeing port ge0/1 rx framebuffer...\r\n"));
  // 4 -> 2: registered again, a receive buffer; the kept transmit buffer is
  // still there until the port is deleted (TearDown checks nothing leaks).
  EXPECT_EQ(lldpPortEntryInit(p, 2), 0);
  EXPECT_EQ(protoSets(1), (std::vector<uint32_t>{53, 56, 57, 56}));
  EXPECT_NE(p->rx.frame, nullptr);
  EXPECT_TRUE(p->reinitDone == 1 && p->notificationEnable == 0);
  // Out of range: refused, nothing changes.
  for (uint32_t bad : {0u, 5u}) EXPECT_EQ(lldpPortEntryInit(p, bad), 0x3E80010) << bad;
  EXPECT_EQ(p->adminStatus, 2);
  EXPECT_TRUE(sim::hasLine("port ge0/1 unknown port statues in\tlldpPortEntryInit !\r\n"));
  EXPECT_EQ(lldpPortEntryInit(nullptr, 3), -1);
}

TEST_F(PortTest, RefusalsAndAllocationFailuresAbortTheChange) {
  start();
  LldpPort* p = add(1);
  auto state = [p] {
    return std::vector<long>({p->adminStatus, p->protoRegistered, p->rx.frame != nullptr,
                              p->tx.frame != nullptr});
  };
  sim::setIfSetResult(56, 7);
  EXPECT_EQ(lldpPortEntryInit(p, 3), 7);
  EXPECT_EQ(state(), std::vector<long>({4, 0, 0, 0}));
  EXPECT_TRUE(sim::hasLine("port ge0/1 IfSetState failed !ret = 7\r\n"));
  EXPECT_TRUE(sim::hasLine(
      "The interface enable protocol error.(ifName=[ge0/1], proto=[lldp], type=[state])\r\n"));
  sim::setIfSetResult(56, 0);
  sim::failAllocation(1);
  EXPECT_EQ(lldpPortEntryInit(p, 3), 12);
  EXPECT_TRUE(sim::hasLine("no space rx.frame failed. ge0/1\r\n"));
  sim::failAllocation(2);
  EXPECT_EQ(lldpPortEntryInit(p, 3), 12);
  EXPECT_TRUE(sim::hasLine("no space tx.frame failed. ge0/1 \r\n"));
  EXPECT_EQ(state()[0] + state()[3], 4);

  ASSERT_EQ(lldpPortEntryInit(p, 3), 0);
  sim::setIfSetResult(57, 9);
  EXPECT_EQ(lldpPortEntryInit(p, 4), 9);
  EXPECT_EQ(state(), std::vector<long>({3, 1, 1, 1}));
  EXPECT_TRUE(sim::hasLine("port[ge0/1] IfSetState failed.\r\n"));
}

TEST_F(PortTest, MtuAndLinkStateAtInitialisation) {
  start();
  addPort(1, 1522, false);
  sim::failObject(sim::Svc::If, 1, 78);  // MTU unreadable: 1522
  LldpPort* p = lldpPortEntryAdd(1);
  EXPECT_EQ(p->portStatus, 2);
  EXPECT_TRUE(sim::hasLine("port[ge0/1] status[init]-->[linkdown].\r\n"));
  sim::setLinkUp(1, true);
  ASSERT_EQ(lldpPortEntryInit(p, 3), 0);
  EXPECT_EQ(std::vector<long>({p->mtu, p->rxSize, p->txSize, p->portStatus}),
            std::vector<long>({1522, 1522, 1522, 1}));
  EXPECT_TRUE(sim::hasLine("port [ge0/1] status[init]-->[linkup].\r\n"));
  // A tiny MTU still gets a transmit buffer that holds a minimum frame.
  LldpPort* q = add(2, 40, 1);
  EXPECT_TRUE(q->mtu == 40 && q->txSize == 64);
}

TEST_F(PortTest, DeletionDeregistersAndGoesOnAfterRefusals) {
  start();
  EXPECT_EQ(lldpPortEntryDel(add(1, 1522, 3)), 0);
  EXPECT_EQ(protoSets(1), (std::vector<uint32_t>{53, 56, 57, 54}));
  EXPECT_TRUE(sim::hasLine("Interface port:ge0/1 is deleting\r\n"));
  LldpPort* p = add(2, 1522, 3);
  sim::setIfSetResult(57, -1);
  sim::setIfSetResult(54, -1);
  EXPECT_EQ(lldpPortEntryDel(p), 0);
  EXPECT_EQ(lldpPortEntryGet(2), nullptr);
  for (const char* type : {"state", "defaultstate"})
    EXPECT_TRUE(sim::hasLine(std::string("The interface disable protocol error.(ifName=[ge0/2], "
                                         "proto=[lldp], type=[") + type + "])\r\n")) << type;
  EXPECT_TRUE(sim::hasLineContaining(" IfSetState failed !\r\n"));
  EXPECT_TRUE(sim::hasLineContaining(" DFLTSTATE disable failed !\r\n"));
}

// ---- Configuration reset from the platform ----------------------------------

void applyReset(uint32_t unit, uint32_t reason, Bytes m = {}, int64_t cut = -1) {
  if (m.empty()) m = ifMessage(ZOR_RTM_RESETPORTCONFIG, unit, 0, {attr32(4, 9000), attr(75, words({reason, reason == 3 ? 2u : 1u}))});
  lldpPortConfigReset(unit, m.data(), cut >= 0 ? static_cast<uint32_t>(cut) : static_cast<uint32_t>(m.size()));
}

TEST_F(PortTest, ConfigResetByReason) {
  start();
  LldpPort* p = add(1, 1522, 1);
  LldpPort* fresh = add(2, 1522, 3);
  p->notificationEnable = 1;
  p->basicTlvTxEnabled = 0x0F;
  // Reason 0 (manual): disabled and enabled again in dflPortMode, fresh.
  applyReset(1, 0);
  EXPECT_EQ(std::vector<long>({p->adminStatus, p->basicTlvTxEnabled, p->reinitDone, p->notificationEnable}),
            std::vector<long>({3, fresh->basicTlvTxEnabled, 1, 0}));
  EXPECT_NE(p->basicTlvTxEnabled, 0x0F);
  EXPECT_TRUE(logged(0x3F50005, "lldprecv ifUnit:ge0/1 resetcfg type:manual, op: reset all.\r\n"));
  // Other reasons only switch notifications off.
  p->notificationEnable = 1;
  applyReset(1, 7);
  EXPECT_TRUE(p->adminStatus == 3 && p->notificationEnable == 2);
  // Reason 3 (port split): disabled.
  applyReset(1, 3);
  EXPECT_EQ(p->adminStatus, 4);
  EXPECT_TRUE(sim::hasLine("lldprecv ifUnit:ge0/1 resetcfg type:portsplit, op: reset default.\r\n"));
}

TEST_F(PortTest, ConfigResetStaysInsideTheMessage) {
  start();
  LldpPort* p = add(1, 1522, 3);
  p->notificationEnable = 1;
  applyReset(1, 3, {}, 23);  // shorter than a header
  applyReset(1, 3, message(ZOR_RTM_RESETPORTCONFIG, words({0, 1, 0})));  // no interface header
  applyReset(9, 3);  // unknown unit
  EXPECT_EQ(p->notificationEnable, 1);
  // An attribute whose length runs past the message is not read.
  Bytes lying = ifMessage(ZOR_RTM_RESETPORTCONFIG, 1, 0, {attr(75, words({3, 1}))});
  put16(lying, 48, 200);
  applyReset(1, 3, lying);
  EXPECT_TRUE(p->adminStatus == 3 && p->notificationEnable == 2);
  // A total length beyond the buffer: only the buffer is walked.
  Bytes big = ifMessage(ZOR_RTM_RESETPORTCONFIG, 1, 0, {attr(75, words({3, 1}))});
  put32(big, 0, 4000);
  applyReset(1, 3, big);
  EXPECT_EQ(p->adminStatus, 4);
}

}  // namespace
