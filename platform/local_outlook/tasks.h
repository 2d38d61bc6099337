#pragma once

#include "platform/local_outlook/record_store.h"
#include "platform/local_outlook/time_zones.h"

namespace kova::platform::local_outlook {

/// The tasks (VTODO) of an *.ics file.
ReadRecords readTasks(const std::string& bytes, ZoneCache& zones);

}  // namespace kova::platform::local_outlook
