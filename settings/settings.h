#pragma once

#include <string>
#include <string_view>

#include "platform/profile_file.h"

namespace kova::settings {

/// What a key that is not set reads as, in every section. A user who types this word has set nothing.
inline constexpr std::string_view kBlank = "blank";

/// The settings file, "tarvel_wap.ini" in the program's folder. Nothing is kept in memory: a change is seen
/// by the next read, whoever made it.
class Settings {
 public:
  /// `programFolder` is taken as it is; the separator and the file's name are put behind it. The profile file
  /// must outlive this object.
  Settings(std::string programFolder, platform::ProfileFile& file, char separator);

  /// The text of a key, at most 254 bytes; "blank" when it is not set.
  /// kept: a key that is set to nothing reads as 255 NUL characters. Callers trim, or ask readOr.
  std::string ReadSetting(std::string_view section, std::string_view key) const;

  /// A failure is not reported. A value ends at its first line break.
  void WriteSetting(std::string_view section, std::string_view key, std::string_view value) const;

  /// The text of a key without blanks and NUL characters around it: `fallback` when it is not set, "" when it
  /// is set to nothing.
  std::string readOr(std::string_view section, std::string_view key, std::string_view fallback) const;

  std::string path() const;

 private:
  std::string programFolder_;
  platform::ProfileFile& file_;
  char separator_;
};

}  // namespace kova::settings
