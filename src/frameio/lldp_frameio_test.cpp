// Frame I/O: sending, receiving into a port, MTU changes, the packet filter
// and the packet trace.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "core/lldp_testutil.h"
#include "frameio/lldp_frameio.h"

using namespace lldptest;

namespace {

class FrameIoTest : public AgentTest {
 protected:
  void SetUp() override { ASSERT_EQ(startAgent({{"lldp.defaultportmode", "rxtx"}}), 0); }
  static LldpPort* port(uint32_t unit, uint32_t status, uint32_t mtu = 1522) {
    addPort(unit, mtu);
    LldpPort* p = lldpPortEntryAdd(unit);
    EXPECT_EQ(lldpPortEntryInit(p, status), 0);
    return p;
  }
  const Bytes f = pattern(64);
  uint8_t aux[20] = {};

 public:
  static Bytes pattern(size_t n, uint8_t first = 0) {
    Bytes b(n);
    for (size_t i = 0; i < n; ++i) b[i] = static_cast<uint8_t>(first + i);
    return b;
  }
};

TEST_F(FrameIoTest, PacketTraceIsExactAndGatedByItsMask) {
  lldpPktPrintf(f.data(), 20, 0, 1);  // debugFlags 0x100: mask 1 is off
  EXPECT_TRUE(sim::logLines().empty());
  gLldpInfo.debugFlags |= 1 | 4;
  gLldpInfo.debugLevel[0] = 6;
  gLldpInfo.debugLevel[2] = 3;
  const std::string sep = "=================================================\r\n";
  // Module 0x3F500<class>, level, priority and text of every line.
  auto lines = [] {
    std::vector<std::string> out;
    for (const auto& l : sim::logLines())
      out.push_back((l.debug ? "" : "LOG ") + std::to_string(l.module - 0x3F50000) + "/" +
                    std::to_string(l.level) + "/" + std::to_string(l.priority) + " " + l.text);
    sim::clearLogLines();
    return out;
  };
  lldpPktPrintf(f.data(), 20, 0, 1);
  EXPECT_EQ(lines(), (std::vector<std::string>{
                         "0/6/2 packet len=20\r\n", "0/0/3 " + sep,
                         "0/0/3 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \r\n",
                         "0/0/3 10 11 12 13 ", "0/0/1 \r\nlen:20, print len:20\r\n" + sep}));
  // Whole lines only: no empty partial line. The transmit side's class 2.
  const Bytes g = pattern(32, 0xE0);
  lldpPktPrintf(g.data(), 32, 2, 4);
  EXPECT_EQ(lines(), (std::vector<std::string>{
                         "2/3/2 packet len=32\r\n", "0/0/3 " + sep,
                         "0/0/3 e0 e1 e2 e3 e4 e5 e6 e7 e8 e9 ea eb ec ed ee ef \r\n",
                         "0/0/3 f0 f1 f2 f3 f4 f5 f6 f7 f8 f9 fa fb fc fd fe ff \r\n",
                         "0/0/1 \r\nlen:32, print len:32\r\n" + sep}));
  // The plain hex dump: one run of bytes, then the line end at priority 1.
  lldpDebugHex(g.data(), 2);
  const auto hexLines = lines();
  ASSERT_EQ(hexLines.size(), 3u);
  EXPECT_EQ(hexLines[1].substr(hexLines[1].size() - 5), "3 e1 ");
  EXPECT_EQ(hexLines[2].substr(hexLines[2].size() - 4), "1 \r\n");
}

TEST_F(FrameIoTest, SendBuildsTheAddressAndReportsFailures) {
  LldpPort* p = port(7, 3);
  EXPECT_EQ(lldpBufferSend(p, f.data(), 64), 0);
  ASSERT_EQ(sim::sentFrames().size(), 1u);
  EXPECT_EQ(sim::sentFrames()[0].bytes, f);
  EXPECT_EQ(sim::sentFrames()[0].addr, (Bytes{17, 0, 0xCC, 0x88, 7, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  gLldpInfo.dstEtherType = 0xFFCC;
  EXPECT_EQ(lldpBufferSend(p, f.data(), 64), 0);
  EXPECT_EQ(sim::sentFrames()[1].protocol, 0xFFCC);

  gLldpInfo.debugFlags |= 0x4;
  sim::clearLogLines();
  sim::setLinkUp(7, false);
  EXPECT_EQ(lldpBufferSend(p, f.data(), 64), -1);
  EXPECT_TRUE(sim::sentFrames().size() == 2u && sim::logLines().empty());  // link down: silent
  sim::setLinkUp(7, true);
  for (int result : {63, -1}) {  // one byte short is a failure too
    sim::setSendResult(result, 1);
    EXPECT_EQ(lldpBufferSend(p, f.data(), 64), -1);
  }
  EXPECT_EQ(sim::logLines().size(), 2u);
  EXPECT_TRUE(sim::hasLine("call sendto failed on port ge0/7 !\r\n"));
}

TEST_F(FrameIoTest, ReceiveIntoThePort) {
  LldpPort* p = port(1, 3, 100);
  aux[16] = 0x5A;
  const Bytes big = pattern(150, 1);
  EXPECT_EQ(lldpMsgRecv(p, aux, big.data(), 150), 0);  // cut to the buffer
  EXPECT_EQ(p->rx.recvsize, 100u);
  EXPECT_EQ(0, std::memcmp(p->rx.frame, big.data(), 100));
  EXPECT_EQ(p->rx.info, 0x5Au);
  const Bytes small = pattern(30, 0x80);
  EXPECT_EQ(lldpMsgRecv(p, aux, small.data(), 30), 0);  // old bytes cleared
  EXPECT_EQ(Bytes(p->rx.frame, p->rx.frame + 100), concat({small, Bytes(70, 0)}));
  // An empty frame does not wake the receiver.
  p->rcvFrame = 0;
  EXPECT_EQ(lldpMsgRecv(p, aux, f.data(), 0), 0);
  EXPECT_TRUE(p->rx.recvsize == 0 && p->rcvFrame == 0);
  // 3 -> 1 keeps the receive buffer: a frame is stored, the machine not woken.
  ASSERT_EQ(lldpPortEntryInit(p, 1), 0);
  const uint8_t state = p->rxState;
  EXPECT_EQ(lldpMsgRecv(p, aux, f.data(), 64), 0);
  EXPECT_TRUE(p->rx.recvsize == 64 && p->rcvFrame == 0 && p->rxState == state);
  EXPECT_EQ(p->statsFramesInTotal + p->statsFramesDiscardedTotal + p->statsFramesInErrorsTotal, 0u);
  // A port without a receive buffer takes nothing.
  LldpPort* q = port(2, 1);
  EXPECT_EQ(lldpMsgRecv(q, aux, f.data(), 64), 0);
  EXPECT_EQ(q->rx.recvsize, 0u);
}

TEST_F(FrameIoTest, LldpduOffsetSkipsOneVlanTag) {
  LldpPort* p = port(1, 3);
  const struct {
    uint8_t hi, lo;
    uint32_t offset;
  } cases[] = {{0x88, 0xCC, 14}, {0x81, 0x00, 18}, {0x88, 0xA8, 18},
               {0x91, 0x00, 18}, {0x92, 0x00, 14}, {0x81, 0x01, 14}};
  for (const auto& c : cases) {
    Bytes g = f;
    g[12] = c.hi;
    g[13] = c.lo;
    p->rxLldpduOffset = 0;
    lldpMsgRecv(p, aux, g.data(), 64);
    EXPECT_EQ(p->rxLldpduOffset, c.offset) << std::hex << int{c.hi} << int{c.lo};
  }
  lldpMsgRecv(p, aux, f.data(), 2);  // a runt
  EXPECT_EQ(p->rxLldpduOffset, 14u);
}

TEST_F(FrameIoTest, MtuChangeReplacesOnlyTheEnabledDirections) {
  LldpPort* tx = port(1, 1);
  const uint64_t allocs = sim::totalAllocations();
  EXPECT_EQ(lldpIfChangeMtu(1, 1522), 0);   // same value: nothing
  EXPECT_EQ(lldpIfChangeMtu(42, 9000), 0);  // unknown unit: nothing
  EXPECT_EQ(lldpIfChangeMtu(1, 9000), 0);
  EXPECT_EQ(sim::totalAllocations(), allocs + 1);
  EXPECT_EQ(tx->rx.frame, nullptr);
  EXPECT_EQ(std::vector<long>({tx->txSize, tx->tx.freesize, tx->mtu}), std::vector<long>({9000, 9000, 9000}));
  LldpPort* both = port(2, 3);
  auto sizes = [both] { return std::vector<long>({both->mtu, both->rxSize, both->txSize, both->tx.freesize}); };
  EXPECT_EQ(lldpIfChangeMtu(2, 2000), 0);
  EXPECT_EQ(sizes(), std::vector<long>({2000, 2000, 2000, 2000}));
  // A failed allocation keeps the old buffer; the MTU is taken anyway.
  sim::failAllocation(1);
  EXPECT_EQ(lldpIfChangeMtu(2, 3000), 0);
  EXPECT_EQ(sizes(), std::vector<long>({3000, 3000, 2000, 2000}));
  // A short MTU is applied as reported; the transmit buffer keeps 64 bytes.
  EXPECT_EQ(lldpIfChangeMtu(2, 20), 0);
  EXPECT_EQ(sizes()[0] + sizes()[1], 40);
  EXPECT_EQ(both->txSize, 64u);
  // An absurd MTU is taken too, but the buffers stop at 64 KiB.
  EXPECT_EQ(lldpIfChangeMtu(2, 0xFFFFFFF0u), 0);
  EXPECT_EQ(std::vector<long>({both->rxSize, both->txSize}), std::vector<long>({65536, 65536}));
  EXPECT_EQ(both->mtu, 0xFFFFFFF0u);
}

TEST_F(FrameIoTest, PacketFilterRecords) {
  const int fd = gLldpInfo.dataSock;
  const size_t before = sim::sockOpts().size();
  EXPECT_EQ(lldpSocketPktFilterSet(0x01020304, lldpMcastMac, 1), 0);
  ASSERT_EQ(sim::sockOpts().size(), before + 2);
  const auto& unitRec = sim::sockOpts()[before];
  EXPECT_TRUE(unitRec.fd == fd && unitRec.level == 0xFFFF && unitRec.name == 4122);
  EXPECT_EQ(unitRec.value, (Bytes{4, 3, 2, 1, 1, 0, 0, 0, 2, 28, 0, 0, 4, 3, 2, 1,
                                  0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(sim::sockOpts()[before + 1].value, (Bytes{4, 3, 2, 1, 2, 0, 0, 0, 5, 28, 0, 0, 0x01, 0x80,
                                                      0xC2, 0x00, 0x00, 0x0E, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
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
