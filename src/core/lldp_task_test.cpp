// The protocol task: rounds of the loop, the per-second machine, frames and
// platform messages read from the sockets.
#include <gtest/gtest.h>

#include <vector>

#include "core/lldp_task.h"
#include "core/lldp_testutil.h"

using namespace lldptest;

namespace {

// A minimal LLDPDU from a neighbour: chassis ID (MAC), port ID (name), TTL.
Bytes lldpdu(uint8_t who, uint8_t ttl = 120) {
  Bytes f = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E, 0x02, 0, 0, 0, 0, who, 0x88, 0xCC,
             0x02, 0x07, 0x04, 0x02, 0,    0,    0,    0, who, 0x04, 0x03, 0x05, 'p', '1',
             0x06, 0x02, 0,    ttl,  0,    0};
  f.resize(64, 0);
  return f;
}

bool hasNeighbours(const LldpPort* p) { return p->msapList.next != &p->msapList; }

class TaskTest : public AgentTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(startAgent({{"lldp.defaultportmode", "rxtx"}, {"lldp.maxifnum", "8"}}), 0);
  }
  void TearDown() override {
    EXPECT_EQ(sim::semaphoreDepth(), 0) << "lock left taken";
    AgentTest::TearDown();
  }
  // Registers unit through the event socket, sets its status, and runs the
  // rounds that let the receive machine reach its waiting state.
  static LldpPort* registerPort(uint32_t unit, uint32_t status = 3) {
    if (gLldpInfo.machineTimer.active == 0) lldpMainStart();
    addPort(unit);
    sim::queueEvent(registration(unit));
    lldpMainRound();
    LldpPort* p = lldpPortEntryGet(unit);
    EXPECT_NE(p, nullptr);
    if (p != nullptr && status != 3) { EXPECT_EQ(lldpPortEntryInit(p, status), 0); }
    rounds(3);
    return p;
  }
  static void rounds(int n) {
    for (int i = 0; i < n; ++i) lldpMainRound();
  }
};

int noop(void*, void*) { return 0; }

TEST_F(TaskTest, WaitUsesTheNextTimerOrOneSecond) {
  lldpMainRound();  // no timer armed: one second
  EXPECT_EQ(sim::nowMs(), 1000u);
  // The machine timer: one second per round, rearmed each time.
  lldpMainStart();
  const uint64_t starts = sim::callCount("silTimerStart");
  rounds(1);
  EXPECT_EQ(sim::nowMs(), 2000u);
  EXPECT_EQ(sim::callCount("silTimerStart"), starts + 1);
  // A timer 250 ms ahead: the wait is exactly that long.
  SilTimer t{};
  silTimerStart(&gLldpInfo.timerList, &t, 250, noop, nullptr, nullptr);
  lldpMainRound();
  EXPECT_EQ(sim::nowMs(), 2250u);
}

// Frames reach only ports that receive. One that only receives (here the
// start-up default) learns and ages its neighbour and never sends, while the
// transmit-only port beside it sends; transmit-only, disabled and unknown
// ports drop frames silently.
TEST_F(TaskTest, FramesReachOnlyPortsThatReceive) {
  stopAgent();
  ASSERT_EQ(startAgent({{"lldp.defaultportmode", "rx"}, {"lldp.maxifnum", "8"}}), 0);
  LldpPort* rx = registerPort(1);
  LldpPort* tx = registerPort(2, 1);
  LldpPort* off = registerPort(3, 4);
  ASSERT_EQ(rx->adminStatus, LLDP_ADMIN_RX);
  gLldpInfo.debugFlags |= 0x1;
  sim::clearLogLines();
  sim::queueFrame(1, lldpdu(0xA1, 10));
  lldpMainRound();
  EXPECT_EQ(rx->statsFramesInTotal, 1u);
  EXPECT_TRUE(hasNeighbours(rx));
  EXPECT_TRUE(sim::hasLine("packet len=64\r\n"));
  sim::clearLogLines();
  sim::queueFrame(2, lldpdu(0xA2));
  sim::queueFrame(3, lldpdu(0xA3));
  sim::queueFrame(9, lldpdu(0xA9));
  rounds(3);
  EXPECT_EQ(sim::queuedFrames(), 0u);
  EXPECT_EQ(tx->statsFramesInTotal + tx->rx.recvsize + off->statsFramesInTotal, 0u);
  EXPECT_FALSE(sim::hasLineContaining("packet len="));
  EXPECT_EQ(gLldpInfo.memCurRems, 1u);
  rounds(40);
  EXPECT_FALSE(hasNeighbours(rx));
  EXPECT_EQ(gLldpInfo.statsRemTablesAgeouts, 1u);
  ASSERT_FALSE(sim::sentFrames().empty());
  for (const auto& f : sim::sentFrames()) EXPECT_EQ(f.unit, 2u);

  // The frame is read before the event of the same round.
  addPort(4);
  sim::queueFrame(4, lldpdu(0xC1));
  sim::queueEvent(registration(4));
  lldpMainRound();
  ASSERT_NE(lldpPortEntryGet(4), nullptr);
  EXPECT_EQ(lldpPortEntryGet(4)->rx.recvsize, 0u);
}

