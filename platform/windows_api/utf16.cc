#include "platform/windows_api/utf16.h"

#include <windows.h>

namespace kova::platform::windows_api {

std::wstring toUtf16(std::string_view utf8) {
  const int bytes = static_cast<int>(utf8.size());
  std::wstring text(utf8.size(), L'\0');  // never more units than bytes
  text.resize(
      static_cast<std::size_t>(::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, text.data(), bytes)));
  return text;
}

std::string toUtf8(std::wstring_view utf16) {
  const int units = static_cast<int>(utf16.size());
  std::string text(utf16.size() * 3, '\0');
  text.resize(static_cast<std::size_t>(::WideCharToMultiByte(
      CP_UTF8, 0, utf16.data(), units, text.data(), static_cast<int>(text.size()), nullptr, nullptr)));
  return text;
}

}  // namespace kova::platform::windows_api
