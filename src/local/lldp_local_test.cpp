// Local attribute providers against the simulated platform: PoE defaults and
// mappings, port texts and IDs, LLDP-MED policy sources, capability masks.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "base/lldp_info.h"
#include "local/lldp_local.h"
#include "platform/sim/sim.h"
#include "port/lldp_port.h"

namespace {

using sim::Svc;
using U32s = std::vector<uint32_t>;
constexpr uint32_t kUnit = 7;

class LocalTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sim::reset();
    gLldpInfo = LldpInfo{};
    sim::addInterface(kUnit, "eth1", 3, {0, 0x11, 0x22, 0x33, 0x44, 0x55});
    port = std::make_unique<LldpPort>();
    port->unit = kUnit;
  }
  // Interface object 55 is the port's protocol bitmap; bit 183 means PoE.
  void setPoe(bool on) {
    std::vector<uint8_t> protos(48, on ? 0 : 0xFE);
    if (on) protos[22] = 0x01;
    sim::setOctets(Svc::If, kUnit, 55, protos);
  }
  // Power answers: MDI supported, enabled, pairs, class, PSE priority, PSE value.
  U32s power() {
    U32s out;
    for (auto fn : {lldpDot3PortGetPowerMDISupported, lldpDot3PortGetPowerMDIEnabled,
                    lldpDot3PortGetPowerPairs, lldpDot3PortGetPowerClass,
                    lldpMedPortGetPsePowerPriority, lldpMedPortGetPsePowerValue}) {
      uint32_t v = 0xDEAD;
      EXPECT_EQ(fn(kUnit, &v), 0);
      out.push_back(v);
    }
    return out;
  }
  std::string text(int (*fn)(uint32_t, uint8_t*, uint32_t*), uint32_t size = 256) {
    std::vector<uint8_t> buf(size);
    uint32_t len = size;
    EXPECT_EQ(fn(kUnit, buf.data(), &len), 0);
    return std::string(buf.begin(), buf.begin() + std::min(len, size));
  }
  std::string portId(uint32_t subtype, uint32_t size = 256) {
    std::vector<uint8_t> buf(size + 8, 0xAA);
    uint32_t len = size;
    EXPECT_EQ(lldpPortGetPortId(kUnit, subtype, buf.data(), &len), 0);
    for (uint32_t i = size; i < size + 8; i++) EXPECT_EQ(buf[i], 0xAA) << "overrun at " << i;
    return std::string(buf.begin(), buf.begin() + len);
  }
  std::unique_ptr<LldpPort> port;
};

TEST_F(LocalTest, PortWithoutPoeReportsDefaultsWhateverThePoeServiceSays) {
  for (uint32_t obj : {1u, 3u, 5u, 7u}) sim::setInt(Svc::Poe, kUnit, obj, 4);
  setPoe(false);  // bits 176..182 set, 183 clear
  EXPECT_EQ(power(), (U32s{2, 2, 1, 2, 3, 33}));
  // An unreadable bitmap means no PoE too, and is logged.
  sim::failObject(Svc::If, kUnit, 55);
  EXPECT_EQ(power(), (U32s{2, 2, 1, 2, 3, 33}));
  const sim::LogLine& l = sim::logLines().back();
  EXPECT_EQ(std::tuple(l.debug, l.module, l.text), std::tuple(false, 0x3F50008u, "eth1 get poe protocol error\r\n"));
}

TEST_F(LocalTest, PoeClassAndPriorityMappings) {
  setPoe(true);
  sim::setInt(Svc::Poe, kUnit, 1, 1);
  sim::setInt(Svc::Poe, kUnit, 3, 2);
  sim::setInt(Svc::Poe, kUnit, 5, 1);
  // Platform class -> power class and PSE value, 9 and 0 included.
  for (auto [cls, want, mw] : {std::tuple{9u, 1u, 15400u}, {0u, 0u, 0u}, {1u, 2u, 4000u},
                               {3u, 4u, 15400u}, {4u, 5u, 30000u}, {6u, 0u, 0u}}) {
    sim::setInt(Svc::Poe, kUnit, 7, cls);
    EXPECT_EQ(power(), (U32s{1, 1, 2, want, 2, mw})) << cls;
  }
  sim::failObject(Svc::Poe, kUnit, 7);
  sim::failObject(Svc::Poe, kUnit, 5);
  EXPECT_EQ(power(), (U32s{1, 1, 2, 2, 3, 4000}));
  sim::setInt(Svc::Poe, kUnit, 5, 4);
  EXPECT_EQ(power()[4], 1u);
}

