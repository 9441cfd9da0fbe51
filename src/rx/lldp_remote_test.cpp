// The remote table's life cycle against the virtual clock, the receive state
// machine's ageing and hold-offs, and the notifier's outputs.
#include <gtest/gtest.h>

#include "rx/rx_test_util.h"

using namespace rxtest;

namespace {

using V = std::vector<long>;
size_t groupSends(uint16_t type) {
  size_t n = 0;
  for (auto& g : sim::groupSends())
    if (g.bytes.size() == 56 && ((g.bytes[4] << 8) | g.bytes[5]) == type) ++n;
  return n;
}

Frame neighbour(const std::string& chassis, uint16_t ttl, const std::string& name = "sw") {
  Frame f;
  f.head(chassis, "p1", ttl).tlv(5, str(name)).end();
  return f;
}

TEST(RemoteTable, InsertThenUnchangedRefreshWithoutNotification) {
  Agent a;
  sim::setInt(sim::Svc::Hw, 0, 54, 0);  // a unit of a stack
  sim::advanceMs(7000);
  ASSERT_EQ(a.recv(neighbour("A", 120)), RX_FRAME_OK);
  ASSERT_EQ(neighbours(a.port()).size(), 1u);
  Msap* m = neighbours(a.port())[0];
  EXPECT_EQ(lldpMsapEntyrGet(0, 7, 1, 1), m);
  EXPECT_EQ((V{m->remIndex, m->timeMark[0], m->timeMark[1], gLldpInfo.statsRemTablesInserts, gLldpInfo.memCurRems,
               a.port()->remSysTotal, gLldpInfo.statsRemTablesLastChangeTime[1], long(groupSends(280)),
               long(sim::cmdSyncs().size())}),
            (V{1, 0, 7, 1, 1, 1, 7, 1, 1}));
  EXPECT_TRUE(sim::hasLine("New MSAP Cache Miss on portge1\r\n"));

  for (int i = 0; i < 10; ++i) a.tick();
  EXPECT_EQ(m->rxInfoTTL, 110);
  ASSERT_EQ(a.recv(neighbour("A", 120)), RX_FRAME_OK);
  ASSERT_EQ(neighbours(a.port()).size(), 1u);
  EXPECT_EQ(neighbours(a.port())[0], m) << "the stored record stays";
  // No notification for a refresh, but the stack is told.
  EXPECT_EQ((V{m->rxInfoTTL, gLldpInfo.statsRemTablesInserts, gLldpInfo.statsRemTablesLastChangeTime[1],
               long(sim::groupSends().size()), long(sim::cmdSyncs().size())}),
            (V{120, 1, 7, 1, 2}));
  EXPECT_TRUE(sim::hasLine("Same MSAP\tCache Hit on port ge1\r\n"));
}

TEST(RemoteTable, ChangeKeepsIndexAndMovesToFrontWithRateLimitedNotifications) {
  Agent a;
  sim::setInt(sim::Svc::Hw, 0, 54, 0);  // a unit of a stack
  gLldpInfo.trapInterval = 5;
  sim::advanceMs(1000);
  a.recv(neighbour("A", 120, "v0"));
  a.recv(neighbour("B", 120));
  auto ns = neighbours(a.port());
  ASSERT_EQ(ns.size(), 2u);
  EXPECT_EQ(text(ns[0]->chassId, 1), "B");
  const uint32_t idxA = ns[1]->remIndex;

  sim::advanceMs(9000);  // up-time 10
  const size_t syncs = sim::cmdSyncs().size();
  a.recv(neighbour("A", 100, "v1"));
  ns = neighbours(a.port());
  ASSERT_EQ(ns.size(), 2u);
  EXPECT_EQ(text(ns[0]->sysName, ns[0]->sysNameLen), "v1");
  EXPECT_EQ(lldpMsapEntyrGet(0, 1, 1, idxA), ns[0]) << "the tree holds the new record";
  EXPECT_EQ((V{ns[0]->remIndex, ns[0]->timeMark[1], gLldpInfo.statsRemTablesLastChangeTime[1],
               gLldpInfo.statsRemTablesInserts, gLldpInfo.statsRemTablesDeletes, a.port()->rxChanges,
               long(groupSends(281)), long(sim::cmdSyncs().size() - syncs)}),
            (V{idxA, 1, 10, 2, 0, 1, 1, 1}));

  sim::advanceMs(2000);  // 2 s after the last change notification: suppressed
  a.recv(neighbour("A", 100, "v2"));
  EXPECT_EQ(groupSends(281), 1u);
  EXPECT_EQ(sim::cmdSyncs().size(), syncs + 2);
  EXPECT_EQ(gLldpInfo.statsRemTablesLastChangeTime[1], 12u);

  sim::advanceMs(3000);  // 5 s: allowed again
  a.recv(neighbour("A", 100, "v3"));
  EXPECT_EQ(groupSends(281), 2u);
  EXPECT_EQ(gLldpInfo.lastTrapTime, 15u);
}

TEST(RemoteTable, ShutdownOfKnownAndUnknownNeighbours) {
  Agent a;
  a.recv(neighbour("A", 120));
  a.recv(neighbour("B", 120));
  const Counters before = Counters::of(a.port());
  // A real shutdown frame carries the mandatory TLVs only, so it differs.
  a.recv(Frame().head("A", "p1", 0).end());
  auto ns = neighbours(a.port());
  ASSERT_EQ(ns.size(), 1u);
  EXPECT_EQ(text(ns[0]->chassId, 1), "B");
  const Counters after = Counters::of(a.port());
  EXPECT_EQ((V{after.deletes - before.deletes, after.ageouts - before.ageouts,
               after.tableAgeouts - before.tableAgeouts, gLldpInfo.memCurRems, a.port()->remSysTotal,
               long(groupSends(281))}),
            (V{1, 1, 0, 1, 1, 1}));
  EXPECT_TRUE(sim::hasLine("MSAP rxTTL is zero and shall be delete on unit ge1 \r\n"));

  a.port()->somethingChangedRemote = 0;
  const size_t events = sim::groupSends().size();
  a.recv(Frame().head("Z", "p1", 0).end());
  EXPECT_EQ(neighbours(a.port()).size(), 1u);
  EXPECT_EQ(a.port()->somethingChangedRemote, 1);
  EXPECT_EQ(sim::groupSends().size(), events);
  EXPECT_EQ(Counters::of(a.port()).deletes, after.deletes);
}

TEST(RemoteTable, FullTableDropsNewcomersAndHoldsOff) {
  Agent a(2);
  a.recv(neighbour("A", 120));
  a.recv(neighbour("B", 120));
  a.recv(neighbour("C", 50));
  EXPECT_EQ(neighbours(a.port()).size(), 2u);
  EXPECT_EQ((V{gLldpInfo.statsRemTablesDrops, a.port()->tooManyNeighbors, a.port()->tooManyNeighborsTimer}),
            (V{1, 1, 50}));
  EXPECT_TRUE(sim::hasLine("too many neighbors(2/2) on port ge1 !\r\n"));
  a.recv(neighbour("D", 90));
  EXPECT_EQ(gLldpInfo.statsRemTablesDrops, 2u);
  EXPECT_EQ(sim::countLinesContaining("too many neighbors(2/2)"), 1u) << "traced once while held off";
  EXPECT_EQ(sim::countLinesContaining("too many neighbors, discard new MSAP Cache"), 2u);
  EXPECT_EQ(a.port()->tooManyNeighborsTimer, 50) << "not raised while the flag is set";
  // Known neighbours still refresh.
  EXPECT_EQ(a.recv(neighbour("A", 120)), RX_FRAME_OK);
  for (int i = 0; i < 49; ++i) a.tick();
  EXPECT_EQ(a.port()->tooManyNeighbors, 1);
  a.tick();
  EXPECT_EQ((V{a.port()->tooManyNeighbors, a.port()->tooManyNeighborsTimer}), (V{0, 0}));
  // A hold-off already running longer than the newcomer's TTL is kept.
  a.port()->tooManyNeighborsTimer = 200;
  a.recv(neighbour("E", 30));
  EXPECT_EQ((V{a.port()->tooManyNeighbors, a.port()->tooManyNeighborsTimer}), (V{1, 200}));
}

TEST(RemoteTable, NoLimitConfiguredAdmitsNobody) {
  Agent a(0);
  a.recv(neighbour("A", 120));
  EXPECT_TRUE(neighbours(a.port()).empty());
  EXPECT_EQ(gLldpInfo.statsRemTablesDrops, 1u);
}

TEST(RemoteTable, RemIndexSkipsZeroOnWrap) {
  Agent a;
  gLldpInfo.remIndex = 0xFFFFFFFEu;
  a.recv(neighbour("A", 120));
  a.recv(neighbour("B", 120));
  auto ns = neighbours(a.port());
  EXPECT_EQ(ns[1]->remIndex, 0xFFFFFFFFu);
  EXPECT_EQ(ns[0]->remIndex, 1u);
  // Tree order: time mark, port, remIndex as a signed value.
  Msap* first = static_cast<Msap*>(avl_first(&gLldpInfo.msapTable));
  EXPECT_EQ(first->remIndex, 0xFFFFFFFFu);
}

TEST(RxTimers, TwoNeighboursAgeOutInTheSameSecond) {
  Agent a;
  a.recv(neighbour("A", 3));
  a.recv(neighbour("B", 3));
  a.recv(neighbour("C", 10));
  a.tick();
  a.tick();
  EXPECT_EQ(neighbours(a.port()).size(), 3u);
  const size_t events = sim::groupSends().size();
  a.tick();
  auto ns = neighbours(a.port());
  ASSERT_EQ(ns.size(), 1u);
  EXPECT_EQ(text(ns[0]->chassId, 1), "C");
  EXPECT_EQ((V{gLldpInfo.statsRemTablesAgeouts, a.port()->statsAgeoutsTotal, gLldpInfo.statsRemTablesDeletes,
               gLldpInfo.memCurRems, long(sim::groupSends().size() - events),
               long(sim::countLinesContaining("MSAP is deleted on port ge1")), long(avl_count(&gLldpInfo.msapTable))}),
            (V{2, 2, 2, 1, 2, 2, 1}));
}

TEST(RxTimers, TransmitOnlyPortStillAges) {
  Agent a;
  a.recv(neighbour("A", 2));
  a.port()->adminStatus = LLDP_ADMIN_TX;
  a.tick();
  a.tick();
  EXPECT_TRUE(neighbours(a.port()).empty());
  EXPECT_EQ(gLldpInfo.statsRemTablesAgeouts, 1u);
}

TEST(RxMachine, PortGoingDownLosesItsNeighboursAndStatistics) {
  Agent a;
  a.recv(neighbour("A", 120));
  a.recv(neighbour("B", 120));
  a.recv(Frame().port("x").end());  // one error to be cleared
  EXPECT_EQ(a.port()->statsFramesInErrorsTotal, 1u);
  a.port()->portEnabled = 0;
  sim::clearLogLines();
  lldpRxStatemachineRun(a.port());
  EXPECT_TRUE(neighbours(a.port()).empty());
  // The ageouts count the neighbours the initialisation removed.
  EXPECT_EQ((V{a.port()->rxState, a.port()->statsFramesInErrorsTotal, a.port()->statsFramesInTotal,
               a.port()->statsAgeoutsTotal, long(groupSends(281))}),
            (V{LLDP_WAIT_PORT_OPERATIONAL, 0, 0, 2, 2}));
  EXPECT_TRUE(sim::hasLine("[RXSTATE] port[ge1] RX_WAIT_FOR_FRAME -> LLDP_WAIT_PORT_OPERATIONAL\r\n"));
  // Learning again after link up is crossed end to end by tests/link_test.sh.
}

TEST(RxMachine, DisablingReceptionReinitialises) {
  Agent a;
  a.recv(neighbour("A", 120));
  a.port()->adminStatus = LLDP_ADMIN_TX;
  lldpRxStatemachineRun(a.port());
  EXPECT_EQ(a.port()->rxState, RX_LLDP_INITIALIZE);
  EXPECT_TRUE(neighbours(a.port()).empty());
  lldpRxStatemachineRun(a.port());
  EXPECT_EQ(a.port()->rxState, RX_LLDP_INITIALIZE) << "stays while reception is off";
  EXPECT_STREQ(rxStateFromID(9), "Unknown");
  EXPECT_TRUE(sim::hasLine("[RXSTATE] Unknown RX State: '9'\r\n"));
}

TEST(RxMachine, MedTransmissionFollowsMedNeighboursOnConnectivityDevices) {
  Agent a;
  gLldpInfo.medDeviceType = 4;
  a.port()->medTransmitEnabled = 0;  // as the transmit side leaves a connectivity device
  a.port()->medFastStart = 0;
  a.port()->medFastStartRepeatCount = 4;
  Frame med;
  med.head("phone", "p1", 2).org(kMed, 1, {0x00, 0x33, 0x03}).end();
  a.recv(neighbour("plain", 120));
  EXPECT_EQ(a.port()->medTransmitEnabled, 0);
  a.recv(med);
  EXPECT_EQ((V{a.port()->remMedSysTotal, a.port()->medTransmitEnabled, a.port()->medFastStart}), (V{1, 1, 4}));
  a.port()->medFastStart = 1;  // the transmit side counts it down
  a.recv(med);
  EXPECT_EQ(a.port()->medFastStart, 1) << "no second burst while MED is on";
  a.tick();
  a.tick();
  EXPECT_EQ((V{a.port()->remMedSysTotal, a.port()->medTransmitEnabled, a.port()->medFastStart,
               a.port()->remSysTotal}),
            (V{0, 0, 0, 1}));
}

TEST(RxMachine, MedPropertyChangeAdjustsTheMedCount) {
  Agent a;
  Frame med;
  med.head("x", "p1", 120).org(kMed, 1, {0x00, 0x33, 0x03}).end();
  a.recv(med);
  EXPECT_EQ(a.port()->remMedSysTotal, 1u);
  a.recv(neighbour("x", 120));
  EXPECT_EQ(a.port()->remMedSysTotal, 0u);
  a.recv(med);
  EXPECT_EQ(a.port()->remMedSysTotal, 1u);
  EXPECT_EQ(a.port()->remSysTotal, 1u);
}

// ---- Notifications ---------------------------------------------------------

TEST(Notifier, AddWithTrapsOffStillPublishesTheEvent) {
  Agent a;
  sim::advanceMs(3000);
  Frame f;
  f.head("A", "p1", 120).tlv(7, {0x00, 0x14, 0x00, 0x04}).org(kDot1, 1, {0, 1}).org(kDot3, 4, {5, 0xEE})
      .org(kMed, 1, {0, 0x33, 1}).org(kPriv, 1, {0, 1}).end();
  a.recv(f);
  EXPECT_TRUE(sim::traps().empty());
  for (auto& l : sim::logLines()) EXPECT_TRUE(l.debug) << l.text;
  ASSERT_EQ(sim::groupSends().size(), 1u);
  const auto& g = sim::groupSends()[0];
  EXPECT_EQ(g.group, 71u);
  const Bytes want{0, 0, 0, 56, 0x01, 0x18, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                   0, 0, 0, 0, 0, 0, 0, 3,     // time mark
                   0, 0, 0, 1, 0, 0, 0, 1,     // port unit, remIndex
                   0x20, 0x00,                 // enabled capabilities, bit-reversed
                   0x80, 0x00, 0x10, 0x00, 0x80, 0x00, 0x80, 0x00,  // received-TLV maps
                   0, 0, 0, 0, 0, 0};
  EXPECT_EQ(g.bytes, want);
  EXPECT_TRUE(sim::hasLine("lldpNotifySend event=280.\r\n"));
}

TEST(Notifier, LogLinesAndTrapsPerFlag) {
  Agent a;
  a.port()->notificationEnable = 1;
  a.port()->medNotificationEnable = 1;
  Frame med;
  med.head("phone", "p1", 120).org(kMed, 1, {0, 0x33, 3}).end();
  a.recv(med);
  a.recv(Frame().head("phone", "p1", 0).end());  // shutdown: delete
  std::vector<std::string> logs;
  for (auto& l : sim::logLines())
    if (!l.debug) logs.push_back(std::to_string(l.module) + " " + l.text);
  const std::vector<std::string> want{
      "66387977 lldp remote information change. (ifName=[ge1],reason=[add])\r\n",
      "66387978 lldp remote med information change. (ifName=[ge1],reason=[add])\r\n",
      "66387977 lldp remote information change. (ifName=[ge1],reason=[delete])\r\n",
      "66387978 lldp remote med information change. (ifName=[ge1],reason=[delete])\r\n"};
  EXPECT_EQ(logs, want);
  ASSERT_EQ(sim::traps().size(), 4u);
  EXPECT_FALSE(sim::traps()[0].med);
  EXPECT_EQ(sim::traps()[0].args, (std::vector<uint32_t>{1}));
  const auto& t = sim::traps()[3];
  EXPECT_TRUE(t.med);
  // time mark high, low, port, remIndex, chassis subtype, chassis length,
  // device type, reason.
  EXPECT_EQ(t.args, (std::vector<uint32_t>{0, 0, 1, 1, 7, 5, 3, 2}));
  EXPECT_EQ(t.chassisId, str("phone"));

  // With LLDP-MED off in the extension mask only the plain notification.
  gLldpInfo.extEnabled &= ~LLDP_EXT_MED;
  const size_t n = sim::traps().size();
  a.recv(med);
  ASSERT_EQ(sim::traps().size(), n + 1);
  EXPECT_FALSE(sim::traps().back().med);
}

}  // namespace
