#include "platform/local_outlook/ical_records.h"

namespace kova::platform::local_outlook {

ReadRecords readIcalRecords(
    const std::string& bytes, std::string_view name, icalcomponent_kind kind, ZoneCache& zoneCache,
    const std::function<std::shared_ptr<const Record>(icalcomponent*, FileZones&)>& read) {
  const std::string text = icalText(bytes);
  FileZones zones(zoneCache);
  ComponentText component;
  ComponentTexts definitions(text);
  while (definitions.next(component))
    if (component.name == "vtimezone" && component.complete) zones.define(component.text);

  ReadRecords result;
  std::size_t broken = 0;
  std::size_t count = 0;
  ComponentTexts components(text);
  while (components.next(component)) {
    if (component.name != name) continue;
    ++count;
    const ComponentPtr parsed = component.complete ? parseComponent(component.text, kind) : nullptr;
    if (parsed)
      result.records.push_back({read(parsed.get(), zones), createdOf(parsed.get())});
    else
      ++broken;
  }
  if (!components.sawCalendar())
    result.problem = "is no iCalendar file";
  else if (broken > 0)
    result.problem = std::to_string(broken) + " of " + std::to_string(count) + " entries cannot be read";
  return result;
}

}  // namespace kova::platform::local_outlook
