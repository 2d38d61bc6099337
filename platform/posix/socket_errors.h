#pragma once

namespace kova::platform::posix {

/// The Windows Sockets code (10004 and up) of an errno value; 0 for 0, 10107 (a system call failed) for one
/// that has no counterpart.
int windowsSocketsCode(int errnoValue);

/// The same as a socket_error: 14000 more. 0 for 0.
int socketErrorOf(int errnoValue);

}  // namespace kova::platform::posix
