#include "platform/local_outlook/record_store.h"

namespace kova::platform::local_outlook {

std::unique_ptr<outlook::Items> RecordStore::items() {
  const WatchedFolder::Changes changes = folder_.refresh();
  if (changes.any()) {
    std::vector<Entry> added;
    for (const FileNumber file : changes.toRead) {
      const auto bytes = folder_.readBytes(file, maxFileSize_);
      if (!bytes) continue;
      ReadRecords read = read_(folder_.name(file), *bytes);
      if (!read.problem.empty()) folder_.report(file, read.problem);
      std::uint32_t position = 0;
      for (ReadRecords::One& one : read.records)
        added.push_back(
            {{one.added.value_or(folder_.stamp(file).modified), file, position++}, std::move(one.record)});
    }
    updateShared(entries_, FileSet(changes.touched, folder_.numberLimit()), std::move(added), order_);
  }
  if (!changes.readable) return nullptr;
  return std::make_unique<RecordItems>(entries_, "");
}

}  // namespace kova::platform::local_outlook
