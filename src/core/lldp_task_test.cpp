// The protocol task: rounds of the loop, the per-second machine, frames and
// platform messages read from the sockets.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/lldp_core.h"
#include "core/lldp_info.h"
#include "core/lldp_task.h"
#include "core/lldp_testutil.h"
#include "platform/sil.h"
#include "platform/sim/sim.h"
#include "port/lldp_port.h"

using namespace lldptest;

namespace {

// A minimal LLDPDU from a neighbour: chassis ID (MAC), port ID (name), TTL.
Bytes lldpdu(uint8_t who, uint16_t ttl = 120) {
  Bytes f = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E, 0x02, 0x00, 0x00, 0x00, 0x00, who, 0x88, 0xCC};
  const Bytes chassis = {0x02, 0x07, 0x04, 0x02, 0x00, 0x00, 0x00, 0x00, who};
  const Bytes port = {0x04, 0x03, 0x05, 'p', '1'};
  const Bytes ttlTlv = {0x06, 0x02, static_cast<uint8_t>(ttl >> 8), static_cast<uint8_t>(ttl)};
  for (const Bytes* t : {&chassis, &port, &ttlTlv}) f.insert(f.end(), t->begin(), t->end());
  f.push_back(0);
  f.push_back(0);
  f.resize(64, 0);
  return f;
}

bool hasNeighbours(const LldpPort* p) { return p->msapList.next != &p->msapList; }

class TaskTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(startAgent({{"lldp.defaultportmode", "rxtx"}, {"lldp.maxifnum", "8"}}), 0);
  }
  void TearDown() override {
    EXPECT_EQ(sim::semaphoreDepth(), 0) << "lock left taken";
    stopAgent();
    EXPECT_EQ(sim::liveAllocations(), 0u);
  }
  // Registers unit through the event socket and runs the round that reads it.
  LldpPort* registerPort(uint32_t unit, uint32_t status = 3) {
    addPort(unit);
    sim::queueEvent(registration(unit));
    lldpMainRound();
    LldpPort* p = lldpPortEntryGet(unit);
    EXPECT_NE(p, nullptr);
    if (p != nullptr && status != 3) {
      lldpLock();
      EXPECT_EQ(lldpPortEntryInit(p, status), 0);
      lldpUnLock();
    }
    return p;
  }
  static void rounds(int n) {
    for (int i = 0; i < n; ++i) lldpMainRound();
  }
};

int noop(void*, void*) { return 0; }

TEST_F(TaskTest, WaitUsesTheNextTimerOrOneSecond) {
  // No timer armed: a round waits one second.
  lldpMainRound();
  EXPECT_EQ(sim::nowMs(), 1000u);

  // A timer 1250 ms ahead: the wait is exactly that long (seconds and
  // microseconds both used).
  SilTimer t{};
  silTimerStart(&gLldpInfo.timerList, &t, 1250, noop, nullptr, nullptr);
  lldpMainRound();
  EXPECT_EQ(sim::nowMs(), 2250u);
  lldpMainRound();
  EXPECT_EQ(sim::nowMs(), 3250u);
}

TEST_F(TaskTest, MachineTimerRunsEverySecondAndRearms) {
  lldpMainStart();
  const uint64_t starts = sim::callCount("silTimerStart");
  rounds(5);
  EXPECT_EQ(sim::nowMs(), 5000u);
  EXPECT_EQ(sim::callCount("silTimerStart"), starts + 5);
  EXPECT_EQ(silTimerListNextTimeout(&gLldpInfo.timerList), 1000);
}

TEST_F(TaskTest, FramesReachOnlyPortsThatReceive) {
  lldpMainStart();
  LldpPort* rx = registerPort(1);
  LldpPort* tx = registerPort(2, 1);
  LldpPort* off = registerPort(3, 4);
  rounds(3);  // let the receive machines reach their waiting state
  gLldpInfo.debugFlags |= 0x1;
  sim::clearLogLines();

  sim::queueFrame(1, lldpdu(0xA1));
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
  EXPECT_EQ(tx->statsFramesInTotal, 0u);
  EXPECT_EQ(tx->rx.recvsize, 0u);
  EXPECT_EQ(off->statsFramesInTotal, 0u);
  EXPECT_FALSE(sim::hasLineContaining("packet len="));
  EXPECT_EQ(gLldpInfo.memCurRems, 1u);
}

