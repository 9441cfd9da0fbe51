// LLDPDU construction: byte vectors of every TLV builder family, the overflow
// rule, the minimum frame size, the frame header forms and the order of TLVs.
// The decoded field values of whole frames are checked by tshark in
// tests/tx_wire_test.cpp.
#include <gtest/gtest.h>

#include <cstring>

#include "base/lldp_info.h"
#include "local/lldp_local.h"
#include "platform/sim/sim.h"
#include "rx/lldp_msap.h"
#include "tx/lldp_tx.h"
#include "tx/tx_test_port.h"

using txtest::hex;
using txtest::newAddr;

namespace {

class TxBuild : public ::testing::Test {
 protected:
  void SetUp() override { txtest::agentDefaults(); }

  // Runs one builder on an empty buffer and returns what it wrote.
  template <typename F>
  std::vector<uint8_t> one(F&& build, int expectRc = 0) {
    port.clearBuffer();
    EXPECT_EQ(build(port.get()), expectRc);
    EXPECT_EQ(port->tx.flags, 0u);
    EXPECT_EQ(port->tx.sendsize + port->tx.freesize, port->mtu);
    return port.frame();
  }
  std::vector<txtest::Tlv> infoTlvs() {
    EXPECT_GT(lldpMibConstrInfoLLDPDU(port.get()), 0u);
    return txtest::tlvs(port.frame());
  }
  txtest::Port port;
};

TEST_F(TxBuild, BasicAndManagementByteVectors) {
  EXPECT_EQ(one(lldpEndofLldpduTlv), hex("0000"));
  EXPECT_EQ(one(lldpChassisidTlv), hex("0207 04 001b21000001"));
  EXPECT_EQ(one(lldpPortIdTlv), hex("0409 05 67652d302f302f35"));  // "ge-0/0/5"
  EXPECT_EQ(one([](LldpPort* p) { return lldpTtlTlv(p, 65535); }), hex("0602 ffff"));
  // Stored bit strings (bridge+router supported, bridge enabled) go out in
  // wire order, bit 0 least significant.
  EXPECT_EQ(one(lldpSysCapsTlv), hex("0e04 0014 0004"));
  EXPECT_EQ(one(lldpDefaultMgmtAddrTlv), hex("100e 07 06 001b210a0b0c 02 00000007 00"));
  lldpMgmtAddr* v4 = newAddr(1, {192, 0, 2, 1});
  EXPECT_EQ(one([&](LldpPort* p) { return lldpMgmtAddrTlv(p, v4); }),
            hex("1017 05 01 c0000201 02 00000007 0b 06092b060102010414 0101"));
  EXPECT_EQ(v4->mgmtAddrIfId, txtest::kIfIndex);  // written back into the entry
  silFree(v4);
  EXPECT_EQ(one([](LldpPort* p) { return lldpMgmtAddrTlv(p, nullptr); }, -1), hex(""));

  // Provider failures: the chassis ID falls back to the agent record's MAC,
  // text TLVs go out empty.
  const uint8_t other[6] = {0x02, 0, 0, 0, 0, 0x99};
  std::memcpy(gLldpInfo.sysMac, other, 6);
  sim::failObject(sim::Svc::Scalar, 0, 6);
  sim::failObject(sim::Svc::Scalar, 0, 50);
  EXPECT_EQ(one(lldpChassisidTlv), hex("0207 04 020000000099"));
  EXPECT_EQ(one(lldpSysNameTlv), hex("0a00"));
}

// Each basic optional TLV has a switch of its own: off, only its TLV goes;
// alone, only it of the four is sent. The management address has none.
TEST_F(TxBuild, EachBasicTlvSwitchGovernsItsTlvOnly) {
  const auto all = infoTlvs();
  auto without = [&all](auto drop) {
    std::vector<txtest::Tlv> v;
    for (const auto& t : all)
      if (!drop(t.type)) v.push_back(t);
    return v;
  };
  for (auto [bit, type] : {std::pair{0x80u, 4u}, {0x40u, 5u}, {0x20u, 6u}, {0x10u, 7u}}) {
    port->basicTlvTxEnabled = static_cast<uint8_t>(0xF0 & ~bit);
    EXPECT_EQ(infoTlvs(), without([type](uint32_t t) { return t == type; })) << bit;
    port->basicTlvTxEnabled = static_cast<uint8_t>(bit);
    EXPECT_EQ(infoTlvs(), without([type](uint32_t t) { return t >= 4 && t <= 7 && t != type; })) << bit;
  }
}

// Texts longer than a TLV may carry go out cut to 255 bytes.
TEST_F(TxBuild, TextsAreCutTo255Bytes) {
  for (size_t n : {255u, 256u, 300u}) {
    sim::setString(sim::Svc::If, txtest::kUnit, 4, std::string(n, 'a'));  // alias: the description
    sim::setString(sim::Svc::Scalar, 0, 50, std::string(n, 'b'));
    sim::setString(sim::Svc::Scalar, 0, 58, std::string(n, 'c'));
    std::vector<std::string> texts;
    for (const auto& t : infoTlvs())
      if (t.type >= 4 && t.type <= 6) texts.emplace_back(t.value.begin(), t.value.end());
    EXPECT_EQ(texts, (std::vector<std::string>{std::string(255, 'a'), std::string(255, 'b'), std::string(255, 'c')}))
        << n;
  }
  // Without an alias the description is formatted, and cut the same way.
  sim::setString(sim::Svc::If, txtest::kUnit, 4, "");
  sim::setString(sim::Svc::If, txtest::kUnit, 2, std::string(300, 'd'));
  EXPECT_EQ(infoTlvs()[3], (txtest::Tlv{4, std::vector<uint8_t>(255, 'd')}));
}

TEST_F(TxBuild, OnlyFirstConfiguredManagementAddressIsSent) {
  lldpMgmtAddr* a = newAddr(1, {10, 0, 0, 1});
  a->next = newAddr(1, {10, 0, 0, 2});
  a->next->next = newAddr(1, {10, 0, 0, 3});
  port->localMgmtAddrList = a;
  std::vector<std::vector<uint8_t>> addrs;
  for (const auto& t : infoTlvs())
    if (t.type == 8) addrs.emplace_back(t.value.begin() + 2, t.value.begin() + 6);
  EXPECT_EQ(addrs, (std::vector<std::vector<uint8_t>>{hex("0a000001")}));
}

// The PVID, VLAN name and protocol identity fields are decoded by tshark.
TEST_F(TxBuild, Dot1AndJuniperByteVectors) {
  // The protocol VLAN "enabled" answer reads the PVID object, so only a PVID
  // of 1 reads as enabled; supported is always 1.
  sim::setInt(sim::Svc::If, txtest::kUnit, 159, 1);
  EXPECT_EQ(one([](LldpPort* p) { return lldpDot1PpvidTlv(p, 4094); }), hex("fe07 0080c2 02 06 0ffe"));
  EXPECT_EQ(one([](LldpPort* p) { return lldpDot1VlanNameTlv(p, 10); }),
            hex("fe0e 0080c2 03 000a 07 766c616e3a3130"));  // "vlan:10", L = 7 + 7
  // A protocol without identity bytes writes nothing and is not an error.
  EXPECT_EQ(one([](LldpPort* p) { return lldpDot1ProtoTlv(p, 3); }), hex(""));
  EXPECT_EQ(one([](LldpPort* p) { return lldpDot1ProtoTlv(p, 255); }), hex(""));
  EXPECT_EQ(one(lldpJuniperTlv), hex("fe10 009069 01 544333313139333830333135"));
}

TEST_F(TxBuild, Dot3ByteVectors) {
  // No PoE: PSE class, pairs 1, class 2; extended form with priority 3 (low
  // nibble 2) and 33 mW / 100 = 0; the short form without it.
  sim::setInt(sim::Svc::Hw, 0, 198, 1);
  EXPECT_EQ(one(lldpDot3MdiPowerTlv), hex("fe0c 00120f 02 01 01 02 02 0000 0000"));
  port->dot3TlvTxEnabled &= static_cast<uint8_t>(~0x08);
  EXPECT_EQ(one(lldpDot3MdiPowerTlv), hex("fe07 00120f 02 01 01 02"));
  txtest::enableEverything(port.get());
  // With PoE and a neighbour that asked for 25.5 W in its extended 802.3
  // power TLV: PSE, supported, enabled, pair control; pairs 2; class 4 -> 5
  // (30 W); type PSE, source 2, priority 2.
  Msap m{};
  m.dot3PowerExtended = 1;
  m.dot3PowerRequested = 255;
  m.link.next = m.link.prev = &port->msapList;
  port->msapList.next = port->msapList.prev = &m.link;
  EXPECT_EQ(one(lldpDot3MdiPowerTlv), hex("fe0c 00120f 02 0f 02 05 11 00ff 012c"));
  EXPECT_EQ(one(lldpMedXpoepseTlv), hex("fe07 0012bb 04 11 012c"));
  EXPECT_EQ(one(lldpMedXpoepdTlv), hex("fe07 0012bb 04 11 0021"));  // PD value undivided
  port->msapList.next = port->msapList.prev = &port->msapList;

  EXPECT_EQ(one(lldpDot3MacPhyTlv), hex("fe09 00120f 01 03 6c01 001e"));
  sim::setInt(sim::Svc::If, txtest::kUnit, 235, 2);  // not aggregated
  EXPECT_EQ(one(lldpDot3LinkAggTlv), hex("fe09 00120f 03 01 0000000c"));
}

TEST_F(TxBuild, MedByteVectors) {
  port->medTlvTxSupported[0] = 0xF4;
  EXPECT_EQ(one(lldpMedCapsTlv), hex("fe07 0012bb 01 002f 04"));
  EXPECT_EQ(one(lldpMedSnTlv), hex("fe04 0012bb 08"));  // an empty inventory string
  port->medLocation[2] = {1, 3, txtest::copyBytes(hex("313233"))};
  EXPECT_EQ(one([](LldpPort* p) { return lldpMedLocationTlv(p, 3); }), hex("fe08 0012bb 03 03 313233"));
  // Longer than 250 bytes: the length needs its ninth bit. 506 bytes is the
  // most a TLV holds; 507 never fits.
  for (uint16_t n : {251, 506}) {
    silFree(port->medLocation[0].data);
    port->medLocation[0] = {1, n, txtest::copyBytes(std::vector<uint8_t>(n, 0x5A))};
    std::vector<uint8_t> want = {0xFF, static_cast<uint8_t>(5 + n), 0x00, 0x12, 0xbb, 0x03, 0x01};
    want.resize(7u + n, 0x5A);
    EXPECT_EQ(one([](LldpPort* p) { return lldpMedLocationTlv(p, 1); }), want) << n;
  }
  port->medLocation[0].len = 507;
  port.clearBuffer();
  EXPECT_EQ(lldpMedLocationTlv(port.get(), 1), -1);
  EXPECT_EQ(port->tx.sendsize, 0u);
  EXPECT_TRUE(port->tx.flags & LLDP_TX_FLAG_OVERFLOW);
  silFree(port->medLocation[0].data);
  port->medLocation[0] = {};
  // Not configured: skipped without the overflow flag.
  EXPECT_EQ(one([](LldpPort* p) { return lldpMedLocationTlv(p, 1); }, -1), hex(""));
  EXPECT_EQ(one([](LldpPort* p) { return lldpMedPolicyTlv(p, 2); }, -1), hex(""));

  port->medPolicy[0] = LldpMedPolicy{1, 0, 1, 5, 46, 100};
  uint32_t w = 0;
  ASSERT_EQ(lldpMedPolicyWord(port.get(), 1, &w), 0);
  EXPECT_EQ(w, 0x0140C96Eu);
  EXPECT_EQ(one([](LldpPort* p) { return lldpMedPolicyTlv(p, 1); }), hex("fe08 0012bb 02 0140c96e"));
  // Unknown flag, VLAN and priority are masked to their fields.
  port->medPolicy[7] = LldpMedPolicy{8, 1, 0, 9, 70, 4095};
  ASSERT_EQ(lldpMedPolicyWord(port.get(), 8, &w), 0);
  EXPECT_EQ(w, (8u << 24) | 0x800000u | (4095u << 9) | (1u << 6) | 6u);
}

TEST_F(TxBuild, VoiceDefaultPolicyNeedsAVoicePort) {
  port->medPolicy[0] = LldpMedPolicy{1, 0, 1, 5, 46, 0};  // the voice default
  auto policy = [](LldpPort* p) { return lldpMedPolicyTlv(p, 1); };
  EXPECT_EQ(one(policy, -1), hex(""));  // the voice VLAN service does not answer
  sim::setInt(sim::Svc::VoiceIf, txtest::kUnit, 2, 2);
  EXPECT_EQ(one(policy, -1), hex(""));  // "not a voice port"
  // A voice port: VLAN 200, priority 6, DSCP 40 from the voice VLAN service.
  sim::setInt(sim::Svc::VoiceIf, txtest::kUnit, 2, 1);
  sim::setInt(sim::Svc::VoiceIf, txtest::kUnit, 1, 200);
  sim::setInt(sim::Svc::VoiceScalar, 0, 10, 6);
  sim::setInt(sim::Svc::VoiceScalar, 0, 11, 40);
  EXPECT_EQ(one(policy), hex("fe08 0012bb 02 0141 91a8"));
}

TEST_F(TxBuild, PrivateByteVectors) {
  sim::setOctets(sim::Svc::Scalar, 0, 39, txtest::kPrivOui);
  EXPECT_EQ(one(lldpPrivCapsTlv), hex("fe06 001e73 01 0007"));
  // The system OID is fetched once and kept in the agent record.
  sim::setOctets(sim::Svc::Snmp, 0, 46, {0x2b, 0x06, 0x01});
  EXPECT_EQ(one(lldpPrivSysOidTlv), hex("fe07 001e73 02 2b0601"));
  sim::setOctets(sim::Svc::Snmp, 0, 46, {0x2b});
  EXPECT_EQ(one(lldpPrivSysOidTlv), hex("fe07 001e73 02 2b0601"));
  // The OUI is read at every build.
  sim::setOctets(sim::Svc::Scalar, 0, 39, {0xaa, 0xbb, 0xcc});
  EXPECT_EQ(one(lldpPrivSnTlv), hex("fe04 aabbcc 06"));
}

TEST_F(TxBuild, OverflowRule) {
  gLldpInfo.debugFlags = 0x104;
  txtest::Port p13(13);  // cannot hold the header: no frame
  EXPECT_EQ(lldpMibConstrInfoLLDPDU(p13.get()), 0u);
  EXPECT_TRUE(sim::hasLine("freesize 13 is not enough!if mtu 13.r\n"));
  txtest::Port p14(14);  // holds the header and nothing else: overflow, no frame
  EXPECT_EQ(lldpMibConstrInfoLLDPDU(p14.get()), 0u);
  EXPECT_TRUE(p14->tx.flags & LLDP_TX_FLAG_OVERFLOW);
  EXPECT_TRUE(sim::hasLine("Tx frame length is longer than MTU!\r\n"));
  EXPECT_TRUE(sim::hasLine("MTU = 14, sendSize = 64!\r\n"));
  EXPECT_EQ(lldpMibConstrShutdownLLDPDU(p14.get()), 0u);
  EXPECT_TRUE(sim::hasLine("Tx frame length is longer than MTU(14)!\r\n"));

  // A TLV that does not fit is skipped and flagged; a smaller one after it
  // is still written.
  port.clearBuffer();
  port->tx.freesize = 10;
  EXPECT_EQ(lldpSysNameTlv(port.get()), -1);
  EXPECT_EQ(lldpTtlTlv(port.get(), 9), 0);
  EXPECT_EQ(port.frame(), hex("0602 0009"));
  EXPECT_EQ(port->tx.freesize, 6u);
  EXPECT_TRUE(port->tx.flags & LLDP_TX_FLAG_OVERFLOW);
  port.clearBuffer();  // the management address has its own space check
  port->tx.freesize = 10;
  EXPECT_EQ(lldpDefaultMgmtMacAddrTlv(port.get()) + static_cast<int>(port->tx.flags), -1 + 1);
  port.clearBuffer();  // so has the network policy
  port->tx.freesize = 9;
  port->medPolicy[0] = LldpMedPolicy{1, 0, 1, 5, 46, 100};
  EXPECT_EQ(lldpMedPolicyTlv(port.get(), 1) + static_cast<int>(port->tx.flags), -1 + 1);

  // A whole frame exactly as long as the mtu goes out; one byte less, nothing.
  const uint32_t full = lldpMibConstrInfoLLDPDU(port.get());
  ASSERT_GT(full, 64u);
  txtest::Port exact(full), shortBy1(full - 1);
  EXPECT_EQ(lldpMibConstrInfoLLDPDU(exact.get()), full);
  EXPECT_EQ(lldpMibConstrInfoLLDPDU(shortBy1.get()), 0u);
  // A buffer left smaller than the mtu by a failed MTU change bounds the
  // frame: nothing is written past it. No buffer at all: no frame.
  port->txSize = 64;
  std::vector<uint8_t> guard(port->tx.frame + 64, port->tx.frame + 1522);
  EXPECT_EQ(lldpMibConstrInfoLLDPDU(port.get()), 0u);
  EXPECT_EQ(std::vector<uint8_t>(port->tx.frame + 64, port->tx.frame + 1522), guard);
  silFree(port->tx.frame);
  port->tx.frame = nullptr;
  EXPECT_EQ(lldpMibConstrInfoLLDPDU(port.get()) + lldpMibConstrShutdownLLDPDU(port.get()), 0u);
}

TEST_F(TxBuild, ShortFramesArePaddedTo64WithZeros) {
  std::memset(port->tx.frame, 0xAA, port->mtu);
  ASSERT_EQ(lldpMibConstrShutdownLLDPDU(port.get()), 64u);
  const auto f = port.frame();
  ASSERT_EQ(txtest::tlvs(f).size(), 4u);  // Chassis ID, Port ID, TTL 0, End
  std::vector<uint8_t> tail = hex("0602 0000 0000");  // TTL 0, End, then zeros
  tail.resize(64 - 14 - 9 - 11, 0);
  EXPECT_EQ(std::vector<uint8_t>(f.begin() + 14 + 9 + 11, f.end()), tail);
}

TEST_F(TxBuild, HeaderFormsAndMinimalLayout) {
  sim::failObject(sim::Svc::Scalar, 0, 50);
  sim::failObject(sim::Svc::Scalar, 0, 58);
  sim::failObject(sim::Svc::If, txtest::kUnit, 4);
  std::vector<uint32_t> types;
  for (const auto& t : infoTlvs()) {
    types.push_back(t.type);
    if (t.type >= 4 && t.type <= 6) { EXPECT_TRUE(t.value.empty()) << t.type; }
  }
  EXPECT_EQ(types, (std::vector<uint32_t>{1, 2, 3, 4, 5, 6, 7, 8, 0}));
  auto f = port.frame();
  EXPECT_EQ(std::vector<uint8_t>(f.begin(), f.begin() + 14), hex("0180c200000e 001b210a0b0c 88cc"));

  port->txTagVid = 0x1064;  // only the low 12 bits are the VLAN id
  sim::setInt(sim::Svc::If, txtest::kUnit, 162, 0x88A8);
  ASSERT_GT(lldpMibConstrInfoLLDPDU(port.get()), 0u);
  f = port.frame();
  EXPECT_EQ(std::vector<uint8_t>(f.begin(), f.begin() + 18), hex("0180c200000e 001b210a0b0c 88a8 8064 88cc"));
  EXPECT_EQ(txtest::tlvs(f, 18).front().type, 1u);
}

TEST_F(TxBuild, EveryFamilyInOrder) {
  txtest::enableEverything(port.get());
  // OUI last byte and subtype of every organizationally specific TLV in
  // order, with the VLAN of the PPVID and VLAN name TLVs.
  std::vector<uint32_t> org;
  for (const auto& t : infoTlvs()) {
    if (t.type != 127) continue;
    const uint32_t vid = t.value[2] != 0xC2 || (t.value[3] != 2 && t.value[3] != 3) ? 0
                         : t.value[3] == 2 ? (t.value[5] << 8 | t.value[6]) : (t.value[4] << 8 | t.value[5]);
    org.push_back(t.value[2] << 24 | t.value[3] << 16 | vid);
  }
  const std::vector<uint32_t> want = {
      0xC2010000, 0x69010000, 0xC2020000 + 10, 0xC2020000 + 4094, 0xC2030000 + 1, 0xC2030000 + 100,
      0xC2030000 + 4000, 0xC2040000, 0xC2040000, 0xC2040000, 0xC2040000,  // dot1x, lacp, lldp, y1731
      0x0F010000, 0x0F020000, 0x0F030000, 0x0F040000,                      // 802.3
      0xBB010000, 0xBB020000, 0xBB020000, 0xBB020000, 0xBB020000, 0xBB020000, 0xBB020000,
      0xBB020000, 0xBB020000, 0xBB030000, 0xBB030000, 0xBB030000, 0xBB040000, 0xBB040000,  // MED
      0xBB050000, 0xBB060000, 0xBB070000, 0xBB080000, 0xBB090000, 0xBB0A0000, 0xBB0B0000,
      0x73010000, 0x73020000, 0x73030000, 0x73040000, 0x73050000, 0x73060000, 0x73070000,
      0x73080000, 0x73090000};
  EXPECT_EQ(org, want);
}

TEST_F(TxBuild, VlanBitmapEnds) {
  gLldpInfo.extEnabled = LLDP_EXT_DOT1;
  lldpBitSet(port->vlanNameTxEnable, 0);
  lldpBitSet(port->vlanNameTxEnable, 4095);
  EXPECT_EQ(port->vlanNameTxEnable[0] + port->vlanNameTxEnable[511], 0x80 + 0x01);
  std::vector<std::vector<uint8_t>> names;
  for (const auto& t : infoTlvs())
    if (t.type == 127) names.push_back(t.value);
  EXPECT_EQ(names, (std::vector<std::vector<uint8_t>>{
                       hex("0080c2 03 0001 06 766c616e3a31"),            // "vlan:1"
                       hex("0080c2 03 1000 09 766c616e3a34303936")}));  // "vlan:4096"
}

TEST_F(TxBuild, TlvSettingsInitialiseAndCleanUp) {
  const size_t before = sim::liveAllocations();
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
  EXPECT_EQ(sim::liveAllocations(), before);
  EXPECT_TRUE(port->localMgmtAddrList == nullptr && port->sysMgmtAddrCache == nullptr &&
              port->vlanNameCfgList == nullptr && port->medLocationCfg == nullptr);
  for (const auto& loc : port->medLocation) { EXPECT_TRUE(!loc.data && loc.len == 0 && loc.present == 0); }
  EXPECT_EQ(port->medState[2] + port->medStateWord, 0u);
}

}  // namespace
