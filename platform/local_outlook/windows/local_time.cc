#include "platform/local_outlook/local_time.h"

#include <windows.h>

#include <unordered_map>

#include "base/date_format.h"

namespace kova::platform::local_outlook {

namespace {

/// The rules that the owner's zone has in a year, as the system keeps its own for the present one.
std::unordered_map<WORD, TIME_ZONE_INFORMATION>& knownRules() {
  static std::unordered_map<WORD, TIME_ZONE_INFORMATION> rules;
  return rules;
}

const TIME_ZONE_INFORMATION* rulesOf(WORD year) {
  auto& known = knownRules();
  if (const auto found = known.find(year); found != known.end()) return &found->second;
  TIME_ZONE_INFORMATION rules{};
  if (::GetTimeZoneInformationForYear(year, nullptr, &rules) == 0) return nullptr;
  return &known.emplace(year, rules).first->second;
}

}  // namespace

void readTimeZone() { knownRules().clear(); }

WallTime localFromInstant(Instant instant) {
  const DateTime t = base::fromWallSeconds(instant);
  const auto word = [](int number) { return static_cast<WORD>(number); };
  const SYSTEMTIME utc{.wYear = word(t.year),
                       .wMonth = word(t.month),
                       .wDayOfWeek = 0,
                       .wDay = word(t.day),
                       .wHour = word(t.hour),
                       .wMinute = word(t.minute),
                       .wSecond = word(t.second),
                       .wMilliseconds = 0};
  SYSTEMTIME local{};
  const TIME_ZONE_INFORMATION* const rules = rulesOf(utc.wYear);
  // Years that the system does not have stay UTC.
  if (!rules || ::SystemTimeToTzSpecificLocalTime(rules, &utc, &local) == 0) return instant;
  return base::wallSeconds(
      {local.wYear, local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond});
}

}  // namespace kova::platform::local_outlook
