#include <gmock/gmock.h>
#include <libical/ical.h>

#include <functional>
#include <limits>

#include "platform/local_outlook/saving_fixture.h"

namespace kova::platform::local_outlook {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// The file as the library reads it, which had no part in writing it.
struct Parsed {
  explicit Parsed(const std::string& text) : calendar(icalparser_parse_string(text.c_str())) {}
  ~Parsed() { icalcomponent_free(calendar); }
  icalcomponent* inner() const { return icalcomponent_get_first_real_component(calendar); }
  icalcomponent* calendar;
};

TEST_F(SavingTest, MeetingIsReadBackByUsAndByOthers) {
  ASSERT_TRUE(meeting("Lunch; with \"Anna\", at noon", {2026, 7, 14, 12, 30, 0}, 45, 10)->save());
  EXPECT_THAT(startingOn("2026/07/14"), ElementsAre("12:30-13:15 Lunch; with \"Anna\", at noon"));
  const auto item = first(FolderNumber::kCalendar);
  EXPECT_EQ(item->text(TextProperty::kBody), "entered via cell phone");
  EXPECT_EQ(item->text(TextProperty::kLocation), "");
  EXPECT_EQ(item->number(NumberProperty::kDuration), 45);
  EXPECT_EQ(item->number(NumberProperty::kReminderMinutesBeforeStart), 10);
  EXPECT_EQ(item->flag(FlagProperty::kReminderSet), true);

  const std::string path = onlyFileIn(folders.calendar);
  const Parsed parsed(read(path));
  ASSERT_NE(parsed.calendar, nullptr);
  EXPECT_EQ(icalcomponent_count_errors(parsed.calendar), 0);
  EXPECT_NE(icalrestriction_check(parsed.calendar), 0);
  EXPECT_EQ(icalcomponent_get_first_property(parsed.calendar, ICAL_METHOD_PROPERTY), nullptr);
  EXPECT_STREQ(icalcomponent_get_summary(parsed.inner()), "Lunch; with \"Anna\", at noon");
  EXPECT_STREQ(icaltime_as_ical_string(icalcomponent_get_dtstart(parsed.inner())), "20260714T103000Z");
  EXPECT_STREQ(icaltime_as_ical_string(icalcomponent_get_dtend(parsed.inner())), "20260714T111500Z");
  icalcomponent* const alarm = icalcomponent_get_first_component(parsed.inner(), ICAL_VALARM_COMPONENT);
  ASSERT_NE(alarm, nullptr);
  const auto trigger =
      icalproperty_get_trigger(icalcomponent_get_first_property(alarm, ICAL_TRIGGER_PROPERTY));
  EXPECT_EQ(icaldurationtype_as_int(trigger.duration), -600);
}

TEST_F(SavingTest, MeetingOfAnyLength) {
  const struct {
    long duration, reminder;
  } cases[] = {{0, 0}, {999'999'999, 999'999'999}, {2'147'483'647, 2'147'483'647}};
  for (const auto& [duration, reminder] : cases) {
    fs::remove_all(folders.calendar);
    ASSERT_TRUE(meeting("x", {2099, 12, 31, 23, 59, 0}, duration, reminder)->save()) << duration;
    const auto item = first(FolderNumber::kCalendar);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->date(DateProperty::kStart), (DateTime{2099, 12, 31, 23, 59, 0}));
    // A summer far away may be an hour off; where a long is short, libical has no year 4000.
    if (sizeof(long) == 4 && duration != 0) continue;
    EXPECT_NEAR(static_cast<double>(*item->number(NumberProperty::kDuration)), static_cast<double>(duration),
                60);
    EXPECT_EQ(item->number(NumberProperty::kReminderMinutesBeforeStart), reminder);
  }
  const auto item = make(ItemNumber::kAppointment);
  EXPECT_FALSE(item->setNumber(NumberProperty::kDuration, -1));
  if (sizeof(long) > 4) {
    EXPECT_FALSE(item->setNumber(NumberProperty::kDuration, std::numeric_limits<long>::max()));
  }
  EXPECT_FALSE(item->setDate(DateProperty::kStart, {2026, 2, 30, 0, 0, 0}));
  EXPECT_FALSE(item->save()) << "it has no start";
}

TEST_F(SavingTest, MeetingWhileTheClockChanges) {
  ASSERT_TRUE(meeting("night", {2026, 3, 28, 23, 0, 0}, 8 * 60, 0)->save());
  EXPECT_THAT(startingOn("2026/03/28"), ElementsAre("23:00-08:00 night"));
}

