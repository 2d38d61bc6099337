#include "base/date_format.h"

#include <algorithm>
#include <chrono>

#include "base/number.h"
#include "base/text.h"

namespace kova::base {

namespace {

constexpr long long kSecondsOfDay = 86400;

std::chrono::year_month_day calendarDate(const DateTime& t) {
  return {std::chrono::year{t.year}, std::chrono::month{static_cast<unsigned>(t.month)},
          std::chrono::day{static_cast<unsigned>(t.day)}};
}

std::chrono::sys_days daysOf(const DateTime& t) { return std::chrono::sys_days{calendarDate(t)}; }

DateTime dateFrom(std::chrono::sys_days days) {
  const std::chrono::year_month_day date{days};
  return {static_cast<int>(date.year()),
          static_cast<int>(static_cast<unsigned>(date.month())),
          static_cast<int>(static_cast<unsigned>(date.day())),
          0,
          0,
          0};
}

/// Reads a text from the left; what does not fit is left where it is.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  bool atEnd() const { return rest_.empty(); }
  char next() const { return rest_.empty() ? '\0' : rest_.front(); }

  void passBlanks() {
    while (next() == ' ' || next() == '\t') rest_.remove_prefix(1);
  }

  bool take(char c) {
    if (next() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }

  /// "AM" or "am".
  bool takeWord(std::string_view upperWord) {
    if (rest_.size() < upperWord.size()) return false;
    for (std::size_t i = 0; i < upperWord.size(); ++i) {
      if ((rest_[i] & ~0x20) != upperWord[i]) return false;
    }
    rest_.remove_prefix(upperWord.size());
    return true;
  }

  /// A run of 1 to `most` digits, empty when there is none or it is longer.
  std::optional<int> digits(std::size_t most) {
    std::size_t count = 0;
    int value = 0;
    while (count < rest_.size() && rest_[count] >= '0' && rest_[count] <= '9') {
      if (count == most) return std::nullopt;
      value = value * 10 + (rest_[count++] - '0');
    }
    if (count == 0) return std::nullopt;
    rest_.remove_prefix(count);
    return value;
  }

 private:
  std::string_view rest_;
};

bool parseDay(Reader& reader, DateTime& result) {
  const auto first = reader.digits(4);
  const char separator = reader.next();
  if (!first || (separator != '/' && separator != '-')) return false;
  reader.take(separator);
  const auto second = reader.digits(2);
  if (!second || !reader.take(separator)) return false;
  const auto third = reader.digits(4);
  if (!third) return false;

  const bool yearFirst = *first >= 100;
  if (!yearFirst && separator == '-') return false;
  result.year = yearFirst ? *first : *third;
  result.month = yearFirst ? *second : *first;
  result.day = yearFirst ? *third : *second;
  return result.year >= 100;
}

/// Whether "7 PM" is a time.
enum class HourAlone { kRefused, kAllowed };

bool parseTime(Reader& reader, DateTime& result, HourAlone hourAlone) {
  const auto hour = reader.digits(2);
  if (!hour) return false;
  result.hour = *hour;
  const bool minutes = reader.take(':');
  if (minutes) {
    const auto minute = reader.digits(2);
    if (!minute) return false;
    result.minute = *minute;
    if (reader.take(':')) {
      const auto second = reader.digits(2);
      if (!second) return false;
      result.second = *second;
    }
  }
  reader.passBlanks();
  const bool morning = reader.takeWord("AM");
  const bool afternoon = !morning && reader.takeWord("PM");
  if (!minutes && (hourAlone == HourAlone::kRefused || !(morning || afternoon))) return false;
  if (morning || afternoon) {
    if (result.hour > 12) return false;
    result.hour = result.hour % 12 + (afternoon ? 12 : 0);
  }
  return true;
}

}  // namespace

long long wallSeconds(const DateTime& t) {
  return daysOf(t).time_since_epoch().count() * kSecondsOfDay + t.hour * 3600LL + t.minute * 60LL + t.second;
}

DateTime fromWallSeconds(long long seconds) {
  const std::chrono::sys_seconds moment{std::chrono::seconds{seconds}};
  const auto day = std::chrono::floor<std::chrono::days>(moment);
  const auto ofDay = static_cast<int>((moment - day).count());
  DateTime t = dateFrom(day);
  t.hour = ofDay / 3600;
  t.minute = ofDay / 60 % 60;
  t.second = ofDay % 60;
  return t;
}

DateTime dateOf(const DateTime& t) { return {t.year, t.month, t.day, 0, 0, 0}; }

DateTime addDays(const DateTime& t, int days) {
  DateTime later = dateFrom(daysOf(t) + std::chrono::days{days});
  later.hour = t.hour;
  later.minute = t.minute;
  later.second = t.second;
  return later;
}

int weekday(const DateTime& t) { return static_cast<int>(std::chrono::weekday{daysOf(t)}.c_encoding()); }

bool isValid(const DateTime& t) {
  const bool dateFits = t.year > 0 && t.year <= 9999 && t.month > 0 && t.day > 0 && calendarDate(t).ok();
  return dateFits && t.hour >= 0 && t.hour < 24 && t.minute >= 0 && t.minute < 60 && t.second >= 0 &&
         t.second < 60;
}

std::optional<DateTime> parseDate(std::string_view text) {
  DateTime result{0, 0, 0, 0, 0, 0};
  Reader reader{trim(text)};
  if (!parseDay(reader, result)) return std::nullopt;
  if (!reader.atEnd()) {
    if (reader.next() != ' ' && reader.next() != '\t') return std::nullopt;
    reader.passBlanks();
    if (!parseTime(reader, result, HourAlone::kRefused)) return std::nullopt;
  }
  if (!reader.atEnd() || !isValid(result)) return std::nullopt;
  return result;
}

bool isDateOrTime(std::string_view text) {
  if (parseDate(text)) return true;
  Reader reader{trim(text)};
  DateTime onNoDay;
  return parseTime(reader, onNoDay, HourAlone::kAllowed) && reader.atEnd() && isValid(onNoDay);
}

std::string yyyy_mm_dd(const DateTime& t) {
  return padded(t.year, 4) + "/" + padded(t.month, 2) + "/" + padded(t.day, 2);
}

std::string mm_dd_yy(const DateTime& t) { return mm_dd(t) + "/" + padded(t.year % 100, 2); }

std::string mm_dd(const DateTime& t) { return padded(t.month, 2) + "/" + padded(t.day, 2); }

std::string mm_dd_hh_nn(const DateTime& t) {
  return padded(t.month, 2) + "-" + padded(t.day, 2) + " " + shortTime(t);
}

std::string shortTime(const DateTime& t) { return padded(t.hour, 2) + ":" + padded(t.minute, 2); }

std::string logStamp(const DateTime& t) {
  // For every line of a busy log, so it is made in one piece.
  std::string stamp = "00-00-00 00:00:00 ";
  std::size_t at = 0;
  for (const int number : {t.year % 100, t.month, t.day, t.hour, t.minute, t.second}) {
    stamp[at] = static_cast<char>('0' + number / 10 % 10);
    stamp[at + 1] = static_cast<char>('0' + number % 10);
    at += 3;
  }
  return stamp;
}

std::string generalDate(const DateTime& t) {
  std::string text = std::to_string(t.month) + "/" + std::to_string(t.day) + "/" + std::to_string(t.year);
  if (t.hour == 0 && t.minute == 0 && t.second == 0) return text;
  const int hour = t.hour % 12 == 0 ? 12 : t.hour % 12;
  text += " " + std::to_string(hour) + ":" + padded(t.minute, 2) + ":" + padded(t.second, 2);
  return text + (t.hour < 12 ? " AM" : " PM");
}

std::string Rfc1123Date(const DateTime& t) {
  static constexpr std::string_view kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr std::string_view kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::string text(kDays[weekday(t)]);
  text.append(", ").append(padded(t.day, 2)).append(" ").append(kMonths[t.month - 1]);
  text.append(" ").append(padded(t.year, 4)).append(" ").append(shortTime(t));
  return text.append(":").append(padded(t.second, 2)).append(" GMT");
}

}  // namespace kova::base
