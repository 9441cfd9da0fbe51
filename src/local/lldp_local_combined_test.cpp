// The frame builder asks the combined PoE and policy providers once per
// frame; on a steady platform they must answer exactly what the single
// providers answer, for every PoE class and priority and every policy source.
#include <gtest/gtest.h>

#include <vector>

#include "base/lldp_info.h"
#include "local/lldp_local.h"
#include "platform/sim/sim.h"
#include "port/lldp_port.h"

namespace {

using sim::Svc;
constexpr uint32_t kUnit = 9;

std::vector<uint32_t> singlePoe() {
  std::vector<uint32_t> out;
  for (auto fn : {lldpDot3PortGetPowerMDISupported, lldpDot3PortGetPowerMDIEnabled,
                  lldpDot3PortGetPowerPairControlable, lldpDot3PortGetPowerPairs,
                  lldpDot3PortGetPowerClass, lldpMedPortGetPsePowerPriority,
                  lldpMedPortGetPsePowerValue}) {
    uint32_t v = 0xDEAD;
    fn(kUnit, &v);
    out.push_back(v);
  }
  return out;
}

std::vector<uint32_t> combinedPoe() {
  LldpPortPoe p{};
  EXPECT_EQ(lldpPortGetPoe(kUnit, &p), 0);
  return {p.mdiSupported, p.mdiEnabled, p.pairControlable, p.pairs,
          p.powerClass,   p.psePriority, p.psePowerValue};
}

TEST(LocalCombined, PoeAnswersEqualTheSingleProviders) {
  sim::reset();
  gLldpInfo = LldpInfo{};
  sim::addInterface(kUnit, "eth9", 9, {0, 1, 2, 3, 4, 5});
  std::vector<uint8_t> protos(48, 0);
  sim::setOctets(Svc::If, kUnit, 55, protos);  // no PoE
  EXPECT_EQ(combinedPoe(), singlePoe());

  protos[22] = 0x01;  // bit 183: PoE
  sim::setOctets(Svc::If, kUnit, 55, protos);
  sim::setInt(Svc::Poe, kUnit, 1, 1);
  sim::setInt(Svc::Poe, kUnit, 2, 1);
  sim::setInt(Svc::Poe, kUnit, 3, 2);
  for (uint32_t cls = 0; cls <= 10; ++cls) {
    for (uint32_t prio = 0; prio <= 4; ++prio) {
      sim::setInt(Svc::Poe, kUnit, 7, cls);
      sim::setInt(Svc::Poe, kUnit, 5, prio);
      EXPECT_EQ(combinedPoe(), singlePoe()) << "class " << cls << " priority " << prio;
    }
  }
  for (uint32_t obj : {1u, 2u, 3u, 5u, 7u}) sim::failObject(Svc::Poe, kUnit, obj);
  EXPECT_EQ(combinedPoe(), singlePoe());
}

TEST(LocalCombined, PolicyFieldsEqualTheSingleProviders) {
  sim::reset();
  gLldpInfo = LldpInfo{};
  LldpPort port{};
  port.unit = kUnit;
  port.medPolicy[0] = {1, 0, 1, 5, 46, 0};    // the voice default
  port.medPolicy[2] = {3, 1, 0, 7, 63, 4094};  // an ordinary policy
  auto singles = [&](uint32_t type) {
    std::vector<uint32_t> out;
    for (auto fn : {lldpMedPortGetPolicyVid, lldpMedPortGetPolicyPri, lldpMedPortGetPolicyDscp,
                    lldpMedPortGetPolicyUnknown, lldpMedPortGetPolicyTagged}) {
      uint32_t v = 0xDEAD;
      if (fn(&port, type, &v) != 0) return std::vector<uint32_t>{};
      out.push_back(v);
    }
    return out;
  };
  auto combined = [&](uint32_t type) {
    LldpMedPolicyFields f{};
    if (lldpMedPortGetPolicyFields(&port, type, &f) != 0) return std::vector<uint32_t>{};
    return std::vector<uint32_t>{f.vid, f.pri, f.dscp, f.unknown, f.tagged};
  };
  for (bool voicePort : {false, true}) {
    sim::setInt(Svc::VoiceIf, kUnit, 2, voicePort ? 1 : 2);
    sim::setInt(Svc::VoiceIf, kUnit, 1, 200);
    sim::setInt(Svc::VoiceScalar, 0, 10, 6);
    sim::setInt(Svc::VoiceScalar, 0, 11, 40);
    for (uint32_t type = 0; type <= 9; ++type)
      EXPECT_EQ(combined(type), singles(type)) << "type " << type << " voice " << voicePort;
  }
  EXPECT_EQ(combined(1), (std::vector<uint32_t>{200, 6, 40, 0, 1}));  // from the voice service
  EXPECT_EQ(combined(3), (std::vector<uint32_t>{4094, 7, 63, 1, 0}));
}

}  // namespace
