#include "wml/parameters.h"

#include <algorithm>

#include "base/number.h"

namespace kova::wml {

namespace {

/// What a missing second field reads as.
constexpr std::string_view kNoSecondParameter = " ";

/// Characters of a text by their place, counted from 1; fewer where the text is shorter.
std::string_view characters(std::string_view text, std::size_t place, std::size_t count) {
  return place > text.size() ? std::string_view() : text.substr(place - 1, count);
}

}  // namespace

std::string_view firstField(std::string_view parameters) {
  constexpr std::size_t kPlace = 7;
  return characters(parameters, kPlace, std::string_view::npos);
}

std::vector<std::string> splitFields(std::string_view parameters,
                                     std::span<const std::string_view> separators) {
  std::vector<std::string> fields(separators.size() + 1);
  if (parameters.empty()) {
    fields[0] = kNoParameters;
    if (fields.size() > 1) fields[1] = kNoSecondParameter;
    return fields;
  }
  std::string_view rest = firstField(parameters);
  for (std::size_t i = 0; i < separators.size(); ++i) {
    const std::size_t at = rest.find(separators[i]);
    if (at == std::string_view::npos) return fields;
    fields[i] = rest.substr(0, at);
    rest.remove_prefix(at + separators[i].size());
  }
  fields.back() = rest;
  return fields;
}

std::string itemPosition(std::string_view parameters) {
  // kept: two characters, so that a link to item 123 opens item 12.
  return std::string(parameters.empty() ? kNoParameters : characters(parameters, 7, 2));
}

CalendarFields calendarFields(std::string_view parameters, int year) {
  if (parameters.empty()) return {std::string(kNoParameters), std::string(kNoSecondParameter)};

  std::string_view month = characters(parameters, 13, 2);
  std::string_view day = characters(parameters, 16, 2);
  if (const std::size_t percent = parameters.find('%'); percent != std::string_view::npos) {
    const std::size_t before = std::min<std::size_t>(percent, 2);
    month = parameters.substr(percent - before, before);
    const std::size_t slash = std::min(parameters.find("%2F"), parameters.find("%2f"));
    day = slash == std::string_view::npos ? std::string_view() : parameters.substr(slash + 3, 2);
  }
  // kept: the year is always the current one.
  std::string date(month);
  date.append("/").append(day).append("/").append(base::padded(year, 4));
  return {std::string(characters(parameters, 7, 1)), std::move(date)};
}

}  // namespace kova::wml
