// Platform port events: the walk over a buffer of messages and what each
// message does to the port table and the agent.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "core/lldp_core.h"
#include "core/lldp_info.h"
#include "core/lldp_testutil.h"
#include "platform/sim/sim.h"
#include "port/lldp_port.h"

using namespace lldptest;

namespace {

class EventTest : public ::testing::Test {
 protected:
  void start(std::initializer_list<std::pair<const char*, const char*>> opts = {}) {
    std::vector<std::pair<const char*, const char*>> all = {{"lldp.defaultportmode", "rxtx"}};
    all.insert(all.end(), opts.begin(), opts.end());
    sim::reset();
    for (const auto& [k, v] : all) sim::setOption(k, v);
    ASSERT_EQ(lldpOptInit(), 0);
    gLldpInfo.debugFlags |= 0x8 | 0x20;
  }
  void TearDown() override {
    stopAgent();
    EXPECT_EQ(sim::liveAllocations(), 0u);
  }
  // Index of the first recorded line with exactly this text, or -1.
  static long lineIndex(const std::string& text) {
    const auto& lines = sim::logLines();
    for (size_t i = 0; i < lines.size(); ++i)
      if (lines[i].text == text) return static_cast<long>(i);
    return -1;
  }
};

TEST_F(EventTest, RegistrationCreatesThePortOnce) {
  start();
  addPort(1);
  deliver(registration(1));
  LldpPort* p = lldpPortEntryGet(1);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p->adminStatus, 3);
  EXPECT_TRUE(sim::hasLine("lldpEvtNotifyRecv: ZOR_RTM_NEWLINK!\r\n"));
  EXPECT_TRUE(sim::hasLine("port ge0/1 REGISTER\r\n"));

  const size_t sets = sim::ifSets().size();
  deliver(registration(1));
  EXPECT_EQ(lldpPortEntryGet(1), p);
  EXPECT_EQ(sim::ifSets().size(), sets);
  EXPECT_EQ(sim::countLinesContaining("REGISTER"), 1u);
}

