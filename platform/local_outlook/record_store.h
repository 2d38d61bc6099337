#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/local_outlook/record.h"
#include "platform/local_outlook/sorted_list.h"

namespace kova::platform::local_outlook {

/// What was read from one file.
struct ReadRecords {
  struct One {
    std::shared_ptr<const Record> record;
    std::optional<std::int64_t> added;  ///< microseconds since 1970; the file's time when it does not say
  };
  std::vector<One> records;  ///< as they follow in the file
  std::string problem;       ///< what could not be read, in words for the log; "" when all could
};

/// A folder of files with items that neither recur nor have a sort order of their own: contacts, tasks,
/// notes.
class RecordStore {
 public:
  using Read = std::function<ReadRecords(std::string_view fileName, const std::string& bytes)>;

  /// `maxFileSize`: bytes; longer files are left out.
  RecordStore(std::string path, WatchedFolder::Accepts accepts, std::size_t maxFileSize, Read read,
              const Log& log)
      : folder_(std::move(path), std::move(accepts), log),
        maxFileSize_(maxFileSize),
        read_(std::move(read)) {}

  /// Brings everything up to date with the files; null when the folder cannot be read.
  std::unique_ptr<outlook::Items> items();

 private:
  WatchedFolder folder_;
  FolderOrder order_{folder_};
  std::size_t maxFileSize_;
  Read read_;
  std::shared_ptr<std::vector<Entry>> entries_ = std::make_shared<std::vector<Entry>>();
};

}  // namespace kova::platform::local_outlook
