// Global objects: what each Get answers and refuses, the Set / Sync
// difference and the forwarding, truncation, the propagation to the ports,
// the destination-mode change and the global disable.
#include <gtest/gtest.h>

#include <functional>

#include "mgmt/mgmt_test_util.h"

using namespace mgmttest;

namespace {

constexpr uint32_t kOk = 0, kInval = 22, kSmall = 0x3E8000D,
                   kBad = 0x3E80010;
const Bytes kSysMac = {0x02, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE};

Bytes str(const char* s) { return Bytes(s, s + std::strlen(s)); }
Bytes word(uint32_t w) {
  Bytes b(4);
  std::memcpy(b.data(), &w, 4);
  return b;
}

class ScalarTest : public MgmtTest {
 protected:
  void SetUp() override {
    MgmtTest::SetUp();
    sim::setOctets(sim::Svc::Scalar, 0, 6, kSysMac);
    sim::setString(sim::Svc::Scalar, 0, 50, "sw-core");
    sim::setInt(sim::Svc::Hw, 0, 198, 2);
  }
};

// One Get: the form and capacity asked, the code and the answer expected.
struct GetRow {
  uint32_t obj;
  bool buf;
  uint32_t cap;
  uint32_t rc;
  uint32_t value;  // integer answer
  Bytes bytes;     // octet answer
};

TEST_F(ScalarTest, GetAnswersEachObjectInItsFormAndRefusesTheOther) {
  LldpInfo& g = gLldpInfo;
  g.msgTxInterval = 31;
  g.statsRemTablesLastChangeTime[0] = 9;
  g.statsRemTablesLastChangeTime[1] = 77;
  for (uint32_t i = 0; i < 8; ++i) g.globalStatsBlock[i] = 100 + i;
  g.medHwRevLen = 3;
  std::memcpy(g.medHwRev, "HW1", 3);
  g.capSupported[0] = 0x28;
  g.capEnabled[0] = 0x14;
  g.capEnabled[1] = 0;
  Bytes feature = word(1);
  feature.resize(12, 0);

  const GetRow rows[] = {
      {1, true, 15, kOk, 0, {}},  // too short for the version: nothing, and success
      {1, true, 100, kOk, 0, str("LLDP_V7.01.00.00")},
      {1, false, 0, kInval, 0, {}},
      {2, false, 0, kOk, 31, {}},
      {2, true, 4, kInval, 0, {}},  // an integer is never written over a buffer
      {7, false, 0, kOk, 77, {}},
      {12, false, 0, kOk, 1, {}},
      {14, false, 0, kOk, 4, {}},
      // Fixed-size and stored strings are answered whatever the capacity
      // says, as far as the buffer holds them.
      {15, true, 5, kOk, 0, Bytes(kSysMac.begin(), kSysMac.begin() + 5)},
      {15, true, 64, kOk, 0, kSysMac},
      {16, true, 4, kOk, 0, str("sw-c")},
      {16, false, 0, kInval, 0, {}},
      {18, true, 1, kOk, 0, {0x28}},
      {18, true, 2, kOk, 0, {0x28, 0x00}},
      {18, false, 0, kInval, 0, {}},
      {19, true, 0, kOk, 0, {}},
      {19, true, 64, kOk, 0, {0x14, 0x00}},
      {23, true, 2, kOk, 0, str("HW")},
      {23, true, 32, kOk, 0, str("HW1")},
      {28, true, 32, kOk, 0, str("LLDP")},
      {31, false, 0, kOk, 2, {}},
      {32, false, 0, kOk, 33, {}},
      {37, false, 0, kOk, 32, {}},  // 4 x maxifnum
      // The clearing time, then the counters: 41 to 43 cross their storage order.
      {40, false, 0, kOk, 100, {}},
      {41, false, 0, kOk, 103, {}},
      {42, false, 0, kOk, 102, {}},
      {43, false, 0, kOk, 101, {}},
      {46, false, 0, kOk, 106, {}},
      {47, false, 0, kOk, 107, {}},
      {48, false, 0, kOk, 1, {}},
      {50, true, 11, kSmall, 0, {}},
      {50, true, 12, kOk, 0, feature},
      {35, false, 0, kBad, 0, {}},
      {39, false, 0, kBad, 0, {}},
      {51, true, 64, kBad, 0, {}},
      {0, false, 0, kBad, 0, {}},
  };
  for (const GetRow& r : rows) {
    Buf b(r.cap);
    ZorValue iv = intVal(0xDEAD);
    ZorValue* d = r.buf ? b.p() : &iv;
    EXPECT_EQ(lldpScalarGetApi(0, r.obj, d), r.rc) << "object " << r.obj;
    if (r.rc != kOk) continue;
    if (r.buf)
      EXPECT_EQ(b.bytes(), r.bytes) << "object " << r.obj;
    else
      EXPECT_EQ(iv.value, r.value) << "object " << r.obj;
  }

  testing::internal::CaptureStdout();
  EXPECT_EQ(lldpScalarGetApi(0, 2, nullptr), kInval);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "[LLDP] assert error lldpScalarGetApi, 44\r\n");
}

