#include "platform/posix/processes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <thread>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/signals.h"
#include "temporary_directory.h"

namespace kova::platform::posix {
namespace {

using Words = std::vector<std::string>;

TEST(SplitWords, AsAShellSplitsWordsAndQuotesAndNothingMore) {
  struct Case {
    std::string line;
    Words words;
  };
  const Case cases[] = {
      {"", {}},
      {" \t\n ", {}},
      {"a", {"a"}},
      {"  /bin/echo  one\ttwo\nthree ", {"/bin/echo", "one", "two", "three"}},
      {"a ''", {"a", ""}},
      {"''\"\"", {""}},
      {"'one two' \"three four\"", {"one two", "three four"}},
      {"x'one two'y\"z\"", {"xone twoyz"}},
      {"'it'\\''s'", {"it's"}},
      {"\"'\" '\"'", {"'", "\""}},
      {R"('a\b\'c)", {R"(a\b\c)"}},
      {R"("\$ \` \" \\ \a")", {R"($ ` " \ \a)"}},
      {R"(a\ b \"c \\ \$d)", {"a b", "\"c", "\\", "$d"}},
      {R"(a \)", {"a", "\\"}},
      {R"(a\)", {"a\\"}},
      {"a; rm -rf /", {"a;", "rm", "-rf", "/"}},
      {"a && b || c & d", {"a", "&&", "b", "||", "c", "&", "d"}},
      {"a|b >c <d 2>&1", {"a|b", ">c", "<d", "2>&1"}},
      {"$(id) `id` $HOME ${x} $((1+1))", {"$(id)", "`id`", "$HOME", "${x}", "$((1+1))"}},
      {"\"$(id) $HOME\"", {"$(id) $HOME"}},
      {"* ? [a] ~ {a,b} #c !d X=1", {"*", "?", "[a]", "~", "{a,b}", "#c", "!d", "X=1"}},
      {"caf\xC3\xA9 \xE9\xFF", {"caf\xC3\xA9", "\xE9\xFF"}},
  };
  for (const Case& c : cases) {
    std::string why;
    const auto words = splitWords(c.line, why);
    ASSERT_TRUE(words) << c.line << ": " << why;
    EXPECT_EQ(*words, c.words) << c.line;
  }
}

TEST(SplitWords, QuoteWithoutEnd) {
  for (const std::string line : {"'", "a 'b", "a \"b c", "a \"b\\\"", "a 'b\\'c'", "\"'\" '"}) {
    std::string why;
    EXPECT_FALSE(splitWords(line, why)) << line;
    EXPECT_NE(why.find("has no end"), std::string::npos) << line;
  }
}

/// Waits for other processes.
bool comesTrue(const std::function<bool()>& condition) {
  for (int i = 0; i < 1000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class ProcessesTest : public ::testing::Test {
 protected:
  /// A shell script that moves what it prints to the file "out" when it is done.
  void makeScript(const std::string& name, const std::string& commands, mode_t mode = 0700) {
    const std::string out = directory.path() + "/out";
    std::ofstream(directory.path() + "/" + name) << "#!/bin/sh\n{ " << commands << "\n} >'" << out
                                                 << ".part'\nmv '" << out << ".part' '" << out << "'\n";
    ASSERT_EQ(::chmod((directory.path() + "/" + name).c_str(), mode), 0);
  }
  /// What the script printed; the file is gone then.
  std::string output() {
    const std::string path = directory.path() + "/out";
    if (!comesTrue([&] { return std::filesystem::exists(path); })) return "(no output)";
    const std::string text = contentOf(path);
    std::filesystem::remove(path);
    return text;
  }
  bool start(const std::string& line) {
    why.clear();
    return processes.start(line, why);
  }
  static bool hasChildren() { return ::waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD; }

  TemporaryDirectory directory;
  PosixProcesses processes;
  std::string why;
};

TEST_F(ProcessesTest, ArgumentsArriveAsTheyStand) {
  makeScript("show", "for word in \"$@\"; do printf '[%s]' \"$word\"; done");
  const std::string program = directory.path() + "/show";
  const std::pair<const char*, const char*> cases[] = {
      {" ", ""},
      {" one two", "[one][two]"},
      {" 'one two' \"\" 3", "[one two][][3]"},
      {" ; touch DIR/harm", "[;][touch][DIR/harm]"},
      {" x;touch DIR/harm", "[x;touch][DIR/harm]"},
      {" $(touch DIR/harm)", "[$(touch][DIR/harm)]"},
      {" `touch DIR/harm`", "[`touch][DIR/harm`]"},
      {" | touch DIR/harm", "[|][touch][DIR/harm]"},
      {" && touch DIR/harm &", "[&&][touch][DIR/harm][&]"},
      {" >DIR/harm 2>DIR/harm", "[>DIR/harm][2>DIR/harm]"},
      {"\ntouch DIR/harm", "[touch][DIR/harm]"},
      {" $HOME * ~", "[$HOME][*][~]"},
  };
  const auto here = [this](std::string text) {
    for (std::size_t at = 0; (at = text.find("DIR")) != std::string::npos;)
      text.replace(at, 3, directory.path());
    return text;
  };
  for (const auto& [arguments, shown] : cases) {
    ASSERT_TRUE(start(program + here(arguments))) << arguments << ": " << why;
    EXPECT_EQ(output(), here(shown));
  }
  EXPECT_FALSE(std::filesystem::exists(directory.path() + "/harm"));
}

TEST_F(ProcessesTest, ProgramIsFoundInPathOrFromTheCurrentDirectory) {
  makeScript("show", "printf found");
  const std::string path = ::getenv("PATH");
  const auto home = std::filesystem::current_path();
  std::filesystem::current_path(directory.path());
  EXPECT_FALSE(start("show"));
  EXPECT_TRUE(start("./show") && output() == "found") << why;
  ::setenv("PATH", (directory.path() + ":" + path).c_str(), 1);
  EXPECT_TRUE(start("show") && output() == "found") << why;
  ::setenv("PATH", path.c_str(), 1);
  std::filesystem::current_path(home);
}

TEST_F(ProcessesTest, WhatCannotBeStartedSaysWhy) {
  makeScript("locked", "printf ran", 0600);
  std::ofstream(directory.path() + "/text") << "no program\n";
  ::chmod((directory.path() + "/text").c_str(), 0700);
  const std::string at = directory.path() + "/";
  const std::pair<std::string, std::string> cases[] = {
      {"", "the command line is empty"},
      {"   ", "the command line is empty"},
      {"echo 'x", "a quote (') has no end"},
      {"echo \"x", "a quote (\") has no end"},
      {std::string("echo\0x", 6), "the command line holds a NUL character"},
      {at + "missing x", at + "missing: No such file or directory"},
      {"no-such-program-of-ours x", "no-such-program-of-ours: No such file or directory"},
      {at + "locked", at + "locked: Permission denied"},
      {directory.path(), directory.path() + ": Permission denied"},
      {at + "text", at + "text: Exec format error"},
      {"true " + std::string(1 << 20, 'x'), "true: Argument list too long"},
      {"'' x", ": No such file or directory"},
  };
  for (const auto& [line, reason] : cases) {
    EXPECT_FALSE(start(line)) << line;
    EXPECT_EQ(why, reason);
    EXPECT_FALSE(hasChildren());
  }
}

TEST_F(ProcessesTest, ProgramInheritsNothingAndBelongsToNobody) {
  // As in the running server: signals blocked and ignored, many descriptors, some of them made without care.
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  constexpr rlim_t kSoftLimit = 200;
  rlimit low = before;
  low.rlim_cur = kSoftLimit;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &low), 0);
  PosixProcesses ours;
  ASSERT_GT(raiseDescriptorLimit(), 400);
  std::vector<FileDescriptor> open;
  for (int i = 0; i < 300; ++i) open.emplace_back(::open("/dev/zero", O_RDONLY));
  sigset_t blocked;
  sigset_t maskBefore;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  sigaddset(&blocked, SIGINT);
  ::pthread_sigmask(SIG_BLOCK, &blocked, &maskBefore);
  ignoreBrokenPipes();

  const std::string pidFile = directory.path() + "/pid";
  std::ofstream(directory.path() + "/stay") << "#!/bin/sh\necho $$ >'" << pidFile << ".part'\nmv '" << pidFile
                                            << ".part' '" << pidFile << "'\nexec sleep 600\n";
  ::chmod((directory.path() + "/stay").c_str(), 0700);
  ASSERT_TRUE(ours.start(directory.path() + "/stay", why)) << why;
  EXPECT_FALSE(hasChildren());

  ASSERT_TRUE(comesTrue([&] { return std::filesystem::exists(pidFile); }));
  const int pid = std::stoi(contentOf(pidFile));
  const std::string proc = "/proc/" + std::to_string(pid);
  ASSERT_TRUE(comesTrue([&] { return contentOf(proc + "/comm") == "sleep\n"; }));

  std::map<std::string, std::string> descriptors;
  for (const auto& entry : std::filesystem::directory_iterator(proc + "/fd")) {
    descriptors[entry.path().filename()] = std::filesystem::read_symlink(entry.path());
  }
  EXPECT_EQ(descriptors,
            (std::map<std::string, std::string>{{"0", "/dev/null"}, {"1", "/dev/null"}, {"2", "/dev/null"}}));

  const std::string status = contentOf(proc + "/status");
  const auto field = [&status](const std::string& name) {
    std::istringstream rest(status.substr(status.find("\n" + name + ":") + name.size() + 2));
    std::string value;
    rest >> value;
    return value;
  };
  EXPECT_EQ(field("SigBlk"), "0000000000000000");
  constexpr unsigned long kOfTheLibrary = 3UL << 31;  // 32 and 33: ignored by its posix_spawn
  EXPECT_EQ(std::stoul(field("SigIgn"), nullptr, 16) & ~kOfTheLibrary, 0U);
  EXPECT_NE(field("PPid"), std::to_string(::getpid()));
  EXPECT_EQ(::getsid(pid), pid);

  const std::string limits = contentOf(proc + "/limits");
  std::istringstream limit(
      limits.substr(limits.find("Max open files") + std::string("Max open files").size()));
  rlim_t soft = 0;
  limit >> soft;
  EXPECT_EQ(soft, kSoftLimit);

  EXPECT_EQ(::kill(pid, SIGTERM), 0);
  EXPECT_TRUE(comesTrue(
      [&] { return ::kill(pid, 0) != 0 || contentOf(proc + "/stat").find(") Z") != std::string::npos; }));
  ::signal(SIGPIPE, SIG_DFL);
  ::pthread_sigmask(SIG_SETMASK, &maskBefore, nullptr);
  open.clear();
  ::setrlimit(RLIMIT_NOFILE, &before);
}

TEST_F(ProcessesTest, WorksWhereTheEndOfChildrenIsIgnored) {
  ::signal(SIGCHLD, SIG_IGN);
  EXPECT_TRUE(start("true")) << why;
  EXPECT_FALSE(start("/no/such/program"));
  EXPECT_EQ(why, "/no/such/program: No such file or directory");
  ::signal(SIGCHLD, SIG_DFL);
}

TEST_F(ProcessesTest, FirstProcessOfAContainerKeepsNoZombies) {
  ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
  leaveNoZombies();
  EXPECT_TRUE(start("true")) << why;
  EXPECT_TRUE(comesTrue([] { return !hasChildren(); }));
  ::signal(SIGCHLD, SIG_DFL);
  ::prctl(PR_SET_CHILD_SUBREAPER, 0);
}

TEST_F(ProcessesTest, ManyStartsLeaveNothingBehind) {
  const auto openNow = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
  const auto before = openNow();
  for (int i = 0; i < 50; ++i) EXPECT_EQ(start(i % 2 == 0 ? "true" : "/no/such/program"), i % 2 == 0);
  EXPECT_EQ(openNow(), before);
  EXPECT_FALSE(hasChildren());
}

TEST_F(ProcessesTest, Exists) {
  EXPECT_TRUE(processes.exists("/bin/sh"));
  EXPECT_TRUE(processes.exists(directory.path()));
  EXPECT_FALSE(processes.exists(directory.path() + "/missing"));
  EXPECT_FALSE(processes.exists("/bin/sh/x"));
  EXPECT_FALSE(processes.exists(""));
  EXPECT_FALSE(processes.exists(std::string("/bin/sh\0x", 9)));
}

}  // namespace
}  // namespace kova::platform::posix
