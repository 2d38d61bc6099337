#pragma once

#include <string>
#include <string_view>

namespace kova::platform::local_outlook {

/// Puts a new file into a folder, which is made (for its owner alone) if it is missing, with all folders
/// above it. Nobody ever sees a part of it under its name, no other file is replaced, and it is on disk when
/// this returns. Only its owner may read it. The result says what went wrong, and there is nothing left
/// behind then;
/// "" when the file is safe.
std::string saveNewFile(const std::string& folder, const std::string& name, std::string_view bytes);

}  // namespace kova::platform::local_outlook
