#include "platform/local_outlook/time_zones.h"

#include <algorithm>

#include "platform/local_outlook/system_zone.h"

namespace kova::platform::local_outlook {
namespace {

constexpr std::size_t kMaxKeptZones = 1000;

/// A rule for the change to daylight saving time. Anything else than a few days of a year is no such rule,
/// and would take long to work out.
bool isPlausible(const icalrecurrencetype& rule) {
  const auto few = [](const short* values, int limit) {
    int count = 0;
    while (count <= limit && values[count] != ICAL_RECURRENCE_ARRAY_MAX) ++count;
    return count <= limit;
  };
  return rule.freq == ICAL_YEARLY_RECURRENCE && few(rule.by_hour, 0) && few(rule.by_minute, 0) &&
         few(rule.by_second, 0) && few(rule.by_month, 2) && few(rule.by_day, 7) &&
         few(rule.by_month_day, 10) && few(rule.by_year_day, 10) && few(rule.by_week_no, 0) &&
         few(rule.by_set_pos, 2);
}

bool isPlausible(icalcomponent* zone) {
  bool anyObservance = false;
  for (icalcomponent* part = icalcomponent_get_first_component(zone, ICAL_ANY_COMPONENT); part != nullptr;
       part = icalcomponent_get_next_component(zone, ICAL_ANY_COMPONENT)) {
    const auto kind = icalcomponent_isa(part);
    if (kind != ICAL_XSTANDARD_COMPONENT && kind != ICAL_XDAYLIGHT_COMPONENT) continue;
    icalproperty* const start = icalcomponent_get_first_property(part, ICAL_DTSTART_PROPERTY);
    if (start == nullptr || !isValidTime(icalproperty_get_dtstart(start))) return false;
    if (icalcomponent_get_first_property(part, ICAL_TZOFFSETTO_PROPERTY) == nullptr) return false;
    int rules = 0;
    for (icalproperty* p = icalcomponent_get_first_property(part, ICAL_RRULE_PROPERTY); p != nullptr;
         p = icalcomponent_get_next_property(part, ICAL_RRULE_PROPERTY))
      if (++rules > 4 || !isPlausible(icalproperty_get_rrule(p))) return false;
    anyObservance = true;
  }
  return anyObservance;
}

}  // namespace

bool isValidTime(const icaltimetype& time) {
  if (icaltime_is_null_time(time)) return false;
  return base::isValid({time.year, time.month, time.day, time.is_date ? 0 : time.hour,
                        time.is_date ? 0 : time.minute, time.is_date ? 0 : std::min(time.second, 59)});
}

WallTime wallTimeOf(const icaltimetype& time) {
  if (time.is_date) return base::wallSeconds({time.year, time.month, time.day, 0, 0, 0});
  return base::wallSeconds(
      {time.year, time.month, time.day, time.hour, time.minute, std::min(time.second, 59)});
}

icaltimetype icalTimeOf(WallTime wall) {
  const DateTime t = base::fromWallSeconds(wall);
  icaltimetype time = icaltime_null_time();
  time.year = t.year;
  time.month = t.month;
  time.day = t.day;
  time.hour = t.hour;
  time.minute = t.minute;
  time.second = t.second;
  return time;
}

struct TimeZone::Rules {
  std::shared_ptr<icaltimezone> zone;  // null: UTC
  // By stretches of kStretch: how far the owner's clock is ahead of this one, where neither of them changes.
  std::unordered_map<std::int64_t, std::optional<std::int64_t>> differences;

