#pragma once

#include <string>

#include "platform/date_time.h"

namespace kova::paging {

/// The restriction of a calendar to what starts on the days from `first` on: `days` of them.
std::string startFilter(const platform::DateTime& first, int days);

}  // namespace kova::paging
