#include <gmock/gmock.h>

#include "platform/local_outlook/changes_fixture.h"

namespace kova::platform::local_outlook {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST_F(ChangesTest, FilesComeChangeAndGo) {
  EXPECT_THAT(names(), IsEmpty());  // the folder is not there yet
  const std::string a = write(folders.contacts, "a.vcf", card("Anna"));
  EXPECT_THAT(names(), ElementsAre("Anna"));

  write(folders.contacts, "b.vcf", card("Bert"));
  EXPECT_THAT(names(), UnorderedElementsAre("Anna", "Bert"));

  // In place, with the same length and the old time stamp.
  const auto before = fs::last_write_time(a);
  {
    std::fstream file(a, std::ios::in | std::ios::out | std::ios::binary);
    file << card("Anne");
  }
  fs::last_write_time(a, before);
  EXPECT_THAT(names(), UnorderedElementsAre("Anne", "Bert"));

  write(folders.contacts, ".c.vcf.tmp", card("Carl"));
  fs::rename(folders.contacts + "/.c.vcf.tmp", folders.contacts + "/a.vcf");
  EXPECT_THAT(names(), UnorderedElementsAre("Carl", "Bert"));

  fs::rename(folders.contacts + "/b.vcf", folders.contacts + "/b.vcf~");
  EXPECT_THAT(names(), ElementsAre("Carl"));
  fs::rename(folders.contacts + "/b.vcf~", folders.contacts + "/d.VCF");
  EXPECT_THAT(names(), UnorderedElementsAre("Carl", "Bert"));

  fs::remove(a);
  EXPECT_THAT(names(), ElementsAre("Bert"));
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(ChangesTest, FolderGoesAndComes) {
  write(folders.contacts, "a.vcf", card("Anna"));
  EXPECT_THAT(names(), ElementsAre("Anna"));
  fs::rename(folders.contacts, root + "/aside");
  EXPECT_THAT(names(), IsEmpty());
  write(folders.contacts, "a.vcf", card("Bert"));
  EXPECT_THAT(names(), ElementsAre("Bert"));
  // Another folder in its place between two looks.
  write(root + "/other", "a.vcf", card("Carl"));
  fs::rename(folders.contacts, root + "/away");
  fs::rename(root + "/other", folders.contacts);
  EXPECT_THAT(names(), ElementsAre("Carl"));
  // Removed and made again, maybe with the same number in the file system.
  fs::remove_all(folders.contacts);
  write(folders.contacts, "a.vcf", card("Dora"));
  EXPECT_THAT(names(), ElementsAre("Dora"));
  fs::rename(root + "/aside", folders.contacts + "/below");
  EXPECT_THAT(names(), ElementsAre("Dora"));

  fs::remove_all(folders.contacts);
  std::ofstream(folders.contacts) << "a file where the folder should be";
  EXPECT_THAT(names(), ElementsAre("no answer"));
  EXPECT_THAT(names(), ElementsAre("no answer"));
  EXPECT_THAT(log, ElementsAre(testing::HasSubstr("is not a folder")));
  fs::remove(folders.contacts);
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(ChangesTest, BrokenFileIsLoggedAgainOnlyAfterItChanged) {
  write(folders.contacts, "a.vcf", "nonsense");
  names();
  names();
  EXPECT_EQ(log.size(), 1u);
  write(folders.contacts, "a.vcf", "other nonsense");
  names();
  EXPECT_EQ(log.size(), 2u);
  write(folders.contacts, "a.vcf", card("Anna"));
  EXPECT_THAT(names(), ElementsAre("Anna"));
  EXPECT_EQ(log.size(), 2u);
}

TEST_F(ChangesTest, SeriesChangeInYearsThatWereLookedAt) {
  writeEvent("s.ics", "UID:1\nSUMMARY:old\nDTSTART:20260105T090000\nRRULE:FREQ=WEEKLY\n");
  writeEvent("t.ics", "UID:2\nSUMMARY:other\nDTSTART:20260105T080000\nRRULE:FREQ=WEEKLY\n");
  EXPECT_THAT(startingOn("2026/01/12"), ElementsAre("08:00-08:00 other", "09:00-09:00 old"));
  EXPECT_THAT(startingOn("2027/01/11"), ElementsAre("08:00-08:00 other", "09:00-09:00 old"));
  writeEvent("s.ics", "UID:1\nSUMMARY:new\nDTSTART:20260105T073000\nRRULE:FREQ=WEEKLY;UNTIL=20260201\n");
  EXPECT_THAT(startingOn("2026/01/12"), ElementsAre("07:30-07:30 new", "08:00-08:00 other"));
  EXPECT_THAT(startingOn("2027/01/11"), ElementsAre("08:00-08:00 other"));
  fs::remove(folders.calendar + "/t.ics");
  EXPECT_THAT(startingOn("2026/01/12"), ElementsAre("07:30-07:30 new"));
}

TEST_F(ChangesTest, ItemsInUseOutliveTheirFilesAndTheProgramThatReadThem) {
  write(folders.contacts, "a.vcf", card("Anna"));
  write(folders.contacts, "b.vcf", card("Bert"));
  writeEvent("a.ics", "UID:1\nSUMMARY:x\nDTSTART:20260115T090000\n");
  auto list = items(FolderNumber::kContacts);
  const auto contact = list->getFirst();
  const auto appointment = first(FolderNumber::kCalendar);
  fs::remove_all(folders.contacts);
  fs::remove_all(folders.calendar);
  EXPECT_THAT(names(), IsEmpty());
  EXPECT_THAT(startingOn("2026/01/15"), IsEmpty());
  automation.reset();
  EXPECT_EQ(contact->text(TextProperty::kLastName)->size(), 4u);
  EXPECT_NE(list->getNext(), nullptr);
  EXPECT_EQ(list->getNext(), nullptr);
  EXPECT_EQ(appointment->text(TextProperty::kSubject), "x");
}

TEST_F(ChangesTest, OnlyTheKnownProgramAndFoldersAnswer) {
  EXPECT_EQ(automation->createObject("Word.Application"), nullptr);
  EXPECT_EQ(automation->createObject("Outlook.Application")->getNamespace("IMAP"), nullptr);
}

}  // namespace
}  // namespace kova::platform::local_outlook
