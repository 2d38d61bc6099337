#pragma once

#include <cstdint>
#include <ctime>

#include "base/date_format.h"

namespace kova::platform::local_outlook {

/// A wall clock's time as seconds since 1970-01-01 00:00 of the same clock (base::wallSeconds).
using WallTime = std::int64_t;
/// Seconds since 1970-01-01 00:00 UTC.
using Instant = std::int64_t;

inline constexpr std::int64_t kDay = 86400;

inline constexpr std::int64_t floorDiv(std::int64_t a, std::int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }

/// What the owner's clock shows at an instant.
inline WallTime localFromInstant(Instant instant) {
  const auto time = static_cast<std::time_t>(instant);
  std::tm local{};
  return ::localtime_r(&time, &local) == nullptr ? instant : instant + local.tm_gmtoff;
}

/// The instant at which the owner's clock shows this.
inline Instant instantFromLocal(WallTime wall) {
  const DateTime t = base::fromWallSeconds(wall);
  std::tm local{};
  local.tm_year = t.year - 1900;
  local.tm_mon = t.month - 1;
  local.tm_mday = t.day;
  local.tm_hour = t.hour;
  local.tm_min = t.minute;
  local.tm_sec = t.second;
  local.tm_isdst = -1;
  return ::mktime(&local);
}

}  // namespace kova::platform::local_outlook
