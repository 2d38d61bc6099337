#include "platform/windows/processes.h"

#include <windows.h>

#include <string_view>

#include "platform/windows_api/disk.h"
#include "platform/windows_api/unique_handle.h"
#include "platform/windows_api/utf16.h"

namespace kova::platform::windows {

namespace {

using windows_api::toUtf16;
using windows_api::toUtf8;

/// The first word of a line, without its quotation marks. False when they do not end.
bool firstWord(std::wstring_view line, std::wstring& word) {
  const bool quoted = line.starts_with(L'"');
  if (quoted) line.remove_prefix(1);
  const auto end = line.find_first_of(quoted ? L"\"" : L" \t");
  word = line.substr(0, end);
  return !quoted || end != std::wstring_view::npos;
}

/// The file that a program's name means; empty when there is none.
std::wstring fileOf(const std::wstring& name) {
  std::wstring path(32768, L'\0');
  const DWORD length =
      ::SearchPathW(nullptr, name.c_str(), L".exe", static_cast<DWORD>(path.size()), path.data(), nullptr);
  path.resize(length < path.size() ? length : 0);
  return path;
}

bool isBatch(const std::wstring& file) {
  // The system drops blanks and dots at the end of a name.
  const auto end = file.find_last_not_of(L" .");
  const std::wstring name = file.substr(0, end == std::wstring::npos ? 0 : end + 1);
  const auto dot = name.find_last_of(L'.');
  if (dot == std::wstring::npos) return false;
  const std::wstring extension = name.substr(dot);
  return ::lstrcmpiW(extension.c_str(), L".bat") == 0 || ::lstrcmpiW(extension.c_str(), L".cmd") == 0;
}

}  // namespace

bool WindowsProcesses::start(const std::string& commandLine, std::string& why) {
  if (commandLine.find('\0') != std::string::npos) {
    why = "the command line holds a NUL character";
    return false;
  }
  std::wstring line = toUtf16(commandLine);
  line.erase(0, line.find_first_not_of(L" \t"));
  std::wstring word;
  if (!firstWord(line, word)) {
    why = "a quote (\") has no end";
    return false;
  }
  if (word.empty()) {
    why = "the command line is empty";
    return false;
  }
  const std::wstring file = fileOf(word);
  if (file.empty()) {
    why = toUtf8(word) + ": " + windows_api::errorText(::GetLastError());
    return false;
  }
  if (isBatch(file) && line.find_first_of(L"&|<>^%!\r\n") != std::wstring::npos) {
    why = toUtf8(word) + ": a batch file gets none of & | < > ^ % !";
    return false;
  }
  STARTUPINFOW how{};
  how.cb = sizeof how;
  how.dwFlags = STARTF_USESHOWWINDOW;
  how.wShowWindow = SW_SHOWNOACTIVATE;
  PROCESS_INFORMATION started{};
  // A console of its own: what ends our console's programs is not meant for it.
  if (::CreateProcessW(file.c_str(), line.data(), nullptr, nullptr, FALSE, CREATE_NEW_CONSOLE, nullptr,
                       nullptr, &how, &started) == 0) {
    why = toUtf8(word) + ": " + windows_api::errorText(::GetLastError());
    return false;
  }
  const windows_api::UniqueHandle process(started.hProcess);
  const windows_api::UniqueHandle thread(started.hThread);
  return true;
}

bool WindowsProcesses::exists(const std::string& path) {
  return !path.empty() && path.find('\0') == std::string::npos &&
         ::GetFileAttributesW(toUtf16(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

}  // namespace kova::platform::windows
