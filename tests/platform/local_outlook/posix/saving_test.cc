#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/local_outlook/saving_fixture.h"

namespace kova::platform::local_outlook {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(SavingTest, FullDisk) {
  fs::create_directories(folders.notes);
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  rlimit limit = before;
  limit.rlim_cur = 100;  // bytes a file may have: the write stops in the middle
  const auto handler = ::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  const bool saved = saveNote("does not fit");
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  ::signal(SIGXFSZ, handler);
  EXPECT_FALSE(saved);
  EXPECT_THAT(filesIn(folders.notes), IsEmpty());
  EXPECT_EQ(log.size(), 1u);
  EXPECT_TRUE(saveNote("fits"));
}

TEST_F(SavingTest, NoRightToWrite) {
  fs::create_directories(folders.notes);
  ::chmod(folders.notes.c_str(), 0555);
  ::chmod(root.c_str(), 0755);
  // The rights say nothing to root.
  const bool isRoot = ::geteuid() == 0;
  ASSERT_EQ(isRoot ? ::seteuid(65534) : 0, 0);
  const bool saved = saveNote("x");
  ASSERT_EQ(isRoot ? ::seteuid(0) : 0, 0);
  ::chmod(folders.notes.c_str(), 0755);
  EXPECT_FALSE(saved);
  EXPECT_THAT(filesIn(folders.notes), IsEmpty());
  EXPECT_THAT(log, ElementsAre(HasSubstr("Permission denied")));
}

}  // namespace
}  // namespace kova::platform::local_outlook
