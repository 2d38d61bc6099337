#pragma once

#include <winsock2.h>

#include <utility>

namespace kova::platform::windows {

/// A socket of the system; closed by its destructor.
class UniqueSocket {
 public:
  UniqueSocket() = default;
  explicit UniqueSocket(SOCKET socket) : socket_(socket) {}
  UniqueSocket(const UniqueSocket&) = delete;
  UniqueSocket& operator=(const UniqueSocket&) = delete;
  UniqueSocket(UniqueSocket&& other) noexcept : socket_(std::exchange(other.socket_, INVALID_SOCKET)) {}
  UniqueSocket& operator=(UniqueSocket&& other) noexcept {
    if (this != &other) {
      reset();
      socket_ = std::exchange(other.socket_, INVALID_SOCKET);
    }
    return *this;
  }
  ~UniqueSocket() { reset(); }

  explicit operator bool() const { return socket_ != INVALID_SOCKET; }
  SOCKET get() const { return socket_; }
  void reset() {
    if (socket_ != INVALID_SOCKET) ::closesocket(std::exchange(socket_, INVALID_SOCKET));
  }

 private:
  SOCKET socket_ = INVALID_SOCKET;
};

}  // namespace kova::platform::windows
