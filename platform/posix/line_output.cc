#include "platform/posix/line_output.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace kova::platform::posix {

LineOutput::LineOutput(int descriptor) : descriptor_(descriptor) {
  struct stat status{};
  if (fstat(descriptor, &status) == 0) mayBlock_ = !S_ISREG(status.st_mode);
}

bool LineOutput::flush() {
  std::size_t done = 0;
  while (done < kept_.size()) {
    std::size_t count = kept_.size() - done;
    if (mayBlock_) {
      // A pipe that polls as writable takes at least PIPE_BUF bytes without blocking. The descriptor itself
      // stays blocking: it is shared with whoever started the program.
      struct pollfd state = {descriptor_, POLLOUT, 0};
      if (poll(&state, 1, 0) <= 0) break;
      count = std::min<std::size_t>(count, PIPE_BUF);
    }
    const ssize_t written = write(descriptor_, kept_.data() + done, count);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      done = kept_.size();  // nobody reads any more
      break;
    }
    done += static_cast<std::size_t>(written);
  }
  kept_.erase(0, done);
  if (kept_.size() > kMaxKeptBytes) {
    const auto lineEnd = kept_.find('\n', kept_.size() - kMaxKeptBytes);
    kept_.erase(0, lineEnd == std::string::npos ? kept_.size() : lineEnd + 1);
  }
  return kept_.empty();
}

}  // namespace kova::platform::posix
