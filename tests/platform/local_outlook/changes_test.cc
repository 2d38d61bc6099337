#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "local_outlook_fixture.h"

namespace kova::platform::local_outlook {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// What other programs do to the files while the server runs.
class ChangesTest : public LocalOutlookTest {
 protected:
  static std::string card(const std::string& name) {
    return "BEGIN:VCARD\nVERSION:3.0\nN:" + name + ";;;;\nFN:" + name + "\nEND:VCARD\n";
  }
  Lines names() { return texts(FolderNumber::kContacts, TextProperty::kLastNameAndFirstName); }
};

TEST_F(ChangesTest, FilesComeChangeAndGo) {
  EXPECT_THAT(names(), IsEmpty());  // the folder is not there yet
  const std::string a = write(folders.contacts, "a.vcf", card("Anna"));
  EXPECT_THAT(names(), ElementsAre("Anna"));

  write(folders.contacts, "b.vcf", card("Bert"));
  EXPECT_THAT(names(), UnorderedElementsAre("Anna", "Bert"));

  // In place, with the same length and the old time stamp.
  struct stat before{};
  ::stat(a.c_str(), &before);
  {
    std::fstream file(a, std::ios::in | std::ios::out | std::ios::binary);
    file << card("Anne");
  }
  const timespec times[] = {before.st_atim, before.st_mtim};
  ::utimensat(AT_FDCWD, a.c_str(), times, 0);
  EXPECT_THAT(names(), UnorderedElementsAre("Anne", "Bert"));

  // While it is still open for writing.
  std::ofstream open(a, std::ios::binary);
  open << card("Half") << std::flush;
  EXPECT_THAT(names(), UnorderedElementsAre("Half", "Bert"));
  open << card("Whole") << std::flush;
  EXPECT_THAT(names(), UnorderedElementsAre("Half", "Whole", "Bert"));
  open.close();

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

TEST_F(ChangesTest, LinksAreFollowedAndTheirFilesWatched) {
  const std::string target = write(root + "/elsewhere", "target", card("Anna"));
  fs::create_directories(folders.contacts);
  fs::create_symlink(target, folders.contacts + "/soft.vcf");
  fs::create_hard_link(write(root + "/elsewhere", "other", card("Bert")), folders.contacts + "/hard.vcf");
  EXPECT_THAT(names(), UnorderedElementsAre("Anna", "Bert"));
  write(root + "/elsewhere", "target", card("Anne"));
  EXPECT_THAT(names(), UnorderedElementsAre("Anne", "Bert"));
  write(root + "/elsewhere", "other", card("Burt"));
  EXPECT_THAT(names(), UnorderedElementsAre("Anne", "Burt"));
  fs::remove(target);
  EXPECT_THAT(names(), ElementsAre("Burt"));
  names();
  EXPECT_EQ(log.size(), 1u) << testing::PrintToString(log);
  write(root + "/elsewhere", "target", card("Anja"));
  EXPECT_THAT(names(), UnorderedElementsAre("Anja", "Burt"));

  fs::rename(folders.contacts, root + "/real");
  fs::create_directory_symlink(root + "/real", folders.contacts);
  EXPECT_THAT(names(), UnorderedElementsAre("Anja", "Burt"));
  write(root + "/real", "c.vcf", card("Carl"));
  EXPECT_THAT(names(), UnorderedElementsAre("Anja", "Burt", "Carl"));
}

TEST_F(ChangesTest, MoreChangesThanTheSystemReports) {
  write(folders.contacts, "keep.vcf", card("Keep"));
  write(folders.contacts, "change.vcf", card("Old"));
  EXPECT_EQ(names().size(), 2u);
  // Enough to overrun the queue (fs.inotify.max_queued_events, 16384 where nobody changed it).
  std::ifstream limit("/proc/sys/fs/inotify/max_queued_events");
  int most = 16384;
  limit >> most;
  if (most > 200'000) GTEST_SKIP() << "the queue is too long to be overrun here";
  for (int i = 0; i < most / 4 + 100; ++i) {
    const std::string path = folders.contacts + "/passing" + std::to_string(i % 50) + ".vcf";
    std::ofstream(path) << "x";
    fs::remove(path);
  }
  write(folders.contacts, "change.vcf", card("New"));
  write(folders.contacts, "more.vcf", card("More"));
  EXPECT_THAT(names(), UnorderedElementsAre("Keep", "New", "More"));
}

TEST_F(ChangesTest, WhatIsNoRegularFileNeitherBlocksNorShows) {
  fs::create_directories(folders.contacts);
  fs::create_directories(folders.inbox + "/new");
  ASSERT_EQ(::mkfifo((folders.contacts + "/pipe.vcf").c_str(), 0600), 0);
  ASSERT_EQ(::mkfifo((folders.inbox + "/new/pipe").c_str(), 0600), 0);
  fs::create_symlink("/dev/zero", folders.contacts + "/zero.vcf");
  fs::create_symlink("loop.vcf", folders.contacts + "/loop.vcf");
  write(folders.contacts, "a.vcf", card("Anna"));
  // A file of 2 TiB that takes no room.
  const std::string huge = write(folders.contacts, "huge.vcf", "");
  if (::truncate(huge.c_str(), 2L << 40) != 0) fs::remove(huge);
  EXPECT_THAT(names(), ElementsAre("Anna"));
  EXPECT_THAT(texts(FolderNumber::kInbox, TextProperty::kSubject), IsEmpty());
  const std::size_t lines = log.size();
  EXPECT_GE(lines, 4u);
  EXPECT_THAT(names(), ElementsAre("Anna"));
  EXPECT_THAT(texts(FolderNumber::kInbox, TextProperty::kSubject), IsEmpty());
  EXPECT_EQ(log.size(), lines) << testing::PrintToString(log);
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
