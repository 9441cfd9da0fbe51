// Local attribute providers against the simulated platform: defaults when the
// platform has no answer, the PoE mappings, the port texts and IDs, the
// LLDP-MED policy sources and the capability masks.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "core/lldp_info.h"
#include "local/lldp_local.h"
#include "platform/sim/sim.h"
#include "port/lldp_port.h"

namespace {

using sim::Svc;

constexpr uint32_t kUnit = 7;

class LocalTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sim::reset();
    gLldpInfo = LldpInfo{};
    sim::addInterface(kUnit, "eth1", 3, {0, 0x11, 0x22, 0x33, 0x44, 0x55});
  }
  // Interface object 55: the port's protocol bitmap; bit 183 means PoE.
  void setPoe(bool on) {
    std::vector<uint8_t> protos(48, 0);
    if (on) protos[183 / 8] = 0x80 >> (183 % 8);
    sim::setOctets(Svc::If, kUnit, 55, protos);
  }
  uint32_t value(int (*fn)(uint32_t, uint32_t*)) {
    uint32_t v = 0xDEAD;
    EXPECT_EQ(fn(kUnit, &v), 0);
    return v;
  }
  std::string text(int (*fn)(uint32_t, uint8_t*, uint32_t*), uint32_t size = 256) {
    std::vector<uint8_t> buf(size);
    uint32_t len = size;
    EXPECT_EQ(fn(kUnit, buf.data(), &len), 0);
    EXPECT_LT(len, size + 1);
    return std::string(buf.begin(), buf.begin() + len);
  }
};

TEST_F(LocalTest, PortWithoutPoeReportsPowerDefaultsWhateverThePoeServiceSays) {
  setPoe(false);
  for (uint32_t obj : {1u, 2u, 3u, 5u, 7u}) sim::setInt(Svc::Poe, kUnit, obj, 1);
  EXPECT_EQ(lldpCheckPoeStatus(kUnit), -1);
  EXPECT_EQ(value(lldpDot3PortGetPowerMDISupported), 2u);
  EXPECT_EQ(value(lldpDot3PortGetPowerMDIEnabled), 2u);
  EXPECT_EQ(value(lldpDot3PortGetPowerPairControlable), 2u);
  EXPECT_EQ(value(lldpDot3PortGetPowerPairs), 1u);
  EXPECT_EQ(value(lldpDot3PortGetPowerClass), 2u);
  EXPECT_EQ(value(lldpMedPortGetPsePowerPriority), 3u);
  EXPECT_EQ(value(lldpMedPortGetPsePowerValue), 33u);
  // The neighbouring bit is not PoE.
  sim::setOctets(Svc::If, kUnit, 55, std::vector<uint8_t>(48, 0xFE));
  EXPECT_EQ(lldpCheckPoeStatus(kUnit), -1);
}

TEST_F(LocalTest, UnreadableProtocolBitmapIsLoggedAndMeansNoPoe) {
  sim::failObject(Svc::If, kUnit, 55);
  EXPECT_EQ(lldpCheckPoeStatus(kUnit), -1);
  ASSERT_FALSE(sim::logLines().empty());
  const sim::LogLine& l = sim::logLines().back();
  EXPECT_FALSE(l.debug);
  EXPECT_EQ(l.module, 0x3F50008u);
  EXPECT_EQ(l.level, 5u);
  EXPECT_EQ(l.text, "eth1 get poe protocol error\r\n");
}

TEST_F(LocalTest, PoeClassMapsToPowerClassAndPseValue) {
  setPoe(true);
  EXPECT_EQ(lldpCheckPoeStatus(kUnit), 0);
  EXPECT_EQ(value(lldpDot3PortGetPowerMDISupported), 1u);
  struct Case {
    uint32_t platformClass, powerClass, pseValue;
  } cases[] = {{9, 1, 15400}, {0, 0, 0},     {1, 2, 4000}, {2, 3, 7000},
               {3, 4, 15400}, {4, 5, 30000}, {5, 0, 0},    {8, 0, 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.platformClass);
    sim::setInt(Svc::Poe, kUnit, 7, c.platformClass);
    EXPECT_EQ(value(lldpDot3PortGetPowerClass), c.powerClass);
    EXPECT_EQ(value(lldpMedPortGetPsePowerValue), c.pseValue);
  }
  sim::failObject(Svc::Poe, kUnit, 7);
  EXPECT_EQ(value(lldpDot3PortGetPowerClass), 2u);
  EXPECT_EQ(value(lldpMedPortGetPsePowerValue), 4000u);
}

