#pragma once

#include <winsock2.h>

#include <cstddef>

#include "base/outgoing.h"

namespace kova::platform::windows {

/// No code of Windows Sockets: a file has ended too soon or cannot be read.
inline constexpr int kFileUnreadable = -1;

/// Hands at most about `limit` bytes to the system and takes off the front what it took. 0 when `limit` was
/// reached or nothing is left, WSAEWOULDBLOCK when the system takes no more now, the code of a broken
/// connection, or kFileUnreadable.
int send(base::Outgoing& outgoing, SOCKET socket, std::size_t limit);

}  // namespace kova::platform::windows
