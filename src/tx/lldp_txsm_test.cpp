// Transmit state machine against the simulated clock: periodic frames,
// txDelay, LLDP-MED fast start, the shutdown frame and reinitDelay, counting.
//
// TX_INFO_FRAME returns to TX_IDLE on the tick that sent, so information
// frames leave msgTxInterval ticks apart, fast-start frames one tick apart,
// and changes never closer than txDelay. The first tick only leaves
// TX_LLDP_INITIALIZE.
#include <gtest/gtest.h>

#include "base/lldp_info.h"
#include "platform/sim/sim.h"
#include "tx/lldp_tx.h"
#include "tx/tx_test_port.h"

namespace {

class TxMachine : public ::testing::Test {
 protected:
  void SetUp() override { txtest::agentDefaults(); }
  // n ticks of the protocol task for this port; `changed` marks a local change before each.
  static void ticks(LldpPort* p, int n, bool changed = false) {
    for (int i = 0; i < n; ++i) {
      if (changed) p->somethingChangedLocal = 1;
      sim::advanceMs(1000);
      lldpTxStatemachineRun(p);
    }
  }
  // Second of the first frame, then the gaps between frames.
  static std::vector<uint64_t> schedule() {
    std::vector<uint64_t> s;
    uint64_t last = 0;
    for (const auto& f : sim::sentFrames()) {
      s.push_back(f.atMs / 1000 - last);
      last = f.atMs / 1000;
    }
    return s;
  }
  // The TTL value, after the chassis ID (9 bytes) and port ID "ge-0/0/5" (11) TLVs.
  static int ttlOf(const std::vector<uint8_t>& f) { return f[14 + 9 + 11 + 2] << 8 | f[14 + 9 + 11 + 3]; }
};

TEST_F(TxMachine, PeriodicFramesAndTtl) {
  txtest::Port port;
  ticks(port.get(), 130);
  // Entering TX_IDLE clears the change flag set by initialisation, so the
  // first frame waits for txTTR like every later one.
  EXPECT_EQ(schedule(), (std::vector<uint64_t>{31, 30, 30, 30}));
  EXPECT_EQ(ttlOf(sim::sentFrames().back().bytes), 120);
  EXPECT_EQ(port->statsFramesOutTotal + gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_OUT], 8u);
  EXPECT_EQ(sim::sentFrames().front().unit, txtest::kUnit);
}

TEST_F(TxMachine, LocalChangesNeverSendTwoWithinTxDelay) {
  gLldpInfo.txDelay = 4;
  txtest::Port port;
  ticks(port.get(), 17, true);
  EXPECT_EQ(schedule(), (std::vector<uint64_t>{5, 4, 4, 4}));
}

TEST_F(TxMachine, MedFastStart) {
  {
    txtest::Port port;  // a network device (type 4) waits for an endpoint
    ticks(port.get(), 5);
    EXPECT_TRUE(port->medFastStart == 0 && port->medTransmitEnabled == 0);
    EXPECT_TRUE(sim::sentFrames().empty());
  }
  gLldpInfo.medDeviceType = 1;  // an endpoint starts MED at once
  gLldpInfo.medFastStartRepeatCount = 4;
  txtest::Port port;
  EXPECT_TRUE(port->medFastStart == 4 && port->medTransmitEnabled == 1);
  ticks(port.get(), 40);
  // Four fast-start frames one second apart, then the regular interval.
  EXPECT_EQ(schedule(), (std::vector<uint64_t>{5 + 2, 1, 1, 1, 30}));
  EXPECT_EQ(port->medFastStart, 0);
}

