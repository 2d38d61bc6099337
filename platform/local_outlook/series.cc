#include "platform/local_outlook/series.h"

#include <algorithm>
#include <climits>

namespace kova::platform::local_outlook {
namespace {

// What one series may cost: a rule from a file must neither hang the program nor fill its memory.
constexpr std::size_t kMaxOccurrences = 40'000;
constexpr std::int64_t kMaxSteps = 600'000;
// How far a clock anywhere may be from the owner's.
constexpr std::int64_t kZoneMargin = 2 * kDay;
constexpr WallTime kLatest = 253'402'300'799;  // the end of the year 9999

struct FreeIterator {
  void operator()(icalrecur_iterator* iterator) const { icalrecur_iterator_free(iterator); }
};

std::int64_t count(const short* values) {
  std::int64_t n = 0;
  while (values[n] != ICAL_RECURRENCE_ARRAY_MAX) ++n;
  return n;
}

std::int64_t unitSeconds(icalrecurrencetype_frequency frequency) {
  switch (frequency) {
    case ICAL_SECONDLY_RECURRENCE:
      return 1;
    case ICAL_MINUTELY_RECURRENCE:
      return 60;
    case ICAL_HOURLY_RECURRENCE:
      return 3600;
    case ICAL_DAILY_RECURRENCE:
      return kDay;
    case ICAL_WEEKLY_RECURRENCE:
      return 7 * kDay;
    default:
      return 0;
  }
}

/// The times of one rule within a window of the zone's clock.
class RuleTimes {
 public:
  RuleTimes(const Series& series, WallTime from, WallTime to) : series_(series), from_(from), to_(to) {}

  bool tooMany = false;
  bool unreadable = false;

  std::vector<WallTime> of(const std::string& text) {
    std::vector<WallTime> times;
    icalrecurrencetype rule = icalrecurrencetype_from_string(text.c_str());
    if (rule.freq == ICAL_NO_RECURRENCE || rule.interval < 1) {
      unreadable = true;
      return times;
    }
    WallTime last = to_;
    if (!icaltime_is_null_time(rule.until)) last = std::min(last, lastTime(rule.until));
    if (last < series_.start) return times;
    if (!isAffordable(rule, last)) {
      tooMany = true;
      return times;
    }
    if (isPlainWeekly(rule)) {
      addPlainWeekly(rule, last, times);
      return times;
    }
    // The library looks for the next time until it has passed `until`, for ages where there is none.
    rule.until = timeOf(last);

    icaltimetype start = timeOf(series_.start);
    const WallTime skipTo = rule.count > 0 ? series_.start : alignedStart(rule);
    const bool isSubDaily = unitSeconds(rule.freq) != 0 && unitSeconds(rule.freq) < kDay;
    if (isSubDaily) start = timeOf(skipTo);
    const std::unique_ptr<icalrecur_iterator, FreeIterator> iterator(icalrecur_iterator_new(rule, start));
    if (!iterator) {
      // Either the rule is nonsense or it never comes true: both add nothing.
      return times;
    }
    if (!isSubDaily && skipTo > series_.start &&
        icalrecur_iterator_set_start(iterator.get(), timeOf(skipTo)) == 0)
      return times;
    for (std::int64_t steps = 0; steps < kMaxSteps; ++steps) {
      const icaltimetype next = icalrecur_iterator_next(iterator.get());
      if (icaltime_is_null_time(next)) return times;
      const WallTime time = wallTimeOf(next);
      if (time > last) return times;
      if (time < from_ || time < series_.start) continue;
      if (times.size() == kMaxOccurrences) break;
      times.push_back(time);
    }
    tooMany = true;
    return times;
  }

 private:
  icaltimetype timeOf(WallTime wall) const {
    icaltimetype time = icalTimeOf(wall);
    time.is_date = series_.allDay ? 1 : 0;
    return time;
  }

  /// "Every n weeks" or "every n days", by far the most common rules: worked out here, since the library
  /// takes microseconds for each time.
  static bool isPlainWeekly(const icalrecurrencetype& rule) {
    if (rule.count > 0 || (rule.freq != ICAL_WEEKLY_RECURRENCE && rule.freq != ICAL_DAILY_RECURRENCE))
      return false;
    for (const short* day = rule.by_day; *day != ICAL_RECURRENCE_ARRAY_MAX; ++day)
      if (rule.freq != ICAL_WEEKLY_RECURRENCE || icalrecurrencetype_day_position(*day) != 0) return false;
    return count(rule.by_month) + count(rule.by_week_no) + count(rule.by_year_day) +
               count(rule.by_month_day) + count(rule.by_hour) + count(rule.by_minute) +
               count(rule.by_second) + count(rule.by_set_pos) ==
           0;
  }