TEST_F(LocalTest, PoePortFieldsComeFromPoeServiceWithDefaultsOnFailure) {
  setPoe(true);
  sim::setInt(Svc::Poe, kUnit, 1, 1);
  sim::setInt(Svc::Poe, kUnit, 3, 2);
  EXPECT_EQ(value(lldpDot3PortGetPowerMDIEnabled), 1u);
  EXPECT_EQ(value(lldpDot3PortGetPowerPairs), 2u);
  EXPECT_EQ(value(lldpDot3PortGetPowerPairControlable), 2u);  // object 2 unset
  for (auto [prio, want] : {std::pair{1u, 2u}, {3u, 4u}, {0u, 1u}, {4u, 1u}}) {
    sim::setInt(Svc::Poe, kUnit, 5, prio);
    EXPECT_EQ(value(lldpMedPortGetPsePowerPriority), want) << prio;
  }
  sim::failObject(Svc::Poe, kUnit, 5);
  EXPECT_EQ(value(lldpMedPortGetPsePowerPriority), 3u);
}

TEST_F(LocalTest, PortDescriptionWithEmptyAliasKeepsTrailingBlank) {
  sim::setString(Svc::If, kUnit, 2, "Gigabit port");
  sim::setString(Svc::If, kUnit, 4, "");
  EXPECT_EQ(text(lldpPortGetDescr), "Gigabit port SNMP-Index:7 ");
  EXPECT_EQ(text(lldpPortGetAlias), "port:7");
  sim::failObject(Svc::If, kUnit, 4);
  EXPECT_EQ(text(lldpPortGetAlias), "port:7");

  sim::setString(Svc::If, kUnit, 4, "uplink to core");
  EXPECT_EQ(text(lldpPortGetDescr), "uplink to core");
  EXPECT_EQ(text(lldpPortGetAlias), "uplink to core");
  // A small caller buffer bounds the text.
  sim::setString(Svc::If, kUnit, 4, "");
  EXPECT_EQ(text(lldpPortGetDescr, 10), "Gigabit p");
}

TEST_F(LocalTest, PortIdFollowsSubtype) {
  sim::setString(Svc::If, kUnit, 4, "");
  struct Case {
    uint32_t subtype;
    std::string want;
  } cases[] = {{3, std::string("\x00\x11\x22\x33\x44\x55", 6)},
               {7, "eth1interface"},
               {1, "port:7"},
               {5, "eth1"},
               {2, "eth1"}};
  for (const Case& c : cases) {
    uint8_t buf[256];
    uint32_t len = sizeof(buf);
    EXPECT_EQ(lldpPortGetPortId(kUnit, c.subtype, buf, &len), 0);
    EXPECT_EQ(std::string(buf, buf + len), c.want) << c.subtype;
  }
  // The port record's own subtype picks the form.
  auto port = std::make_unique<LldpPort>();
  port->unit = kUnit;
  port->portIdSubtype = 7;
  uint8_t buf[256];
  uint32_t len = sizeof(buf);
  EXPECT_EQ(lldpPortGetPortId(port.get(), buf, &len), 0);
  EXPECT_EQ(len, 13u);
}

TEST_F(LocalTest, PortIdStaysInsideTheBufferAndIsEmptyWhenUnreadable) {
  uint8_t buf[16];
  std::memset(buf, 0xAA, sizeof(buf));
  uint32_t len = 6;
  EXPECT_EQ(lldpPortGetPortId(kUnit, 7, buf, &len), 0);
  EXPECT_EQ(std::string(buf, buf + len), "eth1i");
  for (size_t i = 6; i < sizeof(buf); i++) EXPECT_EQ(buf[i], 0xAA) << i;

  sim::failObject(Svc::If, kUnit, 3);
  len = sizeof(buf);
  EXPECT_EQ(lldpPortGetPortId(kUnit, 5, buf, &len), 0);
  EXPECT_EQ(len, 0u);
  sim::failObject(Svc::If, kUnit, 33);
  len = sizeof(buf);
  EXPECT_EQ(lldpPortGetPortId(kUnit, 3, buf, &len), 0);
  EXPECT_EQ(len, 0u);
}

