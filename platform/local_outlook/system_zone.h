#pragma once

#include <libical/ical.h>

#include <memory>
#include <string>

namespace kova::platform::local_outlook {

/// A zone by its name in the tz database, such as "Europe/Berlin"; null when it is unknown.
///
/// On Linux the database of the system, with all that ever was. Windows has none of these names; the program
/// carries the zones of the calendar library there: the present rules, as if they had always been in force.
std::shared_ptr<icaltimezone> systemZone(const std::string& name);

}  // namespace kova::platform::local_outlook