// Which registrations make a port record, and in which state.
TEST_F(EventTest, RegistrationNeedsAnEthernetPortForTheAgent) {
  const struct {
    const char* name;
    std::pair<const char*, const char*> option;
    void (*setup)();
    int adminStatus;  // 0: no record
  } cases[] = {
      {"globally disabled", {"lldp.defaultenable", "false"}, [] {}, 4},
      {"object 13: not for this agent", {}, [] { sim::setInt(sim::Svc::If, 1, 13, 1); }, 0},
      {"status not usable", {}, [] { sim::setIndexTrans(1, 5, 0, 1, 1, 3); }, 0},
      {"translation fails", {}, [] { sim::setIndexTrans(1, 5, 0, 1, 1, 0, -1); }, 0},
      {"not an Ethernet port", {}, [] { sim::setIndexTrans(1, 5, 0, 6, 1, 0); }, 0},
      {"management Ethernet", {}, [] { sim::setIndexTrans(1, 5, 0, 44, 1, 0); }, 0},
      {"management Ethernet allowed", {"lldp.methifenable", "true"},
       [] { sim::setIndexTrans(1, 5, 0, 44, 1, 0); }, 3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    if (c.option.first != nullptr) start({c.option}); else start();
    addPort(1);
    c.setup();
    deliver(registration(1));
    LldpPort* p = lldpPortEntryGet(1);
    if (c.adminStatus == 0) {
      EXPECT_EQ(p, nullptr);
    } else {
      ASSERT_NE(p, nullptr);
      EXPECT_EQ(p->adminStatus, c.adminStatus);
    }
    if (c.adminStatus == 4) {
      EXPECT_EQ(p->rx.frame, nullptr);
      EXPECT_EQ(protoSets(1), (std::vector<uint32_t>{53}));  // default state only
    }
    stopAgent();
  }
}

TEST_F(EventTest, BufferIsWalkedMessageByMessage) {
  start();
  addPort(1);
  addPort(2);
  // Three messages, then a fragment shorter than a header.
  Bytes buf = concat({registration(1), registration(2), change(1, {attr8(16, 2)}),
                      Bytes(20, 0xAB)});
  deliver(buf);
  ASSERT_NE(lldpPortEntryGet(1), nullptr);
  ASSERT_NE(lldpPortEntryGet(2), nullptr);
  EXPECT_EQ(lldpPortEntryGet(1)->portStatus, 2);
  EXPECT_EQ(sim::countLinesContaining("ZOR_RTM_NEWLINK!"), 3u);
  EXPECT_FALSE(sim::hasLineContaining("unknown rtm type"));

  // A length that claims more than the buffer holds ends the walk, and so
  // does one shorter than a header.
  addPort(3);
  addPort(4);
  Bytes lying = registration(3);
  put32(lying, 0, 4096);
  deliver(concat({lying, registration(4)}));
  Bytes tiny = registration(3);
  put32(tiny, 0, 23);
  deliver(concat({tiny, registration(4)}));
  EXPECT_EQ(lldpPortEntryGet(3), nullptr);
  EXPECT_EQ(lldpPortEntryGet(4), nullptr);

  // Messages are padded to 4 bytes: a 26-byte message is followed at 28.
  Bytes odd = message(999, Bytes{1, 2});
  odd.resize(28, 0);
  deliver(concat({odd, registration(4)}));
  EXPECT_TRUE(sim::hasLine("unknown rtm type 999!\r\n"));
  EXPECT_NE(lldpPortEntryGet(4), nullptr);
}

TEST_F(EventTest, MtuIsAppliedThenWarnedAbout) {
  start();
  addPort(1);
  deliver(registration(1));
  LldpPort* p = lldpPortEntryGet(1);

  deliver(change(1, {attr32(4, 63)}));
  EXPECT_EQ(p->mtu, 63u);
  EXPECT_EQ(p->rxSize, 63u);
  const long applied = lineIndex("port ge0/1 change mtu to 63 \r\n");
  const long warned = lineIndex("ifMtu 63 is too short!\r\n");
  ASSERT_GE(applied, 0);
  ASSERT_GE(warned, 0);
  EXPECT_LT(applied, warned);

  sim::clearLogLines();
  deliver(change(1, {attr32(4, 64)}));
  EXPECT_EQ(p->mtu, 64u);
  EXPECT_TRUE(sim::hasLine("port ge0/1 change mtu to 64 \r\n"));
  EXPECT_FALSE(sim::hasLineContaining("too short"));
}

TEST_F(EventTest, MacOperStatusAndUnknownAttributes) {
  start();
  addPort(1);
  deliver(registration(1));
  LldpPort* p = lldpPortEntryGet(1);

  deliver(change(1, {attr(1, Bytes{0x00, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE})}));
  EXPECT_EQ(p->portMac[1], 0xAA);
  EXPECT_EQ(p->portMac[5], 0xEE);
  EXPECT_TRUE(sim::hasLine("port ge0/1 change mac to00:aa:bb:cc:dd:ee \r\n"));
  // A short address changes only the bytes it has.
  deliver(change(1, {attr(1, Bytes{0x11, 0x22})}));
  EXPECT_EQ(p->portMac[0], 0x11);
  EXPECT_EQ(p->portMac[2], 0xBB);

  deliver(change(1, {attr8(16, 2)}));
  EXPECT_EQ(p->portStatus, 2);
  EXPECT_TRUE(sim::hasLine("port ge0/1 linkdown!\r\n"));
  deliver(change(1, {attr8(16, 7)}));
  EXPECT_EQ(p->portStatus, 2);
  EXPECT_TRUE(sim::hasLine("port ge0/1 unknown oper status 7!\r\n"));
  deliver(change(1, {attr8(16, 1)}));
  EXPECT_EQ(p->portStatus, 1);
  EXPECT_TRUE(sim::hasLine("port ge0/1 linkup!\r\n"));

  // Unknown types are traced and skipped; 54 and 55 silently.
  deliver(change(1, {attr32(60, 1), attr32(54, 1), attr(55, Bytes{1, 0, 2, 0}),
                     attr32(4, 1400)}));
  EXPECT_TRUE(sim::hasLine("port ge0/1 unknown event 60!\r\n"));
  EXPECT_EQ(p->mtu, 1400u);
}

TEST_F(EventTest, AttributeWalkStaysInsideTheMessage) {
  start();
  addPort(1);
  deliver(registration(1));
  LldpPort* p = lldpPortEntryGet(1);

  // An attribute that claims more than the message holds ends the walk.
  Bytes m = change(1, {attr32(4, 1400), attr32(4, 2000)});
  put16(m, 56, 64);
  deliver(m);
  EXPECT_EQ(p->mtu, 1400u);

  // An attribute shorter than its header ends it too.
  Bytes z = change(1, {attr32(4, 1300)});
  put16(z, 48, 2);
  deliver(z);
  EXPECT_EQ(p->mtu, 1400u);

  // The last attribute's padding may be missing.
  Bytes unpadded = change(1, {attr(1, Bytes{9, 9, 9, 9, 9, 9})});
  unpadded.resize(unpadded.size() - 2);
  put32(unpadded, 0, static_cast<uint32_t>(unpadded.size()));
  deliver(unpadded);
  EXPECT_EQ(p->portMac[5], 9);

  // A 32-bit value cut short reads only the bytes present.
  deliver(change(1, {attr(4, Bytes{0x10, 0x02})}));
  EXPECT_EQ(p->mtu, 0x0210u);

  // An interface message too short for its header reads zeros, not beyond.
  Bytes stub = message(ZOR_RTM_NEWLINK, words({0, 1}));
  deliver(stub);
  EXPECT_EQ(lldpPortEntryGet(0), nullptr);
}

TEST_F(EventTest, WithoutARecordOnlyAnAggregationQuitCounts) {
  start({{"lldp.defaultenable", "f"}});
  addPort(1);
  sim::setInt(sim::Svc::If, 50, 10, 0x40000);
  // Another attribute first ends the walk: nothing is created.
  deliver(change(1, {attr32(4, 1400), attr32(53, 50)}));
  EXPECT_EQ(lldpPortEntryGet(1), nullptr);

  // A quit comes back with dflPortMode even though the agent is disabled.
  deliver(change(1, {attr32(53, 50), attr32(4, 1400)}));
  LldpPort* p = lldpPortEntryGet(1);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p->adminStatus, 3);
  EXPECT_EQ(p->mtu, 1522u);  // the walk ended at the quit
  EXPECT_TRUE(sim::hasLine("port ge0/1 ZOR_IFLA_PHYQUITAGG \r\n"));
}

