#include "platform/local_outlook/occurrence_table.h"

#include <algorithm>

namespace kova::platform::local_outlook {
namespace {

constexpr std::size_t kBlock = 128;

}  // namespace

bool startsBefore(const FolderOrder& order, const Occurrence& a, const Occurrence& b) {
  return a.start != b.start ? a.start < b.start : order(a, b);
}

void OccurrenceTable::update(const FileSet& voidFiles, std::vector<Occurrence> added) {
  updateSorted(list_, voidFiles, std::move(added),
               [&](const Occurrence& a, const Occurrence& b) { return startsBefore(order_, a, b); });
  latestEnds_.clear();
  for (std::size_t i = 0; i < list_.size(); ++i) {
    if (i % kBlock == 0)
      latestEnds_.push_back(list_[i].end);
    else
      latestEnds_.back() = std::max(latestEnds_.back(), list_[i].end);
  }
}

std::size_t OccurrenceTable::firstFrom(WallTime start) const {
  const auto found = std::ranges::lower_bound(list_, start, {}, &Occurrence::start);
  return static_cast<std::size_t>(found - list_.begin());
}

void OccurrenceTable::findRunning(WallTime before, WallTime after,
                                  std::vector<const Occurrence*>& found) const {
  const std::size_t stop = firstFrom(before);
  for (std::size_t block = 0; block * kBlock < stop; ++block) {
    if (latestEnds_[block] <= after) continue;
    const std::size_t end = std::min(stop, (block + 1) * kBlock);
    for (std::size_t i = block * kBlock; i < end; ++i)
      if (list_[i].end > after) found.push_back(&list_[i]);
  }
}

void OccurrenceTable::findStarting(WallTime from, WallTime to, std::vector<const Occurrence*>& found) const {
  for (std::size_t i = firstFrom(from); i < list_.size() && list_[i].start < to; ++i)
    found.push_back(&list_[i]);
}

}  // namespace kova::platform::local_outlook
