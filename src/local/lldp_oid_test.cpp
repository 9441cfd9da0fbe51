// Management address OID codec: byte vectors both ways, the two-byte limit
// per arc, and the decoder's refusals (it never reads beyond its field).
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "base/lldp_info.h"
#include "local/lldp_oid.h"
#include "platform/sil.h"
#include "platform/sim/sim.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Arcs = std::vector<uint32_t>;

class OidTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sim::reset();
    gLldpInfo = LldpInfo{};
    gLldpInfo.enterpriseOid = 9;
    gLldpInfo.debugFlags = 0x1;
  }
  Bytes encode(uint32_t subtype) {
    uint8_t out[LLDP_OID_WIRE_MAX];
    uint32_t len = 0;
    EXPECT_EQ(lldpMgmtAddrEncodeOid(subtype, 6, nullptr, out, &len), 0);
    return Bytes(out, out + len);
  }
  Bytes ber(const Arcs& arcs) {
    Bytes out(2 * arcs.size() + 1);
    uint32_t len = 99;
    lldpOidBerEncode(arcs.data(), static_cast<uint32_t>(arcs.size()), out.data(), &len);
    return Bytes(out.begin(), out.begin() + len);
  }
  // Decodes from a heap block of exactly the field's size, so that a read
  // past it shows in the sanitizer build. Empty when refused.
  Arcs decode(const Bytes& field) {
    std::unique_ptr<uint8_t[]> copy(new uint8_t[field.empty() ? 1 : field.size()]);
    if (!field.empty()) std::memcpy(copy.get(), field.data(), field.size());
    uint8_t n = 0;
    uint32_t* arcs = lldpMgmtAddrDecodeOid(copy.get(), static_cast<uint32_t>(field.size()), &n);
    if (arcs == nullptr) return {};
    Arcs out(arcs, arcs + n / 4);
    silFree(arcs);
    return out;
  }
};

TEST_F(OidTest, EncodesEachFamilyAndKeepsToTwoBytesAnArc) {
  EXPECT_EQ(encode(1), (Bytes{0x06, 0x09, 0x2B, 0x06, 0x01, 0x02, 0x01, 0x04, 0x14, 0x01, 0x01}));
  EXPECT_EQ(encode(2),
            (Bytes{0x06, 0x0C, 0x2B, 0x06, 0x01, 0x04, 0x01, 0x09, 0x02, 0x8E, 0x0D, 0x04, 0x01, 0x02}));
  EXPECT_EQ(encode(6), (Bytes{0x06, 0x0A, 0x2B, 0x06, 0x01, 0x04, 0x01, 0x09, 0x01, 0x01, 0x01, 0x07}));
  EXPECT_EQ(encode(3), (Bytes{0x06, 0x00}));
  EXPECT_EQ(ber({1, 3, 127, 128, 16383}), (Bytes{0x2B, 0x7F, 0x81, 0x00, 0xFF, 0x7F}));
  EXPECT_EQ(ber({1, 3, 16384 + 5}), (Bytes{0x2B, 0x80, 0x05}));  // modulo 16384
  EXPECT_EQ(ber({2, 100}), (Bytes{0x81, 0x34}));
  EXPECT_EQ(ber({1}), Bytes{});
  // Other families leave the GetOid outputs as they were.
  uint32_t arcs[LLDP_OID_MAX_ARCS] = {77};
  uint32_t len = 77;
  EXPECT_EQ(lldpMgmtAddrGetOid(16, 0, nullptr, arcs, &len), 0);
  EXPECT_EQ(len, 77u);
  EXPECT_EQ(arcs[0], 77u);
}

TEST_F(OidTest, DecodesReceivedFieldsAndOwnEncodings) {
  EXPECT_EQ(decode({0x06, 0x03, 0x2B, 0x06, 0x01}), (Arcs{1, 3, 6, 1}));
  EXPECT_EQ(decode({0x06, 0x04, 0x2B, 0x8E, 0x0D, 0x05}), (Arcs{1, 3, 1805, 5}));
  for (uint32_t subtype : {1u, 2u, 6u}) {
    uint32_t arcs[LLDP_OID_MAX_ARCS];
    uint32_t len = 0;
    lldpMgmtAddrGetOid(subtype, 0, nullptr, arcs, &len);
    EXPECT_EQ(decode(encode(subtype)), Arcs(arcs, arcs + len / 4)) << subtype;
  }
  EXPECT_TRUE(sim::logLines().empty());
}

TEST_F(OidTest, RefusesMalformedFieldsWithTheirLines) {
  const std::pair<Bytes, const char*> cases[] = {
      {{0x07, 0x03, 0x2B, 0x06, 0x01}, "unknown management address oid type 7 ,length = 3\r\n"},
      {{0x06, 0x04, 0x2B, 0x06, 0x01}, "unknown management address oid type 6 ,length = 4\r\n"},
      {{0x06, 0xFF, 0x2B}, "unknown management address oid type 6 ,length = ff\r\n"},
      {{0x06}, "unknown management address oid type 6 ,length = 0\r\n"},
      {{}, "unknown management address oid type 0 ,length = 0\r\n"},
      {{0x06, 0x03, 0x2C, 0x06, 0x01}, "unknown management address oid  \r\n"},
      {{0x06, 0x00}, "unknown management address oid  \r\n"},
      {{0x06, 0x03, 0x2B, 0x06, 0x8E}, "management address oid length error, 2 \r\n"},
  };
  for (const auto& [field, line] : cases) {
    sim::clearLogLines();
    EXPECT_TRUE(decode(field).empty()) << line;
    EXPECT_TRUE(sim::hasLine(line)) << line;
  }
  gLldpInfo.debugFlags = 0x100;  // the lines belong to received-frame debugging
  sim::clearLogLines();
  EXPECT_TRUE(decode({0x07, 0x03, 0x2B}).empty());
  EXPECT_TRUE(sim::logLines().empty());
}

TEST_F(OidTest, AllocationFailureIsRefusedWithoutLeak) {
  const Bytes good = encode(2);
  size_t live = sim::liveAllocations();
  sim::failAllocation(1);
  EXPECT_TRUE(decode(good).empty());
  EXPECT_TRUE(sim::hasLine("alloc management address oid memory fail\r\n"));
  EXPECT_EQ(sim::liveAllocations(), live);
}

}  // namespace
