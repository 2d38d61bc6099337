#include <algorithm>

#include "pages_fixture.h"

namespace kova::wml {
namespace {

class Calendar : public PagesTest {
 protected:
  static std::string opening() {
    return std::string(kTop) + "<wml>\n<card id=\"s1b1\" title=\"Online Calendar\">\n" + kBack;
  }
  static constexpr const char* kClosing =
      "<a href=\"/ocal\">Back</a> <a href=\"/\">Main</a> <a href=\"/oabt\">About</a><br/>\n"
      "</p></card>\n"
      "</wml>\n";

  std::string get(const std::string& viewType, const std::string& date) {
    pages.Get_ocal(kPath, viewType, date);
    return deck();
  }
  std::ptrdiff_t restrictions() const {
    return std::count_if(outlook.calls.begin(), outlook.calls.end(),
                         [](const std::string& call) { return call.starts_with("restrict"); });
  }
};

TEST_F(Calendar, WholeDay) {
  OutlookRecord lunch = appointmentRecord("Lunch & <more>", {2005, 3, 14, 12, 0, 0}, {2005, 3, 14, 13, 5, 0});
  lunch.texts[TextProperty::kLocation] = "Joe's";
  lunch.texts[TextProperty::kBody] = "Bring $5\r\nsecond line";
  folder(FolderNumber::kCalendar) = {
      lunch,
      appointmentRecord("Holiday", {2005, 3, 14, 0, 0, 0}, {2005, 3, 15, 0, 0, 0}, true),
      appointmentRecord("Night shift", {2005, 3, 13, 22, 0, 0}, {2005, 3, 14, 6, 0, 0}),
      appointmentRecord("Fair", {2005, 3, 12, 0, 0, 0}, {2005, 3, 20, 0, 0, 0}, true),
      appointmentRecord("Ends at midnight", {2005, 3, 13, 22, 0, 0}, {2005, 3, 14, 0, 0, 0}),
      appointmentRecord("Tomorrow", {2005, 3, 15, 0, 0, 0}, {2005, 3, 15, 1, 0, 0}),
  };
  EXPECT_EQ(deckOf(&Pages::Query_ocal, "caltp=D&dat=03/14"),
            opening() +
                "<p><i>1 day schedule:</i><br/>\n"
                "All day<br/>Fair<br/>\n"
                "22:00 - 06:00<br/>Night shift<br/>\n"
                "<u>For 03/14/05:</u>All day<br/>Holiday<br/>"
                "12:00 - 13:05<br/>Lunch &amp; &lt;more&gt; (Joe&apos;s)<br/>Bring $$5<br/>\n" +
                kClosing);
  EXPECT_EQ(tagFault(deck()), "");
}

TEST_F(Calendar, AsksTheFolderOnceAndFiltersByMidnights) {
  get("D", "12/31/2005");
  EXPECT_EQ(outlook.calls,
            (std::vector<std::string>{
                "createObject Outlook.Application", "getNamespace MAPI", "getDefaultFolder 9", "items",
                "sort [Start]", "setIncludeRecurrences true",
                "restrict [Start] < \"2005/12/31 12:00 AM\" AND [End] > \"2005/12/31 12:00 AM\"",
                "restrict [Start] >= \"2005/12/31 12:00 AM\" AND [Start] < \" 2006/01/01 12:00 AM\""}));
}

TEST_F(Calendar, BodyLine) {
  struct Case {
    std::string body;
    std::string shown;
  };
  const Case cases[] = {
      {"", "<br/>"},
      {"one line", "<br/>one line<br/>"},
      {"first\r\nsecond", "<br/>first<br/>"},
      {"\r\nsecond", "<br/><br/>"},
      {std::string(2500, 'x'), "<br/>" + std::string(2500, 'x') + "<br/>"},
  };
  folder(FolderNumber::kCalendar) = {appointmentRecord("S", {2005, 3, 14, 9, 0, 0}, {2005, 3, 14, 9, 30, 0})};
  for (const Case& c : cases) {
    folder(FolderNumber::kCalendar)[0].texts[TextProperty::kBody] = c.body;
    EXPECT_EQ(line(get("D", "03/14/2005"), 8), "<u>For 03/14/05:</u>09:00 - 09:30<br/>S" + c.shown);
  }
}

TEST_F(Calendar, WeekIsSevenDaysAndMonthThirtyTwo) {
  // An appointment every day from 1 March on.
  for (int i = 0; i < 40; ++i) {
    const base::DateTime start = base::addDays({2005, 3, 1, 9, 0, 0}, i);
    folder(FolderNumber::kCalendar).push_back(appointmentRecord("S", start, start));
  }
  const auto blocks = [](const std::string& from, int days) {
    std::string text;
    const auto first = base::parseDate(from);
    for (int i = 0; i < days; ++i) {
      text += "<u>For " + base::mm_dd_yy(base::addDays(*first, i)) + ":</u>09:00 - 09:00<br/>S<br/>\n";
    }
    return text;
  };
  EXPECT_EQ(deckOf(&Pages::Query_ocal, "caltp=W&dat=03%2F02"),
            opening() + "<p><i>1 week schedule:</i><br/>\n" + blocks("2005/03/02", 7) + kClosing);
  EXPECT_EQ(restrictions(), 14);
  EXPECT_EQ(deckOf(&Pages::Query_ocal, "caltp=M&dat=03/03"),
            opening() + "<p><i>1 month schedule:</i><br/>\n" + blocks("2005/03/03", 32) + kClosing);
  EXPECT_EQ(get("", "03/01/2005"), opening() + "<p><i>1 day schedule:</i><br/>\n" + blocks("2005/03/01", 1) +
                                       "<p><i>1 week schedule:</i><br/>\n" + blocks("2005/03/01", 7) +
                                       "<p><i>1 month schedule:</i><br/>\n" + blocks("2005/03/01", 32) +
                                       kClosing);
}

TEST_F(Calendar, ViewTypes) {
  struct Case {
    std::string viewTypes;
    std::string heading;
  };
  const Case cases[] = {{"DJdj", "<p><i>1 day schedule:</i><br/>\n"},
                        {"SWsw", "<p><i>1 week schedule:</i><br/>\n"},
                        {"Mm", "<p><i>1 month schedule:</i><br/>\n"},
                        {"XY1&", ""}};
  for (const Case& c : cases) {
    for (const char viewType : c.viewTypes) {
      EXPECT_EQ(deckOf(&Pages::Query_ocal, std::string("caltp=") + viewType + "&dat=03/14"),
                opening() + c.heading + kClosing)
          << viewType;
    }
  }
}

TEST_F(Calendar, WithoutParameters) {
  EXPECT_EQ(deckOf(&Pages::Query_ocal, ""), opening() + "<p>no parameters sent<br/>\n" + kClosing);
  EXPECT_TRUE(outlook.calls.empty());
}

TEST_F(Calendar, InvalidDateEndsThePageBehindItsHeading) {
  for (const char* parameters :
       {"caltp=D&dat=13/45", "caltp=D&dat=ab/cd", "caltp=D&dat=02/29", "caltp=D", "caltp=D&dat=3/14",
        "caltp=D&dat=03%2F", "caltp=D&dat=%2F14", "caltp=D&dat=%"}) {
    EXPECT_EQ(deckOf(&Pages::Query_ocal, parameters), opening() + "<p><i>1 day schedule:</i><br/>\n")
        << parameters;
  }
  EXPECT_TRUE(outlook.calls.empty());
}

TEST_F(Calendar, YearIsTheCurrentOne) {
  clock.now = {2008, 6, 1, 0, 0, 0};
  folder(FolderNumber::kCalendar) = {
      appointmentRecord("Leap", {2008, 2, 29, 9, 0, 0}, {2008, 2, 29, 9, 30, 0})};
  EXPECT_EQ(line(deckOf(&Pages::Query_ocal, "caltp=D&dat=02/29"), 8),
            "<u>For 02/29/08:</u>09:00 - 09:30<br/>Leap<br/>");
}

}  // namespace
}  // namespace kova::wml
