// Tests of the simulated platform: the parts other tests lean on.
#include <gtest/gtest.h>

#include <cstring>

#include "platform/icm.h"
#include "platform/logging.h"
#include "platform/proc_shell.h"
#include "platform/sil.h"
#include "platform/sim/sim.h"
#include "platform/trap.h"
#include "platform/zor_hwil.h"
#include "platform/zor_if.h"
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

TEST_F(SimTest, FrameWithoutAuxDataLeavesNoControlAndSpansIovecs) {
  int fd = zor_socket(ZOR_AF_PACKET, ZOR_SOCK_RAW, 0);
  std::vector<uint8_t> frame = lldpFrame(30);
  sim::queueFrame(2, frame, false);
  uint8_t a[10], b[100], name[32], control[64];
  ZorIovec iov[2] = {{a, sizeof(a)}, {b, sizeof(b)}};
  ZorMsg msg{name, sizeof(name), iov, 2, control, sizeof(control), 0};
  ASSERT_EQ(zor_recvmsg(fd, &msg, 0), 30);
  EXPECT_EQ(0, std::memcmp(a, frame.data(), 10));
  EXPECT_EQ(0, std::memcmp(b, frame.data() + 10, 20));
  EXPECT_EQ(msg.nameLen, 20u);
  EXPECT_EQ(msg.controlLen, 0u);
}

TEST_F(SimTest, AuxRecordIsCutToASmallControlBuffer) {
  int fd = zor_socket(ZOR_AF_PACKET, ZOR_SOCK_RAW, 0);
  sim::queueFrame(1, lldpFrame(64), true, 5);
  uint8_t buf[64];
  uint8_t control[20];
  ZorIovec iov{buf, sizeof(buf)};
  ZorMsg msg{nullptr, 0, &iov, 1, control, sizeof(control), 0};
  ASSERT_EQ(zor_recvmsg(fd, &msg, 0), 64);
  EXPECT_EQ(msg.controlLen, 20u);
  EXPECT_EQ(msg.nameLen, 0u);
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

TEST_F(SimTest, ObjectsAnswerByKindAndFailWhenUnset) {
  sim::addInterface(5, "ge1/0/5", 105, {0, 1, 2, 3, 4, 5});
  uint32_t v = 0;
  EXPECT_EQ(zorIfGetApi(5, 78, &v), 0);
  EXPECT_EQ(v, 1522u);
  uint8_t mac[4];
  ZorOctets o{mac, sizeof(mac)};
  EXPECT_EQ(zorIfGetApi(5, 33, &o), 0);
  EXPECT_EQ(o.len, 4u);  // cut to the caller's size
  EXPECT_NE(zorIfGetApi(6, 78, &v), 0);
  char name[ZOR_IFNAME_LEN];
  EXPECT_EQ(zorIfIndex2Name(105, name), 0);
  EXPECT_STREQ(name, "ge1/0/5");
  EXPECT_NE(zorIfUnit2Name(9, name), 0);
  EXPECT_STREQ(name, "");
  sim::failObject(sim::Svc::If, 5, 78, 17);
  EXPECT_EQ(zorIfGetApi(5, 78, &v), 17);
  EXPECT_EQ(zorHwilScalarGet(0, 55, &v), 0);
  EXPECT_EQ(v, 1u);
  EXPECT_NE(zorHwilScalarGet(0, 56, &v), 0);
}

TEST_F(SimTest, CmdSyncCopiesOnlyBufferDescriptors) {
  uint8_t msg[6] = {1, 2, 3, 4, 5, 6};
  ZorValue buf{};
  buf.buf = msg;
  buf.len = 6;
  ZorSyncCtl octets{0x80000103u, 0, 6};
  sim::setCmdSyncResult(42);
  EXPECT_EQ(zorHwilCmdSyncApi(0, 0xB4023, &buf, &octets), 42);
  ZorValue num{};
  num.value = 9;
  ZorSyncCtl integer{3, 0, 4};
  EXPECT_EQ(zorHwilCmdSyncApi(0, 0xB4002, &num, &integer), 42);
  ASSERT_EQ(sim::cmdSyncs().size(), 2u);
  EXPECT_EQ(sim::cmdSyncs()[0].bytes, std::vector<uint8_t>(msg, msg + 6));
  EXPECT_TRUE(sim::cmdSyncs()[1].bytes.empty());
  EXPECT_EQ(sim::cmdSyncs()[1].value, 9u);
}

TEST_F(SimTest, SendsAreRecordedFromTheLinkLayerAddressUnlessRefused) {
  int fd = zor_socket(ZOR_AF_PACKET, ZOR_SOCK_RAW, 0);
  ASSERT_EQ(sim::frameSocket(), fd);
  std::vector<uint8_t> frame = lldpFrame(60);
  ZorSockAddrLl to{};
  to.family = ZOR_AF_PACKET;
  to.protocol = 0x88CC;
  to.ifIndex = 12;
  sim::advanceMs(2500);
  EXPECT_EQ(zor_sendto(fd, frame.data(), frame.size(), 0, &to, sizeof(to)), 60);
  sim::setSendResult(-1, 1);
  EXPECT_EQ(zor_sendto(fd, frame.data(), frame.size(), 0, &to, sizeof(to)), -1);
  EXPECT_EQ(zor_sendto(fd, frame.data(), frame.size(), 0, &to, sizeof(to)), 60);
  EXPECT_EQ(zor_sendto(fd, frame.data(), frame.size(), 0, &to, 12), -1);  // short address
  ASSERT_EQ(sim::sentFrames().size(), 2u);
  const sim::SentFrame& f = sim::sentFrames()[0];
  EXPECT_EQ(f.unit, 12u);
  EXPECT_EQ(f.protocol, 0x88CC);
  EXPECT_EQ(f.addr.size(), 20u);
  EXPECT_EQ(f.bytes, frame);
  EXPECT_EQ(f.atMs, 2500u);
}

TEST_F(SimTest, SemaphoreDepthCountsUnbalancedTakes) {
  uint32_t sem = silCreateMSem(0);
  ASSERT_NE(sem, 0u);
  EXPECT_EQ(silTakeSem(sem, -1), 0);
  EXPECT_EQ(silTakeSem(sem, -1), 0);
  EXPECT_EQ(silGiveSem(sem), 0);
  EXPECT_EQ(sim::semaphoreDepth(), 1);
  EXPECT_EQ(silGiveSem(sem), 0);
  EXPECT_NE(silGiveSem(sem), 0);  // nothing left to give
  EXPECT_EQ(sim::semaphoreDepth(), 0);
  EXPECT_EQ(silDeleteSem(sem), 0);
  EXPECT_EQ(sim::liveSemaphores(), 0);
  EXPECT_NE(silTakeSem(sem, -1), 0);
}

}  // namespace

