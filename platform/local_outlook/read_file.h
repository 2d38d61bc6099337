#pragma once

#include <cstddef>
#include <string>

namespace kova::platform::local_outlook {

struct FileBytes {
  std::string bytes;
  int error = 0;  ///< an errno value; 0 when the file was read
  bool notRegular = false;
  bool tooLong = false;

  bool ok() const { return error == 0 && !notRegular && !tooLong; }
};

/// The bytes of a regular file (links are followed), if there are no more than `limit`. Never blocks on what
/// is not a regular file.
FileBytes readFile(const std::string& path, std::size_t limit);

/// The first `limit` bytes of a regular file.
FileBytes readStart(const std::string& path, std::size_t limit);

}  // namespace kova::platform::local_outlook
