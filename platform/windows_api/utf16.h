#pragma once

#include <string>
#include <string_view>

namespace kova::platform::windows_api {

/// Bytes that are no UTF-8 become U+FFFD.
std::wstring toUtf16(std::string_view utf8);
/// Surrogates that stand alone become U+FFFD.
std::string toUtf8(std::wstring_view utf16);

}  // namespace kova::platform::windows_api
