#pragma once

#include <compare>

namespace kova::platform {

/// A local wall-clock moment, as the owner reads it off his PC. No time zone: whoever reads data that carries
/// one (iCalendar, mail) converts it to local time first. Month 1 to 12, day 1 to 31, hour 0 to 23.
struct DateTime {
  int year = 1899;
  int month = 12;
  int day = 30;
  int hour = 0;
  int minute = 0;
  int second = 0;

  friend auto operator<=>(const DateTime&, const DateTime&) = default;
};

}  // namespace kova::platform
