#include "platform/windows/files.h"

#include <algorithm>
#include <random>
#include <string>

#include "platform/windows_api/disk.h"
#include "platform/windows_api/names.h"
#include "platform/windows_api/owners_only.h"

namespace kova::platform::windows {

namespace {

using windows_api::diskPath;
using windows_api::UniqueHandle;

constexpr std::size_t kGathered = std::size_t{32} * 1024;

int fileErrorOf(DWORD error) {
  switch (error) {
    case ERROR_SUCCESS:
      return file_error::kNone;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_INVALID_NAME:
      return file_error::kNotFound;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_BAD_NETPATH:
    case ERROR_FILENAME_EXCED_RANGE:
      return file_error::kPathNotFound;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return file_error::kDiskFull;
    case ERROR_TOO_MANY_OPEN_FILES:
      return file_error::kTooManyFiles;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_WRITE_PROTECT:
      return file_error::kPermissionDenied;
    case ERROR_NOT_READY:
    case ERROR_CRC:
    case ERROR_GEN_FAILURE:
    case ERROR_IO_DEVICE:
      return file_error::kDeviceError;
    default:
      return file_error::kAccessError;
  }
}

/// A NUL would end the name early and open another file.
bool canBeName(const std::string& path) { return !path.empty() && path.find('\0') == std::string::npos; }

bool isRegular(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION info{};
  return ::GetFileType(file) == FILE_TYPE_DISK && ::GetFileInformationByHandle(file, &info) != 0 &&
         (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

class WindowsInputFile final : public InputFile {
 public:
  WindowsInputFile(UniqueHandle file, std::int64_t length) : file_(std::move(file)), length_(length) {}

  std::int64_t length() const override { return length_; }

  long readAt(std::int64_t offset, std::span<char> into) override {
    if (offset < 0) return -1;
    constexpr std::size_t kAtOnce = std::size_t{64} << 20;
    std::size_t done = 0;
    while (done < into.size()) {
      const auto at = static_cast<std::uint64_t>(offset) + done;
      OVERLAPPED place{};
      place.Offset = static_cast<DWORD>(at);
      place.OffsetHigh = static_cast<DWORD>(at >> 32);
      DWORD count = 0;
      const auto wanted = static_cast<DWORD>(std::min(into.size() - done, kAtOnce));
      if (::ReadFile(file_.get(), into.data() + done, wanted, &count, &place) == 0) {
        if (done == 0 && ::GetLastError() != ERROR_HANDLE_EOF) return -1;
        break;
      }
      if (count == 0) break;
      done += count;
    }
    return static_cast<long>(done);
  }

 private:
  UniqueHandle file_;
  std::int64_t length_;
};

class WindowsOutputFile final : public OutputFile {
 public:
  explicit WindowsOutputFile(UniqueHandle file) : file_(std::move(file)) {}
  WindowsOutputFile(const WindowsOutputFile&) = delete;
  WindowsOutputFile& operator=(const WindowsOutputFile&) = delete;
  ~WindowsOutputFile() override { close(); }

  bool write(std::string_view bytes) override {
    if (!file_ || failed_) return false;
    gathered_.append(bytes);
    if (gathered_.size() >= kGathered) flush();
    return !failed_;
  }

  bool close() override {
    if (!file_) return !failed_;
    if (!failed_) flush();
    if (!file_.reset()) failed_ = true;
    return !failed_;
  }

 private:
  void flush() {
    if (!windows_api::writeAll(file_.get(), gathered_)) failed_ = true;
    gathered_.clear();
  }

  UniqueHandle file_;
  std::string gathered_;
  bool failed_ = false;
};

/// The name is free at once where the file system can do that (Windows 10 and later).
bool removeAtOnce(const std::wstring& name) {
  const UniqueHandle file =
      windows_api::openExisting(name, DELETE, FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS);
  // The headers at hand do not have them: FileDispositionInfoEx, and its flags DELETE and POSIX_SEMANTICS.
  constexpr auto kDispositionEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);
  ULONG flags = 1 | 2;
  return file && ::SetFileInformationByHandle(file.get(), kDispositionEx, &flags, sizeof flags) != 0;
}

/// Elsewhere a file that somebody has open keeps a name until he closes it: one that nobody knows.
bool removeUnderAnotherName(const std::wstring& name) {
  std::random_device random;
  const std::wstring other = name + L"." + std::to_wstring(random()) + std::to_wstring(random());
  const bool renamed = ::MoveFileExW(name.c_str(), other.c_str(), 0) != 0;
  return ::DeleteFileW(renamed ? other.c_str() : name.c_str()) != 0;
}

}  // namespace

FileResult<std::int64_t> WindowsFiles::length(const std::string& path) {
  const auto file = open(path);
  if (!file) return {std::nullopt, file.error};
  return {(*file.value)->length(), file_error::kNone};
}

FileResult<std::unique_ptr<InputFile>> WindowsFiles::open(const std::string& path) {
  if (!canBeName(path)) return {std::nullopt, file_error::kNotFound};
  UniqueHandle file = windows_api::openExisting(diskPath(path), GENERIC_READ);
  if (!file) return {std::nullopt, fileErrorOf(::GetLastError())};
  if (!isRegular(file.get())) return {std::nullopt, file_error::kNotFound};
  LARGE_INTEGER size{};
  if (::GetFileSizeEx(file.get(), &size) == 0) return {std::nullopt, fileErrorOf(::GetLastError())};
  return {std::make_unique<WindowsInputFile>(std::move(file), size.QuadPart), file_error::kNone};
}

std::unique_ptr<OutputFile> WindowsFiles::create(const std::string& path) {
  windows_api::OwnersOnly rights;
  if (!canBeName(path) || !rights.get()) return nullptr;
  const std::wstring name = diskPath(path);
  const auto make = [&name, &rights] {
    return UniqueHandle(::CreateFileW(name.c_str(), GENERIC_WRITE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, rights.get(),
                                      CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
  };
  UniqueHandle file = make();
  if (!file && ::GetLastError() == ERROR_FILE_EXISTS && remove(path)) file = make();
  if (!file) return nullptr;
  return std::make_unique<WindowsOutputFile>(std::move(file));
}

bool WindowsFiles::append(const std::string& path, std::string_view bytes) {
  windows_api::OwnersOnly rights;
  if (!canBeName(path) || !rights.get()) return false;
  UniqueHandle file(::CreateFileW(diskPath(path).c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, rights.get(),
                                  OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file || !isRegular(file.get())) return false;
  const bool written = windows_api::writeAll(file.get(), bytes);
  return file.reset() && written;
}

bool WindowsFiles::replace(const std::string& path, std::string_view bytes) {
  if (!canBeName(path)) return false;
  const std::wstring name = diskPath(path);
  const std::wstring beside = name + L".kova-part";
  // What is left of a program that was ended in here.
  ::DeleteFileW(beside.c_str());
  UniqueHandle file(
      ::CreateFileW(beside.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return false;
  const bool written = windows_api::writeAll(file.get(), bytes) && ::FlushFileBuffers(file.get()) != 0;
  constexpr DWORD kHow = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
  if (file.reset() && written && ::MoveFileExW(beside.c_str(), name.c_str(), kHow) != 0) return true;
  ::DeleteFileW(beside.c_str());
  return false;
}

bool WindowsFiles::remove(const std::string& path) {
  if (!canBeName(path)) return false;
  const std::wstring name = diskPath(path);
  const DWORD attributes = ::GetFileAttributesW(name.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return false;
  return removeAtOnce(name) || removeUnderAnotherName(name);
}

std::string WindowsFiles::canonical(const std::string& path) const { return windows_api::canonical(path); }

std::optional<std::string> WindowsFiles::nameBelow(std::string_view path) const {
  return windows_api::nameBelow(path);
}

}  // namespace kova::platform::windows
