#include "wml/parameters.h"

#include <gtest/gtest.h>

namespace kova::wml {
namespace {

using Fields = std::vector<std::string>;

TEST(Parameters, SplitFields) {
  constexpr std::string_view kSeparators[] = {"&dat=", "&tim=", "&pin="};
  struct Case {
    std::string parameters;
    Fields fields;
  };
  const Case cases[] = {
      {"caltp=Lunch&dat=050314&tim=0930&pin=1", {"Lunch", "050314", "0930", "1"}},
      {"contp=Lunch&dat=050314&tim=0930&pin=1", {"Lunch", "050314", "0930", "1"}},
      {"??????Lunch&dat=050314&tim=0930&pin=1", {"Lunch", "050314", "0930", "1"}},
      {"caltp=&dat=&tim=&pin=", {"", "", "", ""}},
      {"", {"  ", " ", "", ""}},
      {"caltp", {"", "", "", ""}},
      {"caltp=Lunch", {"", "", "", ""}},
      {"caltp=Lunch&dat=1&pin=3", {"Lunch", "", "", ""}},
      {"caltp=a&tim=2&dat=1&pin=3", {"a&tim=2", "", "", ""}},  // out of order
      {"caltp=a=b&c&dat=x&tim=&&pin=1&pin=2", {"a=b&c", "x", "&", "1&pin=2"}},
  };
  for (const Case& c : cases) EXPECT_EQ(splitFields(c.parameters, kSeparators), c.fields) << c.parameters;
}

TEST(Parameters, ItemPositionIsTwoCharacters) {
  EXPECT_EQ(itemPosition("contp=07"), "07");
  EXPECT_EQ(itemPosition("contp=7"), "7");
  EXPECT_EQ(itemPosition("caltp=123"), "12");
  EXPECT_EQ(itemPosition("caltp="), "");
  EXPECT_EQ(itemPosition("x"), "");
  EXPECT_EQ(itemPosition(""), "  ");
}

TEST(Parameters, CalendarFieldsByTheirPlaces) {
  struct Case {
    std::string parameters;
    std::string viewType;
    std::string date;
  };
  const Case cases[] = {
      {"caltp=W&dat=03/14", "W", "03/14/2005"},
      {"caltp=D&dat=03%2F14", "D", "03/14/2005"},
      {"caltp=D&dat=03%2f14", "D", "03/14/2005"},
      {"caltp=D&dat=03-14", "D", "03/14/2005"},
      {"caltp=D&dat=03/14/2006", "D", "03/14/2005"},
      {"caltp=D&dat=3/14", "D", "3//4/2005"},
      {"caltp=D&dat=03%20", "D", "03//2005"},
      {"%", "", "//2005"},
      {"caltp=", "", "//2005"},
      {"caltp=D", "D", "//2005"},
      {"caltp=D%2F", "D", "=D//2005"},
      {"", "  ", " "},
  };
  for (const Case& c : cases) {
    const CalendarFields fields = calendarFields(c.parameters, 2005);
    EXPECT_EQ(fields.viewType, c.viewType) << c.parameters;
    EXPECT_EQ(fields.date, c.date) << c.parameters;
  }
}

}  // namespace
}  // namespace kova::wml