TEST_F(SavingTest, ContactIsReadBack) {
  const auto contact = make(ItemNumber::kContact);
  EXPECT_TRUE(contact->setText(TextProperty::kFullName, "Dr. Anna Maria van der Berg"));
  EXPECT_TRUE(contact->setText(TextProperty::kCompanyName, "Smith; Sons, Inc."));
  EXPECT_TRUE(contact->setText(TextProperty::kHomeTelephoneNumber, "0301234"));
  EXPECT_TRUE(contact->setText(TextProperty::kEmail1Address, "anna@example.com"));
  EXPECT_TRUE(contact->setText(TextProperty::kBusinessTelephoneNumber, "0305678"));
  EXPECT_TRUE(contact->setText(TextProperty::kPagerNumber, "0309"));
  EXPECT_FALSE(contact->setText(TextProperty::kLastNameAndFirstName, "x"));
  EXPECT_EQ(contact->text(TextProperty::kLastNameAndFirstName), "van der Berg, Anna");
  ASSERT_TRUE(contact->save());
  EXPECT_TRUE(contact->save()) << "saved already";
  EXPECT_FALSE(contact->setText(TextProperty::kFullName, "too late"));

  const auto item = first(FolderNumber::kContacts);
  ASSERT_NE(item, nullptr);
  const std::pair<TextProperty, const char*> expected[] = {
      {TextProperty::kLastNameAndFirstName, "van der Berg, Anna"},
      {TextProperty::kFullName, "Dr. Anna Maria van der Berg"},
      {TextProperty::kTitle, "Dr."},
      {TextProperty::kCompanyName, "Smith; Sons, Inc."},
      {TextProperty::kHomeTelephoneNumber, "0301234"},
      {TextProperty::kHome2TelephoneNumber, ""},
      {TextProperty::kEmail1Address, "anna@example.com"},
      {TextProperty::kBusinessTelephoneNumber, "0305678"},
      {TextProperty::kPagerNumber, "0309"},
  };
  for (const auto& [property, value] : expected) EXPECT_EQ(item->text(property), value);
  const std::string file = read(onlyFileIn(folders.contacts));
  EXPECT_THAT(file, HasSubstr("\r\nN:van der Berg;Anna;Maria;Dr.;\r\nFN:Dr. Anna Maria van der Berg\r\n"));
  EXPECT_THAT(file, testing::StartsWith("BEGIN:VCARD\r\nVERSION:3.0\r\n"));
  EXPECT_THAT(file, testing::EndsWith("END:VCARD\r\n"));
}

TEST_F(SavingTest, NotesAndTasksAreReadBack) {
  ASSERT_TRUE(saveNote("Heading\rfirst\r\nsecond\nthird"));
  const auto note = first(FolderNumber::kNotes);
  EXPECT_EQ(note->text(TextProperty::kSubject), "Heading");
  EXPECT_EQ(note->text(TextProperty::kBody), "Heading\r\nfirst\r\nsecond\r\nthird");
  const Parsed journal(read(onlyFileIn(folders.notes)));
  EXPECT_EQ(icalcomponent_isa(journal.inner()), ICAL_VJOURNAL_COMPONENT);
  EXPECT_STREQ(icalcomponent_get_summary(journal.inner()), "Heading");
  EXPECT_STREQ(icalcomponent_get_description(journal.inner()), "first\nsecond\nthird");
  EXPECT_FALSE(make(ItemNumber::kNote)->setText(TextProperty::kSubject, "read only"));

  const auto task = make(ItemNumber::kTask);
  EXPECT_TRUE(task->setText(TextProperty::kSubject, "Write"));
  EXPECT_TRUE(task->setText(TextProperty::kBody, "a letter"));
  ASSERT_TRUE(task->save());
  const auto saved = first(FolderNumber::kTasks);
  EXPECT_EQ(saved->text(TextProperty::kSubject), "Write");
  EXPECT_EQ(saved->text(TextProperty::kBody), "a letter");
  EXPECT_EQ(saved->date(DateProperty::kDueDate), (DateTime{4501, 1, 1, 0, 0, 0}));
  EXPECT_EQ(saved->number(NumberProperty::kPercentComplete), 0);
  const Parsed todo(read(onlyFileIn(folders.tasks)));
  EXPECT_EQ(icalcomponent_isa(todo.inner()), ICAL_VTODO_COMPONENT);
  EXPECT_EQ(icalcomponent_count_errors(todo.calendar), 0);
}

