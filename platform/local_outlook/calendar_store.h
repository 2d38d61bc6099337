#pragma once

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "platform/local_outlook/calendar_filter.h"
#include "platform/local_outlook/calendar_reading.h"
#include "platform/local_outlook/occurrence_table.h"

namespace kova::platform::local_outlook {

/// The calendar folder.
class CalendarStore : public std::enable_shared_from_this<CalendarStore> {
 public:
  using Occurrences = std::shared_ptr<const std::vector<Occurrence>>;

  CalendarStore(std::string path, const Log& log);

  /// Brings everything up to date with the files; null when the folder cannot be read.
  std::unique_ptr<outlook::Items> items();

  /// Every appointment, a series as its first occurrence.
  Occurrences all(bool sortedByStart);
  /// What matches a filter; series with each occurrence or, else, as their first one.
  Occurrences matching(const CalendarFilter& filter, bool sortedByStart, bool withRecurrences);

 private:
  struct StoredSeries : PlacedSeries {
    FileNumber file = 0;
    bool reported = false;
  };
  /// All occurrences of series that lie, wholly or in part, in some years.
  struct Years {
    int first = 0;
    int last = 0;
    OccurrenceTable table;
  };

  bool refresh();
  const Years& yearsFor(int first, int last);
  std::vector<Occurrence> expandAll(const Years& years, const FileSet* onlyFiles);

  WatchedFolder folder_;
  FolderOrder order_{folder_};
  ZoneCache zones_;
  OccurrenceTable single_{order_};
  std::vector<StoredSeries> series_;
  std::list<Years> years_;  // the ones used last first
  Occurrences allInOrder_;
  Occurrences allSorted_;
};

}  // namespace kova::platform::local_outlook
