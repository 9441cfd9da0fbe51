// Frame I/O: sending, receiving into a port, MTU changes, the packet filter
// and the packet trace.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "core/lldp_info.h"
#include "core/lldp_testutil.h"
#include "frameio/lldp_frameio.h"
#include "platform/sim/sim.h"
#include "port/lldp_port.h"

using namespace lldptest;

namespace {

class FrameIoTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(startAgent({{"lldp.defaultportmode", "rxtx"}}), 0); }
  void TearDown() override {
    stopAgent();
    EXPECT_EQ(sim::liveAllocations(), 0u);
  }
  LldpPort* port(uint32_t unit, uint32_t status, uint32_t mtu = 1522) {
    addPort(unit, mtu);
    LldpPort* p = lldpPortEntryAdd(unit);
    EXPECT_EQ(lldpPortEntryInit(p, status), 0);
    return p;
  }
};

Bytes pattern(size_t n, uint8_t first = 0) {
  Bytes b(n);
  for (size_t i = 0; i < n; ++i) b[i] = static_cast<uint8_t>(first + i);
  return b;
}

// ---- Packet trace ---------------------------------------------------------------

TEST_F(FrameIoTest, PacketTraceIsExactAndGatedByItsMask) {
  const Bytes f = pattern(20);
  sim::clearLogLines();
  lldpPktPrintf(f.data(), 20, 0, 1);  // debugFlags 0x100: mask 1 is off
  EXPECT_TRUE(sim::logLines().empty());

  gLldpInfo.debugFlags |= 1;
  gLldpInfo.debugLevel[0] = 6;
  lldpPktPrintf(f.data(), 20, 0, 1);
  const std::string sep = "=================================================\r\n";
  const struct {
    uint32_t module, level, priority;
    std::string text;
  } want[] = {
      {0x3F50000, 6, 2, "packet len=20\r\n"},
      {0x3F50000, 0, 3, sep},
      {0x3F50000, 0, 3, "00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \r\n"},
      {0x3F50000, 0, 3, "10 11 12 13 "},
      {0x3F50000, 0, 1, "\r\nlen:20, print len:20\r\n" + sep},
  };
  ASSERT_EQ(sim::logLines().size(), std::size(want));
  for (size_t i = 0; i < std::size(want); ++i) {
    const auto& l = sim::logLines()[i];
    EXPECT_TRUE(l.debug);
    EXPECT_EQ(l.module, want[i].module) << i;
    EXPECT_EQ(l.level, want[i].level) << i;
    EXPECT_EQ(l.priority, want[i].priority) << i;
    EXPECT_EQ(l.text, want[i].text) << i;
  }

  // Whole lines only: no empty partial line. The transmit side's class 2.
  sim::clearLogLines();
  gLldpInfo.debugFlags = 0x4;
  gLldpInfo.debugLevel[2] = 3;
  const Bytes g = pattern(32, 0xE0);
  lldpPktPrintf(g.data(), 32, 2, 4);
  ASSERT_EQ(sim::logLines().size(), 5u);
  EXPECT_EQ(sim::logLines()[0].module, 0x3F50002u);
  EXPECT_EQ(sim::logLines()[0].level, 3u);
  EXPECT_EQ(sim::logLines()[3].text, "f0 f1 f2 f3 f4 f5 f6 f7 f8 f9 fa fb fc fd fe ff \r\n");
  EXPECT_EQ(sim::logLines()[4].text, "\r\nlen:32, print len:32\r\n" + sep);

  // The plain hex dump: one run of bytes, then the line end at priority 1.
  sim::clearLogLines();
  lldpDebugHex(g.data(), 2);
  ASSERT_EQ(sim::logLines().size(), 3u);
  EXPECT_EQ(sim::logLines()[1].text, "e1 ");
  EXPECT_EQ(sim::logLines()[1].priority, 3u);
  EXPECT_EQ(sim::logLines()[2].text, "\r\n");
  EXPECT_EQ(sim::logLines()[2].priority, 1u);
}

// ---- Sending ---------------------------------------------------------------------

