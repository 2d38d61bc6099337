#include "platform/posix/profile_file.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>

#include "base/text.h"
#include "temporary_directory.h"

namespace kova::platform::posix {
namespace {

namespace fs = std::filesystem;

class ProfileFileTest : public ::testing::Test {
 protected:
  void put(const std::string& content) { std::ofstream(path_, std::ios::binary) << content; }
  std::string content() const {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::string read(const std::string& section, const std::string& key, std::size_t size = 255) {
    return profile_.read(section, key, "blank", size, path_);
  }
  bool write(const std::string& section, const std::string& key, const std::string& value) {
    return profile_.write(section, key, value, path_);
  }
  unsigned mode(const std::string& path) const {
    struct stat info{};
    return ::stat(path.c_str(), &info) == 0 ? info.st_mode & 07777U : 0;
  }

  TemporaryDirectory directory_;
  std::string path_ = directory_.path() + "/tarvel_wap.ini";
  PosixProfileFile profile_;
};

TEST_F(ProfileFileTest, Reads) {
  static const struct {
    const char* file;
    const char* section;
    const char* key;
    const char* value;
  } kCases[] = {
      {"[Main]\r\nkey=value\r\n", "Main", "key", "value"},
      {"[mAIN]\r\nKEY=value\r\n", "Main", "key", "value"},
      {"[Main]\nkey=value", "Main", "key", "value"},
      {"\t[ Main ] \r\n \tkey \t= \tva lue \t\r\n", "Main", "key", "va lue"},
      {"[Main]\r\nkey= \"value\" \r\n", "Main", "key", "value"},
      {"[Main]\r\nkey=' value '\r\n", "Main", "key", " value "},
      {"[Main]\r\nkey=\"\"value\"\"\r\n", "Main", "key", "\"value\""},
      {"[Main]\r\nkey=\"value'\r\n", "Main", "key", "\"value'"},
      {"[Main]\r\nkey=\"\r\n", "Main", "key", "\""},
      {"[Main]\r\nkey=a=b\r\n", "Main", "key", "a=b"},
      {"[Main]\r\nkey=\r\n", "Main", "key", ""},
      {"[Main]\r\nkey\r\n", "Main", "key", "blank"},
      {"[Main]\r\n;key=value\r\n", "Main", "key", "blank"},
      {"[Main]\r\n;key=value\r\n", "Main", ";key", "blank"},
      {"[Main]\r\nkey=value ; no comment\r\n", "Main", "key", "value ; no comment"},
      {"key=none\r\n[Main]\r\n", "Main", "key", "blank"},
      {"[Main]\r\na=1\r\n[Pager]\r\nkey=2\r\n", "Main", "key", "blank"},
      {"[Main]\r\nkey=1\r\nkey=2\r\n", "Main", "key", "1"},
      // The first section of a name counts, even when only a later one has the key.
      {"[Main]\r\na=1\r\n[Main]\r\nkey=2\r\n", "Main", "key", "blank"},
      {"[Other\r\nkey=1\r\n[Main]\r\nkey=2\r\n", "Main", "key", "2"},
      {"\xEF\xBB\xBF[Main]\r\nkey=value\r\n", "Main", "key", "value"},
      {"", "Main", "key", "blank"},
  };
  for (const auto& each : kCases) {
    put(each.file);
    EXPECT_EQ(each.value, read(each.section, each.key)) << each.file;
  }
  fs::remove(path_);
  EXPECT_EQ("blank", read("Main", "key"));
}

TEST_F(ProfileFileTest, CutsWhatItReadsAndNotTheFile) {
  const std::string value(300, 'v');
  ASSERT_TRUE(write("Main", "key", value));
  EXPECT_EQ(std::string(254, 'v'), read("Main", "key"));
  EXPECT_NE(std::string::npos, content().find(value));
  EXPECT_EQ("bl", read("Main", "absent", 3));
  EXPECT_EQ("", read("Main", "absent", 0));

  ASSERT_TRUE(write("Main", "key", "ab\xC3\xA4\xE2\x82\xAC"));
  EXPECT_EQ("ab", read("Main", "key", 4));
  EXPECT_EQ("ab\xC3\xA4", read("Main", "key", 5));
  EXPECT_EQ("ab\xC3\xA4", read("Main", "key", 7));
  EXPECT_EQ("ab\xC3\xA4\xE2\x82\xAC", read("Main", "key", 8));
}

TEST_F(ProfileFileTest, Writes) {
  static const struct {
    const char* before;
    const char* section;
    const char* key;
    const char* value;
    const char* after;
  } kCases[] = {
      {"", "Main", "key", "1", "[Main]\r\nkey=1\r\n"},
      {"[Main]\r\nkey=1\r\n", "Main", "key", "2", "[Main]\r\nkey=2\r\n"},
      {"[main]\r\n Key = 1\r\n", "Main", "KEY", "2", "[main]\r\nKey=2\r\n"},
      {"[Main]\r\na=1\r\nkey=1\r\nkey=2\r\n", "Main", "key", "3", "[Main]\r\na=1\r\nkey=3\r\nkey=2\r\n"},
      {"[Main]\r\na=1\r\n", "Main", "b", "2", "[Main]\r\na=1\r\nb=2\r\n"},
      {"[Main]\r\na=1", "Main", "b", "2", "[Main]\r\na=1\r\nb=2\r\n"},
      {"[Main]\na=1\n", "Main", "b", "2", "[Main]\na=1\nb=2\r\n"},
      {"[Main]", "Main", "b", "2", "[Main]\r\nb=2\r\n"},
      // Before the blank lines that part it from the next section.
      {"[Main]\r\na=1\r\n\r\n\r\n[Pager]\r\nx=1\r\n", "Main", "b", "2",
       "[Main]\r\na=1\r\nb=2\r\n\r\n\r\n[Pager]\r\nx=1\r\n"},
      {"[Main]\r\n[Pager]\r\nkey=1\r\n", "Main", "key", "2", "[Main]\r\nkey=2\r\n[Pager]\r\nkey=1\r\n"},
      {"junk\r\n[Main]\r\n;key=1\r\n what\r\n", "Main", "key", "2",
       "junk\r\n[Main]\r\n;key=1\r\n what\r\nkey=2\r\n"},
      {"[Main]\r\na=1", "Pager", "x", "1", "[Main]\r\na=1\r\n[Pager]\r\nx=1\r\n"},
      {"[Main]\r\na=1\r\n[Main]\r\nkey=1\r\n", "Main", "key", "2",
       "[Main]\r\na=1\r\nkey=2\r\n[Main]\r\nkey=1\r\n"},
      // No value, key or section can add a line.
      {"[Main]\r\nPIN=1\r\n", "Main", "a", "x\r\nPIN=2", "[Main]\r\nPIN=1\r\na=x\r\n"},
      {"[Main]\r\nPIN=1\r\n", "Main", "a", "x\nPIN=2", "[Main]\r\nPIN=1\r\na=x\r\n"},
      {"[Main]\r\nPIN=1\r\n", "Main", "a", "x\rPIN=2", "[Main]\r\nPIN=1\r\na=x\r\n"},
      {"[Main]\r\nPIN=1\r\n", "Main", "a\nPIN", "2", "[Main]\r\nPIN=1\r\na=2\r\n"},
      {"[Main]\r\nPIN=1\r\n", "Pager]\r\n[Main", "a", "2", "[Main]\r\nPIN=1\r\n[Pager]]\r\na=2\r\n"},
  };
  for (const auto& each : kCases) {
    put(each.before);
    EXPECT_TRUE(write(each.section, each.key, each.value)) << each.before;
    EXPECT_EQ(each.after, content());
  }
}

TEST_F(ProfileFileTest, RefusesAKeyThatCouldNotBeFoundAgain) {
  put("[Main]\r\nPIN=1\r\n");
  for (const char* key : {"", " ", "PIN=", "a=b", ";a", " [a]"}) EXPECT_FALSE(write("Main", key, "2")) << key;
  EXPECT_EQ("[Main]\r\nPIN=1\r\n", content());
}

// Whatever is written, a key reads back as its value without blanks and quotes, and no other key changes.
TEST_F(ProfileFileTest, AgreesWithASimpleModel) {
  std::mt19937 random(4711);
  const auto pick = [&random](std::size_t count) { return random() % count; };
  const std::string letters = "ab =;[]'\"\t\r\n\xC3\xA4";
  put("; mine\r\n\r\nloose\r\n[Other]\r\na=kept\r\n");
  std::map<std::pair<std::string, std::string>, std::string> model;
  const char* sections[] = {"Main", "Pager", "Odd name"};
  const char* keys[] = {"a", "b", "Key_1", "c d"};
  for (int round = 0; round < 600; ++round) {
    const std::string section = sections[pick(3)];
    const std::string key = keys[pick(4)];
    std::string value;
    for (std::size_t length = pick(9); length > 0; --length) value += letters[pick(letters.size())];
    ASSERT_TRUE(write(pick(2) ? section : base::asciiLower(section), key, value));

    std::string expected(base::trim(value.substr(0, value.find_first_of("\r\n"))));
    if (expected.size() > 1 && expected.front() == expected.back() &&
        (expected[0] == '"' || expected[0] == '\'')) {
      expected = expected.substr(1, expected.size() - 2);
    }
    model[{section, key}] = expected;
    for (const auto& [name, wanted] : model) ASSERT_EQ(wanted, read(name.first, name.second)) << content();
  }
  EXPECT_TRUE(content().starts_with("; mine\r\n\r\nloose\r\n[Other]\r\na=kept\r\n"));
}

TEST_F(ProfileFileTest, OnlyTheOwnerMayReadIt) {
  ASSERT_TRUE(write("Main", "PIN_Code", "1"));
  EXPECT_EQ(0600U, mode(path_));
  fs::permissions(path_, fs::perms(0644));
  ASSERT_TRUE(write("Main", "PIN_Code", "1"));
  EXPECT_EQ(0600U, mode(path_));
  // Nothing else is left in the folder.
  EXPECT_EQ(1, std::distance(fs::directory_iterator(directory_.path()), fs::directory_iterator()));
}

TEST_F(ProfileFileTest, LinkStaysAndItsTargetIsWritten) {
  fs::create_directory(directory_.path() + "/real");
  const std::string real = directory_.path() + "/real/settings";
  fs::create_symlink("real/link", path_);
  fs::create_symlink(real, directory_.path() + "/real/link");
  for (const char* value : {"made", "changed"}) {
    ASSERT_TRUE(write("Main", "key", value));
    EXPECT_TRUE(fs::is_symlink(path_));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(real)));
    EXPECT_EQ(value, read("Main", "key"));
  }
}

TEST_F(ProfileFileTest, WhatCannotBeWrittenStaysAsItWas) {
  EXPECT_FALSE(profile_.write("Main", "key", "1", directory_.path() + "/none/tarvel_wap.ini"));
  EXPECT_FALSE(profile_.write("Main", "key", "1", directory_.path()));
  EXPECT_FALSE(profile_.write("Main", "key", "1", ""));

  // A full disk: the process may write 20 bytes into a file.
  put("[Main]\r\nkey=1\r\n");
  const pid_t child = ::fork();
  if (child == 0) {
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{20, 20};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const bool large = write("Main", "key", "a value that needs more room than that");
    const bool small = write("Main", "key", "2");
    ::_exit(!large && small ? 0 : 1);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(0, status);
  EXPECT_EQ("[Main]\r\nkey=2\r\n", content());
  EXPECT_EQ(1, std::distance(fs::directory_iterator(directory_.path()), fs::directory_iterator()));
}

TEST_F(ProfileFileTest, KilledWriterLeavesTheOldOrTheNewFile) {
  const std::string value(3000, 'v');
  const std::string first = "[Main]\r\nfirst=" + value + "\r\n";
  put(first + "n=0\r\n");
  std::mt19937 random(7);
  for (int round = 0; round < 25; ++round) {
    const pid_t child = ::fork();
    if (child == 0) {
      for (int n = 0;; ++n) write("Main", "n", std::to_string(n));
    }
    ::usleep(static_cast<useconds_t>(random() % 8000));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    const std::string now = content();
    ASSERT_TRUE(now.starts_with(first + "n=") && now.ends_with("\r\n")) << now.size();
    ASSERT_EQ(1, std::count(now.begin() + static_cast<long>(first.size()), now.end(), '\n'));
    ASSERT_TRUE(write("Main", "n", "after"));  // what the killed one left behind is in nobody's way
  }
}

TEST_F(ProfileFileTest, WritersInTwoProcessesLoseNoKey) {
  constexpr int kKeys = 20;
  const pid_t child = ::fork();
  if (child == 0) {
    bool written = true;
    for (int n = 0; n < kKeys; ++n) written = write("Main", "theirs" + std::to_string(n), "1") && written;
    ::_exit(written ? 0 : 1);
  }
  for (int n = 0; n < kKeys; ++n) EXPECT_TRUE(write("Main", "ours" + std::to_string(n), "1"));
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(0, status);
  for (int n = 0; n < kKeys; ++n) {
    EXPECT_EQ("1", read("Main", "theirs" + std::to_string(n)));
    EXPECT_EQ("1", read("Main", "ours" + std::to_string(n)));
  }
}

}  // namespace
}  // namespace kova::platform::posix
