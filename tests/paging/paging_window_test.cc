#include "paging/paging_window.h"

#include <algorithm>

#include "window_fixture.h"

namespace kova::paging {
namespace {

TEST_F(PagingWindowTest, OpensWithTheSettingsAndWritesNothing) {
  set("Screen_Saver_Only", "1");
  set("Send_Task", "1");
  set("Send_Schedule", "yes");
  set("Week_Ends", "1");
  set("Email_Format", "0");
  set("Check_Interval", "15");
  const auto before = profile.values;
  form.open();
  EXPECT_TRUE(form.visible());
  EXPECT_EQ(form.title(), "Paging server");
  EXPECT_EQ(form.txtfrom.text(), "me@home.test");
  EXPECT_EQ(form.txtto.text(), "pager@phone.test");
  EXPECT_EQ(form.txtsubject.text(), "Reminder");
  EXPECT_EQ(form.txtsmtpserver.text(), "mail.test");
  EXPECT_EQ(form.list1.text(), "15");
  EXPECT_EQ(form.list1.items(), (Strings{"1", "2", "5", "10", "15", "30", "60"}));
  EXPECT_EQ(form.Check1.value(), 1);
  EXPECT_EQ(form.Check2.value(), 1);
  EXPECT_EQ(form.Check3.value(), 0);
  EXPECT_EQ(form.Check4.value(), 1);
  EXPECT_TRUE(form.mail_format[0].chosen());
  EXPECT_FALSE(form.mail_format[1].chosen());
  EXPECT_EQ(form.Combo1.text(), "07:30");
  ASSERT_EQ(form.Combo1.items().size(), 1441U);
  EXPECT_EQ(form.Combo1.items()[0], "07:30");
  EXPECT_EQ(form.Combo1.items()[1], "00:00");
  EXPECT_EQ(form.Combo1.items()[1 + 7 * 60 + 30], "07:30");
  EXPECT_EQ(form.Combo1.items()[1440], "23:59");
  EXPECT_EQ(form.Labelstat.text(), "Stopped");
  EXPECT_EQ(profile.values, before);
}

TEST_F(PagingWindowTest, WithoutSettings) {
  profile.values.clear();
  form.open();
  EXPECT_EQ(form.txtto.text(), "blank");
  EXPECT_EQ(form.list1.text(), "blank");
  EXPECT_EQ(form.Combo1.text(), "blank");
  form.Combo1.focus();
  form.Combo1.leave();
  EXPECT_TRUE(dialogs.messages.empty()) << "the Tab key passes what the owner has not touched";
  EXPECT_EQ(form.Check1.value(), 0);
  EXPECT_TRUE(form.mail_format[1].chosen());
  form.Command2.click();
  EXPECT_EQ(form.Labelstat.text(), "Waiting for next interval (in 10 minutes)");
  EXPECT_TRUE(profile.values.empty());
  loop.advance(seconds(60));
  EXPECT_EQ(setting("Check_Interval"), "10");
}

TEST_F(PagingWindowTest, SettingsThatAreSetToNothingAreEmpty) {
  for (const char* key : {"From", "Subject", "Check_Interval", "Daily_Mail_Time", "Email_Format"})
    set(key, "");
  form.open();
  EXPECT_EQ(form.txtfrom.text(), "");
  EXPECT_EQ(form.txtsubject.text(), "");
  EXPECT_EQ(form.list1.text(), "");
  EXPECT_EQ(form.Combo1.text(), "");
  EXPECT_EQ(form.Combo1.items()[0], "");
  EXPECT_TRUE(form.mail_format[1].chosen());
}

TEST_F(PagingWindowTest, EveryChangeIsWrittenAtOnce) {
  form.open();
  form.txtfrom.setText("a@b");
  EXPECT_EQ(setting("From"), "a@b");
  form.txtto.setText("");
  EXPECT_EQ(setting("To"), "");
  form.txtsubject.setText("S");
  EXPECT_EQ(setting("Subject"), "S");
  form.txtsmtpserver.setText("10.0.0.1");
  EXPECT_EQ(setting("SMTP_Server"), "10.0.0.1");
  form.list1.choose(5);
  EXPECT_EQ(setting("Check_Interval"), "30");
  form.list1.setText("7");
  EXPECT_EQ(setting("Check_Interval"), "7");
  const std::pair<platform::CheckBox*, const char*> boxes[] = {{&form.Check1, "Screen_Saver_Only"},
                                                               {&form.Check2, "Send_Task"},
                                                               {&form.Check3, "Send_Schedule"},
                                                               {&form.Check4, "Week_Ends"}};
  for (const auto& [box, key] : boxes) {
    box->setValue(1);
    EXPECT_EQ(setting(key), "1");
    box->setValue(0);
    EXPECT_EQ(setting(key), "0");
  }
  form.mail_format[0].click();
  EXPECT_EQ(setting("Email_Format"), "0");
  EXPECT_FALSE(form.mail_format[1].chosen());
  form.mail_format[1].click();
  EXPECT_EQ(setting("Email_Format"), "1");
  EXPECT_FALSE(form.mail_format[0].chosen());
  form.Combo1.choose(1);
  EXPECT_EQ(setting("Daily_Mail_Time"), "00:00");
}

TEST_F(PagingWindowTest, InvalidDailyTimeIsNotWritten) {
  form.open();
  form.Combo1.focus();
  form.Combo1.setText("7:5");
  EXPECT_EQ(setting("Daily_Mail_Time"), "7:5");
  form.Combo1.setText("half past seven");
  EXPECT_EQ(dialogs.messages, Strings{});  // he is still typing
  form.Combo1.leave();
  EXPECT_EQ(dialogs.messages, Strings{"Invalid time format."});
  EXPECT_TRUE(form.Combo1.focused());
  EXPECT_EQ(setting("Daily_Mail_Time"), "7:5");
  form.Combo1.setText("7:30 PM");
  form.Combo1.leave();
  EXPECT_FALSE(form.Combo1.focused());
  EXPECT_EQ(dialogs.messages.size(), 1U);
  EXPECT_EQ(setting("Daily_Mail_Time"), "7:30 PM");
}

TEST_F(PagingWindowTest, StartAndStop) {
  form.open();
  const std::vector<platform::Control*> setUp = {&form.Frame1, &form.Frame3, &form.list1, &form.cmdchecknow,
                                                 &form.Command1};
  form.Command2.click();
  EXPECT_EQ(form.Command2.caption(), "&Stop Timer");
  EXPECT_EQ(form.Labelstat.text(), "Waiting for next interval (in 10 minutes)");
  for (const platform::Control* control : setUp) EXPECT_FALSE(control->enabled()) << control->name();
  loop.advance(milliseconds(59999));
  EXPECT_TRUE(outlook.calls.empty());
  form.Command2.click();
  EXPECT_EQ(form.Command2.caption(), "&Start Timer");
  EXPECT_EQ(form.Labelstat.text(), "Stopped");
  for (const platform::Control* control : setUp) EXPECT_TRUE(control->enabled()) << control->name();
  loop.advance(minutes(5));
  EXPECT_TRUE(outlook.calls.empty());
  EXPECT_TRUE(loop.idle());
}

TEST_F(PagingWindowTest, ReminderIsPagedOnceAMinuteWhileItIsDue) {
  addReminder("Review", {2026, 11, 16, 9, 40, 0}, 10);  // reminds at 09:30, due from 09:21 on
  form.openAndStart();
  form.openAndStart();  // stays started
  loop.advance(minutes(60));
  EXPECT_EQ(peer.mails.size(), 10U);
  EXPECT_EQ(form.Labelstat.text(), "Waiting for next interval (60sec)");
}

TEST_F(PagingWindowTest, StatusTextsOfATick) {
  addReminder("Review", {2026, 11, 16, 9, 10, 0}, 5);
  set("Send_Task", "1");
  set("Send_Schedule", "1");
  set("Daily_Mail_Time", "09:01");
  form.openAndStart();
  loop.advance(seconds(60));
  EXPECT_EQ(statuses, (Strings{"Waiting for next interval (in 10 minutes)", "Checking calendar...",
                               "Connecting to database...", "Getting today's schedule...", "Completed.",
                               "Connecting to database...", "Getting reminders...", "Paging for Review...",
                               "Page sent.", "Completed.", "Waiting for next interval (60sec)"}));
}

TEST_F(PagingWindowTest, DailyMailsGoOutOnceADayAndNotOnWeekEnds) {
  set("Send_Task", "1");
  set("Week_Ends", "1");
  clock.set({2026, 11, 16, 0, 0, 0});
  form.openAndStart();
  loop.advance(std::chrono::hours(24 * 7));
  EXPECT_EQ(peer.mails.size(), 5U);
}

TEST_F(PagingWindowTest, WeekEndSkipsTheDailyMailsButNotTheReminders) {
  set("Send_Task", "1");
  set("Week_Ends", "1");
  clock.set({2026, 11, 21, 7, 29, 0});
  addReminder("Saturday walk", {2026, 11, 21, 7, 30, 0}, 0);
  form.openAndStart();
  loop.advance(seconds(60));
  EXPECT_EQ(subjects(), Strings{"Reminder"});
}

TEST_F(PagingWindowTest, TickThatComesWhileTheLastOneSendsIsLeftOut) {
  addReminder("Review", {2026, 11, 16, 9, 30, 0}, 20);  // reminds at 09:10
  for (const char* step : {"greeting", "helo", "mail", "rcpt", "data", ".", "QUIT"}) peer.answers[step] = "";
  form.openAndStart();
  loop.advance(seconds(60 + 7 * 60 - 1));  // sends from 09:01 to 09:08
  EXPECT_EQ(peer.mails.size(), 1U);
  EXPECT_EQ(std::count(statuses.begin(), statuses.end(), "Checking calendar..."), 1);
  peer.answers.clear();
  loop.advance(seconds(50));
  EXPECT_EQ(form.Labelstat.text(), "Waiting for next interval (60sec)");
  // The ticks keep their place in the minute: 09:09 and 09:10 follow, and none of the others is made up for.
  loop.advance(minutes(10));
  EXPECT_EQ(peer.mails.size(), 3U);
}

TEST_F(PagingWindowTest, ChangeOfTheDateMovesNoTickAndSendsNoOldMails) {
  set("Send_Task", "1");
  clock.set({2026, 11, 16, 7, 28, 30});
  form.openAndStart();
  loop.advance(seconds(30));
  clock.set({2026, 11, 16, 8, 0, 0});  // an hour's sleep, or somebody set the clock: 07:30 never was
  loop.advance(minutes(3));
  EXPECT_EQ(peer.mails.size(), 0U);
  EXPECT_EQ(std::count(statuses.begin(), statuses.end(), "Checking calendar..."), 3);
  clock.set({2026, 11, 16, 7, 29, 10});
  loop.advance(minutes(2));
  EXPECT_EQ(peer.mails.size(), 1U);
}

TEST_F(PagingWindowTest, NextTickWorksAfterOutlookOrTheServerFailed) {
  addReminder("Review", {2026, 11, 16, 9, 5, 0}, 0);
  outlook.failing = "createObject";
  form.openAndStart();
  loop.advance(seconds(61));
  EXPECT_EQ(form.Labelstat.text(), "Connecting to database...");
  outlook.failing.clear();
  peer.connectError = 24061;
  loop.advance(seconds(61));
  EXPECT_EQ(peer.mails.size(), 0U);
  peer.connectError = 0;
  loop.advance(seconds(61));
  EXPECT_EQ(peer.mails.size(), 1U);
}

TEST_F(PagingWindowTest, CheckNowSendsRemindersOnly) {
  set("Send_Task", "1");
  set("Daily_Mail_Time", "09:00");
  addReminder("Review", {2026, 11, 16, 9, 5, 0}, 0);
  form.open();
  peer.delay = seconds(5);
  form.cmdchecknow.click();
  EXPECT_FALSE(form.cmdchecknow.enabled());
  form.cmdchecknow_Click();  // while it is under way
  loop.advance(minutes(3));
  EXPECT_TRUE(form.cmdchecknow.enabled());
  EXPECT_EQ(subjects(), Strings{"Reminder"});
  EXPECT_EQ(form.Labelstat.text(), "Completed.");
}

TEST_F(PagingWindowTest, CheckNowIsRefusedWhileTheTimerRuns) {
  form.openAndStart();
  form.cmdchecknow_Click();
  loop.settle();
  EXPECT_EQ(dialogs.messages, Strings{"Stop the timer first."});
  EXPECT_TRUE(outlook.calls.empty());
}

TEST_F(PagingWindowTest, CheckNeverRunsTwiceAtOnce) {
  addReminder("Review", {2026, 11, 16, 9, 5, 0}, 0);
  peer.answers = {{"greeting", ""}, {"helo", ""}};
  form.open();
  form.cmdchecknow.click();
  loop.settle();
  form.Command2.click();
  loop.advance(seconds(70));  // the first tick comes while the check waits for its second answer
  form.Command2.click();
  form.cmdchecknow_Click();
  loop.advance(seconds(60));
  EXPECT_EQ(peer.mails.size(), 1U);
  EXPECT_TRUE(form.cmdchecknow.enabled());
  EXPECT_EQ(std::count(outlook.calls.begin(), outlook.calls.end(), "createObject Outlook.Application"), 1);
}

TEST_F(PagingWindowTest, QuitStopsTheTimerAndReadsTheSettingsAnew) {
  form.openAndStart();
  form.Command1.click();  // disabled
  EXPECT_TRUE(form.visible());
  form.close();
  EXPECT_FALSE(form.visible());
  EXPECT_TRUE(loop.idle());
  set("To", "other@phone.test");
  form.open();
  EXPECT_EQ(form.txtto.text(), "other@phone.test");
  EXPECT_EQ(form.Command2.caption(), "&Start Timer");
  form.Command1.click();
  EXPECT_FALSE(form.visible());
}

TEST_F(PagingWindowTest, WindowThatIsDestroyedInTheMiddleOfAMailLeavesNothing) {
  addReminder("Review", {2026, 11, 16, 9, 5, 0}, 0);
  peer.answers["rcpt"] = "";
  {
    Form2 other{{loop, clock, dialogs, outlook, screenSaver, settings, conversation}};
    other.open();
    other.cmdchecknow.click();
    loop.advance(seconds(10));
    EXPECT_EQ(peer.open, 1);
  }
  EXPECT_EQ(outlook.liveObjects, 0);
  EXPECT_EQ(peer.open, 0);
  peer.answers.clear();
  form.open();
  form.cmdchecknow.click();
  loop.settle();
  EXPECT_EQ(peer.mails.size(), 2U);
}

}  // namespace
}  // namespace kova::paging