class PolicyTest : public LocalTest {
 protected:
  void SetUp() override {
    LocalTest::SetUp();
    port = std::make_unique<LldpPort>();
    port->unit = kUnit;
  }
  void setPolicy(uint32_t type, uint8_t unknown, uint8_t tagged, uint8_t pri, uint8_t dscp,
                 uint16_t vid) {
    port->medPolicy[type - 1] = LldpMedPolicy{static_cast<uint8_t>(type), unknown, tagged, pri, dscp, vid};
  }
  // {vid, pri, dscp, unknown, tagged}, or empty when any provider refuses.
  std::vector<uint32_t> fields(uint32_t type) {
    using Fn = int (*)(const LldpPort*, uint32_t, uint32_t*);
    std::vector<uint32_t> out;
    for (Fn fn : {lldpMedPortGetPolicyVid, lldpMedPortGetPolicyPri, lldpMedPortGetPolicyDscp,
                  lldpMedPortGetPolicyUnknown, lldpMedPortGetPolicyTagged}) {
      uint32_t v = 0;
      if (fn(port.get(), type, &v) != 0) return {};
      out.push_back(v);
    }
    return out;
  }
  std::unique_ptr<LldpPort> port;
};

TEST_F(PolicyTest, OnlyApplicationTypesOneToEightWithARecordAnswer) {
  for (uint32_t t = 1; t <= 8; t++) setPolicy(t, 0, 1, 3, 10, 20);
  for (uint32_t t : {0u, 9u, 255u}) {
    EXPECT_EQ(lldpMedPortGetPolicySupported(port.get(), t), -1) << t;
    EXPECT_TRUE(fields(t).empty()) << t;
  }
  EXPECT_EQ(lldpMedPortGetPolicySupported(port.get(), 8), 0);
  EXPECT_EQ(fields(8), (std::vector<uint32_t>{20, 3, 10, 0, 1}));
  port->medPolicy[3] = LldpMedPolicy{};
  EXPECT_EQ(lldpMedPortGetPolicySupported(port.get(), 4), -1);
  EXPECT_TRUE(fields(4).empty());
}

TEST_F(PolicyTest, VoiceDefaultFollowsVoiceVlanServiceOnVoicePortOnly) {
  setPolicy(1, 0, 1, 5, 46, 0);
  setPolicy(2, 0, 1, 5, 46, 0);
  EXPECT_EQ(lldpMedPortGetPolicyIsDefault(port.get(), 1), 1);
  EXPECT_EQ(lldpMedPortGetPolicyIsDefault(port.get(), 2), 2);  // voice only
  sim::setInt(Svc::VoiceIf, kUnit, 1, 300);
  sim::setInt(Svc::VoiceScalar, 0, 10, 6);
  sim::setInt(Svc::VoiceScalar, 0, 11, 40);

  sim::setInt(Svc::VoiceIf, kUnit, 2, 2);  // not a voice port
  EXPECT_EQ(fields(1), (std::vector<uint32_t>{0, 5, 46, 0, 1}));
  sim::setInt(Svc::VoiceIf, kUnit, 2, 1);
  EXPECT_EQ(fields(1), (std::vector<uint32_t>{300, 6, 40, 0, 1}));
  EXPECT_EQ(fields(2), (std::vector<uint32_t>{0, 5, 46, 0, 1}));

  // One changed value and the record speaks for itself.
  setPolicy(1, 0, 1, 5, 46, 100);
  EXPECT_EQ(lldpMedPortGetPolicyIsDefault(port.get(), 1), 2);
  EXPECT_EQ(fields(1), (std::vector<uint32_t>{100, 5, 46, 0, 1}));
  // A silent voice service is a failure, not a fallback.
  setPolicy(1, 0, 1, 5, 46, 0);
  sim::failObject(Svc::VoiceScalar, 0, 11);
  EXPECT_TRUE(fields(1).empty());
}

