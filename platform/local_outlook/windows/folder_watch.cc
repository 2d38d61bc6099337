#include "platform/local_outlook/folder_watch.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "platform/local_outlook/read_file.h"
#include "platform/windows_api/disk.h"
#include "platform/windows_api/utf16.h"

namespace kova::platform::local_outlook {
namespace {

// FAT counts in two seconds, and up.
constexpr std::int64_t kTick = 3'000'000'000;
constexpr std::int64_t kUnitsFrom1601To1970 = 116'444'736'000'000'000;  // of 100 ns

FileStamp stampOf(std::int64_t size, std::int64_t written, std::int64_t changed) {
  FileStamp stamp;
  stamp.size = size;
  stamp.modified = (written - kUnitsFrom1601To1970) / 10;
  stamp.changed = (std::max(written, changed) - kUnitsFrom1601To1970) * 100;  // FAT knows no time of change
  return stamp;
}

/// What a link leads to; empty for a folder.
std::optional<FileState> stateOfTarget(const std::wstring& path) {
  FileState state;
  state.unwatched = true;
  const windows_api::UniqueHandle target = windows_api::openExisting(path, FILE_READ_ATTRIBUTES);
  FILE_BASIC_INFO basic{};
  FILE_STANDARD_INFO standard{};
  if (!target || ::GetFileInformationByHandleEx(target.get(), FileBasicInfo, &basic, sizeof basic) == 0 ||
      ::GetFileInformationByHandleEx(target.get(), FileStandardInfo, &standard, sizeof standard) == 0)
    return state;
  if (standard.Directory != 0) return std::nullopt;
  state.stamp = stampOf(standard.EndOfFile.QuadPart, basic.LastWriteTime.QuadPart, basic.ChangeTime.QuadPart);
  state.regular = ::GetFileType(target.get()) == FILE_TYPE_DISK;
  return state;
}

template <typename Entry>
std::optional<FileState> stateOf(const Entry& entry, const std::wstring& path) {
  // For a link this field says which kind it is; files of a cloud drive are "reparse points" as well.
  if ((entry.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && IsReparseTagNameSurrogate(entry.EaSize))
    return stateOfTarget(path);
  if ((entry.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return std::nullopt;
  FileState state;
  state.stamp = stampOf(entry.EndOfFile.QuadPart, entry.LastWriteTime.QuadPart, entry.ChangeTime.QuadPart);
  if constexpr (std::is_same_v<Entry, FILE_ID_BOTH_DIR_INFO>)
    state.stamp.inode = static_cast<std::uint64_t>(entry.FileId.QuadPart);
  state.regular = true;
  return state;
}

/// Reads a folder by one of the system's kinds of list. The result is a system error number.
template <typename Entry>
DWORD list(HANDLE folder, const std::wstring& path, FILE_INFO_BY_HANDLE_CLASS kind,
           const FolderWatch::Accepts& accepts, const FolderWatch::Found& found) {
  std::vector<std::max_align_t> buffer(std::size_t{65536} / sizeof(std::max_align_t));
  while (::GetFileInformationByHandleEx(folder, kind, buffer.data(),
                                        static_cast<DWORD>(buffer.size() * sizeof buffer[0])) != 0) {
    const auto* at = reinterpret_cast<const std::byte*>(buffer.data());
    for (DWORD next = 1; next != 0; at += next) {
      const auto& entry = *reinterpret_cast<const Entry*>(at);
      next = entry.NextEntryOffset;
      const std::wstring_view wideName(static_cast<const wchar_t*>(entry.FileName),
                                       entry.FileNameLength / sizeof(wchar_t));
      const std::string name = windows_api::toUtf8(wideName);
      if (accepts(name)) found(name, stateOf(entry, path + L'\\' + std::wstring(wideName)));
    }
  }
  const DWORD error = ::GetLastError();
  return error == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : error;
}

}  // namespace

struct FolderWatch::System {};

FolderWatch::FolderWatch(std::string path) : path_(std::move(path)) {}

FolderWatch::~FolderWatch() = default;

FolderWatch::News FolderWatch::ask(std::unordered_set<std::string>&) {
  Access access = folderAccess(path_);
  problem_ = std::move(access.problem);
  return access.missing || !problem_.empty() ? News::kNoFolder : News::kUnknown;
}

bool FolderWatch::readAll(const Accepts& accepts, const Found& found) {
  const std::wstring path = windows_api::diskPath(path_);
  DWORD error = ERROR_SUCCESS;
  if (const windows_api::UniqueHandle folder = windows_api::openExisting(path, FILE_LIST_DIRECTORY);
      !folder) {
    error = ::GetLastError();
  } else {
    error = list<FILE_ID_BOTH_DIR_INFO>(folder.get(), path, FileIdBothDirectoryInfo, accepts, found);
    // Some file servers have no numbers for their files.
    if (error == ERROR_INVALID_PARAMETER || error == ERROR_NOT_SUPPORTED || error == ERROR_INVALID_LEVEL)
      error = list<FILE_FULL_DIR_INFO>(folder.get(), path, FileFullDirectoryInfo, accepts, found);
  }
  problem_ = error == ERROR_SUCCESS || windows_api::meansMissing(error) ? "" : windows_api::errorText(error);
  return error == ERROR_SUCCESS;
}

bool FolderWatch::read(const std::vector<std::string>& names, const Found& found) {
  const std::unordered_set<std::string> wanted(names.begin(), names.end());
  return readAll([&wanted](std::string_view name) { return wanted.contains(std::string(name)); }, found);
}

std::int64_t FolderWatch::tick() const { return kTick; }

}  // namespace kova::platform::local_outlook
