#include "platform/local_outlook/read_file.h"

#include <algorithm>
#include <cstdint>

#include "platform/windows_api/disk.h"

namespace kova::platform::local_outlook {
namespace {

Access accessOf(DWORD error) {
  Access access;
  access.missing = windows_api::meansMissing(error);
  access.busy = error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION;
  if (!access.missing) access.problem = windows_api::errorText(error);
  return access;
}

struct Opened {
  windows_api::UniqueHandle file;
  Access access;
};

Opened openFile(const std::string& path) {
  Opened opened;
  const std::wstring name = windows_api::diskPath(path);
  const DWORD attributes = ::GetFileAttributesW(name.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    opened.access.problem = "is not a regular file";
    return opened;
  }
  opened.file = windows_api::openExisting(name, GENERIC_READ, FILE_FLAG_SEQUENTIAL_SCAN);
  if (!opened.file) {
    opened.access = accessOf(::GetLastError());
  } else if (::GetFileType(opened.file.get()) != FILE_TYPE_DISK) {
    opened.file.reset();
    opened.access.problem = "is not a regular file";
  }
  return opened;
}

}  // namespace

Access folderAccess(const std::string& path) {
  const DWORD attributes = ::GetFileAttributesW(windows_api::diskPath(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return accessOf(::GetLastError());
  Access access;
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) access.problem = "is not a folder";
  return access;
}

Access fileAccess(const std::string& path) { return openFile(path).access; }

FileBytes readStart(const std::string& path, std::size_t limit) {
  Opened opened = openFile(path);
  FileBytes result{std::move(opened.access), {}};
  if (!opened.file) return result;
  LARGE_INTEGER size{};
  if (::GetFileSizeEx(opened.file.get(), &size) == 0) return {accessOf(::GetLastError()), {}};
  constexpr std::size_t kAtOnce = std::size_t{64} << 20;
  // One byte more than expected, so that the end of the file is met without growing the text.
  std::size_t wanted =
      static_cast<std::size_t>(std::min<std::uint64_t>(limit, static_cast<std::uint64_t>(size.QuadPart) + 1));
  std::size_t have = 0;
  for (;;) {
    result.bytes.resize(wanted);
    DWORD got = 0;
    if (::ReadFile(opened.file.get(), result.bytes.data() + have,
                   static_cast<DWORD>(std::min(wanted - have, kAtOnce)), &got, nullptr) == 0)
      return {accessOf(::GetLastError()), {}};
    have += got;
    if (got == 0 || have == limit) break;
    if (have == wanted) wanted = std::min(limit, wanted * 2 + 4096);
  }
  result.bytes.resize(have);
  return result;
}

}  // namespace kova::platform::local_outlook
