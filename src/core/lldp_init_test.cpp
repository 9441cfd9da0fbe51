// Start-up: option parsing, construction of the agent, and its unwind.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "core/lldp_task.h"
#include "core/lldp_testutil.h"
#include "mgmt/lldp_mgmt.h"

using namespace lldptest;

namespace {

class StartupTest : public ::testing::Test {
 protected:
  void TearDown() override { stopAgent(); }
};

// The option-derived fields of the agent record, as one line.
std::string settings() {
  const LldpInfo& g = gLldpInfo;
  char b[256];
  std::snprintf(b, sizeof b,
                "port=%d if=%u pool=%u mgmt=%u rems=%u oid=%u ext=%u admin=%d/%d meth=%u "
                "mode=%u/%d type=%04x dst=%02x%02x",
                g.dflPortMode, g.maxifNum, g.portPool.elemCount, g.maxMgmtAddrNum, g.memMaxRems,
                g.enterpriseOid, g.extEnabled, g.globalAdminStatus, g.dfltGlobalAdminStatus,
                g.methIfEnable, g.dfltmode, g.mode, g.dstEtherType, g.dstMac[0], g.dstMac[5]);
  return b;
}

TEST_F(StartupTest, OptionParseQuirks) {
  // lldp.enable stops the agent only on a leading 'f'/'F', before anything is built.
  for (const char* off : {"false", "F", "forget it"}) {
    EXPECT_EQ(startAgent({{"lldp.enable", off}}), -1) << off;
    EXPECT_TRUE(sim::callCount("silMemPoolInit") == 0 && sim::openDescriptors() == 0 &&
                sim::tasks().empty()) << off;
  }
  const struct {
    std::vector<std::pair<const char*, const char*>> opts;
    const char* want;  // part of settings()
  } cases[] = {
      {{}, "port=4 if=24 pool=24 mgmt=96 rems=0 oid=56789 ext=15 admin=1/1 meth=2 mode=1/1 "
           "type=88cc dst=010e"},
      {{{"lldp.enable", "no"}}, "port=4 "},
      // The default port mode compares only the characters it reads.
      {{{"lldp.defaultportmode", "r"}}, "port=2 "},     {{{"lldp.defaultportmode", "RX"}}, "port=2 "},
      {{{"lldp.defaultportmode", "Tx"}}, "port=1 "},    {{{"lldp.defaultportmode", "RXTX"}}, "port=3 "},
      {{{"lldp.defaultportmode", "rxt"}}, "port=3 "},   {{{"lldp.defaultportmode", "rxtxx"}}, "port=4 "},
      {{{"lldp.defaultportmode", "txrx"}}, "port=4 "},
      // maxifnum sizes the pool and, raw, the neighbour limit (absent: none).
      {{{"lldp.maxifnum", "8"}}, "if=8 pool=8 mgmt=32 rems=8 "},
      {{{"lldp.maxifnum", "many"}}, "if=24 pool=24 mgmt=96 rems=0 "},
      // The enterprise OID follows maxmgmtaddrnum, never its own option.
      {{{"lldp.maxmgmtaddrnum", "10"}, {"snmp.enterpriseoid", "999"}}, "mgmt=10 rems=0 oid=10 "},
      {{{"snmp.enterpriseoid", "999"}}, "mgmt=96 rems=0 oid=56789 "},
      // Booleans look at the first character only.
      {{{"lldp.dot1enable", "False"}, {"lldp.dot3enable", "true"}, {"lldp.medenable", "f"},
        {"lldp.privenable", "off"}, {"lldp.dcbxenable", "T"}, {"lldp.defaultenable", "fa"},
        {"lldp.methifenable", "tRUE"}},
       "ext=26 admin=2/2 meth=1 "},
      {{{"lldp.dcbxenable", "yes"}, {"lldp.methifenable", "1"}}, "ext=15 admin=1/1 meth=2 "},
      {{{"lldp.mode", "Bcast"}}, "mode=2/2 type=ffcc dst=ffff"},
  };
  for (const auto& c : cases) {
    sim::reset();
    for (const auto& [k, v] : c.opts) sim::setOption(k, v);
    ASSERT_EQ(lldpOptInit(), 0) << c.want;
    EXPECT_NE(settings().find(c.want), std::string::npos) << settings() << " / " << c.want;
    stopAgent();
  }
  // Any other mode leaves address and type zero (only reachable through lldpInit).
  sim::reset();
  ASSERT_EQ(lldpInit(0, 15, 0, 3, 4, 1, 0, 0, 0), 0);
  EXPECT_NE(settings().find("type=0000 dst=0000"), std::string::npos) << settings();
}

TEST_F(StartupTest, BuildsSocketsTasksAndDefaults) {
  sim::reset();
  sim::setString(sim::Svc::Scalar, 0, 7, "HW-1.0");
  sim::setOctets(sim::Svc::Scalar, 0, 6, {0x02, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE});
  ASSERT_EQ(lldpOptInit(), 0);
  const LldpInfo& g = gLldpInfo;
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(g.medHwRev), g.medHwRevLen), "HW-1.0");
  // debug flags, MAC, device type (provider failed: 0)
  EXPECT_TRUE(g.debugFlags == 0x100 && g.sysMac[0] + g.sysMac[5] == 0x02 + 0xEE && g.medDeviceType == 0);
  EXPECT_EQ(std::vector<int>({sim::openDescriptors(), g.dataSock, g.rtSock, sim::liveSemaphores()}),
            std::vector<int>({2, 3, 4, 1}));
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
  ASSERT_EQ(sim::binds().size() + sim::tasks().size() + sim::cmdServers().size() + sim::hwSets().size(), 4u);
  EXPECT_EQ(sim::binds()[0].addr, (Bytes{16, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  const sim::Task& t = sim::tasks()[0];
  EXPECT_TRUE(t.name == "lldptask" && t.priority == 50 && t.stackSize == 0x10000 &&
              t.entry == &lldpMain);
  const sim::CmdServer& c = sim::cmdServers()[0];
  EXPECT_TRUE(c.taskName == "lldpcmdtask" && c.path == "/tmp/lldpcmd.socket" &&
              c.table == static_cast<const void*>(glldpFuncMap) && c.count == 101);
  EXPECT_TRUE(sim::hwSets()[0].scalarId == 499 && sim::hwSets()[0].value == 7);
}

TEST_F(StartupTest, LockAndSysInit) {
  ASSERT_EQ(startAgent({{"lldp.mode", "b"}}), 0);
  EXPECT_EQ(lldpLock(), 0);
  EXPECT_EQ(sim::semaphoreDepth(), 1);
  EXPECT_EQ(lldpUnLock(), 0);
  EXPECT_EQ(sim::semaphoreDepth(), 0);
  // The timers go back to their defaults, the mode to the configured one;
  // the EtherType is not touched.
  LldpInfo& g = gLldpInfo;
  g.reinitDelay = g.msgTxHold = g.msgTxInterval = g.txDelay = g.trapInterval = 9;
  g.medFastStartRepeatCount = 9;
  g.mode = 1;
  g.dstEtherType = 0x1234;
  EXPECT_EQ(lldpSysInit(), 0);
  EXPECT_EQ(std::vector<long>({g.reinitDelay, g.msgTxHold, g.msgTxInterval, g.txDelay, g.trapInterval,
                               g.medFastStartRepeatCount, g.mode, g.dstEtherType}),
            std::vector<long>({2, 4, 30, 2, 5, 3, 2, 0x1234}));
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
    // Debug trace of module 0x3F50008, level byte 0 after the zero fill.
    std::string logged;
    for (const auto& l : sim::logLines())
      if (l.debug && l.module == 0x3F50008u && l.level == 0) logged += l.text;
    EXPECT_EQ(logged + std::to_string(sim::logLines().size()), c.message != nullptr ? c.message + std::string("1") : "0");
    EXPECT_EQ(std::vector<long>({sim::openDescriptors(), sim::liveTasks(), sim::liveSemaphores(),
                                 static_cast<long>(sim::liveAllocations()),
                                 static_cast<long>(sim::cmdServers().size()), gLldpInfo.dataSock,
                                 gLldpInfo.rtSock}),
              std::vector<long>({0, 0, 0, 0, 0, -1, -1}));
    // Before the sockets exist both fields hold 0, and the unwind closes
    // descriptor 0: kept as the agent always did.
    EXPECT_EQ(sim::callCount("zor_close"), c.closes);
  }
  // A failed task creation leaves the all-ones id.
  EXPECT_EQ(gLldpInfo.taskId, 0xFFFFFFFFu);
}

}  // namespace
