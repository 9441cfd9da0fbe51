// Transmit state machine against the simulated clock: periodic frames,
// txDelay, LLDP-MED fast start, the shutdown frame and reinitDelay, counting.
//
// TX_INFO_FRAME returns to TX_IDLE on the tick that sent, so information
// frames leave msgTxInterval ticks apart, fast-start frames one tick apart,
// and changes never closer than txDelay. The first tick only leaves
// TX_LLDP_INITIALIZE.
#include <gtest/gtest.h>

#include <algorithm>

#include "core/lldp_info.h"
#include "platform/sim/sim.h"
#include "tx/lldp_tx.h"
#include "tx/tx_test_port.h"

namespace {

class TxMachine : public ::testing::Test {
 protected:
  void SetUp() override { txtest::agentDefaults(); }

  // One tick of the protocol task for this port.
  static void tick(LldpPort* p) {
    sim::advanceMs(1000);
    lldpTxStatemachineRun(p);
  }
  static std::vector<uint64_t> sendSeconds() {
    std::vector<uint64_t> s;
    for (const auto& f : sim::sentFrames()) s.push_back(f.atMs / 1000);
    return s;
  }
  static std::vector<uint64_t> gaps(const std::vector<uint64_t>& at) {
    std::vector<uint64_t> g;
    for (size_t i = 1; i < at.size(); ++i) g.push_back(at[i] - at[i - 1]);
    return g;
  }
  static uint16_t ttlOf(const std::vector<uint8_t>& frame) {
    for (const auto& t : txtest::tlvs(frame))
      if (t.type == 3) return static_cast<uint16_t>(t.value[0] << 8 | t.value[1]);
    return 0xDEAD;
  }
};

TEST_F(TxMachine, PeriodicFramesAndTtl) {
  txtest::Port port;
  for (int i = 0; i < 200; ++i) tick(port.get());
  const auto at = sendSeconds();
  ASSERT_GE(at.size(), 6u);
  // Entering TX_IDLE clears the change flag set by initialisation, so the
  // first frame waits for txTTR like every later one.
  EXPECT_EQ(at[0], gLldpInfo.msgTxInterval + 1u);
  for (uint64_t g : gaps(at)) EXPECT_EQ(g, gLldpInfo.msgTxInterval);
  EXPECT_EQ(port->txTTL, 120);
  EXPECT_EQ(ttlOf(sim::sentFrames().back().bytes), 120);
  EXPECT_EQ(port->statsFramesOutTotal, at.size());
  EXPECT_EQ(gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_OUT], at.size());
  EXPECT_EQ(sim::sentFrames().front().unit, txtest::kUnit);
}

TEST_F(TxMachine, LocalChangesNeverSendTwoWithinTxDelay) {
  gLldpInfo.txDelay = 4;
  txtest::Port port;
  for (int i = 0; i < 60; ++i) {
    port->somethingChangedLocal = 1;
    tick(port.get());
  }
  const auto g = gaps(sendSeconds());
  ASSERT_GE(g.size(), 5u);
  for (uint64_t x : g) {
    EXPECT_EQ(x, gLldpInfo.txDelay);
  }
}

TEST_F(TxMachine, MedFastStartThenNormalSpacing) {
  gLldpInfo.medDeviceType = 1;  // an endpoint starts MED at once
  gLldpInfo.medFastStartRepeatCount = 4;
  txtest::Port port;
  EXPECT_EQ(port->medFastStart, 4);
  EXPECT_EQ(port->medTransmitEnabled, 1);
  for (int i = 0; i < 80; ++i) tick(port.get());
  const auto g = gaps(sendSeconds());
  ASSERT_GE(g.size(), 5u);
  // Four fast-start frames one second apart, then the regular interval.
  EXPECT_EQ(sendSeconds().front(), 2u);
  EXPECT_EQ(std::vector<uint64_t>(g.begin(), g.begin() + 4),
            (std::vector<uint64_t>{1, 1, 1, gLldpInfo.msgTxInterval}));
  EXPECT_EQ(port->medFastStart, 0);
}

TEST_F(TxMachine, NetworkDeviceWaitsForAnEndpointBeforeFastStart) {
  txtest::Port port;  // medDeviceType 4
  EXPECT_EQ(port->medFastStart, 0);
  EXPECT_EQ(port->medTransmitEnabled, 0);
  for (int i = 0; i < 5; ++i) tick(port.get());
  EXPECT_EQ(port->medTransmitEnabled, 0);
  EXPECT_TRUE(sim::sentFrames().empty());  // an endpoint would have sent two by now
}

TEST_F(TxMachine, DisableSendsOneShutdownFrameThenFreesTheBuffer) {
  txtest::Port port;
  for (int i = 0; i < 10; ++i) tick(port.get());
  ASSERT_EQ(port->txState, TX_IDLE);
  sim::clearSentFrames();

  port->adminStatus = LLDP_ADMIN_RX;
  tick(port.get());
  EXPECT_EQ(port->txState, TX_SHUTDOWN_FRAME);
  ASSERT_EQ(sim::sentFrames().size(), 1u);
  const auto& f = sim::sentFrames()[0].bytes;
  EXPECT_EQ(f.size(), 64u);
  EXPECT_EQ(ttlOf(f), 0);
  EXPECT_EQ(txtest::tlvs(f).size(), 4u);

  // The buffer lives reinitDelay more seconds.
  for (int i = 1; i < gLldpInfo.reinitDelay; ++i) {
    tick(port.get());
    EXPECT_NE(port->tx.frame, nullptr) << i;
  }
  port->reinitDone = 0;
  tick(port.get());
  EXPECT_EQ(port->tx.frame, nullptr);
  EXPECT_EQ(port->reinitDone, 1);
  EXPECT_EQ(port->txState, TX_LLDP_INITIALIZE);
  for (int i = 0; i < 40; ++i) tick(port.get());
  EXPECT_EQ(port->txState, TX_LLDP_INITIALIZE);
  EXPECT_EQ(sim::sentFrames().size(), 1u);
}

