#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kova::platform::local_outlook {

/// "20050314T093000Z" of seconds since 1970.
std::string utcText(std::int64_t instant);

/// Reads "20050314T093000Z", "2005-03-14T09:30:00Z" or a date alone; a time without a zone, or with one, is
/// taken as UTC: it only serves to order items.
std::optional<std::int64_t> parseUtcText(std::string_view text);

}  // namespace kova::platform::local_outlook
