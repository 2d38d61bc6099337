#pragma once

#include <libical/ical.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/local_outlook/local_time.h"

namespace kova::platform::local_outlook {

struct FreeComponent {
  void operator()(icalcomponent* component) const { icalcomponent_free(component); }
};
using ComponentPtr = std::unique_ptr<icalcomponent, FreeComponent>;

/// The zone that a VTIMEZONE defines; null when it makes none.
std::shared_ptr<icaltimezone> zoneFrom(ComponentPtr definition);

/// What a date-time of a calendar file is meant in: the local time of whoever reads it ("floating"), UTC, or
/// a zone with rules.
class TimeZone {
 public:
  static TimeZone floating() { return TimeZone(std::shared_ptr<Rules>()); }
  static TimeZone utc();
  explicit TimeZone(std::shared_ptr<icaltimezone> zone);

  bool isFloating() const { return rules_ == nullptr; }
  Instant instant(WallTime wall) const;
  WallTime wall(Instant instant) const;
  /// What the owner's clock shows when a clock of this zone shows `wall`.
  WallTime local(WallTime wall) const;
  /// The same, `seconds` later.
  WallTime localAfter(WallTime wall, std::int64_t seconds) const;

 private:
  struct Rules;
  explicit TimeZone(std::shared_ptr<Rules> rules) : rules_(std::move(rules)) {}
  std::optional<std::int64_t> steadyDifference(WallTime wall) const;

  std::shared_ptr<Rules> rules_;
};

/// All zones in use. Files mostly define the same few, which are only worked out once.
class ZoneCache {
 public:
  struct DefinedZone {
    std::string tzid;
    TimeZone zone;
  };
  const TimeZone& utc() const { return utc_; }
  /// A zone from the text of a VTIMEZONE; empty when it makes no sense.
  std::optional<DefinedZone> fromDefinition(const std::string& vtimezone);
  /// A zone of the system (systemZone) by a name such as "Europe/Berlin", with or without something before
  /// it; empty if unknown.
  std::optional<TimeZone> fromSystem(const std::string& tzid);

 private:
  TimeZone utc_ = TimeZone::utc();
  std::unordered_map<std::string, std::optional<DefinedZone>> defined_;
  std::unordered_map<std::string, std::optional<TimeZone>> system_;
};

/// The zones of one file: those that it defines, else those of the system.
class FileZones {
 public:
  explicit FileZones(ZoneCache& cache) : cache_(cache) {}
  void define(const std::string& vtimezone);
  const TimeZone& utc() const { return cache_.utc(); }
  /// Null when the file names a zone that nobody knows. Its times are taken as local ones then.
  const TimeZone* find(const std::string& tzid);

 private:
  ZoneCache& cache_;
  std::map<std::string, TimeZone> zones_;
};

/// The wall clock time in a value; a value with a zone designator is not converted.
WallTime wallTimeOf(const icaltimetype& time);
icaltimetype icalTimeOf(WallTime wall);
/// False for a value such as the 30th of February.
bool isValidTime(const icaltimetype& time);

}  // namespace kova::platform::local_outlook
