// Tests of the simulated platform: the parts other tests lean on.
#include <gtest/gtest.h>

#include <cstring>

#include "platform/sil.h"
#include "platform/sim/sim.h"
#include "platform/zor_socket.h"

namespace {

class SimTest : public ::testing::Test {
 protected:
  void SetUp() override { sim::reset(); }
  void TearDown() override { sim::reset(); }
};

std::vector<uint8_t> lldpFrame(size_t len) {
  std::vector<uint8_t> f(len);
  const uint8_t hdr[14] = {0x01, 0x80, 0xC2, 0, 0, 0x0E, 0x02, 0x11, 0x22, 0x33, 0x44, 0x55,
                           0x88, 0xCC};
  std::memcpy(f.data(), hdr, sizeof(hdr));
  for (size_t i = 14; i < len; i++) f[i] = static_cast<uint8_t>(i);
  return f;
}

TEST_F(SimTest, FrameWithAuxDataIsCutToTheCallersBuffers) {
  int fd = zor_socket(ZOR_AF_PACKET, ZOR_SOCK_RAW, 0);
  ASSERT_EQ(fd, 3);
  std::vector<uint8_t> frame = lldpFrame(100);
  sim::queueFrame(7, frame, true, 0x2A);

  uint8_t buf[60];
  uint8_t name[12];
  uint8_t control[64];
  std::memset(control, 0xEE, sizeof(control));
  ZorIovec iov{buf, sizeof(buf)};
  ZorMsg msg{name, sizeof(name), &iov, 1, control, sizeof(control), 0};
  ASSERT_EQ(zor_recvmsg(fd, &msg, 0), 60);
  EXPECT_EQ(0, std::memcmp(buf, frame.data(), 60));
  // The 20-byte address is cut to 12 bytes: family, protocol, interface.
  EXPECT_EQ(msg.nameLen, 12u);
  ZorSockAddrLl ll{};
  std::memcpy(&ll, name, 12);
  EXPECT_EQ(ll.family, ZOR_AF_PACKET);
  EXPECT_EQ(ll.protocol, 0x88CC);
  EXPECT_EQ(ll.ifIndex, 7u);

  ASSERT_EQ(msg.controlLen, 32u);
  ZorCmsgHdr hdr;
  std::memcpy(&hdr, control, sizeof(hdr));
  EXPECT_EQ(hdr.len, 32u);
  EXPECT_EQ(hdr.level, ZOR_SOL_PACKET);
  EXPECT_EQ(hdr.type, ZOR_PACKET_AUXDATA);
  EXPECT_EQ(control[12 + 16], 0x2A);
  EXPECT_EQ(control[32], 0xEE);  // nothing written past the record
  EXPECT_EQ(sim::queuedFrames(), 0u);
  EXPECT_LT(zor_recvmsg(fd, &msg, 0), 0);  // queue empty
}

TEST_F(SimTest, SelectReportsQueuedInputOrLetsTheTimeoutPass) {
  int pkt = zor_socket(ZOR_AF_PACKET, ZOR_SOCK_RAW, 0);
  int nl = zor_socket(ZOR_AF_NETLINK, ZOR_SOCK_RAW, 0);
  ZorFdSet rd;
  ZOR_FD_ZERO(&rd);
  ZOR_FD_SET(pkt, &rd);
  ZOR_FD_SET(nl, &rd);
  ZorTimeval tv{1, 500};
  EXPECT_EQ(zor_select(nl + 1, &rd, nullptr, nullptr, &tv), 0);
  EXPECT_EQ(sim::nowMs(), 1001u);
  EXPECT_FALSE(ZOR_FD_ISSET(pkt, &rd));
  EXPECT_EQ(silGetUpTime(), 1u);

  sim::queueEvent({1, 2, 3});
  ZOR_FD_ZERO(&rd);
  ZOR_FD_SET(pkt, &rd);
  ZOR_FD_SET(nl, &rd);
  EXPECT_EQ(zor_select(nl + 1, &rd, nullptr, nullptr, &tv), 1);
  EXPECT_EQ(sim::nowMs(), 1001u);  // no time passes when input is waiting
  EXPECT_TRUE(ZOR_FD_ISSET(nl, &rd));
  EXPECT_FALSE(ZOR_FD_ISSET(pkt, &rd));

  // A socket left out of the set is not reported even with input waiting.
  ZOR_FD_ZERO(&rd);
  ZOR_FD_SET(pkt, &rd);
  EXPECT_EQ(zor_select(nl + 1, &rd, nullptr, nullptr, &tv), 0);
  EXPECT_EQ(sim::nowMs(), 2002u);

  uint8_t ev[2];
  EXPECT_EQ(zor_recvfrom(nl, ev, sizeof(ev), 0, nullptr, nullptr), 2);
  EXPECT_EQ(ev[1], 2);
  EXPECT_EQ(sim::queuedEvents(), 0u);
}

TEST_F(SimTest, AllocationFailureHitsExactlyTheNthAllocation) {
  sim::failAllocation(3);
  void* a = silMalloc(8);
  void* b = silCalloc(2, 8);
  void* c = silMalloc(8);
  void* d = silMalloc(8);
  EXPECT_NE(a, nullptr);
  EXPECT_NE(b, nullptr);
  EXPECT_EQ(c, nullptr);
  EXPECT_NE(d, nullptr);
  EXPECT_EQ(sim::liveAllocations(), 3u);
  EXPECT_EQ(sim::totalAllocations(), 3u);
  silFree(a);
  silFree(b);
  silFree(d);
  silFree(nullptr);
  EXPECT_EQ(sim::liveAllocations(), 0u);

  sim::failAllAllocations(true);
  EXPECT_EQ(silMalloc(1), nullptr);
  EXPECT_EQ(silCalloc(1, 1), nullptr);
  sim::failAllAllocations(false);
  void* e = silMalloc(1);
  EXPECT_NE(e, nullptr);
  // A block from before reset() may still be freed without upsetting the count.
  sim::reset();
  void* f = silMalloc(1);
  silFree(e);
  EXPECT_EQ(sim::liveAllocations(), 1u);
  silFree(f);
}

TEST_F(SimTest, FailCallHitsTheNthCallFromNowAndCounts) {
  EXPECT_EQ(zor_socket(ZOR_AF_PACKET, ZOR_SOCK_RAW, 0), 3);
  sim::failCall("zor_socket", 2, -9);
  EXPECT_EQ(zor_socket(ZOR_AF_PACKET, ZOR_SOCK_RAW, 0), 4);
  EXPECT_EQ(zor_socket(ZOR_AF_PACKET, ZOR_SOCK_RAW, 0), -9);
  EXPECT_EQ(zor_socket(ZOR_AF_PACKET, ZOR_SOCK_RAW, 0), 5);
  EXPECT_EQ(sim::callCount("zor_socket"), 4u);
  EXPECT_EQ(sim::openDescriptors(), 3);
  EXPECT_EQ(zor_close(4), 0);
  EXPECT_EQ(zor_socket(ZOR_AF_NETLINK, ZOR_SOCK_RAW, 0), 4);  // lowest free again

  uint32_t task = 0;
  sim::failCall("silCreateTask");
  EXPECT_EQ(silCreateTask("t", 1, 1, nullptr, 0, 0, &task), -1);
  EXPECT_EQ(task, 0xFFFFFFFFu);
  EXPECT_EQ(silCreateTask("t", 1, 1, nullptr, 0, 0, &task), 0);
  EXPECT_EQ(task, 1u);

  sim::failAlways("silCreateMSem");
  EXPECT_EQ(silCreateMSem(0), 0u);
  EXPECT_EQ(silCreateMSem(0), 0u);
  sim::clearFailures();
  EXPECT_NE(silCreateMSem(0), 0u);

  // The shared pool and timer calls are reachable too.
  SilTimerList list;
  sim::failCall("silTimerListInit");
  EXPECT_NE(silTimerListInit(&list), 0);
  EXPECT_EQ(silTimerListInit(&list), 0);
  EXPECT_EQ(sim::callCount("silTimerListInit"), 2u);
}

}  // namespace
