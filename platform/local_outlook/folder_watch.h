#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

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

struct FileState {
  FileStamp stamp;
  bool regular = false;    ///< a link counts as what it leads to
  bool unwatched = false;  ///< changes to it need not be reported
};

/// How the system shows a folder and the changes in it. It remembers no file; that is for who asks.
///
/// On Linux, local file systems report changes (inotify). Everywhere else the files have to be compared, for
/// which the folder is read as a whole. On Windows what a program writes into a file that it holds open shows
/// when the file is closed, and what it writes through another name of the file (a hard link) may not show.
class FolderWatch {
 public:
  /// `path`: without a separator at its end.
  explicit FolderWatch(std::string path);
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;
  ~FolderWatch();

  enum class News {
    kNoFolder,  ///< not there, or cannot be used: problem() says why
    kSome,      ///< nothing but `changed` has changed since the last time, and maybe files that are unwatched
    kUnknown    ///< everything has to be compared
  };
  /// What is new since it was last asked.
  News ask(std::unordered_set<std::string>& changed);

  using Accepts = std::function<bool(std::string_view name)>;
  using Found = std::function<void(const std::string& name, const std::optional<FileState>& state)>;

  /// Tells of every file with an accepted name. False when the folder cannot be read.
  bool readAll(const Accepts& accepts, const Found& found);
  /// Tells of these names; they have no state when there is no file of that name. False when the folder
  /// cannot be read.
  bool read(const std::vector<std::string>& names, const Found& found);

  /// Why the folder cannot be read; "" when it is not there, which is no problem.
  const std::string& problem() const { return problem_; }
  /// Two changes to a file that lie apart less than this may leave the same stamp; nanoseconds.
  std::int64_t tick() const;

 private:
  struct System;

  std::string path_;
  std::string problem_;
  std::unique_ptr<System> system_;
};

}  // namespace kova::platform::local_outlook
