#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/local_outlook/time_zones.h"

namespace kova::platform::local_outlook {

/// The text of a calendar file, fit for the library: UTF-8, without NUL bytes, at which its texts end.
std::string icalText(const std::string& bytes);

/// One outermost component of a calendar: its name in upper case and its text, BEGIN and END included.
struct ComponentText {
  std::string name;
  std::string text;
  bool complete = false;  ///< it has its END
};

/// Hands out the components within the VCALENDARs of a text one by one, so that a broken one spoils no other
/// and a big file is never held in parsed form as a whole.
class ComponentTexts {
 public:
  explicit ComponentTexts(std::string_view text) : rest_(text) {}
  bool next(ComponentText& component);
  bool sawCalendar() const { return sawCalendar_; }

 private:
  std::string_view takeLine();

  std::string_view rest_;
  bool sawCalendar_ = false;
};

/// The component, or null when the text is none of that kind.
ComponentPtr parseComponent(const std::string& text, icalcomponent_kind kind);

/// The first property of a kind as text, line ends as CR LF; "" when there is none.
std::string textOf(icalcomponent* component, icalproperty_kind kind);

/// A date-time property with the zone it is meant in.
struct ZonedTime {
  WallTime wall = 0;
  TimeZone zone = TimeZone::floating();
  bool isDate = false;

  Instant instant() const { return zone.instant(wall); }
  WallTime local() const { return isDate ? wall : zone.local(wall); }
};
/// Empty when the value is no valid time. A zone that nobody knows is taken as local time; `unknownZone` is
/// then its name.
std::optional<ZonedTime> zonedTime(const icaltimetype& value, icalproperty* property, FileZones& zones,
                                   std::string& unknownZone);
std::optional<ZonedTime> zonedTime(icalproperty* property, FileZones& zones, std::string& unknownZone);

/// CREATED in microseconds since 1970.
std::optional<std::int64_t> createdOf(icalcomponent* component);

}  // namespace kova::platform::local_outlook
