#include "settings/settings.h"

#include <utility>

#include "base/text.h"
#include "settings/keys.h"

namespace kova::settings {

namespace {

constexpr std::size_t kBufferSize = 255;  // with the NUL behind the longest value

}  // namespace

Settings::Settings(std::string programFolder, platform::ProfileFile& file, char separator)
    : programFolder_(std::move(programFolder)), file_(file), separator_(separator) {}

std::string Settings::path() const { return (programFolder_ + separator_).append(kSettingsFile); }

std::string Settings::ReadSetting(std::string_view section, std::string_view key) const {
  const std::string value =
      file_.read(std::string(section), std::string(key), std::string(kBlank), kBufferSize, path());
  return value.empty() ? std::string(kBufferSize, '\0') : value;
}

void Settings::WriteSetting(std::string_view section, std::string_view key, std::string_view value) const {
  file_.write(std::string(section), std::string(key), std::string(value), path());
}

std::string Settings::readOr(std::string_view section, std::string_view key,
                             std::string_view fallback) const {
  const std::string value = ReadSetting(section, key);
  return std::string(value == kBlank ? fallback : base::trim(value));
}

}  // namespace kova::settings
