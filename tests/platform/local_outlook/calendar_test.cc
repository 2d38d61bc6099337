#include <gmock/gmock.h>

#include "platform/local_outlook/local_outlook_fixture.h"

namespace kova::platform::local_outlook {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using CalendarTest = LocalOutlookTest;

TEST_F(CalendarTest, TimesAreLocalWhateverZoneTheyAreGivenIn) {
  const std::string newYork =
      "BEGIN:VTIMEZONE\nTZID:Office\nBEGIN:STANDARD\nDTSTART:20071104T020000\nRRULE:FREQ=YEARLY;BYMONTH=11;"
      "BYDAY=1SU\n"
      "TZOFFSETFROM:-0400\nTZOFFSETTO:-0500\nEND:STANDARD\nBEGIN:DAYLIGHT\nDTSTART:20070311T020000\n"
      "RRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=2SU\nTZOFFSETFROM:-0500\nTZOFFSETTO:-0400\nEND:DAYLIGHT\nEND:"
      "VTIMEZONE\n";
  write(folders.calendar, "zones.ics",
        calendar(
            event("UID:1\nSUMMARY:utc\nDTSTART:20260115T080000Z\nDTEND:20260115T090000Z\n") +
            event("UID:2\nSUMMARY:floating\nDTSTART:20260115T100000\nDTEND:20260115T110000\n") +
            event("UID:3\nSUMMARY:system "
                  "zone\nDTSTART;TZID=Asia/Tokyo:20260115T200000\nDTEND:20260115T120000Z\n") +
            event("UID:4\nSUMMARY:zone of the file\nDTSTART;TZID=Office:20260115T070000\nDURATION:PT30M\n") +
            event("UID:5\nSUMMARY:old name\nDTSTART;TZID=/vendor.org/2007_1/US/Eastern:20260115T080000\n"
                  "DURATION:PT30M\n") +
            newYork));
  EXPECT_THAT(startingOn("2026/01/15"),
              ElementsAre("09:00-10:00 utc", "10:00-11:00 floating", "12:00-13:00 system zone",
                          "13:00-13:30 zone of the file", "14:00-14:30 old name"));
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(CalendarTest, SeriesKeepsItsClockTimeInItsOwnZone) {
  writeEvent(
      "berlin.ics",
      "UID:1\nSUMMARY:here\nDTSTART;TZID=Europe/Berlin:20260302T090000\nDURATION:PT1H\nRRULE:FREQ=WEEKLY\n");
  // New York changes its clock three weeks before Berlin does.
  writeEvent("york.ics",
             "UID:2\nSUMMARY:there\nDTSTART;TZID=America/"
             "New_York:20260302T090000\nDURATION:PT1H\nRRULE:FREQ=WEEKLY\n");
  writeEvent("utc.ics", "UID:3\nSUMMARY:utc\nDTSTART:20260302T110000Z\nDURATION:PT1H\nRRULE:FREQ=WEEKLY\n");
  EXPECT_THAT(startingOn("2026/03/02"),
              ElementsAre("09:00-10:00 here", "12:00-13:00 utc", "15:00-16:00 there"));
  EXPECT_THAT(startingOn("2026/03/09"),
              ElementsAre("09:00-10:00 here", "12:00-13:00 utc", "14:00-15:00 there"));
  EXPECT_THAT(startingOn("2026/03/30"),
              ElementsAre("09:00-10:00 here", "13:00-14:00 utc", "15:00-16:00 there"));
  EXPECT_THAT(startingOn("2050/07/04"),
              ElementsAre("09:00-10:00 here", "13:00-14:00 utc", "15:00-16:00 there"));
}

TEST_F(CalendarTest, NightsInWhichTheClockChanges) {
  // A night of work on the day the clock changes: the length given by an end is exact, days go by the
  // calendar.
  writeEvent("night.ics",
             "UID:3\nSUMMARY:night\nDTSTART;TZID=Europe/Berlin:20260327T220000\n"
             "DTEND;TZID=Europe/Berlin:20260328T060000\nRRULE:FREQ=DAILY;COUNT=2\n");
  writeEvent("day.ics", "UID:4\nSUMMARY:day\nDTSTART;TZID=Europe/Berlin:20260328T230000\nDURATION:P1D\n");
  EXPECT_THAT(startingOn("2026/03/28"), ElementsAre("22:00-07:00 night", "23:00-23:00 day"));
}

TEST_F(CalendarTest, EndIsWhatTheAppointmentSays) {
  write(folders.calendar, "ends.ics",
        calendar(
            event("UID:1\nSUMMARY:a duration\nDTSTART:20260115T010000\nDURATION:P1DT2H30M\n") +
            event("UID:2\nSUMMARY:b no end\nDTSTART:20260115T020000\n") +
            event("UID:3\nSUMMARY:c ends before\nDTSTART:20260115T030000\nDTEND:20260115T020000\n") +
            event("UID:4\nSUMMARY:d one day\nDTSTART;VALUE=DATE:20260115\n") +
            event("UID:5\nSUMMARY:e three days\nDTSTART;VALUE=DATE:20260115\nDTEND;VALUE=DATE:20260118\n") +
            event("UID:6\nSUMMARY:f week\nDTSTART;VALUE=DATE:20260115\nDURATION:P1W\n") +
            event("UID:7\nSUMMARY:g far\nDTSTART:20260115T040000\nDURATION:P4294967295W\n")));
  EXPECT_THAT(startingOn("2026/01/15"),
              ElementsAre("01/15-01/16 d one day", "01/15-01/18 e three days", "01/15-01/22 f week",
                          "01:00-03:30 a duration", "02:00-02:00 b no end", "03:00-03:00 c ends before",
                          "04:00-23:59 g far"));
  EXPECT_THAT(runningInto("2026/01/16"), ElementsAre("01/15-01/18 e three days", "01/15-01/22 f week",
                                                     "01:00-03:30 a duration", "04:00-23:59 g far"));
  EXPECT_THAT(runningInto("2026/01/18"), ElementsAre("01/15-01/22 f week", "04:00-23:59 g far"));
  const auto item = items(FolderNumber::kCalendar)
                        ->restrict("[Start] >= \"2026/01/15\" AND [Start] < \"2026/01/16\"")
                        ->getFirst();
  EXPECT_EQ(item->date(DateProperty::kStart), (DateTime{2026, 1, 15, 0, 0, 0}));
  EXPECT_EQ(item->date(DateProperty::kEnd), (DateTime{2026, 1, 16, 0, 0, 0}));
  EXPECT_EQ(item->number(NumberProperty::kDuration), 24 * 60);
}

struct RuleCase {
  const char* name;
  const char* lines;
  Lines expected;  // between 2026/03/01 and 2026/03/31
};
void PrintTo(const RuleCase& rule, std::ostream* out) { *out << rule.name; }

class RuleTest : public LocalOutlookTest, public testing::WithParamInterface<RuleCase> {};

TEST_P(RuleTest, ShowsItsOccurrences) {
  writeEvent("series.ics", std::string("UID:1\nSUMMARY:x\nDURATION:PT1H\n") + GetParam().lines);
  EXPECT_EQ(startingBetween("2026/03/01", "2026/03/31"), GetParam().expected);
  EXPECT_THAT(log, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    All, RuleTest,
    testing::Values(
        RuleCase{"everyTwoWeeksOnTwoDays",
                 "DTSTART:20240102T090000\nRRULE:FREQ=WEEKLY;INTERVAL=2;BYDAY=TU,SU;WKST=MO\n",
                 {"03/01 09:00-10:00 x", "03/10 09:00-10:00 x", "03/15 09:00-10:00 x", "03/24 09:00-10:00 x",
                  "03/29 09:00-10:00 x"}},
        RuleCase{
            "theSameWithTheWeekFromSunday",
            "DTSTART:20240102T090000\nRRULE:FREQ=WEEKLY;INTERVAL=2;BYDAY=TU,SU;WKST=SU\n",
            {"03/08 09:00-10:00 x", "03/10 09:00-10:00 x", "03/22 09:00-10:00 x", "03/24 09:00-10:00 x"}},
        RuleCase{"everyTenDays",
                 "DTSTART:20260205T090000\nRRULE:FREQ=DAILY;INTERVAL=10\n",
                 {"03/07 09:00-10:00 x", "03/17 09:00-10:00 x", "03/27 09:00-10:00 x"}},
        RuleCase{"lastFridayOfTheMonth",
                 "DTSTART:20100129T090000\nRRULE:FREQ=MONTHLY;BYDAY=-1FR\n",
                 {"03/27 09:00-10:00 x"}},
        RuleCase{"everyThirdMonthOnThe31st",
                 "DTSTART:20191231T090000\nRRULE:FREQ=MONTHLY;INTERVAL=3;BYMONTHDAY=31\n",
                 {"03/31 09:00-10:00 x"}},
        RuleCase{"yearly", "DTSTART:19800315T090000\nRRULE:FREQ=YEARLY\n", {"03/15 09:00-10:00 x"}},
        RuleCase{"everyFourYears",
                 "DTSTART:20020315T090000\nRRULE:FREQ=YEARLY;INTERVAL=4\n",
                 {"03/15 09:00-10:00 x"}},
        RuleCase{"notThisYear", "DTSTART:20010315T090000\nRRULE:FREQ=YEARLY;INTERVAL=4\n", {}},
        RuleCase{"lastWorkday",
                 "DTSTART:20260130T090000\nRRULE:FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1\n",
                 {"03/31 09:00-10:00 x"}},
        RuleCase{"count",
                 "DTSTART:20260228T090000\nRRULE:FREQ=DAILY;COUNT=3\n",
                 {"03/01 09:00-10:00 x", "03/02 09:00-10:00 x"}},
        RuleCase{"untilInUtc",
                 "DTSTART;TZID=Europe/Berlin:20260301T003000\nRRULE:FREQ=DAILY;UNTIL=20260302T233000Z\n",
                 {"03/01 00:30-01:30 x", "03/02 00:30-01:30 x", "03/03 00:30-01:30 x"}},
        RuleCase{"untilADate",
                 "DTSTART:20260301T093000\nRRULE:FREQ=DAILY;UNTIL=20260302\n",
                 {"03/01 09:30-10:30 x", "03/02 09:30-10:30 x"}},
        RuleCase{
            "twiceADay",
            "DTSTART:20260310T090000\nRRULE:FREQ=DAILY;BYHOUR=9,15;UNTIL=20260311T235959\n",
            {"03/10 09:00-10:00 x", "03/10 15:00-16:00 x", "03/11 09:00-10:00 x", "03/11 15:00-16:00 x"}},
        RuleCase{"everyFiveHours",
                 "DTSTART:20260101T000000\nRRULE:FREQ=HOURLY;INTERVAL=5;UNTIL=20260301T120000\n",
                 {"03/01 04:00-05:00 x", "03/01 09:00-10:00 x"}},
        RuleCase{"moreDatesAndFewer",
                 "DTSTART:20260302T090000\nRRULE:FREQ=WEEKLY;COUNT=4\nRDATE:20260305T120000,20260306T120000\n"
                 "RDATE;VALUE=PERIOD:20260307T120000/PT2H\nEXDATE:20260309T090000,20260306T120000\n",
                 {"03/02 09:00-10:00 x", "03/05 12:00-13:00 x", "03/07 12:00-14:00 x", "03/16 09:00-10:00 x",
                  "03/23 09:00-10:00 x"}},
        RuleCase{"exceptionInAnotherZone",
                 "DTSTART;TZID=Europe/"
                 "Berlin:20260302T090000\nRRULE:FREQ=WEEKLY;COUNT=2\nEXDATE:20260309T080000Z\n",
                 {"03/02 09:00-10:00 x"}},
        RuleCase{"exceptionAsADate",
                 "DTSTART:20260302T090000\nRRULE:FREQ=WEEKLY;COUNT=2\nEXDATE;VALUE=DATE:20260302\n",
                 {"03/09 09:00-10:00 x"}},
        RuleCase{"exceptionRule",
                 "DTSTART:20260302T090000\nRRULE:FREQ=DAILY;COUNT=4\nEXRULE:FREQ=DAILY;INTERVAL=2\n",
                 {"03/03 09:00-10:00 x", "03/05 09:00-10:00 x"}},
        RuleCase{"startThatTheRuleLeavesOut",
                 "DTSTART:20260303T090000\nRRULE:FREQ=WEEKLY;BYDAY=MO;UNTIL=20260312\n",
                 {"03/03 09:00-10:00 x", "03/09 09:00-10:00 x"}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(CalendarTest, AllDaySeriesAndOccurrencesThatRunOn) {
  writeEvent("birthday.ics", "UID:1\nSUMMARY:birthday\nDTSTART;VALUE=DATE:19800229\nRRULE:FREQ=YEARLY\n");
  writeEvent(
      "fair.ics",
      "UID:2\nSUMMARY:fair\nDTSTART;VALUE=DATE:20251230\nDTEND;VALUE=DATE:20260103\nRRULE:FREQ=YEARLY\n");
  EXPECT_THAT(startingOn("2028/02/29"), ElementsAre("02/29-03/01 birthday"));
  EXPECT_THAT(startingOn("2027/03/01"), IsEmpty());
  // Into the new year, where only the year asked for is worked out.
  EXPECT_THAT(runningInto("2030/01/01"), ElementsAre("12/30-01/03 fair"));
  EXPECT_THAT(runningInto("2030/01/02"), ElementsAre("12/30-01/03 fair"));
  EXPECT_THAT(runningInto("2030/01/03"), IsEmpty());
}

TEST_F(CalendarTest, OverriddenOccurrences) {
  const std::string series = event(
      "UID:1\nSUMMARY:jour fixe\nDTSTART;TZID=Europe/Berlin:20260302T090000\n"
      "DURATION:PT1H\nRRULE:FREQ=WEEKLY\n");
  write(folders.calendar, "series.ics",
        calendar(event("UID:1\nSUMMARY:moved\nRECURRENCE-ID:20260309T080000Z\nDTSTART:"
                       "20260310T140000\nDURATION:PT30M\n") +
                 series +
                 event("UID:1\nSUMMARY:gone\nRECURRENCE-ID;TZID=Europe/Berlin:20260316T090000\n"
                       "DTSTART;TZID=Europe/Berlin:20260316T090000\nSTATUS:CANCELLED\n") +
                 event("UID:1\nSUMMARY:far away\nRECURRENCE-ID;TZID=Europe/Berlin:20260323T090000\n"
                       "DTSTART:20290101T090000\nDURATION:PT1H\n") +
                 event("UID:1\nSUMMARY:from far\nRECURRENCE-ID;TZID=Europe/Berlin:20310106T090000\n"
                       "DTSTART:20260324T120000\nDURATION:PT1H\n") +
                 event("UID:2\nSUMMARY:an occurrence "
                       "alone\nRECURRENCE-ID:20260325T090000\nDTSTART:20260325T090000\n")));
  EXPECT_THAT(
      startingBetween("2026/03/01", "2026/03/31"),
      ElementsAre("03/02 09:00-10:00 jour fixe", "03/10 14:00-14:30 moved", "03/24 12:00-13:00 from far",
                  "03/25 09:00-09:00 an occurrence alone", "03/30 09:00-10:00 jour fixe"));
  EXPECT_THAT(startingOn("2029/01/01"), ElementsAre("09:00-10:00 jour fixe", "09:00-10:00 far away"));
  EXPECT_THAT(startingOn("2031/01/06"), IsEmpty());
}

TEST_F(CalendarTest, OverridesOfAllThatFollow) {
  write(folders.calendar, "series.ics",
        calendar(event("UID:1\nSUMMARY:early\nDTSTART:20260302T090000\nDURATION:PT1H\nRRULE:FREQ=WEEKLY\n") +
                 event("UID:1\nSUMMARY:late\nRECURRENCE-ID;RANGE=THISANDFUTURE:20260316T090000\n"
                       "DTSTART:20260317T200000\nDURATION:PT2H\n") +
                 event("UID:1\nSUMMARY:once\nRECURRENCE-ID:20260323T090000\nDTSTART:20260323T070000\n") +
                 event("UID:1\nSUMMARY:end\nRECURRENCE-ID;RANGE=THISANDFUTURE:20260406T090000\n"
                       "DTSTART:20260406T090000\nSTATUS:CANCELLED\n")));
  EXPECT_THAT(startingBetween("2026/03/01", "2026/04/30"),
              ElementsAre("03/02 09:00-10:00 early", "03/09 09:00-10:00 early", "03/17 20:00-22:00 late",
                          "03/23 07:00-07:00 once", "03/31 20:00-22:00 late"));
}

TEST_F(CalendarTest, CancelledAppointmentsAreNotShown) {
  writeEvent("one.ics", "UID:1\nSUMMARY:one\nDTSTART:20260115T090000\nSTATUS:CANCELLED\n");
  writeEvent("series.ics",
             "UID:2\nSUMMARY:series\nDTSTART:20260115T090000\nRRULE:FREQ=DAILY\nSTATUS:CANCELLED\n");
  EXPECT_THAT(startingOn("2026/01/15"), IsEmpty());
  EXPECT_EQ(items(FolderNumber::kCalendar)->getFirst(), nullptr);
}

TEST_F(CalendarTest, SortsByStartThenByWhenItWasAdded) {
  writeEvent("a.ics", "UID:1\nSUMMARY:third\nDTSTART:20260115T090000\nCREATED:20250103T000000Z\n");
  write(folders.calendar, "b.ics",
        calendar(event("UID:2\nSUMMARY:first\nDTSTART:20260115T080000\nCREATED:20250104T000000Z\n") +
                 event("UID:3\nSUMMARY:second\nDTSTART:20260115T090000\nCREATED:20250102T000000Z\n")));
  writeEvent("c.ics",
             "UID:4\nSUMMARY:fourth\nDTSTART:20250601T090000\nRRULE:FREQ=DAILY;COUNT=400\nCREATED:"
             "20250105T000000Z\n");
  EXPECT_THAT(startingOn("2026/01/15"), ElementsAre("08:00-08:00 first", "09:00-09:00 second",
                                                    "09:00-09:00 third", "09:00-09:00 fourth"));
  // Without a restriction a series stands once; a refused sort leaves the order in which things were added.
  EXPECT_THAT(
      showAll(*items(FolderNumber::kCalendar)),
      ElementsAre("09:00-09:00 fourth", "08:00-08:00 first", "09:00-09:00 second", "09:00-09:00 third"));
  const auto unsorted = items(FolderNumber::kCalendar, "[Size]");
  EXPECT_FALSE(unsorted->sort("[ReceivedTime]"));
  EXPECT_THAT(showAll(*unsorted), ElementsAre("09:00-09:00 second", "09:00-09:00 third", "08:00-08:00 first",
                                              "09:00-09:00 fourth"));
}

TEST_F(CalendarTest, RestrictReadsTheTwoFormsAndNothingElse) {
  writeEvent("a.ics", "UID:1\nSUMMARY:x\nDTSTART:20260115T090000\nDURATION:PT1H\nRRULE:FREQ=DAILY;COUNT=3\n");
  const auto list = items(FolderNumber::kCalendar);
  EXPECT_EQ(list->restrict("[Subject] = \"x\""), nullptr);
  EXPECT_EQ(list->restrict("[Start] < \"2026/13/45\" AND [End] > \"2026/01/15\""), nullptr);
  EXPECT_EQ(list->restrict("[Start] < \"2026/01/15\" AND [End] > \"2026/01/15\" OR 1"), nullptr);
  EXPECT_THAT(showAll(*list->restrict("[Start] < \"2026/01/16 9:30 AM\" AND [End] > \"2026/01/16 9:30 AM\"")),
              ElementsAre("09:00-10:00 x"));
  EXPECT_EQ(showAll(*list->restrict("[Start] < \"2027/01/01\" AND [End] > \"2025/01/01\"")).size(), 3u);
  list->setIncludeRecurrences(false);
  EXPECT_EQ(showAll(*list->restrict("[Start] >= \"2025/01/01\" AND [Start] < \"2027/01/01\"")).size(), 1u);
}

TEST_F(CalendarTest, ReadsTextsAndReminders) {
  struct {
    const char* alarm;
    bool set;
    long minutes;
  } const cases[] = {
      {"", false, 0},
      {"BEGIN:VALARM\nACTION:DISPLAY\nTRIGGER:-PT20M\nEND:VALARM\nBEGIN:VALARM\nTRIGGER:-P1D\nEND:VALARM\n",
       true, 20},
      {"BEGIN:VALARM\nACTION:AUDIO\nTRIGGER;RELATED=END:-PT2H\nEND:VALARM\n", true, 60},
      {"BEGIN:VALARM\nACTION:EMAIL\nTRIGGER;VALUE=DATE-TIME:20260115T073000Z\nEND:VALARM\n", true, 30},
      {"BEGIN:VALARM\nACTION:DISPLAY\nTRIGGER:PT5M\nEND:VALARM\n", true, 0},
      {"BEGIN:VALARM\nACTION:NONE\nTRIGGER;VALUE=DATE-TIME:19760401T005545Z\nEND:VALARM\n", false, 0},
  };
  for (const auto& [alarm, set, minutes] : cases) {
    SCOPED_TRACE(alarm);
    writeEvent(
        "a.ics",
        std::string("UID:1\nSUMMARY:Tea\\, coffee\\; \\\\ more\nLOCATION:Café\nDTSTART;TZID=Europe/Berlin:"
                    "20260115T090000\nDURATION:PT1H\nDESCRIPTION:one\\ntwo\n  and on\n") +
            alarm);
    const auto item = first(FolderNumber::kCalendar);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->flag(FlagProperty::kReminderSet), set);
    EXPECT_EQ(item->number(NumberProperty::kReminderMinutesBeforeStart), minutes);
    EXPECT_EQ(item->text(TextProperty::kSubject), "Tea, coffee; \\ more");
    EXPECT_EQ(item->text(TextProperty::kLocation), "Café");
    EXPECT_EQ(item->text(TextProperty::kBody), "one\r\ntwo and on");
    EXPECT_EQ(item->text(TextProperty::kLastName), std::nullopt);
    EXPECT_FALSE(item->setText(TextProperty::kSubject, "changed"));
  }
}

TEST_F(CalendarTest, BrokenPartsSpoilNothingElseAndAreLoggedOnce) {
  const std::string good = event("UID:1\nSUMMARY:good\nDTSTART:20260115T090000\n");
  write(folders.calendar, "1.ics", calendar(event("UID:2\nSUMMARY:bad\nDTSTART:20260230T090000\n") + good));
  write(folders.calendar, "2.ics", "this is no calendar");
  write(folders.calendar, "3.ics", "BEGIN:VCALENDAR\n" + good + "BEGIN:VEVENT\nUID:3\nSUMMARY:cut o");
  write(folders.calendar, "4.ics",
        calendar("BEGIN:VEVENT\nSUMMARY:no end\nDTSTART:20260115T090000\n" + good));
  write(folders.calendar, "5.ics",
        calendar(event("UID:5\nSUMMARY:odd zone\nDTSTART;TZID=../../etc/passwd:20260115T090000\n")));
  write(folders.calendar, "6.ics",
        "\xEF\xBB\xBF" + calendar(event("UID:6\nSUMMARY:Gr\xFC\xDF"
                                        "e\nDTSTART:20260115T090000\n")));
  write(folders.calendar, "7.ics",
        calendar(event("UID:7\nSUMMARY:odd rule\nDTSTART:20260115T090000\nRRULE:FREQ=SOMETIMES\n")));
  std::filesystem::create_directory(folders.calendar + "/8.ics");
  write(folders.calendar, ".9.ics", calendar(good));
  write(folders.calendar, "~10.ics", calendar(good));
  write(folders.calendar, "11.ics~", calendar(good));
  const Lines expected = startingOn("2026/01/15");
  EXPECT_THAT(expected, testing::UnorderedElementsAre("09:00-09:00 good", "09:00-09:00 good",
                                                      "09:00-09:00 good", "09:00-09:00 odd zone",
                                                      "09:00-09:00 Grüße", "09:00-09:00 odd rule"));
  EXPECT_EQ(log.size(), 6u) << testing::PrintToString(log);
  EXPECT_EQ(startingOn("2026/01/15"), expected);
  EXPECT_EQ(log.size(), 6u);
  for (const std::string& line : log) EXPECT_EQ(line.find_first_of("\r\n"), std::string::npos) << line;
}

struct NastyCase {
  const char* name;
  const char* lines;
};
void PrintTo(const NastyCase& nasty, std::ostream* out) { *out << nasty.name; }

class NastyRuleTest : public LocalOutlookTest, public testing::WithParamInterface<NastyCase> {};

// What is shown of such a series does not matter much; that it neither hangs nor spoils the others does.
TEST_P(NastyRuleTest, CostsLittle) {
  writeEvent("good.ics", "UID:1\nSUMMARY:good\nDTSTART:20260115T080000\n");
  writeEvent("nasty.ics", std::string("UID:2\nSUMMARY:nasty\nDTSTART:20200101T090000\n") + GetParam().lines);
  const clock_t before = ::clock();
  for (const char* day : {"2026/01/15", "2026/12/31", "2040/02/29", "0001/01/01", "9999/12/30"}) {
    const Lines shown = startingOn(day);
    if (std::string(day) == "2026/01/15") {
      EXPECT_THAT(shown, testing::Contains("08:00-08:00 good"));
    }
    runningInto(day);
  }
  EXPECT_LT(static_cast<double>(::clock() - before) / CLOCKS_PER_SEC, 20) << "seconds of CPU";
  EXPECT_LE(log.size(), 1u) << testing::PrintToString(log);
}

INSTANTIATE_TEST_SUITE_P(
    All, NastyRuleTest,
    testing::Values(
        NastyCase{"everySecond", "RRULE:FREQ=SECONDLY\n"},
        NastyCase{"aSecondThatNeverComes", "RRULE:FREQ=SECONDLY;BYMONTH=2;BYMONTHDAY=30\n"},
        NastyCase{"aMinuteThatNeverComes", "RRULE:FREQ=MINUTELY;BYMONTH=2;BYMONTHDAY=30;COUNT=5\n"},
        NastyCase{"anHourThatNeverComes", "RRULE:FREQ=HOURLY;BYMONTH=2;BYMONTHDAY=30\n"},
        NastyCase{"aDayThatNeverComes", "RRULE:FREQ=DAILY;BYMONTH=2;BYMONTHDAY=30\n"},
        NastyCase{"aMonthThatNeverComes", "RRULE:FREQ=MONTHLY;BYMONTH=2;BYMONTHDAY=30\n"},
        NastyCase{"aYearThatNeverComes", "RRULE:FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=30\n"},
        NastyCase{"aWeekThatNeverComes", "RRULE:FREQ=YEARLY;BYWEEKNO=53;BYMONTH=6\n"},
        NastyCase{
            "everyTimeOfTheYear",
            "RRULE:FREQ=YEARLY;BYMONTH=1,2,3,4,5,6,7,8,9,10,11,12;BYDAY=MO,TU,WE,TH,FR,SA,SU;"
            "BYHOUR=0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23;"
            "BYMINUTE=0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23,24,25,26,27,28,29,30;"
            "BYSECOND=0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23,24,25,26,27,28,29,30;"
            "BYSETPOS=-1\n"},
        NastyCase{"hugeCount", "RRULE:FREQ=SECONDLY;COUNT=2147483647\n"},
        NastyCase{"hugeInterval",
                  "RRULE:FREQ=YEARLY;INTERVAL=32767\nRRULE:FREQ=SECONDLY;INTERVAL=2147483647\n"},
        NastyCase{"noInterval", "RRULE:FREQ=DAILY;INTERVAL=0\n"},
        NastyCase{"negativeInterval", "RRULE:FREQ=DAILY;INTERVAL=-3\n"},
        NastyCase{"endlessLength", "DURATION:P400000000W\nRRULE:FREQ=DAILY\n"},
        NastyCase{"fromLongAgo", "DTSTART:00010101T000000\nRRULE:FREQ=DAILY\n"},
        NastyCase{"fromTheEnd", "EXDATE:99991231T235959\nRDATE:99991231T235959\n"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(CalendarTest, TimeZoneThatChangesEverySecondIsNoTimeZone) {
  write(folders.calendar, "zone.ics",
        calendar("BEGIN:VTIMEZONE\nTZID:Europe/Berlin\nBEGIN:STANDARD\nDTSTART:19700101T000000\n"
                 "RRULE:FREQ=SECONDLY\nTZOFFSETFROM:+0100\nTZOFFSETTO:+0700\nEND:STANDARD\nEND:VTIMEZONE\n" +
                 event("UID:1\nSUMMARY:x\nDTSTART;TZID=Europe/Berlin:20260115T090000\n")));
  EXPECT_THAT(startingOn("2026/01/15"), ElementsAre("09:00-09:00 x"));
}

}  // namespace
}  // namespace kova::platform::local_outlook