TEST_F(EventTest, AggregationJoinRemovesMemberPorts) {
  start();
  addPort(1);
  addPort(2);
  deliver(registration(1));
  deliver(registration(2));
  sim::setInt(sim::Svc::If, 50, 10, 0x40000);
  sim::setInt(sim::Svc::If, 51, 10, 0x1);

  // Not that kind of aggregation: the walk goes on.
  deliver(change(1, {attr32(52, 51), attr32(4, 1400)}));
  ASSERT_NE(lldpPortEntryGet(1), nullptr);
  EXPECT_EQ(lldpPortEntryGet(1)->mtu, 1400u);
  EXPECT_TRUE(sim::hasLine("port ge0/1 ZOR_IFLA_PHYJOINAGG \r\n"));

  // A failed read ends the walk.
  deliver(change(1, {attr32(52, 77), attr32(4, 1300)}));
  EXPECT_EQ(lldpPortEntryGet(1)->mtu, 1400u);

  // The member is deleted and nothing after it is read.
  deliver(change(1, {attr32(52, 50), attr32(4, 1300)}));
  EXPECT_EQ(lldpPortEntryGet(1), nullptr);

  // Quit of a port that still has its record: the record stays as it is.
  LldpPort* p2 = lldpPortEntryGet(2);
  deliver(change(2, {attr32(53, 50)}));
  EXPECT_EQ(lldpPortEntryGet(2), p2);
}

TEST_F(EventTest, RemovalNeedsAHandledPortKind) {
  start();
  addPort(1);
  addPort(2);
  deliver(registration(1));
  deliver(registration(2));
  sim::setIndexTrans(2, 5, 0, 1, 3, 0);
  deliver(ifMessage(ZOR_RTM_DELLINK, 2, 0));
  EXPECT_NE(lldpPortEntryGet(2), nullptr);
  deliver(ifMessage(ZOR_RTM_DELLINK, 1, 0));
  EXPECT_EQ(lldpPortEntryGet(1), nullptr);
  EXPECT_TRUE(sim::hasLine("lldpEvtNotifyRecv: ZOR_RTM_DELLINK!\r\n"));
  EXPECT_TRUE(sim::hasLine("unregister port ge0/1 \r\n"));
}

TEST_F(EventTest, ConfigResetMessages) {
  start();
  addPort(1);
  deliver(registration(1));
  deliver(ifMessage(ZOR_RTM_RESETPORTCONFIG, 1, 0, {attr(75, words({3, 1}))}));
  EXPECT_TRUE(sim::hasLine("lldpEvtNotifyRecv: ZOR_RTM_RESETPORTCONFIG!\r\n"));
  EXPECT_EQ(lldpPortEntryGet(1)->adminStatus, 4);

  gLldpInfo.msgTxInterval = 99;
  gLldpInfo.mode = 2;
  deliver(message(360, {}));
  EXPECT_EQ(gLldpInfo.msgTxInterval, 30);
  EXPECT_EQ(gLldpInfo.mode, 1);
}

