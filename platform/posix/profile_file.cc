#include "platform/posix/profile_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <optional>
#include <string_view>
#include <thread>

#include "base/text.h"
#include "platform/posix/file_descriptor.h"
#include "platform/posix/write_all.h"

namespace kova::platform::posix {

namespace {

using std::string_view_literals::operator""sv;

constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
constexpr int kMostLinks = 40;
constexpr int kLockAttempts = 20;
constexpr std::chrono::milliseconds kBetweenLockAttempts{10};

struct Line {
  std::string_view text;  // without its end
  std::size_t begin = 0;
  std::size_t end = 0;  // behind its end
};

/// Cuts the line that begins at `from`.
Line lineAt(std::string_view content, std::size_t from) {
  Line line;
  line.begin = from;
  const std::size_t stop = std::min(content.find_first_of("\r\n", from), content.size());
  line.text = content.substr(from, stop - from);
  line.end = stop;
  if (content.substr(stop, 2) == base::kCrLf) {
    line.end += 2;
  } else if (stop < content.size()) {
    line.end += 1;
  }
  return line;
}

std::optional<std::string_view> sectionName(std::string_view line) {
  line = base::trim(line);
  if (!line.starts_with('[')) return std::nullopt;
  const auto close = line.rfind(']');
  if (close == std::string_view::npos) return std::nullopt;
  return base::trim(line.substr(1, close - 1));
}

struct KeyAndValue {
  std::string_view key;
  std::string_view value;
};

std::optional<KeyAndValue> keyAndValue(std::string_view line) {
  line = base::trim(line);
  const auto equals = line.find('=');
  if (equals == std::string_view::npos || line.starts_with(';')) return std::nullopt;
  return KeyAndValue{base::trim(line.substr(0, equals)), base::trim(line.substr(equals + 1))};
}

bool sameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && base::asciiLower(a) == base::asciiLower(b);
}

/// Where a key stands, or would have to.
struct Place {
  bool sectionFound = false;
  std::optional<KeyAndValue> entry;
  std::size_t begin = 0;  // the key's line; without one the end of the section's last line that is not blank
  std::size_t end = 0;
};

Place find(std::string_view content, std::string_view section, std::string_view key) {
  Place place;
  const std::size_t start = content.starts_with("\xEF\xBB\xBF") ? 3 : 0;  // an editor's byte order mark
  for (std::size_t at = start; at < content.size();) {
    const Line line = lineAt(content, at);
    at = line.end;
    if (const auto name = sectionName(line.text)) {
      if (place.sectionFound) break;
      place.sectionFound = sameName(*name, section);
    } else if (place.sectionFound) {
      const auto entry = keyAndValue(line.text);
      if (entry && sameName(entry->key, key)) {
        place.entry = entry;
        place.begin = line.begin;
        place.end = line.end;
        break;
      }
      if (base::trim(line.text).empty()) continue;
    }
    if (place.sectionFound) place.begin = place.end = line.end;
  }
  if (!place.sectionFound) place.begin = place.end = content.size();
  return place;
}

std::string_view unquoted(std::string_view value) {
  if (value.size() >= 2 && value.front() == value.back() && (value.front() == '"' || value.front() == '\'')) {
    return value.substr(1, value.size() - 2);
  }
  return value;
}

std::string_view cut(std::string_view text, std::size_t size) {
  const std::size_t most = size == 0 ? 0 : size - 1;
  if (text.size() <= most) return text;
  std::size_t end = most;
  const auto continues = [&](std::size_t at) {
    return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
  };
  while (end > 0 && most - end < 3 && continues(end)) --end;
  // Bytes that are no UTF-8 are cut where they are.
  return text.substr(0, continues(end) ? most : end);
}

std::string_view firstLine(std::string_view text) { return text.substr(0, text.find_first_of("\r\n\0"sv)); }

/// The content of a regular file; empty with errno set when it cannot be read.
std::optional<std::string> contentOf(const std::string& path) {
  FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  if (!file) return std::nullopt;
  struct stat info{};
  if (::fstat(file.get(), &info) != 0) return std::nullopt;
  if (!S_ISREG(info.st_mode)) {
    errno = EINVAL;
    return std::nullopt;
  }
  std::string content;
  std::size_t filled = 0;
  while (true) {
    // One more than it should hold shows the end without a second call to find it.
    const std::size_t room = std::max(static_cast<std::size_t>(info.st_size) + 1, filled + 4096);
    content.resize(room);
    const ssize_t count = ::read(file.get(), content.data() + filled, room - filled);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    filled += static_cast<std::size_t>(count);
    if (count == 0) break;
  }
  content.resize(filled);
  return content;
}

/// What the name leads to when it is a link, or a link to a link, also when nothing is there yet.
std::string linkTarget(std::string path) {
  for (int i = 0; i < kMostLinks; ++i) {
    std::array<char, PATH_MAX> target{};
    const ssize_t count = ::readlink(path.c_str(), target.data(), target.size());
    if (count <= 0) break;
    const std::string_view to(target.data(), static_cast<std::size_t>(count));
    if (to.starts_with('/')) {
      path = to;
    } else {
      path.resize(path.rfind('/') + 1);  // 0 when there is none
      path += to;
    }
  }
  return path;
}

/// The new file beside the old one, open and locked. Empty when that cannot be had.
FileDescriptor openNew(const std::string& path) {
  for (int attempt = 0; attempt < kLockAttempts; ++attempt) {
    FileDescriptor file(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, kOwnerOnly));
    struct stat opened{};
    if (!file || ::fstat(file.get(), &opened) != 0 || !S_ISREG(opened.st_mode)) return {};
    if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
      // Whoever had the lock may have made the file the real one meanwhile.
      struct stat named{};
      if (::stat(path.c_str(), &named) == 0 && named.st_ino == opened.st_ino &&
          named.st_dev == opened.st_dev) {
        return file;
      }
    } else {
      std::this_thread::sleep_for(kBetweenLockAttempts);
    }
  }
  return {};
}

