#include "base/number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace kova::base {
namespace {

TEST(Number, LeadingNumberReadsAsFarAsItMakesOne) {
  struct Case {
    std::string text;
    double value;
  };
  const Case cases[] = {
      {"12abc", 12},   {"", 0},       {"abc", 0},     {"  7", 7},    {"1 615 198", 1615198},
      {"-3.5x", -3.5}, {"+4", 4},     {"+-4", 0},     {"--4", 0},    {".5", 0.5},
      {"5.", 5},       {".", 0},      {"-", 0},       {"2e3", 2000}, {"2e", 2},
      {"2e+", 2},      {"inf", 0},    {"nan", 0},     {"-inf", 0},   {"1.2.3", 1.2},
      {"0x10", 0},     {"1e-999", 0}, {"60\r\n", 60},
  };
  for (const Case& c : cases) EXPECT_EQ(leadingNumber(c.text), c.value) << c.text;
}

TEST(Number, NumbersBeyondADouble) {
  EXPECT_TRUE(std::isinf(leadingNumber("1e999")));
  EXPECT_TRUE(std::isinf(leadingNumber("1e99999999999999999999")));
  EXPECT_TRUE(std::isinf(leadingNumber(std::string(400, '9'))));
  EXPECT_TRUE(std::isinf(leadingNumber("-1e999")));
  EXPECT_EQ(leadingNumber("1e-99999999999999999999"), 0);
  EXPECT_EQ(leadingNumber("0." + std::string(400, '0') + "1"), 0);
}

TEST(Number, WholeNumberRoundsHalvesToEven) {
  EXPECT_EQ(wholeNumber("2.5"), 2);
  EXPECT_EQ(wholeNumber("3.5 min"), 4);
  EXPECT_EQ(wholeNumber("-0.5"), 0);
  EXPECT_EQ(wholeNumber("words"), 0);
}

TEST(Number, WholeNumberThatDoesNotFitIsEmpty) {
  EXPECT_FALSE(wholeNumber("9223372036854775808"));
  EXPECT_FALSE(wholeNumber("1e999"));
  EXPECT_FALSE(wholeNumber("-1e30"));
  EXPECT_FALSE(wholeNumber(std::string(100000, '9')));
}

TEST(Number, HexNumberTakesNothingBesideDigits) {
  EXPECT_EQ(hexNumber("2F"), 0x2Fu);
  EXPECT_EQ(hexNumber("ffffffff"), 0xFFFFFFFFu);
  for (const char* bad : {"", "g", "2g", "0x2", "-1", "+1", " 1", "1 ", "100000000"}) {
    EXPECT_FALSE(hexNumber(bad)) << bad;
  }
}

TEST(Number, PaddedKeepsLongerNumbers) {
  EXPECT_EQ(padded(7, 2), "07");
  EXPECT_EQ(padded(123, 2), "123");
  EXPECT_EQ(padded(0, 4), "0000");
  EXPECT_EQ(padded(-5, 2), "-05");
}

}  // namespace
}  // namespace kova::base
