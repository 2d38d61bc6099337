#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/local_outlook/ical_text.h"
#include "platform/local_outlook/record_store.h"

namespace kova::platform::local_outlook {

/// Reads all components of one kind out of a calendar file; those of other kinds are passed over.
ReadRecords readIcalRecords(
    const std::string& bytes, std::string_view name, icalcomponent_kind kind, ZoneCache& zoneCache,
    const std::function<std::shared_ptr<const Record>(icalcomponent*, FileZones&)>& read);

}  // namespace kova::platform::local_outlook
