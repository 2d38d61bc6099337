#pragma once

#include <cstddef>
#include <string>

namespace kova::platform {

/// The profile-string calls on an INI-style file: sections in square brackets, "key=value" lines below them,
/// lines ended by CR LF. Section and key match without regard to case; the first of a name counts.
class ProfileFile {
 public:
  virtual ~ProfileFile() = default;

  /// The value of a key with the blanks around it and one matching pair of quotes (' or ") taken off, cut to
  /// `size` - 1 bytes; `fallback`, cut likewise, when the file, section or key is missing.
  virtual std::string read(const std::string& section, const std::string& key, const std::string& fallback,
                           std::size_t size, const std::string& path) = 0;

  /// Sets one key and leaves every other line as it is. False when the file could not be written; it is then
  /// as it was before.
  virtual bool write(const std::string& section, const std::string& key, const std::string& value,
                     const std::string& path) = 0;
};

}  // namespace kova::platform
