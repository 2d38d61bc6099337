#include "platform/local_outlook/system_zone.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/local_outlook/time_zones.h"
#include "platform/local_outlook/zone_table.h"

namespace kova::platform::local_outlook {

std::shared_ptr<icaltimezone> systemZone(const std::string& name) {
  const auto* const link = std::ranges::find(kZoneLinks, name, &ZoneRow::first);
  const std::string_view known = link == std::end(kZoneLinks) ? std::string_view(name) : link->second;
  const auto* const found = std::ranges::find(kZoneTable, known, &ZoneRow::first);
  if (found == std::end(kZoneTable)) return nullptr;
  return zoneFrom(ComponentPtr(icalparser_parse_string(found->second)));
}

}  // namespace kova::platform::local_outlook
