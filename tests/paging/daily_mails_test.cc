#include "paging/daily_mails.h"

#include "window_fixture.h"

namespace kova::paging {
namespace {

using Text = platform::outlook::TextProperty;
using Date = platform::outlook::DateProperty;

TEST(DailyDecision, OnTheMinuteAndByTheDayOfTheWeek) {
  struct Case {
    DateTime now;
    const char* time;
    bool notOnWeekEnds;
    bool due;
  };
  const Case cases[] = {
      {{2026, 11, 16, 7, 30, 0}, "07:30", false, true},  // Monday
      {{2026, 11, 16, 7, 30, 59}, "07:30", true, true},
      {{2026, 11, 16, 7, 29, 59}, "07:30", false, false},
      {{2026, 11, 16, 7, 31, 0}, "07:30", false, false},
      {{2026, 11, 16, 19, 30, 0}, "07:30", false, false},
      {{2026, 11, 16, 7, 30, 0}, "7:30", false, false},
      {{2026, 11, 16, 7, 30, 0}, "07:30 AM", false, false},
      {{2026, 11, 16, 0, 0, 0}, "00:00", true, true},
      {{2026, 11, 20, 23, 59, 0}, "23:59", true, true},    // Friday
      {{2026, 11, 21, 0, 0, 0}, "00:00", true, false},     // Saturday
      {{2026, 11, 22, 23, 59, 30}, "23:59", true, false},  // Sunday
      {{2026, 11, 21, 7, 30, 0}, "07:30", false, true},
      {{2026, 11, 22, 7, 30, 0}, "07:30", false, true},
      {{2026, 11, 16, 7, 30, 0}, "blank", false, false},
      {{2026, 11, 16, 7, 30, 0}, "", false, false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(dailyMailsDue(c.now, c.time, c.notOnWeekEnds), c.due)
        << base::logStamp(c.now) << c.time << c.notOnWeekEnds;
  }
}

/// The daily mails go out at 09:01, with the first tick.
class DailyMailsTest : public PagingWindowTest {
 protected:
  DailyMailsTest() {
    set("Daily_Mail_Time", "09:01");
    outlook.folders[platform::outlook::FolderNumber::kTasks].reserve(200);
  }

  /// The bodies of what goes out at the first tick.
  Strings mailed(const std::string& format) {
    set("Email_Format", format);
    peer.mails.clear();
    clock.set({2026, 11, 16, 9, 0, 0});
    form.openAndStart();
    loop.advance(seconds(60));
    form.close();
    Strings bodies;
    for (const std::string& bytes : peer.mails) bodies.push_back(bodyOf(bytes));
    return bodies;
  }
};

TEST_F(DailyMailsTest, ScheduleInBothFormats) {
  set("Send_Schedule", "1");
  const auto full = [](fakes::OutlookRecord& record) {
    record.texts[Text::kLocation] = "Room 2";
    record.texts[Text::kBody] = "first\r\nsecond";
  };
  full(addAppointment("Review", {2026, 11, 16, 14, 0, 0}, {2026, 11, 16, 15, 30, 0}));
  addAppointment("Stand-up", {2026, 11, 16, 9, 5, 0}, {2026, 11, 17, 0, 5, 0});
  fakes::OutlookRecord& fair = addAppointment("Fair", {2026, 11, 16, 0, 0, 0}, {2026, 11, 17, 0, 0, 0});
  fair.flags[platform::outlook::FlagProperty::kAllDayEvent] = true;
  addAppointment("Since yesterday", {2026, 11, 15, 23, 59, 0}, {2026, 11, 16, 12, 0, 0});
  addAppointment("Tomorrow", {2026, 11, 17, 0, 0, 0}, {2026, 11, 17, 1, 0, 0});

  EXPECT_EQ(mailed("1"), Strings{"For 11/16/26:\r"
                                 "\rAll day\r Fair\r"
                                 "\r09:05-00:05 :\r Stand-up\r"
                                 "\r14:00-15:30 :\r Review\r (Room 2)\rfirst\r\nsecond\r"});
  EXPECT_EQ(subjects(), Strings{"My today's schedule"});
  EXPECT_EQ(mailed("0"), Strings{"\rAll day\r Fair\r"
                                 "\r09:05-00:05 :\r Stand-up\r"
                                 "\r14:00-15:30 :\r Review\r"});
  EXPECT_EQ(subjects(), Strings{"Schedule"});
  EXPECT_EQ(outlook.liveObjects, 0);
}

TEST_F(DailyMailsTest, EmptyScheduleIsMailedToo) {
  set("Send_Schedule", "1");
  EXPECT_EQ(mailed("1"), Strings{"For 11/16/26:\r"});
  EXPECT_EQ(mailed("0"), Strings{""});
}

TEST_F(DailyMailsTest, TaskListInBothFormats) {
  set("Send_Task", "1");
  addTask("Call Ann").dates[Date::kDueDate] = {2026, 11, 20, 0, 0, 0};
  addTask("Done", 100).dates[Date::kDueDate] = {2026, 11, 20, 0, 0, 0};
  addTask("Whenever", 99);
  addTask("Ünïcödé ä 23456789 123456789 123456789 123456789 cut");  // 50 characters end before " cut"
  addTask("Edge in").dates[Date::kDueDate] = {2035, 2, 2, 9, 0, 59};
  addTask("Edge out").dates[Date::kDueDate] = {2035, 2, 2, 9, 1, 0};  // 3000 days from now

  EXPECT_EQ(mailed("1"), Strings{"-Call Ann\r Due:11/20/2026\r\r"
                                 "-Whenever\r"
                                 "-Ünïcödé ä 23456789 123456789 123456789 123456789 c\r"
                                 "-Edge in\r Due:2/2/2035 9:00:59 AM\r\r"
                                 "-Edge out\r"});
  EXPECT_EQ(subjects(), Strings{"Tasks"});
  EXPECT_EQ(mailed("0"), Strings{"-Call Ann\r-Whenever\r"
                                 "-Ünïcödé ä 23456789 123456789 123456789 123456789 c\r"
                                 "-Edge in\r-Edge out\r"});
  EXPECT_EQ(subjects(), Strings{"My Task List"});
}

TEST_F(DailyMailsTest, NoOpenTaskMakesAnEmptyMail) {
  set("Send_Task", "1");
  addTask("Done", 100);
  EXPECT_EQ(mailed("1"), Strings{""});
}

TEST_F(DailyMailsTest, HundredthTaskIsNotListedAndFinishedOnesCount) {
  set("Send_Task", "1");
  for (int i = 1; i <= 98; ++i) addTask("done", 100);
  addTask("number 99");
  addTask("number 100");
  EXPECT_EQ(mailed("0"), Strings{"-number 99\r"});
}

TEST_F(DailyMailsTest, TaskListIsCutInTheMiddleOfALine) {
  set("Send_Task", "1");
  std::string whole;
  for (int i = 0; i < 99; ++i) {
    const std::string subject = "ü task number " + std::to_string(i) + " with a long name";
    addTask(subject);
    whole += "-" + subject + "\r";
  }
  // 2000 characters, "ü" being two bytes.
  std::size_t bytes = 0;
  for (int characters = 0; characters < 2000; ++characters)
    bytes += whole.compare(bytes, 2, "ü") == 0 ? 2 : 1;
  ASSERT_LT(bytes, whole.size());
  EXPECT_EQ(mailed("0"), Strings{whole.substr(0, bytes)});
}

TEST_F(DailyMailsTest, TasksGoFirstAndBothInOneTick) {
  set("Send_Task", "1");
  set("Send_Schedule", "1");
  addReminder("Lunch", {2026, 11, 16, 9, 30, 0}, 25);
  mailed("1");
  EXPECT_EQ(subjects(), (Strings{"Tasks", "My today's schedule", "Reminder"}));
}

TEST_F(DailyMailsTest, FolderThatFailsCostsItsOwnMailOnly) {
  set("Send_Schedule", "1");
  set("Send_Task", "1");
  addTask("Call Ann");
  addAppointment("Review", {2026, 11, 16, 14, 0, 0}, {2026, 11, 16, 15, 0, 0});
  for (const char* failing : {"createObject", "getNamespace", "items", "text Subject"}) {
    outlook.failing = failing;
    EXPECT_EQ(mailed("1"), Strings{}) << failing;
  }
  for (const char* failing : {"getDefaultFolder 13", "number PercentComplete", "date DueDate"}) {
    outlook.failing = failing;
    mailed("1");
    EXPECT_EQ(subjects(), Strings{"My today's schedule"}) << failing;
  }
  for (const char* failing : {"getDefaultFolder 9", "restrict", "flag AllDayEvent", "date Start", "date End",
                              "text Location", "text Body"}) {
    outlook.failing = failing;
    mailed("1");
    EXPECT_EQ(subjects(), Strings{"Tasks"}) << failing;
  }
}

}  // namespace
}  // namespace kova::paging
