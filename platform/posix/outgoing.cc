#include "platform/posix/outgoing.h"

#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <utility>

#include "platform/posix/input_file.h"
#include "platform/posix/socket_errors.h"

namespace kova::platform::posix {

namespace {

/// Up to here, reading a file and sending the bytes together with what stands before them is cheaper than to
/// have the kernel fetch them.
constexpr std::size_t kCopied = std::size_t{16} * 1024;

long sendCopied(const base::Outgoing& outgoing, int socket, int flags, bool& unreadable) {
  const auto first = outgoing.firstRange();
  const std::string_view bytes = outgoing.firstBytes();
  std::array<char, kCopied> piece;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled by the read
  const std::span<char> wanted = std::span(piece).first(std::min(first.count, kCopied));
  const long got = first.file->readAt(first.offset, wanted);
  if (got <= 0) {
    unreadable = bytes.empty();
    return unreadable ? -1 : ::send(socket, bytes.data(), bytes.size(), flags & ~MSG_MORE);
  }
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): the kernel only reads them
  const iovec head{const_cast<char*>(bytes.data()), bytes.size()};
  std::array<iovec, 2> parts{head, {piece.data(), static_cast<std::size_t>(got)}};
  msghdr message{};
  message.msg_iov = parts.data();
  message.msg_iovlen = parts.size();
  if (static_cast<std::size_t>(got) < first.count) flags |= MSG_MORE;
  return ::sendmsg(socket, &message, flags);
}

/// One call of the kernel: the count, or -1 with errno. `unreadable` is set when it was a file's fault.
long sendOnce(const base::Outgoing& outgoing, int socket, std::size_t limit, bool more, bool& unreadable) {
  const auto first = outgoing.firstRange();
  constexpr int kFlags = MSG_NOSIGNAL | MSG_DONTWAIT;
  const int moreFlag = more || outgoing.moreBehind() ? MSG_MORE : 0;
  if (first.count > 0 && first.count <= kCopied)
    return sendCopied(outgoing, socket, kFlags | moreFlag, unreadable);
  if (const std::string_view bytes = outgoing.firstBytes(); !bytes.empty()) {
    return ::send(socket, bytes.data(), bytes.size(), kFlags | (first.count > 0 ? MSG_MORE : moreFlag));
  }
  off_t offset = first.offset;
  const ssize_t count = ::sendfile(socket, static_cast<const PosixInputFile*>(first.file)->descriptor(),
                                   &offset, std::min(first.count, limit));
  // Some file systems cannot do this.
  if (count < 0 && (errno == EINVAL || errno == ENOSYS))
    return sendCopied(outgoing, socket, kFlags | moreFlag, unreadable);
  unreadable =
      count == 0 || (count < 0 && (errno == EIO || errno == EISDIR || errno == EBADF || errno == ESTALE));
  return count == 0 ? -1 : count;
}

}  // namespace

int send(base::Outgoing& outgoing, int socket, std::size_t limit, bool more) {
  const std::size_t before = outgoing.size();
  while (!outgoing.empty() && before - outgoing.size() < limit) {
    bool unreadable = false;
    const long count = sendOnce(outgoing, socket, limit - (before - outgoing.size()), more, unreadable);
    if (unreadable) return kFileUnreadable;
    if (count >= 0) {
      outgoing.takeOff(static_cast<std::size_t>(count));
      continue;
    }
    if (errno == EINTR) continue;
    if (errno == EAGAIN || isShortage(errno)) return 0;
    return errno;
  }
  return 0;
}

}  // namespace kova::platform::posix
