#pragma once

#include "platform/clock.h"

namespace kova::platform::posix {

/// The system's clocks. The local date and time is computed once a second, however often it is asked for.
class PosixClock final : public Clock {
 public:
  DateTime localNow() const override;
  DateTime utcNow() const override;
  std::chrono::milliseconds monotonic() const override;

 private:
  mutable long long second_ = -1;  // seconds since 1970 that `local_` stands for
  mutable DateTime local_;
};

}  // namespace kova::platform::posix