TEST_F(TxMachine, GlobalDisableTakesThePortDown) {
  txtest::Port port;
  for (int i = 0; i < 5; ++i) tick(port.get());
  sim::clearSentFrames();
  gLldpInfo.globalAdminStatus = 2;
  tick(port.get());
  EXPECT_EQ(port->txState, TX_SHUTDOWN_FRAME);
  EXPECT_EQ(port->adminStatus, LLDP_ADMIN_DISABLED);
  EXPECT_EQ(port->reinitDone, 0);
  ASSERT_EQ(sim::sentFrames().size(), 1u);
  EXPECT_EQ(ttlOf(sim::sentFrames()[0].bytes), 0);
}

TEST_F(TxMachine, PortNotEnabledCyclesButSendsNothing) {
  gLldpInfo.debugFlags = 0x104;
  txtest::Port port;
  port->portEnabled = 0;
  std::vector<uint16_t> ttr;
  for (int i = 0; i < 70; ++i) {
    tick(port.get());
    ttr.push_back(port->txTTR);
  }
  EXPECT_TRUE(sim::sentFrames().empty());
  EXPECT_EQ(port->statsFramesOutTotal, 0u);
  // It still passes through TX_INFO_FRAME on schedule (ticks 31 and 61) and
  // reloads its timers there.
  EXPECT_EQ(sim::countLinesContaining(" TX_IDLE -> TX_INFO_FRAME\r\n"), 2u);
  EXPECT_EQ(ttr[29], 0);
  EXPECT_EQ(ttr[30], gLldpInfo.msgTxInterval - 1);
  EXPECT_EQ(ttr[59], 0);
  EXPECT_EQ(ttr[60], gLldpInfo.msgTxInterval - 1);
  EXPECT_EQ(port->txState, TX_IDLE);
  EXPECT_EQ(port->somethingChangedLocal, 0);
}

TEST_F(TxMachine, TtlIsCappedAt65535) {
  gLldpInfo.msgTxInterval = 10000;
  gLldpInfo.msgTxHold = 10;
  txtest::Port port;
  for (int i = 0; i < 4; ++i) {
    if (i == 1) port->somethingChangedLocal = 1;
    tick(port.get());
  }
  EXPECT_EQ(port->txTTL, 65535);
  ASSERT_EQ(sim::sentFrames().size(), 1u);
  EXPECT_EQ(ttlOf(sim::sentFrames()[0].bytes), 65535);
}

TEST_F(TxMachine, FrameCounting) {
  txtest::Port port;
  // Nothing built: nothing sent.
  port->tx.sendsize = 0;
  EXPECT_EQ(lldpTxFrame(port.get()), -1);
  EXPECT_TRUE(sim::sentFrames().empty());

  ASSERT_GT(lldpMibConstrInfoLLDPDU(port.get()), 0u);
  EXPECT_EQ(lldpTxFrame(port.get()), 0);
  EXPECT_EQ(port->tx.sendsize, 0u);
  EXPECT_EQ(port->statsFramesOutTotal, 1u);
  EXPECT_EQ(gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_OUT], 1u);

  // A failed send is not counted.
  sim::setSendResult(-1, 1);
  ASSERT_GT(lldpMibConstrInfoLLDPDU(port.get()), 0u);
  EXPECT_EQ(lldpTxFrame(port.get()), -1);
  EXPECT_EQ(port->tx.sendsize, 0u);
  EXPECT_EQ(port->statsFramesOutTotal, 1u);
  EXPECT_EQ(gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_OUT], 1u);

  // An overflowing frame is never handed to the socket; the machine carries on.
  txtest::Port tiny(20);
  sim::clearSentFrames();
  for (int i = 0; i < 5; ++i) {
    tiny->somethingChangedLocal = 1;
    tick(tiny.get());
  }
  EXPECT_TRUE(sim::sentFrames().empty());
  EXPECT_EQ(tiny->txState, TX_IDLE);
  EXPECT_EQ(tiny->txTTR, gLldpInfo.msgTxInterval - 1);
}

TEST_F(TxMachine, TracesAndBrokenState) {
  gLldpInfo.debugFlags = 0x104;
  txtest::Port port;
  for (int i = 0; i < 4; ++i) {
    port->somethingChangedLocal = 1;
    tick(port.get());
  }
  EXPECT_TRUE(sim::hasLine("TX_LLDP_INITIALIZE -> TX_IDLE\r\n"));
  EXPECT_TRUE(sim::hasLine(" TX_IDLE -> TX_INFO_FRAME\r\n"));
  EXPECT_TRUE(sim::hasLine("TX_INFO_FRAME -> TX_IDLE\r\n"));
  EXPECT_TRUE(sim::hasLine("port ge-0/0/5 -> TX_IDLE\r\n"));
  EXPECT_TRUE(sim::hasLine("send packet to port ge-0/0/5, ret 0.\r\n"));
  EXPECT_TRUE(sim::hasLineContaining("\t medTransmitEnabled: no\r\n"));

  port->txState = 9;
  tick(port.get());
  EXPECT_EQ(port->txState, 9);
  EXPECT_TRUE(sim::hasLine("[ERROR] The TX State Machine is broken!\r\n"));
  EXPECT_TRUE(sim::hasLine("The TX State Machine is broken!\r\n"));
  EXPECT_TRUE(sim::hasLine("Unknown TX State: '9'\r\n"));
  EXPECT_STREQ(txStateFromID(9), "Unknown");
}

}  // namespace
