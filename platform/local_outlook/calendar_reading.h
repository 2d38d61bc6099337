#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/local_outlook/appointment.h"
#include "platform/local_outlook/series.h"
#include "platform/local_outlook/time_zones.h"

namespace kova::platform::local_outlook {

/// A series with its place in the folder order and the time at which its first occurrence lies.
struct PlacedSeries {
  std::shared_ptr<const Series> series;
  Occurrence first;
};

struct ReadCalendar {
  std::vector<Occurrence> single;  ///< appointments that do not recur, and exceptions of series
  std::vector<PlacedSeries> series;
  std::string problem;  ///< what could not be read, in words for the log; "" when all could
};

/// The appointments of a calendar file (RFC 5545). `fallbackAdded`: for appointments that do not say when
/// they were made, microseconds since 1970.
ReadCalendar readCalendar(const std::string& bytes, std::int64_t fallbackAdded, FileNumber file,
                          ZoneCache& zones);

}  // namespace kova::platform::local_outlook