TEST_F(EventTest, TunnelMacChangeOnlyForTheLldpAddress) {
  start();
  auto tunnel = [](uint32_t unit, uint8_t op, const Bytes& mac) {
    Bytes body(12, 0);
    put32(body, 0, unit);
    body[5] = op;
    std::memcpy(body.data() + 6, mac.data(), 6);
    return message(ZOR_RTM_L2PROTOTUNNEL_MACCHANGE, body);
  };
  const size_t before = sim::sockOpts().size();
  deliver(tunnel(7, 1, {0x01, 0x80, 0xC2, 0x00, 0x00, 0x02}));
  EXPECT_EQ(sim::sockOpts().size(), before);
  EXPECT_TRUE(sim::hasLine("lldpEvtNotifyRecv: ZOR_RTM_L2PROTOTUNNEL_MACCHANGE\r\n"));

  deliver(tunnel(7, 2, {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E}));
  ASSERT_EQ(sim::sockOpts().size(), before + 2);
  EXPECT_EQ(sim::sockOpts()[before].name, 4123);
  EXPECT_EQ(sim::sockOpts()[before].value[0], 7);
  EXPECT_EQ(sim::sockOpts()[before + 1].value[12], 0x01);
  EXPECT_EQ(sim::sockOpts()[before + 1].value[17], 0x0E);

  // Cut short before the address: reads as zeros, nothing set.
  Bytes cut = tunnel(7, 1, {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E});
  cut.resize(32);
  put32(cut, 0, 32);
  deliver(cut);
  EXPECT_EQ(sim::sockOpts().size(), before + 2);
}

TEST_F(EventTest, SlotCardAndSubsystemStartSynchronise) {
  start();
  sim::setInt(sim::Svc::Hw, 0, 54, 0);
  for (uint32_t obj : {0x1F40032u, 0x1F4002Bu, 0x1F4002Au, 0x2EE002Bu, 0x2EE002Au, 0x2EE0029u})
    sim::setHwObject(obj, 1);

  deliver(message(ZOR_RTM_SLOT_UP, words({1, 2})));
  EXPECT_TRUE(sim::hasLine("lldpSlotNotifier: slot:1/2 ZOR_RTM_SLOT_UP!\r\n"));
  ASSERT_EQ(sim::cmdSyncs().size(), 1u);

  deliver(message(ZOR_RTM_CARD_UP, words({1, 2, 3})));
  EXPECT_TRUE(sim::hasLine("lldpCardNotifier: card:1/2/3 ZOR_RTM_CARD_UP!\r\n"));
  EXPECT_EQ(sim::cmdSyncs().size(), 2u);
  ASSERT_EQ(sim::cardUps().size(), 1u);
  EXPECT_EQ(sim::cardUps()[0].c2, 3u);
  EXPECT_EQ(sim::cardUps()[0].protocol, 7u);

  // A third object that cannot be read means "nothing to send yet".
  sim::setHwObject(0x1F4002A, 0, -1);
  deliver(message(ZOR_RTM_SLOT_UP, words({1, 3})));
  EXPECT_EQ(sim::cmdSyncs().size(), 2u);

  // A failed first check stops before the sync and the card report.
  sim::setHwObject(0x2EE002B, 0, -1);
  deliver(message(ZOR_RTM_CARD_UP, words({1, 2, 4})));
  EXPECT_EQ(sim::cmdSyncs().size(), 2u);
  EXPECT_EQ(sim::cardUps().size(), 1u);

  deliver(message(ZOR_RTM_SUBSYS_UP, words({1})));  // our own (self index 1)
  EXPECT_EQ(sim::cmdSyncs().size(), 2u);
  deliver(message(ZOR_RTM_SUBSYS_UP, words({5})));
  EXPECT_TRUE(sim::hasLine("lldpSubSysNotifier: subsystem:5 UP!\r\n"));
  EXPECT_EQ(sim::cmdSyncs().size(), 3u);

  sim::setInt(sim::Svc::Hw, 0, 54, 1);  // no stack peers
  deliver(message(ZOR_RTM_SUBSYS_UP, words({5})));
  sim::setHwObject(0x1F4002A, 1);
  deliver(message(ZOR_RTM_SLOT_UP, words({1, 2})));
  EXPECT_EQ(sim::cmdSyncs().size(), 3u);
}

}  // namespace
