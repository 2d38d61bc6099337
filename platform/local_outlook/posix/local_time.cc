#include "platform/local_outlook/local_time.h"

#include <ctime>

namespace kova::platform::local_outlook {

void readTimeZone() { ::tzset(); }

WallTime localFromInstant(Instant instant) {
  const auto time = static_cast<std::time_t>(instant);
  std::tm local{};
  return ::localtime_r(&time, &local) == nullptr ? instant : instant + local.tm_gmtoff;
}

}  // namespace kova::platform::local_outlook