  void addPlainWeekly(const icalrecurrencetype& rule, WallTime last, std::vector<WallTime>& times) {
    const std::int64_t startDay = floorDiv(series_.start, kDay);
    const std::int64_t timeOfDay = series_.start - startDay * kDay;
    std::int64_t firstDay = startDay;  // of the first period
    std::int64_t periodDays = rule.interval;
    std::vector<std::int64_t> daysOfPeriod;  // counted from its first one
    if (rule.freq == ICAL_WEEKLY_RECURRENCE) {
      periodDays *= 7;
      const std::int64_t weekStart =
          rule.week_start == ICAL_NO_WEEKDAY ? 1 : rule.week_start - ICAL_SUNDAY_WEEKDAY;
      const std::int64_t weekday = ((startDay + 4) % 7 + 7) % 7;  // 1970-01-01 was a Thursday
      firstDay -= (weekday - weekStart + 7) % 7;
      for (const short* day = rule.by_day; *day != ICAL_RECURRENCE_ARRAY_MAX; ++day)
        daysOfPeriod.push_back(
            (icalrecurrencetype_day_day_of_week(*day) - ICAL_SUNDAY_WEEKDAY - weekStart + 7) % 7);
      std::ranges::sort(daysOfPeriod);
    }
    if (daysOfPeriod.empty()) daysOfPeriod.push_back(startDay - firstDay);
    const std::int64_t windowDay = floorDiv(std::max(from_, series_.start), kDay);
    for (std::int64_t period = std::max<std::int64_t>((windowDay - firstDay) / periodDays, 0);; ++period) {
      for (const std::int64_t day : daysOfPeriod) {
        const WallTime time = (firstDay + period * periodDays + day) * kDay + timeOfDay;
        if (time > last) return;
        if (time >= from_ && time >= series_.start) times.push_back(time);
        if (times.size() == kMaxOccurrences) {
          tooMany = true;
          return;
        }
      }
    }
  }

  WallTime lastTime(const icaltimetype& until) const {
    const WallTime wall = wallTimeOf(until);
    if (until.is_date) return wall + kDay - 1;
    if (series_.allDay) return floorDiv(wall, kDay) * kDay;
    return icaltime_is_utc(until) ? series_.zone.wall(wall) : wall;
  }

  /// A time before the window at which the rule may be taken up as if from its start, an interval early at
  /// least.
  WallTime alignedStart(const icalrecurrencetype& rule) const {
    const DateTime first = base::fromWallSeconds(series_.start);
    if (const std::int64_t unit = unitSeconds(rule.freq) * rule.interval; unit != 0) {
      const std::int64_t periods = (from_ - series_.start) / unit - 1;
      return periods > 0 ? series_.start + periods * unit : series_.start;
    }
    const DateTime target = base::fromWallSeconds(from_);
    DateTime aligned = first;
    aligned.day = 1;
    if (rule.freq == ICAL_YEARLY_RECURRENCE) {
      const int periods = (target.year - first.year) / rule.interval - 1;
      if (periods <= 0) return series_.start;
      aligned.year = first.year + periods * rule.interval;
      aligned.month = 1;
    } else {
      const int months = (target.year - first.year) * 12 + target.month - first.month;
      const int periods = months / rule.interval - 1;
      if (periods <= 0) return series_.start;
      const int month = first.month - 1 + periods * rule.interval;
      aligned.year = first.year + month / 12;
      aligned.month = month % 12 + 1;
    }
    return base::wallSeconds(aligned);
  }