TEST_F(TaskTest, AuxiliaryDataPointerIsReusedOnceKnown) {
  lldpMainStart();
  LldpPort* p = registerPort(1);
  rounds(3);

  // No frame has carried auxiliary data yet: dropped.
  sim::queueFrame(1, lldpdu(0xB1), false);
  lldpMainRound();
  EXPECT_EQ(p->rx.recvsize, 0u);

  sim::queueFrame(1, lldpdu(0xB2), true, 0x33);
  lldpMainRound();
  EXPECT_EQ(p->rx.info, 0x33u);
  EXPECT_EQ(p->statsFramesInTotal, 1u);

  // Without its own, a frame reads the previous frame's auxiliary data.
  p->rx.info = 0;
  sim::queueFrame(1, lldpdu(0xB3), false);
  lldpMainRound();
  EXPECT_EQ(p->rx.info, 0x33u);
  EXPECT_EQ(p->statsFramesInTotal, 2u);
}

TEST_F(TaskTest, FrameIsReadBeforeTheEventOfTheSameRound) {
  lldpMainStart();
  addPort(1);
  sim::queueFrame(1, lldpdu(0xC1));
  sim::queueEvent(registration(1));
  lldpMainRound();
  EXPECT_EQ(sim::queuedFrames(), 0u);
  EXPECT_EQ(sim::queuedEvents(), 0u);
  LldpPort* p = lldpPortEntryGet(1);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p->rx.recvsize, 0u);  // the port did not exist when the frame was read
}

TEST_F(TaskTest, LinkDownDropsNeighboursAtTheNextTick) {
  lldpMainStart();
  LldpPort* p = registerPort(1);
  rounds(3);
  sim::queueFrame(1, lldpdu(0xD1));
  lldpMainRound();
  ASSERT_TRUE(hasNeighbours(p));

  sim::queueEvent(change(1, {attr8(16, 2)}));
  lldpMainRound();  // the event; the tick has not come yet
  EXPECT_EQ(p->portStatus, 2);
  EXPECT_TRUE(hasNeighbours(p));
  lldpMainRound();
  EXPECT_FALSE(hasNeighbours(p));
  EXPECT_EQ(gLldpInfo.memCurRems, 0u);
}

TEST_F(TaskTest, TransmitGateStopsSendingButNotReceiving) {
  sim::setInt(sim::Svc::Hw, 0, 55, 0);
  lldpMainStart();
  LldpPort* p = registerPort(1);
  rounds(3);
  sim::queueFrame(1, lldpdu(0xE1, 3));
  lldpMainRound();
  EXPECT_TRUE(hasNeighbours(p));
  rounds(40);
  EXPECT_TRUE(sim::sentFrames().empty());
  EXPECT_FALSE(hasNeighbours(p)) << "a 3-second neighbour ages out all the same";
  EXPECT_EQ(p->statsAgeoutsTotal, 1u);

  // Gate open: the port sends.
  sim::setInt(sim::Svc::Hw, 0, 55, 1);
  rounds(3);
  EXPECT_FALSE(sim::sentFrames().empty());
}

TEST_F(TaskTest, DisabledPortStillSendsItsShutdownFrame) {
  lldpMainStart();
  LldpPort* p = registerPort(1);
  rounds(5);
  ASSERT_FALSE(sim::sentFrames().empty());
  sim::clearSentFrames();

  lldpLock();
  ASSERT_EQ(lldpPortEntryInit(p, 4), 0);
  lldpUnLock();
  rounds(2);
  ASSERT_FALSE(sim::sentFrames().empty());
  // The shutdown frame advertises a TTL of 0: TLV type 3 (0x06 0x02) with 0.
  const Bytes& f = sim::sentFrames()[0].bytes;
  bool ttlZero = false;
  for (size_t i = 14; i + 3 < f.size(); ++i)
    ttlZero |= f[i] == 0x06 && f[i + 1] == 0x02 && f[i + 2] == 0 && f[i + 3] == 0;
  EXPECT_TRUE(ttlZero);

  // Once the shutdown is done nothing more goes out.
  rounds(5);
  sim::clearSentFrames();
  rounds(40);
  EXPECT_TRUE(sim::sentFrames().empty());
}

TEST_F(TaskTest, NoMachineRunsOnALinkDownPort) {
  lldpMainStart();
  registerPort(1);
  sim::setLinkUp(1, false);
  sim::queueEvent(change(1, {attr8(16, 2)}));
  lldpMainRound();
  sim::clearSentFrames();
  rounds(40);
  EXPECT_TRUE(sim::sentFrames().empty());
}

}  // namespace
