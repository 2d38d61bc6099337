#pragma once

namespace kova::platform::posix {

/// The Windows Sockets code (10004 and up) of an errno value; 0 for 0, 10107 (a system call failed) for one
/// that has no counterpart.
int windowsSocketsCode(int errnoValue);

/// True for the errno values that mean: not now, there is not enough of something.
bool isShortage(int errnoValue);

/// The same as a socket_error: 14000 more. 0 for 0.
int socketErrorOf(int errnoValue);

/// The Windows Sockets code (11001 and up) of what getaddrinfo returned; right behind it, since EAI_SYSTEM
/// stands for errno. 0 for 0.
int windowsResolverCode(int resolverError);

/// The same as a socket_error: 14000 more. 0 for 0.
int resolverErrorOf(int resolverError);

}  // namespace kova::platform::posix
