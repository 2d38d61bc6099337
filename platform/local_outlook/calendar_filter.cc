#include "platform/local_outlook/calendar_filter.h"

#include "base/text.h"

namespace kova::platform::local_outlook {
namespace {

class FilterReader {
 public:
  explicit FilterReader(std::string_view text) : rest_(text) {}

  bool take(std::string_view word) {
    skipBlanks();
    if (base::asciiLower(rest_.substr(0, word.size())) != word) return false;
    rest_.remove_prefix(word.size());
    return true;
  }

  std::optional<WallTime> takeTime() {
    if (!take("\"")) return std::nullopt;
    const auto end = rest_.find('"');
    if (end == std::string_view::npos) return std::nullopt;
    const auto time = base::parseDate(rest_.substr(0, end));
    rest_.remove_prefix(end + 1);
    if (!time) return std::nullopt;
    return base::wallSeconds(*time);
  }

  bool atEnd() {
    skipBlanks();
    return rest_.empty();
  }

 private:
  void skipBlanks() {
    while (rest_.starts_with(' ')) rest_.remove_prefix(1);
  }

  std::string_view rest_;
};

}  // namespace

std::optional<CalendarFilter> parseCalendarFilter(std::string_view text) {
  FilterReader reader(text);
  CalendarFilter filter;
  if (!reader.take("[start]")) return std::nullopt;
  filter.kind = reader.take(">=") ? CalendarFilter::Kind::kStarting : CalendarFilter::Kind::kRunning;
  const bool isStarting = filter.kind == CalendarFilter::Kind::kStarting;
  if (!isStarting && !reader.take("<")) return std::nullopt;
  const auto first = reader.takeTime();
  if (!first || !reader.take("and")) return std::nullopt;
  if (!reader.take(isStarting ? "[start]" : "[end]") || !reader.take(isStarting ? "<" : ">"))
    return std::nullopt;
  const auto second = reader.takeTime();
  if (!second || !reader.atEnd()) return std::nullopt;
  filter.first = *first;
  filter.second = *second;
  return filter;
}

}  // namespace kova::platform::local_outlook
