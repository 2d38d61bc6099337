#include "platform/local_outlook/tasks.h"

#include <algorithm>

#include "platform/local_outlook/ical_records.h"
#include "platform/local_outlook/item_kinds.h"
#include "platform/local_outlook/text_fields.h"

namespace kova::platform::local_outlook {
namespace {

class Task final : public Record {
 public:
  TextFields fields;
  DateTime start = kNoDate;
  DateTime due = kNoDate;
  long percentComplete = 0;

  std::optional<std::string> text(TextProperty property) const override {
    if (!hasSubjectAndBody(property)) return std::nullopt;
    return std::string(fields.get(property));
  }
  std::optional<long> number(NumberProperty property) const override {
    if (property == NumberProperty::kPercentComplete) return percentComplete;
    return std::nullopt;
  }
  std::optional<DateTime> date(DateProperty property) const override {
    if (property == DateProperty::kStartDate) return start;
    if (property == DateProperty::kDueDate) return due;
    return std::nullopt;
  }
};

/// Tasks have dates, no times of day.
DateTime dateOf(icalcomponent* vtodo, icalproperty_kind kind, FileZones& zones, std::string& unknownZone) {
  const auto time = zonedTime(icalcomponent_get_first_property(vtodo, kind), zones, unknownZone);
  return time ? base::dateOf(base::fromWallSeconds(time->local())) : kNoDate;
}

DateTime dueDateOf(icalcomponent* vtodo, FileZones& zones, std::string& unknownZone) {
  icalproperty* const duration = icalcomponent_get_first_property(vtodo, ICAL_DURATION_PROPERTY);
  const auto start =
      zonedTime(icalcomponent_get_first_property(vtodo, ICAL_DTSTART_PROPERTY), zones, unknownZone);
  if (duration == nullptr || !start || icalcomponent_get_first_property(vtodo, ICAL_DUE_PROPERTY) != nullptr)
    return dateOf(vtodo, ICAL_DUE_PROPERTY, zones, unknownZone);
  const icaldurationtype length = icalproperty_get_duration(duration);
  constexpr std::int64_t kLongest = 366'000 * kDay;
  const std::int64_t seconds =
      std::min((std::int64_t{length.weeks} * 7 + length.days) * kDay + std::int64_t{length.hours} * 3600 +
                   std::int64_t{length.minutes} * 60 + length.seconds,
               kLongest);
  return base::dateOf(base::fromWallSeconds(start->local() + seconds));
}

}  // namespace

ReadRecords readTasks(const std::string& bytes, ZoneCache& zones) {
  return readIcalRecords(
      bytes, "vtodo", ICAL_VTODO_COMPONENT, zones, [](icalcomponent* vtodo, FileZones& fileZones) {
        auto task = std::make_shared<Task>();
        std::string unknownZone;
        task->fields.add(TextProperty::kSubject, textOf(vtodo, ICAL_SUMMARY_PROPERTY));
        task->fields.add(TextProperty::kBody, textOf(vtodo, ICAL_DESCRIPTION_PROPERTY));
        task->start = dateOf(vtodo, ICAL_DTSTART_PROPERTY, fileZones, unknownZone);
        task->due = dueDateOf(vtodo, fileZones, unknownZone);
        if (icalproperty* const percent =
                icalcomponent_get_first_property(vtodo, ICAL_PERCENTCOMPLETE_PROPERTY))
          task->percentComplete = std::clamp(icalproperty_get_percentcomplete(percent), 0, 100);
        if (icalcomponent_get_status(vtodo) == ICAL_STATUS_COMPLETED) task->percentComplete = 100;
        return task;
      });
}

}  // namespace kova::platform::local_outlook
