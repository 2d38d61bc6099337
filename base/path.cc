#include "base/path.h"

#include <type_traits>

#include "base/text.h"

namespace kova::base {

std::filesystem::path toPath(std::string_view text) {
  if constexpr (std::is_same_v<std::filesystem::path::value_type, char>) {
    return text;
  } else {
    const std::string utf8 = toUtf8(text);
    return std::u8string(utf8.begin(), utf8.end());
  }
}

std::string fromPath(const std::filesystem::path& path) {
  const std::u8string utf8 = path.u8string();
  return {utf8.begin(), utf8.end()};
}

}  // namespace kova::base
