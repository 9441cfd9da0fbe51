// Coordinate location codec: LCI vectors worked out by hand, the fixed-point
// limits, and how a text of any content is read. (The fuzz target checks
// that a text the agent writes reads back unchanged.)
#include "mgmt/lldp_location.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "tx/tx_test_port.h"

namespace {

using Bytes = std::vector<uint8_t>;

uint32_t encode(const std::string& t, Bytes* lci) {
  lci->assign(LLDP_LCI_LEN, 0xEE);
  return lldpLocationEncode(reinterpret_cast<const uint8_t*>(t.data()), static_cast<uint32_t>(t.size()),
                            lci->data());
}

std::string decode(const Bytes& lci) {
  char text[LLDP_LOC_TEXT_ROOM];
  const uint32_t n = lldpLocationDecode(lci.data(), text, sizeof text);
  return std::string(text, n);
}

// Each LCI worked bit by bit: resolution 34 puts 0x88 before the top two
// bits of latitude and longitude, octet 10 is 0x17 (meters) or 0x27
// (floors), octet 11 begins with the low bits 10 of resolution 30; values are
// sign and magnitude; an exact half of a fraction is 0111...1.
TEST(LocationCodec, HandWorkedVectors) {
  const struct {
    std::string text;
    const char* lci;
    std::string back;
  } rows[] = {
      {"north,35.5,east,139.25,meters,12.5,wgs84,", "88 46FFFFFF 89 167FFFFF 17 80 000C7F 01",
       "north,35.500000,east,139.250000,meters,12.5,wgs84,"},
      // Both hemispheres negative: the sign bit over the same magnitude.
      {"south,10.5,west,20.25,meters,3.5,wgs84,", "8A 14FFFFFF 8A 287FFFFF 17 80 00037F 01",
       "south,10.500000,west,20.250000,meters,3.5,wgs84,"},
      {"north,1,east,1,floors,-2,nad83-mllw,", "88 02000000 88 02000000 27 A0 000200 03",
       "north,1.000000,east,1.000000,floors,-2.0,nad83-mllw,"},
      // 0.75 m is 1011 1111; read back without bit 0 it is 0.7421875: "0.7".
      {"south,0.50,east,0.0,Floors,0.75,nad83,", "8A 00FFFFFF 88 00000000 27 80 0000BF 02",
       "south,0.500000,east,0.000000,floors,0.7,nad83,"},
      {"north,1.50000,east,2.50000,x,3.000,wgs84,", "88 02FFFFFF 88 04FFFFFF 27 80 000300 01",
       "north,1.500000,east,2.500000,floors,3.0,wgs84,"},
      // The largest magnitudes: 255 + 0x1FFFFDE / 2^25 degrees and
      // 0x1FFFFF + 0xE6 / 2^8, with the sign bit set beside them.
      {"south,255.999999,west,255.999999,meters,2097151.9,nad83,", "8B FFFFFFDE 8B FFFFFFDE 17 9F FFFFE6 02",
       "south,255.999999,west,255.999999,meters,2097151.9,nad83,"},
      {"north,0.000000,east,0.000000,meters,-0.0,wgs84,", "88 00000000 88 00000000 17 A0 000000 01",
       "north,0.000000,east,0.000000,meters,-0.0,wgs84,"},
  };
  for (const auto& r : rows) {
    Bytes lci;
    ASSERT_EQ(encode(r.text, &lci), 0u) << r.text;
    EXPECT_EQ(lci, txtest::hex(r.lci)) << r.text;
    EXPECT_EQ(decode(lci), r.back) << r.text;
  }
}

TEST(LocationCodec, FixedPointFields) {
  EXPECT_EQ(double2hex(0.5, 9, 25), 0xFFFFFFu) << "0 then 24 ones";
  EXPECT_EQ(double2hex(-1.0, 9, 25), (1ull << 33) | (1ull << 25)) << "sign and magnitude";
  EXPECT_EQ(double2hex(3.0, 22, 8), 0x300u);
  // Bit 0 is never read back; the two's complement reader counts it.
  EXPECT_EQ(hex2double((3ull << 25) | 1, 9, 25), 3.0);
  EXPECT_EQ(hex2double((1ull << 29) | (7ull << 8), 22, 8), -7.0);
  int negative = -1;
  const uint64_t minus1_5 = ((1ull << 34) - (3ull << 24)) & ((1ull << 34) - 1);
  EXPECT_EQ(lciFixedPrecision(minus1_5, 9, 25, &negative), 1.5);
  EXPECT_EQ(negative, 1);
  EXPECT_EQ(lciFixedPrecision((3ull << 25) | 1, 9, 25, &negative), 3.0 + 1.0 / (1 << 25));
  EXPECT_EQ(negative, 0);
  // A magnitude beyond the field keeps the field's bits, never more.
  EXPECT_EQ(double2hex(1e300, 9, 25) >> 34, 0u);
  EXPECT_EQ(double2hex(256.0, 9, 25), 1ull << 33) << "256 reaches the sign bit";
  EXPECT_EQ(double2hex(std::nan(""), 9, 25), 0u);
}

// Only the length refuses a text; every other field is read as far as it
// goes, and a field never reached keeps its starting value.
TEST(LocationCodec, AnyTextOfTheRightLengthIsReadFieldByField) {
  const std::string good = "north,35.5,east,139.25,meters,12.5,wgs84,";
  const std::string goodBack = "north,35.500000,east,139.250000,meters,12.5,wgs84,";
  const struct {
    std::string text, back;
  } rows[] = {
      // Hemisphere and east/west by their first letter: anything but s / w is north / east.
      {"up,35.5,left,139.25,meters,12.5,wgs84,", goodBack},
      {"S,35.5,Wx,139.25,meters,12.5,wgs84,x", "south,35.500000,west,139.250000,meters,12.5,wgs84,"},
      // A negative number under s flips back.
      {"south,-10,east,-20.25,meters,3.5,wgs84,xxxx", "north,10.000000,west,20.250000,meters,3.5,wgs84,"},
      // Numbers as strtod reads them: what follows is not looked at, none is 0.
      {"north,35.5x,east,139.25,meters,12.5 m,wgs84,", goodBack},
      {"north,,east,139.25,meters, ,wgs84,xxxxxxxxxx", "north,0.000000,east,139.250000,meters,0.0,wgs84,"},
      // The datum by its lower-case prefix; any other word is datum 0.
      {"north,35.5,east,139.25,meters,12.5,WGS84,", "north,35.500000,east,139.250000,meters,12.5,"},
      {"north,35.5,east,139.25,meters,12.5,nad83x,", "north,35.500000,east,139.250000,meters,12.5,nad83,"},
      // Missing commas: the fields never ended keep their starting values.
      {"north,35.5,east,139.25,meters,12.5,wgs84", "north,35.500000,east,139.250000,meters,12.5,"},
      {"north,35.5,east,139.25,meters12.5,wgs84,xx", "north,35.500000,east,139.250000,meters,0.0,"},
      {"north,35.5,east,139.25xxxxxxxxxxxxxxxxxxxx", "north,35.500000,east,0.000000,floors,0.0,"},
      // No range check: 300 degrees keeps the field's bits, its 256 in the sign.
      {"north,300,east,1,meters,1,wgs84,xxxx", "south,44.000000,east,1.000000,meters,1.0,wgs84,"},
      {"north,nan,east,inf,meters,1e300,wgs84,x", "north,0.000000,east,0.000000,meters,0.0,wgs84,"},
  };
  Bytes lci;
  for (const auto& r : rows) {
    ASSERT_EQ(encode(r.text, &lci), 0u) << r.text;
    EXPECT_EQ(decode(lci), r.back) << r.text;
  }
  EXPECT_EQ(encode("north,1,east,1,meters,1,wgs84,xxxxx", &lci), 22u) << "35 octets";
  EXPECT_EQ(encode(good + std::string(68 - good.size(), 'x'), &lci), 22u) << "68 octets";
  EXPECT_EQ(encode(good + std::string(67 - good.size(), 'x'), &lci), 0u) << "67 octets, tail ignored";
  EXPECT_EQ(encode("north,1,east,1,meters,1,wgs84,xxxxxx", &lci), 0u) << "36 octets";
  // The length bounds the scan: a last comma just past it is not seen.
  ASSERT_EQ(lldpLocationEncode(reinterpret_cast<const uint8_t*>(good.data()),
                               static_cast<uint32_t>(good.size() - 1), lci.data()),
            0u);
  EXPECT_EQ(decode(lci), "north,35.500000,east,139.250000,meters,12.5,");
}

}  // namespace

