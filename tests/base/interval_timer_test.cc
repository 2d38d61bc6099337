#include "base/interval_timer.h"

#include <gtest/gtest.h>

#include <vector>

#include "fakes/fake_clock.h"
#include "fakes/fake_loop.h"

namespace kova::base {
namespace {

using std::chrono::seconds;

class IntervalTimerTest : public ::testing::Test {
 protected:
  IntervalTimerTest() {
    timer.onTick = [this] { ticks.push_back(std::chrono::duration_cast<seconds>(clock.elapsed).count()); };
  }

  /// Time passes second by second for the loop and the clock.
  void pass(int count) {
    for (int i = 0; i < count; ++i) {
      clock.elapsed += seconds(1);
      loop.advance(seconds(1));
    }
  }

  fakes::FakeLoop loop;
  fakes::FakeClock clock;
  IntervalTimer timer{loop, clock, seconds(60)};
  std::vector<long long> ticks;
};

TEST_F(IntervalTimerTest, TicksFromTheMomentItIsEnabled) {
  pass(7);
  timer.setEnabled(true);
  timer.setEnabled(true);
  pass(200);
  EXPECT_EQ(ticks, (std::vector<long long>{67, 127, 187}));
  timer.setEnabled(false);
  pass(100);
  timer.setEnabled(true);
  pass(60);
  EXPECT_EQ(ticks.size(), 4U);
  EXPECT_EQ(ticks.back(), 367);
}

TEST_F(IntervalTimerTest, LateTickMovesNoOtherAndMissedOnesAreNotMadeUpFor) {
  timer.setEnabled(true);
  pass(59);
  clock.elapsed = seconds(200);  // the machine was busy
  loop.advance(seconds(1));
  EXPECT_EQ(ticks, (std::vector<long long>{200}));
  pass(100);
  EXPECT_EQ(ticks, (std::vector<long long>{200, 240, 300}));
}

TEST_F(IntervalTimerTest, MayBeDisabledByItsOwnTick) {
  timer.onTick = [this] {
    ticks.push_back(0);
    timer.setEnabled(false);
  };
  timer.setEnabled(true);
  pass(200);
  EXPECT_EQ(ticks.size(), 1U);
  EXPECT_TRUE(loop.idle());
}

}  // namespace
}  // namespace kova::base
