#include "platform/local_outlook/save_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/local_outlook/posix/unique_fd.h"

namespace kova::platform::local_outlook {
namespace {

std::string failure(const std::string& what) { return what + ": " + std::strerror(errno); }

/// Some file systems cannot sync folders; they say so with EINVAL.
bool syncFolder(int folder) { return ::fsync(folder) == 0 || errno == EINVAL || errno == EROFS; }

std::string parentOf(const std::string& path) {
  const auto slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string makeFolders(const std::string& path) {
  struct stat status{};
  if (::stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) return {};
    errno = ENOTDIR;
    return failure(path);
  }
  if (errno != ENOENT) return failure(path);
  const std::string parent = parentOf(path);
  if (std::string problem = makeFolders(parent); !problem.empty()) return problem;
  if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return failure("cannot make the folder " + path);
  const UniqueFd opened(::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened && !syncFolder(opened.get())) return failure(parent);
  return {};
}

bool writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(file, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

/// Gives the file its name without replacing one that has it.
bool renameNew(int folder, const char* from, const char* to) {
  if (::renameat2(folder, from, folder, to, RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  // A file system that cannot do that may have links; one that has neither gets a plain rename: the name is
  // random.
  if (::linkat(folder, from, folder, to, 0) == 0) {
    ::unlinkat(folder, from, 0);
    return true;
  }
  return (errno == EPERM || errno == ENOTSUP || errno == ENOSYS) && ::renameat(folder, from, folder, to) == 0;
}

}  // namespace

std::string saveNewFile(const std::string& folder, const std::string& name, std::string_view bytes) {
  if (std::string problem = makeFolders(folder); !problem.empty()) return problem;
  const UniqueFd opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!opened) return failure(folder);

  const std::string temporary = "." + name + ".tmp";
  UniqueFd file(
      ::openat(opened.get(), temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) return failure(folder);
  const auto giveUp = [&](const std::string& leftover) {
    std::string problem = failure(folder + "/" + name);
    ::unlinkat(opened.get(), leftover.c_str(), 0);
    return problem;
  };
  if (!writeAll(file.get(), bytes) || ::fsync(file.get()) != 0) return giveUp(temporary);
  // Closing may be what reports a failure on a file server.
  if (::close(file.release()) != 0 && errno != EINTR) return giveUp(temporary);
  if (!renameNew(opened.get(), temporary.c_str(), name.c_str())) return giveUp(temporary);
  if (!syncFolder(opened.get())) return giveUp(name);
  return {};
}

}  // namespace kova::platform::local_outlook
