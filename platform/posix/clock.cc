#include "platform/posix/clock.h"

#include <ctime>

namespace kova::platform::posix {

namespace {

/// A leap second counts as the one before it.
DateTime dateTime(const tm& t) {
  return {t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec < 60 ? t.tm_sec : 59};
}

}  // namespace

DateTime PosixClock::localNow() const {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  if (now.tv_sec != second_) {
    ::tzset();  // the owner may have changed the machine's time zone
    tm local{};
    if (!::localtime_r(&now.tv_sec, &local)) return local_;
    second_ = now.tv_sec;
    local_ = dateTime(local);
  }
  return local_;
}

DateTime PosixClock::utcNow() const {
  const std::time_t now = ::time(nullptr);
  tm utc{};
  return ::gmtime_r(&now, &utc) ? dateTime(utc) : DateTime{};
}

std::chrono::milliseconds PosixClock::monotonic() const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now().time_since_epoch());
}

}  // namespace kova::platform::posix
