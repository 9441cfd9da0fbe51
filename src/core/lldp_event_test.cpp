// Platform port events: the walk over a buffer of messages and what each
// message does to the port table and the agent.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "core/lldp_testutil.h"

using namespace lldptest;

namespace {

class EventTest : public AgentTest {
 protected:
  // Agent in rxtx with port traces on, ports 1 and 2 present; registers `reg`.
  static LldpPort* start(Options opts = {}, std::initializer_list<uint32_t> reg = {1}) {
    sim::reset();
    sim::setOption("lldp.defaultportmode", "rxtx");
    for (const auto& [k, v] : opts) sim::setOption(k, v);
    EXPECT_EQ(lldpOptInit(), 0);
    gLldpInfo.debugFlags |= 0x8 | 0x20;
    addPort(1);
    addPort(2);
    for (uint32_t u : reg) deliver(registration(u));
    return lldpPortEntryGet(1);
  }
};

// Which registrations make a port record, and in which state.
TEST_F(EventTest, RegistrationNeedsAnEthernetPortForTheAgent) {
  const struct {
    const char* name;
    std::pair<const char*, const char*> option;  // {} for none
    void (*setup)();
    int adminStatus;  // 0: no record
  } cases[] = {
      {"plain", {}, [] {}, 3},
      {"globally disabled", {"lldp.defaultenable", "false"}, [] {}, 4},
      {"object 13: not for this agent", {}, [] { sim::setInt(sim::Svc::If, 1, 13, 1); }, 0},
      {"status not usable", {}, [] { sim::setIndexTrans(1, 5, 0, 1, 1, 3); }, 0},
      {"translation fails", {}, [] { sim::setIndexTrans(1, 5, 0, 1, 1, 0, -1); }, 0},
      {"not an Ethernet port", {}, [] { sim::setIndexTrans(1, 5, 0, 6, 1, 0); }, 0},
      {"management Ethernet", {}, [] { sim::setIndexTrans(1, 5, 0, 44, 1, 0); }, 0},
      {"management Ethernet allowed", {"lldp.methifenable", "true"}, [] { sim::setIndexTrans(1, 5, 0, 44, 1, 0); }, 3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    if (c.option.first != nullptr) start({c.option}, {}); else start({}, {});
    c.setup();
    deliver(registration(1));
    deliver(registration(1));  // a second registration changes nothing
    LldpPort* p = lldpPortEntryGet(1);
    EXPECT_EQ(p != nullptr ? p->adminStatus : 0, c.adminStatus);
    if (c.adminStatus == 4) {
      EXPECT_EQ(p->rx.frame, nullptr);
      EXPECT_EQ(protoSets(1), (std::vector<uint32_t>{53}));  // default state only
    }
    if (c.adminStatus == 3) {
      EXPECT_EQ(protoSets(1), (std::vector<uint32_t>{53, 56}));
      EXPECT_EQ(sim::countLinesContaining("port ge0/1 REGISTER\r\n"), 1u);
    }
    stopAgent();
  }
}

TEST_F(EventTest, BufferIsWalkedMessageByMessage) {
  start({}, {});
  // Three messages, then a fragment shorter than a header.
  deliver(concat({registration(1), registration(2), change(1, {attr8(16, 2)}), Bytes(20, 0xAB)}));
  ASSERT_NE(lldpPortEntryGet(2), nullptr);
  EXPECT_EQ(lldpPortEntryGet(1)->portStatus, 2);
  EXPECT_EQ(sim::countLinesContaining("lldpEvtNotifyRecv: ZOR_RTM_NEWLINK!\r\n"), 3u);
  EXPECT_FALSE(sim::hasLineContaining("unknown rtm type"));

  // A length beyond the buffer, or shorter than a header, ends the walk.
  addPort(3);
  addPort(4);
  for (uint32_t len : {4096u, 23u}) {
    Bytes bad = registration(3);
    put32(bad, 0, len);
    deliver(concat({bad, registration(4)}));
  }
  EXPECT_EQ(lldpPortEntryGet(3), nullptr);
  EXPECT_EQ(lldpPortEntryGet(4), nullptr);
  // Messages are padded to 4 bytes: a 26-byte message is followed at 28.
  Bytes odd = message(999, Bytes{1, 2});
  odd.resize(28, 0);
  deliver(concat({odd, registration(4)}));
  EXPECT_TRUE(sim::hasLine("unknown rtm type 999!\r\n"));
  EXPECT_NE(lldpPortEntryGet(4), nullptr);
}

TEST_F(EventTest, AttributesOfAChange) {
  LldpPort* p = start();
  deliver(change(1, {attr32(4, 63)}));
  EXPECT_EQ(p->mtu + p->rxSize, 63u + 63u);
  const auto& l = sim::logLines();
  ASSERT_GE(l.size(), 2u);  // applied, then warned about
  EXPECT_EQ(l[l.size() - 2].text, "port ge0/1 change mtu to 63 \r\n");
  EXPECT_EQ(l.back().text, "ifMtu 63 is too short!\r\n");
  deliver(change(1, {attr32(4, 64)}));
  EXPECT_EQ(sim::logLines().back().text, "port ge0/1 change mtu to 64 \r\n");

  deliver(change(1, {attr(1, Bytes{0x00, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE})}));
  EXPECT_TRUE(sim::hasLine("port ge0/1 change mac to00:aa:bb:cc:dd:ee \r\n"));
  deliver(change(1, {attr(1, Bytes{0x11, 0x22})}));  // a short address: only its bytes
  EXPECT_EQ(Bytes(p->portMac, p->portMac + 6), (Bytes{0x11, 0x22, 0xBB, 0xCC, 0xDD, 0xEE}));

  const struct {
    uint8_t oper;
    int status;
    const char* line;
  } opers[] = {{2, 2, "port ge0/1 linkdown!\r\n"},
               {7, 2, "port ge0/1 unknown oper status 7!\r\n"},
               {1, 1, "port ge0/1 linkup!\r\n"}};
  for (const auto& o : opers) {
    deliver(change(1, {attr8(16, o.oper)}));
    EXPECT_EQ(p->portStatus, o.status);
    EXPECT_EQ(sim::logLines().back().text, o.line);
  }
  // Unknown types are traced and skipped; 54 and 55 silently.
  sim::clearLogLines();
  deliver(change(1, {attr32(60, 1), attr32(54, 1), attr(55, Bytes{1, 0, 2, 0}), attr32(4, 1400)}));
  EXPECT_EQ(sim::countLinesContaining("unknown event"), 1u);
  EXPECT_TRUE(sim::hasLine("port ge0/1 unknown event 60!\r\n"));
  EXPECT_EQ(p->mtu, 1400u);
}

TEST_F(EventTest, AttributeWalkStaysInsideTheMessage) {
  LldpPort* p = start();
  Bytes m = change(1, {attr32(4, 1400), attr32(4, 2000)});
  put16(m, 56, 64);  // claims more than the message holds
  deliver(m);
  Bytes z = change(1, {attr32(4, 1300)});
  put16(z, 48, 2);  // shorter than its header
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
  deliver(message(ZOR_RTM_NEWLINK, words({0, 1})));
  EXPECT_EQ(lldpPortEntryGet(0), nullptr);
}

TEST_F(EventTest, AggregationJoinAndQuit) {
  start({{"lldp.defaultenable", "f"}}, {});
  sim::setInt(sim::Svc::If, 50, 10, 0x40000);
  sim::setInt(sim::Svc::If, 51, 10, 0x1);
  // Without a record only a quit counts, and another attribute first ends the walk.
  deliver(change(1, {attr32(4, 1400), attr32(53, 50)}));
  EXPECT_EQ(lldpPortEntryGet(1), nullptr);
  // A quit comes back with dflPortMode even though the agent is disabled;
  // the walk ends at the quit.
  deliver(change(1, {attr32(53, 50), attr32(4, 1400)}));
  LldpPort* p = lldpPortEntryGet(1);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p->adminStatus, 3);
  EXPECT_EQ(p->mtu, 1522u);
  EXPECT_TRUE(sim::hasLine("port ge0/1 ZOR_IFLA_PHYQUITAGG \r\n"));
  // A quit of a port that has its record leaves it as it is.
  deliver(change(1, {attr32(53, 50)}));
  EXPECT_EQ(lldpPortEntryGet(1), p);

  // Join: not that kind of aggregation, the walk goes on; a failed read ends
  // it; a member is deleted and nothing after it is read.
  deliver(change(1, {attr32(52, 51), attr32(4, 1400)}));
  EXPECT_EQ(p->mtu, 1400u);
  EXPECT_TRUE(sim::hasLine("port ge0/1 ZOR_IFLA_PHYJOINAGG \r\n"));
  deliver(change(1, {attr32(52, 77), attr32(4, 1300)}));
  EXPECT_EQ(p->mtu, 1400u);
  deliver(change(1, {attr32(52, 50), attr32(4, 1300)}));
  EXPECT_EQ(lldpPortEntryGet(1), nullptr);
}

TEST_F(EventTest, RemovalAndConfigReset) {
  start({}, {1, 2});
  sim::setIndexTrans(2, 5, 0, 1, 3, 0);  // not a handled port kind: kept
  deliver(ifMessage(ZOR_RTM_DELLINK, 2, 0));
  EXPECT_NE(lldpPortEntryGet(2), nullptr);
  deliver(ifMessage(ZOR_RTM_DELLINK, 1, 0));
  EXPECT_EQ(lldpPortEntryGet(1), nullptr);
  EXPECT_TRUE(sim::hasLine("unregister port ge0/1 \r\n"));

  deliver(ifMessage(ZOR_RTM_RESETPORTCONFIG, 2, 0, {attr(75, words({3, 1}))}));
  EXPECT_EQ(lldpPortEntryGet(2)->adminStatus, 4);
  gLldpInfo.msgTxInterval = 99;
  gLldpInfo.mode = 2;
  deliver(message(360, {}));
  EXPECT_EQ(gLldpInfo.msgTxInterval + gLldpInfo.mode, 30 + 1);
}

TEST_F(EventTest, TunnelMacChangeOnlyForTheLldpAddress) {
  start({}, {});
  auto tunnel = [](uint8_t op, uint8_t last) {
    Bytes body = {7, 0, 0, 0, 0, op, 0x01, 0x80, 0xC2, 0x00, 0x00, last};
    return message(ZOR_RTM_L2PROTOTUNNEL_MACCHANGE, body);
  };
  const size_t before = sim::sockOpts().size();
  deliver(tunnel(1, 0x02));  // another protocol's address: nothing
  EXPECT_TRUE(sim::hasLine("lldpEvtNotifyRecv: ZOR_RTM_L2PROTOTUNNEL_MACCHANGE\r\n"));
  // Cut short before the address: reads as zeros, nothing set.
  Bytes cut = tunnel(1, 0x0E);
  cut.resize(32);
  put32(cut, 0, 32);
  deliver(cut);
  EXPECT_EQ(sim::sockOpts().size(), before);
  deliver(tunnel(2, 0x0E));
  ASSERT_EQ(sim::sockOpts().size(), before + 2);
  const auto& o = sim::sockOpts();
  EXPECT_EQ(std::vector<int>({o[before].name, o[before].value[0], o[before + 1].value[12],
                              o[before + 1].value[17]}),
            std::vector<int>({4123, 7, 0x01, 0x0E}));
}

TEST_F(EventTest, SlotCardAndSubsystemStartSynchronise) {
  start({}, {});
  sim::setInt(sim::Svc::Hw, 0, 54, 0);
  for (uint32_t obj : {0x1F40032u, 0x1F4002Bu, 0x1F4002Au, 0x2EE002Bu, 0x2EE002Au, 0x2EE0029u})
    sim::setHwObject(obj, 1);
  auto syncs = [] { return sim::cmdSyncs().size(); };
  deliver(concat({message(ZOR_RTM_SLOT_UP, words({1, 2})), message(ZOR_RTM_CARD_UP, words({1, 2, 3}))}));
  EXPECT_TRUE(sim::hasLine("lldpSlotNotifier: slot:1/2 ZOR_RTM_SLOT_UP!\r\n"));
  EXPECT_TRUE(sim::hasLine("lldpCardNotifier: card:1/2/3 ZOR_RTM_CARD_UP!\r\n"));
  EXPECT_EQ(syncs(), 2u);
  ASSERT_EQ(sim::cardUps().size(), 1u);
  EXPECT_TRUE(sim::cardUps()[0].c2 == 3 && sim::cardUps()[0].protocol == 7);
  // An unreadable third object: nothing to send yet. A failed first check
  // stops before the sync and the card report.
  sim::setHwObject(0x1F4002A, 0, -1);
  deliver(message(ZOR_RTM_SLOT_UP, words({1, 3})));
  sim::setHwObject(0x2EE002B, 0, -1);
  deliver(message(ZOR_RTM_CARD_UP, words({1, 2, 4})));
  EXPECT_EQ(syncs() + sim::cardUps().size(), 3u);
  deliver(concat({message(ZOR_RTM_SUBSYS_UP, words({1})), message(ZOR_RTM_SUBSYS_UP, words({5}))}));  // 1: our own
  EXPECT_TRUE(sim::hasLine("lldpSubSysNotifier: subsystem:5 UP!\r\n"));
  EXPECT_EQ(syncs(), 3u);
  sim::setInt(sim::Svc::Hw, 0, 54, 1);  // no stack peers
  sim::setHwObject(0x1F4002A, 1);
  deliver(concat({message(ZOR_RTM_SUBSYS_UP, words({5})), message(ZOR_RTM_SLOT_UP, words({1, 2}))}));
  EXPECT_EQ(syncs(), 3u);
}

}  // namespace
