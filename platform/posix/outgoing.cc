#include "platform/posix/outgoing.h"

#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <utility>

#include "platform/posix/socket_errors.h"

namespace kova::platform::posix {

namespace {

/// Up to here, reading a file and sending the bytes together with what stands before them is cheaper than to
/// have the kernel fetch them.
constexpr std::size_t kCopied = std::size_t{16} * 1024;

}  // namespace

void Outgoing::add(std::string_view bytes) {
  if (bytes.empty()) return;
  if (segments_.empty() || segments_.back().count > 0) segments_.emplace_back();
  segments_.back().bytes.append(bytes);
  size_ += bytes.size();
  inMemory_ += bytes.size();
}

bool Outgoing::extend(const InputFile& file, std::int64_t offset, std::size_t count) {
  if (segments_.empty() || segments_.back().count == 0) return false;
  Segment& last = segments_.back();
  if (last.file.get() != &file || last.offset + static_cast<std::int64_t>(last.count) != offset) return false;
  last.count += count;
  size_ += count;
  return true;
}

void Outgoing::add(const std::shared_ptr<InputFile>& file, int descriptor, std::int64_t offset,
                   std::size_t count) {
  if (count == 0) return;
  size_ += count;
  if (segments_.empty() || segments_.back().count > 0) segments_.emplace_back();
  Segment& segment = segments_.back();
  segment.file = file;
  segment.descriptor = descriptor;
  segment.offset = offset;
  segment.count = count;
}

void Outgoing::clear() {
  segments_.clear();
  sent_ = 0;
  size_ = 0;
  inMemory_ = 0;
}

void Outgoing::takeOff(std::size_t count) {
  Segment& first = segments_.front();
  size_ -= count;
  const std::size_t ofBytes = std::min(count, first.bytes.size() - sent_);
  sent_ += ofBytes;
  inMemory_ -= ofBytes;
  if (sent_ == first.bytes.size() && sent_ > 0) {
    first.bytes = std::string();  // frees them, which clear() would not
    sent_ = 0;
  }
  first.offset += static_cast<std::int64_t>(count - ofBytes);
  first.count -= count - ofBytes;
  if (first.bytes.empty() && first.count == 0) segments_.erase(segments_.begin());
}

long Outgoing::sendCopied(int socket, int flags, bool& unreadable) {
  const Segment& first = segments_.front();
  std::array<char, kCopied> piece;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled by the read
  const std::span<char> wanted = std::span(piece).first(std::min(first.count, kCopied));
  const long got = first.file->readAt(first.offset, wanted);
  if (got <= 0) {
    unreadable = firstBytes().empty();
    return unreadable ? -1 : ::send(socket, firstBytes().data(), firstBytes().size(), flags & ~MSG_MORE);
  }
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): the kernel only reads them
  std::array<iovec, 2> parts{{{const_cast<char*>(firstBytes().data()), firstBytes().size()},
                              {piece.data(), static_cast<std::size_t>(got)}}};
  msghdr message{};
  message.msg_iov = parts.data();
  message.msg_iovlen = parts.size();
  if (static_cast<std::size_t>(got) < first.count) flags |= MSG_MORE;
  return ::sendmsg(socket, &message, flags);
}

long Outgoing::sendOnce(int socket, std::size_t limit, bool more, bool& unreadable) {
  const Segment& first = segments_.front();
  constexpr int kFlags = MSG_NOSIGNAL | MSG_DONTWAIT;
  const int moreFlag = more || segments_.size() > 1 ? MSG_MORE : 0;
  if (first.count > 0 && first.count <= kCopied) return sendCopied(socket, kFlags | moreFlag, unreadable);
  if (const std::string_view bytes = firstBytes(); !bytes.empty()) {
    return ::send(socket, bytes.data(), bytes.size(), kFlags | (first.count > 0 ? MSG_MORE : moreFlag));
  }
  off_t offset = first.offset;
  const ssize_t count = ::sendfile(socket, first.descriptor, &offset, std::min(first.count, limit));
  // Some file systems cannot do this.
  if (count < 0 && (errno == EINVAL || errno == ENOSYS))
    return sendCopied(socket, kFlags | moreFlag, unreadable);
  unreadable =
      count == 0 || (count < 0 && (errno == EIO || errno == EISDIR || errno == EBADF || errno == ESTALE));
  return count == 0 ? -1 : count;
}

int Outgoing::send(int socket, std::size_t limit, bool more) {
  const std::size_t before = size_;
  while (!empty() && before - size_ < limit) {
    bool unreadable = false;
    const long count = sendOnce(socket, limit - (before - size_), more, unreadable);
    if (unreadable) return kFileUnreadable;
    if (count >= 0) {
      takeOff(static_cast<std::size_t>(count));
      continue;
    }
    if (errno == EINTR) continue;
    if (errno == EAGAIN || isShortage(errno)) return 0;
    return errno;
  }
  return 0;
}

}  // namespace kova::platform::posix
