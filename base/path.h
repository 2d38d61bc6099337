#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kova::base {

/// The standard library reads a plain string as UTF-8 on some systems only; these do on all. Bytes that are
/// not UTF-8 are kept where file names are bytes, and read as ISO-8859-1 elsewhere.
std::filesystem::path toPath(std::string_view text);
std::string fromPath(const std::filesystem::path& path);

}  // namespace kova::base
