#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kova::platform::windows_api {

/// Files::canonical(): the final path of what is there, with long names, in capital letters; what is missing
/// below it as it is written. Begins with a drive ("C:\X") or a server ("\\S\SHARE\X").
std::string canonical(const std::string& path);

/// Files::nameBelow(), without asking the file system. Empty also for what no file can be called and for what
/// has the form of a short name ("PROGRA~1"), be it the real name of a file.
std::optional<std::string> nameBelow(std::string_view path);

}  // namespace kova::platform::windows_api
