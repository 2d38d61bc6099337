#pragma once

#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace kova::platform::posix {

/// Writes every byte to a file; false with errno set when one could not be written.
inline bool writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(fd, bytes.data(), bytes.size());
    if (count < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace kova::platform::posix
