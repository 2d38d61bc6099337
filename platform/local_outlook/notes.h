#pragma once

#include "platform/local_outlook/record_store.h"
#include "platform/local_outlook/time_zones.h"

namespace kova::platform::local_outlook {

/// The notes (VJOURNAL) of an *.ics file, or the one that a text file is.
ReadRecords readNotes(std::string_view fileName, const std::string& bytes, ZoneCache& zones);

}  // namespace kova::platform::local_outlook
