#include "platform/posix/line_output.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <string>

namespace kova::platform::posix {
namespace {

struct Ends {
  FileDescriptor reader;
  FileDescriptor writer;
};

Ends makePipe() {
  std::array<int, 2> ends{};
  EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

Ends makeSockets() {
  std::array<int, 2> ends{};
  EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

Ends makeTerminal() {
  Ends ends;
  ends.reader = FileDescriptor(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  std::array<char, 100> name{};
  EXPECT_EQ(::grantpt(ends.reader.get()), 0);
  EXPECT_EQ(::unlockpt(ends.reader.get()), 0);
  EXPECT_EQ(::ptsname_r(ends.reader.get(), name.data(), name.size()), 0);
  ends.writer = FileDescriptor(::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  termios raw{};
  ::tcgetattr(ends.writer.get(), &raw);
  ::cfmakeraw(&raw);
  ::tcsetattr(ends.writer.get(), TCSANOW, &raw);
  return ends;
}

std::string line(int number) { return "line " + std::to_string(number) + std::string(50, '.') + "\r\n"; }

/// Reads until `output` has nothing left.
std::string readAll(const Ends& ends, PosixLineOutput& output) {
  ::fcntl(ends.reader.get(), F_SETFL, O_NONBLOCK);
  std::string all;
  std::array<char, 65536> piece{};
  for (int quiet = 0; quiet < 3;) {
    const bool done = output.flush();
    const ssize_t count = ::read(ends.reader.get(), piece.data(), piece.size());
    if (count > 0) all.append(piece.data(), static_cast<std::size_t>(count));
    quiet = done && count <= 0 ? quiet + 1 : 0;
  }
  return all;
}

TEST(LineOutput, ReaderWhoFallsBehindHoldsNobodyAndLosesWholeLinesOnly) {
  constexpr int kLines = 40'000;  // more than is kept
  const std::pair<const char*, Ends (*)()> kinds[] = {
      {"pipe", makePipe}, {"terminal", makeTerminal}, {"socket", makeSockets}};
  for (const auto& [kind, make] : kinds) {
    const Ends ends = make();
    const int flags = ::fcntl(ends.writer.get(), F_GETFL);
    PosixLineOutput output(ends.writer.get());
    for (int i = 0; i < kLines; ++i) {
      output.add(line(i));
      if (i % 100 == 0) output.flush();
    }
    EXPECT_FALSE(output.flush()) << kind;
    EXPECT_EQ(::fcntl(ends.writer.get(), F_GETFL), flags) << kind << ": it is shared with others";

    std::string all = readAll(ends, output);
    EXPECT_TRUE(all.ends_with(line(kLines - 1))) << kind;
    EXPECT_LT(all.size(), line(kLines).size() * kLines) << kind << ": the oldest were given up";
    int last = -1;
    while (!all.empty()) {
      const std::size_t end = all.find('\n') + 1;
      const int number = std::atoi(all.substr(5, 6).c_str());
      ASSERT_EQ(all.substr(0, end), line(number)) << kind;
      ASSERT_GT(number, last) << kind;
      last = number;
      all.erase(0, end);
      if (all.size() < 200'000) continue;
      all.erase(0, all.find('\n', all.size() - 100'000) + 1);  // the end is enough
    }
  }
}

TEST(LineOutput, NobodyReads) {
  Ends ends = makePipe();
  PosixLineOutput output(ends.writer.get());
  ends.reader.reset();
  ::signal(SIGPIPE, SIG_IGN);
  output.add(line(1));
  EXPECT_TRUE(output.flush());
  ::signal(SIGPIPE, SIG_DFL);
}

}  // namespace
}  // namespace kova::platform::posix
