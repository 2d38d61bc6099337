#pragma once

#include <cstddef>

#include "base/outgoing.h"

namespace kova::platform::posix {

/// Not an errno: a file has ended too soon or cannot be read.
inline constexpr int kFileUnreadable = -1;

/// Hands at most about `limit` bytes to the kernel, which fetches large ranges of files itself, and takes off
/// the front what it took. The files are those of PosixFiles. With `more`, the last segment of the network
/// may wait for what is sent next. 0, or the errno of a broken connection, or kFileUnreadable; a kernel that
/// has no room now is no error.
int send(base::Outgoing& outgoing, int socket, std::size_t limit, bool more);

}  // namespace kova::platform::posix
