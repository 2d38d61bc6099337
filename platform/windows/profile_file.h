#pragma once

#include "platform/profile_file.h"

namespace kova::platform::windows {

/// The system's own profile calls, those for the owner's code page: a character that it does not have is
/// written as the system's replacement for it ("?"). Section, key and value end at their first CR, LF or NUL,
/// so none of them can add a line. A key that could not be found again ("", with "=" in it, or beginning with
/// ";" or "[") is refused.
class WindowsProfileFile final : public ProfileFile {
 public:
  std::string read(const std::string& section, const std::string& key, const std::string& fallback,
                   std::size_t size, const std::string& path) override;
  bool write(const std::string& section, const std::string& key, const std::string& value,
             const std::string& path) override;
};

}  // namespace kova::platform::windows
