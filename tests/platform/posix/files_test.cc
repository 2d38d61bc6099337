#include "platform/posix/files.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "platform/posix/clock.h"
#include "platform/posix/host_lookup.h"
#include "temporary_directory.h"

namespace kova::platform::posix {
namespace {

namespace fs = std::filesystem;

class FilesTest : public ::testing::Test {
 protected:
  std::string at(const std::string& name) const { return directory_.path() + "/" + name; }
  void put(const std::string& name, const std::string& content) const {
    std::ofstream(at(name), std::ios::binary) << content;
  }
  std::string content(const std::string& name) const {
    std::ifstream file(at(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  TemporaryDirectory directory_;
  PosixFiles files_;
};

TEST_F(FilesTest, ReadsAnyPieceOfAFile) {
  std::mt19937 random(1);
  std::string all(100'000, '\0');
  for (char& c : all) c = static_cast<char>(random());
  put("file", all);
  EXPECT_EQ(100'000, files_.length(at("file")).value);
  const auto file = files_.open(at("file"));
  ASSERT_TRUE(file);
  EXPECT_EQ(100'000, (*file.value)->length());
  const auto check = [&](std::size_t offset, std::size_t count) {
    std::string piece(count, '?');
    const long got = (*file.value)->readAt(static_cast<std::int64_t>(offset), piece);
    const std::string wanted = offset < all.size() ? all.substr(offset, count) : std::string();
    ASSERT_EQ(static_cast<long>(wanted.size()), got);
    ASSERT_TRUE(piece.starts_with(wanted)) << offset << " " << count;
  };
  for (std::size_t offset = 0; offset < all.size(); offset += 1024) check(offset, 1024);
  check(0, all.size() + 5);
  check(all.size(), 1);
  for (int i = 0; i < 300; ++i) check(random() % (all.size() + 100), random() % 70'000);
}

TEST_F(FilesTest, OnlyRegularFilesAreFiles) {
  put("file", "content");
  fs::create_directory(at("directory"));
  ASSERT_EQ(0, ::mkfifo(at("pipe").c_str(), 0600));
  fs::create_symlink("file", at("link"));
  fs::create_symlink("loop", at("loop"));
  fs::create_symlink("nothing", at("dangling"));
  static const struct {
    const char* name;
    int error;
  } kCases[] = {
      {"file", file_error::kNone},          {"link", file_error::kNone},
      {"directory", file_error::kNotFound}, {"pipe", file_error::kNotFound},
      {"dangling", file_error::kNotFound},  {"absent", file_error::kNotFound},
      {"loop", file_error::kPathNotFound},  {"file/below", file_error::kPathNotFound},
  };
  for (const auto& each : kCases) {
    EXPECT_EQ(each.error, files_.length(at(each.name)).error) << each.name;
    EXPECT_EQ(each.error, files_.open(at(each.name)).error) << each.name;
  }
  EXPECT_FALSE(files_.open(at("file") + std::string("\0.wml", 5)));
  EXPECT_FALSE(files_.open(""));
}

TEST_F(FilesTest, CreatePutsANewFileInThePlaceOfWhateverWasThere) {
  put("secret", "do not touch");
  fs::create_symlink("secret", at("deck"));
  put("shared", "old");
  fs::create_hard_link(at("shared"), at("deck2"));
  for (const char* name : {"deck", "deck2", "deck3"}) {
    const auto file = files_.create(at(name));
    ASSERT_TRUE(file) << name;
    EXPECT_TRUE(file->write("new "));
    EXPECT_TRUE(file->write(std::string(100'000, 'x')));
    EXPECT_TRUE(file->close());
    EXPECT_EQ("new " + std::string(100'000, 'x'), content(name));
    struct stat info{};
    ASSERT_EQ(0, ::lstat(at(name).c_str(), &info));
    EXPECT_TRUE(S_ISREG(info.st_mode));
    EXPECT_EQ(0600U, info.st_mode & 07777U);
  }
  EXPECT_EQ("do not touch", content("secret"));
  EXPECT_EQ("old", content("shared"));
  fs::create_directory(at("directory"));
  EXPECT_FALSE(files_.create(at("directory")));
  EXPECT_FALSE(files_.create(at("none/deck")));
}

TEST_F(FilesTest, AppendsAndRemoves) {
  EXPECT_TRUE(files_.append(at("log"), "one\n"));
  EXPECT_TRUE(files_.append(at("log"), "two\n"));
  EXPECT_EQ("one\ntwo\n", content("log"));
  EXPECT_EQ(fs::perms(0600), fs::status(at("log")).permissions());
  EXPECT_FALSE(files_.append(directory_.path(), "x"));
  EXPECT_TRUE(files_.remove(at("log")));
  EXPECT_FALSE(files_.remove(at("log")));
}

TEST_F(FilesTest, ReplacesAWholeFileOrNothing) {
  put("old", "as it was");
  put("secret", "do not touch");
  fs::create_symlink("secret", at("link"));
  for (const char* name : {"old", "link", "fresh"}) {
    EXPECT_TRUE(files_.replace(at(name), std::string("a\0b", 3))) << name;
    EXPECT_EQ(std::string("a\0b", 3), content(name));
  }
  EXPECT_EQ("do not touch", content("secret"));
  fs::create_directory(at("directory"));
  EXPECT_FALSE(files_.replace(at("directory"), "x"));
  EXPECT_FALSE(files_.replace(at("none/file"), "x"));
  EXPECT_FALSE(files_.replace("", "x"));
  // Nothing is left of what failed.
  EXPECT_EQ(5, std::distance(fs::directory_iterator(directory_.path()), fs::directory_iterator()));
}

TEST_F(FilesTest, FullDiskShowsAtTheLatestInClose) {
  put("old", "as it was");
  const pid_t child = ::fork();
  if (child == 0) {
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{100, 100};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    if (files_.replace(at("old"), std::string(200, 'x'))) ::_exit(1);
    const auto file = files_.create(at("file"));
    const bool taken = file && file->write(std::string(200, 'x')) && file->close();
    ::_exit(!taken && !files_.append(at("log"), std::string(200, 'x')) ? 0 : 1);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(0, status);
  EXPECT_EQ("as it was", content("old"));
}

TEST(PosixClock, FollowsTheWallClock) {
  const PosixClock clock;
  for (int i = 0; i < 2; ++i) {
    const std::time_t before = std::time(nullptr);
    const DateTime now = clock.localNow();
    const std::time_t after = std::time(nullptr);
    tm low{}, high{};
    ::localtime_r(&before, &low);
    ::localtime_r(&after, &high);
    EXPECT_EQ(low.tm_year + 1900, now.year);
    EXPECT_EQ(low.tm_mon + 1, now.month);
    EXPECT_EQ(low.tm_mday, now.day);
    EXPECT_EQ(low.tm_hour, now.hour);
    EXPECT_TRUE(now.second == low.tm_sec || now.second == high.tm_sec);
    ::usleep(1'050'000);  // into the next second
  }
}

TEST(PosixHostLookup, KnowsThisMachine) {
  PosixHostLookup lookup;
  const auto library = lookup.startUp();
  ASSERT_TRUE(library);
  EXPECT_EQ(2, library->majorVersion);
  EXPECT_EQ(2, library->minorVersion);
  EXPECT_GT(library->maxSockets, 0);
  EXPECT_TRUE(lookup.cleanUp());
  EXPECT_TRUE(lookup.hostName());
  EXPECT_EQ(std::vector<std::string>{"127.0.0.1"}, lookup.addressesOf("127.0.0.1"));
  EXPECT_TRUE(lookup.addressesOf("no host has blanks").empty());
  EXPECT_GE(lookup.lastError(), 11001);
}

TEST(PosixHostLookup, DefaultRouteIsThatOfTheLowestMetric) {
  constexpr char kHeading[] =
      "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n";
  EXPECT_FALSE(defaultRouteInterface(""));
  EXPECT_FALSE(
      defaultRouteInterface(std::string(kHeading) + "eth0\t0002A8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\n"));
  EXPECT_EQ("wlan0",
            defaultRouteInterface(std::string(kHeading) +
                                  "eth1\t00000000\t0102A8C0\t0002\t0\t0\t0\t00000000\t0\t0\t0\n"  // down
                                  "eth0\t00000000\t0102A8C0\t0003\t0\t0\t600\t00000000\t0\t0\t0\n"
                                  "wlan0\t00000000\t0102A8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n"
                                  "eth0\t0002A8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n"));
}

}  // namespace
}  // namespace kova::platform::posix