TEST_F(TaskTest, AuxiliaryDataPointerIsReusedOnceKnown) {
  LldpPort* p = registerPort(1);
  sim::queueFrame(1, lldpdu(0xB1), false);  // no auxiliary data known yet: dropped
  lldpMainRound();
  EXPECT_EQ(p->rx.recvsize, 0u);
  sim::queueFrame(1, lldpdu(0xB2), true, 0x33);
  lldpMainRound();
  p->rx.info = 0;
  // Without its own, a frame reads the previous frame's auxiliary data.
  sim::queueFrame(1, lldpdu(0xB3), false);
  lldpMainRound();
  EXPECT_EQ(p->rx.info, 0x33u);
  EXPECT_EQ(p->statsFramesInTotal, 2u);
}

TEST_F(TaskTest, LinkDownDropsNeighboursAtTheNextTickAndStopsSending) {
  LldpPort* p = registerPort(1);
  sim::queueFrame(1, lldpdu(0xD1));
  lldpMainRound();
  ASSERT_TRUE(hasNeighbours(p));
  sim::setLinkUp(1, false);
  sim::queueEvent(change(1, {attr8(16, 2)}));
  lldpMainRound();  // the event; the tick has not come yet
  EXPECT_TRUE(p->portStatus == 2 && hasNeighbours(p));
  lldpMainRound();
  EXPECT_FALSE(hasNeighbours(p));
  EXPECT_EQ(gLldpInfo.memCurRems, 0u);
  sim::clearSentFrames();
  rounds(40);
  EXPECT_TRUE(sim::sentFrames().empty());
}

TEST_F(TaskTest, TransmitGateStopsSendingButNotReceiving) {
  sim::setInt(sim::Svc::Hw, 0, 55, 0);
  LldpPort* p = registerPort(1);
  sim::queueFrame(1, lldpdu(0xE1, 3));
  lldpMainRound();
  EXPECT_TRUE(hasNeighbours(p));
  rounds(40);
  EXPECT_TRUE(sim::sentFrames().empty());
  EXPECT_EQ(p->statsAgeoutsTotal, 1u) << "a 3-second neighbour ages out all the same";
  sim::setInt(sim::Svc::Hw, 0, 55, 1);  // gate open: the port sends
  rounds(3);
  EXPECT_FALSE(sim::sentFrames().empty());
}

TEST_F(TaskTest, DisabledPortStillSendsItsShutdownFrame) {
  LldpPort* p = registerPort(1);
  rounds(2);
  ASSERT_FALSE(sim::sentFrames().empty());
  sim::clearSentFrames();
  ASSERT_EQ(lldpPortEntryInit(p, 4), 0);
  rounds(2);
  ASSERT_EQ(sim::sentFrames().size(), 1u);
  const Bytes& f = sim::sentFrames()[0].bytes;  // TTL TLV right after chassis and port IDs
  EXPECT_EQ(Bytes(f.begin() + 31, f.begin() + 35), (Bytes{0x06, 0x02, 0, 0}));
  rounds(40);
  EXPECT_EQ(sim::sentFrames().size(), 1u);
}

}  // namespace
