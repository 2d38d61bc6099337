#include "platform/local_outlook/this_system.h"

#include <windows.h>

namespace kova::platform::local_outlook {

bool useClockOf(const std::string& zone) {
  TIME_ZONE_INFORMATION now{};
  if (::GetTimeZoneInformationForYear(2026, nullptr, &now) == 0) return false;
  const struct {
    const char* name;
    LONG bias;
    WORD summerFrom;
  } kZones[] = {{"Europe/Berlin", -60, 3}, {"America/New_York", 300, 3}, {"UTC", 0, 0}};
  for (const auto& known : kZones)
    if (zone == known.name) return now.Bias == known.bias && now.DaylightDate.wMonth == known.summerFrom;
  return false;
}

}  // namespace kova::platform::local_outlook
