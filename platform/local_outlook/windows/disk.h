#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <utility>

namespace kova::platform::local_outlook {

/// An open file or folder; closed by its destructor.
class UniqueHandle {
 public:
  UniqueHandle() = default;
  explicit UniqueHandle(HANDLE handle) : handle_(handle) {}
  UniqueHandle(const UniqueHandle&) = delete;
  UniqueHandle& operator=(const UniqueHandle&) = delete;
  UniqueHandle(UniqueHandle&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE)) {}
  UniqueHandle& operator=(UniqueHandle&& other) noexcept {
    if (this != &other) {
      reset();
      handle_ = std::exchange(other.handle_, INVALID_HANDLE_VALUE);
    }
    return *this;
  }
  ~UniqueHandle() { reset(); }

  /// False when closing it reports a failure.
  bool reset() {
    return handle_ == INVALID_HANDLE_VALUE ||
           ::CloseHandle(std::exchange(handle_, INVALID_HANDLE_VALUE)) != 0;
  }
  HANDLE get() const { return handle_; }
  explicit operator bool() const { return handle_ != INVALID_HANDLE_VALUE; }

 private:
  HANDLE handle_ = INVALID_HANDLE_VALUE;
};

std::wstring wide(std::string_view utf8);
std::string narrow(std::wstring_view utf16);

/// A path as the system takes it: absolute and in the form that neither has a limit of length nor knows of
/// devices (a "con.vcf" is a file then). The last name is taken as it is.
std::wstring diskPath(const std::string& path);

/// Opens what is there; a folder as well.
UniqueHandle openExisting(const std::wstring& path, DWORD access, DWORD flags = FILE_FLAG_BACKUP_SEMANTICS);

bool meansMissing(DWORD error);

/// What the system says of one of its error numbers, without a line end.
std::string errorText(DWORD error);

}  // namespace kova::platform::local_outlook