namespace {

TEST(LocationCodec, LciFieldsAreWhatTheTextPrints) {
  Bytes lci;
  ASSERT_EQ(encode("south,10.5,west,20.25,floors,3.5,nad83-mllw,", &lci), 0u);
  LldpLciFields f;
  lldpLocationFields(lci.data(), &f);
  EXPECT_LT(f.latitude, -10.49);
  EXPECT_GT(f.latitude, -10.51);
  EXPECT_LT(f.longitude, -20.24);
  EXPECT_EQ(f.altitudeType, 2u);
  EXPECT_EQ(f.datum, 3u);
  EXPECT_EQ(decode(lci), "south,10.500000,west,20.250000,floors,3.5,nad83-mllw,");
}

TEST(LocationCodec, CivicAddressElementsStopAtTheFirstThatDoesNotFit) {
  // Length 15: what 2, "DE", city "Berlin", house number "12".
  const Bytes civic = {15, 2, 'D', 'E', 3, 6, 'B', 'e', 'r', 'l', 'i', 'n', 19, 2, '1', '2', 0xAA};
  LldpCivic c;
  ASSERT_TRUE(lldpCivicDecode(civic.data(), static_cast<uint32_t>(civic.size()), &c));
  EXPECT_EQ(c.what, 2u);
  EXPECT_EQ(c.country, "DE");
  ASSERT_EQ(c.elements.size(), 2u);  // the octet after the LCI's own length is not read
  EXPECT_EQ(c.elements[0].value, "Berlin");
  EXPECT_STREQ(lldpCivicTypeName(c.elements[1].type), "house_number");
  // Cut inside the house number: the city is kept, the walk says so.
  EXPECT_FALSE(lldpCivicDecode(civic.data(), 15, &c));
  ASSERT_EQ(c.elements.size(), 1u);
  // A value length past the LCI's own length.
  Bytes bad = civic;
  bad[13] = 9;
  EXPECT_FALSE(lldpCivicDecode(bad.data(), static_cast<uint32_t>(bad.size()), &c));
  EXPECT_FALSE(lldpCivicDecode(civic.data(), 3, &c));
  EXPECT_EQ(lldpCivicTypeName(7), nullptr);
}

}  // namespace