TEST_F(LocalTest, CapabilityMasksRefuseSmallBuffersAndSetTheirBits) {
  using Fn = int (*)(uint32_t, uint8_t*, uint32_t*);
  struct Case {
    const char* name;
    Fn fn;
    std::vector<uint8_t> want;
  } cases[] = {
      {"dot1", lldpDot1PortGetCapSupported, {0xF0}},
      {"dot3", lldpDot3PortGetCapSupported, {0xF8}},
      {"dot3 default", lldpDot3PortGetCapDfltEnabled, {0xF8}},
      {"med default", lldpMedPortGetCapDfltEnabled, {0x94, 0x00}},
      {"priv", lldpPrivPortGetCapSupported, {0xE0, 0x00}},
      {"priv default", lldpPrivPortGetCapDfltEnabled, {0xC0, 0x00}},
      {"system", [](uint32_t, uint8_t* b, uint32_t* l) { return lldpGetCapSupported(b, l); },
       {0x28, 0x00}},
      {"system enabled", [](uint32_t, uint8_t* b, uint32_t* l) { return lldpGetCapEnabled(b, l); },
       {0x28, 0x00}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    uint8_t buf[4] = {0xAA, 0xAA, 0xAA, 0xAA};
    uint32_t len = static_cast<uint32_t>(c.want.size()) - 1;
    EXPECT_EQ(c.fn(kUnit, buf, &len), -1);
    EXPECT_EQ(buf[0], 0xAA);
    std::memset(buf, 0, sizeof(buf));
    len = sizeof(buf);
    EXPECT_EQ(c.fn(kUnit, buf, &len), 0);
    EXPECT_EQ(std::vector<uint8_t>(buf, buf + len), c.want);
  }
  uint8_t med[2] = {};
  uint32_t len = 1;
  sim::setOctets(Svc::Scalar, 0, 129, {0xFC, 0x00});
  EXPECT_EQ(lldpMedPortGetCapSupported(kUnit, med, &len), -1);
  len = 2;
  EXPECT_EQ(lldpMedPortGetCapSupported(kUnit, med, &len), 0);
  EXPECT_EQ(med[0], 0xFC);
}

TEST_F(LocalTest, FixedAndFormattedAnswers) {
  EXPECT_EQ(text([](uint32_t u, uint8_t* b, uint32_t* l) { return lldpDot1PortGetVlanName(u, 100, b, l); }),
            "vlan:100");
  uint8_t agg[1] = {0x40};
  uint32_t len = 1;
  sim::setInt(Svc::If, kUnit, 235, 2);
  EXPECT_EQ(lldpDot3PortGetLinkAggStatus(kUnit, agg, &len), 0);
  EXPECT_EQ(agg[0], 0x80);  // capable, not aggregated
  sim::setInt(Svc::If, kUnit, 235, 1);
  EXPECT_EQ(lldpDot3PortGetLinkAggStatus(kUnit, agg, &len), 0);
  EXPECT_EQ(agg[0], 0xC0);

  sim::failObject(Svc::If, kUnit, 236, -1);
  EXPECT_EQ(value(lldpDot3PortGetLinkAggPortId), 0u);
  sim::failObject(Svc::If, kUnit, 131);
  EXPECT_EQ(value(lldpDot3PortGetAutoNegEnabled), 2u);
  sim::setLinkUp(kUnit, false);
  EXPECT_EQ(lldpPortCheckLinkUp(kUnit), -1);
  sim::failObject(Svc::If, kUnit, 19);
  EXPECT_EQ(lldpPortCheckLinkUp(kUnit), -1);

  uint8_t inv[32];
  uint8_t invLen = 0;
  EXPECT_EQ(lldpMedGetModelName(inv, &invLen), 0);
  EXPECT_EQ(std::string(inv, inv + invLen), "LLDP");
  sim::setString(Svc::Scalar, 0, 49, std::string(40, 'S'));
  EXPECT_EQ(lldpMedGetSn(inv, &invLen), 0);
  EXPECT_EQ(invLen, 32);
  sim::setString(Svc::Scalar, 0, 50, std::string(300, 'n'));
  uint8_t name[512];
  uint32_t nameLen = sizeof(name);
  EXPECT_EQ(lldpGetSysName(name, &nameLen), 0);
  EXPECT_EQ(nameLen, 255u);
}

TEST_F(LocalTest, ExampleLocationsHaveTheirFormatSizes) {
  for (auto [format, size] : {std::pair{1u, 16u}, {2u, 61u}, {3u, 11u}}) {
    EXPECT_EQ(lldpMedPortGetLocationSupported(kUnit, format), 0);
    uint8_t buf[64];
    uint32_t len = size - 1;
    EXPECT_EQ(lldpMedPortGetLocation(kUnit, format, buf, &len), -1) << format;
    len = sizeof(buf);
    EXPECT_EQ(lldpMedPortGetLocation(kUnit, format, buf, &len), 0);
    EXPECT_EQ(len, size);
    if (format == 2) {
      EXPECT_EQ(buf[0], 60);  // the LCI length counts what follows it
      EXPECT_EQ(buf[1], 2);
    }
  }
  EXPECT_EQ(lldpMedPortGetLocationSupported(kUnit, 4), -1);
  uint8_t buf[64];
  uint32_t len = sizeof(buf);
  EXPECT_EQ(lldpMedPortGetLocation(kUnit, 0, buf, &len), -1);
}

}  // namespace
