// Management address OID codec: the OIDs chosen per address family, byte
// vectors both ways, the two-byte limit per arc, and every refusal of the
// decoder (which must never read beyond the field it is given).
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "core/lldp_info.h"
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
    std::vector<uint8_t> out(2 * arcs.size() + 1, 0xEE);
    uint32_t len = 99;
    EXPECT_EQ(lldpOidBerEncode(arcs.data(), static_cast<uint32_t>(arcs.size()), out.data(), &len), 0);
    return Bytes(out.begin(), out.begin() + len);
  }
  // Decodes from a heap copy of exactly the field's bytes, so a read past
  // the end is caught by the sanitizer build. Empty when refused.
  Arcs decode(const Bytes& field, uint8_t* byteLen = nullptr) {
    std::unique_ptr<uint8_t[]> copy(new uint8_t[field.empty() ? 1 : field.size()]);
    if (!field.empty()) std::memcpy(copy.get(), field.data(), field.size());
    uint8_t n = 0xFF;
    uint32_t* arcs = lldpMgmtAddrDecodeOid(copy.get(), static_cast<uint32_t>(field.size()), &n);
    if (byteLen) *byteLen = n;
    if (arcs == nullptr) return {};
    Arcs out(arcs, arcs + n / 4);
    silFree(arcs);
    return out;
  }
};

TEST_F(OidTest, EncodesTheOidOfEachAddressFamily) {
  EXPECT_EQ(encode(1), (Bytes{0x06, 0x09, 0x2B, 0x06, 0x01, 0x02, 0x01, 0x04, 0x14, 0x01, 0x01}));
  EXPECT_EQ(encode(2),
            (Bytes{0x06, 0x0C, 0x2B, 0x06, 0x01, 0x04, 0x01, 0x09, 0x02, 0x8E, 0x0D, 0x04, 0x01, 0x02}));
  EXPECT_EQ(encode(6), (Bytes{0x06, 0x0A, 0x2B, 0x06, 0x01, 0x04, 0x01, 0x09, 0x01, 0x01, 0x01, 0x07}));
  EXPECT_EQ(encode(3), (Bytes{0x06, 0x00}));
  EXPECT_EQ(encode(0), (Bytes{0x06, 0x00}));
  // The enterprise number is the agent's, read at each call.
  gLldpInfo.enterpriseOid = 200;
  EXPECT_EQ(encode(6)[7], 0x81);
  EXPECT_EQ(encode(6)[8], 0x48);
}

TEST_F(OidTest, GetOidGivesArcsAndLeavesOutputsAloneForOtherFamilies) {
  uint32_t arcs[LLDP_OID_MAX_ARCS];
  uint32_t len = 0;
  EXPECT_EQ(lldpMgmtAddrGetOid(2, 0, nullptr, arcs, &len), 0);
  EXPECT_EQ(Arcs(arcs, arcs + len / 4), (Arcs{1, 3, 6, 1, 4, 1, 9, 2, 1805, 4, 1, 2}));
  std::memset(arcs, 0x5A, sizeof(arcs));
  len = 77;
  EXPECT_EQ(lldpMgmtAddrGetOid(16, 0, nullptr, arcs, &len), 0);
  EXPECT_EQ(len, 77u);
  EXPECT_EQ(arcs[0], 0x5A5A5A5Au);
}

TEST_F(OidTest, BerContentKeepsToTwoBytesAnArc) {
  EXPECT_EQ(ber({1, 3, 1805}), (Bytes{0x2B, 0x8E, 0x0D}));
  EXPECT_EQ(ber({1, 3, 127, 128}), (Bytes{0x2B, 0x7F, 0x81, 0x00}));
  EXPECT_EQ(ber({1, 3, 16383}), (Bytes{0x2B, 0xFF, 0x7F}));
  // 16384 and above wrap modulo 16384 rather than taking a third byte.
  EXPECT_EQ(ber({1, 3, 16384 + 5}), (Bytes{0x2B, 0x80, 0x05}));
  EXPECT_EQ(ber({2, 100}), (Bytes{0x81, 0x34}));  // 2*40+100 = 180
  EXPECT_EQ(ber({1}), Bytes{});
  EXPECT_EQ(ber({}), Bytes{});
}

