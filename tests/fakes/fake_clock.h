#pragma once

#include <chrono>

#include "platform/clock.h"

namespace kova::fakes {

/// Stands still until it is set.
class FakeClock final : public platform::Clock {
 public:
  platform::DateTime now{2005, 3, 14, 9, 30, 0};
  platform::DateTime utc{2005, 3, 14, 8, 30, 0};
  std::chrono::milliseconds elapsed{0};

  platform::DateTime localNow() const override { return now; }
  platform::DateTime utcNow() const override { return utc; }
  std::chrono::milliseconds monotonic() const override { return elapsed; }
};

}  // namespace kova::fakes