TEST_F(LocalTest, PortDescriptionAliasAndPortIdTexts) {
  sim::setString(Svc::If, kUnit, 2, "Gigabit port");
  sim::setString(Svc::If, kUnit, 4, "");
  EXPECT_EQ(text(lldpPortGetDescr), "Gigabit port SNMP-Index:7 ");
  EXPECT_EQ(text(lldpPortGetDescr, 10), "Gigabit p");
  EXPECT_EQ(text(lldpPortGetAlias), "port:7");
  EXPECT_EQ(portId(3), std::string("\x00\x11\x22\x33\x44\x55", 6));
  EXPECT_EQ(portId(7), "eth1interface");
  EXPECT_EQ(portId(7, 6), "eth1i");
  EXPECT_EQ(portId(1), "port:7");
  EXPECT_EQ(portId(5), "eth1");
  EXPECT_EQ(portId(2), "eth1");
  port->portIdSubtype = 7;
  uint8_t buf[64];
  uint32_t len = sizeof(buf);
  EXPECT_EQ(lldpPortGetPortId(port.get(), buf, &len), 0);
  EXPECT_EQ(len, 13u);

  sim::setString(Svc::If, kUnit, 4, "uplink");
  EXPECT_EQ(text(lldpPortGetDescr), "uplink");
  EXPECT_EQ(portId(1), "uplink");
  sim::failObject(Svc::If, kUnit, 4);
  EXPECT_EQ(text(lldpPortGetAlias), "port:7");
  sim::failObject(Svc::If, kUnit, 3);
  sim::failObject(Svc::If, kUnit, 33);
  EXPECT_EQ(portId(5), "");  // the frame then carries the subtype only
  EXPECT_EQ(portId(3), "");
}

class PolicyTest : public LocalTest {
 protected:
  void setPolicy(uint32_t t, uint8_t tagged, uint8_t pri, uint8_t dscp, uint16_t vid) {
    port->medPolicy[t - 1] = LldpMedPolicy{static_cast<uint8_t>(t), 0, tagged, pri, dscp, vid};
  }
  // {vid, priority, dscp, unknown, tagged}; empty when any provider refuses.
  U32s fields(uint32_t t) {
    U32s out;
    for (auto fn : {lldpMedPortGetPolicyVid, lldpMedPortGetPolicyPri, lldpMedPortGetPolicyDscp,
                    lldpMedPortGetPolicyUnknown, lldpMedPortGetPolicyTagged}) {
      uint32_t v = 0;
      if (fn(port.get(), t, &v) != 0) return {};
      out.push_back(v);
    }
    return out;
  }
};

TEST_F(PolicyTest, TypesOutsideOneToEightAndUnsetRecordsAreRefused) {
  for (uint32_t t = 1; t <= 8; t++) setPolicy(t, 1, 3, 10, 20);
  port->medPolicy[3] = LldpMedPolicy{};
  for (uint32_t t : {0u, 4u, 9u}) {
    EXPECT_EQ(lldpMedPortGetPolicySupported(port.get(), t), -1) << t;
    EXPECT_TRUE(fields(t).empty()) << t;
  }
  EXPECT_EQ(lldpMedPortGetPolicySupported(port.get(), 8), 0);
  EXPECT_EQ(fields(8), (U32s{20, 3, 10, 0, 1}));
}

