#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/local_outlook/changes_fixture.h"

namespace kova::platform::local_outlook {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST_F(ChangesTest, AFileThatIsStillOpenForWriting) {
  const std::string a = write(folders.contacts, "a.vcf", card("Anna"));
  EXPECT_THAT(names(), ElementsAre("Anna"));
  std::ofstream open(a, std::ios::binary);
  open << card("Half") << std::flush;
  EXPECT_THAT(names(), ElementsAre("Half"));
  open << card("Whole") << std::flush;
  EXPECT_THAT(names(), UnorderedElementsAre("Half", "Whole"));
  open.close();
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

}  // namespace
}  // namespace kova::platform::local_outlook
