#pragma once

#include <vector>

#include "platform/local_outlook/appointment.h"
#include "platform/local_outlook/sorted_list.h"

namespace kova::platform::local_outlook {

/// Occurrences sorted by start, then folder order, so that those of a day are found without going through
/// all.
class OccurrenceTable {
 public:
  /// `order` must outlive the table.
  explicit OccurrenceTable(const FolderOrder& order) : order_(order) {}

  void update(const FileSet& voidFiles, std::vector<Occurrence> added);

  /// Appends pointers to the occurrences with start < `before` and end > `after`.
  void findRunning(WallTime before, WallTime after, std::vector<const Occurrence*>& found) const;
  /// Appends those with from <= start < to.
  void findStarting(WallTime from, WallTime to, std::vector<const Occurrence*>& found) const;

  const std::vector<Occurrence>& all() const { return list_; }

 private:
  std::size_t firstFrom(WallTime start) const;

  const FolderOrder& order_;
  std::vector<Occurrence> list_;
  // The latest end within each block of the list, so that whole blocks that are over are passed over.
  std::vector<WallTime> latestEnds_;
};

/// Start, then folder order.
bool startsBefore(const FolderOrder& order, const Occurrence& a, const Occurrence& b);

}  // namespace kova::platform::local_outlook