// One Set: operation, object, value, the forwarding's answer, and what must
// follow.
struct SetRow {
  bool sync;
  uint32_t obj;
  bool buf;
  uint32_t value;
  int fwdResult;
  uint32_t rc;
  uint32_t fwdCmd;  // 0: nothing forwarded
  std::function<uint32_t()> field;
  uint32_t after;
};

TEST_F(ScalarTest, SetForwardsThenStoresTruncatedAndARefusalChangesNothing) {
  LldpInfo& g = gLldpInfo;
  const SetRow rows[] = {
      {false, 2, false, 70000, 0, kOk, 0xB4002, [&] { return uint32_t{g.msgTxInterval}; }, 4464},
      {true, 3, false, 7, 0, kOk, 0xB4003, [&] { return uint32_t{g.msgTxHold}; }, 7},
      {false, 4, false, 9, 0x1234, 0x1234, 0xB4004, [&] { return uint32_t{g.reinitDelay}; }, 2},
      {true, 5, false, 0x10003, 0, kOk, 0xB4005, [&] { return uint32_t{g.txDelay}; }, 3},
      {false, 6, false, 8, 0, kOk, 0xB4006, [&] { return uint32_t{g.trapInterval}; }, 8},
      {false, 21, false, 0x103, 0, kOk, 0xB4015, [&] { return uint32_t{g.medDeviceType}; }, 3},
      {false, 22, false, 5, 0, kOk, 0xB4016, [&] { return uint32_t{g.medFastStartRepeatCount}; }, 5},
      {false, 2, true, 0, 0, kInval, 0, [&] { return uint32_t{g.msgTxInterval}; }, 4464},
      {false, 20, false, 0x1FF, 0, kOk, 0, [&] { return g.debugFlags; }, 0x1FF},
      {false, 7, false, 1, 0, kBad, 0, [&] { return g.statsRemTablesLastChangeTime[1]; }, 0},
      {false, 36, false, 1, 0, kBad, 0, [&] { return uint32_t{g.dflPortMode}; }, 3},
      {false, 60, false, 1, 0, kBad, 0, [&] { return 0u; }, 0},
      {false, 35, false, 1, 0, kInval, 0, [&] { return 0u; }, 0},
      {false, 35, true, 0, 0, kOk, 0, [&] { return 0u; }, 0},
  };
  for (const SetRow& r : rows) {
    sim::setCmdSyncResult(r.fwdResult);
    const size_t before = sim::cmdSyncs().size();
    Buf b = Buf::of({1, 2, 3, 4});
    ZorValue iv = intVal(r.value);
    ZorValue* d = r.buf ? b.p() : &iv;
    const uint32_t rc = r.sync ? lldpScalarSyncApi(0, r.obj, d) : lldpScalarSetApi(0, r.obj, d);
    EXPECT_EQ(rc, r.rc) << "object " << r.obj;
    EXPECT_EQ(r.field(), r.after) << "object " << r.obj;
    if (r.fwdCmd == 0) {
      EXPECT_EQ(sim::cmdSyncs().size(), before) << "object " << r.obj;
      continue;
    }
    ASSERT_EQ(sim::cmdSyncs().size(), before + 1) << "object " << r.obj;
    const sim::CmdSync& c = sim::cmdSyncs().back();
    EXPECT_EQ((std::vector<uint32_t>{c.cmdId, c.ctlMode, c.ctlLen, c.form, c.value}),
              (std::vector<uint32_t>{r.fwdCmd, r.sync ? 1u : 3u, 4, ZOR_VALUE_INT, r.value}))
        << "object " << r.obj;
  }
  sim::setCmdSyncResult(0);

  // Clearing the counters works with any value and keeps the up-time of the clear.
  for (uint32_t i = 0; i < 8; ++i) g.globalStatsBlock[i] = 5;
  sim::advanceMs(42000);
  Buf any = Buf::of({9});
  EXPECT_EQ(lldpScalarSetApi(0, 40, any.p()), kOk);
  const uint32_t t = silGetUpTime();
  EXPECT_EQ(std::vector<uint32_t>(g.globalStatsBlock, g.globalStatsBlock + 8),
            (std::vector<uint32_t>{t, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(ScalarTest, EverySetButTheDebugFlagsRefreshesTheEnabledPorts) {
  LldpPort* on = addPort(1);
  LldpPort* off = addPort(2);
  ASSERT_TRUE(on && off);
  ASSERT_EQ(lldpPortEntryInit(off, LLDP_ADMIN_DISABLED), 0);
  rounds(3);
  auto state = [](const LldpPort* p) {
    return std::vector<uint32_t>{p->msgTxInterval, p->txDelay, p->reinitDelay, p->somethingChangedLocal};
  };
  const std::vector<uint32_t> offBefore = state(off);
  gLldpInfo.txDelay = 9;
  gLldpInfo.reinitDelay = 8;
  on->somethingChangedLocal = 0;

  ZorValue v = intVal(0x104);
  ASSERT_EQ(lldpScalarSetApi(0, 20, &v), kOk);
  EXPECT_EQ(state(on), (std::vector<uint32_t>{30, 2, 2, 0})) << "debug flags touch no port";

  sim::setCmdSyncResult(5);  // a refused forward refreshes all the same
  v = intVal(45);
  EXPECT_EQ(lldpScalarSetApi(0, 2, &v), 5u);
  EXPECT_EQ(state(on), (std::vector<uint32_t>{30, 9, 8, 1}));
  sim::setCmdSyncResult(0);
  on->somethingChangedLocal = 0;
  EXPECT_EQ(lldpScalarSyncApi(0, 2, &v), kOk);
  EXPECT_EQ(state(on), (std::vector<uint32_t>{45, 9, 8, 1}));
  on->somethingChangedLocal = 0;
  EXPECT_EQ(lldpScalarSetApi(0, 99, &v), kBad);  // an unknown object too
  EXPECT_EQ(state(on)[3], 1u);
  EXPECT_EQ(state(off), offBefore) << "a disabled port is left alone";
}

TEST_F(ScalarTest, ModeChangeMovesFiltersAndTakesTheAddressFromTheOldMode) {
  addPort(1);
  addPort(2);
  struct Dst {
    Bytes mac;
    uint16_t type;
    bool operator==(const Dst&) const = default;
  };
  auto dst = [] { return Dst{Bytes(gLldpInfo.dstMac, gLldpInfo.dstMac + 6), gLldpInfo.dstEtherType}; };
  const Dst standard{{0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E}, 0x88CC};
  const Dst broadcast{Bytes(6, 0xFF), 0xFFCC};
  auto calls = [] {
    std::vector<std::pair<uint32_t, uint32_t>> out;  // (unit or 0 for the protocol record, object or EtherType)
    for (const auto& s : sim::ifSets()) {
      if (s.proto) out.emplace_back(0, s.value & 0xFFFF);
      else if (s.objId == 56 || s.objId == 57) out.emplace_back(s.unit, s.objId);
    }
    return out;
  };
  const size_t setsBefore = sim::ifSets().size();
  ZorValue v = intVal(1);
  ASSERT_EQ(lldpScalarSetApi(0, 13, &v), kOk);  // the mode in force: nothing moves
  EXPECT_EQ(sim::ifSets().size(), setsBefore);

  const auto before = calls();
  gLldpInfo.debugFlags = 0x108;
  sim::setIfSetResult(57, 3);  // a port that refuses is logged and skipped
  v = intVal(2);
  ASSERT_EQ(lldpScalarSetApi(0, 13, &v), kOk);
  sim::setIfSetResult(57, 0);
  EXPECT_EQ(gLldpInfo.mode, 2);
  EXPECT_TRUE(dst() == standard) << "1 -> 2 keeps the address of mode 1";
  auto after = calls();
  after.erase(after.begin(), after.begin() + static_cast<long>(before.size()));
  EXPECT_EQ(after, (std::vector<std::pair<uint32_t, uint32_t>>{{1, 57}, {2, 57}, {0, 0x88CC}, {1, 56}, {2, 56}}));
  EXPECT_EQ(sim::countLinesContaining("[LLDP] port [ge0/1] lldpIfSetState failed !\r\n"), 1u);

  v = intVal(1);
  ASSERT_EQ(lldpScalarSyncApi(0, 13, &v), kOk);
  EXPECT_TRUE(dst() == broadcast) << "2 -> 1 takes the address of mode 2";
  EXPECT_EQ(gLldpInfo.mode, 1);
}

TEST_F(ScalarTest, GlobalDisableSendsOneShutdownFramePerTransmittingPortFromSetOrSync) {
  for (uint32_t u : {1u, 2u, 3u}) ASSERT_NE(addPort(u), nullptr);
  ZorValue rx = intVal(LLDP_ADMIN_RX);
  ASSERT_EQ(lldpPortSetApi(3, 1, &rx), kOk);
  rounds(40);
  ASSERT_FALSE(sim::sentFrames().empty());

  for (bool sync : {false, true}) {
    sim::clearSentFrames();
    // Refused by the stack: nothing happens.
    sim::setCmdSyncResult(7);
    ZorValue v = intVal(2);
    EXPECT_EQ(sync ? lldpScalarSyncApi(0, 48, &v) : lldpScalarSetApi(0, 48, &v), 7u);
    EXPECT_EQ(gLldpInfo.globalAdminStatus, 1);
    sim::setCmdSyncResult(0);
    EXPECT_TRUE(sim::sentFrames().empty());

    // The frames leave before the call returns (the daemon's SIGTERM path
    // relies on it), one per port that transmitted, none for the RX port.
    EXPECT_EQ(sync ? lldpScalarSyncApi(0, 48, &v) : lldpScalarSetApi(0, 48, &v), kOk);
    EXPECT_EQ(sent(), (std::vector<std::pair<uint32_t, int>>{{1, 0}, {2, 0}}));
    rounds(60);
    EXPECT_EQ(sent().size(), 2u) << "nothing more while disabled";
    // The transmitting ports finished their shutdown: buffer freed.
    for (uint32_t u : {1u, 2u}) {
      const LldpPort* p = lldpPortEntryGet(u);
      EXPECT_EQ((std::vector<int>{p->adminStatus, p->reinitDone, p->tx.frame == nullptr}),
                (std::vector<int>{LLDP_ADMIN_DISABLED, 1, 1}))
          << "unit " << u;
    }
    EXPECT_EQ(lldpPortEntryGet(3)->adminStatus, LLDP_ADMIN_DISABLED);
    ZorValue sv = intVal(0);
    EXPECT_EQ(lldpPortSetApi(1, 2, &sv), 0x3E80036u) << "per-port Sets refused while disabled";

    // Enabling again gives every port the default admin status.
    v = intVal(1);
    EXPECT_EQ(lldpScalarSetApi(0, 48, &v), kOk);
    for (uint32_t u : {1u, 2u, 3u}) EXPECT_EQ(lldpPortEntryGet(u)->adminStatus, LLDP_ADMIN_TXRX);
    rounds(40);
    ASSERT_EQ(lldpPortSetApi(3, 1, &rx), kOk);
    rounds(5);
  }
}

TEST_F(ScalarTest, ExtensionSwitchForTheShell) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(lldpExtEnableSet(0x1F), 0x1Fu);
  EXPECT_EQ(lldpExtEnableGet(), 0x1Fu);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n\r old f \n\r \n\r new 1f \n\r \n\r 1f \n\r ");
}

}  // namespace
