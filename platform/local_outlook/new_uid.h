#pragma once

#include <string>

namespace kova::platform::local_outlook {

/// A name that no other item has: a random UUID (RFC 4122). "" when the system gives no random numbers.
std::string newUid();

}  // namespace kova::platform::local_outlook
