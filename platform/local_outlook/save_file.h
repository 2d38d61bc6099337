#pragma once

#include <string>
#include <string_view>

namespace kova::platform::local_outlook {

/// A name that no other item has: a random UUID (RFC 4122). "" when the system gives no random numbers.
std::string newUid();

/// Puts a new file into a folder, which is made (mode 0700) if it is missing, with all folders above it.
/// Nobody ever sees a part of it under its name, no other file is replaced, and it is on disk when this
/// returns. Mode 0600. The result says what went wrong, and there is nothing left behind then; "" when the
/// file is safe.
std::string saveNewFile(const std::string& folder, const std::string& name, std::string_view bytes);

}  // namespace kova::platform::local_outlook
