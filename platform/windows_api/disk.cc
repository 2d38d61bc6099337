#include "platform/windows_api/disk.h"

#include <iterator>
#include <string_view>

#include "platform/windows_api/utf16.h"

namespace kova::platform::windows_api {

std::wstring diskPath(const std::string& path) {
  const auto slash = path.find_last_of("/\\");
  const auto nameAt = slash == std::string::npos ? 0 : slash + 1;
  const std::wstring folder = nameAt == 0 ? L"." : toUtf16(std::string_view(path).substr(0, nameAt));
  const std::wstring name = toUtf16(std::string_view(path).substr(nameAt));
  std::wstring full(::GetFullPathNameW(folder.c_str(), 0, nullptr, nullptr), L'\0');
  full.resize(::GetFullPathNameW(folder.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
  if (!full.ends_with(L'\\')) full += L'\\';
  if (!full.starts_with(LR"(\\)"))
    full.insert(0, LR"(\\?\)");
  else if (!full.starts_with(LR"(\\?\)"))
    full.replace(0, 2, LR"(\\?\UNC\)");
  if (name.empty()) full.pop_back();
  return full + name;
}

UniqueHandle openExisting(const std::wstring& path, DWORD access, DWORD flags) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  return UniqueHandle(::CreateFileW(path.c_str(), access, kShareAll, nullptr, OPEN_EXISTING, flags, nullptr));
}

bool meansMissing(DWORD error) { return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND; }

std::string errorText(DWORD error) {
  wchar_t text[512];
  const DWORD length = ::FormatMessageW(
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK, nullptr,
      error, 0, static_cast<LPWSTR>(text), static_cast<DWORD>(std::size(text)), nullptr);
  std::wstring_view said(static_cast<const wchar_t*>(text), length);
  while (said.ends_with(L' ')) said.remove_suffix(1);
  return said.empty() ? "error " + std::to_string(error) : toUtf8(said);
}

}  // namespace kova::platform::windows_api