TEST_F(OidTest, DecodesReceivedFields) {
  uint8_t n = 0;
  EXPECT_EQ(decode({0x06, 0x03, 0x2B, 0x06, 0x01}, &n), (Arcs{1, 3, 6, 1}));
  EXPECT_EQ(n, 16);
  EXPECT_EQ(decode({0x06, 0x01, 0x2B}), (Arcs{1, 3}));
  EXPECT_EQ(decode({0x06, 0x04, 0x2B, 0x8E, 0x0D, 0x05}), (Arcs{1, 3, 1805, 5}));
  for (uint32_t subtype : {1u, 2u, 6u}) {
    uint32_t arcs[LLDP_OID_MAX_ARCS];
    uint32_t len = 0;
    lldpMgmtAddrGetOid(subtype, 0, nullptr, arcs, &len);
    EXPECT_EQ(decode(encode(subtype)), Arcs(arcs, arcs + len / 4)) << subtype;
  }
  EXPECT_TRUE(sim::logLines().empty());
}

TEST_F(OidTest, RefusesMalformedFieldsWithTheirMessages) {
  const std::string badType = "unknown management address oid type";
  struct Case {
    Bytes field;
    std::string line;
  } cases[] = {
      {{0x07, 0x03, 0x2B, 0x06, 0x01}, "unknown management address oid type 7 ,length = 3\r\n"},
      {{0x06, 0x04, 0x2B, 0x06, 0x01}, "unknown management address oid type 6 ,length = 4\r\n"},
      {{0x06, 0x02, 0x2B, 0x06, 0x01}, "unknown management address oid type 6 ,length = 2\r\n"},
      {{0x06, 0xFF, 0x2B}, "unknown management address oid type 6 ,length = ff\r\n"},
      {{0x06}, "unknown management address oid type 6 ,length = 0\r\n"},
      {{}, "unknown management address oid type 0 ,length = 0\r\n"},
      {{0x06, 0x03, 0x2C, 0x06, 0x01}, "unknown management address oid  \r\n"},
      {{0x06, 0x00}, "unknown management address oid  \r\n"},
      // The second digit of the last arc is cut off.
      {{0x06, 0x03, 0x2B, 0x06, 0x8E}, "management address oid length error, 2 \r\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    sim::clearLogLines();
    EXPECT_TRUE(decode(c.field).empty());
    EXPECT_TRUE(sim::hasLine(c.line));
  }
  // The decoder's lines belong to received-frame debugging only.
  gLldpInfo.debugFlags = 0x100;
  sim::clearLogLines();
  EXPECT_TRUE(decode({0x07, 0x03, 0x2B, 0x06, 0x01}).empty());
  EXPECT_TRUE(sim::logLines().empty());
}

TEST_F(OidTest, DecoderSurvivesEveryOneByteCorruptionAndAllocationFailure) {
  const Bytes good = encode(2);
  for (size_t i = 0; i < good.size(); i++) {
    for (int v : {0x00, 0x06, 0x2B, 0x7F, 0x80, 0xFF}) {
      Bytes f = good;
      f[i] = static_cast<uint8_t>(v);
      Arcs a = decode(f);
      if (!a.empty()) {
        EXPECT_EQ(a[0], 1u);
        EXPECT_EQ(a[1], 3u);
        EXPECT_LE(a.size(), f.size());
      }
    }
  }
  size_t live = sim::liveAllocations();
  sim::failAllocation(1);
  EXPECT_TRUE(decode(good).empty());
  EXPECT_TRUE(sim::hasLine("alloc management address oid memory fail\r\n"));
  EXPECT_EQ(sim::liveAllocations(), live);
}

}  // namespace
