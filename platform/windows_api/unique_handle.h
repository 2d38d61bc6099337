#pragma once

#include <windows.h>

#include <utility>

namespace kova::platform::windows_api {

/// An open file, folder, process or the like; closed by its destructor.
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

}  // namespace kova::platform::windows_api
