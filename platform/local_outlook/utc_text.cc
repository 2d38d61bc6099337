#include "platform/local_outlook/utc_text.h"

#include <cstdio>

#include "base/date_format.h"

namespace kova::platform::local_outlook {

std::string utcText(std::int64_t instant) {
  const DateTime t = base::fromWallSeconds(instant);
  char text[64];
  std::snprintf(text, sizeof text, "%04d%02d%02dT%02d%02d%02dZ", t.year, t.month, t.day, t.hour, t.minute,
                t.second);
  return text;
}

std::optional<std::int64_t> parseUtcText(std::string_view text) {
  std::string digits;
  for (const char c : text) {
    if (c >= '0' && c <= '9') digits += c;
    if (c == 'Z' || c == '.' || c == '+' || digits.size() == 14) break;
  }
  if (digits.size() != 8 && digits.size() != 14) return std::nullopt;
  const auto number = [&](std::size_t at, std::size_t length) {
    return digits.size() >= at + length ? std::stoi(digits.substr(at, length)) : 0;
  };
  const DateTime t{number(0, 4), number(4, 2), number(6, 2), number(8, 2), number(10, 2), number(12, 2)};
  if (!base::isValid(t)) return std::nullopt;
  return base::wallSeconds(t);
}

}  // namespace kova::platform::local_outlook
