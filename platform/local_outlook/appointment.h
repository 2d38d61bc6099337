#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/local_outlook/local_time.h"
#include "platform/local_outlook/record.h"
#include "platform/local_outlook/text_fields.h"

namespace kova::platform::local_outlook {

/// What all occurrences of an appointment have in common.
struct Appointment {
  TextFields fields;
  bool allDay = false;
  std::optional<long> reminderMinutes;  ///< before the start
};

/// A stretch of local time in which an appointment takes place.
struct Occurrence : Place {
  WallTime start = 0;
  WallTime end = 0;  ///< not before `start`
  std::shared_ptr<const Appointment> appointment;
  bool isException = false;  ///< an occurrence of a series that differs from the others
};

class AppointmentItem final : public outlook::Item {
 public:
  explicit AppointmentItem(const Occurrence& occurrence)
      : start_(occurrence.start), end_(occurrence.end), appointment_(occurrence.appointment) {}

  std::optional<std::string> text(TextProperty property) override;
  std::optional<long> number(NumberProperty property) override;
  std::optional<bool> flag(FlagProperty property) override;
  std::optional<DateTime> date(DateProperty property) override;
  bool setText(TextProperty, std::string_view) override { return false; }
  bool setNumber(NumberProperty, long) override { return false; }
  bool setFlag(FlagProperty, bool) override { return false; }
  bool setDate(DateProperty, const DateTime&) override { return false; }
  bool save() override { return false; }

 private:
  WallTime start_;
  WallTime end_;
  std::shared_ptr<const Appointment> appointment_;
};

}  // namespace kova::platform::local_outlook
