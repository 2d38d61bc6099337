#include "platform/windows_api/names.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "platform/windows_api/disk.h"
#include "platform/windows_api/utf16.h"

namespace kova::platform::windows_api {
namespace {

constexpr std::wstring_view kLiteral = LR"(\\?\)";
constexpr std::wstring_view kLiteralServer = LR"(\\?\UNC\)";

/// As the file systems compare names: unit by unit and the same for every language.
void toUpper(std::wstring& text) {
  const int units = static_cast<int>(text.size());
  if (units > 0)
    ::LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, text.data(), units, text.data(), units, nullptr,
                    nullptr, 0);
}

/// A device has its name in every folder and with every ending ("con .txt"). Takes capital letters.
bool namesDevice(std::wstring_view part) {
  static constexpr std::wstring_view kDevices[] = {L"CON",    L"PRN",     L"AUX",   L"NUL",
                                                   L"CONIN$", L"CONOUT$", L"CLOCK$"};
  part = part.substr(0, part.find(L'.'));
  part = part.substr(0, part.find_last_not_of(L' ') + 1);
  if (std::ranges::find(kDevices, part) != std::end(kDevices)) return true;
  // The system counts superscript digits as digits.
  return part.size() == 4 && (part.starts_with(L"COM") || part.starts_with(L"LPT")) &&
         std::wstring_view(L"0123456789\u00b9\u00b2\u00b3").find(part[3]) != std::wstring_view::npos;
}

/// File systems differ in how they shorten a name, but all do so to 8 units, a "~" among them, and an ending
/// of 3.
bool mayBeShort(std::wstring_view part) {
  const std::size_t dot = std::min(part.find(L'.'), part.size());
  return dot <= 8 && part.size() - dot <= 4 && part.find(L'~') < dot;
}

/// True when the system takes this part of a path for a file or folder of just this name, if there is one.
bool isPlain(std::wstring_view part) {
  const auto isForbidden = [](wchar_t unit) {
    // U+FFFD stands for bytes that could be read as something else.
    return unit < L' ' || unit == L'\xFFFD' ||
           std::wstring_view(LR"(:*?"<>|)").find(unit) != std::wstring_view::npos;
  };
  return !part.ends_with(L'.') && !part.ends_with(L' ') && std::ranges::none_of(part, isForbidden) &&
         !namesDevice(part) && !mayBeShort(part);
}

/// Absolute, with "." and ".." resolved, in the form that has no limit of length.
std::wstring absolute(const std::string& path) {
  const std::wstring given = toUtf16(path.empty() ? std::string_view(".") : std::string_view(path));
  std::wstring full(::GetFullPathNameW(given.c_str(), 0, nullptr, nullptr), L'\0');
  full.resize(::GetFullPathNameW(given.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
  if (full.starts_with(kLiteral) || full.starts_with(LR"(\\.\)")) return full;
  if (full.starts_with(LR"(\\)")) return full.replace(0, 2, kLiteralServer);
  return full.insert(0, kLiteral);
}

/// Where an existing file or folder really lies, with long names; "" when it is missing or cannot be said.
std::wstring finalPath(const std::wstring& path) {
  const UniqueHandle opened = openExisting(path, FILE_READ_ATTRIBUTES);
  if (!opened) return {};
  constexpr DWORD kForm = FILE_NAME_NORMALIZED | VOLUME_NAME_DOS;
  std::wstring result(::GetFinalPathNameByHandleW(opened.get(), nullptr, 0, kForm), L'\0');
  result.resize(
      ::GetFinalPathNameByHandleW(opened.get(), result.data(), static_cast<DWORD>(result.size()), kForm));
  return result;
}

void dropSeparators(std::wstring& path) {
  while (path.ends_with(L'\\')) path.pop_back();
}

}  // namespace

std::string canonical(const std::string& path) {
  std::wstring full = absolute(path);
  dropSeparators(full);
  // The longest part that is there: "C:" by itself would be the drive's current folder.
  std::size_t end = full.size();
  std::wstring found;
  while (found.empty() && end != std::wstring::npos && end > kLiteral.size()) {
    const std::wstring part = full.substr(0, end);
    found = finalPath(part.ends_with(L':') ? part + L'\\' : part);
    if (found.empty()) end = full.rfind(L'\\', end - 1);
  }
  if (!found.empty()) {
    dropSeparators(found);
    full = found.append(full, end);
  }
  if (full.starts_with(kLiteralServer))
    full.replace(0, kLiteralServer.size(), LR"(\\)");
  else if (full.starts_with(kLiteral))
    full.erase(0, kLiteral.size());
  if (full.ends_with(L':')) full += L'\\';
  toUpper(full);
  return toUtf8(full);
}

std::optional<std::string> nameBelow(std::string_view path) {
  std::wstring rest = toUtf16(path);
  toUpper(rest);
  std::wstring name;
  name.reserve(rest.size());
  for (std::wstring_view left = rest; !left.empty();) {
    const std::wstring_view part = left.substr(0, left.find_first_of(LR"(/\)"));
    left.remove_prefix(std::min(part.size() + 1, left.size()));
    if (part.empty() || part == L".") continue;
    if (!isPlain(part)) return std::nullopt;
    if (!name.empty()) name += L'\\';
    name += part;
  }
  return toUtf8(name);
}

}  // namespace kova::platform::windows_api
