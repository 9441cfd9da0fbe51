// LLDPDU construction: byte vectors of every TLV builder, the overflow rule,
// the minimum frame size, the frame header forms and the order of TLVs.
#include <gtest/gtest.h>

#include <cstring>

#include "core/lldp_info.h"
#include "local/lldp_local.h"
#include "platform/sim/sim.h"
#include "rx/lldp_msap.h"
#include "tx/lldp_tx.h"
#include "tx/tx_test_port.h"

using txtest::hex;

namespace {

class TxBuild : public ::testing::Test {
 protected:
  void SetUp() override { txtest::agentDefaults(); }

  // Runs one builder on an empty buffer and returns what it wrote.
  template <typename F>
  std::vector<uint8_t> one(txtest::Port& port, F&& build, int expectRc = 0) {
    port.clearBuffer();
    EXPECT_EQ(build(port.get()), expectRc);
    EXPECT_EQ(port->tx.flags, 0u);
    EXPECT_EQ(port->tx.sendsize + port->tx.freesize, port->mtu);
    return port.frame();
  }
};

lldpMgmtAddr* newAddr(uint8_t subtype, const std::vector<uint8_t>& addr) {
  auto* m = static_cast<lldpMgmtAddr*>(silCalloc(1, sizeof(lldpMgmtAddr)));
  m->mgmtAddrSubtype = subtype;
  m->mgmtAddrIfSubtype = 2;
  m->mgmtAddrLen = static_cast<uint8_t>(addr.size());
  std::memcpy(m->mgmtAddr, addr.data(), addr.size());
  return m;
}

TEST_F(TxBuild, BasicTlvByteVectors) {
  txtest::Port port;
  EXPECT_EQ(one(port, lldpEndofLldpduTlv), hex("0000"));
  EXPECT_EQ(one(port, lldpChassisidTlv), hex("0207 04 001b21000001"));
  EXPECT_EQ(one(port, lldpPortIdTlv), hex("0409 05 67652d302f302f35"));  // "ge-0/0/5"
  EXPECT_EQ(one(port, [](LldpPort* p) { return lldpTtlTlv(p, 120); }), hex("0602 0078"));
  EXPECT_EQ(one(port, [](LldpPort* p) { return lldpTtlTlv(p, 65535); }), hex("0602 ffff"));
  std::vector<uint8_t> descr = hex("0810");
  for (char c : std::string("uplink to rack 7")) descr.push_back(static_cast<uint8_t>(c));
  EXPECT_EQ(one(port, lldpPortDescrTlv), descr);
  std::vector<uint8_t> name = hex("0a09");
  for (char c : std::string("sw-core-1")) name.push_back(static_cast<uint8_t>(c));
  EXPECT_EQ(one(port, lldpSysNameTlv), name);
  EXPECT_EQ(one(port, lldpSysDescrTlv).size(), 2u + 22u);
  // Stored bit strings (bridge+router supported, bridge enabled) go out in
  // wire order, bit 0 least significant.
  EXPECT_EQ(one(port, lldpSysCapsTlv), hex("0e04 0014 0004"));
  EXPECT_EQ(one(port, lldpDefaultMgmtAddrTlv), hex("100e 07 06 001b210a0b0c 02 00000007 00"));
}

TEST_F(TxBuild, ProviderFailuresFallBack) {
  txtest::Port port;
  // Chassis ID falls back to the agent record's MAC when the platform fails.
  const uint8_t other[6] = {0x02, 0, 0, 0, 0, 0x99};
  std::memcpy(gLldpInfo.sysMac, other, 6);
  sim::failObject(sim::Svc::Scalar, 0, 6);
  EXPECT_EQ(one(port, lldpChassisidTlv), hex("0207 04 020000000099"));
  // Text TLVs still go out, empty.
  sim::failObject(sim::Svc::Scalar, 0, 50);
  sim::failObject(sim::Svc::Scalar, 0, 58);
  EXPECT_EQ(one(port, lldpSysNameTlv), hex("0a00"));
  EXPECT_EQ(one(port, lldpSysDescrTlv), hex("0c00"));
}

TEST_F(TxBuild, ManagementAddressForms) {
  txtest::Port port;
  // The port's MAC with the IEEE 802 OID: 1.3.6.1.4.1.E.1.1.1.7, E = 56789
  // taken modulo 16384 by the two-byte arc codec (bb 55).
  EXPECT_EQ(one(port, lldpDefaultMgmtMacAddrTlv),
            hex("101b 07 06 001b210a0b0c 02 00000007 0d 060b2b06010401bb5501010107"));

  lldpMgmtAddr* v4 = newAddr(1, {192, 0, 2, 1});
  EXPECT_EQ(one(port, [&](LldpPort* p) { return lldpMgmtAddrTlv(p, v4); }),
            hex("1017 05 01 c0000201 02 00000007 0b 06092b060102010414 0101"));
  EXPECT_EQ(v4->mgmtAddrIfId, txtest::kIfIndex);  // written back into the entry

  lldpMgmtAddr* v6 = newAddr(2, hex("20010db8000000000000000000000001"));
  EXPECT_EQ(one(port, [&](LldpPort* p) { return lldpMgmtAddrTlv(p, v6); }),
            hex("1027 11 02 20010db8000000000000000000000001 02 00000007 0f "
                "060d2b06010401bb55028e0d040102"));

  // No entry: -1 and the overflow flag untouched.
  port.clearBuffer();
  EXPECT_EQ(lldpMgmtAddrTlv(port.get(), nullptr), -1);
  EXPECT_EQ(port->tx.flags, 0u);
  EXPECT_EQ(port->tx.sendsize, 0u);
  silFree(v4);
  silFree(v6);
}

TEST_F(TxBuild, OnlyFirstConfiguredManagementAddressIsSent) {
  txtest::Port port;
  lldpMgmtAddr* a = newAddr(1, {10, 0, 0, 1});
  a->next = newAddr(1, {10, 0, 0, 2});
  a->next->next = newAddr(1, {10, 0, 0, 3});
  port->localMgmtAddrList = a;
  ASSERT_GT(lldpMibConstrInfoLLDPDU(port.get()), 0u);
  int count = 0;
  for (const auto& t : txtest::tlvs(port.frame()))
    if (t.type == 8) {
      ++count;
      EXPECT_EQ(std::vector<uint8_t>(t.value.begin() + 2, t.value.begin() + 6), hex("0a000001"));
    }
  EXPECT_EQ(count, 1);
}

TEST_F(TxBuild, Dot1AndJuniperByteVectors) {
  txtest::Port port;
  sim::setInt(sim::Svc::If, txtest::kUnit, 159, 100);
  EXPECT_EQ(one(port, lldpDot1PvidTlv), hex("fe06 0080c2 01 0064"));
  // The protocol VLAN "enabled" answer reads the PVID object, so a PVID of
  // 100 reads as not enabled; supported is always 1.
  EXPECT_EQ(one(port, [](LldpPort* p) { return lldpDot1PpvidTlv(p, 10); }),
            hex("fe07 0080c2 02 02 000a"));
  sim::setInt(sim::Svc::If, txtest::kUnit, 159, 1);
  EXPECT_EQ(one(port, [](LldpPort* p) { return lldpDot1PpvidTlv(p, 4094); }),
            hex("fe07 0080c2 02 06 0ffe"));
  EXPECT_EQ(one(port, [](LldpPort* p) { return lldpDot1VlanNameTlv(p, 10); }),
            hex("fe0e 0080c2 03 000a 07 766c616e3a3130"));  // "vlan:10", L = 7 + 7
  // The identities of the other protocols are decoded by tshark (tx_wire_test).
  EXPECT_EQ(one(port, [](LldpPort* p) { return lldpDot1ProtoTlv(p, 4); }),
            hex("fe0d 0080c2 04 08 1500424203000003"));
  // A protocol without identity bytes writes nothing and is not an error.
  EXPECT_EQ(one(port, [](LldpPort* p) { return lldpDot1ProtoTlv(p, 3); }), hex(""));
  EXPECT_EQ(one(port, [](LldpPort* p) { return lldpDot1ProtoTlv(p, 255); }), hex(""));
  EXPECT_EQ(one(port, lldpJuniperTlv), hex("fe10 009069 01 544333313139333830333135"));
}

TEST_F(TxBuild, Dot3ByteVectorsWithoutPoe) {
  txtest::Port port;
  const uint32_t u = txtest::kUnit;
  sim::setInt(sim::Svc::If, u, 133, 1);
  sim::setInt(sim::Svc::If, u, 131, 1);
  sim::setOctets(sim::Svc::If, u, 141, {0x6c, 0x01});
  sim::setInt(sim::Svc::If, u, 145, 30);
  sim::setInt(sim::Svc::If, u, 235, 1);
  sim::setInt(sim::Svc::If, u, 236, 12);
  sim::setInt(sim::Svc::Hw, 0, 198, 1);
  EXPECT_EQ(one(port, lldpDot3MacPhyTlv), hex("fe09 00120f 01 03 6c01 001e"));
  // No PoE: PSE class, pairs 1, class 2; extended form with priority 3 (low
  // nibble 2) and 33 mW / 100 = 0.
  EXPECT_EQ(one(port, lldpDot3MdiPowerTlv), hex("fe0c 00120f 02 01 01 02 02 0000 0000"));
  port->dot3TlvTxEnabled &= static_cast<uint8_t>(~0x08);
  EXPECT_EQ(one(port, lldpDot3MdiPowerTlv), hex("fe07 00120f 02 01 01 02"));
  EXPECT_EQ(one(port, lldpDot3LinkAggTlv), hex("fe09 00120f 03 03 0000000c"));
  sim::setInt(sim::Svc::If, u, 235, 2);
  EXPECT_EQ(one(port, lldpDot3LinkAggTlv), hex("fe09 00120f 03 01 0000000c"));
  EXPECT_EQ(one(port, lldpDot3MaxFrameSizeTlv), hex("fe06 00120f 04 05f2"));
}

TEST_F(TxBuild, PowerTlvsWithPoeAndNeighbourRequest) {
  txtest::Port port;
  txtest::enableEverything(port.get());
  // A neighbour that asked for 25.5 W in its extended 802.3 power TLV.
  Msap m{};
  m.dot3PowerExtended = 1;
  m.dot3PowerRequested = 255;
  m.link.next = m.link.prev = &port->msapList;
  port->msapList.next = port->msapList.prev = &m.link;
  // PSE, supported, enabled, pair control; pairs 2; class 4 -> 5 (30 W);
  // type PSE, source 2, priority 2.
  EXPECT_EQ(one(port, lldpDot3MdiPowerTlv), hex("fe0c 00120f 02 0f 02 05 11 00ff 012c"));
  EXPECT_EQ(one(port, lldpMedXpoepseTlv), hex("fe07 0012bb 04 11 012c"));
  // The PD value goes out undivided.
  EXPECT_EQ(one(port, lldpMedXpoepdTlv), hex("fe07 0012bb 04 11 0021"));
  port->msapList.next = port->msapList.prev = &port->msapList;
}

TEST_F(TxBuild, MedByteVectors) {
  txtest::Port port;
  port->medTlvTxSupported[0] = 0xF4;
  EXPECT_EQ(one(port, lldpMedCapsTlv), hex("fe07 0012bb 01 002f 04"));
  txtest::setInv(gLldpInfo.medHwRev, &gLldpInfo.medHwRevLen, "HW-2.1");
  txtest::setInv(gLldpInfo.medAssetId, &gLldpInfo.medAssetIdLen, "A");
  EXPECT_EQ(one(port, lldpMedHwrevTlv), hex("fe0a 0012bb 05 48572d322e31"));
  EXPECT_EQ(one(port, lldpMedAssetIdTlv), hex("fe05 0012bb 0b 41"));
  EXPECT_EQ(one(port, lldpMedSnTlv), hex("fe04 0012bb 08"));

  LldpMedLocation& loc = port->medLocation[2];
  loc.present = 1;
  loc.len = 3;
  loc.data = txtest::copyBytes(hex("313233"));
  EXPECT_EQ(one(port, [](LldpPort* p) { return lldpMedLocationTlv(p, 3); }),
            hex("fe08 0012bb 03 03 313233"));
  // No configured data: skipped without the overflow flag.
  EXPECT_EQ(one(port, [](LldpPort* p) { return lldpMedLocationTlv(p, 1); }, -1), hex(""));
}

TEST_F(TxBuild, NetworkPolicyWord) {
  txtest::Port port;
  port->medPolicy[0] = LldpMedPolicy{1, 0, 1, 5, 46, 100};
  uint32_t w = 0;
  ASSERT_EQ(lldpMedPolicyWord(port.get(), 1, &w), 0);
  EXPECT_EQ(w, 0x0140C96Eu);
  EXPECT_EQ(one(port, [](LldpPort* p) { return lldpMedPolicyTlv(p, 1); }),
            hex("fe08 0012bb 02 0140c96e"));
  // Unknown flag, VLAN and priority are masked to their fields.
  port->medPolicy[7] = LldpMedPolicy{8, 1, 0, 9, 70, 4095};
  ASSERT_EQ(lldpMedPolicyWord(port.get(), 8, &w), 0);
  EXPECT_EQ(w, (8u << 24) | 0x800000u | (4095u << 9) | (1u << 6) | 6u);
  // Not configured: skipped, no overflow.
  EXPECT_EQ(one(port, [](LldpPort* p) { return lldpMedPolicyTlv(p, 2); }, -1), hex(""));
}

TEST_F(TxBuild, VoiceDefaultPolicyNeedsAVoicePort) {
  txtest::Port port;
  port->medPolicy[0] = LldpMedPolicy{1, 0, 1, 5, 46, 0};  // the voice default
  // The voice VLAN service does not answer: not sent.
  EXPECT_EQ(one(port, [](LldpPort* p) { return lldpMedPolicyTlv(p, 1); }, -1), hex(""));
  // It answers "not a voice port": not sent either.
  sim::setInt(sim::Svc::VoiceIf, txtest::kUnit, 2, 2);
  EXPECT_EQ(one(port, [](LldpPort* p) { return lldpMedPolicyTlv(p, 1); }, -1), hex(""));
  // A voice port: the fields come from the voice VLAN service.
  sim::setInt(sim::Svc::VoiceIf, txtest::kUnit, 2, 1);
  sim::setInt(sim::Svc::VoiceIf, txtest::kUnit, 1, 200);
  sim::setInt(sim::Svc::VoiceScalar, 0, 10, 6);
  sim::setInt(sim::Svc::VoiceScalar, 0, 11, 40);
  const uint32_t w = (1u << 24) | 0x400000u | (200u << 9) | (6u << 6) | 40u;
  std::vector<uint8_t> want = hex("fe08 0012bb 02");
  for (int s = 24; s >= 0; s -= 8) want.push_back(static_cast<uint8_t>(w >> s));
  EXPECT_EQ(one(port, [](LldpPort* p) { return lldpMedPolicyTlv(p, 1); }), want);
}

TEST_F(TxBuild, PrivateByteVectors) {
  txtest::Port port;
  sim::setOctets(sim::Svc::Scalar, 0, 39, txtest::kPrivOui);
  EXPECT_EQ(one(port, lldpPrivCapsTlv), hex("fe06 001e73 01 0007"));
  // The system OID is fetched once and kept in the agent record.
  sim::setOctets(sim::Svc::Snmp, 0, 46, {0x2b, 0x06, 0x01});
  EXPECT_EQ(one(port, lldpPrivSysOidTlv), hex("fe07 001e73 02 2b0601"));
  sim::setOctets(sim::Svc::Snmp, 0, 46, {0x2b});
  EXPECT_EQ(one(port, lldpPrivSysOidTlv), hex("fe07 001e73 02 2b0601"));
  txtest::setInv(gLldpInfo.medModelName, &gLldpInfo.medModelNameLen, "LLDP");
  EXPECT_EQ(one(port, lldpPrivModelNameTlv), hex("fe08 001e73 08 4c4c4450"));
  // The OUI is read at every build.
  sim::setOctets(sim::Svc::Scalar, 0, 39, {0xaa, 0xbb, 0xcc});
  EXPECT_EQ(one(port, lldpPrivSnTlv), hex("fe04 aabbcc 06"));
}

TEST_F(TxBuild, OverflowRule) {
  gLldpInfo.debugFlags = 0x104;
  {
    // 13 bytes cannot hold the header: no frame.
    txtest::Port port(13);
    EXPECT_EQ(lldpMibConstrInfoLLDPDU(port.get()), 0u);
    EXPECT_TRUE(sim::hasLine("freesize 13 is not enough!if mtu 13.r\n"));
  }
  {
    // 14 bytes hold the header and nothing else: overflow, no frame.
    txtest::Port port(14);
    EXPECT_EQ(lldpMibConstrInfoLLDPDU(port.get()), 0u);
    EXPECT_TRUE(port->tx.flags & LLDP_TX_FLAG_OVERFLOW);
    EXPECT_TRUE(sim::hasLine("Tx frame length is longer than MTU!\r\n"));
    EXPECT_TRUE(sim::hasLine("MTU = 14, sendSize = 64!\r\n"));
    EXPECT_EQ(lldpMibConstrShutdownLLDPDU(port.get()), 0u);
    EXPECT_TRUE(sim::hasLine("Tx frame length is longer than MTU(14)!\r\n"));
  }
  {
    // A TLV that does not fit is skipped and flagged; a smaller one after it
    // is still written.
    txtest::Port port;
    port.clearBuffer();
    port->tx.freesize = 10;
    EXPECT_EQ(lldpSysNameTlv(port.get()), -1);
    EXPECT_EQ(port->tx.sendsize, 0u);
    EXPECT_EQ(lldpTtlTlv(port.get(), 9), 0);
    EXPECT_EQ(port.frame(), hex("0602 0009"));
    EXPECT_EQ(port->tx.freesize, 6u);
    EXPECT_TRUE(port->tx.flags & LLDP_TX_FLAG_OVERFLOW);
  }
  {
    // A buffer left smaller than the mtu by a failed MTU change bounds the
    // frame: nothing is written past it.
    txtest::Port port(1522);
    port->txSize = 64;
    std::vector<uint8_t> guard(port->tx.frame + 64, port->tx.frame + 1522);
    EXPECT_EQ(lldpMibConstrInfoLLDPDU(port.get()), 0u);
    EXPECT_EQ(std::vector<uint8_t>(port->tx.frame + 64, port->tx.frame + 1522), guard);
  }
  {
    // A whole frame exactly as long as the mtu goes out; one byte less and
    // nothing goes out.
    txtest::Port big;
    const uint32_t full = lldpMibConstrInfoLLDPDU(big.get());
    ASSERT_GT(full, 64u);
    txtest::Port exact(full);
    EXPECT_EQ(lldpMibConstrInfoLLDPDU(exact.get()), full);
    txtest::Port shortBy1(full - 1);
    EXPECT_EQ(lldpMibConstrInfoLLDPDU(shortBy1.get()), 0u);
  }
}

TEST_F(TxBuild, ShortFramesArePaddedTo64WithZeros) {
  txtest::Port port;
  std::memset(port->tx.frame, 0xAA, port->mtu);
  ASSERT_EQ(lldpMibConstrShutdownLLDPDU(port.get()), 64u);
  const auto f = port.frame();
  const auto t = txtest::tlvs(f);
  ASSERT_EQ(t.size(), 4u);  // Chassis ID, Port ID, TTL 0, End
  EXPECT_EQ(t[2].type, 3u);
  EXPECT_EQ(t[2].value, hex("0000"));
  EXPECT_EQ(t[3].type, 0u);
  const size_t end = 14 + 9 + 11 + 4 + 2;
  for (size_t i = end; i < 64; ++i) EXPECT_EQ(f[i], 0) << i;
}

TEST_F(TxBuild, MinimalInformationFrameLayout) {
  txtest::Port port;
  sim::failObject(sim::Svc::Scalar, 0, 50);
  sim::failObject(sim::Svc::Scalar, 0, 58);
  sim::failObject(sim::Svc::If, txtest::kUnit, 2);
  sim::failObject(sim::Svc::If, txtest::kUnit, 4);
  ASSERT_GT(lldpMibConstrInfoLLDPDU(port.get()), 0u);
  const auto f = port.frame();
  EXPECT_EQ(std::vector<uint8_t>(f.begin(), f.begin() + 14), hex("0180c200000e 001b210a0b0c 88cc"));
  std::vector<uint32_t> types;
  for (const auto& t : txtest::tlvs(f)) {
    types.push_back(t.type);
    if (t.type >= 4 && t.type <= 6) {
      EXPECT_TRUE(t.value.empty()) << t.type;
    }
  }
  EXPECT_EQ(types, (std::vector<uint32_t>{1, 2, 3, 4, 5, 6, 7, 8, 0}));
}

TEST_F(TxBuild, HeaderForms) {
  txtest::Port port;
  port->txTagVid = 0x1064;  // only the low 12 bits are the VLAN id
  ASSERT_GT(lldpMibConstrInfoLLDPDU(port.get()), 0u);
  auto f = port.frame();
  EXPECT_EQ(std::vector<uint8_t>(f.begin(), f.begin() + 18),
            hex("0180c200000e 001b210a0b0c 8100 8064 88cc"));
  EXPECT_EQ(txtest::tlvs(f, 18).front().type, 1u);

  sim::setInt(sim::Svc::If, txtest::kUnit, 162, 0x88A8);
  ASSERT_GT(lldpMibConstrInfoLLDPDU(port.get()), 0u);
  f = port.frame();
  EXPECT_EQ(std::vector<uint8_t>(f.begin() + 12, f.begin() + 14), hex("88a8"));

  port->txTagVid = 0;
  std::memset(gLldpInfo.dstMac, 0xFF, 6);
  gLldpInfo.dstEtherType = 0xFFCC;
  ASSERT_GT(lldpMibConstrShutdownLLDPDU(port.get()), 0u);
  f = port.frame();
  EXPECT_EQ(std::vector<uint8_t>(f.begin(), f.begin() + 14), hex("ffffffffffff 001b210a0b0c ffcc"));
}

TEST_F(TxBuild, EveryFamilyInOrder) {
  txtest::Port port;
  txtest::enableEverything(port.get());
  ASSERT_GT(lldpMibConstrInfoLLDPDU(port.get()), 64u);
  // (OUI last byte, subtype) of every organizationally specific TLV in order.
  std::vector<std::pair<uint8_t, uint8_t>> org;
  std::vector<uint16_t> vlanNames, ppvids;
  for (const auto& t : txtest::tlvs(port.frame())) {
    if (t.type != 127) continue;
    org.emplace_back(t.value[2], t.value[3]);
    if (t.value[2] == 0xC2 && t.value[3] == 3) vlanNames.push_back(static_cast<uint16_t>(t.value[4] << 8 | t.value[5]));
    if (t.value[2] == 0xC2 && t.value[3] == 2) ppvids.push_back(static_cast<uint16_t>(t.value[5] << 8 | t.value[6]));
  }
  const std::vector<std::pair<uint8_t, uint8_t>> want = {
      {0xC2, 1}, {0x69, 1}, {0xC2, 2}, {0xC2, 2}, {0xC2, 3}, {0xC2, 3}, {0xC2, 3},
      {0xC2, 4}, {0xC2, 4}, {0xC2, 4}, {0xC2, 4},                        // dot1x, lacp, lldp, y1731
      {0x0F, 1}, {0x0F, 2}, {0x0F, 3}, {0x0F, 4},                        // 802.3
      {0xBB, 1}, {0xBB, 2}, {0xBB, 2}, {0xBB, 2}, {0xBB, 2}, {0xBB, 2}, {0xBB, 2}, {0xBB, 2},
      {0xBB, 2}, {0xBB, 3}, {0xBB, 3}, {0xBB, 3}, {0xBB, 4}, {0xBB, 4},  // MED
      {0xBB, 5}, {0xBB, 6}, {0xBB, 7}, {0xBB, 8}, {0xBB, 9}, {0xBB, 10}, {0xBB, 11},
      {0x73, 1}, {0x73, 2}, {0x73, 3}, {0x73, 4}, {0x73, 5}, {0x73, 6}, {0x73, 7}, {0x73, 8},
      {0x73, 9}};
  EXPECT_EQ(org, want);
  EXPECT_EQ(vlanNames, (std::vector<uint16_t>{1, 100, 4000}));
  EXPECT_EQ(ppvids, (std::vector<uint16_t>{10, 4094}));
}

TEST_F(TxBuild, VlanBitmapEnds) {
  txtest::Port port;
  gLldpInfo.extEnabled = LLDP_EXT_DOT1;
  lldpBitSet(port->vlanNameTxEnable, 0);
  lldpBitSet(port->vlanNameTxEnable, 4095);
  EXPECT_EQ(port->vlanNameTxEnable[0], 0x80);
  EXPECT_EQ(port->vlanNameTxEnable[511], 0x01);
  ASSERT_GT(lldpMibConstrInfoLLDPDU(port.get()), 0u);
  std::vector<std::vector<uint8_t>> names;
  for (const auto& t : txtest::tlvs(port.frame()))
    if (t.type == 127) names.push_back(t.value);
  ASSERT_EQ(names.size(), 2u);
  EXPECT_EQ(names[0], hex("0080c2 03 0001 06 766c616e3a31"));        // "vlan:1"
  EXPECT_EQ(names[1], hex("0080c2 03 1000 09 766c616e3a34303936"));  // "vlan:4096"
}

TEST_F(TxBuild, NoBufferNoFrame) {
  txtest::Port port;
  silFree(port->tx.frame);
  port->tx.frame = nullptr;
  port->tx.sendsize = 0;
  EXPECT_EQ(lldpMibConstrInfoLLDPDU(port.get()), 0u);
  EXPECT_EQ(lldpMibConstrShutdownLLDPDU(port.get()), 0u);
}

TEST_F(TxBuild, TlvSettingsInitialiseAndCleanUp) {
  const size_t before = sim::liveAllocations();
  {
    txtest::Port port;
    // The enable masks start from the providers' defaults, MED off.
    EXPECT_EQ(std::vector<uint32_t>({port->dot1TlvTxEnabled, port->dot3TlvTxEnabled, port->medTlvTxEnabled,
                                     port->privTlvTxEnabled[0]}),
              std::vector<uint32_t>({0, 0xF8, 0, 0xC0}));
    // Everything the cleanup owns, allocated.
    txtest::enableEverything(port.get());
    port->localMgmtAddrList = newAddr(1, {10, 0, 0, 1});
    port->localMgmtAddrList->mgmtAddrOid = txtest::copyBytes({1, 2, 3});
    port->sysMgmtAddrCache = newAddr(2, hex("fe800000000000000000000000000001"));
    auto* v = static_cast<LldpVlanNameCfg*>(silCalloc(1, sizeof(LldpVlanNameCfg)));
    v->name = reinterpret_cast<char*>(txtest::copyBytes({'a', 0}));
    v->descr = reinterpret_cast<char*>(txtest::copyBytes({'b', 0}));
    port->vlanNameCfgList = v;
    port->medLocationCfg = static_cast<LldpMedLocation*>(silCalloc(1, sizeof(LldpMedLocation)));
    port->medLocationCfg->data = txtest::copyBytes({9});
    port->medState[2] = 7;
    port->medStateWord = 0x1234;

    lldpTlvCleanup(port.get());
    EXPECT_EQ(port->localMgmtAddrList, nullptr);
    EXPECT_EQ(port->sysMgmtAddrCache, nullptr);
    EXPECT_EQ(port->vlanNameCfgList, nullptr);
    EXPECT_EQ(port->medLocationCfg, nullptr);
    for (const auto& loc : port->medLocation) {
      EXPECT_EQ(loc.data, nullptr);
      EXPECT_EQ(loc.len, 0u);
      EXPECT_EQ(loc.present, 0u);
    }
    EXPECT_EQ(port->medState[2], 0);
    EXPECT_EQ(port->medStateWord, 0u);
  }
  EXPECT_EQ(sim::liveAllocations(), before);
}

}  // namespace