  std::int64_t offsetAt(Instant instant) const {
    if (!zone) return 0;
    icaltimetype utc = icalTimeOf(instant);
    return icaltimezone_get_utc_offset_of_utc_time(zone.get(), &utc, nullptr);
  }
};

TimeZone TimeZone::utc() { return TimeZone(std::make_shared<Rules>()); }

TimeZone::TimeZone(std::shared_ptr<icaltimezone> zone) : rules_(std::make_shared<Rules>()) {
  rules_->zone = std::move(zone);
}

Instant TimeZone::instant(WallTime wall) const {
  if (isFloating()) return instantFromLocal(wall);
  if (!rules_->zone) return wall;
  icaltimetype time = icalTimeOf(wall);
  time.is_daylight = 1;  // of an hour that comes twice the first is meant (RFC 5545 3.3.5)
  const Instant instant = wall - icaltimezone_get_utc_offset(rules_->zone.get(), &time, nullptr);
  // An hour that the clock leaves out is counted from before the change, as if it had not come.
  return wall - rules_->offsetAt(instant);
}

WallTime TimeZone::wall(Instant instant) const {
  return isFloating() ? localFromInstant(instant) : instant + rules_->offsetAt(instant);
}

/// How far the owner's clock is ahead; empty near a change of either, where that has to be worked out time by
/// time.
std::optional<std::int64_t> TimeZone::steadyDifference(WallTime wall) const {
  constexpr std::int64_t kStretch = 8 * kDay;
  constexpr std::size_t kMaxKept = 4096;
  const std::int64_t stretch = floorDiv(wall, kStretch);
  auto& differences = rules_->differences;
  if (const auto known = differences.find(stretch); known != differences.end()) return known->second;
  if (differences.size() == kMaxKept) differences.clear();
  const auto localOffset = [](Instant t) { return localFromInstant(t) - t; };
  const Instant first = stretch * kStretch - kDay;  // no clock is further from UTC than a day
  const std::int64_t zoneOffset = rules_->offsetAt(first);
  const std::int64_t ownersOffset = localOffset(first);
  bool steady = true;
  for (Instant t = first + kDay; steady && t <= first + kStretch + 2 * kDay; t += kDay)
    steady = rules_->offsetAt(t) == zoneOffset && localOffset(t) == ownersOffset;
  const std::optional<std::int64_t> difference =
      steady ? std::optional(ownersOffset - zoneOffset) : std::nullopt;
  differences.emplace(stretch, difference);
  return difference;
}

WallTime TimeZone::local(WallTime wall) const {
  if (isFloating()) return wall;
  if (const auto difference = steadyDifference(wall)) return wall + *difference;
  return localFromInstant(instant(wall));
}

WallTime TimeZone::localAfter(WallTime wall, std::int64_t seconds) const {
  if (isFloating()) return wall + seconds;
  const auto before = steadyDifference(wall);
  if (before && floorDiv(seconds, kDay) == 0 && steadyDifference(wall + seconds) == before)
    return wall + seconds + *before;
  return localFromInstant(instant(wall) + seconds);
}

std::shared_ptr<icaltimezone> zoneFrom(ComponentPtr definition) {
  std::shared_ptr<icaltimezone> zone(icaltimezone_new(), [](icaltimezone* z) { icaltimezone_free(z, 1); });
  icalcomponent* const given = definition.release();
  if (icaltimezone_set_component(zone.get(), given) != 0) return zone;
  definition.reset(given);  // the zone has not taken it
  return nullptr;
}

std::optional<ZoneCache::DefinedZone> ZoneCache::fromDefinition(const std::string& vtimezone) {
  if (const auto known = defined_.find(vtimezone); known != defined_.end()) return known->second;
  std::optional<DefinedZone> defined;
  ComponentPtr component(icalparser_parse_string(vtimezone.c_str()));
  if (component && icalcomponent_isa(component.get()) == ICAL_VTIMEZONE_COMPONENT &&
      isPlausible(component.get())) {
    auto zone = zoneFrom(std::move(component));
    if (const char* const tzid = zone ? icaltimezone_get_tzid(zone.get()) : nullptr)
      defined = DefinedZone{tzid, TimeZone(std::move(zone))};
  }
  if (defined_.size() == kMaxKeptZones) defined_.clear();
  defined_.emplace(vtimezone, defined);
  return defined;
}

std::optional<TimeZone> ZoneCache::fromSystem(const std::string& tzid) {
  if (const auto known = system_.find(tzid); known != system_.end()) return known->second;
  std::optional<TimeZone> zone;
  // It is looked up as a file below the zone directory: nothing may lead out of there.
  const bool plain = tzid.size() < 200 && tzid.find("..") == std::string::npos &&
                     std::ranges::all_of(
                         tzid,
                         [](char c) {
                           return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                                  (c >= '0' && c <= '9') || c == '/' || c == '_' || c == '-' || c == '+' ||
                                  c == '.';
                         });
  // "/vendor/20070129_1/Europe/Berlin": what stands in front is passed over, piece by piece.
  for (std::string name = tzid; plain && !zone && !name.empty();) {
    if (name == "UTC" || name == "GMT") {
      zone = utc_;
    } else if (name.front() != '/' && name.back() != '/') {
      if (auto found = systemZone(name)) zone = TimeZone(std::move(found));
    }
    const auto slash = name.find('/');
    name.erase(0, slash == std::string::npos ? name.size() : slash + 1);
  }
  if (system_.size() == kMaxKeptZones) system_.clear();
  system_.emplace(tzid, zone);
  return zone;
}

void FileZones::define(const std::string& vtimezone) {
  if (auto defined = cache_.fromDefinition(vtimezone))
    zones_.emplace(std::move(defined->tzid), std::move(defined->zone));
}

const TimeZone* FileZones::find(const std::string& tzid) {
  if (const auto known = zones_.find(tzid); known != zones_.end()) return &known->second;
  const auto zone = cache_.fromSystem(tzid);
  return zone ? &zones_.emplace(tzid, *zone).first->second : nullptr;
}

}  // namespace kova::platform::local_outlook
