#include "paging/start_filter.h"

#include "base/date_format.h"
#include "wml/outlook_session.h"

namespace kova::paging {

std::string startFilter(const platform::DateTime& first, int days) {
  const auto midnight = [](const platform::DateTime& day) { return base::yyyy_mm_dd(day) + " 12:00 AM"; };
  // kept: the second date has a blank in front.
  return "[Start] >= " + wml::QuoteText(midnight(first)) + " AND [Start] < " +
         wml::QuoteText(" " + midnight(base::addDays(first, days)));
}

}  // namespace kova::paging
