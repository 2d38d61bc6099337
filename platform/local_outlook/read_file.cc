#include "platform/local_outlook/read_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "platform/local_outlook/unique_fd.h"

namespace kova::platform::local_outlook {
namespace {

FileBytes readUpTo(const std::string& path, std::size_t limit) {
  FileBytes result;
  // Non-blocking, so that a FIFO that took the file's place does not hold us up.
  const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status{};
  if (!file || ::fstat(file.get(), &status) != 0) {
    result.error = errno;
    return result;
  }
  if (!S_ISREG(status.st_mode)) {
    result.notRegular = true;
    return result;
  }
  // One byte more than expected, so that the end of the file is met without growing the text.
  std::size_t wanted = std::min(limit, static_cast<std::size_t>(std::max<off_t>(status.st_size, 0)) + 1);
  std::size_t have = 0;
  for (;;) {
    result.bytes.resize(wanted);
    const ssize_t got = ::read(file.get(), result.bytes.data() + have, wanted - have);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      result.error = errno;
      result.bytes.clear();
      return result;
    }
    have += static_cast<std::size_t>(got);
    const bool wholeFile = have < wanted && have >= static_cast<std::size_t>(status.st_size);
    if (got == 0 || have == limit || wholeFile) break;
    if (have == wanted) wanted = std::min(limit, wanted * 2 + 4096);
  }
  result.bytes.resize(have);
  return result;
}

}  // namespace

FileBytes readFile(const std::string& path, std::size_t limit) {
  FileBytes result = readUpTo(path, limit + 1);
  if (result.bytes.size() > limit) {
    result.tooLong = true;
    std::string().swap(result.bytes);
  }
  return result;
}

FileBytes readStart(const std::string& path, std::size_t limit) { return readUpTo(path, limit); }

}  // namespace kova::platform::local_outlook
