#include "platform/local_outlook/watched_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <memory>

#include "base/text.h"
#include "platform/local_outlook/read_file.h"

namespace kova::platform::local_outlook {
namespace {

constexpr std::uint32_t kEvents = IN_CREATE | IN_MODIFY | IN_ATTRIB | IN_CLOSE_WRITE | IN_MOVED_FROM |
                                  IN_MOVED_TO | IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

// Two changes within one tick of the clock leave the same time behind; servers may count in seconds.
constexpr std::int64_t kTick = 50'000'000;
constexpr std::int64_t kServerTick = 2'000'000'000;

std::int64_t nanoseconds(const timespec& t) { return t.tv_sec * 1'000'000'000LL + t.tv_nsec; }

FileStamp stampOf(const struct stat& status) {
  return {status.st_dev, status.st_ino, status.st_size,
          status.st_mtim.tv_sec * 1'000'000LL + status.st_mtim.tv_nsec / 1000, nanoseconds(status.st_ctim)};
}

std::string errorText(int error) { return std::strerror(error); }

/// True where every change by any program on this machine raises an event and no other machine can make one.
bool reportsChanges(int folder) {
  struct statfs system{};
  if (::fstatfs(folder, &system) != 0) return false;
  switch (static_cast<std::uint32_t>(system.f_type)) {
    case 0xEF53:      // ext2, ext3, ext4
    case 0x58465342:  // XFS
    case 0x9123683E:  // Btrfs
    case 0x01021994:  // tmpfs
    case 0xF2F52010:  // F2FS
    case 0x794C7630:  // overlayfs
    case 0x2FC12FC1:  // ZFS
    case 0xCA451A4E:  // bcachefs
    case 0x4D44:      // FAT
    case 0x2011BAB0:  // exFAT
      return true;
    default:
      return false;
  }
}

}  // namespace

bool isTemporaryName(std::string_view name) {
  return name.empty() || name.front() == '.' || name.front() == '~' || name.back() == '~';
}

WatchedFolder::Accepts namesEndingIn(std::vector<std::string> endings) {
  return [endings = std::move(endings)](std::string_view name) {
    if (isTemporaryName(name)) return false;
    const auto dot = name.rfind('.');
    if (dot == std::string_view::npos) return false;
    const std::string ending = base::asciiLower(name.substr(dot));
    for (const std::string& known : endings)
      if (ending == known) return true;
    return false;
  };
}

std::string logText(std::string_view text) {
  std::string line = base::toUtf8(text);
  for (char& c : line)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
  return line;
}

WatchedFolder::WatchedFolder(std::string path, Accepts accepts, const Log& log)
    : path_(std::move(path)), accepts_(std::move(accepts)), log_(log) {
  while (path_.size() > 1 && path_.back() == '/') path_.pop_back();
}

WatchedFolder::Changes WatchedFolder::refresh() {
  Changes changes;
  struct stat folder{};
  if (::stat(path_.c_str(), &folder) != 0) {
    const int error = errno;
    stopWatching();
    forgetAll(changes);
    changes.readable = error == ENOENT;
    reportFolder(changes.readable ? "" : errorText(error));
    return changes;
  }
  if (!S_ISDIR(folder.st_mode)) {
    stopWatching();
    forgetAll(changes);
    changes.readable = false;
    reportFolder("is not a folder");
    return changes;
  }

  bool complete = true;
  std::unordered_set<std::string> names;
  const bool watched = events_ && folder.st_dev == device_ && folder.st_ino == inode_ && drainEvents(names);
  if (!watched) {
    stopWatching();
    reliable_ = startWatching(folder);
    complete = scan(changes);
  } else if (!reliable_) {
    complete = scan(changes);
  } else if (!names.empty() || !unwatched_.empty()) {
    const UniqueFd opened(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened) {
      complete = false;
    } else {
      for (const std::string& name : names)
        if (accepts_(name)) examine(opened.get(), name, true, changes);
      const std::vector<FileNumber> toCompare(unwatched_.begin(), unwatched_.end());
      for (const FileNumber file : toCompare)
        if (files_[file].present && !names.contains(files_[file].name))
          examine(opened.get(), std::string(files_[file].name), false, changes);
    }
  }
  if (!complete) {
    const int error = errno;
    stopWatching();
    forgetAll(changes);
    changes.toRead.clear();
    changes.readable = error == ENOENT;
    reportFolder(changes.readable ? "" : errorText(error));
    return changes;
  }
  reportFolder("");
  // As they lie on the disk, which is much faster when none of them is in memory yet.
  std::ranges::sort(changes.toRead, {}, [this](FileNumber file) { return files_[file].stamp.inode; });
  return changes;
}

std::optional<std::string> WatchedFolder::readBytes(FileNumber file, std::size_t limit) {
  if (!files_[file].regular) {
    report(file, "is not a readable file");
    return std::nullopt;
  }
  FileBytes read = readFile(pathOf(file), limit);
  if (!read.ok()) {
    if (read.tooLong)
      report(file, "is longer than " + std::to_string(limit >> 20) + " MiB");
    else if (read.notRegular)
      report(file, "is not a regular file");
    else if (read.error != ENOENT)  // gone meanwhile: nothing is wrong with that
      report(file, errorText(read.error));
    return std::nullopt;
  }
  if (read.bytes.starts_with("\xEF\xBB\xBF")) read.bytes.erase(0, 3);
  return std::move(read.bytes);
}

void WatchedFolder::report(FileNumber file, const std::string& problem) {
  KnownFile& known = files_[file];
  if (known.problem == problem && known.problemStamp == known.stamp) return;
  known.problem = problem;
  known.problemStamp = known.stamp;
  log_(logText(pathOf(file) + ": " + problem));
}

void WatchedFolder::reportFolder(const std::string& problem) {
  if (problem != folderProblem_ && !problem.empty()) log_(logText(path_ + ": " + problem));
  folderProblem_ = problem;
}

void WatchedFolder::forgetAll(Changes& changes) {
  for (FileNumber file = 0; file < files_.size(); ++file)
    if (files_[file].present) forget(file, changes);
}

void WatchedFolder::forget(FileNumber file, Changes& changes) {
  changes.touched.push_back(file);
  numbers_.erase(files_[file].name);
  unwatched_.erase(file);
  files_[file] = KnownFile{};
  freeNumbers_.push_back(file);
}

void WatchedFolder::stopWatching() { events_.reset(); }

/// False when the watch has ended or events were lost.
bool WatchedFolder::drainEvents(std::unordered_set<std::string>& names) {
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): filled by the read
  alignas(inotify_event) std::array<char, 65536> buffer;
  for (;;) {
    const ssize_t got = ::read(events_.get(), buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return errno == EAGAIN;
    std::size_t at = 0;
    while (at + sizeof(inotify_event) <= static_cast<std::size_t>(got)) {
      inotify_event event{};
      std::memcpy(&event, buffer.data() + at, sizeof event);
      if (event.mask & (IN_Q_OVERFLOW | IN_IGNORED | IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT))
        return false;
      if (event.len > 0) names.emplace(buffer.data() + at + sizeof event);
      at += sizeof event + event.len;
    }
  }
}

/// True when changes will be reported from now on.
bool WatchedFolder::startWatching(const struct stat& folder) {
  device_ = folder.st_dev;
  inode_ = folder.st_ino;
  events_.reset(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (!events_) return false;
  if (::inotify_add_watch(events_.get(), path_.c_str(), kEvents) < 0) {
    events_.reset();
    return false;
  }
  const UniqueFd opened(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  struct stat now{};
  if (!opened || ::fstat(opened.get(), &now) != 0 || now.st_dev != device_ || now.st_ino != inode_) {
    events_.reset();  // replaced in between; the next session tries again
    return false;
  }
  return reportsChanges(opened.get());
}

/// Compares all files with what is known of them. False when the folder cannot be read (errno says why).
bool WatchedFolder::scan(Changes& changes) {
  DIR* const opened = ::opendir(path_.c_str());
  if (opened == nullptr) return false;
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opened, &::closedir);
  ++scanNumber_;
  std::string name;
  for (;;) {
    errno = 0;
    const dirent* const entry = ::readdir(opened);
    if (entry == nullptr) {
      if (errno != 0) return false;
      break;
    }
    name = entry->d_name;
    if (!accepts_(name)) continue;
    examine(::dirfd(opened), name, false, changes);
    if (const auto found = numbers_.find(name); found != numbers_.end())
      files_[found->second].seenInScan = scanNumber_;
  }
  for (FileNumber file = 0; file < files_.size(); ++file)
    if (files_[file].present && files_[file].seenInScan != scanNumber_) forget(file, changes);
  return true;
}

void WatchedFolder::examine(int folder, const std::string& name, bool isKnownChanged, Changes& changes) {
  const auto known = numbers_.find(name);
  struct stat status{};
  bool exists = ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
  bool unwatched = false;
  bool brokenLink = false;
  if (exists && S_ISLNK(status.st_mode)) {
    struct stat target{};
    unwatched = true;
    if (::fstatat(folder, name.c_str(), &target, 0) == 0)
      status = target;
    else
      brokenLink = true;
  }
  if (!exists || S_ISDIR(status.st_mode)) {
    if (known != numbers_.end()) forget(known->second, changes);
    return;
  }
  unwatched = unwatched || status.st_nlink > 1 || status.st_dev != device_;

  const FileStamp stamp = stampOf(status);
  const bool isNew = known == numbers_.end();
  const FileNumber file = isNew ? add(name) : known->second;
  KnownFile& entry = files_[file];
  if (!isNew && !isKnownChanged && !entry.recent && entry.stamp == stamp) return;

  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  const std::int64_t age = nanoseconds(now) - stamp.changed;
  entry.stamp = stamp;
  entry.recent = age >= 0 && age < (reliable_ ? kTick : kServerTick);
  entry.regular = !brokenLink && S_ISREG(status.st_mode);
  entry.unwatched = unwatched;
  if (unwatched)
    unwatched_.insert(file);
  else
    unwatched_.erase(file);
  changes.touched.push_back(file);
  changes.toRead.push_back(file);
}

FileNumber WatchedFolder::add(const std::string& name) {
  FileNumber file = 0;
  if (freeNumbers_.empty()) {
    file = static_cast<FileNumber>(files_.size());
    files_.emplace_back();
  } else {
    file = freeNumbers_.back();
    freeNumbers_.pop_back();
  }
  files_[file].name = name;
  files_[file].present = true;
  numbers_.emplace(name, file);
  return file;
}

}  // namespace kova::platform::local_outlook