TEST_F(SavingTest, LongAndForeignTextsAreFoldedBetweenCharacters) {
  std::string title;
  for (int i = 0; i < 60; ++i) title += "Größe €𝄞 ";
  title += "end";
  ASSERT_TRUE(meeting(title, {2026, 7, 14, 12, 0, 0}, 30, 5)->save());
  EXPECT_EQ(first(FolderNumber::kCalendar)->text(TextProperty::kSubject), title);
  const std::string file = read(onlyFileIn(folders.calendar));
  for (std::size_t at = 0; at < file.size();) {
    const std::size_t end = file.find("\r\n", at);
    ASSERT_NE(end, std::string::npos);
    EXPECT_LE(end - at, 75u);
    if (file[at] == ' ') {
      EXPECT_NE(static_cast<unsigned char>(file[at + 1]) & 0xC0, 0x80);
    }
    at = end + 2;
  }
}

TEST_F(SavingTest, NoTextCanAddAProperty) {
  using namespace std::string_literals;
  const std::string nasty[] = {
      "x\r\nATTENDEE:mailto:evil@example.com",
      "x\nEND:VEVENT\nEND:VCALENDAR\nBEGIN:VCALENDAR",
      "x\rEND:VCARD\rBEGIN:VCARD\rFN:evil",
      "x\\\r\nEVIL:1",
      "x\0\r\nEVIL:1"s,
      "x\x0b\x0c\x85\xe2\x80\xa8"
      "EVIL:1",
      "x;EVIL=1:2,3;\\;\\",
      "\r\n EVIL:folded",
      "\xff\xfe\r\nEVIL:1",
      std::string(74, 'x') + "\r\nEVIL:1",
  };
  for (const std::string& text : nasty) {
    SCOPED_TRACE(testing::PrintToString(text));
    for (const std::string& folder : {folders.calendar, folders.contacts, folders.notes})
      fs::remove_all(folder);
    ASSERT_TRUE(meeting(text, {2026, 7, 14, 12, 0, 0}, 30, 5)->save());
    const Parsed parsed(read(onlyFileIn(folders.calendar)));
    EXPECT_EQ(icalcomponent_count_components(parsed.calendar, ICAL_ANY_COMPONENT), 1);
    EXPECT_EQ(icalcomponent_count_components(parsed.inner(), ICAL_ANY_COMPONENT), 1);
    EXPECT_EQ(icalcomponent_count_properties(parsed.inner(), ICAL_ANY_PROPERTY), 8);
    EXPECT_EQ(icalcomponent_count_errors(parsed.calendar), 0);

    const auto contact = make(ItemNumber::kContact);
    contact->setText(TextProperty::kFullName, text);
    contact->setText(TextProperty::kEmail1Address, text);
    contact->setText(TextProperty::kWebPage, text);
    contact->setText(TextProperty::kPagerNumber, text);
    ASSERT_TRUE(contact->save());
    EXPECT_EQ(texts(FolderNumber::kContacts, TextProperty::kFullName).size(), 1u);
    const std::string card = read(onlyFileIn(folders.contacts));
    EXPECT_THAT(card, testing::Not(HasSubstr("\nEVIL")));
    EXPECT_EQ(card.find("\nBEGIN:VCARD"), std::string::npos);

    ASSERT_TRUE(saveNote(text));
    EXPECT_EQ(texts(FolderNumber::kNotes, TextProperty::kBody).size(), 1u);
  }
}

TEST_F(SavingTest, ManyItemsStandInTheirOrder) {
  for (int i = 0; i < 20; ++i) ASSERT_TRUE(saveNote("note"));
  EXPECT_EQ(filesIn(folders.notes).size(), 20u);
  EXPECT_EQ(texts(FolderNumber::kNotes, TextProperty::kBody).size(), 20u);
}

TEST_F(SavingTest, MissingFoldersAreMade) {
  folders.notes = root + "/a/b/c/notes/";
  start();
  EXPECT_THAT(texts(FolderNumber::kNotes, TextProperty::kBody), IsEmpty());
  ASSERT_TRUE(saveNote("deep"));
  EXPECT_THAT(texts(FolderNumber::kNotes, TextProperty::kBody), ElementsAre("deep"));
}

TEST_F(SavingTest, AFileInTheWay) {
  std::ofstream(folders.notes) << "here";
  EXPECT_FALSE(saveNote("x"));
  EXPECT_THAT(log, ElementsAre(HasSubstr(folders.notes)));
  EXPECT_EQ(read(folders.notes), "here");

  folders.tasks = folders.notes + "/below";
  start();
  EXPECT_FALSE(make(ItemNumber::kTask)->save());
  EXPECT_EQ(log.size(), 2u);
}

}  // namespace
}  // namespace kova::platform::local_outlook
