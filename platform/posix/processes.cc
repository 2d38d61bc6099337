#include "platform/posix/processes.h"

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <system_error>
#include <utility>

namespace kova::platform::posix {

namespace {

constexpr int kFirstOwnDescriptor = 3;
constexpr std::size_t kStackSize = 65536;  // in bytes

/// How a program is to be started: everything of ours that it would inherit is put back or taken away.
class SpawnSettings {
 public:
  SpawnSettings() {
    ::posix_spawn_file_actions_init(&actions_);
    // First, so that there is room for the others whatever the limit.
    ::posix_spawn_file_actions_addclosefrom_np(&actions_, kFirstOwnDescriptor);
    ::posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_adddup2(&actions_, STDOUT_FILENO, STDERR_FILENO);

    sigset_t all;
    sigset_t none;
    sigfillset(&all);
    sigemptyset(&none);
    ::posix_spawnattr_init(&attributes_);
    ::posix_spawnattr_setsigdefault(&attributes_, &all);
    ::posix_spawnattr_setsigmask(&attributes_, &none);
    ::posix_spawnattr_setflags(&attributes_,
                               POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  ~SpawnSettings() {
    ::posix_spawn_file_actions_destroy(&actions_);
    ::posix_spawnattr_destroy(&attributes_);
  }

  const posix_spawn_file_actions_t* actions() const { return &actions_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
};

/// What the process in between is handed, and its answer.
struct Launch {
  const SpawnSettings& settings;
  const rlimit& descriptorLimit;
  char** arguments = nullptr;
  int error = ECHILD;
};

int spawn(void* argument) {
  auto& launch = *static_cast<Launch*>(argument);
  ::setrlimit(RLIMIT_NOFILE, &launch.descriptorLimit);
  pid_t ignored = 0;
  launch.error = ::posix_spawnp(&ignored, launch.arguments[0], launch.settings.actions(),
                                launch.settings.attributes(), launch.arguments, environ);
  return 0;
}

/// Makes the program a grandchild: when the process in between has ended, the program's end is not ours to
/// wait for. Returns an error number.
int launchAsGrandchild(Launch& launch) {
  std::vector<std::max_align_t> stack(kStackSize / sizeof(std::max_align_t));
  // No handler of ours may run in that process, which uses our memory.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  // We stand still until that process ends. It uses our memory, since a copy would take the longer the more
  // we hold: 100 ms for 1 GB.
  const pid_t pid = ::clone(spawn, stack.data() + stack.size(), CLONE_VM | CLONE_VFORK | SIGCHLD, &launch);
  const int error = pid < 0 ? errno : 0;
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (error != 0) return error;
  while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
  }
  return launch.error;
}

/// Cuts the words off a command line, one after another.
class WordReader {
 public:
  explicit WordReader(std::string_view line) : line_(line) {}

  /// False at the end of the line.
  bool next(std::string& word) {
    while (at_ < line_.size() && isBlank(line_[at_])) ++at_;
    if (at_ == line_.size()) return false;
    word.clear();
    while (at_ < line_.size() && !isBlank(line_[at_])) take(word);
    return true;
  }

  /// The quote that has no end, else NUL.
  char openQuote() const { return openQuote_; }

 private:
  static bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

  /// One character outside of quotes, or all between two quotes.
  void take(std::string& word) {
    const char c = line_[at_++];
    if (c == '\'') {
      takeQuoted(c, {}, word);
    } else if (c == '"') {
      takeQuoted(c, "$`\"\\", word);
    } else if (c == '\\' && at_ < line_.size()) {
      word += line_[at_++];
    } else {
      word += c;
    }
  }

  /// `escapable`: what a backslash takes as it is; before anything else the backslash itself stays.
  void takeQuoted(char quote, std::string_view escapable, std::string& word) {
    for (; at_ < line_.size(); ++at_) {
      if (line_[at_] == quote) {
        ++at_;
        return;
      }
      const bool escaped = line_[at_] == '\\' && at_ + 1 < line_.size() &&
                           escapable.find(line_[at_ + 1]) != std::string_view::npos;
      if (escaped) ++at_;
      word += line_[at_];
    }
    openQuote_ = quote;
  }

  std::string_view line_;
  std::size_t at_ = 0;
  char openQuote_ = '\0';
};

}  // namespace

std::optional<std::vector<std::string>> splitWords(std::string_view line, std::string& why) {
  WordReader reader(line);
  std::vector<std::string> words;
  for (std::string word; reader.next(word);) words.push_back(std::move(word));
  if (reader.openQuote() == '\0') return words;
  why = std::string("a quote (") + reader.openQuote() + ") has no end";
  return std::nullopt;
}

PosixProcesses::PosixProcesses() { ::getrlimit(RLIMIT_NOFILE, &descriptorLimit_); }

bool PosixProcesses::start(const std::string& commandLine, std::string& why) {
  if (commandLine.find('\0') != std::string::npos) {
    why = "the command line holds a NUL character";
    return false;
  }
  auto words = splitWords(commandLine, why);
  if (!words) return false;
  if (words->empty()) {
    why = "the command line is empty";
    return false;
  }

  std::vector<char*> arguments;
  for (std::string& word : *words) arguments.push_back(word.data());
  arguments.push_back(nullptr);

  const SpawnSettings settings;
  Launch launch{settings, descriptorLimit_, arguments.data()};
  const int error = launchAsGrandchild(launch);
  if (error != 0) why = words->front() + ": " + std::generic_category().message(error);
  return error == 0;
}

bool PosixProcesses::exists(const std::string& path) {
  struct stat info{};
  return path.find('\0') == std::string::npos && ::stat(path.c_str(), &info) == 0;
}

}  // namespace kova::platform::posix
