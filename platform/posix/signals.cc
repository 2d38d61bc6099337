#include "platform/posix/signals.h"

#include <sys/resource.h>
#include <sys/signalfd.h>

#include <limits>
#include <utility>

namespace kova::platform::posix {

Signals::Signals(PosixEventLoop& loop, std::initializer_list<int> numbers, std::function<void(int)> received)
    : received_(std::move(received)) {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : numbers) sigaddset(&set, number);
  pthread_sigmask(SIG_BLOCK, &set, &blockedBefore_);
  descriptor_ = FileDescriptor(::signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC));
  if (descriptor_) watch_ = loop.watch(descriptor_.get(), EPOLLIN, *this);
  // Blocked signals that nobody reads would make the program deaf to them.
  if (!watch_) pthread_sigmask(SIG_SETMASK, &blockedBefore_, nullptr);
}

Signals::~Signals() {
  if (watch_) pthread_sigmask(SIG_SETMASK, &blockedBefore_, nullptr);
}

void Signals::onDescriptor(std::uint32_t) {
  // One a time: the call may destroy this object, and the rest makes the descriptor readable again.
  signalfd_siginfo info{};
  if (::read(descriptor_.get(), &info, sizeof info) != static_cast<ssize_t>(sizeof info)) return;
  const auto received = received_;
  received(static_cast<int>(info.ssi_signo));
}

void ignoreBrokenPipes() { ::signal(SIGPIPE, SIG_IGN); }

void leaveNoZombies() {
  struct sigaction action{};
  action.sa_handler = SIG_DFL;
  action.sa_flags = SA_NOCLDWAIT;
  ::sigaction(SIGCHLD, &action, nullptr);
}

long raiseDescriptorLimit() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return 0;
  const rlim_t before = limit.rlim_cur;
  limit.rlim_cur = limit.rlim_max;
  if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) limit.rlim_cur = before;
  constexpr auto kMost = static_cast<rlim_t>(std::numeric_limits<long>::max());
  return static_cast<long>(limit.rlim_cur < kMost ? limit.rlim_cur : kMost);
}

}  // namespace kova::platform::posix
