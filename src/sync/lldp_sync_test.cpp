// Stack synchronisation: the messages byte for byte, the whole-state send's
// buffer rules, the receiver's walk, and what it does with messages that lie.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "base/lldp_wire.h"
#include "mgmt/lldp_mgmt.h"
#include "platform/platform_types.h"
#include "sync/sync_test_util.h"

using namespace rxtest;
using namespace synctest;

namespace {

// The message the full neighbour of everyFamily() makes, field by field in
// the order of the remote-record layout, for port unit 1, inserted at up-time
// `t` as remote index `idx`.
Bytes everyFamilyMessage(uint32_t t, uint32_t idx) {
  Be e;
  e.u16(1).u16(0).u8(2).u32(1);
  e.u8(17).str(std::string("core-sw") + '\0' + "Gi1/0/24" + '\0');
  e.raw({0x00, 0x11, 0x22, 0x33, 0x44, 0x55}).u16(120).u32(0).u32(t).u32(idx);
  e.u8(1).u8(1);  // one unknown TLV, one unknown organizational TLV
  e.u8(2);        // management addresses, sorted by subtype
  e.u8(1).u8(2).u8(32).u8(4).u32(7).u32(0).raw({192, 0, 2, 1}).hostWords({1, 3, 6, 1, 2, 1, 4, 20});
  e.u8(6).u8(1).u8(0).u8(6).u32(3).u32(0).raw({0x00, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE});
  e.raw({0x28, 0x00, 0x20, 0x00});  // capabilities, bit-reversed as stored
  e.u8(7).u8(8).u8(6).u8(6).u8(6).u8(5).u8(7);
  e.str("core-sw").str("Gi1/0/24").str("uplink").str("core-1").str("OS 1.0");
  // 802.1: map, PVID, counts (protocols, PPVIDs, VLAN names), then the lists.
  e.raw({0xF0, 0x00}).u16(100).u8(2).u8(2).u8(2);
  e.u8(1).u8(2).u16(5).u8(1).u8(1).u16(10);
  e.u8(4).str("mgmt").u8(0).u16(10).u8(5).str("users").u8(0).u16(100);
  e.u32(1).u8(2).raw({0x88, 0x8E}).u8(0).u16(0).u32(2).u8(2).raw({0x88, 0xCC}).u8(0).u16(0);
  // 802.3: map, autoneg supported/enabled, extended power, advertised, MAU,
  // aggregated port, MDI flags packed, pairs, class, type, source,
  // aggregation status, MFS.
  e.u8(0xF0).u8(1).u8(1).u8(1).raw({0x6C, 0x01}).u16(30).u32(42);
  e.u8(0x55).u8(1).u8(4).u8(3).u8(2).u8(0xC0).u16(1518);
  // LLDP-MED: capabilities, map, eight policies, three locations.
  e.raw({0x00, 0x33, 0xEC, 0x00});
  e.raw({1, 0, 1, 5, 46, 0}).u16(10).raw({2, 1, 0, 0, 0, 0}).u16(0);
  for (int i = 0; i < 6; ++i) e.zeros(8);
  e.u8(1).u8(0).u16(16).raw({0x40, 0x1E, 0x8C, 0, 0, 0, 0, 0, 0x60, 0x9B, 0, 0, 0, 0, 0, 1});
  e.u8(2).u8(0).u16(8).raw({0x07, 0x02, 'D', 'E', 0x01, 0x02, 'B', 'Y'});
  e.u8(3).u8(0).u16(10).str("1234567890");
  e.u8(3).u8(3).u8(2).u8(2).u16(100);
  e.u8(6).u8(6).u8(6).u8(5).u8(4).u8(4).u8(7);
  e.str("HW 2.1").str("FW 3.0").str("SW 4.2").str("SN123").str("ACME").str("X100").str("asset-9");
  // LLDP-ZOR: capabilities, map, eight lengths, the strings.
  e.raw({0x28, 0x00, 0xE0, 0x80});
  e.u16(4).u16(0).u16(0).u16(0).u16(0).u16(0).u16(4).u16(13);
  e.str("ZHW1").str("ZA-7").str("1.3.6.1.4.1.9");
  lldpPut16(e.b.data() + 2, static_cast<uint32_t>(e.b.size()));
  return e.b;
}

// Takes a record out of the agent's tables so that it outlives the agent.
Msap* detach(Msap* m) {
  avl_remove(&gLldpInfo.msapTable, m);
  lldpListUnlink(&m->link);
  lldpMsapIndexDel(m);
  return m;
}

Bytes encode(LldpPort* port, const Msap* m, uint32_t action = LLDP_SYNC_UPDATE) {
  Bytes b(LLDP_SYNC_BUF_LEN);
  const uint32_t n = lldpSyncPortMsapBuild(port, m, b.data(), LLDP_SYNC_BUF_LEN, action);
  b.resize(n == LLDP_SYNC_FAILED ? 0 : n);
  return b;
}

TEST(SyncMessages, StatisticsByteForByte) {
  Unit a;
  gLldpInfo.statsRemTablesLastChangeTime[0] = 0x01020304;
  gLldpInfo.statsRemTablesLastChangeTime[1] = 0x05060708;
  gLldpInfo.statsRemTablesInserts = 0x11;
  gLldpInfo.statsRemTablesDeletes = 0x22;
  gLldpInfo.statsRemTablesDrops = 0x33;
  gLldpInfo.statsRemTablesAgeouts = 0x44;
  LldpPort* p = a.port();
  p->remSysTotal = 1;
  p->remMedSysTotal = 2;
  p->statsAgeoutsTotal = 3;
  p->statsFramesDiscardedTotal = 4;
  p->statsFramesInErrorsTotal = 5;
  p->statsFramesInTotal = 0x01000006;
  p->statsTLVsDiscardedTotal = 7;
  p->statsTLVsUnrecognizedTotal = 8;
  p->statsFramesOutTotal = 9;
  Bytes g(28), ps(44);
  EXPECT_EQ(lldpSyncGlobalStatBuild(g.data(), 28), 28u);
  EXPECT_EQ(g, Be().u16(2).u16(28).raw({1, 2, 3, 4, 5, 6, 7, 8}).u32(0x11).u32(0x22).u32(0x33).u32(0x44).b);
  EXPECT_EQ(lldpSyncPortStatsBuild(p, ps.data(), 44), 44u);
  EXPECT_EQ(ps, Be().u16(3).u16(44).u32(1).u32(1).u32(2).u32(3).u32(4).u32(5).u32(0x01000006).u32(7).u32(8).u32(9).b);
  // Room and null rules: {result} of each builder.
  EXPECT_EQ((std::vector<uint32_t>{lldpSyncGlobalStatBuild(g.data(), 27), lldpSyncGlobalStatBuild(nullptr, 28),
                                   lldpSyncPortStatsBuild(p, ps.data(), 43), lldpSyncPortStatsBuild(nullptr, ps.data(), 44),
                                   lldpSyncPortStatsBuild(p, nullptr, 44)}),
            (std::vector<uint32_t>{0, LLDP_SYNC_FAILED, 0, 0, 0}));
}

TEST(SyncMessages, RemoteRecordWithEveryFamilyByteForByte) {
  Unit a;
  sim::advanceMs(7000);
  ASSERT_EQ(a.recv(everyFamily()), RX_FRAME_OK);
  ASSERT_EQ(neighbours(a.port()).size(), 1u);
  const Bytes expected = everyFamilyMessage(7, 1);
  EXPECT_EQ(encode(a.port(), neighbours(a.port())[0]), expected);
  // The remote table sent the same message when it inserted the record.
  ASSERT_EQ(sim::cmdSyncs().size(), 1u);
  const sim::CmdSync& c = sim::cmdSyncs()[0];
  EXPECT_EQ((std::vector<uint32_t>{c.cmdId, c.ctlMode, c.ctlLen, c.form}),
            (std::vector<uint32_t>{0xB4023, 0x80000103, static_cast<uint32_t>(expected.size()), ZOR_VALUE_BUF}));
  EXPECT_EQ(c.bytes, expected);
  // Room and null rules of the record builder: 1023 octets (modulo 65536)
  // are too few, and so is less than the record needs.
  Bytes b(70000);
  const Msap* m = neighbours(a.port())[0];
  EXPECT_EQ((std::vector<uint32_t>{lldpSyncPortMsapBuild(a.port(), m, b.data(), 1023, 2),
                                   lldpSyncPortMsapBuild(a.port(), m, b.data(), 65536 + 1023, 2),
                                   lldpSyncPortMsapBuild(a.port(), m, b.data(), 65536 + 1024, 2),
                                   lldpSyncPortMsapBuild(a.port(), nullptr, b.data(), 9000, 2),
                                   lldpSyncPortMsapBuild(nullptr, m, b.data(), 9000, 2),
                                   lldpSyncPortMsapBuild(a.port(), m, nullptr, 9000, 2)}),
            (std::vector<uint32_t>{0, 0, static_cast<uint32_t>(expected.size()), LLDP_SYNC_FAILED, LLDP_SYNC_FAILED,
                                   LLDP_SYNC_FAILED}));
}

// Sender on one simulated agent, receiver on another: the record that
// arrives is the one that left, but for what the message does not carry (the
// kept TLV lists, the requested and allocated power) and the remote index and
// time mark, which the receiving table gives it.
TEST(SyncMessages, RoundTripBetweenTwoAgents) {
  struct Case {
    const char* what;
    Frame frame;
    size_t length;  // of the message, 0: not checked
  };
  Frame minimal;
  minimal.head("A", "p1").end();
  const Case cases[] = {
      {"every family", everyFamily(), 0},
      {"identifier length wrapping past 255", everyFamily(std::string(200, 'c'), std::string(60, 'p')), 0},
      // No addresses and empty lists: still every fixed field, the eight
      // policies and the three location headers.
      {"mandatory TLVs only", minimal, 192},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Msap* original = nullptr;
    Bytes sent;
    {
      Unit a;
      sim::advanceMs(3000);
      ASSERT_EQ(a.recv(c.frame), RX_FRAME_OK);
      ASSERT_EQ(sim::cmdSyncs().size(), 1u);
      sent = sim::cmdSyncs()[0].bytes;
      original = detach(neighbours(a.port())[0]);
    }
    if (c.length) {
      EXPECT_EQ(sent.size(), c.length);
      const size_t loc = sent.size() - 20 - 6 - 7 - 12;  // the three location headers
      EXPECT_EQ(Bytes(sent.begin() + long(loc), sent.begin() + long(loc) + 12),
                (Bytes{1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0}));
    }

    Unit b;
    sim::advanceMs(42000);
    EXPECT_EQ(recv(sent), 0u);
    ASSERT_EQ(neighbours(b.port()).size(), 1u);
    Msap* got = neighbours(b.port())[0];
    EXPECT_EQ((std::vector<uint32_t>{got->remIndex, got->timeMark[1], got->unit, got->rxInfoTTL, got->idLen,
                                     gLldpInfo.statsRemTablesInserts}),
              (std::vector<uint32_t>{1, 42, 1, original->rxInfoTTL, original->idLen, 1}));
    EXPECT_EQ(Bytes(got->mac, got->mac + 6), Bytes(original->mac, original->mac + 6));
    // Re-encoded, it is the message that came, with this table's index and
    // time mark and no kept TLVs.
    Bytes again = sent;
    const size_t tm = 4 + 1 + 4 + 1 + sent[9] + 6 + 2;
    lldpPut32(again.data() + tm + 4, 42);
    lldpPut32(again.data() + tm + 8, 1);
    again[tm + 12] = again[tm + 13] = 0;
    EXPECT_EQ(encode(b.port(), got), again);
    lldpDestroyTlvList(&original->unknownTlvList);
    lldpDestroyTlvList(&original->orgTlvList);
    original->dot3PowerRequested = original->dot3PowerAllocated = 0;
    EXPECT_EQ(lldpCmpMsap(got, original), 0);
    lldpMsapCleanup(&original);
  }
}

TEST(SyncSend, ObjectControlWordsAvailabilityAndRefusal) {
  Unit a;
  a.recv(everyFamily());
  Msap* m = neighbours(a.port())[0];
  sim::setCmdSyncResult(0x3E80010);
  EXPECT_EQ(lldpSyncMsapSend(a.port(), m, LLDP_SYNC_DELETE), 0x3E80010u) << "the platform's refusal is returned";
  sim::setCmdSyncResult(0);
  EXPECT_EQ(sim::cmdSyncs().back().bytes[4], LLDP_SYNC_DELETE);
  EXPECT_EQ(lldpSyncPortStatSend(a.port()), 0u);
  EXPECT_EQ(lldpSyncGlobalStatSend(), 0u);
  EXPECT_EQ(lldpSyncAllSend(2, 1), 0u);
  EXPECT_EQ(lldpSyncAllSend(2, 0), 0u);
  std::vector<std::pair<uint32_t, size_t>> seen;  // {control word, length}
  for (size_t i = 1; i < sim::cmdSyncs().size(); ++i)
    seen.push_back({sim::cmdSyncs()[i].ctlMode, sim::cmdSyncs()[i].bytes.size()});
  const size_t rec = sim::cmdSyncs()[0].bytes.size();
  EXPECT_EQ(seen, (std::vector<std::pair<uint32_t, size_t>>{
                      {0x80000103, rec}, {0x80000303, 44}, {0x80000303, 28}, {0x80000303, 28 + 44 + rec}}));

  // Not available: nothing is built or handed over.
  sim::setInt(sim::Svc::Hw, 0, 54, 1);
  const size_t before = sim::cmdSyncs().size();
  EXPECT_EQ((std::vector<uint32_t>{lldpSyncMsapSend(a.port(), m, 2), lldpSyncPortStatSend(a.port()),
                                   lldpSyncGlobalStatSend(), lldpSyncAllSend(2, 1)}),
            (std::vector<uint32_t>(4, LLDP_SYNC_FAILED)));
  sim::failObject(sim::Svc::Hw, 0, 54);
  EXPECT_EQ(lldpSyncAllSend(2, 1), LLDP_SYNC_FAILED);
  EXPECT_EQ(sim::cmdSyncs().size(), before);
}

TEST(SyncSend, WholeStatePacksWholeMessagesAndFlushesEarly) {
  // Ports without neighbours: the flush comes once more than 4478 octets are
  // used, well before the buffer is full.
  {
    Unit a(300, 31, 250);
    sim::clearLogLines();
    ASSERT_EQ(lldpSyncAllSend(2, 1), 0u);
    std::vector<size_t> sizes;
    for (const Bytes& b : sentBuffers()) sizes.push_back(b.size());
    EXPECT_EQ(sizes, (std::vector<size_t>{28 + 102 * 44, 102 * 44, 46 * 44}));
  }
  // Records: one port with 20 neighbours of about 600 octets each. A buffer
  // is sent when fewer than 1024 octets would be left, and every buffer holds
  // whole messages.
  {
    Unit a;
    for (int i = 0; i < 20; ++i) {
      Frame f;
      f.head("n" + std::to_string(i), "p1")
          .tlv(4, str(std::string(255, 'd')))
          .tlv(6, str(std::string(255, 's')))
          .end();
      ASSERT_EQ(a.recv(f), RX_FRAME_OK);
    }
    const size_t first = sim::cmdSyncs().size();
    ASSERT_EQ(lldpSyncAllSend(2, 1), 0u);
    auto bufs = sentBuffers();
    bufs.erase(bufs.begin(), bufs.begin() + long(first));
    ASSERT_EQ(bufs.size(), 2u);
    size_t records = 0;
    for (const Bytes& b : bufs) {
      size_t total = 0;
      for (auto [type, len] : messagesOf(b)) {
        ASSERT_NE(type, 0) << "a message is cut";
        total += len;
        records += type == 1;
      }
      EXPECT_EQ(total, b.size());
      EXPECT_LE(b.size(), LLDP_SYNC_BUF_LEN);
    }
    EXPECT_EQ(records, 20u);
    EXPECT_GT(LLDP_SYNC_BUF_LEN - bufs[0].size(), 0u);
    EXPECT_LT(LLDP_SYNC_BUF_LEN - bufs[0].size(), 1024u);
    EXPECT_EQ(messagesOf(bufs[1])[0].first, 1) << "the refused record starts the next buffer";
  }
}

// A record larger than a whole buffer (only a jumbo frame could carry one) is
// not mirrored; the rest of the state still is.
TEST(SyncSend, RecordLargerThanABufferIsSkipped) {
  Unit a(64, 31, 2);
  a.recv(everyFamily("small"), 2);
  Msap* big = static_cast<Msap*>(silCalloc(1, sizeof(Msap)));
  big->unit = 1;
  big->id = static_cast<uint8_t*>(silCalloc(1, 4));
  big->idLen = 4;
  big->chassId = big->id;
  big->chassIdLen = 1;
  big->portId = big->id + 2;
  big->portIdLen = 1;
  lldpMgmtAddr** tail = &big->mgmtAddrList;
  for (int i = 0; i < 40; ++i) {
    auto* e = static_cast<lldpMgmtAddr*>(silCalloc(1, sizeof(lldpMgmtAddr)));
    e->mgmtAddrLen = 4;
    e->mgmtAddrOidLen = 255;
    e->mgmtAddrOid = static_cast<uint8_t*>(silCalloc(1, 255));
    *tail = e;
    tail = &e->next;
    ++big->mgmtAddrNum;
  }
  lldpListPushFront(&a.port(1)->msapList, &big->link);
  const size_t before = sim::cmdSyncs().size();
  EXPECT_EQ(lldpSyncMsapSend(a.port(1), big, 2), LLDP_SYNC_FAILED);
  EXPECT_EQ(sim::cmdSyncs().size(), before);
  EXPECT_EQ(lldpSyncAllSend(2, 1), 0u);
  // The buffer is sent when the big record is refused, and the record,
  // refused again at the start of an empty buffer, is left out.
  std::vector<std::vector<uint16_t>> types;
  for (size_t i = before; i < sim::cmdSyncs().size(); ++i) {
    types.emplace_back();
    for (auto [type, len] : messagesOf(sim::cmdSyncs()[i].bytes)) types.back().push_back(type);
  }
  EXPECT_EQ(types, (std::vector<std::vector<uint16_t>>{{2, 3}, {3, 1}}));
  lldpListUnlink(&big->link);
  lldpMsapCleanup(&big);
}

// ---- Receiver ---------------------------------------------------------------

// The record message a unit sends when it learns everyFamily(), captured on
// a unit of its own.
Bytes sentRecord() {
  Unit other;
  other.recv(everyFamily());
  return sim::cmdSyncs().at(0).bytes;
}

Bytes portStats(uint32_t unit, uint32_t frames) {
  return Be().u16(3).u16(44).u32(unit).u32(0).u32(0).u32(0).u32(0).u32(0).u32(frames).u32(0).u32(0).u32(0).b;
}
Bytes globalStats(uint32_t inserts) {
  return Be().u16(2).u16(28).u32(0).u32(9).u32(inserts).u32(0).u32(0).u32(0).b;
}

// The way between two units: what one unit hands to its command-sync service
// arrives at the other as a Sync (or a Set) of scalar object 35, whose handler
// gives the buffer to the receiver with the agent lock held and returns its
// result. A neighbour learnt, its deletion and the whole state sent after a
// join all take this way; the integer form carries no messages.
TEST(SyncRecv, ArrivesThroughScalarObject35) {
  Bytes add, del, whole;
  {
    Unit a;
    sim::advanceMs(3000);
    ASSERT_EQ(a.recv(everyFamily()), RX_FRAME_OK);
    ASSERT_EQ(sim::cmdSyncs().size(), 1u);
    add = sim::cmdSyncs()[0].bytes;
    del = encode(a.port(), neighbours(a.port())[0], LLDP_SYNC_DELETE);
    ASSERT_EQ(lldpSyncAllSend(2, 1), 0u);
    ASSERT_EQ(sim::cmdSyncs().size(), 2u);
    whole = sim::cmdSyncs()[1].bytes;
    ASSERT_EQ(a.port()->statsFramesInTotal, 1u);
  }
  ASSERT_EQ(messagesOf(whole).size(), 3u) << "global and port statistics, then the record";

  // The receiving unit gives the record its own time mark and remote index; a
  // delete names the record by that key. Here both units learn the neighbour
  // at the same up-time, so the key is the same on both.
  Unit b;
  sim::advanceMs(3000);
  ZorValue asInt{};
  asInt.form = ZOR_VALUE_INT;
  asInt.value = 1;
  EXPECT_EQ(lldpScalarSyncApi(0, 35, &asInt), 22u);
  EXPECT_EQ(lldpScalarSetApi(0, 35, &asInt), 22u);
  EXPECT_TRUE(neighbours(b.port()).empty());

  struct Step {
    const char* what;
    Bytes* bytes;
    bool sync;  // else a Set
    size_t neighbours;
    uint32_t framesIn;  // the port statistics that came with it
  };
  const Step steps[] = {
      {"a neighbour learnt, by Sync", &add, true, 1, 0},
      {"its deletion, by Set", &del, false, 0, 0},
      {"the whole state after a join, by Sync", &whole, true, 1, 1},
  };
  for (const Step& s : steps) {
    SCOPED_TRACE(s.what);
    b.port()->somethingChangedLocal = 0;
    ZorValue v{};
    v.form = ZOR_VALUE_BUF;
    v.buf = s.bytes->data();
    v.len = static_cast<uint32_t>(s.bytes->size());
    EXPECT_EQ(s.sync ? lldpScalarSyncApi(0, 35, &v) : lldpScalarSetApi(0, 35, &v), 0u);
    EXPECT_EQ(sim::semaphoreDepth(), 0) << "the lock is given back";
    ASSERT_EQ(neighbours(b.port()).size(), s.neighbours);
    if (s.neighbours) {
      const Msap* m = neighbours(b.port())[0];
      EXPECT_EQ(std::string(reinterpret_cast<const char*>(m->sysName), m->sysNameLen), "core-1");
    }
    EXPECT_EQ(b.port()->statsFramesInTotal, s.framesIn);
    // Like every scalar Set, the ports take the timing values again and
    // announce themselves afresh.
    EXPECT_EQ(b.port()->somethingChangedLocal, 1);
  }
  // Object 35 itself is never forwarded: what this unit hands on is its
  // table's own record send, which the platform keeps from the other units
  // (a unit forwards only records of its own ports).
  for (const auto& c : sim::cmdSyncs()) EXPECT_EQ(c.ctlMode, LLDP_SYNC_CTL_MSAP);
}

TEST(SyncRecv, WalkStopsAtTheShrinkingLimit) {
  // {port statistics messages after one global message, how many apply}
  const std::pair<int, int> cases[] = {{0, 0}, {1, 1}, {2, 1}, {3, 2}, {4, 2}, {6, 3}};
  for (auto [n, applied] : cases) {
    SCOPED_TRACE(n);
    Unit a(64, 31, 6);
    Bytes b = globalStats(77);
    for (int i = 1; i <= n; ++i) {
      const Bytes p = portStats(static_cast<uint32_t>(i), 1000u + static_cast<uint32_t>(i));
      b.insert(b.end(), p.begin(), p.end());
    }
    EXPECT_EQ(recv(b), 0u);
    int got = 0;
    for (int i = 1; i <= 6; ++i) got += a.port(i)->statsFramesInTotal == 1000u + static_cast<uint32_t>(i);
    EXPECT_EQ(got, applied);
    EXPECT_EQ(gLldpInfo.statsRemTablesInserts, 77u);
  }
}

TEST(SyncRecv, UnknownPortsAndTypesApplyNothing) {
  Bytes rec = sentRecord();
  Unit b;
  lldpPut32(rec.data() + 5, 9);  // a port unit this agent does not have
  const Bytes b2 = Be().u16(7).u16(8).u32(0).b;  // an unknown type
  const Bytes stats = portStats(9, 5);
  for (const Bytes* m : std::vector<const Bytes*>{&rec, &b2, &stats}) {
    const uint64_t allocs = sim::totalAllocations();
    EXPECT_EQ(recv(*m), 0u);
    EXPECT_EQ(sim::totalAllocations(), allocs) << "nothing is allocated for a message that is skipped";
  }
  EXPECT_TRUE(neighbours(b.port()).empty());
}

TEST(SyncRecv, DeleteFindsTheRecordByItsKey) {
  Unit a;
  a.recv(everyFamily());
  Msap* m = neighbours(a.port())[0];
  const Bytes del = encode(a.port(), m, LLDP_SYNC_DELETE);
  Bytes other = del;
  lldpPut32(other.data() + 4 + 1 + 4 + 1 + other[9] + 6 + 2 + 8, 99);  // another remIndex
  const size_t live = sim::liveAllocations();
  EXPECT_EQ(recv(other), 0u);
  EXPECT_EQ(neighbours(a.port()).size(), 1u) << "no record has that key";
  EXPECT_EQ(sim::liveAllocations(), live) << "the parsed record is freed";
  Bytes unknownAction = del;
  unknownAction[4] = 3;
  EXPECT_EQ(recv(unknownAction), 0u);
  EXPECT_EQ(neighbours(a.port()).size(), 1u);
  EXPECT_EQ(sim::liveAllocations(), live);
  EXPECT_EQ(recv(del), 0u);
  EXPECT_TRUE(neighbours(a.port()).empty());
  EXPECT_EQ((std::vector<uint32_t>{gLldpInfo.statsRemTablesDeletes, a.port()->remSysTotal, gLldpInfo.memCurRems}),
            (std::vector<uint32_t>{1, 0, 0}));
}

// Whichever allocation fails, the record is dropped whole: the table does
// not change, nothing leaks, and the part that failed is traced.
TEST(SyncRecv, AllocationFailureAnywhereLeavesTheTableUnchanged) {
  Bytes rec = sentRecord();
  size_t failures = 0;
  for (uint64_t nth = 1;; ++nth) {
    SCOPED_TRACE(nth);
    Unit b;
    const size_t live = sim::liveAllocations();
    sim::failAllocation(nth);
    recv(rec);
    sim::failAllocation(0);
    if (!neighbours(b.port()).empty()) break;  // nth is past the record's allocations
    ++failures;
    EXPECT_EQ(sim::liveAllocations(), live);
    EXPECT_TRUE(sim::hasLineContaining("allocate memory for")) << "the failed part is traced";
    ASSERT_LT(nth, 100u);
  }
  // The record, its identifier, two addresses and an OID, three texts, six
  // 802.1 entries, three locations and the block that holds them, seven
  // inventory and three private strings and the block that holds those.
  EXPECT_EQ(failures, 29u);
}

TEST(SyncRecv, LyingMessagesAreRefusedAndNeverReadPast) {
  Bytes rec = sentRecord();
  const size_t idEnd = 4 + 1 + 4 + 1 + rec[9];
  const size_t mgmt = idEnd + 6 + 2 + 8 + 4 + 2;  // the mgmtAddrNum octet
  struct Case {
    const char* what;
    size_t at;
    uint8_t value;
  };
  auto find = [&rec](const Bytes& what) {
    return static_cast<size_t>(std::search(rec.begin(), rec.end(), what.begin(), what.end()) - rec.begin());
  };
  const Case cases[] = {
      {"address count beyond the message", mgmt, 200},
      {"address longer than its field", mgmt + 4, 33},
      {"port string length beyond the message", mgmt + 9, 0x7F},
      {"VLAN name longer than its field", find({4, 'm', 'g', 'm', 't'}), 40},
      {"location length beyond the message", find({3, 0, 0, 10, '1', '2'}) + 2, 0xFF},
      {"message length shorter than its fields", 3, 100},
  };
  for (Case c : cases) {
    SCOPED_TRACE(c.what);
    ASSERT_LT(c.at, rec.size());
    Unit b;
    Bytes bad = rec;
    bad[c.at] = c.value;
    // An exact-size copy, so that a read past it is caught under the
    // sanitizers.
    std::unique_ptr<uint8_t[]> exact(new uint8_t[bad.size()]);
    std::memcpy(exact.get(), bad.data(), bad.size());
    const size_t live = sim::liveAllocations();
    EXPECT_EQ(lldpSyncMsapRecv(exact.get(), static_cast<uint32_t>(bad.size())), 0u);
    EXPECT_TRUE(neighbours(b.port()).empty());
    EXPECT_EQ(sim::liveAllocations(), live);
    EXPECT_TRUE(sim::hasLineContaining("skipped")) << "a refused message is traced";
  }
  // Every truncation of a global message followed by the record: the global
  // statistics apply once whole, the record never until it is whole.
  Bytes both = globalStats(5);
  both.insert(both.end(), rec.begin(), rec.end());
  lldpPut16(both.data() + 2, 28);
  for (size_t n = 0; n < both.size(); ++n) {
    Unit b;
    std::unique_ptr<uint8_t[]> exact(new uint8_t[n ? n : 1]);
    std::memcpy(exact.get(), both.data(), n);
    EXPECT_EQ(lldpSyncMsapRecv(exact.get(), static_cast<uint32_t>(n)), 0u);
    ASSERT_EQ(gLldpInfo.statsRemTablesInserts, n >= 28 ? 5u : 0u) << n;
    ASSERT_TRUE(neighbours(b.port()).empty()) << n;
  }
  // Header lengths that cannot be walked end the walk: 0, 3, past the buffer.
  for (uint16_t len : {0, 3, 29}) {
    Unit b;
    Bytes g = globalStats(6);
    lldpPut16(g.data() + 2, len);
    EXPECT_EQ(recv(g), 0u);
    EXPECT_EQ(gLldpInfo.statsRemTablesInserts, 0u) << len;
  }
  // A statistics message shorter than its fields is refused.
  Unit b;
  Bytes g = globalStats(6);
  lldpPut16(g.data() + 2, 24);
  g.resize(24);
  EXPECT_EQ(recv(g), 0u);
  EXPECT_EQ(gLldpInfo.statsRemTablesInserts, 0u);
}

TEST(SyncRecv, TracesFollowTheFieldsAndNullIsRefused) {
  Bytes rec = sentRecord();
  Unit b;
  gLldpInfo.debugFlags = 0x40;
  recv(rec);
  std::vector<std::string> fields;
  for (const auto& l : sim::logLines()) {
    const size_t at = l.text.find("sync:");
    if (at == std::string::npos) continue;
    std::string f = l.text.substr(at + 5);
    f = f.substr(0, f.find_first_of(":[,"));
    if (fields.empty() || fields.back() != f) fields.push_back(f);
  }
  EXPECT_EQ(fields, (std::vector<std::string>{
                        "syncType", "length", "action", "mac", "rxInfoTTL", "remIndex", "unknownTlvNum",
                        "orgTlvNum", "mgmtAddrNum", "mgmtAddr", "mgmtAddrOid", "mgmtAddrPort", "mgmtAddr",
                        "mgmtAddrOid", "mgmtAddrPort", "chassIdLen", "portIdLen", "portDescrLen",
                        "sysNameLen", "sysDescrLen", "portIdSubtype", "chassIdSubtype", "portId", "portDescr",
                        "sysName", "sysDescr", "dot1CapEnabled", "dot1Pvid", "dot1ProtoidNum", "dot1PpvidNum",
                        "dot1VlanNameNum", "dot1Ppvid", "dot1VlanName", "dot1ProtoId", "dot3CapEnabled",
                        "dot3AutoNegSupported", "dot3MauType", "dot3Mfs", "medCapSupported", "medCapEnabled",
                        "medDevType", "medPowerType", "medPowerSource", "medPowerPriority", "medPowerVal",
                        "priCapSupported", "priHwRevLen", "priFwRevLen", "priSwRevLen", "priSnLen",
                        "priMfgNameLen"}));
  // The offset is where the next field starts: 154 after the system name.
  EXPECT_TRUE(sim::hasLine("port[ge1] sync:sysName:core-1, offset: 154.\r\n"));
  EXPECT_TRUE(sim::hasLine("port[ge1] sync:mgmtAddr:C0000201, offset:66.\r\n"));

  testing::internal::CaptureStdout();
  EXPECT_EQ(lldpSyncMsapRecv(nullptr, 10), 22u);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "[LLDP] assert error lldpSyncMsapRecv, 741\r\n");
}

}  // namespace
