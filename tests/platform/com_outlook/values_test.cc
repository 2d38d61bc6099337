#include "platform/com_outlook/values.h"
#include "platform/windows_api/utf16.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace kova::platform::com_outlook {

namespace {

TEST(Values, DatesCountDaysAndTimesOfDay) {
  const struct {
    DateTime time;
    double date;
  } kCases[] = {
      {{1899, 12, 30, 0, 0, 0}, 0},
      {{1899, 12, 30, 6, 0, 0}, 0.25},
      {{1899, 12, 31, 6, 0, 0}, 1.25},
      {{1899, 12, 29, 0, 0, 0}, -1},
      {{1899, 12, 29, 18, 0, 0}, -1.75},  // the time counts forwards
      {{1899, 12, 28, 23, 59, 59}, -2 - 86399.0 / 86400},
      {{2005, 3, 14, 9, 30, 0}, 38425 + 9.5 / 24},
      {{4501, 1, 1, 0, 0, 0}, 949998},
      {{100, 1, 1, 12, 0, 0}, -657434.5},
      {{9999, 12, 31, 23, 59, 59}, 2958465 + 86399.0 / 86400},
  };
  for (const auto& c : kCases) {
    const auto date = toDate(c.time);
    ASSERT_TRUE(date) << c.date;
    EXPECT_DOUBLE_EQ(*date, c.date);
    EXPECT_EQ(fromDate(c.date), c.time) << c.date;
  }
}

TEST(Values, DatesAreRoundedToTheSecond) {
  constexpr double kSecond = 1.0 / 86400;
  EXPECT_EQ(fromDate(38425 + 0.4 * kSecond), (DateTime{2005, 3, 14, 0, 0, 0}));
  EXPECT_EQ(fromDate(38425 - 0.4 * kSecond), (DateTime{2005, 3, 14, 0, 0, 0}));
  EXPECT_EQ(fromDate(38425 - 0.6 * kSecond), (DateTime{2005, 3, 13, 23, 59, 59}));
  EXPECT_EQ(fromDate(-2 + 0.4 * kSecond),
            (DateTime{1899, 12, 30, 0, 0, 0}));  // -1.99..., the end of the 29th
  EXPECT_EQ(fromDate(-0.25), (DateTime{1899, 12, 30, 6, 0, 0}));
}

TEST(Values, WhatIsNoDate) {
  for (const double date : {2958466.0, 2958466.0 - 1e-7, -657435.0, 1e300, -1e300,
                            std::numeric_limits<double>::infinity(), std::nan("")}) {
    EXPECT_EQ(fromDate(date), std::nullopt) << date;
  }
  for (const DateTime& time : {DateTime{99, 12, 31, 0, 0, 0}, DateTime{10000, 1, 1, 0, 0, 0},
                               DateTime{2005, 2, 29, 0, 0, 0}, DateTime{2005, 1, 1, 24, 0, 0}}) {
    EXPECT_EQ(toDate(time), std::nullopt) << time.year;
  }
}

TEST(Values, DatesAsTheSystemReadsThem) {
  std::mt19937 random(5);
  const auto upTo = [&](int limit) { return std::uniform_int_distribution(0, limit)(random); };
  for (int i = 0; i < 5000; ++i) {
    const DateTime time{1601 + upTo(4000), 1 + upTo(11), 1 + upTo(27), upTo(23), upTo(59), upTo(59)};
    const auto date = toDate(time);
    ASSERT_TRUE(date);
    SYSTEMTIME system{};
    ASSERT_TRUE(VariantTimeToSystemTime(*date, &system));
    EXPECT_EQ(time, (DateTime{system.wYear, system.wMonth, system.wDay, system.wHour, system.wMinute,
                              system.wSecond}));
    EXPECT_EQ(fromDate(*date), time);
  }
}

TEST(Values, Texts) {
  EXPECT_EQ(windows_api::toUtf16("Grüße €\xf0\x9f\x98\x80"), L"Grüße €\xD83D\xDE00");
  EXPECT_EQ(windows_api::toUtf8(L"Grüße €\xD83D\xDE00"), "Grüße €\xf0\x9f\x98\x80");
  EXPECT_EQ(windows_api::toUtf8(std::wstring(L"a\0b", 3)), std::string("a\0b", 3));
  EXPECT_EQ(windows_api::toUtf8(L"<\xD83D>"), "<\xef\xbf\xbd>");
  EXPECT_EQ(windows_api::toUtf8(L"<\xDE00\xD83D"), "<\xef\xbf\xbd\xef\xbf\xbd");
  EXPECT_EQ(windows_api::toUtf16("<\xff>"), L"<\xFFFD>");
  EXPECT_EQ(windows_api::toUtf16(""), L"");
  EXPECT_EQ(windows_api::toUtf8({}), "");
}

Variant ofType(VARTYPE type) {
  Variant value;
  value.raw().vt = type;
  return value;
}

TEST(Values, WhatIsMissingIsAnEmptyTextAndNothingElse) {
  Variant parameter = ofType(VT_ERROR);
  parameter.raw().scode = DISP_E_PARAMNOTFOUND;
  Variant failure = ofType(VT_ERROR);
  failure.raw().scode = E_FAIL;
  const Variant empty = ofType(VT_EMPTY);
  const Variant null = ofType(VT_NULL);
  for (const Variant* value : {&std::as_const(parameter), &empty, &null}) {
    EXPECT_EQ(value->text(), "");
    EXPECT_EQ(value->number(), std::nullopt);
    EXPECT_EQ(value->flag(), std::nullopt);
    EXPECT_EQ(value->date(), std::nullopt);
    EXPECT_TRUE(value->object() && !*value->object());
  }
  EXPECT_EQ(failure.text(), std::nullopt);
  EXPECT_EQ(failure.object().has_value(), false);

  EXPECT_EQ(ofType(VT_BSTR).text(), "");                                        // a null pointer
  EXPECT_TRUE(ofType(VT_DISPATCH).object() && !*ofType(VT_DISPATCH).object());  // Nothing
}

TEST(Values, ReadAsInEnglish) {
  // Where a decimal point is a comma, "1.5" is fifteen.
  EXPECT_EQ(Variant("1.5").number(), 2);
  EXPECT_EQ(Variant("1,500").number(), 1500);
  EXPECT_EQ(Variant("3/14/2005 9:30:00 PM").date(), (DateTime{2005, 3, 14, 21, 30, 0}));
  EXPECT_EQ(Variant("True").flag(), true);
  EXPECT_EQ(Variant("Monday").number(), std::nullopt);
  EXPECT_EQ(Variant("Monday").date(), std::nullopt);

  Variant number = ofType(VT_R8);
  number.raw().dblVal = 1e10;
  EXPECT_EQ(number.number(), std::nullopt);
  number.raw().dblVal = -2.5;
  EXPECT_EQ(number.number(), -2);
  EXPECT_EQ(number.flag(), true);
  EXPECT_EQ(number.text(), "-2.5");
}

TEST(Values, GoThereAndBack) {
  EXPECT_EQ(Variant("Später").text(), "Später");
  EXPECT_EQ(Variant("").text(), "");
  EXPECT_EQ(Variant(-2147483647L).number(), -2147483647L);
  EXPECT_EQ(Variant(true).raw().boolVal, VARIANT_TRUE);
  EXPECT_EQ(Variant(DateTime{1850, 1, 2, 3, 4, 5}).date(), (DateTime{1850, 1, 2, 3, 4, 5}));
  EXPECT_EQ(Variant(DateTime{2005, 2, 30, 0, 0, 0}).raw().vt, VT_ERROR);
}

}  // namespace

}  // namespace kova::platform::com_outlook
