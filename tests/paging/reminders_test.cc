#include "paging/reminders.h"

#include "window_fixture.h"

namespace kova::paging {
namespace {

using Text = platform::outlook::TextProperty;

class RemindersTest : public PagingWindowTest {
 protected:
  /// The bodies that a check at this moment sends.
  Strings pagedAt(const DateTime& now) {
    clock.set(now);
    peer.mails.clear();
    statuses.clear();
    form.open();
    form.cmdchecknow.click();
    loop.settle();
    form.close();
    Strings bodies;
    for (const std::string& bytes : peer.mails) bodies.push_back(bodyOf(bytes));
    return bodies;
  }
};

TEST_F(RemindersTest, PageOfATimedAppointment) {
  fakes::OutlookRecord& review = addReminder("Review", {2026, 11, 16, 14, 0, 0}, 15);
  review.texts[Text::kLocation] = "Room 2";
  review.texts[Text::kBody] = "first line\r\nsecond line";
  EXPECT_EQ(pagedAt({2026, 11, 16, 13, 45, 0}),
            Strings{"Calendar item:\r11/16 14:00 - 15:00\r Review\r (Room 2)\rfirst line\r"});
  EXPECT_EQ(subjects(), Strings{"Reminder"});
  EXPECT_EQ(peer.mails[0].find("Date:"), std::string::npos);
  EXPECT_EQ(statuses, (Strings{"Connecting to database...", "Getting reminders...", "Paging for Review...",
                               "Page sent.", "Completed.", "Stopped"}));
  EXPECT_EQ(outlook.liveObjects, 0);
}

TEST_F(RemindersTest, EmptyPartsLeaveNoLine) {
  addReminder("Review", {2026, 11, 16, 14, 0, 0}, 0).texts[Text::kBody] = "only line";
  addReminder("", {2026, 11, 16, 14, 1, 0}, 0);
  fakes::OutlookRecord& fair = addReminder("Fair", {2026, 11, 17, 0, 0, 0}, 600);
  fair.flags[platform::outlook::FlagProperty::kAllDayEvent] = true;
  EXPECT_EQ(pagedAt({2026, 11, 16, 13, 59, 59}),
            (Strings{"Calendar item:\r11/16 14:00 - 15:00\r Review\ronly line\r",
                     "Calendar item:\r11/16 14:01 - 15:01\r \r", "Calendar item:\rAll day\r Fair\r"}));
}

TEST_F(RemindersTest, DueFromTheMinuteOnAndForTheInterval) {
  addReminder("Review", {2026, 11, 16, 14, 0, 0}, 15);  // reminds at 13:45
  struct Case {
    const char* interval;
    DateTime now;
    bool due;
  };
  const Case cases[] = {
      {"10", {2026, 11, 16, 13, 45, 0}, true},   {"10", {2026, 11, 16, 13, 45, 59}, true},
      {"10", {2026, 11, 16, 13, 46, 0}, false},  {"10", {2026, 11, 16, 13, 36, 0}, true},
      {"10", {2026, 11, 16, 13, 35, 59}, false}, {"1", {2026, 11, 16, 13, 45, 59}, true},
      {"1", {2026, 11, 16, 13, 44, 59}, false},  {"60", {2026, 11, 16, 12, 46, 0}, true},
      {"60", {2026, 11, 16, 12, 45, 0}, false},  {"0", {2026, 11, 16, 13, 45, 0}, false},
      {"", {2026, 11, 16, 13, 45, 0}, false},    {"soon", {2026, 11, 16, 13, 45, 0}, false},
      {" 2 ", {2026, 11, 16, 13, 44, 0}, true},  {"40000", {2026, 11, 16, 13, 45, 0}, false},
      {"10", {2026, 11, 15, 13, 45, 0}, false},  {"10", {2027, 11, 16, 13, 45, 0}, false},
  };
  for (const Case& c : cases) {
    set("Check_Interval", c.interval);
    EXPECT_EQ(pagedAt(c.now).size(), c.due ? 1U : 0U) << c.interval << " " << base::logStamp(c.now);
  }
}

TEST_F(RemindersTest, OnlyWhatStartsFromTodayToFifteenDaysAhead) {
  const long days = 24 * 60;
  addReminder("in 14 days", {2026, 11, 30, 23, 59, 0}, 15 * days - 1);
  addReminder("in 15 days", {2026, 12, 1, 0, 0, 0}, 15 * days);
  addReminder("yesterday", {2026, 11, 15, 23, 59, 0}, -1);
  addReminder("this midnight", {2026, 11, 16, 0, 0, 0}, 0);
  addReminder("not set", {2026, 11, 16, 0, 1, 0}, 0).flags[platform::outlook::FlagProperty::kReminderSet] =
      false;
  const Strings paged = pagedAt({2026, 11, 16, 0, 0, 0});
  ASSERT_EQ(paged.size(), 2U);
  EXPECT_NE(paged[0].find("this midnight"), std::string::npos);
  EXPECT_NE(paged[1].find("in 14 days"), std::string::npos);
  EXPECT_NE(std::find(outlook.calls.begin(), outlook.calls.end(),
                      R"(restrict [Start] >= "2026/11/16 12:00 AM" AND [Start] < " 2026/12/01 12:00 AM")"),
            outlook.calls.end());
}

TEST_F(RemindersTest, ReminderTimesAreWallTimes) {
  // The clocks of Central Europe go back on 2026-10-25 at 03:00.
  addReminder("Early", {2026, 10, 25, 4, 0, 0}, 120);
  EXPECT_EQ(pagedAt({2026, 10, 25, 2, 0, 0}).size(), 1U);
  EXPECT_EQ(minuteBoundaries({2026, 12, 31, 23, 59, 59}, {2027, 1, 1, 0, 0, 0}), 1);
  EXPECT_EQ(minuteBoundaries({2027, 1, 1, 0, 0, 59}, {2027, 1, 1, 0, 0, 0}), 0);
  EXPECT_EQ(minuteBoundaries({2027, 1, 1, 0, 0, 0}, {2026, 12, 31, 23, 59, 59}), -1);
}

TEST_F(RemindersTest, EveryOccurrenceCountsForItself) {
  addReminder("Stand-up", {2026, 11, 16, 9, 0, 0}, 5);
  addReminder("Stand-up", {2026, 11, 17, 9, 0, 0}, 5);
  EXPECT_EQ(pagedAt({2026, 11, 17, 8, 55, 0}), Strings{"Calendar item:\r11/17 09:00 - 10:00\r Stand-up\r"});
  EXPECT_NE(std::find(outlook.calls.begin(), outlook.calls.end(), "setIncludeRecurrences true"),
            outlook.calls.end());
}

TEST_F(RemindersTest, WithTheScreenSaverOptionNothingIsPaged) {
  addReminder("Review", {2026, 11, 16, 14, 0, 0}, 15);
  addReminder("Not due", {2026, 11, 16, 16, 0, 0}, 15);
  set("Screen_Saver_Only", "1");
  for (const bool running : {false, true}) {
    screenSaver.running = running;
    screenSaver.asked = 0;
    EXPECT_EQ(pagedAt({2026, 11, 16, 13, 45, 0}), Strings{});
    EXPECT_EQ(screenSaver.asked, 1);
    EXPECT_EQ(statuses,
              (Strings{"Connecting to database...", "Getting reminders...", "Completed.", "Stopped"}));
  }
}

TEST_F(RemindersTest, UnsetIntervalBecomesTen) {
  profile.values.erase({"Pager", "Check_Interval"});
  addReminder("Review", {2026, 11, 16, 14, 0, 0}, 15);
  EXPECT_EQ(pagedAt({2026, 11, 16, 13, 36, 0}).size(), 1U);
  EXPECT_EQ(setting("Check_Interval"), "10");
}

TEST_F(RemindersTest, OutlookFailureEndsTheCheckWhereItIs) {
  addReminder("Review", {2026, 11, 16, 14, 0, 0}, 15);
  const std::pair<const char*, const char*> cases[] = {
      {"createObject", "Connecting to database..."}, {"getDefaultFolder", "Connecting to database..."},
      {"restrict", "Getting reminders..."},          {"flag AllDayEvent", "Getting reminders..."},
      {"text Subject", "Getting reminders..."},      {"flag ReminderSet", "Getting reminders..."},
      {"number Reminder", "Getting reminders..."},
  };
  for (const auto& [failing, status] : cases) {
    outlook.failing = failing;
    EXPECT_EQ(pagedAt({2026, 11, 16, 13, 45, 0}), Strings{}) << failing;
    ASSERT_GE(statuses.size(), 2U) << failing;
    EXPECT_EQ(statuses[statuses.size() - 2], status) << failing;
    EXPECT_EQ(outlook.liveObjects, 0) << failing;
  }
  outlook.failing.clear();
  EXPECT_EQ(pagedAt({2026, 11, 16, 13, 45, 0}).size(), 1U);
}

}  // namespace
}  // namespace kova::paging
