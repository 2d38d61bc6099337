#include "platform/local_outlook/appointment.h"

#include "platform/local_outlook/item_kinds.h"

namespace kova::platform::local_outlook {

std::optional<std::string> AppointmentItem::text(TextProperty property) {
  if (!appointmentHas(property)) return std::nullopt;
  return std::string(appointment_->fields.get(property));
}

std::optional<long> AppointmentItem::number(NumberProperty property) {
  if (property == NumberProperty::kDuration) return static_cast<long>((end_ - start_) / 60);
  if (property == NumberProperty::kReminderMinutesBeforeStart)
    return appointment_->reminderMinutes.value_or(0);
  return std::nullopt;
}

std::optional<bool> AppointmentItem::flag(FlagProperty property) {
  if (property == FlagProperty::kAllDayEvent) return appointment_->allDay;
  if (property == FlagProperty::kReminderSet) return appointment_->reminderMinutes.has_value();
  return std::nullopt;
}

std::optional<DateTime> AppointmentItem::date(DateProperty property) {
  if (property == DateProperty::kStart) return base::fromWallSeconds(start_);
  if (property == DateProperty::kEnd) return base::fromWallSeconds(end_);
  return std::nullopt;
}

}  // namespace kova::platform::local_outlook
