#include "platform/local_outlook/ical_text.h"

#include "base/text.h"
#include "platform/local_outlook/content_line.h"

namespace kova::platform::local_outlook {

std::string icalText(const std::string& bytes) {
  std::string text = contentText(bytes);
  std::erase(text, '\0');
  return text;
}

std::string_view ComponentTexts::takeLine() {
  const auto end = rest_.find_first_of("\r\n");
  if (end == std::string_view::npos) {
    const std::string_view line = rest_;
    rest_ = {};
    return line;
  }
  const std::string_view line = rest_.substr(0, end);
  rest_.remove_prefix(end + (rest_.substr(end).starts_with("\r\n") ? 2 : 1));
  return line;
}

bool ComponentTexts::next(ComponentText& component) {
  component = {};
  int depth = 0;
  while (!rest_.empty()) {
    const std::string_view before = rest_;
    const std::string_view line = takeLine();
    const bool begins =
        (line.starts_with('B') || line.starts_with('b')) && base::asciiLower(line.substr(0, 6)) == "begin:";
    const bool ends =
        (line.starts_with('E') || line.starts_with('e')) && base::asciiLower(line.substr(0, 4)) == "end:";
    if (begins) {
      std::string name = base::asciiLower(base::trim(line.substr(6)));
      if (name == "vcalendar") {
        sawCalendar_ = true;
        if (depth > 0) {  // the calendar before it was cut off
          rest_ = before;
          return true;
        }
        continue;
      }
      if (depth > 0 && (name == component.name || name == "vevent")) {  // an END is missing
        rest_ = before;
        return true;
      }
      if (depth == 0) component.name = std::move(name);
      ++depth;
    }
    if (depth > 0 && !line.empty()) component.text.append(line).append("\r\n");
    if (ends && depth > 0) {
      if (base::asciiLower(base::trim(line.substr(4))) == "vcalendar") return true;
      if (--depth == 0) {
        component.complete = true;
        return true;
      }
    }
  }
  return depth > 0;
}

ComponentPtr parseComponent(const std::string& text, icalcomponent_kind kind) {
  ComponentPtr component(icalparser_parse_string(text.c_str()));
  if (component && icalcomponent_isa(component.get()) != kind) component.reset();
  return component;
}

std::string textOf(icalcomponent* component, icalproperty_kind kind) {
  icalproperty* const property = icalcomponent_get_first_property(component, kind);
  if (property == nullptr) return {};
  icalvalue* const value = icalproperty_get_value(property);
  if (value == nullptr) return {};
  const char* text = nullptr;
  if (icalvalue_isa(value) == ICAL_TEXT_VALUE) text = icalvalue_get_text(value);
  return text == nullptr ? std::string() : withCrLf(text);
}

std::optional<ZonedTime> zonedTime(const icaltimetype& value, icalproperty* property, FileZones& zones,
                                   std::string& unknownZone) {
  if (!isValidTime(value)) return std::nullopt;
  ZonedTime time;
  time.wall = wallTimeOf(value);
  time.isDate = value.is_date != 0;
  if (time.isDate) return time;
  if (icaltime_is_utc(value)) {
    time.zone = zones.utc();
  } else if (icalparameter* const parameter =
                 icalproperty_get_first_parameter(property, ICAL_TZID_PARAMETER)) {
    const char* const tzid = icalparameter_get_tzid(parameter);
    if (const TimeZone* const zone = tzid == nullptr ? nullptr : zones.find(tzid))
      time.zone = *zone;
    else if (unknownZone.empty() && tzid != nullptr)
      unknownZone = tzid;
  }
  return time;
}

std::optional<ZonedTime> zonedTime(icalproperty* property, FileZones& zones, std::string& unknownZone) {
  icalvalue* const value = property == nullptr ? nullptr : icalproperty_get_value(property);
  if (value == nullptr) return std::nullopt;
  switch (icalvalue_isa(value)) {
    case ICAL_DATE_VALUE:
      return zonedTime(icalvalue_get_date(value), property, zones, unknownZone);
    case ICAL_DATETIME_VALUE:
    case ICAL_DATETIMEDATE_VALUE:
      return zonedTime(icalvalue_get_datetime(value), property, zones, unknownZone);
    default:
      return std::nullopt;
  }
}

std::optional<std::int64_t> createdOf(icalcomponent* component) {
  icalproperty* const property = icalcomponent_get_first_property(component, ICAL_CREATED_PROPERTY);
  if (property == nullptr) return std::nullopt;
  const icaltimetype value = icalproperty_get_created(property);
  if (!isValidTime(value)) return std::nullopt;
  return wallTimeOf(value) * 1'000'000;
}

}  // namespace kova::platform::local_outlook
