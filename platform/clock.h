#pragma once

#include <chrono>

#include "platform/date_time.h"

namespace kova::platform {

/// The machine's two clocks.
class Clock {
 public:
  virtual ~Clock() = default;

  /// The local date and time, to the second.
  virtual DateTime localNow() const = 0;

  /// The same moment in UTC.
  virtual DateTime utcNow() const = 0;

  /// Time since some fixed moment; never goes back and ignores changes of the date. For durations.
  virtual std::chrono::milliseconds monotonic() const = 0;
};

}  // namespace kova::platform
