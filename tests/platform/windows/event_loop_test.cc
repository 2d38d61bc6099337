#include "platform/windows/event_loop.h"

#include <thread>

#include "loop_fixture.h"

namespace kova::platform::windows {
namespace {

using std::chrono::milliseconds;

class EventLoopTest : public LoopTest {
 protected:
  std::unique_ptr<EventLoop::Timer> note(char what, milliseconds delay) {
    return loop_.callAfter(delay, [this, what] { order_ += what; });
  }
  std::string order_;
};

TEST_F(EventLoopTest, CallsComeWhenDueInTheOrderOfAsking) {
  const auto d = note('d', milliseconds(60));
  const auto c = note('c', milliseconds(30));
  const auto a = note('a', milliseconds(0));
  const auto b = note('b', milliseconds(0));
  auto never = note('x', milliseconds(20));
  EXPECT_EQ("", order_) << "never from inside callAfter";
  never.reset();
  EXPECT_TRUE(comes([this] { return order_.size() == 4; }));
  EXPECT_EQ("abcd", order_);
}

TEST_F(EventLoopTest, ACallThatAsksForItselfStarvesNobody) {
  int rounds = 0;
  std::unique_ptr<EventLoop::Timer> again;
  const std::function<void()> ask = [&] {
    ++rounds;
    again = loop_.callAfter(milliseconds(0), ask);
  };
  ask();
  const auto timer = note('t', milliseconds(30));
  loop_.mailbox()->post([this] { order_ += 'p'; });
  EXPECT_TRUE(comes([this] { return order_ == "pt"; })) << order_;
  EXPECT_GT(rounds, 10);
}

TEST_F(EventLoopTest, OtherThreadsPost) {
  constexpr int kEach = 1000;
  int count = 0;
  const auto post = [&, mailbox = loop_.mailbox()] {
    for (int i = 0; i < kEach; ++i) mailbox->post([&count] { ++count; });
  };
  std::thread first(post);
  std::thread second(post);
  EXPECT_TRUE(comes([&] { return count == 2 * kEach; })) << count;
  first.join();
  second.join();
}

TEST_F(EventLoopTest, RunEndsWithQuitAlsoWhenItCameBefore) {
  loop_.quit();
  loop_.run();
  const auto quit = loop_.callAfter(milliseconds(10), [this] { loop_.quit(); });
  loop_.run();
}

TEST_F(EventLoopTest, MessagesFetchedInsideACallWaitForItsEnd) {
  const auto outer = loop_.callAfter(milliseconds(0), [this] {
    order_ += '(';
    loop_.mailbox()->post([this] { order_ += 'p'; });
    const auto inner = note('c', milliseconds(0));
    MSG message{};
    for (int i = 0; i < 20 && ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0; ++i)
      ::DispatchMessageW(&message);
    order_ += ')';
  });
  EXPECT_TRUE(comes([this] { return order_.size() == 3; }));
  EXPECT_EQ("()p", order_);
}

TEST_F(EventLoopTest, WhoeverAsksTheProgramToCloseIsHeard) {
  int told = 0;
  loop_.onEnd = [&told] { ++told; };
  ::PostMessageW(::FindWindowW(L"KovaWapEvents", nullptr), WM_CLOSE, 0, 0);
  EXPECT_TRUE(comes([&told] { return told == 1; }));
}

}  // namespace
}  // namespace kova::platform::windows