  /// Whether the library gets through the rule in bounded time: it takes a step for every hour, minute or
  /// second of such a rule, and for every time of day of the others.
  bool isAffordable(const icalrecurrencetype& rule, WallTime last) const {
    const std::int64_t timesOfDay = std::max<std::int64_t>(count(rule.by_hour), 1) *
                                    std::max<std::int64_t>(count(rule.by_minute), 1) *
                                    std::max<std::int64_t>(count(rule.by_second), 1);
    const std::int64_t unit = unitSeconds(rule.freq);
    if (unit == 0 || unit >= kDay)
      return timesOfDay <= 1440 && (count(rule.by_set_pos) == 0 || timesOfDay <= 60);
    const bool filtered = count(rule.by_month) + count(rule.by_week_no) + count(rule.by_year_day) +
                              count(rule.by_month_day) + count(rule.by_day) + count(rule.by_hour) +
                              count(rule.by_minute) + count(rule.by_second) + count(rule.by_set_pos) >
                          0;
    if (rule.count > 0 && !filtered) return rule.count <= kMaxSteps;
    const WallTime first = rule.count > 0 ? series_.start : std::max(alignedStart(rule), series_.start);
    return (last - first) / (unit * std::max<std::int64_t>(rule.interval, 1)) <= kMaxSteps;
  }

  const Series& series_;
  WallTime from_;
  WallTime to_;
};

std::int64_t roughSeconds(const Length& length) { return length.days * kDay + length.seconds; }

}  // namespace

Occurrence Series::occurrence(WallTime startInZone, const Length& lasting,
                              std::shared_ptr<const Appointment> what) const {
  Occurrence result;
  result.start = allDay ? startInZone : zone.local(startInZone);
  const WallTime endOfDays = startInZone + lasting.days * kDay;
  result.end = allDay ? endOfDays + lasting.seconds : zone.localAfter(endOfDays, lasting.seconds);
  result.end = std::clamp(result.end, result.start, kLatest);
  result.appointment = std::move(what);
  return result;
}

Expansion expand(const Series& series, WallTime from, WallTime to) {
  Expansion result;
  std::int64_t longest = roughSeconds(series.length);
  std::int64_t furthest = 0;
  for (const Series::Change& change : series.changes) {
    longest = std::max(longest, roughSeconds(change.length));
    furthest = std::max(furthest, std::abs(change.shift));
  }
  for (const Series::ExtraDate& extra : series.extraDates)
    longest = std::max(longest, roughSeconds(extra.length));
  const WallTime zoneFrom = from - longest - furthest - kZoneMargin;
  const WallTime zoneTo = to + furthest + kZoneMargin;

  struct Start {
    WallTime time;
    const Length* length;
    bool operator<(const Start& other) const { return time < other.time; }
  };
  std::vector<Start> starts;
  RuleTimes ruleTimes(series, zoneFrom, zoneTo);
  starts.push_back({series.start, &series.length});  // it counts even where the rule leaves it out
  for (const Series::ExtraDate& extra : series.extraDates) starts.push_back({extra.start, &extra.length});
  for (const std::string& rule : series.rules)
    for (const WallTime time : ruleTimes.of(rule)) starts.push_back({time, &series.length});
  std::vector<WallTime> excluded;
  for (const std::string& rule : series.exceptionRules) {
    const auto times = ruleTimes.of(rule);
    excluded.insert(excluded.end(), times.begin(), times.end());
  }
  std::ranges::sort(excluded);
  std::ranges::stable_sort(starts, {}, &Start::time);
  const auto repeated = std::ranges::unique(starts, {}, &Start::time);
  starts.erase(repeated.begin(), repeated.end());
  result.tooMany = ruleTimes.tooMany;
  result.unreadable = ruleTimes.unreadable;

  for (const Start& start : starts) {
    if (std::ranges::binary_search(series.exceptions, start.time) ||
        std::ranges::binary_search(series.exceptionDays, floorDiv(start.time, kDay)) ||
        std::ranges::binary_search(excluded, start.time))
      continue;
    const auto next = std::ranges::upper_bound(series.changes, start.time, {}, &Series::Change::from);
    Occurrence occurrence;
    if (next == series.changes.begin()) {
      occurrence = series.occurrence(start.time, *start.length, series.appointment);
    } else {
      const Series::Change& change = *std::prev(next);
      if (change.cancelled) continue;
      occurrence = series.occurrence(start.time + change.shift, change.length, change.appointment);
    }
    if (occurrence.start < to && (occurrence.end > from || occurrence.start >= from))
      result.occurrences.push_back(std::move(occurrence));
  }
  return result;
}

}  // namespace kova::platform::local_outlook
