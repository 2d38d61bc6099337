#pragma once

#include "platform/profile_file.h"

namespace kova::platform::posix {

/// The profile calls on a file of the local file system. The file is read anew by each call.
///
/// read(): a UTF-8 value is cut before the character that would exceed the size. Lines may end in CR LF, LF
/// or CR. Lines without "=", lines that begin with ";" and what stands above the first section are no keys.
///
/// write(): a new key goes behind the last line of its section that is not blank, a new section to the end of
/// the file; the key's line ends in CR LF and every other byte stays as it is. Section, key and value end at
/// their first CR, LF or NUL, so none of them can add a line. A key that could not be found again ("", with
/// "=" in it, or beginning with ";" or "[") is refused. The file is replaced as a whole and safely on disk
/// when the call returns: a crash at any moment leaves the old or the new one. Its mode is then 0600. A
/// symbolic link stays, and what it leads to is replaced. Until then the new content lies beside it, named
/// like it with ".new" behind; writers in other processes wait for each other by a lock on that, for a short
/// time.
class PosixProfileFile final : public ProfileFile {
 public:
  std::string read(const std::string& section, const std::string& key, const std::string& fallback,
                   std::size_t size, const std::string& path) override;
  bool write(const std::string& section, const std::string& key, const std::string& value,
             const std::string& path) override;
};

}  // namespace kova::platform::posix
