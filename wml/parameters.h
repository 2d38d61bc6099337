#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// How the text behind a route's "?" (or the body of a POST) falls into the fields of its form.
namespace kova::wml {

/// Stands for the first field when a route is asked for with an empty parameter text.
inline constexpr std::string_view kNoParameters = "  ";

/// The first field and all behind it: the text from character 7 on. The name in front of it ("caltp=",
/// "contp=") is not looked at.
std::string_view firstField(std::string_view parameters);

/// One field more than separators ("&dat="), in their order. From the first separator that is missing on, the
/// fields are empty.
std::vector<std::string> splitFields(std::string_view parameters,
                                     std::span<const std::string_view> separators);

/// The position of an item: the two characters at the start of the first field.
std::string itemPosition(std::string_view parameters);

struct CalendarFields {
  std::string viewType;
  std::string date;  ///< "mm/dd/yyyy"
};

/// View type and date by their places in "caltp=D&dat=03/14" or "caltp=D&dat=03%2F14", in the given year.
CalendarFields calendarFields(std::string_view parameters, int year);

}  // namespace kova::wml
