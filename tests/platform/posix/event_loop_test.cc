#include "platform/posix/event_loop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "platform/posix/signals.h"

namespace kova::platform::posix {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using Timers = std::vector<std::unique_ptr<EventLoop::Timer>>;

class Handler final : public DescriptorHandler {
 public:
  explicit Handler(std::function<void(std::uint32_t)> called) : called_(std::move(called)) {}
  void onDescriptor(std::uint32_t events) override { called_(events); }

 private:
  std::function<void(std::uint32_t)> called_;
};

struct SocketPair {
  SocketPair() {
    int fds[2];
    EXPECT_EQ(0, ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, fds));
    near = FileDescriptor(fds[0]);
    far = FileDescriptor(fds[1]);
  }
  void send() { EXPECT_EQ(1, ::write(far.get(), "x", 1)); }
  void take() {
    char byte;
    EXPECT_EQ(1, ::read(near.get(), &byte, 1));
  }
  FileDescriptor near;
  FileDescriptor far;
};

bool readable(int fd, int ms) {
  pollfd wanted{fd, POLLIN, 0};
  return ::poll(&wanted, 1, ms) == 1;
}

TEST(PosixEventLoop, CallsComeInOrderOfDueTimeAndAmongEqualsInOrderOfAsking) {
  PosixEventLoop loop;
  std::string order;
  Timers timers;
  const auto add = [&](int ms, char name) {
    timers.push_back(loop.callAfter(milliseconds(ms), [&order, name] { order += name; }));
  };
  add(30, 'f');
  add(10, 'd');
  add(0, 'a');
  add(-5, 'b');
  add(10, 'e');
  add(0, 'c');
  timers.push_back(loop.callAfter(milliseconds(60), [&] { loop.quit(); }));
  const auto start = std::chrono::steady_clock::now();
  loop.run();
  EXPECT_EQ("abcdef", order);
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(60));
}

TEST(PosixEventLoop, DestroyedTimerIsNotCalled) {
  PosixEventLoop loop;
  std::string order;
  Timers timers;
  timers.push_back(loop.callAfter(milliseconds(0), [&] {
    order += 'a';
    timers[0].reset();  // its own
    timers[1].reset();
    timers[2].reset();
  }));
  timers.push_back(loop.callAfter(milliseconds(0), [&] { order += 'b'; }));
  timers.push_back(loop.callAfter(milliseconds(1), [&] { order += 'c'; }));
  timers.push_back(loop.callAfter(milliseconds(0), [&] { order += 'd'; }));
  const auto end = loop.callAfter(milliseconds(10), [&] { loop.quit(); });
  loop.run();
  EXPECT_EQ("ad", order);
}

TEST(PosixEventLoop, TimerMayOutliveTheLoop) {
  std::unique_ptr<EventLoop::Timer> now, later;
  {
    PosixEventLoop loop;
    now = loop.callAfter(milliseconds(0), [] {});
    later = loop.callAfter(milliseconds(1), [] {});
  }
  now.reset();
  later.reset();
}

TEST(PosixEventLoop, CallWithoutDelayComesAfterEveryPendingEvent) {
  PosixEventLoop loop;
  SocketPair one, two;
  std::string order;
  std::unique_ptr<EventLoop::Timer> call;
  const auto handle = [&](SocketPair& pair, char name) {
    return Handler([&order, &pair, &call, &loop, name](std::uint32_t) {
      pair.take();
      order += name;
      if (!call)
        call = loop.callAfter(milliseconds(0), [&] {
          order += 'c';
          loop.quit();
        });
    });
  };
  Handler first = handle(one, '1');
  Handler second = handle(two, '2');
  const auto watchOne = loop.watch(one.near.get(), EPOLLIN, first);
  const auto watchTwo = loop.watch(two.near.get(), EPOLLIN, second);
  one.send();
  two.send();
  loop.run();
  EXPECT_EQ("12c", order);
}

TEST(PosixEventLoop, CallsThatAskForEachOtherStarveNoDescriptor) {
  PosixEventLoop loop;
  SocketPair pair;
  int calls = 0;
  std::unique_ptr<EventLoop::Timer> call;
  std::function<void()> again = [&] {
    // The event becomes pending in the middle of the calls; it has to come with the very next poll.
    if (++calls == 3) pair.send();
    call = loop.callAfter(milliseconds(0), again);
  };
  again();
  Handler handler([&](std::uint32_t) {
    pair.take();
    loop.quit();
  });
  const auto watch = loop.watch(pair.near.get(), EPOLLIN, handler);
  loop.run();
  EXPECT_EQ(4, calls);
}

