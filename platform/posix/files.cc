#include "platform/posix/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/input_file.h"
#include "platform/posix/write_all.h"

namespace kova::platform::posix {

namespace {

constexpr std::size_t kGathered = std::size_t{32} * 1024;
constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

int fileErrorOf(int error) {
  switch (error) {
    case 0:
      return file_error::kNone;
    case ENOENT:
      return file_error::kNotFound;
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:
      return file_error::kPathNotFound;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return file_error::kDiskFull;
    case EMFILE:
    case ENFILE:
      return file_error::kTooManyFiles;
    case EACCES:
    case EPERM:
    case EROFS:
      return file_error::kPermissionDenied;
    case EIO:
    case ENXIO:
    case ENODEV:
      return file_error::kDeviceError;
    default:
      return file_error::kAccessError;
  }
}

/// A NUL would end the name early and open another file.
bool canBeName(const std::string& path) { return !path.empty() && path.find('\0') == std::string::npos; }

class PosixOutputFile final : public OutputFile {
 public:
  explicit PosixOutputFile(FileDescriptor file) : file_(std::move(file)) {}
  PosixOutputFile(const PosixOutputFile&) = delete;
  PosixOutputFile& operator=(const PosixOutputFile&) = delete;
  ~PosixOutputFile() override { close(); }

  bool write(std::string_view bytes) override {
    if (!file_ || failed_) return false;
    gathered_.append(bytes);
    if (gathered_.size() >= kGathered) flush();
    return !failed_;
  }

  bool close() override {
    if (!file_) return !failed_;
    if (!failed_) flush();
    if (!file_.reset()) failed_ = true;
    return !failed_;
  }

 private:
  void flush() {
    if (!writeAll(file_.get(), gathered_)) failed_ = true;
    gathered_.clear();
  }

  FileDescriptor file_;
  std::string gathered_;
  bool failed_ = false;
};

}  // namespace

long PosixInputFile::readAt(std::int64_t offset, std::span<char> into) {
  if (offset < 0) return -1;
  std::size_t done = 0;
  while (done < into.size()) {
    const ssize_t count = ::pread(file_.get(), into.data() + done, into.size() - done,
                                  offset + static_cast<std::int64_t>(done));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && done == 0) return -1;
    if (count <= 0) break;
    done += static_cast<std::size_t>(count);
  }
  return static_cast<long>(done);
}

FileResult<std::int64_t> PosixFiles::length(const std::string& path) {
  struct stat info{};
  if (!canBeName(path)) return {std::nullopt, file_error::kNotFound};
  if (::stat(path.c_str(), &info) != 0) return {std::nullopt, fileErrorOf(errno)};
  if (!S_ISREG(info.st_mode)) return {std::nullopt, file_error::kNotFound};
  return {static_cast<std::int64_t>(info.st_size), file_error::kNone};
}

FileResult<std::unique_ptr<InputFile>> PosixFiles::open(const std::string& path) {
  if (!canBeName(path)) return {std::nullopt, file_error::kNotFound};
  // Without O_NONBLOCK a pipe in the directory would hold the program up until somebody writes into it.
  FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  if (!file) return {std::nullopt, fileErrorOf(errno)};
  struct stat info{};
  if (::fstat(file.get(), &info) != 0) return {std::nullopt, fileErrorOf(errno)};
  if (!S_ISREG(info.st_mode)) return {std::nullopt, file_error::kNotFound};
  return {std::make_unique<PosixInputFile>(std::move(file), static_cast<std::int64_t>(info.st_size)),
          file_error::kNone};
}

std::unique_ptr<OutputFile> PosixFiles::create(const std::string& path) {
  if (!canBeName(path)) return nullptr;
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  FileDescriptor file(::open(path.c_str(), kFlags, kOwnerOnly));
  if (!file && errno == EEXIST && ::unlink(path.c_str()) == 0) {
    file = FileDescriptor(::open(path.c_str(), kFlags, kOwnerOnly));
  }
  if (!file) return nullptr;
  return std::make_unique<PosixOutputFile>(std::move(file));
}

bool PosixFiles::append(const std::string& path, std::string_view bytes) {
  if (!canBeName(path)) return false;
  FileDescriptor file(
      ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, kOwnerOnly));
  if (!file) return false;
  struct stat info{};
  if (::fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
  const bool written = writeAll(file.get(), bytes);
  return file.reset() && written;
}

bool PosixFiles::replace(const std::string& path, std::string_view bytes) {
  if (!canBeName(path)) return false;
  constexpr mode_t kDocument = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;  // less the umask
  const std::string beside = path + ".kova-part";
  // What is left of a program that was ended in here.
  ::unlink(beside.c_str());
  FileDescriptor file(
      ::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kDocument));
  if (!file) return false;
  const bool written = writeAll(file.get(), bytes) && ::fsync(file.get()) == 0;
  if (file.reset() && written && ::rename(beside.c_str(), path.c_str()) == 0) return true;
  ::unlink(beside.c_str());
  return false;
}

bool PosixFiles::remove(const std::string& path) { return canBeName(path) && ::unlink(path.c_str()) == 0; }

std::string PosixFiles::canonical(const std::string& path) const {
  namespace fs = std::filesystem;
  std::error_code error;
  fs::path full = fs::weakly_canonical(fs::absolute(path, error), error);
  if (error) full = fs::path(path).lexically_normal();
  if (!full.has_filename() && full.has_relative_path()) full = full.parent_path();
  return full.string();
}

std::optional<std::string> PosixFiles::nameBelow(std::string_view path) const {
  if (path.find('\0') != std::string_view::npos) return std::nullopt;
  std::string name;
  name.reserve(path.size());
  while (!path.empty()) {
    const std::string_view part = path.substr(0, path.find('/'));
    path.remove_prefix(std::min(part.size() + 1, path.size()));
    if (part == "..") return std::nullopt;
    if (part.empty() || part == ".") continue;
    if (!name.empty()) name += '/';
    name += part;
  }
  return name;
}

}  // namespace kova::platform::posix