TEST_F(FrameIoTest, SendBuildsTheLinkLayerAddress) {
  LldpPort* p = port(7, 3);
  const Bytes f = pattern(64);
  EXPECT_EQ(lldpBufferSend(p, f.data(), 64), 0);
  ASSERT_EQ(sim::sentFrames().size(), 1u);
  const auto& s = sim::sentFrames()[0];
  EXPECT_EQ(s.bytes, f);
  const Bytes addr = {17, 0, 0xCC, 0x88, 7, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(s.addr, addr);

  gLldpInfo.dstEtherType = 0xFFCC;
  EXPECT_EQ(lldpBufferSend(p, f.data(), 64), 0);
  EXPECT_EQ(sim::sentFrames()[1].protocol, 0xFFCC);
}

TEST_F(FrameIoTest, SendFailures) {
  LldpPort* p = port(1, 3);
  const Bytes f = pattern(64);
  gLldpInfo.debugFlags |= 0x4;
  sim::clearLogLines();

  sim::setLinkUp(1, false);
  EXPECT_EQ(lldpBufferSend(p, f.data(), 64), -1);
  EXPECT_TRUE(sim::sentFrames().empty());
  EXPECT_TRUE(sim::logLines().empty());  // link down: silent
  sim::setLinkUp(1, true);

  sim::setSendResult(63, 1);  // one byte short is a failure
  EXPECT_EQ(lldpBufferSend(p, f.data(), 64), -1);
  EXPECT_TRUE(sim::hasLine("call sendto failed on port ge0/1 !\r\n"));
  sim::setSendResult(-1, 1);
  EXPECT_EQ(lldpBufferSend(p, f.data(), 64), -1);
  EXPECT_EQ(sim::countLinesContaining("call sendto failed"), 2u);
}

// ---- Receiving -------------------------------------------------------------------

TEST_F(FrameIoTest, ReceivedFrameIsCutToTheBufferAndOldBytesCleared) {
  LldpPort* p = port(1, 3, 100);
  uint8_t aux[20] = {};
  aux[16] = 0x5A;
  const Bytes big = pattern(150, 1);
  EXPECT_EQ(lldpMsgRecv(p, aux, big.data(), 150), 0);
  EXPECT_EQ(p->rx.recvsize, 100u);
  EXPECT_EQ(0, std::memcmp(p->rx.frame, big.data(), 100));
  EXPECT_EQ(p->rx.info, 0x5Au);

  const Bytes small = pattern(30, 0x80);
  EXPECT_EQ(lldpMsgRecv(p, aux, small.data(), 30), 0);
  EXPECT_EQ(p->rx.recvsize, 30u);
  EXPECT_EQ(0, std::memcmp(p->rx.frame, small.data(), 30));
  for (uint32_t i = 30; i < 100; ++i) ASSERT_EQ(p->rx.frame[i], 0) << i;
}

TEST_F(FrameIoTest, EmptyFramesAndTransmitOnlyPortsDoNotWakeTheReceiver) {
  uint8_t aux[20] = {};
  const Bytes f = pattern(64);

  LldpPort* p = port(1, 3);
  p->rcvFrame = 0;
  EXPECT_EQ(lldpMsgRecv(p, aux, f.data(), 0), 0);
  EXPECT_EQ(p->rx.recvsize, 0u);
  EXPECT_EQ(p->rcvFrame, 0);

  // 3 -> 1 keeps the receive buffer; a frame handed over is stored but the
  // receive machine is not woken.
  ASSERT_EQ(lldpPortEntryInit(p, 1), 0);
  ASSERT_NE(p->rx.frame, nullptr);
  EXPECT_EQ(lldpMsgRecv(p, aux, f.data(), 64), 0);
  EXPECT_EQ(p->rx.recvsize, 64u);
  EXPECT_EQ(p->rcvFrame, 0);

  // A port without a receive buffer takes nothing.
  LldpPort* q = port(2, 1);
  EXPECT_EQ(lldpMsgRecv(q, aux, f.data(), 64), 0);
  EXPECT_EQ(q->rx.recvsize, 0u);
}

TEST_F(FrameIoTest, LldpduOffsetSkipsOneVlanTag) {
  LldpPort* p = port(1, 3);
  uint8_t aux[20] = {};
  const struct {
    uint8_t hi, lo;
    uint32_t offset;
  } cases[] = {{0x88, 0xCC, 14}, {0x81, 0x00, 18}, {0x88, 0xA8, 18},
               {0x91, 0x00, 18}, {0x92, 0x00, 14}, {0x81, 0x01, 14}};
  for (const auto& c : cases) {
    Bytes f = pattern(64);
    f[12] = c.hi;
    f[13] = c.lo;
    p->rxLldpduOffset = 0;
    lldpMsgRecv(p, aux, f.data(), 64);
    EXPECT_EQ(p->rxLldpduOffset, c.offset) << std::hex << int{c.hi} << int{c.lo};
  }
  Bytes runt = {0x01, 0x80};
  lldpMsgRecv(p, aux, runt.data(), 2);
  EXPECT_EQ(p->rxLldpduOffset, 14u);
}

// ---- MTU changes ------------------------------------------------------------------

TEST_F(FrameIoTest, MtuChangeReplacesOnlyTheEnabledDirections) {
  LldpPort* tx = port(1, 1);
  EXPECT_EQ(tx->rx.frame, nullptr);
  const uint64_t allocs = sim::totalAllocations();
  EXPECT_EQ(lldpIfChangeMtu(1, 1522), 0);  // same value: nothing
  EXPECT_EQ(lldpIfChangeMtu(42, 9000), 0);  // unknown unit: nothing
  EXPECT_EQ(sim::totalAllocations(), allocs);

  EXPECT_EQ(lldpIfChangeMtu(1, 9000), 0);
  EXPECT_EQ(sim::totalAllocations(), allocs + 1);
  EXPECT_EQ(tx->rx.frame, nullptr);
  EXPECT_EQ(tx->txSize, 9000u);
  EXPECT_EQ(tx->tx.freesize, 9000u);
  EXPECT_EQ(tx->mtu, 9000u);

  LldpPort* both = port(2, 3);
  EXPECT_EQ(lldpIfChangeMtu(2, 2000), 0);
  EXPECT_EQ(both->rxSize, 2000u);
  EXPECT_EQ(both->txSize, 2000u);

  // A failed allocation keeps the old buffer; the MTU is taken anyway.
  sim::failAllocation(1);
  EXPECT_EQ(lldpIfChangeMtu(2, 3000), 0);
  EXPECT_EQ(both->txSize, 2000u);
  EXPECT_EQ(both->tx.freesize, 2000u);
  EXPECT_EQ(both->rxSize, 3000u);
  EXPECT_EQ(both->mtu, 3000u);

  // A short MTU is applied as reported; the transmit buffer keeps 64 bytes.
  EXPECT_EQ(lldpIfChangeMtu(2, 20), 0);
  EXPECT_EQ(both->mtu, 20u);
  EXPECT_EQ(both->rxSize, 20u);
  EXPECT_EQ(both->txSize, 64u);
}

// ---- Packet filter ----------------------------------------------------------------

TEST_F(FrameIoTest, PacketFilterRecords) {
  const int fd = gLldpInfo.dataSock;
  const size_t before = sim::sockOpts().size();
  EXPECT_EQ(lldpSocketPktFilterSet(0x01020304, lldpMcastMac, 1), 0);
  ASSERT_EQ(sim::sockOpts().size(), before + 2);
  const auto& unitRec = sim::sockOpts()[before];
  const auto& macRec = sim::sockOpts()[before + 1];
  EXPECT_EQ(unitRec.fd, fd);
  EXPECT_EQ(unitRec.level, 0xFFFF);
  EXPECT_EQ(unitRec.name, 4122);
  const Bytes wantUnit = {4, 3, 2, 1, 1, 0, 0, 0, 2, 28, 0, 0, 4, 3, 2, 1,
                          0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  const Bytes wantMac = {4, 3, 2, 1, 2, 0, 0, 0, 5, 28, 0, 0, 0x01, 0x80, 0xC2, 0x00,
                         0x00, 0x0E, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(unitRec.value, wantUnit);
  EXPECT_EQ(macRec.value, wantMac);

  EXPECT_EQ(lldpSocketPktFilterSet(5, lldpMcastMac, 2), 0);
  EXPECT_EQ(sim::sockOpts().back().name, 4123);

  const size_t n = sim::sockOpts().size();
  EXPECT_EQ(lldpSocketPktFilterSet(5, lldpMcastMac, 3), 0);
  EXPECT_EQ(lldpSocketPktFilterSet(5, lldpMcastMac, 0), 0);
  EXPECT_EQ(sim::sockOpts().size(), n);

  // The second record is not tried once the first is refused.
  const uint64_t calls = sim::callCount("zor_setsockopt");
  sim::failCall("zor_setsockopt");
  EXPECT_EQ(lldpSocketPktFilterSet(5, lldpMcastMac, 1), -1);
  EXPECT_EQ(sim::callCount("zor_setsockopt"), calls + 1);
  sim::failCall("zor_setsockopt", 2);
  EXPECT_EQ(lldpSocketPktFilterSet(5, lldpMcastMac, 1), -1);

  gLldpInfo.dataSock = -1;
  EXPECT_EQ(lldpSocketPktFilterSet(5, lldpMcastMac, 1), -1);
  gLldpInfo.dataSock = fd;
}

}  // namespace
