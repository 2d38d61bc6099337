#include "base/number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace kova::base {

namespace {

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string withoutBlanks(std::string_view text) {
  std::string rest;
  rest.reserve(text.size());
  for (const char c : text) {
    if (!isBlank(c)) rest.push_back(c);
  }
  return rest;
}

/// For a number beyond what a double holds: whether it is too large, not too close to zero.
bool isHuge(std::string_view number) {
  const std::size_t exponentAt = number.find_first_of("eE");
  const std::string_view mantissa = number.substr(0, exponentAt);
  long exponent = 0;
  if (exponentAt != std::string_view::npos) {
    std::string_view digits = number.substr(exponentAt + 1);
    if (digits.starts_with('+')) digits.remove_prefix(1);
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    if (read.ec == std::errc::result_out_of_range) return !digits.starts_with('-');
  }
  const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
  const std::size_t leading = mantissa.find_first_of("123456789");
  return static_cast<long>(point) - static_cast<long>(leading) + exponent > 0;
}

}  // namespace

double leadingNumber(std::string_view text) {
  const std::string compact = withoutBlanks(text);
  const char* first = compact.data();
  const char* const last = first + compact.size();
  if (first != last && *first == '+' && last - first > 1 && first[1] != '-') ++first;
  // "inf" and "nan" are words here, not numbers.
  const char* start = first != last && *first == '-' ? first + 1 : first;
  if (start == last || (!isDigit(*start) && *start != '.')) return 0;

  double value = 0;
  const auto read = std::from_chars(first, last, value);
  if (read.ec == std::errc::result_out_of_range) {
    if (!isHuge({start, static_cast<std::size_t>(read.ptr - start)})) return 0;
    value = std::numeric_limits<double>::infinity();
    return *first == '-' ? -value : value;
  }
  return read.ec == std::errc{} ? value : 0;
}

std::optional<long> wholeNumber(std::string_view text) {
  const double rounded = std::nearbyint(leadingNumber(text));  // the default mode rounds halves to even
  // -(2^(n-1)) is a double; its positive counterpart is the first one too large.
  constexpr double kLimit = -static_cast<double>(std::numeric_limits<long>::min());
  if (rounded < -kLimit || rounded >= kLimit) return std::nullopt;
  return static_cast<long>(rounded);
}

std::optional<unsigned> hexNumber(std::string_view text) {
  unsigned value = 0;
  const char* const first = text.data();
  const char* const last = first + text.size();
  const auto read = std::from_chars(first, last, value, 16);
  if (text.empty() || read.ec != std::errc{} || read.ptr != last) return std::nullopt;
  return value;
}

std::string padded(long number, int digits) {
  std::string text = std::to_string(number);
  const std::size_t sign = number < 0 ? 1 : 0;
  const std::size_t wanted = static_cast<std::size_t>(digits < 0 ? 0 : digits) + sign;
  if (text.size() < wanted) text.insert(sign, wanted - text.size(), '0');
  return text;
}

}  // namespace kova::base
