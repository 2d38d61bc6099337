#include "platform/local_outlook/folder_watch.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/local_outlook/posix/unique_fd.h"

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

struct FolderWatch::System {
  UniqueFd events;
  bool reliable = false;
  std::uint64_t device = 0;
  std::uint64_t inode = 0;

  bool watches(const struct stat& folder) const {
    return events && folder.st_dev == device && folder.st_ino == inode;
  }

  /// False when the watch has ended or events were lost.
  bool drain(std::unordered_set<std::string>& names) const {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): filled by the read
    alignas(inotify_event) std::array<char, 65536> buffer;
    for (;;) {
      const ssize_t got = ::read(events.get(), buffer.data(), buffer.size());
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
  bool start(const std::string& path, const struct stat& folder) {
    device = folder.st_dev;
    inode = folder.st_ino;
    events.reset(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!events) return false;
    if (::inotify_add_watch(events.get(), path.c_str(), kEvents) < 0) {
      events.reset();
      return false;
    }
    const UniqueFd opened(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat now{};
    if (!opened || ::fstat(opened.get(), &now) != 0 || now.st_dev != device || now.st_ino != inode) {
      events.reset();  // replaced in between; the next session tries again
      return false;
    }
    return reportsChanges(opened.get());
  }

  /// Empty for what is not there and for folders.
  std::optional<FileState> stateOf(int folder, const char* name) const {
    struct stat status{};
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
    bool link = false;
    bool broken = false;
    if (S_ISLNK(status.st_mode)) {
      struct stat target{};
      link = true;
      if (::fstatat(folder, name, &target, 0) == 0)
        status = target;
      else
        broken = true;
    }
    if (S_ISDIR(status.st_mode)) return std::nullopt;
    FileState state;
    state.stamp = stampOf(status);
    state.regular = !broken && S_ISREG(status.st_mode);
    state.unwatched = link || status.st_nlink > 1 || status.st_dev != device;
    return state;
  }

  /// Afterwards everything has to be compared. Returns false.
  bool giveUp(int error, std::string& problem) {
    events.reset();
    problem = error == ENOENT ? "" : std::strerror(error);
    return false;
  }
};

FolderWatch::FolderWatch(std::string path) : path_(std::move(path)), system_(std::make_unique<System>()) {}

FolderWatch::~FolderWatch() = default;

FolderWatch::News FolderWatch::ask(std::unordered_set<std::string>& changed) {
  struct stat folder{};
  if (::stat(path_.c_str(), &folder) != 0) {
    system_->giveUp(errno, problem_);
    return News::kNoFolder;
  }
  if (!S_ISDIR(folder.st_mode)) {
    system_->giveUp(ENOTDIR, problem_);
    problem_ = "is not a folder";
    return News::kNoFolder;
  }
  problem_.clear();
  if (system_->watches(folder) && system_->drain(changed))
    return system_->reliable ? News::kSome : News::kUnknown;
  changed.clear();
  system_->events.reset();
  system_->reliable = system_->start(path_, folder);
  return News::kUnknown;
}

bool FolderWatch::readAll(const Accepts& accepts, const Found& found) {
  DIR* const opened = ::opendir(path_.c_str());
  if (opened == nullptr) return system_->giveUp(errno, problem_);
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opened, &::closedir);
  std::string name;
  for (;;) {
    errno = 0;
    const dirent* const entry = ::readdir(opened);
    if (entry == nullptr) return errno == 0 || system_->giveUp(errno, problem_);
    name = entry->d_name;
    if (accepts(name)) found(name, system_->stateOf(::dirfd(opened), name.c_str()));
  }
}

bool FolderWatch::read(const std::vector<std::string>& names, const Found& found) {
  const UniqueFd folder(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder) return system_->giveUp(errno, problem_);
  for (const std::string& name : names) found(name, system_->stateOf(folder.get(), name.c_str()));
  return true;
}

std::int64_t FolderWatch::tick() const { return system_->reliable ? kTick : kServerTick; }

}  // namespace kova::platform::local_outlook
