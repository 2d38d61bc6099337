#pragma once

namespace kova::platform::windows {

/// The number that the program knows an error code of Windows Sockets by; 0 for 0.
constexpr int socketErrorOf(int code) { return code == 0 ? 0 : 14000 + code; }

}  // namespace kova::platform::windows
