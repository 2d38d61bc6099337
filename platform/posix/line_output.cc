#include "platform/posix/line_output.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace kova::platform::posix {

PosixLineOutput::PosixLineOutput(int descriptor) : descriptor_(descriptor) {
  struct stat status{};
  if (::fstat(descriptor, &status) != 0) return;
  if (S_ISFIFO(status.st_mode) || ::isatty(descriptor) == 1) {
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    own_ = FileDescriptor(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  }
  polled_ = !own_ && !S_ISREG(status.st_mode);
}

/// As write(), but never waits: EAGAIN when there is no room.
long PosixLineOutput::writeOnce(std::string_view bytes) const {
  if (!polled_) return ::write(own_ ? own_.get() : descriptor_, bytes.data(), bytes.size());
  const long sent = ::send(descriptor_, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  if (sent >= 0 || errno != ENOTSOCK) return sent;
  // A pipe that polls as writable takes at least PIPE_BUF bytes without blocking.
  struct pollfd state = {descriptor_, POLLOUT, 0};
  if (::poll(&state, 1, 0) <= 0) {
    errno = EAGAIN;
    return -1;
  }
  return ::write(descriptor_, bytes.data(), std::min<std::size_t>(bytes.size(), PIPE_BUF));
}

bool PosixLineOutput::flush() {
  std::size_t done = 0;
  while (done < kept_.size()) {
    const long written = writeOnce(std::string_view(kept_).substr(done));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0 && errno == EAGAIN) break;
    if (written <= 0) {
      done = kept_.size();  // nobody reads any more
      break;
    }
    done += static_cast<std::size_t>(written);
    midLine_ = kept_[done - 1] != '\n';
  }
  kept_.erase(0, done);
  giveUpOldest();
  return kept_.empty();
}

void PosixLineOutput::giveUpOldest() {
  if (kept_.size() <= kMaxKeptBytes) return;
  // A line that was written in part is finished first.
  const std::size_t begun = midLine_ ? kept_.find('\n') + 1 : 0;
  const std::size_t lineEnd = kept_.find('\n', std::max(begun, kept_.size() - kMaxKeptBytes));
  kept_.erase(begun, lineEnd == std::string::npos ? std::string::npos : lineEnd + 1 - begun);
}

}  // namespace kova::platform::posix
