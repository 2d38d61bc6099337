#include "platform/local_outlook/local_time.h"

#include <gtest/gtest.h>

#include "base/date_format.h"
#include "platform/local_outlook/this_system.h"

namespace kova::platform::local_outlook {
namespace {

TEST(LocalTime, FollowsTheClockOfTheOwner) {
  ASSERT_TRUE(useClockOf("Europe/Berlin"));
  const struct {
    DateTime utc;
    DateTime local;
    bool back = true;  // the local time means this instant
  } kCases[] = {
      {{2026, 1, 15, 23, 30, 1}, {2026, 1, 16, 0, 30, 1}},
      {{2026, 7, 15, 23, 30, 1}, {2026, 7, 16, 1, 30, 1}},
      {{2026, 3, 29, 0, 59, 59}, {2026, 3, 29, 1, 59, 59}},
      {{2026, 3, 29, 1, 0, 0}, {2026, 3, 29, 3, 0, 0}},
      {{2026, 10, 25, 0, 30, 0}, {2026, 10, 25, 2, 30, 0}},
      {{2026, 10, 25, 1, 30, 0}, {2026, 10, 25, 2, 30, 0}, false},
      {{2026, 12, 31, 23, 0, 0}, {2027, 1, 1, 0, 0, 0}},
      {{2000, 2, 28, 23, 0, 0}, {2000, 2, 29, 0, 0, 0}},
      {{2037, 8, 1, 12, 0, 0}, {2037, 8, 1, 14, 0, 0}},
      {{2060, 8, 1, 12, 0, 0}, {2060, 8, 1, 14, 0, 0}},
  };
  for (const auto& c : kCases) {
    const Instant instant = base::wallSeconds(c.utc);
    EXPECT_EQ(base::fromWallSeconds(localFromInstant(instant)), c.local) << instant;
    EXPECT_EQ(instantFromLocal(base::wallSeconds(c.local)) == instant, c.back) << instant;
  }
  // An hour that the clock leaves out counts from before the change.
  EXPECT_EQ(instantFromLocal(base::wallSeconds({2026, 3, 29, 2, 30, 0})),
            base::wallSeconds({2026, 3, 29, 1, 30, 0}));
}

}  // namespace
}  // namespace kova::platform::local_outlook
