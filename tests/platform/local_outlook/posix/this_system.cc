#include "platform/local_outlook/this_system.h"

#include <stdlib.h>
#include <time.h>

namespace kova::platform::local_outlook {

bool useClockOf(const std::string& zone) {
  ::setenv("TZ", zone.c_str(), 1);
  ::tzset();
  return true;
}

}  // namespace kova::platform::local_outlook
