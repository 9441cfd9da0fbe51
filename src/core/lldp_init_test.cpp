// Start-up: option parsing, construction of the agent, and its unwind.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "core/lldp_core.h"
#include "core/lldp_info.h"
#include "core/lldp_task.h"
#include "core/lldp_testutil.h"
#include "mgmt/lldp_mgmt.h"
#include "platform/sim/sim.h"

using namespace lldptest;

namespace {

class StartupTest : public ::testing::Test {
 protected:
  void TearDown() override { stopAgent(); }
};

TEST_F(StartupTest, EnableOptionStopsOnlyOnLeadingF) {
  for (const char* off : {"false", "F", "fALSE", "forget it"}) {
    EXPECT_EQ(startAgent({{"lldp.enable", off}}), -1) << off;
    EXPECT_EQ(sim::callCount("silMemPoolInit"), 0u) << off;
    EXPECT_EQ(sim::openDescriptors(), 0) << off;
    EXPECT_TRUE(sim::tasks().empty()) << off;
  }
  for (const char* on : {"true", "0", "no", "yes"}) {
    EXPECT_EQ(startAgent({{"lldp.enable", on}}), 0) << on;
    stopAgent();
  }
}

TEST_F(StartupTest, DefaultPortModeComparesOnlyTheCharactersRead) {
  const struct {
    const char* value;
    uint8_t mode;
  } cases[] = {
      {"r", 2},    {"rx", 2},    {"RX", 2},       {"t", 1},  {"Tx", 1},
      {"rxtx", 3}, {"RXTX", 3},  {"rxt", 3},      {"x", 4},  {"disable", 4},
      {"rxtxx", 4}, {"txrx", 4},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(startAgent({{"lldp.defaultportmode", c.value}}), 0);
    EXPECT_EQ(gLldpInfo.dflPortMode, c.mode) << c.value;
    stopAgent();
  }
  ASSERT_EQ(startAgent(), 0);
  EXPECT_EQ(gLldpInfo.dflPortMode, 4);
}

TEST_F(StartupTest, MaxIfNumFeedsPoolAndRawNeighbourLimit) {
  ASSERT_EQ(startAgent(), 0);
  EXPECT_EQ(gLldpInfo.maxifNum, 24u);
  EXPECT_EQ(gLldpInfo.portPool.elemCount, 24u);
  EXPECT_EQ(gLldpInfo.maxMgmtAddrNum, 96u);
  EXPECT_EQ(gLldpInfo.memMaxRems, 0u);  // absent: no neighbours at all, by design
  stopAgent();

  ASSERT_EQ(startAgent({{"lldp.maxifnum", "8"}}), 0);
  EXPECT_EQ(gLldpInfo.maxifNum, 8u);
  EXPECT_EQ(gLldpInfo.portPool.elemCount, 8u);
  EXPECT_EQ(gLldpInfo.maxMgmtAddrNum, 32u);
  EXPECT_EQ(gLldpInfo.memMaxRems, 8u);
  stopAgent();

  ASSERT_EQ(startAgent({{"lldp.maxifnum", "many"}}), 0);  // atoi gives 0
  EXPECT_EQ(gLldpInfo.maxifNum, 24u);
  EXPECT_EQ(gLldpInfo.memMaxRems, 0u);
}

TEST_F(StartupTest, EnterpriseOidFollowsMaxMgmtAddrNum) {
  ASSERT_EQ(startAgent({{"lldp.maxmgmtaddrnum", "10"}, {"snmp.enterpriseoid", "999"}}), 0);
  EXPECT_EQ(gLldpInfo.maxMgmtAddrNum, 10u);
  EXPECT_EQ(gLldpInfo.enterpriseOid, 10u);
  stopAgent();

  ASSERT_EQ(startAgent({{"snmp.enterpriseoid", "999"}}), 0);
  EXPECT_EQ(gLldpInfo.enterpriseOid, LLDP_DEFAULT_ENTERPRISE_OID);
  EXPECT_EQ(gLldpInfo.maxMgmtAddrNum, 96u);
}

TEST_F(StartupTest, BooleanOptionsLookAtTheFirstCharacter) {
  ASSERT_EQ(startAgent(), 0);
  EXPECT_EQ(gLldpInfo.extEnabled, 15u);
  EXPECT_EQ(gLldpInfo.globalAdminStatus, 1);
  EXPECT_EQ(gLldpInfo.dfltGlobalAdminStatus, 1);
  EXPECT_EQ(gLldpInfo.methIfEnable, 2u);
  stopAgent();

  ASSERT_EQ(startAgent({{"lldp.dot1enable", "False"},
                        {"lldp.dot3enable", "true"},
                        {"lldp.medenable", "f"},
                        {"lldp.privenable", "off"},  // 'o': stays on
                        {"lldp.dcbxenable", "T"},
                        {"lldp.defaultenable", "fa"},
                        {"lldp.methifenable", "tRUE"}}),
            0);
  EXPECT_EQ(gLldpInfo.extEnabled, 2u | 8u | 16u);
  EXPECT_EQ(gLldpInfo.globalAdminStatus, 2);
  EXPECT_EQ(gLldpInfo.dfltGlobalAdminStatus, 2);
  EXPECT_EQ(gLldpInfo.methIfEnable, 1u);
  stopAgent();

  ASSERT_EQ(startAgent({{"lldp.dcbxenable", "yes"}, {"lldp.methifenable", "1"}}), 0);
  EXPECT_EQ(gLldpInfo.extEnabled, 15u);
  EXPECT_EQ(gLldpInfo.methIfEnable, 2u);
}

TEST_F(StartupTest, ModeChoosesDestinationAndEtherType) {
  ASSERT_EQ(startAgent(), 0);
  const uint8_t mcast[6] = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E};
  EXPECT_EQ(gLldpInfo.dfltmode, 1u);
  EXPECT_EQ(gLldpInfo.mode, 1);
  EXPECT_EQ(0, std::memcmp(gLldpInfo.dstMac, mcast, 6));
  EXPECT_EQ(gLldpInfo.dstEtherType, 0x88CC);
  stopAgent();

