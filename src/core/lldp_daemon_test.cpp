// The daemon around the agent: start, the warnings about options that make a
// useless agent, the notification switch of new ports, reload and the
// orderly stop with its shutdown LLDPDUs.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/lldp_task.h"
#include "core/lldp_testutil.h"
#include "platform/proc_shell.h"
#include "tx/lldp_tx.h"

using namespace lldptest;

namespace {

constexpr const char* kNoNeighbours = "warning: lldp.maxifnum is not set";
constexpr const char* kAllDisabled = "warning: lldp.defaultportmode leaves every port disabled";

bool logged(const std::string& part) { return sim::hasLineContaining(part); }

// TTL of a sent LLDPDU (the third TLV after the chassis and port IDs).
int ttlOf(const std::vector<uint8_t>& f) {
  size_t off = 14;
  for (int i = 0; i < 2; ++i) off += 2 + (((f.at(off) & 1) << 8) | f.at(off + 1));
  return (f.at(off + 2) << 8) | f.at(off + 3);
}

class DaemonTest : public AgentTest {
 protected:
  static int run(Options opts) {
    sim::reset();
    for (const auto& [k, v] : opts) sim::setOption(k, v);
    return lldpDaemonMain();
  }
  // A running agent with port 1 registered and its machines started.
  static LldpPort* startWithPort(Options opts = {}) {
    sim::reset();
    sim::setOption("lldp.defaultportmode", "rxtx");
    sim::setOption("lldp.maxifnum", "8");
    for (const auto& [k, v] : opts) sim::setOption(k, v);
    EXPECT_EQ(lldpOptInit(), 0);
    addPort(1);
    deliver(registration(1));
    return lldpPortEntryGet(1);
  }
};

TEST_F(DaemonTest, DisabledAgentSaysSoAndExitsZeroWhileAFailedStartIsAnError) {
  EXPECT_EQ(run({{"lldp.enable", "False"}}), 0);
  EXPECT_TRUE(logged("lldp.enable is false: the agent is disabled"));
  EXPECT_EQ(sim::callCount("procShellReady"), 0u);
  EXPECT_EQ(sim::liveTasks(), 0);

  sim::reset();
  sim::failCall("zor_socket");
  EXPECT_EQ(lldpDaemonMain(), -1);
  EXPECT_FALSE(logged("lldp.enable is false"));
  EXPECT_EQ(sim::callCount("procShellReady"), 0u);
}

TEST_F(DaemonTest, WarnsAboutOptionsThatLeaveTheAgentUseless) {
  const struct {
    const char* name;
    const char* maxifnum;  // nullptr: absent
    const char* portmode;
    bool noNeighbours, allDisabled;
  } cases[] = {
      {"nothing set", nullptr, nullptr, true, true},
      {"a useful agent", "8", "rxtx", false, false},
      {"receive only", "8", "r", false, false},
      {"port mode that matches nothing", "8", "disable", false, true},
      {"ports up but no neighbour limit", nullptr, "tx", true, false},
      {"a zero limit counts as none", "0", "rxtx", true, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    sim::reset();
    if (c.maxifnum) sim::setOption("lldp.maxifnum", c.maxifnum);
    if (c.portmode) sim::setOption("lldp.defaultportmode", c.portmode);
    EXPECT_EQ(lldpDaemonMain(), 0);  // nothing queued: the stop request ends it
    EXPECT_EQ(logged(kNoNeighbours), c.noNeighbours);
    EXPECT_EQ(logged(kAllDisabled), c.allDisabled);
    EXPECT_EQ(sim::callCount("procShellReady"), 1u);
    EXPECT_EQ(sim::callCount("procShellStop"), 1u);
    stopAgent();
  }
}

TEST_F(DaemonTest, NewPortsTakeTheirNotificationSwitchFromHostNotify) {
  const struct {
    const char* value;  // nullptr: absent
    int want;
  } cases[] = {{"true", 1}, {"T", 1}, {"false", 2}, {"off", 0}, {nullptr, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value ? c.value : "absent");
    LldpPort* p = c.value ? startWithPort({{"host.notify", c.value}}) : startWithPort();
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->notificationEnable, c.want);
    // A port that leaves an aggregation is a new port too.
    lldpPortEntryDel(p);
    sim::setInt(sim::Svc::If, 50, 10, 0x40000);  // unit 50 is an aggregation
    deliver(change(1, {attr32(ZOR_IFLA_PHYQUITAGG, 50)}));
    p = lldpPortEntryGet(1);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->notificationEnable, c.want);
    stopAgent();
  }
}

TEST_F(DaemonTest, ReloadTakesTheTraceMaskAndRefreshesTransmittingPorts) {
  LldpPort* p = startWithPort({{"lldp.debugflags", "256"}});
  lldpMainStart();
  lldpMachine(nullptr, nullptr);
  lldpMachine(nullptr, nullptr);
  p->somethingChangedLocal = 0;

  // Nothing changed at run time: nothing is touched.
  sim::setOption("lldp.debugflags", "7");
  sim::setReloadResult(0);
  lldpDaemonReload();
  EXPECT_EQ(gLldpInfo.debugFlags, 0x100u);
  EXPECT_EQ(p->somethingChangedLocal, 0);

  sim::setReloadResult(1);
  lldpDaemonReload();
  EXPECT_EQ(gLldpInfo.debugFlags, 7u);
  EXPECT_EQ(p->somethingChangedLocal, 1) << "a changed system name must go out at once";

  // The mask gone from the options: back to the default.
  sim::clearOption("lldp.debugflags");
  lldpDaemonReload();
  EXPECT_EQ(gLldpInfo.debugFlags, 0x100u);
  EXPECT_EQ(sim::callCount("procShellReload"), 3u);
}

TEST_F(DaemonTest, StopSendsTheShutdownFrameOfEveryTransmittingPort) {
  LldpPort* p = startWithPort();
  addPort(2, 1522, false);  // link down: nothing to send there
  deliver(registration(2));
  lldpMainStart();
  for (int i = 0; i < 3; ++i) lldpMachine(nullptr, nullptr);
  ASSERT_EQ(p->txState, TX_IDLE);
  sim::clearSentFrames();

  // The frame leaves before the stop returns, without a tick of the task.
  lldpDaemonShutdown();
  EXPECT_EQ(gLldpInfo.globalAdminStatus, 2);
  EXPECT_EQ(p->adminStatus, LLDP_ADMIN_DISABLED);
  ASSERT_EQ(sim::sentFrames().size(), 1u);
  EXPECT_EQ(sim::sentFrames()[0].unit, 1u);
  EXPECT_EQ(ttlOf(sim::sentFrames()[0].bytes), 0);
  // Applied as a Sync: a unit stopping must not disable its stack peers.
  for (const auto& c : sim::cmdSyncs()) EXPECT_EQ(c.ctlMode & 0xFF, 1u) << std::hex << c.cmdId;
  for (int i = 0; i < 5; ++i) lldpMachine(nullptr, nullptr);
  EXPECT_EQ(sim::sentFrames().size(), 1u);
}

}  // namespace
