#include "platform/windows/profile_file.h"

#include <windows.h>

#include <string_view>

#include "base/text.h"
#include "platform/windows_api/utf16.h"

namespace kova::platform::windows {

namespace {

std::string toCodePage(std::wstring_view text, bool* lossy = nullptr) {
  BOOL replaced = FALSE;
  const int units = static_cast<int>(text.size());
  std::string bytes(text.size() * 4, '\0');
  // A UTF-8 code page has every character, and cannot be asked.
  BOOL* const asked = ::GetACP() == CP_UTF8 ? nullptr : &replaced;
  bytes.resize(static_cast<std::size_t>(::WideCharToMultiByte(
      CP_ACP, 0, text.data(), units, bytes.data(), static_cast<int>(bytes.size()), nullptr, asked)));
  if (lossy) *lossy = replaced != FALSE;
  return bytes;
}

std::string toCodePage(const std::string& text) { return toCodePage(windows_api::toUtf16(text)); }

std::string fromCodePage(const std::string& bytes) {
  const int count = static_cast<int>(bytes.size());
  std::wstring text(bytes.size(), L'\0');  // never more units than bytes
  text.resize(
      static_cast<std::size_t>(::MultiByteToWideChar(CP_ACP, 0, bytes.data(), count, text.data(), count)));
  return windows_api::toUtf8(text);
}

/// A path that the code page cannot say is named by its short name, where the disk keeps such names.
std::string fileName(const std::string& path) {
  const std::wstring name = windows_api::toUtf16(path);
  bool lossy = false;
  std::string bytes = toCodePage(name, &lossy);
  if (!lossy) return bytes;
  std::wstring shortName(MAX_PATH, L'\0');
  const DWORD length =
      ::GetShortPathNameW(name.c_str(), shortName.data(), static_cast<DWORD>(shortName.size()));
  if (length == 0 || length >= shortName.size()) return bytes;
  shortName.resize(length);
  return toCodePage(shortName);
}

std::string oneLine(const std::string& text) {
  return text.substr(0, text.find_first_of(std::string_view("\r\n\0", 3)));
}

bool canBeKey(std::string_view key) {
  return !key.empty() && key.find('=') == std::string_view::npos && key.front() != ';' && key.front() != '[';
}

}  // namespace

std::string WindowsProfileFile::read(const std::string& section, const std::string& key,
                                     const std::string& fallback, std::size_t size, const std::string& path) {
  if (size == 0) return {};
  std::string value(size, '\0');
  const DWORD length = ::GetPrivateProfileStringA(toCodePage(section).c_str(), toCodePage(key).c_str(),
                                                  toCodePage(fallback).c_str(), value.data(),
                                                  static_cast<DWORD>(value.size()), fileName(path).c_str());
  value.resize(length);
  return fromCodePage(value);
}

bool WindowsProfileFile::write(const std::string& section, const std::string& key, const std::string& value,
                               const std::string& path) {
  const std::string name(base::trim(oneLine(key)));
  if (!canBeKey(name)) return false;
  return ::WritePrivateProfileStringA(toCodePage(oneLine(section)).c_str(), toCodePage(name).c_str(),
                                      toCodePage(oneLine(value)).c_str(), fileName(path).c_str()) != 0;
}

}  // namespace kova::platform::windows
