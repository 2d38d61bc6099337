#include "platform/posix/clock.h"

#include <ctime>

namespace kova::platform::posix {

DateTime PosixClock::localNow() const {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  if (now.tv_sec != second_) {
    ::tzset();  // the owner may have changed the machine's time zone
    tm local{};
    if (!::localtime_r(&now.tv_sec, &local)) return local_;
    second_ = now.tv_sec;
    // A leap second counts as the one before it.
    local_ = {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
              local.tm_hour,        local.tm_min,     local.tm_sec < 60 ? local.tm_sec : 59};
  }
  return local_;
}

std::chrono::milliseconds PosixClock::monotonic() const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now().time_since_epoch());
}

}  // namespace kova::platform::posix