bool fill(int fd, std::string_view content) {
  return ::ftruncate(fd, 0) == 0 && ::fchmod(fd, kOwnerOnly) == 0 && writeAll(fd, content) &&
         ::fsync(fd) == 0;
}

/// Makes a new name in a directory outlast a crash.
void syncDirectoryOf(const std::string& path) {
  const auto slash = path.rfind('/');
  const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  FileDescriptor descriptor(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (descriptor) ::fsync(descriptor.get());
}

/// The content with one key set.
std::string withKey(std::string_view content, std::string_view section, std::string_view key,
                    std::string_view value) {
  const Place place = find(content, section, key);
  std::string result(content.substr(0, place.begin));
  // The last line of a file need not have an end.
  if (place.begin == place.end && !result.empty() && result.back() != '\n' && result.back() != '\r' &&
      result != "\xEF\xBB\xBF") {
    result += base::kCrLf;
  }
  if (!place.sectionFound) result.append("[").append(section).append("]").append(base::kCrLf);
  result.append(place.entry ? place.entry->key : key).append("=").append(value).append(base::kCrLf);
  return result.append(content.substr(place.end));
}

bool canBeKey(std::string_view key) {
  return !key.empty() && key.find('=') == std::string_view::npos && key.front() != ';' && key.front() != '[';
}

bool hasMode(const std::string& path, mode_t mode) {
  struct stat info{};
  return ::stat(path.c_str(), &info) == 0 && (info.st_mode & 07777U) == mode;
}

}  // namespace

std::string PosixProfileFile::read(const std::string& section, const std::string& key,
                                   const std::string& fallback, std::size_t size, const std::string& path) {
  const auto content = contentOf(path);
  if (!content) return std::string(cut(fallback, size));
  const Place place = find(*content, base::trim(firstLine(section)), base::trim(firstLine(key)));
  return std::string(cut(place.entry ? unquoted(place.entry->value) : fallback, size));
}

bool PosixProfileFile::write(const std::string& section, const std::string& key, const std::string& value,
                             const std::string& path) {
  const std::string_view name = base::trim(firstLine(key));
  if (!canBeKey(name) || path.empty() || path.find('\0') != std::string::npos) return false;

  const std::string target = linkTarget(path);
  const std::string newPath = target + ".new";
  // The lock comes before the read, so that two writers do not lose each other's keys.
  FileDescriptor file = openNew(newPath);
  if (!file) return false;
  const auto content = contentOf(target);
  // A file that is there and cannot be read must not be replaced.
  const bool readable = content || errno == ENOENT;
  const std::string changed = readable ? withKey(content.value_or(std::string()),
                                                 base::trim(firstLine(section)), name, firstLine(value))
                                       : std::string();
  const bool same = content && *content == changed && hasMode(target, kOwnerOnly);
  if (!readable || same || !fill(file.get(), changed) || ::rename(newPath.c_str(), target.c_str()) != 0) {
    ::unlink(newPath.c_str());
    return same;
  }
  syncDirectoryOf(target);
  return true;
}

}  // namespace kova::platform::posix
