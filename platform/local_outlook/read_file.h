#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace kova::platform::local_outlook {

/// What stands between the names of a path.
inline constexpr char kSeparator = static_cast<char>(std::filesystem::path::preferred_separator);

/// Whether a file or folder can be used.
struct Access {
  std::string problem;   ///< why not, in words for the log; "" when it can, or when it is not there
  bool missing = false;  ///< it is not there
  bool busy = false;     ///< somebody holds it for himself; it may be free at the next try

  bool ok() const { return problem.empty() && !missing; }
};

/// A folder that is there (links are followed). It may still be one that cannot be read.
Access folderAccess(const std::string& path);

/// A regular file that can be opened for reading (links are followed).
Access fileAccess(const std::string& path);

struct FileBytes : Access {
  std::string bytes;
};

/// The bytes of a regular file (links are followed), if there are no more than `limit`. Never blocks on what
/// is not a regular file.
FileBytes readFile(const std::string& path, std::size_t limit);

/// The first `limit` bytes of a regular file.
FileBytes readStart(const std::string& path, std::size_t limit);

}  // namespace kova::platform::local_outlook
