// The typed records and walks of the client library against the agent's own
// handlers, served over a real socket by the command server's loop, with the
// agent on the simulated platform: every field must come from the object the
// management document names, in its form, decoded the right way round; key
// records must have the documented layout; walks must survive rows that go
// away under them.
#include <gtest/gtest.h>

#include <cstring>

#include "client/client_testutil.h"
#include "client/lldp_objects.h"
#include "core/lldp_task.h"
#include "core/lldp_testutil.h"
#include "platform/sil.h"
#include "port/lldp_mgmt_addr.h"

using namespace lldpc;

namespace {

const std::string& agentPath() {
  static const std::string path = [] {
    std::string why;
    const std::string p = clienttest::serveAgent("objects", &why);
    EXPECT_FALSE(p.empty()) << why;
    return p;
  }();
  return path;
}

class ClientObjects : public lldptest::AgentTest {
 protected:
  void SetUp() override {
    if (!glldpFuncMap[1].handler) GTEST_SKIP() << "the agent's management operations are not built";
    ASSERT_EQ(lldptest::startAgent({{"lldp.defaultportmode", "rxtx"}, {"lldp.maxifnum", "16"}}), 0);
    sim::setOctets(sim::Svc::Scalar, 0, 129, {0xFC, 0x00});  // LLDP-MED TLVs 0-5 supported
    lldpMainStart();
  }
  void TearDown() override {
    if (!glldpFuncMap[1].handler) return;
    while (lldpMgmtAddr* row = gLldpInfo.manAddrList) {
      gLldpInfo.manAddrList = row->next;
      silFree(row->mgmtAddrOid);
      silFree(row->mgmtAddrPort);
      silFree(row);
    }
    lldptest::AgentTest::TearDown();
  }
  static void addPorts(std::initializer_list<uint32_t> units) {
    for (uint32_t u : units) {
      lldptest::addPort(u);
      sim::queueEvent(lldptest::registration(u));
    }
    for (int i = 0; i < 3; ++i) lldpMainRound();
  }
  Client c{agentPath()};
};

TEST_F(ClientObjects, GlobalRecordsReadEachFieldFromItsObject) {
  // Distinct values, so that a field read from a neighbouring object shows.
  gLldpInfo.msgTxInterval = 31;
  gLldpInfo.msgTxHold = 5;
  gLldpInfo.reinitDelay = 3;
  gLldpInfo.txDelay = 2;
  gLldpInfo.trapInterval = 7;
  gLldpInfo.mode = 1;
  gLldpInfo.dfltmode = 2;
  gLldpInfo.debugFlags = 0x104;
  gLldpInfo.medDeviceType = 3;
  gLldpInfo.medFastStartRepeatCount = 4;
  gLldpInfo.dflPortMode = 2;
  gLldpInfo.dfltGlobalAdminStatus = 2;
  gLldpInfo.maxMgmtAddrNum = 40;
  const GlobalConfig g = getGlobalConfig(c);
  EXPECT_EQ((std::vector<uint32_t>{g.msgTxInterval, g.msgTxHold, g.reinitDelay, g.txDelay, g.trapInterval, g.mode,
                                   g.defaultMode, g.debugFlags, g.medDeviceClass, g.medFastStartCount,
                                   g.defaultPortAdmin, g.adminStatus, g.defaultAdminStatus, g.mgmtAddrLimit,
                                   g.mgmtAddrCount}),
            (std::vector<uint32_t>{31, 5, 3, 2, 7, 1, 2, 0x104, 3, 4, 2, 1, 2, 40, 0}));

  gLldpInfo.statsRemTablesLastChangeTime[1] = 900;
  gLldpInfo.statsRemTablesInserts = 11;
  gLldpInfo.statsRemTablesDeletes = 12;
  gLldpInfo.statsRemTablesDrops = 13;
  gLldpInfo.statsRemTablesAgeouts = 14;
  const uint32_t block[8] = {800, 21, 22, 23, 24, 25, 26, 0};
  std::memcpy(gLldpInfo.globalStatsBlock, block, sizeof block);
  const GlobalStats s = getGlobalStats(c);
  EXPECT_EQ((std::vector<uint32_t>{s.remInserts, s.remDeletes, s.remDrops, s.remAgeouts, s.countersCleared}),
            (std::vector<uint32_t>{11, 12, 13, 14, 800}));
  EXPECT_EQ(s.framesIn, gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_IN]);
  EXPECT_EQ(s.framesInErrors, gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_IN_ERRORS]);
  EXPECT_EQ(s.framesDiscarded, gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_DISCARDED]);
  EXPECT_EQ(s.tlvsDiscarded, gLldpInfo.globalStatsBlock[LLDP_GSTAT_TLVS_DISCARDED]);
  EXPECT_EQ(s.tlvsUnrecognised, gLldpInfo.globalStatsBlock[LLDP_GSTAT_TLVS_UNRECOGNIZED]);
  EXPECT_EQ(s.framesOut, gLldpInfo.globalStatsBlock[LLDP_GSTAT_FRAMES_OUT]);

  // The chassis ID comes from the platform: unset there, it is missing here.
  EXPECT_FALSE(getLocalSystem(c).chassisId);
  sim::setOctets(sim::Svc::Scalar, 0, 6, {0x02, 0, 0, 0, 0, 0x77});
  const LocalSystem ls = getLocalSystem(c);
  EXPECT_EQ(ls.version, "LLDP_V7.01.00.00");
  EXPECT_EQ(ls.chassisIdSubtype, 4u);
  EXPECT_EQ(ls.chassisId, (std::vector<uint8_t>{0x02, 0, 0, 0, 0, 0x77}));

  // A Set goes to the object and is cut to the field's width.
  setGlobal(c, gobj::kMsgTxInterval, 70000);
  EXPECT_EQ(getGlobalConfig(c).msgTxInterval, 4464u);
  EXPECT_THROW(setGlobal(c, gobj::kRemInserts, 1), OperationError);  // no Set
}