TEST_F(PolicyTest, VoiceDefaultFollowsVoiceVlanServiceOnVoicePortsOnly) {
  setPolicy(1, 1, 5, 46, 0);
  setPolicy(2, 1, 5, 46, 0);
  EXPECT_EQ(lldpMedPortGetPolicyIsDefault(port.get(), 1), 1);
  EXPECT_EQ(lldpMedPortGetPolicyIsDefault(port.get(), 2), 2);
  sim::setInt(Svc::VoiceIf, kUnit, 1, 300);
  sim::setInt(Svc::VoiceScalar, 0, 10, 6);
  sim::setInt(Svc::VoiceScalar, 0, 11, 40);
  EXPECT_EQ(fields(1), (U32s{0, 5, 46, 0, 1}));  // voice port unknown
  sim::setInt(Svc::VoiceIf, kUnit, 2, 1);
  EXPECT_EQ(fields(1), (U32s{300, 6, 40, 0, 1}));
  EXPECT_EQ(fields(2), (U32s{0, 5, 46, 0, 1}));
  setPolicy(1, 1, 5, 46, 100);  // no longer the default
  EXPECT_EQ(fields(1), (U32s{100, 5, 46, 0, 1}));
  setPolicy(1, 1, 5, 46, 0);
  sim::failObject(Svc::VoiceScalar, 0, 11);
  EXPECT_TRUE(fields(1).empty());
}

TEST_F(LocalTest, CapabilityMasksRefuseSmallBuffers) {
  using Fn = int (*)(uint32_t, uint8_t*, uint32_t*);
  const std::pair<Fn, std::vector<uint8_t>> cases[] = {
      {lldpDot1PortGetCapSupported, {0xF0}},
      {lldpDot3PortGetCapSupported, {0xF8}},
      {lldpDot3PortGetCapDfltEnabled, {0xF8}},
      {lldpMedPortGetCapDfltEnabled, {0x94, 0x00}},
      {lldpPrivPortGetCapSupported, {0xE0, 0x00}},
      {lldpPrivPortGetCapDfltEnabled, {0xC0, 0x00}},
      {[](uint32_t, uint8_t* b, uint32_t* l) { return lldpGetCapSupported(b, l); }, {0x28, 0x00}},
      {lldpMedPortGetCapSupported, {0xFC, 0x00}},
  };
  sim::setOctets(Svc::Scalar, 0, 129, {0xFC, 0x00});
  for (const auto& [fn, want] : cases) {
    uint8_t buf[4] = {0xAA, 0xAA, 0xAA, 0xAA};
    uint32_t len = static_cast<uint32_t>(want.size()) - 1;
    EXPECT_EQ(fn(kUnit, buf, &len), -1);
    EXPECT_EQ(buf[0], 0xAA);
    std::memset(buf, 0, sizeof(buf));
    len = sizeof(buf);
    EXPECT_EQ(fn(kUnit, buf, &len), 0);
    EXPECT_EQ(std::vector<uint8_t>(buf, buf + len), want);
  }
}

TEST_F(LocalTest, VlanNameAggregationAndFailureDefaults) {
  EXPECT_EQ(text([](uint32_t u, uint8_t* b, uint32_t* l) { return lldpDot1PortGetVlanName(u, 100, b, l); }),
            "vlan:100");
  uint8_t agg = 0x40;
  uint32_t len = 1;
  sim::setInt(Svc::If, kUnit, 235, 2);
  EXPECT_EQ(lldpDot3PortGetLinkAggStatus(kUnit, &agg, &len), 0);
  EXPECT_EQ(agg, 0x80);  // capable, not aggregated
  sim::setInt(Svc::If, kUnit, 235, 1);
  EXPECT_EQ(lldpDot3PortGetLinkAggStatus(kUnit, &agg, &len), 0);
  EXPECT_EQ(agg, 0xC0);
  uint32_t v = 9;
  EXPECT_EQ(lldpDot3PortGetLinkAggPortId(kUnit, &v), 0);  // unset object: -1
  EXPECT_EQ(v, 0u);
  EXPECT_EQ(lldpDot3PortGetAutoNegEnabled(kUnit, &v), 0);
  EXPECT_EQ(v, 2u);
}

}  // namespace
