#include "platform/local_outlook/local_time.h"

namespace kova::platform::local_outlook {

Instant instantFromLocal(WallTime wall) {
  // No clock is further from UTC than a day, so that these two lie around a change on this day.
  const Instant before = wall - kDay;
  const Instant after = wall + kDay;
  const std::int64_t offsetBefore = localFromInstant(before) - before;
  if (localFromInstant(wall - offsetBefore) == wall) return wall - offsetBefore;
  const std::int64_t offsetAfter = localFromInstant(after) - after;
  return localFromInstant(wall - offsetAfter) == wall ? wall - offsetAfter : wall - offsetBefore;
}

}  // namespace kova::platform::local_outlook
