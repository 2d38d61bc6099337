#include "platform/windows/outgoing.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>

namespace kova::platform::windows {

namespace {

constexpr std::size_t kPiece = std::size_t{64} * 1024;

WSABUF bufferOf(const char* bytes, std::size_t count) {
  WSABUF buffer{};
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): the system only reads them
  buffer.buf = const_cast<char*>(bytes);
  buffer.len = static_cast<ULONG>(count);
  return buffer;
}

}  // namespace

int send(base::Outgoing& outgoing, SOCKET socket, std::size_t limit) {
  std::string piece;
  const std::size_t before = outgoing.size();
  while (!outgoing.empty() && before - outgoing.size() < limit) {
    const std::string_view bytes = outgoing.firstBytes();
    const auto range = outgoing.firstRange();
    piece.resize(std::min(range.count, kPiece));
    const long got = piece.empty() ? 0 : range.file->readAt(range.offset, std::span(piece));
    if (range.count > 0 && got <= 0 && bytes.empty()) return kFileUnreadable;
    std::array<WSABUF, 2> parts{bufferOf(bytes.data(), bytes.size()),
                                bufferOf(piece.data(), static_cast<std::size_t>(std::max(got, 0L)))};
    DWORD sent = 0;
    if (::WSASend(socket, parts.data(), static_cast<DWORD>(parts.size()), &sent, 0, nullptr, nullptr) != 0) {
      // Of buffers that are full for the moment nothing is told but this.
      const int error = ::WSAGetLastError();
      return error == WSAENOBUFS ? WSAEWOULDBLOCK : error;
    }
    outgoing.takeOff(sent);
  }
  return 0;
}

}  // namespace kova::platform::windows