TEST_F(TxMachine, DisableSendsOneShutdownFrameThenFreesTheBuffer) {
  txtest::Port port;
  ticks(port.get(), 10);
  port->adminStatus = LLDP_ADMIN_RX;
  ticks(port.get(), 1);
  EXPECT_EQ(port->txState, TX_SHUTDOWN_FRAME);
  ASSERT_EQ(sim::sentFrames().size(), 1u);
  const auto& f = sim::sentFrames()[0].bytes;
  EXPECT_EQ(f.size(), 64u);
  EXPECT_EQ(ttlOf(f), 0);
  // The buffer lives reinitDelay (2) more seconds.
  ticks(port.get(), 1);
  EXPECT_NE(port->tx.frame, nullptr);
  port->reinitDone = 0;
  ticks(port.get(), 1);
  EXPECT_EQ(port->tx.frame, nullptr);
  EXPECT_EQ(port->reinitDone, 1);
  ticks(port.get(), 40);
  EXPECT_EQ(port->txState, TX_LLDP_INITIALIZE);
  EXPECT_EQ(sim::sentFrames().size(), 1u);

  // A global disable takes a port down the same way.
  txtest::Port other;
  ticks(other.get(), 5);
  gLldpInfo.globalAdminStatus = 2;
  ticks(other.get(), 1);
  EXPECT_EQ(std::vector<int>({other->txState, other->adminStatus, other->reinitDone}),
            std::vector<int>({TX_SHUTDOWN_FRAME, LLDP_ADMIN_DISABLED, 0}));
  ASSERT_EQ(sim::sentFrames().size(), 2u);
  EXPECT_EQ(ttlOf(sim::sentFrames()[1].bytes), 0);
}

TEST_F(TxMachine, PortNotEnabledCyclesButSendsNothing) {
  gLldpInfo.debugFlags = 0x104;
  txtest::Port port;
  port->portEnabled = 0;
  std::vector<uint16_t> ttr;
  for (int i = 0; i < 61; ++i) {
    ticks(port.get(), 1);
    ttr.push_back(port->txTTR);
  }
  EXPECT_TRUE(sim::sentFrames().empty());
  EXPECT_EQ(port->statsFramesOutTotal, 0u);
  // It still passes through TX_INFO_FRAME on schedule (ticks 31 and 61) and
  // reloads its timer there.
  EXPECT_EQ(sim::countLinesContaining(" TX_IDLE -> TX_INFO_FRAME\r\n"), 2u);
  EXPECT_EQ(std::vector<uint16_t>({ttr[29], ttr[30], ttr[59], ttr[60]}),
            std::vector<uint16_t>({0, 29, 0, 29}));
}

TEST_F(TxMachine, TtlIsCappedAt65535) {
  gLldpInfo.msgTxInterval = 10000;
  gLldpInfo.msgTxHold = 10;
  txtest::Port port;
  ticks(port.get(), 1);
  ticks(port.get(), 3, true);
  ASSERT_EQ(sim::sentFrames().size(), 1u);
  EXPECT_EQ(ttlOf(sim::sentFrames()[0].bytes), 65535);
}

TEST_F(TxMachine, FrameCounting) {
  txtest::Port port;
  port->tx.sendsize = 0;  // nothing built: nothing sent
  EXPECT_EQ(lldpTxFrame(port.get()), -1);
  for (int rc : {0, -1}) {  // a failed send is not counted
    if (rc != 0) sim::setSendResult(-1, 1);
    ASSERT_GT(lldpMibConstrInfoLLDPDU(port.get()), 0u);
    EXPECT_EQ(lldpTxFrame(port.get()), rc);
    EXPECT_EQ(port->tx.sendsize, 0u);
    EXPECT_EQ(port->statsFramesOutTotal + gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_OUT], 2u);
  }
  // An overflowing frame is never handed to the socket; the machine carries on.
  txtest::Port tiny(20);
  ticks(tiny.get(), 5, true);
  EXPECT_EQ(sim::sentFrames().size(), 1u);
  EXPECT_TRUE(tiny->txState == TX_IDLE && tiny->txTTR == gLldpInfo.msgTxInterval - 1);
}

TEST_F(TxMachine, TracesAndBrokenState) {
  gLldpInfo.debugFlags = 0x104;
  txtest::Port port;
  ticks(port.get(), 4, true);
  port->txState = 9;
  ticks(port.get(), 1);
  EXPECT_EQ(port->txState, 9);
  for (const char* l : {"TX_LLDP_INITIALIZE -> TX_IDLE\r\n", " TX_IDLE -> TX_INFO_FRAME\r\n",
                        "TX_INFO_FRAME -> TX_IDLE\r\n", "port ge-0/0/5 -> TX_IDLE\r\n",
                        "send packet to port ge-0/0/5, ret 0.\r\n", "[ERROR] The TX State Machine is broken!\r\n",
                        "The TX State Machine is broken!\r\n", "Unknown TX State: '9'\r\n"})
    EXPECT_TRUE(sim::hasLine(l)) << l;
  EXPECT_TRUE(sim::hasLineContaining("\t medTransmitEnabled: no\r\n"));
  EXPECT_STREQ(txStateFromID(9), "Unknown");
}

}  // namespace
