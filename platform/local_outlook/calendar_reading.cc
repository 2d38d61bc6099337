#include "platform/local_outlook/calendar_reading.h"

#include <algorithm>
#include <map>

#include "base/text.h"
#include "platform/local_outlook/ical_text.h"

namespace kova::platform::local_outlook {
namespace {

constexpr WallTime kLatest = 253'402'300'799;  // the end of the year 9999
constexpr std::int64_t kLongest = std::int64_t{10'000} * 366 * kDay;
constexpr long kMaxMinutes = 2'147'483'647;

/// The length in days and seconds; the library's own sum overflows.
Length lengthOf(const icaldurationtype& duration) {
  const std::int64_t sign = duration.is_neg ? -1 : 1;
  Length length;
  length.days =
      sign * std::min<std::int64_t>(std::int64_t{duration.weeks} * 7 + duration.days, kLongest / kDay);
  length.seconds = sign * std::min<std::int64_t>(std::int64_t{duration.hours} * 3600 +
                                                     std::int64_t{duration.minutes} * 60 + duration.seconds,
                                                 kLongest);
  return length;
}

std::int64_t secondsOf(const icaldurationtype& duration) {
  const Length length = lengthOf(duration);
  return length.days * kDay + length.seconds;
}

/// One VEVENT as it stands in the file.
struct Event {
  std::shared_ptr<const Appointment> appointment;
  std::string uid;
  ZonedTime start;
  Length length;
  std::optional<Instant> end;  // when it was given as such
  std::int64_t added = 0;
  std::uint32_t position = 0;
  bool cancelled = false;
  std::vector<std::string> rules;
  std::vector<std::string> exceptionRules;
  struct Extra {
    ZonedTime start;
    std::optional<Length> length;
  };
  std::vector<Extra> extraDates;
  std::vector<ZonedTime> exceptionDates;
  std::optional<ZonedTime> recurrenceId;
  bool thisAndFuture = false;

  bool recurs() const { return !rules.empty() || !extraDates.empty(); }
};

/// Minutes before the start; empty when the alarm is none.
std::optional<long> reminderOf(icalcomponent* alarm, Instant start, Instant end) {
  if (icalproperty* const action = icalcomponent_get_first_property(alarm, ICAL_ACTION_PROPERTY)) {
    char* const value = icalproperty_get_value_as_string_r(action);
    const bool isNone = value != nullptr && base::asciiLower(value) == "none";
    icalmemory_free_buffer(value);
    if (isNone) return std::nullopt;  // a placeholder of calendars that have alarms by default
  }
  icalproperty* const property = icalcomponent_get_first_property(alarm, ICAL_TRIGGER_PROPERTY);
  if (property == nullptr) return std::nullopt;
  const icaltriggertype trigger = icalproperty_get_trigger(property);
  Instant moment = start;
  if (!icaltime_is_null_time(trigger.time)) {
    if (!isValidTime(trigger.time)) return std::nullopt;
    moment = wallTimeOf(trigger.time);
  } else {
    icalparameter* const related = icalproperty_get_first_parameter(property, ICAL_RELATED_PARAMETER);
    if (related != nullptr && icalparameter_get_related(related) == ICAL_RELATED_END) moment = end;
    moment += secondsOf(trigger.duration);
  }
  return static_cast<long>(std::clamp<std::int64_t>((start - moment) / 60, 0, kMaxMinutes));
}

class CalendarReader {
 public:
  CalendarReader(ZoneCache& cache, std::int64_t fallbackAdded, FileNumber file)
      : zones_(cache), fallbackAdded_(fallbackAdded), file_(file) {}

  ReadCalendar read(const std::string& text) {
    ReadCalendar result;
    // A definition of a zone may stand behind its first use.
    ComponentTexts definitions(text);
    ComponentText component;
    if (text.find("VTIMEZONE") != std::string::npos || text.find("vtimezone") != std::string::npos)
      while (definitions.next(component))
        if (component.name == "vtimezone" && component.complete) zones_.define(component.text);

    ComponentTexts components(text);
    std::uint32_t position = 0;
    while (components.next(component)) {
      if (component.name != "vevent") continue;
      ++position;
      auto event = component.complete ? readEvent(component.text) : std::nullopt;
      if (!event) {
        ++broken_;
        continue;
      }
      event->position = position;
      events_.push_back(std::move(*event));
    }
    if (!components.sawCalendar()) {
      result.problem = "is no iCalendar file";
      return result;
    }
    arrange(result);
    result.problem = problem(position);
    return result;
  }

 private:
  std::string problem(std::uint32_t events) const {
    std::string text;
    const auto add = [&](const std::string& what) { text += (text.empty() ? "" : "; ") + what; };
    if (broken_ > 0)
      add(events == 1
              ? "the appointment cannot be read"
              : std::to_string(broken_) + " of " + std::to_string(events) + " appointments cannot be read");
    if (badRule_) add("a recurrence that cannot be read is left out");
    if (!unknownZone_.empty())
      add("unknown time zone \"" + unknownZone_.substr(0, 80) + "\" is taken as local time");
    return text;
  }

  std::optional<Event> readEvent(const std::string& text) {
    const ComponentPtr component = parseComponent(text, ICAL_VEVENT_COMPONENT);
    if (!component) return std::nullopt;
    icalcomponent* const vevent = component.get();
    Event event;
    auto appointment = std::make_shared<Appointment>();

    const auto start =
        zonedTime(icalcomponent_get_first_property(vevent, ICAL_DTSTART_PROPERTY), zones_, unknownZone_);
    if (!start) return std::nullopt;
    event.start = *start;
    appointment->allDay = start->isDate;

    const Instant startInstant = event.start.instant();
    Instant endInstant = startInstant;
    if (icalproperty* const dtend = icalcomponent_get_first_property(vevent, ICAL_DTEND_PROPERTY)) {
      const auto end = zonedTime(dtend, zones_, unknownZone_);
      if (!end) return std::nullopt;
      if (start->isDate) {
        event.length.days = std::max<std::int64_t>(floorDiv(end->local() - start->wall + kDay - 1, kDay), 1);
      } else {
        endInstant = std::max(end->instant(), startInstant);
        event.end = endInstant;
        event.length.seconds = endInstant - startInstant;
      }
    } else if (icalproperty* const duration =
                   icalcomponent_get_first_property(vevent, ICAL_DURATION_PROPERTY)) {
      event.length = lengthOf(icalproperty_get_duration(duration));
      if (event.length.days < 0 || event.length.seconds < 0) event.length = {};
    }
    if (start->isDate) {
      event.length.days = std::max<std::int64_t>(event.length.days + event.length.seconds / kDay, 1);
      event.length.seconds = 0;
    }
    if (!event.end) endInstant = startInstant + event.length.days * kDay + event.length.seconds;

    appointment->fields.add(TextProperty::kSubject, textOf(vevent, ICAL_SUMMARY_PROPERTY));
    appointment->fields.add(TextProperty::kLocation, textOf(vevent, ICAL_LOCATION_PROPERTY));
    appointment->fields.add(TextProperty::kBody, textOf(vevent, ICAL_DESCRIPTION_PROPERTY));
    for (icalcomponent* alarm = icalcomponent_get_first_component(vevent, ICAL_VALARM_COMPONENT);
         alarm != nullptr && !appointment->reminderMinutes;
         alarm = icalcomponent_get_next_component(vevent, ICAL_VALARM_COMPONENT))
      appointment->reminderMinutes = reminderOf(alarm, startInstant, endInstant);

    if (const char* const uid = icalcomponent_get_uid(vevent)) event.uid = uid;
    event.added = createdOf(vevent).value_or(fallbackAdded_);
    event.cancelled = icalcomponent_get_status(vevent) == ICAL_STATUS_CANCELLED;
    readRecurrence(vevent, event);
    event.appointment = std::move(appointment);
    return event;
  }

  void readRecurrence(icalcomponent* vevent, Event& event) {
    for (icalproperty* p = icalcomponent_get_first_property(vevent, ICAL_ANY_PROPERTY); p != nullptr;
         p = icalcomponent_get_next_property(vevent, ICAL_ANY_PROPERTY)) {
      switch (icalproperty_isa(p)) {
        case ICAL_RRULE_PROPERTY:
        case ICAL_EXRULE_PROPERTY: {
          char* const rule = icalproperty_get_value_as_string_r(p);
          if (rule != nullptr)
            (icalproperty_isa(p) == ICAL_RRULE_PROPERTY ? event.rules : event.exceptionRules)
                .emplace_back(rule);
          icalmemory_free_buffer(rule);
          break;
        }
        case ICAL_RDATE_PROPERTY: {
          const icaldatetimeperiodtype date = icalproperty_get_rdate(p);
          const bool isPeriod = icaltime_is_null_time(date.time);
          const auto start = zonedTime(isPeriod ? date.period.start : date.time, p, zones_, unknownZone_);
          if (!start) {
            badRule_ = true;
            break;
          }
          Event::Extra extra{*start, std::nullopt};
          if (isPeriod) {
            Length length = lengthOf(date.period.duration);
            if (const auto end = zonedTime(date.period.end, p, zones_, unknownZone_))
              length = {0, std::max<std::int64_t>(end->instant() - start->instant(), 0)};
            extra.length = length;
          }
          event.extraDates.push_back(extra);
          break;
        }
        case ICAL_EXDATE_PROPERTY:
          if (const auto date = zonedTime(p, zones_, unknownZone_)) event.exceptionDates.push_back(*date);
          break;
        case ICAL_RECURRENCEID_PROPERTY: {
          event.recurrenceId = zonedTime(p, zones_, unknownZone_);
          icalparameter* const range = icalproperty_get_first_parameter(p, ICAL_RANGE_PARAMETER);
          event.thisAndFuture =
              range != nullptr && icalparameter_get_range(range) == ICAL_RANGE_THISANDFUTURE;
          break;
        }
        case ICAL_XLICERROR_PROPERTY: {
          const char* const text = icalproperty_get_xlicerror(p);
          if (text != nullptr && std::string_view(text).find("RRULE") != std::string_view::npos)
            badRule_ = true;
          break;
        }
        default:
          break;
      }
    }
  }

  /// Puts series and their exceptions together.
  void arrange(ReadCalendar& result) {
    std::map<std::string_view, std::vector<const Event*>> exceptionsOf;
    std::map<std::string_view, const Event*> seriesOf;
    for (const Event& event : events_) {
      if (event.recurrenceId)
        exceptionsOf[event.uid].push_back(&event);
      else if (event.recurs())
        seriesOf.emplace(event.uid, &event);
    }
    for (const Event& event : events_) {
      if (event.recurrenceId) {
        const auto owner = seriesOf.find(event.uid);
        const bool ownerCancelled = owner != seriesOf.end() && owner->second->cancelled;
        const bool isChange = owner != seriesOf.end() && changesAllThatFollow(*owner->second, event);
        if (!event.cancelled && !ownerCancelled && !isChange)
          result.single.push_back(occurrence(event, owner != seriesOf.end()));
      } else if (event.cancelled) {
        continue;
      } else if (event.recurs()) {
        const bool isFirst = seriesOf.find(event.uid)->second == &event;
        static const std::vector<const Event*> kNone;
        const auto exceptions = exceptionsOf.find(event.uid);
        result.series.push_back(
            seriesFrom(event, isFirst && exceptions != exceptionsOf.end() ? exceptions->second : kNone));
      } else {
        result.single.push_back(occurrence(event, false));
      }
    }
  }

  void place(Occurrence& occurrence, const Event& event, bool isException) const {
    occurrence.added = event.added;
    occurrence.file = file_;
    occurrence.position = event.position;
    occurrence.isException = isException;
  }

  Occurrence occurrence(const Event& event, bool isException) const {
    Series alone;
    alone.zone = event.start.zone;
    alone.allDay = event.start.isDate;
    Occurrence result = alone.occurrence(event.start.wall, event.length, event.appointment);
    if (event.end && !event.start.isDate)
      result.end = std::clamp(localFromInstant(*event.end), result.start, kLatest);
    place(result, event, isException);
    return result;
  }

  /// A time as the clock of the series' zone shows it.
  static WallTime inZoneOf(const Event& master, const ZonedTime& time) {
    if (master.start.isDate) return floorDiv(time.local(), kDay) * kDay;
    if (time.zone.isFloating()) return time.wall;
    return master.start.zone.wall(time.instant());
  }

  /// One that moves the series by years counts for its one occurrence alone: to look so far around every day
  /// that is asked for would cost too much.
  static bool changesAllThatFollow(const Event& master, const Event& exception) {
    constexpr std::int64_t kFurthest = 1000 * kDay;
    return exception.thisAndFuture && std::abs(inZoneOf(master, exception.start) -
                                               inZoneOf(master, *exception.recurrenceId)) <= kFurthest;
  }

  PlacedSeries seriesFrom(const Event& master, const std::vector<const Event*>& exceptions) const {
    auto series = std::make_shared<Series>();
    series->appointment = master.appointment;
    series->zone = master.start.zone;
    series->start = master.start.wall;
    series->length = master.length;
    series->allDay = master.start.isDate;
    series->rules = master.rules;
    series->exceptionRules = master.exceptionRules;
    for (const Event::Extra& extra : master.extraDates) {
      WallTime start = inZoneOf(master, extra.start);
      if (extra.start.isDate && !master.start.isDate)
        start += master.start.wall - floorDiv(master.start.wall, kDay) * kDay;
      series->extraDates.push_back({start, extra.length.value_or(master.length)});
    }
    const auto except = [&](const ZonedTime& time) {
      if (time.isDate && !master.start.isDate)
        series->exceptionDays.push_back(floorDiv(time.wall, kDay));
      else
        series->exceptions.push_back(inZoneOf(master, time));
    };
    for (const ZonedTime& date : master.exceptionDates) except(date);
    for (const Event* exception : exceptions) {
      if (!changesAllThatFollow(master, *exception)) {
        except(*exception->recurrenceId);
        continue;
      }
      Series::Change change;
      change.from = inZoneOf(master, *exception->recurrenceId);
      change.shift = inZoneOf(master, exception->start) - change.from;
      change.length = exception->length;
      change.cancelled = exception->cancelled;
      change.appointment = exception->appointment;
      series->changes.push_back(std::move(change));
    }
    std::ranges::sort(series->exceptions);
    std::ranges::sort(series->exceptionDays);
    std::ranges::stable_sort(series->changes, {}, &Series::Change::from);

    PlacedSeries placed;
    placed.first = series->occurrence(series->start, series->length, series->appointment);
    place(placed.first, master, false);
    placed.series = std::move(series);
    return placed;
  }

  FileZones zones_;
  std::int64_t fallbackAdded_;
  FileNumber file_;
  std::vector<Event> events_;
  std::uint32_t broken_ = 0;
  bool badRule_ = false;
  std::string unknownZone_;
};

}  // namespace

ReadCalendar readCalendar(const std::string& bytes, std::int64_t fallbackAdded, FileNumber file,
                          ZoneCache& zones) {
  return CalendarReader(zones, fallbackAdded, file).read(icalText(bytes));
}

}  // namespace kova::platform::local_outlook