// Link-time check: every platform call has a definition in the simulated
// platform, so a missing one fails to link here rather than in someone
// else's test. External linkage keeps the references from being dropped.
#define SIM_ADDR(f) reinterpret_cast<const void*>(&f)
extern const void* const gSimEveryPlatformCall[];
const void* const gSimEveryPlatformCall[] = {
    SIM_ADDR(silOptRead), SIM_ADDR(silCreateTask), SIM_ADDR(silExDeleteTask), SIM_ADDR(silSleep),
    SIM_ADDR(silCreateMSem), SIM_ADDR(silTakeSem), SIM_ADDR(silGiveSem), SIM_ADDR(silDeleteSem),
    SIM_ADDR(silMalloc), SIM_ADDR(silCalloc), SIM_ADDR(silFree), SIM_ADDR(silGetUpTime),
    SIM_ADDR(silGetMonoMs), SIM_ADDR(silCatchSegFault), SIM_ADDR(zor_socket), SIM_ADDR(zor_bind),
    SIM_ADDR(zor_setsockopt), SIM_ADDR(zor_select), SIM_ADDR(zor_recvmsg),
    SIM_ADDR(zor_recvfrom), SIM_ADDR(zor_sendto), SIM_ADDR(zor_close),
    SIM_ADDR(zorNetlinkSGrpSend), SIM_ADDR(zorIfGetApi), SIM_ADDR(zorIfSetApi),
    SIM_ADDR(zorScalarGetApi), SIM_ADDR(zorIfUnit2Name), SIM_ADDR(zorIfIndex2Name),
    SIM_ADDR(zorIndexTrans), SIM_ADDR(zorSelfSysIndex), SIM_ADDR(zorIpGetFirst),
    SIM_ADDR(zorProtoSetApi), SIM_ADDR(poeIfGetApi), SIM_ADDR(voiceVlanIfGetApi),
    SIM_ADDR(voiceVlanScalarGetApi), SIM_ADDR(snmpScalarGetApi), SIM_ADDR(zorHwilScalarGet),
    SIM_ADDR(zorHwilScalarSet), SIM_ADDR(zorHwilSlotGet), SIM_ADDR(zorHwilCardGet),
    SIM_ADDR(zorCardUpPcsSet), SIM_ADDR(zorHwilCmdSyncApi), SIM_ADDR(icmProcTcpInit),
    SIM_ADDR(loggingDebugOutput), SIM_ADDR(loggingLogOutput), SIM_ADDR(send_lldp_trap),
    SIM_ADDR(send_lldpmed_trap), SIM_ADDR(procArgsInit), SIM_ADDR(procShellInit),
    SIM_ADDR(patchSignalHandler), SIM_ADDR(silIgnoreSignal),
};
#undef SIM_ADDR
