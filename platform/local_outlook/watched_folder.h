#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/local_outlook/folder_watch.h"
#include "platform/local_outlook/local_outlook.h"
#include "platform/local_outlook/read_file.h"

namespace kova::platform::local_outlook {

/// A file's number while it is in the folder; a number that became free is given out again.
using FileNumber = std::uint32_t;

/// Knows which files lie in a folder and says which of them changed since it was last asked.
///
/// Where the system reports changes, only those are looked at. Where that cannot be relied on, the files are
/// compared by their stamps instead: on network file systems, when reports were lost, and for files that have
/// another name elsewhere.
class WatchedFolder {
 public:
  using Accepts = FolderWatch::Accepts;

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
  std::string pathOf(FileNumber file) const { return path_ + kSeparator + name(file); }
  const FileStamp& stamp(FileNumber file) const { return files_[file].stamp; }
  /// One more than the highest number given out.
  std::size_t numberLimit() const { return files_.size(); }

  /// What is in a file, without a byte order mark. When it cannot be read, or is longer than `limit`, that is
  /// reported.
  std::optional<std::string> readBytes(FileNumber file, std::size_t limit);

  /// True when a file can be read; when it cannot, that is reported.
  bool check(FileNumber file);

  /// Logs what is wrong with a file, unless the same was said of the same state of it.
  void report(FileNumber file, const std::string& problem);

 private:
  struct KnownFile {
    std::string name;
    FileStamp stamp;
    std::string problem;
    FileStamp problemStamp;
    bool present = false;
    bool recent = false;  // so new that another change may leave the same stamp
    bool regular = false;
    std::uint32_t seenInScan = 0;
  };

  void reportFolder(const std::string& problem);
  void forgetAll(Changes& changes);
  void forget(FileNumber file, Changes& changes);
  bool scan(Changes& changes);
  bool lookAt(const std::unordered_set<std::string>& reported, Changes& changes);
  void examine(const std::string& name, const std::optional<FileState>& state, bool isKnownChanged,
               Changes& changes);
  bool accept(FileNumber file, const Access& access);
  FileNumber add(const std::string& name);

  std::string path_;
  Accepts accepts_;
  Log log_;
  FolderWatch watch_;
  std::string folderProblem_;
  std::vector<KnownFile> files_;
  std::vector<FileNumber> freeNumbers_;
  std::unordered_map<std::string, FileNumber> numbers_;
  std::unordered_set<FileNumber> unwatched_;
  std::uint32_t scanNumber_ = 0;
};

/// Accepts for names with one of the endings, such as ".ics", in any case, that are not hidden or temporary.
WatchedFolder::Accepts namesEndingIn(std::vector<std::string> endings);

/// True for names of hidden and temporary files.
bool isTemporaryName(std::string_view name);

/// A text for one line of the log: control characters are replaced.
std::string logText(std::string_view text);

}  // namespace kova::platform::local_outlook
