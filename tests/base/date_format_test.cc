#include "base/date_format.h"

#include <gtest/gtest.h>

namespace kova::base {
namespace {

TEST(DateFormat, ParsesEveryForm) {
  struct Case {
    std::string text;
    DateTime value;
  };
  const Case cases[] = {
      {"2005/03/14", {2005, 3, 14, 0, 0, 0}},
      {"2005/03/14 09:30", {2005, 3, 14, 9, 30, 0}},
      {" 2005/03/14", {2005, 3, 14, 0, 0, 0}},
      {"2005/03/14   23:59:59  ", {2005, 3, 14, 23, 59, 59}},
      {"2005/03/14 12:00 AM", {2005, 3, 14, 0, 0, 0}},
      {"2005/03/14 12:00 PM", {2005, 3, 14, 12, 0, 0}},
      {"3/14/2005 9:05:07 pm", {2005, 3, 14, 21, 5, 7}},
      {"03/14/2005", {2005, 3, 14, 0, 0, 0}},
      {"2005-03-14 00:00", {2005, 3, 14, 0, 0, 0}},
      {"2004/02/29", {2004, 2, 29, 0, 0, 0}},
      {"2000/02/29", {2000, 2, 29, 0, 0, 0}},
      {"4501-01-01", {4501, 1, 1, 0, 0, 0}},
      {"2005/03/14  9:30", {2005, 3, 14, 9, 30, 0}},
  };
  for (const Case& c : cases) EXPECT_EQ(parseDate(c.text), c.value) << c.text;
}

TEST(DateFormat, KnowsWhatAPersonTypesForATime) {
  for (const char* good : {"07:30", "7:5", " 7:30 ", "23:59:59", "7:30 PM", "7:30pm", "12:00 am", "7 PM",
                           "00:00", "3/14/2005 7:30", "2005-03-14 07:30 PM", "3/14/2005"}) {
    EXPECT_TRUE(isDateOrTime(good)) << good;
  }
  for (const char* bad :
       {"", " ", "7", "24:00", "7:60", "7:", ":30", "7:30 XM", "13 PM", "0730", "7.30", "7:30:60", "seven",
        "7:30 tomorrow", "blank", "2/30/2005 7:30", "-7:30", "007:30"}) {
    EXPECT_FALSE(isDateOrTime(bad)) << bad;
  }
}

TEST(DateFormat, RefusesWhatIsNoDate) {
  for (const char* bad : {"",
                          " ",
                          "2005/03/14 24:60",
                          "2005/03/14 24:00",
                          "2005/03/14 09:60",
                          "2005/03/14 09:30:60",
                          "2005/02/29",
                          "1900/02/29",
                          "2005/04/31",
                          "2005/00/10",
                          "2005/13/10",
                          "2005/10/00",
                          "2005/03/14x",
                          "2005/03/14 x",
                          "2005/03/14 09",
                          "2005/03/14 09:",
                          "2005/03/14 :30",
                          "2005/03/1409:30",
                          "2005/03",
                          "2005/03/ 09:30",
                          "20ab/cd/ef gh:ij",
                          "20 5/03/14 09:30",
                          "05/03/14",
                          "2005/03-14",
                          "14-03-2005",
                          "13/45/2005",
                          "-2005/03/14",
                          "2005/+3/14",
                          "2005/03/14 13:00 PM",
                          "2005/03/14 09:30 XM",
                          "12005/03/14",
                          "2005/003/14",
                          "99999999999999999999/1/1",
                          "2005/03/14 09:30 AM AM",
                          "//",
                          "09:30"}) {
    EXPECT_FALSE(parseDate(bad)) << bad;
  }
}

TEST(DateFormat, ArithmeticCrossesMonthsYearsAndTheEpoch) {
  EXPECT_EQ(addDays({2005, 2, 28, 9, 30, 1}, 1), (DateTime{2005, 3, 1, 9, 30, 1}));
  EXPECT_EQ(addDays({2004, 2, 28, 0, 0, 0}, 1), (DateTime{2004, 2, 29, 0, 0, 0}));
  EXPECT_EQ(addDays({2005, 12, 31, 0, 0, 0}, 31), (DateTime{2006, 1, 31, 0, 0, 0}));
  EXPECT_EQ(addDays({1970, 1, 1, 0, 0, 0}, -1), (DateTime{1969, 12, 31, 0, 0, 0}));
  EXPECT_EQ(weekday({2005, 3, 13, 0, 0, 0}), 0);
  EXPECT_EQ(weekday({2005, 3, 19, 23, 59, 59}), 6);
  EXPECT_EQ(wallSeconds({1970, 1, 2, 0, 0, 1}), 86401);
  for (const DateTime& t : {DateTime{2005, 3, 14, 9, 30, 15}, DateTime{1969, 12, 31, 23, 59, 59},
                            DateTime{4501, 1, 1, 0, 0, 0}}) {
    EXPECT_EQ(fromWallSeconds(wallSeconds(t)), t);
  }
  EXPECT_EQ(dateOf({2005, 3, 14, 9, 30, 15}), (DateTime{2005, 3, 14, 0, 0, 0}));
}

TEST(DateFormat, Texts) {
  const DateTime t{2005, 3, 4, 9, 5, 7};
  EXPECT_EQ(yyyy_mm_dd(t), "2005/03/04");
  EXPECT_EQ(mm_dd_yy(t), "03/04/05");
  EXPECT_EQ(mm_dd(t), "03/04");
  EXPECT_EQ(mm_dd_hh_nn(t), "03-04 09:05");
  EXPECT_EQ(shortTime(t), "09:05");
  EXPECT_EQ(logStamp(t), "05-03-04 09:05:07 ");
  EXPECT_EQ(generalDate(t), "3/4/2005 9:05:07 AM");
  EXPECT_EQ(generalDate({4501, 1, 1, 0, 0, 0}), "1/1/4501");
  EXPECT_EQ(generalDate({2005, 3, 4, 0, 0, 1}), "3/4/2005 12:00:01 AM");
  EXPECT_EQ(generalDate({2005, 3, 4, 12, 0, 0}), "3/4/2005 12:00:00 PM");
  EXPECT_EQ(generalDate({2005, 3, 4, 23, 59, 0}), "3/4/2005 11:59:00 PM");
}

TEST(DateFormat, Rfc1123) {
  EXPECT_EQ(Rfc1123Date({1994, 11, 6, 8, 49, 37}), "Sun, 06 Nov 1994 08:49:37 GMT");
  EXPECT_EQ(Rfc1123Date({2000, 2, 29, 0, 0, 0}), "Tue, 29 Feb 2000 00:00:00 GMT");
  EXPECT_EQ(Rfc1123Date({2026, 12, 31, 23, 59, 59}), "Thu, 31 Dec 2026 23:59:59 GMT");
}

}  // namespace
}  // namespace kova::base
