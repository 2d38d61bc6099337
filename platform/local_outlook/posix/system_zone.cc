#include "platform/local_outlook/system_zone.h"

namespace kova::platform::local_outlook {

std::shared_ptr<icaltimezone> systemZone(const std::string& name) {
  return {icaltimezone_get_builtin_timezone(name.c_str()), [](icaltimezone*) {}};  // the library's own
}

}  // namespace kova::platform::local_outlook
