#pragma once

#include <optional>
#include <string_view>

#include "platform/local_outlook/local_time.h"

namespace kova::platform::local_outlook {

/// What Items::restrict asks for.
struct CalendarFilter {
  enum class Kind {
    kRunning,   ///< start < first and end > second
    kStarting,  ///< first <= start < second
  };
  Kind kind = Kind::kRunning;
  WallTime first = 0;
  WallTime second = 0;
};

/// Empty when the text is neither of the two forms (outlook::Items::restrict).
std::optional<CalendarFilter> parseCalendarFilter(std::string_view text);

}  // namespace kova::platform::local_outlook
