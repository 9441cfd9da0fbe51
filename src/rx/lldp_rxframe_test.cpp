// Validation and decoding of received LLDPDUs: rejection rules with their
// counters, length warnings that still accept, repeated TLVs, the kept TLV
// lists, management addresses, the organizationally specific decoders and
// allocation failures.
#include <gtest/gtest.h>

#include "rx/rx_test_util.h"

using namespace rxtest;

namespace {

using V = std::vector<long>;
struct Delta {
  int discarded, inErrors, in, tlvDiscarded;
};

struct RejectCase {
  const char* name;
  Frame frame;
  uint8_t code;
  Delta d;
  const char* trace;  // a line the rejection must print
};

std::vector<RejectCase> rejectCases() {
  std::vector<RejectCase> v;
  const Delta badFrame{1, 1, 1, 0}, badTlv{1, 1, 1, 1};
  // Every rejection rule is also crossed by the scapy-crafted frames
  // (tests/rx_scapy_test.cpp); these are the ones an independent encoder
  // cannot express cleanly, or that guard the buffer bounds.
  // One byte of a TLV header at the end of the frame: the missing byte is
  // never read, the TLV overruns by one.
  v.push_back({"TruncatedHeader", [] { Frame f; f.head().b.push_back(0x0A); return f; }(), 2, badFrame,
               "Received a bad TLV:  1 bytes too long!  Frame will be skipped.\r\n"});
  // The address string claims more than the TLV holds: never read past it.
  v.push_back({"MgmtStringBeyondTlv", Frame().head().tlv(8, {30, 1, 10, 0, 0, 2, 2, 0, 0, 0, 1, 0}).end(),
               3, badTlv, "management tlv too short received on port ge1\r\n"});
  v.push_back({"MgmtOidBeyondTlv", Frame().head().tlv(8, {5, 1, 10, 0, 0, 2, 2, 0, 0, 0, 1, 9, 6}).end(),
               3, badTlv, "management tlv too short received on port ge1\r\n"});
  return v;
}

// Test listings and failures show the case by its name, not its bytes.
void PrintTo(const RejectCase& c, std::ostream* os) { *os << c.name; }

class Reject : public ::testing::TestWithParam<RejectCase> {};

TEST_P(Reject, ResultCodeCountersAndTrace) {
  const RejectCase& c = GetParam();
  Agent a;
  const size_t live = sim::liveAllocations();
  const Counters before = Counters::of(a.port());
  EXPECT_EQ(a.recv(c.frame), c.code);
  const Counters after = Counters::of(a.port());
  const V want{c.d.discarded, c.d.inErrors, c.d.in, c.d.tlvDiscarded};
  EXPECT_EQ((V{after.discarded - before.discarded, after.inErrors - before.inErrors, after.in - before.in,
               after.tlvDiscarded - before.tlvDiscarded}), want);
  // The agent-wide totals move with the port's own.
  EXPECT_EQ((V{after.gDiscarded - before.gDiscarded, after.gInErrors - before.gInErrors, after.gIn - before.gIn,
               after.gTlvDiscarded - before.gTlvDiscarded}), want);
  EXPECT_EQ(after.drops, before.drops);
  EXPECT_TRUE(sim::hasLine(c.trace)) << c.trace;
  EXPECT_EQ(a.port()->rxMsap, nullptr);
  EXPECT_TRUE(neighbours(a.port()).empty());
  EXPECT_EQ(sim::liveAllocations(), live) << "a rejected frame leaves nothing allocated";
}

INSTANTIATE_TEST_SUITE_P(Rules, Reject, ::testing::ValuesIn(rejectCases()),
                         [](const auto& p) { return std::string(p.param.name); });

TEST(RxFilter, TaggedFrameIsHeldAgainstThePvidWhenThePlatformKnowsTheVlan) {
  Agent a;
  auto tagged = [](uint16_t tci) {
    Frame f({0x01, 0x80, 0xC2, 0, 0, 0x0E}, {0, 1, 2, 3, 4, 5}, 0x88CC, 0x8100, tci);
    return f.head("tagged", std::to_string(tci)).end();
  };
  sim::setInt(sim::Svc::If, 1, 159, 1);  // PVID
  // Query 211 unanswered: accepted without the PVID test.
  EXPECT_EQ(a.recv(tagged(20)), RX_FRAME_OK);
  // Answered, leaving the VID as it is: the 12-bit VID alone is held against
  // the PVID, whatever the priority and drop-eligible bits.
  sim::failObject(sim::Svc::If, 1, 211, 0);
  sim::failObject(sim::Svc::If, 1, 210, 0);
  for (uint16_t pcp = 0; pcp < 8; ++pcp)
    for (uint16_t dei = 0; dei < 2; ++dei)
      for (uint16_t vid : {1, 100, 0x801}) {  // 0x801: the PVID in its low byte
        SCOPED_TRACE(testing::Message() << "PCP " << pcp << " DEI " << dei << " VID " << vid);
        const Counters before = Counters::of(a.port());
        sim::clearLogLines();
        const uint8_t rc = a.recv(tagged(static_cast<uint16_t>(pcp << 13 | dei << 12 | vid)));
        const Counters after = Counters::of(a.port());
        if (vid == 1) {
          EXPECT_EQ(rc, RX_FRAME_OK);
          EXPECT_EQ(neighbours(a.port())[0]->rxVlan, 1);
        } else {
          EXPECT_EQ(rc, RX_FRAME_FILTERED);
          EXPECT_TRUE(sim::hasLine("This frame is from vlan " + std::to_string(vid) + ", port ge1 pvid is 1.\r\n"));
          EXPECT_EQ((V{after.discarded - before.discarded, after.in - before.in}), (V{1, 0}));
        }
      }
}

TEST(RxFilter, PortTpidReplacesTheDefault) {
  Agent a;
  // A non-standard TPID: the LLDPDU still starts behind the tag.
  sim::setInt(sim::Svc::If, 1, 162, 0x9200);
  Frame tagged({0x01, 0x80, 0xC2, 0, 0, 0x0E}, {0, 1, 2, 3, 4, 5}, 0x88CC, 0x9200, 7);
  tagged.head().end();
  EXPECT_EQ(a.recv(tagged), RX_FRAME_OK);
  // A zero TPID from the platform means the default 0x8100.
  sim::setInt(sim::Svc::If, 1, 162, 0);
  Frame dflt({0x01, 0x80, 0xC2, 0, 0, 0x0E}, {0, 1, 2, 3, 4, 6}, 0x88CC, 0x8100, 7);
  dflt.head("other").end();
  EXPECT_EQ(a.recv(dflt), RX_FRAME_OK);
}

TEST(RxWarnings, OverlongTlvsAreTracedAndUsed) {
  Agent a;
  Frame f;
  const std::string longId(299, 'x');
  f.chassis(longId).port("p1").tlv(3, {0, 90, 7})  // TTL of length 3
      .tlv(7, {0, 0x14, 0, 0x04, 0xFF})          // capabilities of length 5
      .end()
      .pad(10);
  EXPECT_EQ(a.recv(f), RX_FRAME_OK);
  EXPECT_TRUE(sim::hasLine("ChassisID TLV invalid length:300 received on portge1\r\n"));
  EXPECT_TRUE(sim::hasLine("TTL TLV has invalid length '3' received on port ge1 \r\n"));
  EXPECT_TRUE(sim::hasLine("SystemCap TLV has invalid length '5' received on port ge1 \r\n"));
  EXPECT_TRUE(sim::hasLine("extra data after lldp end on port ge1\r\n"));
  Msap* m = neighbours(a.port())[0];
  EXPECT_EQ(m->chassIdLen, static_cast<uint8_t>(300 - 256 - 1));  // low header byte minus one
  EXPECT_EQ(m->rxInfoTTL, 90);
  EXPECT_EQ((V{m->sysCap[0], m->sysCap[1], m->sysCapEnabled[0]}), (V{0x28, 0, 0x20}));  // bit-reversed
  EXPECT_EQ(Counters::of(a.port()).inErrors, 0u);
}

TEST(RxDecode, BasicTlvsAndIdentifier) {
  Agent a;
  Frame f;
  // The fields of the basic TLVs are crossed by the scapy frames; here the
  // identifier built from them and an empty repeated description.
  f.head("chassis-A", "port-1", 120).tlv(6, str("Switch OS 1.0")).tlv(6, {}).end();
  EXPECT_EQ(a.recv(f), RX_FRAME_OK);
  ASSERT_EQ(neighbours(a.port()).size(), 1u);
  Msap* m = neighbours(a.port())[0];
  EXPECT_EQ(text(m->chassId, m->chassIdLen), "chassis-A");
  EXPECT_EQ(text(m->portId, m->portIdLen), "port-1");
  EXPECT_EQ(m->idLen, 9 + 6 + 2);
  EXPECT_EQ(std::memcmp(m->id, "chassis-A\0port-1\0", 17), 0);
  EXPECT_EQ(m->sysDescr, nullptr) << "an empty repeated description replaces the earlier one";
  EXPECT_EQ(std::memcmp(m->mac, "\x00\x11\x22\x33\x44\x55", 6), 0);
  EXPECT_EQ(m->unit, 1u);
  EXPECT_TRUE(sim::hasLine("Receive MSAP ID:\r\n"));
}

TEST(RxDecode, RepeatedTlvsKeepTheLaterOne) {
  Agent a;
  Frame f;
  f.head().chassis("chassis-B").tlv(5, str("first")).tlv(5, str("second"))
      .tlv(20, str("one")).tlv(9, str("nine")).tlv(20, str("two")).tlv(126, {}).end();
  const size_t live = sim::liveAllocations();
  EXPECT_EQ(a.recv(f), RX_FRAME_OK);
  Msap* m = neighbours(a.port())[0];
  EXPECT_EQ(text(m->chassId, m->chassIdLen), "chassis-B");
  EXPECT_EQ(text(m->sysName, m->sysNameLen), "second");
  // Unknown TLVs: sorted by type, one per type, later replaces earlier; all
  // four are counted.
  std::vector<std::pair<int, std::string>> got;
  for (LldpTlvNode* n = m->unknownTlvList; n; n = n->next)
    got.emplace_back(n->tlv->type, text(n->tlv->info, n->tlv->length));
  std::vector<std::pair<int, std::string>> want{{9, "nine"}, {20, "two"}, {126, ""}};
  EXPECT_EQ(got, want);
  EXPECT_EQ(a.port()->statsTLVsUnrecognizedTotal, 4u);
  EXPECT_EQ(gLldpInfo.globalStatsBlock[LLDP_GSTAT_TLVS_UNRECOGNIZED], 4u);
  lldpPortMsapCleanup(a.port());
  EXPECT_EQ(sim::liveAllocations(), live) << "a replaced TLV is freed";
}

TEST(RxDecode, ManagementAddressesAreSortedAndDuplicatesKept) {
  Agent a;
  const Bytes oidIpv4{0x06, 0x09, 0x2B, 0x06, 0x01, 0x02, 0x01, 0x04, 0x14, 0x01, 0x01};
  auto mgmt = [&](uint8_t sub, const Bytes& addr, const Bytes& oid) {
    Bytes v{static_cast<uint8_t>(addr.size() + 1), sub};
    v.insert(v.end(), addr.begin(), addr.end());
    v.insert(v.end(), {2, 0, 0, 0, 7, static_cast<uint8_t>(oid.size())});
    v.insert(v.end(), oid.begin(), oid.end());
    return v;
  };
  Frame f;
  f.head()
      .tlv(8, mgmt(6, {0, 1, 2, 3, 4, 5}, {}))
      .tlv(8, mgmt(1, {10, 0, 0, 2}, oidIpv4))
      .tlv(8, mgmt(1, {10, 0, 0, 1}, {0x06, 0x03, 0x2B, 0x06, 0x01}))
      .tlv(8, mgmt(1, {10, 0, 0, 1}, {0x07, 0x01, 0x2B}))  // not an OID: kept raw
      .end();
  EXPECT_EQ(a.recv(f), RX_FRAME_OK);
  Msap* m = neighbours(a.port())[0];
  EXPECT_EQ(m->mgmtAddrNum, 4);
  std::vector<lldpMgmtAddr*> l;
  for (lldpMgmtAddr* e = m->mgmtAddrList; e; e = e->next) l.push_back(e);
  ASSERT_EQ(l.size(), 4u);
  EXPECT_EQ((V{l[0]->mgmtAddr[3], l[1]->mgmtAddr[3], l[2]->mgmtAddr[3], l[3]->mgmtAddrSubtype, l[3]->mgmtAddrLen}),
            (V{1, 1, 2, 6, 6}));
  EXPECT_EQ(l[3]->mgmtAddrOid, nullptr);
  // 06 03 2B 06 01 decodes to 1.3.6.1.
  EXPECT_EQ(l[0]->mgmtAddrOidLen, 16);
  const uint32_t arcs[4] = {1, 3, 6, 1};
  EXPECT_EQ(std::memcmp(l[0]->mgmtAddrOid, arcs, 16), 0);
  EXPECT_EQ(l[1]->mgmtAddrOidLen, 3);
  EXPECT_EQ(std::memcmp(l[1]->mgmtAddrOid, "\x07\x01\x2B", 3), 0);
  EXPECT_TRUE(sim::hasLine("unable to decode mgmt address oid received on port ge1\r\n"));
  EXPECT_EQ((V{l[2]->mgmtAddrOidLen, l[2]->mgmtAddrIfSubtype, l[2]->mgmtAddrIfId}), (V{40, 2, 7}));
}

TEST(RxDecode, LongIpv4AddressIsBoundedByTheField) {
  Agent a;
  Bytes v{41, 1};
  v.insert(v.end(), 40, 0xAB);
  v.insert(v.end(), {2, 0, 0, 0, 1, 0});
  Frame f;
  f.head().tlv(8, v).end();
  EXPECT_EQ(a.recv(f), RX_FRAME_OK);
  lldpMgmtAddr* e = neighbours(a.port())[0]->mgmtAddrList;
  EXPECT_EQ((V{e->mgmtAddrLen, e->mgmtAddrIfSubtype, e->mgmtAddrIfId}), (V{LLDP_MGMT_ADDR_MAX, 2, 1}));
}

TEST(RxDecode, OrganizationalFamilies) {
  Agent a;
  Frame f;
  f.head()
      .org(kDot1, 1, {0x00, 0x0A})
      .org(kDot1, 2, {0x06, 0x00, 0x30})
      .org(kDot1, 2, {0x02, 0x00, 0x20})
      .org(kDot1, 3, [] { Bytes v{0x00, 0x0A, 40}; v.insert(v.end(), 40, 'n'); return v; }())
      .org(kDot1, 4, {3, 0x88, 0x8E, 0x01})
      .org(kDot1, 4, {2, 0x88, 0xCC})
      .org(kDot1, 4, {3, 0x88, 0x8E, 0x01})
      .org(kDot1, 7, {1, 2})
      .org(kDot3, 1, {0x03, 0x6C, 0x01, 0x00, 0x1E})
      .org(kDot3, 2, {0x0F, 0x01, 0x03, 0x51, 0x00, 0x64, 0x00, 0x96})
      .org(kDot3, 3, {0x03, 0x00, 0x00, 0x01, 0x02})
      .org(kDot3, 4, {0x05, 0xEE})
      .org(kMed, 1, {0x00, 0x33, 0x03})
      .org(kMed, 2, {0x01, 0xC0, 0x15, 0x6E})  // U, T, VID 10, priority 5, DSCP 46
      .org(kMed, 2, {0x09, 0, 0, 0})
      .org(kMed, 3, {0x02, 'c', 'i', 'v'})
      .org(kMed, 3, {0x07, 'x'})
      .org(kMed, 4, {0x52, 0x00, 0xC8})
      .org(kMed, 5, str("hw1"))
      .org(kMed, 11, str(std::string(40, 'a')))
      .org(kMed, 12, {1})
      .org(kPriv, 1, {0x00, 0x14})
      .org(kPriv, 2, str("1.3.6.1.4.1.9"))
      .org(kPriv, 9, str("asset"))
      .org(kPriv, 12, {1, 2})
      .org(kDcbx, 1, {1, 2, 3})
      .org({0x00, 0x00, 0x5E}, 1, {9})
      .end();
  EXPECT_EQ(a.recv(f), RX_FRAME_OK);
  Msap* m = neighbours(a.port())[0];
  // 802.1
  ASSERT_EQ((V{m->dot1PpvidNum, m->dot1VlanNameNum, m->dot1ProtoidNum}), (V{2, 1, 3}));
  const LldpDot1Ppvid* pp = m->dot1PpvidList;
  // PPVIDs sorted; a 40-byte VLAN name keeps 32.
  EXPECT_EQ((V{m->dot1Pvid, m->dot1CapEnabled[0], pp->ppvid, pp->supported, pp->enabled, pp->next->ppvid,
               pp->next->enabled, m->dot1VlanNameList->nameLen, m->dot1VlanNameList->vid}),
            (V{10, 0xF0, 0x20, 1, 2, 0x30, 1, 32, 10}));
  // The repeated identity goes before its equal; indexes count insertions.
  const LldpDot1ProtoId* p = m->dot1ProtoIdList;
  EXPECT_EQ((V{p->index, p->next->index, p->next->next->index, p->next->next->len}), (V{3, 1, 2, 2}));
  // The field decoders of every family are crossed by the scapy-crafted
  // frames (tests/rx_scapy_test.cpp); here only what those frames do not hold.
  EXPECT_EQ(m->dot3CapEnabled[0], 0xF0);
  EXPECT_EQ(m->medPolicy[0].unknown, 1);
  EXPECT_TRUE(sim::hasLine("unknown policy field 9 received on port ge1 \r\n"));
  EXPECT_EQ(text(lldpRemMedLocation(m, 2).data, lldpRemMedLocation(m, 2).len), "civ");
  EXPECT_TRUE(sim::hasLine("unknown location type received on port ge1 \r\n"));
  EXPECT_EQ(m->medPowerPriority, 3) << "MED power after 802.3 power overwrites the shared priority";
  EXPECT_EQ(m->medInventory[LLDP_INV_ASSETID].len, LLDP_MED_INV_MAX);
  EXPECT_TRUE(sim::hasLine("LLDP-MED inventory(subtype:11) TLV has invalid length '44' received on port ge1 \r\n"));
  EXPECT_EQ(m->medCapEnabled[0], 0x80 | 0x40 | 0x20 | 0x08 | 0x04);  // cap, policy, location, PD power, inventory
  EXPECT_EQ((V{m->priCapEnabled[0], m->priCapEnabled[1]}), (V{0xC0, 0x80}));
  EXPECT_TRUE(sim::hasLine("should not be there! \r\n"));
  // Kept: 802.1 subtype 7, MED subtype 12, the unknown OUI (arrival order);
  // the private subtype 12 and DCBX are neither kept nor counted.
  std::vector<Bytes> org;
  for (LldpTlvNode* n = m->orgTlvList; n; n = n->next) org.emplace_back(n->tlv->info, n->tlv->info + n->tlv->length);
  EXPECT_EQ(org, (std::vector<Bytes>{{0x00, 0x80, 0xC2, 7, 1, 2}, {0x00, 0x12, 0xBB, 12, 1}, {0x00, 0x00, 0x5E, 1, 9}}));
  EXPECT_EQ(a.port()->statsTLVsUnrecognizedTotal, 3u);
  EXPECT_TRUE(sim::hasLine("unknown org tlv received on port ge1 \r\n"));
}

TEST(RxDecode, DisabledFamilyIsKeptAsUnknownOrg) {
  Agent a(64, LLDP_EXT_DOT1 | LLDP_EXT_MED);
  Frame f;
  f.head().org(kDot3, 1, {0x03, 0x6C, 0x01, 0x00, 0x1E}).org(kDcbx, 1, {}).end();
  EXPECT_EQ(a.recv(f), RX_FRAME_OK);
  Msap* m = neighbours(a.port())[0];
  EXPECT_EQ(m->dot3CapEnabled[0], 0);
  int kept = 0;
  for (LldpTlvNode* n = m->orgTlvList; n; n = n->next) ++kept;
  EXPECT_EQ(kept, 2) << "with DCBX disabled its TLV is an unknown one too";
  EXPECT_EQ(a.port()->statsTLVsUnrecognizedTotal, 2u);
}

// Every allocation of a rich frame fails in turn: the frame is refused with
// code 1, only the named counters move, nothing leaks, and the receive
// machine evicts the port's oldest neighbour and holds off for txTTL.
TEST(RxResources, EachFailedAllocationFreesWhatWasBuilt) {
  Frame rich;
  rich.head("chassis-R", "port-R", 100)
      .tlv(4, str("descr")).tlv(5, str("name")).tlv(6, str("sysdescr"))
      .tlv(8, {5, 1, 10, 0, 0, 1, 2, 0, 0, 0, 1, 5, 0x06, 0x03, 0x2B, 0x06, 0x01})
      .tlv(8, {5, 1, 10, 0, 0, 2, 2, 0, 0, 0, 1, 3, 0x07, 0x01, 0x2B})
      .tlv(30, str("unknown"))
      .org(kDot1, 2, {0x06, 0x00, 0x30}).org(kDot1, 3, {0, 1, 2, 'v', '1'}).org(kDot1, 4, {1, 2})
      .org(kDot1, 9, {1}).org(kMed, 3, {1, 1, 2, 3}).org(kMed, 6, str("fw")).org(kMed, 0, {})
      .org(kPriv, 2, str("oid")).org(kPriv, 4, str("sw")).org({1, 2, 3}, 1, {})
      .end();
  uint64_t total = 0;
  {
    Agent a;
    const uint64_t t0 = sim::totalAllocations();
    ASSERT_EQ(a.recv(rich), RX_FRAME_OK);
    total = sim::totalAllocations() - t0;
  }
  ASSERT_GT(total, 20u);
  int failures = 0, survived = 0;
  for (uint64_t nth = 1; nth <= total; ++nth) {
    Agent a(64, 31, 1, 77);
    ASSERT_EQ(a.recv(Frame().head("old", "n0").end()), RX_FRAME_OK);
    ASSERT_EQ(a.recv(Frame().head("new", "n1").end()), RX_FRAME_OK);
    const size_t live = sim::liveAllocations();
    const Counters before = Counters::of(a.port());
    sim::failAllocation(nth);
    const uint8_t rc = a.recv(rich);
    sim::failAllocation(0);
    if (rc == RX_FRAME_OK) {
      // Only the OID decoder's array (the OID is then kept raw) and the node
      // of a kept TLV (the TLV is lost, still counted) may fail without harm.
      ++survived;
      EXPECT_EQ(a.port()->statsTLVsUnrecognizedTotal - before.tlvUnrecognized, 4u) << nth;
      continue;
    }
    ++failures;
    ASSERT_EQ(rc, RX_FRAME_NO_RESOURCE) << "allocation " << nth;
    const Counters after = Counters::of(a.port());
    const uint32_t n = nth == 1 ? 2 : 1;  // the record itself is counted twice
    EXPECT_EQ((V{after.discarded - before.discarded, after.gDiscarded - before.gDiscarded,
                 after.drops - before.drops, after.inErrors - before.inErrors,
                 after.tlvDiscarded - before.tlvDiscarded, after.in - before.in}),
              (V{n, n, n, 0, 0, 1})) << nth;
    // The oldest neighbour went, with the deletion's counters.
    auto ns = neighbours(a.port());
    ASSERT_EQ(ns.size(), 1u) << nth;
    EXPECT_EQ(text(ns[0]->chassId, ns[0]->chassIdLen), "new");
    EXPECT_EQ((V{after.ageouts - before.ageouts, a.port()->tooManyNeighbors, a.port()->tooManyNeighborsTimer}),
              (V{1, 1, 77}));
    EXPECT_LT(sim::liveAllocations(), live) << "nothing of the failed frame is left";
  }
  EXPECT_EQ(survived, 5);
  EXPECT_EQ(static_cast<uint64_t>(failures), total - 5);
}

}  // namespace