TEST_F(ClientObjects, PortRecordsMapTheirObjectsAndWalksSkipAPortThatWentAway) {
  addPorts({9, 3, 5});
  LldpPort* p = lldpPortEntryGet(5);
  ASSERT_NE(p, nullptr);
  p->statsFramesOutTotal = 1;
  p->statsFramesDiscardedTotal = 2;
  p->statsFramesInErrorsTotal = 3;
  p->statsFramesInTotal = 4;
  p->statsTLVsDiscardedTotal = 5;
  p->statsTLVsUnrecognizedTotal = 6;
  p->statsAgeoutsTotal = 7;
  setPortBytes(c, 5, pobj::kVlanNames, vlanMap({1, 10, 4095}));
  setPortBytes(c, 5, pobj::kPpvids, vlanMap({20}));
  setPortBytes(c, 5, pobj::kMedEnabled, {0xC0, 0x00});
  setPortInt(c, 5, pobj::kNotifications, 2);

  const auto got = getPort(c, 5);
  ASSERT_TRUE(got);
  const PortStats& st = got->stats;
  EXPECT_EQ((std::vector<uint32_t>{st.framesOut, st.framesDiscarded, st.framesInErrors, st.framesIn,
                                   st.tlvsDiscarded, st.tlvsUnrecognised, st.ageouts}),
            (std::vector<uint32_t>{1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(got->vlanNames, (std::vector<uint16_t>{1, 10, 4095}));
  EXPECT_EQ(got->ppvids, (std::vector<uint16_t>{20}));
  EXPECT_EQ(got->dot1Enabled & 0x60, 0x60);  // bits 1 and 2 set by the lists
  EXPECT_EQ(got->medEnabled, 0xC000);
  EXPECT_EQ(got->medSupported, 0xFC00);
  EXPECT_EQ((std::vector<uint32_t>{got->unit, got->adminStatus, got->notifications}),
            (std::vector<uint32_t>{5, 3, 2}));
  ASSERT_TRUE(got->portId);
  EXPECT_FALSE(got->portId->empty());

  clearPortCounters(c, 5);
  EXPECT_EQ(getPort(c, 5)->stats.framesIn, 0u);
  EXPECT_FALSE(getPort(c, 77));
  try {
    setPortInt(c, 77, pobj::kAdminStatus, 4);
    FAIL();
  } catch (const OperationError& e) {
    EXPECT_EQ(e.code(), kNoSuchRow);
  }

  std::vector<uint32_t> units;
  for (uint32_t u : portUnits(c)) units.push_back(u);
  EXPECT_EQ(units, (std::vector<uint32_t>{3, 5, 9}));
  EXPECT_TRUE(portUnits(c, 0x00ABCD01).all().empty()) << "a filter of another OUI matches no port";

  // Port 5 goes away while the walk stands on port 3.
  units.clear();
  auto w = portWalk(c);
  for (auto it = w.begin(); it != w.end(); ++it) {
    units.push_back(it->unit);
    if (it->unit == 3) {
      ASSERT_EQ(lldpPortEntryDel(lldpPortEntryGet(5)), 0);
    }
  }
  EXPECT_EQ(units, (std::vector<uint32_t>{3, 9}));
}

TEST_F(ClientObjects, ManagementAddressesTravelInTheirKeyRecords) {
  addPorts({3, 5});
  const auto v4a = MgmtAddress::parse("192.0.2.1"), v4b = MgmtAddress::parse("10.0.0.1"),
             v6 = MgmtAddress::parse("2001:db8::1"), p5 = MgmtAddress::parse("172.16.0.5"),
             p3 = MgmtAddress::parse("172.16.0.3");
  ASSERT_TRUE(v4a && v4b && v6 && p5 && p3);
  for (const auto* a : {&v4a, &v4b, &v6}) addManAddr(c, **a);
  addPortManAddr(c, 5, *p5);
  addPortManAddr(c, 3, *p3);

  std::vector<std::string> rows;
  for (const ManAddrRow& r : manAddrWalk(c)) {
    rows.push_back(r.addr.str() + "/" + std::to_string(r.addrLen));
    EXPECT_FALSE(r.oid.empty()) << r.addr.str();
  }
  EXPECT_EQ(rows, (std::vector<std::string>{"10.0.0.1/4", "192.0.2.1/4", "2001:db8::1/16"}));
  rows.clear();
  for (const ManAddrRow& r : portManAddrWalk(c)) rows.push_back(std::to_string(r.unit) + " " + r.addr.str());
  EXPECT_EQ(rows, (std::vector<std::string>{"3 172.16.0.3", "5 172.16.0.5"}));

  deleteManAddr(c, *v4b);
  deletePortManAddr(c, 3, *p3);
  EXPECT_EQ(manAddrWalk(c).all().size(), 2u);
  ASSERT_EQ(portManAddrWalk(c).all().size(), 1u);
  EXPECT_EQ(getGlobalConfig(c).mgmtAddrCount, 3u);

  setGlobal(c, gobj::kAdminStatus, 2);
  try {
    addManAddr(c, *v4b);
    FAIL();
  } catch (const OperationError& e) {
    EXPECT_EQ(e.code(), kAgentDisabled);
  }
}

TEST(ClientAddressText, ParsesAndPrintsTheThreeFamilies) {
  const std::pair<std::string, std::optional<std::pair<uint8_t, size_t>>> cases[] = {
      {"192.0.2.1", {{1, 4}}}, {"2001:db8::1", {{2, 16}}}, {"00:11:22:aa:bb:cc", {{6, 6}}},
      {"1.2.3", std::nullopt}, {"00:11:22:aa:bb", std::nullopt}, {"00:11:22:aa:bb:cc:", std::nullopt}};
  for (const auto& [text, want] : cases) {
    const auto a = MgmtAddress::parse(text);
    ASSERT_EQ(a.has_value(), want.has_value()) << text;
    if (!a) continue;
    EXPECT_EQ(a->subtype, want->first) << text;
    EXPECT_EQ(a->bytes.size(), want->second) << text;
    EXPECT_EQ(a->str(), text);
    EXPECT_EQ(manAddrFromKey(manAddrKey(*a)), *a) << text;
  }
  EXPECT_EQ(vlanList(vlanMap({4096, 1, 9})), (std::vector<uint16_t>{1, 9, 4096}));
}

}  // namespace
