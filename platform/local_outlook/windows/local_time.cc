#include "platform/local_outlook/local_time.h"

#include <windows.h>

#include "base/date_format.h"

namespace kova::platform::local_outlook {

void readTimeZone() {}  // the system asks itself every time

WallTime localFromInstant(Instant instant) {
  const DateTime t = base::fromWallSeconds(instant);
  const auto word = [](int number) { return static_cast<WORD>(number); };
  const SYSTEMTIME utc{word(t.year), word(t.month),  word(t.day),    0,
                       word(t.hour), word(t.minute), word(t.second), 0};
  SYSTEMTIME local{};
  // By the rules that the owner's zone had in that year. Years that the system does not have stay UTC.
  if (::SystemTimeToTzSpecificLocalTimeEx(nullptr, &utc, &local) == 0) return instant;
  return base::wallSeconds(
      {local.wYear, local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond});
}

}  // namespace kova::platform::local_outlook