// Both descriptors are ready in one poll; whichever comes first ends the other's watch, closes its descriptor
// and puts a new one under the same number.
TEST(PosixEventLoop, FetchedEventOfAnEndedWatchReachesNobody) {
  PosixEventLoop loop;
  SocketPair pairs[2];
  PosixEventLoop::Watch watches[2];
  PosixEventLoop::Watch newWatch;
  SocketPair fresh;
  int called = 0;
  int stale = 0;
  Handler newHandler([&](std::uint32_t) { ++stale; });
  const auto handle = [&](int own) {
    return Handler([&, own](std::uint32_t) {
      ++called;
      const int other = 1 - own;
      const int number = pairs[other].near.get();
      watches[other].resetBeforeClose();
      pairs[other].near.reset();
      ASSERT_EQ(number, ::dup2(fresh.near.get(), number));
      pairs[other].near = FileDescriptor(number);
      newWatch = loop.watch(number, EPOLLIN, newHandler);
      watches[own].reset();
    });
  };
  Handler handlers[] = {handle(0), handle(1)};
  for (int i = 0; i < 2; ++i) {
    pairs[i].send();
    watches[i] = loop.watch(pairs[i].near.get(), EPOLLIN, handlers[i]);
  }
  loop.dispatchPending();
  loop.dispatchPending();
  EXPECT_EQ(1, called);
  EXPECT_EQ(0, stale);
  fresh.send();
  loop.dispatchPending();
  EXPECT_EQ(1, stale);  // the new one does hear of its own events
}

TEST(PosixEventLoop, WatchFollowsChangedEvents) {
  PosixEventLoop loop;
  SocketPair pair;
  std::vector<std::uint32_t> heard;
  Handler handler([&](std::uint32_t events) { heard.push_back(events); });
  auto watch = loop.watch(pair.near.get(), EPOLLIN, handler);
  loop.dispatchPending();
  watch.setEvents(EPOLLOUT);
  loop.dispatchPending();
  watch.setEvents(0);
  pair.send();
  loop.dispatchPending();
  watch.setEvents(EPOLLIN);
  loop.dispatchPending();
  EXPECT_THAT(heard, ElementsAre(EPOLLOUT, EPOLLIN));
  EXPECT_FALSE(loop.watch(-1, EPOLLIN, handler));
}

TEST(PosixEventLoop, RoundEndComesOnceAfterTheCallsOfTheRound) {
  class AtEnd final : public RoundEndHandler {
   public:
    std::string* order = nullptr;
    void onRoundEnd() override { *order += 'e'; }
  } atEnd;
  PosixEventLoop loop;
  std::string order;
  atEnd.order = &order;
  Timers timers;
  timers.push_back(loop.callAfter(milliseconds(0), [&] {
    loop.callAtRoundEnd(atEnd);
    loop.callAtRoundEnd(atEnd);
    order += 'a';
    timers.push_back(loop.callAfter(milliseconds(0), [&] {
      order += 'c';
      loop.quit();
    }));
  }));
  timers.push_back(loop.callAfter(milliseconds(0), [&] { order += 'b'; }));
  loop.run();
  EXPECT_EQ("abec", order);
}

TEST(PosixEventLoop, PumpedByAnotherLoop) {
  PosixEventLoop loop;
  const int fd = loop.descriptor();
  EXPECT_FALSE(readable(fd, 0));

  std::string order;
  Timers timers;
  timers.push_back(loop.callAfter(milliseconds(0), [&] {
    order += 'a';
    timers.push_back(loop.callAfter(milliseconds(0), [&] { order += 'b'; }));
    timers.push_back(loop.callAfter(milliseconds(20), [&] { order += 'c'; }));
  }));
  for (const char* after : {"a", "ab", "abc"}) {
    ASSERT_TRUE(readable(fd, 2000)) << after;
    loop.dispatchPending();
    EXPECT_EQ(after, order);
  }
  EXPECT_FALSE(readable(fd, 30));

  SocketPair pair;
  Handler handler([&](std::uint32_t) {
    pair.take();
    order += 's';
  });
  const auto watch = loop.watch(pair.near.get(), EPOLLIN, handler);
  pair.send();
  ASSERT_TRUE(readable(fd, 1000));
  loop.dispatchPending();
  EXPECT_EQ("abcs", order);
  EXPECT_FALSE(readable(fd, 0));

  // A timer that is cancelled leaves at most one needless wake-up.
  auto cancelled = loop.callAfter(milliseconds(5), [&] { order += 'x'; });
  cancelled.reset();
  if (readable(fd, 20)) loop.dispatchPending();
  EXPECT_FALSE(readable(fd, 20));
  EXPECT_EQ("abcs", order);
}

TEST(PosixEventLoop, RunUntilGivesUpInTime) {
  PosixEventLoop loop;
  bool done = false;
  const auto timer = loop.callAfter(milliseconds(10), [&] { done = true; });
  loop.quit();
  EXPECT_TRUE(loop.runUntil([&] { return done; }, milliseconds(5000)));
  EXPECT_FALSE(loop.runUntil([] { return false; }, milliseconds(10)));
}

TEST(Signals, BecomeCallsOfTheLoop) {
  PosixEventLoop loop;
  std::vector<int> received;
  {
    const Signals signals(loop, {SIGTERM, SIGUSR1}, [&](int number) {
      received.push_back(number);
      if (received.size() == 2) loop.quit();
    });
    ::raise(SIGTERM);
    ::raise(SIGUSR1);
    loop.run();
  }
  EXPECT_THAT(received, ::testing::UnorderedElementsAre(SIGTERM, SIGUSR1));
  sigset_t blocked;
  pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  EXPECT_FALSE(sigismember(&blocked, SIGTERM));
}

TEST(Signals, BrokenPipeIsOnlyAnError) {
  ignoreBrokenPipes();
  SocketPair pair;
  pair.near.reset();
  EXPECT_EQ(-1, ::write(pair.far.get(), "x", 1));
  EXPECT_EQ(EPIPE, errno);
}

}  // namespace
}  // namespace kova::platform::posix
