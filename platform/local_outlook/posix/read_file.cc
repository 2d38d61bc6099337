#include "platform/local_outlook/read_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/local_outlook/posix/unique_fd.h"

namespace kova::platform::local_outlook {
namespace {

constexpr const char* kNotRegular = "is not a regular file";

Access accessOf(int error) {
  Access access;
  access.missing = error == ENOENT;
  if (!access.missing) access.problem = std::strerror(error);
  return access;
}

}  // namespace

Access folderAccess(const std::string& path) {
  struct stat status{};
  if (::stat(path.c_str(), &status) != 0) return accessOf(errno);
  Access access;
  if (!S_ISDIR(status.st_mode)) access.problem = "is not a folder";
  return access;
}

Access fileAccess(const std::string& path) {
  struct stat status{};
  if (::stat(path.c_str(), &status) != 0) return accessOf(errno);
  Access access;
  if (!S_ISREG(status.st_mode))
    access.problem = kNotRegular;
  else if (::access(path.c_str(), R_OK) != 0)
    access.problem = std::strerror(errno);
  return access;
}

FileBytes readStart(const std::string& path, std::size_t limit) {
  FileBytes result;
  // Non-blocking, so that a FIFO that took the file's place does not hold us up.
  const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status{};
  if (!file || ::fstat(file.get(), &status) != 0) return {accessOf(errno), {}};
  if (!S_ISREG(status.st_mode)) {
    result.problem = kNotRegular;
    return result;
  }
  // One byte more than expected, so that the end of the file is met without growing the text.
  std::size_t wanted = std::min(limit, static_cast<std::size_t>(std::max<off_t>(status.st_size, 0)) + 1);
  std::size_t have = 0;
  for (;;) {
    result.bytes.resize(wanted);
    const ssize_t got = ::read(file.get(), result.bytes.data() + have, wanted - have);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return {accessOf(errno), {}};
    have += static_cast<std::size_t>(got);
    const bool wholeFile = have < wanted && have >= static_cast<std::size_t>(status.st_size);
    if (got == 0 || have == limit || wholeFile) break;
    if (have == wanted) wanted = std::min(limit, wanted * 2 + 4096);
  }
  result.bytes.resize(have);
  return result;
}

}  // namespace kova::platform::local_outlook
