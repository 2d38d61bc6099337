#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/local_outlook/local_outlook.h"
#include "platform/local_outlook/unique_fd.h"

struct stat;

namespace kova::platform::local_outlook {

/// What tells one state of a file from another.
struct FileStamp {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t size = 0;
  std::int64_t modified = 0;  ///< microseconds since 1970
  std::int64_t changed = 0;   ///< nanoseconds since 1970

  friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

/// A file's number while it is in the folder; a number that became free is given out again.
using FileNumber = std::uint32_t;

/// Knows which files lie in a folder and says which of them changed since it was last asked.
///
/// Local file systems report changes (inotify). Where they cannot be relied on, the files are compared by
/// their stamps instead: on network file systems, when events were lost, and for files that have another name
/// elsewhere.
class WatchedFolder {
 public:
  using Accepts = std::function<bool(std::string_view name)>;

  WatchedFolder(std::string path, Accepts accepts, const Log& log);

  struct Changes {
    bool readable = true;             ///< false: the folder is there but cannot be read; it has no files then
    std::vector<FileNumber> touched;  ///< whatever was known of these is void
    std::vector<FileNumber> toRead;   ///< new or changed; a part of `touched`
    bool any() const { return !touched.empty(); }
  };
  Changes refresh();

  const std::string& path() const { return path_; }
  const std::string& name(FileNumber file) const { return files_[file].name; }
  std::string pathOf(FileNumber file) const { return path_ + "/" + name(file); }
  const FileStamp& stamp(FileNumber file) const { return files_[file].stamp; }
  /// One more than the highest number given out.
  std::size_t numberLimit() const { return files_.size(); }

  /// What is in a file, without a byte order mark. When it cannot be read, or is longer than `limit`, that is
  /// reported.
  std::optional<std::string> readBytes(FileNumber file, std::size_t limit);

  /// Logs what is wrong with a file, unless the same was said of the same state of it.
  void report(FileNumber file, const std::string& problem);

 private:
  struct KnownFile {
    std::string name;
    FileStamp stamp;
    std::string problem;
    FileStamp problemStamp;
    bool present = false;
    bool recent = false;     // so new that another change may leave the same stamp
    bool unwatched = false;  // changes to it need not be reported
    bool regular = false;
    std::uint32_t seenInScan = 0;
  };

  void reportFolder(const std::string& problem);
  void forgetAll(Changes& changes);
  void forget(FileNumber file, Changes& changes);
  void stopWatching();
  bool drainEvents(std::unordered_set<std::string>& names);
  bool startWatching(const struct stat& folder);
  bool scan(Changes& changes);
  void examine(int folder, const std::string& name, bool isKnownChanged, Changes& changes);
  FileNumber add(const std::string& name);

  std::string path_;
  Accepts accepts_;
  Log log_;
  std::string folderProblem_;
  std::vector<KnownFile> files_;
  std::vector<FileNumber> freeNumbers_;
  std::unordered_map<std::string, FileNumber> numbers_;
  std::unordered_set<FileNumber> unwatched_;
  UniqueFd events_;
  bool reliable_ = false;
  std::uint64_t device_ = 0;
  std::uint64_t inode_ = 0;
  std::uint32_t scanNumber_ = 0;
};

/// Accepts for names with one of the endings, such as ".ics", in any case, that are not hidden or temporary.
WatchedFolder::Accepts namesEndingIn(std::vector<std::string> endings);

/// True for names of hidden and temporary files.
bool isTemporaryName(std::string_view name);

/// A text for one line of the log: control characters are replaced.
std::string logText(std::string_view text);

}  // namespace kova::platform::local_outlook
