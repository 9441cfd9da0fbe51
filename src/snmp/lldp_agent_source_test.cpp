// The LLDP-MIB read from the agent's own handlers, served over a real socket
// by the command server's loop (agent on the simulated platform): values
// come from the running agent, each section is read once while it is fresh
// and again after a refresh, Sets change the agent, and an agent that cannot
// be reached is reported once per change.
#include "snmp/lldp_agent_source.h"

#include <gtest/gtest.h>

#include "client/client_testutil.h"
#include "mgmt/mgmt_test_util.h"
#include "rx/lldp_msap.h"
#include "rx/rx_test_util.h"
#include "snmp/lldp_mib.h"
#include "snmp/snmp_testutil.h"

using namespace lldpsnmp;

namespace {

const std::string& agentPath() {
  static const std::string path = [] {
    std::string why;
    const std::string p = clienttest::serveAgent("snmp", &why);
    EXPECT_FALSE(p.empty()) << why;
    return p;
  }();
  return path;
}

const Oid kLldp = {1, 0, 8802, 1, 1, 2, 1};
Oid at(std::initializer_list<uint32_t> rel) { return oidJoin(kLldp, rel); }

class AgentSourceTest : public mgmttest::MgmtTest {
 protected:
  void SetUp() override {
    if (!glldpFuncMap[1].handler) GTEST_SKIP() << "the agent's management operations are not built";
    MgmtTest::SetUp();
    addPort(1);
    addPort(2);
  }
  static void learn(uint32_t unit, const std::string& chassis, const std::string& name, uint16_t ttl = 120) {
    rxtest::Frame f;
    f.head(chassis, "p1", ttl).tlv(5, rxtest::str(name)).org(rxtest::kDot3, 4, {0x05, 0xF2}).end();
    sim::queueFrame(unit, f.b);
    lldpMainRound();
  }
  static std::vector<std::string> names(MibTree& t) {
    std::vector<std::string> out;
    for (const VarBind& vb : t.walk(at({4, 1, 1, 9}))) {
      if (!oidHasPrefix(vb.name, at({4, 1, 1, 9}))) break;
      out.emplace_back(vb.value.bytes.begin(), vb.value.bytes.end());
    }
    return out;
  }
};

TEST_F(AgentSourceTest, SectionsAreReadOnceWhileFreshAndAgainAfterARefresh) {
  learn(1, "one", "sw-one");
  AgentSource src(agentPath(), AgentSourceOptions{std::chrono::hours(1), std::chrono::seconds(1), 2000});
  MibTree tree;
  addLldpMib(tree, src);

  const std::vector<VarBind> first = tree.walk();
  const uint64_t reads = src.reads();
  EXPECT_EQ(reads, 12u) << "every section once for a whole walk";
  EXPECT_EQ(names(tree), (std::vector<std::string>{"sw-one"}));
  EXPECT_EQ(tree.get(at({1, 1, 0})).value, Value::integer(30));
  EXPECT_EQ(tree.walk().size(), first.size());
  EXPECT_EQ(src.reads(), reads) << "a second walk within the age reads nothing";

  // A new neighbour shows after a refresh of the remote sections only.
  learn(2, "two", "sw-two");
  EXPECT_EQ(names(tree), (std::vector<std::string>{"sw-one"}));
  src.refresh(LldpSource::Refresh::Remote);
  EXPECT_EQ(names(tree), (std::vector<std::string>{"sw-one", "sw-two"}));
  tree.walk();
  EXPECT_EQ(src.reads(), reads + 10) << "globals, neighbours and the eight lists; not ports nor addresses";
  // The row of the second neighbour, as the agent indexes it.
  const Msap* m = nullptr;
  for (auto* x = static_cast<const Msap*>(avl_first(&gLldpInfo.msapTable)); x;
       x = static_cast<const Msap*>(avl_next(&gLldpInfo.msapTable, x)))
    if (x->unit == 2) m = x;
  ASSERT_NE(m, nullptr);
  const Oid maxFrame = oidJoin(
      at({5, 4623, 1, 3, 4, 1, 1}),
      remoteIndexOid(lldpc::RemoteIndex{m->timeMark[0], m->timeMark[1], 2, static_cast<uint32_t>(m->remIndex)}));
  const GetResult mfs = tree.get(maxFrame);
  ASSERT_EQ(mfs.status, GetResult::Status::Ok) << oidStr(maxFrame);
  EXPECT_EQ(mfs.value, Value::integer(1522));
}

TEST_F(AgentSourceTest, SetsChangeTheAgentAndAreReadBack) {
  AgentSource src(agentPath(), AgentSourceOptions{std::chrono::hours(1), std::chrono::seconds(1), 2000});
  MibTree tree;
  addLldpMib(tree, src);
  EXPECT_EQ(tree.get(at({1, 1, 0})).value, Value::integer(30));
  ASSERT_EQ(tree.apply(at({1, 1, 0}), Value::integer(45)), SetStatus::NoError);
  EXPECT_EQ(gLldpInfo.msgTxInterval, 45);
  EXPECT_EQ(tree.get(at({1, 1, 0})).value, Value::integer(45)) << "the Set is read back, not the old section";

  ASSERT_EQ(tree.apply(at({1, 6, 1, 2, 2}), Value::integer(2)), SetStatus::NoError);
  EXPECT_EQ(lldpPortEntryGet(2)->adminStatus, 2);
  EXPECT_EQ(tree.get(at({1, 6, 1, 2, 2})).value, Value::integer(2));
  ASSERT_EQ(tree.apply(at({1, 6, 1, 4, 1}), Value::octets(std::vector<uint8_t>{0x40})), SetStatus::NoError);
  EXPECT_EQ(tree.get(at({1, 6, 1, 4, 1})).value, Value::octets(std::vector<uint8_t>{0x40}));

  // A TLV the port does not support: the agent refuses, nothing changes.
  lldpPortEntryGet(1)->dot3TlvTxSupported = 0x80;
  src.refresh(LldpSource::Refresh::All);
  const Value before = tree.get(at({5, 4623, 1, 1, 1, 1, 1, 1})).value;
  EXPECT_EQ(tree.apply(at({5, 4623, 1, 1, 1, 1, 1, 1}), Value::octets(std::vector<uint8_t>{0x40})),
            SetStatus::InconsistentValue);
  EXPECT_EQ(tree.get(at({5, 4623, 1, 1, 1, 1, 1, 1})).value, before);

  // A disabled agent refuses per-port changes.
  gLldpInfo.globalAdminStatus = 2;
  EXPECT_EQ(tree.apply(at({1, 6, 1, 3, 1}), Value::integer(2)), SetStatus::InconsistentValue);
}

TEST_F(AgentSourceTest, AnAgentAwayIsReportedOncePerChange) {
  std::vector<std::string> states;
  const auto note = [&states](bool up, const std::string&) { states.push_back(up ? "up" : "down"); };
  AgentSource gone("/tmp/lldp-snmp-test-nobody.sock",
                   AgentSourceOptions{std::chrono::milliseconds(0), std::chrono::hours(1), 2000}, note);
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(gone.globals());
  EXPECT_FALSE(gone.neighbours());
  EXPECT_EQ(states, std::vector<std::string>{"down"});
  EXPECT_FALSE(gone.reachable());
  // The Sets try anyway, and say the agent is not there.
  EXPECT_EQ(gone.setGlobal(2, 40), std::nullopt);

  states.clear();
  AgentSource here(agentPath(), AgentSourceOptions{std::chrono::milliseconds(0), std::chrono::hours(1), 2000}, note);
  EXPECT_TRUE(here.globals());
  EXPECT_TRUE(here.ports());
  here.noteReachable(false, "the event stream closed");
  // The pause after a failure holds only for failures of its own.
  EXPECT_TRUE(here.globals());
  EXPECT_EQ(states, (std::vector<std::string>{"up", "down", "up"}));
}

TEST_F(AgentSourceTest, LocalAddressesOfBothTablesAreOneTable) {
  const auto a = lldpc::MgmtAddress::parse("192.0.2.1"), b = lldpc::MgmtAddress::parse("10.0.0.5");
  ASSERT_TRUE(a && b);
  lldpc::Client c(agentPath());
  lldpc::addManAddr(c, *a);
  lldpc::addPortManAddr(c, 2, *a);  // also per port: still one row
  lldpc::addPortManAddr(c, 1, *b);
  AgentSource src(agentPath());
  MibTree tree;
  addLldpMib(tree, src);
  std::vector<std::string> rows;
  for (const VarBind& vb : tree.walk(at({3, 8, 1, 3}))) {
    if (!oidHasPrefix(vb.name, at({3, 8, 1, 3}))) break;
    rows.push_back(oidStr(Oid(vb.name.begin() + static_cast<long>(at({3, 8, 1, 3}).size()), vb.name.end())) + "=" +
                   std::to_string(vb.value.num));
  }
  EXPECT_EQ(rows, (std::vector<std::string>{"1.4.10.0.0.5=5", "1.4.192.0.2.1=5"}));
}

}  // namespace