  ASSERT_EQ(startAgent({{"lldp.mode", "Bcast"}}), 0);
  const uint8_t bcast[6] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  EXPECT_EQ(gLldpInfo.dfltmode, 2u);
  EXPECT_EQ(gLldpInfo.mode, 2);
  EXPECT_EQ(0, std::memcmp(gLldpInfo.dstMac, bcast, 6));
  EXPECT_EQ(gLldpInfo.dstEtherType, 0xFFCC);
  stopAgent();

  // Any other mode leaves both zero (only reachable through lldpInit).
  sim::reset();
  ASSERT_EQ(lldpInit(0, 15, 0, 3, 4, 1, 0, 0, 0), 0);
  EXPECT_EQ(gLldpInfo.dstEtherType, 0);
  const uint8_t zero[6] = {};
  EXPECT_EQ(0, std::memcmp(gLldpInfo.dstMac, zero, 6));
}

TEST_F(StartupTest, BuildsSocketsTasksAndDefaults) {
  sim::reset();
  sim::setString(sim::Svc::Scalar, 0, 7, "HW-1.0");
  sim::setOctets(sim::Svc::Scalar, 0, 6, {0x02, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE});
  ASSERT_EQ(lldpOptInit(), 0);

  const LldpInfo& g = gLldpInfo;
  EXPECT_EQ(g.debugFlags, 0x100u);
  EXPECT_EQ(g.medHwRevLen, 6);
  EXPECT_EQ(0, std::memcmp(g.medHwRev, "HW-1.0", 6));
  EXPECT_EQ(g.sysMac[0], 0x02);
  EXPECT_EQ(g.sysMac[5], 0xEE);
  EXPECT_EQ(g.medDeviceType, 0);  // provider failed: 0

  EXPECT_EQ(sim::openDescriptors(), 2);
  EXPECT_EQ(g.dataSock, 3);
  EXPECT_EQ(g.rtSock, 4);

  // fd, level, name, value of every socket option, in order.
  const std::vector<std::vector<int>> want = {
      {3, 0xFFFF, 4121, 7}, {3, 263, 20, 1}, {4, 270, 1, 34},     {4, 270, 1, 33}, {4, 270, 1, 42},
      {4, 270, 1, 1},       {4, 270, 1, 85}, {4, 0xFFFF, 4121, 7}, {4, 270, 1, 102}};
  std::vector<std::vector<int>> got;
  for (const auto& o : sim::sockOpts()) {
    int v = 0;
    std::memcpy(&v, o.value.data(), std::min<size_t>(4, o.value.size()));
    got.push_back({o.fd, o.level, o.name, v});
  }
  EXPECT_EQ(got, want);
  ASSERT_EQ(sim::binds().size(), 1u);
  EXPECT_EQ(sim::binds()[0].addr, (Bytes{16, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));

  ASSERT_EQ(sim::tasks().size(), 1u);
  const sim::Task& t = sim::tasks()[0];
  EXPECT_TRUE(t.name == "lldptask" && t.priority == 50 && t.stackSize == 0x10000 &&
              t.entry == &lldpMain);
  ASSERT_EQ(sim::cmdServers().size(), 1u);
  const sim::CmdServer& c = sim::cmdServers()[0];
  EXPECT_TRUE(c.taskName == "lldpcmdtask" && c.path == "/tmp/lldpcmd.socket" &&
              c.table == static_cast<const void*>(glldpFuncMap) && c.count == 101);
  EXPECT_EQ(glldpFuncMap[100].id, 100u);
  ASSERT_EQ(sim::hwSets().size(), 1u);
  EXPECT_TRUE(sim::hwSets()[0].scalarId == 499 && sim::hwSets()[0].value == 7);
  EXPECT_EQ(sim::liveSemaphores(), 1);
}

TEST_F(StartupTest, LockAndSysInit) {
  ASSERT_EQ(startAgent({{"lldp.mode", "b"}}), 0);
  EXPECT_EQ(lldpLock(), 0);
  EXPECT_EQ(sim::semaphoreDepth(), 1);
  EXPECT_EQ(lldpUnLock(), 0);
  EXPECT_EQ(sim::semaphoreDepth(), 0);

  // The timers go back to their defaults, the mode to the configured one.
  LldpInfo& g = gLldpInfo;
  g.reinitDelay = g.msgTxHold = g.msgTxInterval = g.txDelay = g.trapInterval = 9;
  g.medFastStartRepeatCount = 9;
  g.mode = 1;
  g.dstEtherType = 0x1234;
  EXPECT_EQ(lldpSysInit(), 0);
  EXPECT_EQ(std::vector<long>({g.reinitDelay, g.msgTxHold, g.msgTxInterval, g.txDelay, g.trapInterval,
                              g.medFastStartRepeatCount, g.mode}),
            std::vector<long>({2, 4, 30, 2, 5, 3, 2}));
  EXPECT_EQ(gLldpInfo.dstEtherType, 0x1234);  // not touched
}

// Each construction step failing on its own: its message, the line on
// standard output, and nothing left behind.
TEST_F(StartupTest, EveryInitFailureUnwindsCompletely) {
  const struct {
    const char* fn;
    uint64_t nth;
    const char* message;  // nullptr: fails without a message
    uint64_t closes;      // zor_close calls of the unwind
  } cases[] = {
      {"silMemPoolInit", 1, "Malloc MemPort pool error\r\n", 2},
      {"silCreateMSem", 1, nullptr, 2},
      {"silTimerListInit", 1, "timer init\terror!\n", 2},
      {"zor_socket", 1, "create dataSock failed.\r\n", 1},
      {"zor_setsockopt", 1, "dataSock setsockopt name failed.\r\n", 2},
      {"zor_setsockopt", 2, "dataSock setsockopt failed.\r\n", 2},
      {"zor_socket", 2, "rtsocket create error.\r\n", 1},
      {"zor_bind", 1, "rtSock bind failed.\r\n", 2},
      {"zor_setsockopt", 3, "rtSock setsockopt nl_group 34 failed.\r\n", 2},
      {"zor_setsockopt", 4, "rtSock setsockopt nl_group 33 failed.\r\n", 2},
      {"zor_setsockopt", 5, "rtSock setsockopt nl_group 42 failed.\r\n", 2},
      {"zor_setsockopt", 6, "rtSock setsockopt nl_group 1 failed.\r\n", 2},
      {"zor_setsockopt", 7, "rtSock setsockopt nl_group 85 failed.\r\n", 2},
      {"zor_setsockopt", 8, "rtSock setsockopt name failed.\r\n", 2},
      {"zor_setsockopt", 9, "rtSock setsockopt nl_group 102 failed.\r\n", 2},
      {"silCreateTask", 1, "silCreateTask create failed.\r\n", 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.fn) + " #" + std::to_string(c.nth));
    sim::reset();
    sim::failCall(c.fn, c.nth);
    testing::internal::CaptureStdout();
    EXPECT_EQ(lldpOptInit(), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "lldp init failed\r\n");

    if (c.message != nullptr) {
      ASSERT_EQ(sim::logLines().size(), 1u);
      const auto& line = sim::logLines()[0];
      EXPECT_TRUE(line.debug);
      EXPECT_EQ(line.module, 0x3F50008u);
      EXPECT_EQ(line.level, 0u);  // the class-8 level byte after the zero fill
      EXPECT_EQ(line.text, c.message);
    } else {
      EXPECT_TRUE(sim::logLines().empty());
    }
    EXPECT_EQ(sim::openDescriptors(), 0);
    EXPECT_EQ(sim::liveTasks(), 0);
    EXPECT_EQ(sim::liveSemaphores(), 0);
    EXPECT_EQ(sim::liveAllocations(), 0u);
    EXPECT_TRUE(sim::cmdServers().empty());
    // Before the sockets exist both fields hold 0, and the unwind closes
    // descriptor 0: kept as the agent always did.
    EXPECT_EQ(sim::callCount("zor_close"), c.closes);
    EXPECT_EQ(gLldpInfo.dataSock, -1);
    EXPECT_EQ(gLldpInfo.rtSock, -1);
  }
  // A failed task creation leaves the all-ones id, and the unwind tries to
  // delete that id too.
  EXPECT_EQ(gLldpInfo.taskId, 0xFFFFFFFFu);
}

}  // namespace
