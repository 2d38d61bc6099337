#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/local_outlook/appointment.h"
#include "platform/local_outlook/time_zones.h"

namespace kova::platform::local_outlook {

/// How long each occurrence lasts.
struct Length {
  std::int64_t days = 0;     ///< by the calendar, whatever the clock does in between
  std::int64_t seconds = 0;  ///< after those
};

/// A recurring appointment. Times are those of a clock in `zone` (for all-day appointments: of no zone).
struct Series {
  /// From the occurrence at `from` on, the series is another appointment and may lie at another time.
  struct Change {
    WallTime from = 0;
    std::int64_t shift = 0;
    Length length;
    bool cancelled = false;
    std::shared_ptr<const Appointment> appointment;
  };
  struct ExtraDate {
    WallTime start = 0;
    Length length;
  };

  std::shared_ptr<const Appointment> appointment;
  TimeZone zone = TimeZone::floating();
  WallTime start = 0;
  Length length;
  std::vector<std::string> rules;           ///< RRULE
  std::vector<std::string> exceptionRules;  ///< EXRULE
  std::vector<ExtraDate> extraDates;        ///< RDATE
  std::vector<WallTime> exceptions;         ///< sorted: EXDATE and the overridden occurrences
  std::vector<std::int64_t> exceptionDays;  ///< sorted: the same given as a date alone, days since 1970
  std::vector<Change> changes;              ///< sorted by `from`
  bool allDay = false;

  Occurrence occurrence(WallTime startInZone, const Length& lasting,
                        std::shared_ptr<const Appointment> what) const;
};

struct Expansion {
  std::vector<Occurrence> occurrences;  ///< in no order
  bool tooMany = false;                 ///< there are more than will be worked out; some are left out
  bool unreadable = false;              ///< a rule that cannot be read was passed over
};

/// The occurrences that lie, wholly or in part, between two local times (`from` included, `to` not). The
/// exceptions that have a time of their own are not among them.
Expansion expand(const Series& series, WallTime from, WallTime to);

}  // namespace kova::platform::local_outlook
