#pragma once

#include <cstdint>

#include "base/date_format.h"

namespace kova::platform::local_outlook {

/// A wall clock's time as seconds since 1970-01-01 00:00 of the same clock (base::wallSeconds).
using WallTime = std::int64_t;
/// Seconds since 1970-01-01 00:00 UTC.
using Instant = std::int64_t;

inline constexpr std::int64_t kDay = 86400;

inline constexpr std::int64_t floorDiv(std::int64_t a, std::int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }

/// Takes note of the time zone that the process has now.
void readTimeZone();

/// What the owner's clock shows at an instant.
WallTime localFromInstant(Instant instant);

/// The instant at which the owner's clock shows this. Of an hour that comes twice the first is meant; one
/// that the clock leaves out is counted from before the change (RFC 5545 3.3.5).
Instant instantFromLocal(WallTime wall);

}  // namespace kova::platform::local_outlook
