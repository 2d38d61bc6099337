#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include "platform/local_outlook/watched_folder.h"

namespace kova::platform::local_outlook {

/// The files whose entries are void, by number.
class FileSet {
 public:
  FileSet(const std::vector<FileNumber>& files, std::size_t numberLimit) : in_(numberLimit) {
    for (const FileNumber file : files) in_[file] = true;
  }
  bool contains(FileNumber file) const { return file < in_.size() && in_[file]; }

 private:
  std::vector<bool> in_;
};

/// Takes the entries of the void files out of a sorted list and puts new ones in, in one pass.
template <typename T, typename Less>
void updateSorted(std::vector<T>& list, const FileSet& voidFiles, std::vector<T> added, Less less) {
  std::erase_if(list, [&](const T& entry) { return voidFiles.contains(entry.file); });
  if (added.empty()) return;
  std::sort(added.begin(), added.end(), less);
  const auto middle = static_cast<std::ptrdiff_t>(list.size());
  list.insert(list.end(), std::make_move_iterator(added.begin()), std::make_move_iterator(added.end()));
  std::inplace_merge(list.begin(), list.begin() + middle, list.end(), less);
}

/// The same for a list that somebody may still be going through: he keeps the old one.
template <typename T, typename Less>
void updateShared(std::shared_ptr<std::vector<T>>& list, const FileSet& voidFiles, std::vector<T> added,
                  Less less) {
  if (list.use_count() > 1) list = std::make_shared<std::vector<T>>(*list);
  updateSorted(*list, voidFiles, std::move(added), less);
}

}  // namespace kova::platform::local_outlook
