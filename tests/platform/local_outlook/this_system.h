#pragma once

#include <filesystem>
#include <string>

namespace kova::platform::local_outlook {

/// Gives the owner's clock this zone. False where that is not a program's to do and the clock has another
/// one.
bool useClockOf(const std::string& zone);

/// What stands between the name of a message and its flags.
inline constexpr char kFlagMark = std::filesystem::path::preferred_separator == '/' ? ':' : ';';

}  // namespace kova::platform::local_outlook
