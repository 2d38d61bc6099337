#include "platform/local_outlook/calendar_store.h"

#include <algorithm>

#include "base/text.h"

namespace kova::platform::local_outlook {
namespace {

// One file may hold a whole life.
constexpr std::size_t kMaxFileSize = std::size_t{256} << 20;
// A month that runs into the next year needs two years; the rest is for phones that look back and ahead.
constexpr std::size_t kMaxKeptYears = 4;
constexpr std::size_t kMaxOccurrencesInYears = 2'000'000;
// The times that the calendar can show at all.
constexpr int kFirstYear = 1600;
constexpr int kLastYear = 4500;

WallTime startOfYear(int year) { return base::wallSeconds({year, 1, 1, 0, 0, 0}); }

class CalendarItems final : public outlook::Items {
 public:
  explicit CalendarItems(std::shared_ptr<CalendarStore> store) : store_(std::move(store)) {}

  bool sort(std::string_view key) override {
    if (base::asciiLower(key) != "[start]") return false;
    sorted_ = true;
    if (!restricted_) list_.reset();
    return true;
  }

  void setIncludeRecurrences(bool on) override { withRecurrences_ = on; }

  std::unique_ptr<outlook::Items> restrict(std::string_view text) override {
    const auto filter = parseCalendarFilter(text);
    if (!filter || restricted_) return nullptr;
    auto result = std::make_unique<CalendarItems>(store_);
    result->sorted_ = sorted_;
    result->withRecurrences_ = withRecurrences_;
    result->restricted_ = true;
    result->list_ = store_->matching(*filter, sorted_, withRecurrences_);
    return result;
  }

  std::unique_ptr<outlook::Item> getFirst() override {
    next_ = 0;
    return getNext();
  }

  std::unique_ptr<outlook::Item> getNext() override {
    if (!list_) list_ = store_->all(sorted_);
    if (next_ >= list_->size()) return nullptr;
    return std::make_unique<AppointmentItem>((*list_)[next_++]);
  }

 private:
  std::shared_ptr<CalendarStore> store_;
  CalendarStore::Occurrences list_;
  bool sorted_ = false;
  bool withRecurrences_ = false;
  bool restricted_ = false;
  std::size_t next_ = 0;
};

}  // namespace

CalendarStore::CalendarStore(std::string path, const Log& log)
    : folder_(std::move(path), namesEndingIn({".ics"}), log) {}

std::unique_ptr<outlook::Items> CalendarStore::items() {
  if (!refresh()) return nullptr;
  return std::make_unique<CalendarItems>(shared_from_this());
}

bool CalendarStore::refresh() {
  const WatchedFolder::Changes changes = folder_.refresh();
  if (!changes.any()) return changes.readable;

  const FileSet touched(changes.touched, folder_.numberLimit());
  std::vector<Occurrence> single;
  std::erase_if(series_, [&](const StoredSeries& stored) { return touched.contains(stored.file); });
  for (const FileNumber file : changes.toRead) {
    const auto bytes = folder_.readBytes(file, kMaxFileSize);
    if (!bytes) continue;
    ReadCalendar read = readCalendar(*bytes, folder_.stamp(file).modified, file, zones_);
    if (!read.problem.empty()) folder_.report(file, read.problem);
    std::ranges::move(read.single, std::back_inserter(single));
    for (PlacedSeries& series : read.series) series_.push_back({std::move(series), file, false});
  }
  single_.update(touched, std::move(single));
  for (Years& years : years_) years.table.update(touched, expandAll(years, &touched));
  allInOrder_.reset();
  allSorted_.reset();
  return changes.readable;
}

/// The occurrences of the series, or of those in some files only.
std::vector<Occurrence> CalendarStore::expandAll(const Years& years, const FileSet* onlyFiles) {
  std::vector<Occurrence> found;
  for (StoredSeries& stored : series_) {
    if (onlyFiles != nullptr && !onlyFiles->contains(stored.file)) continue;
    Expansion expansion = expand(*stored.series, startOfYear(years.first), startOfYear(years.last + 1));
    if (found.size() + expansion.occurrences.size() > kMaxOccurrencesInYears) {
      expansion.tooMany = true;
      expansion.occurrences.clear();
    }
    if ((expansion.tooMany || expansion.unreadable) && !stored.reported) {
      stored.reported = true;
      folder_.report(stored.file, expansion.tooMany
                                      ? "an appointment recurs too often; not all of it is shown"
                                      : "a recurrence that cannot be read is left out");
    }
    for (Occurrence& occurrence : expansion.occurrences) {
      occurrence.added = stored.first.added;
      occurrence.file = stored.first.file;
      occurrence.position = stored.first.position;
      found.push_back(std::move(occurrence));
    }
  }
  return found;
}

const CalendarStore::Years& CalendarStore::yearsFor(int first, int last) {
  first = std::clamp(first, kFirstYear, kLastYear);
  last = std::clamp(last, first, kLastYear);
  const auto known = std::ranges::find_if(
      years_, [&](const Years& years) { return years.first == first && years.last == last; });
  if (known != years_.end()) {
    years_.splice(years_.begin(), years_, known);
    return years_.front();
  }
  if (years_.size() == kMaxKeptYears) years_.pop_back();
  years_.push_front({first, last, OccurrenceTable(order_)});
  years_.front().table.update(FileSet({}, 0), expandAll(years_.front(), nullptr));
  return years_.front();
}

CalendarStore::Occurrences CalendarStore::all(bool sortedByStart) {
  Occurrences& kept = sortedByStart ? allSorted_ : allInOrder_;
  if (kept) return kept;
  std::vector<Occurrence> list;
  for (const Occurrence& occurrence : single_.all())
    if (!occurrence.isException) list.push_back(occurrence);
  for (const StoredSeries& stored : series_) list.push_back(stored.first);
  if (sortedByStart)
    std::ranges::sort(list,
                      [&](const Occurrence& a, const Occurrence& b) { return startsBefore(order_, a, b); });
  else
    std::ranges::sort(list, order_);
  kept = std::make_shared<const std::vector<Occurrence>>(std::move(list));
  return kept;
}

CalendarStore::Occurrences CalendarStore::matching(const CalendarFilter& filter, bool sortedByStart,
                                                   bool withRecurrences) {
  std::vector<const Occurrence*> found;
  const bool isRunning = filter.kind == CalendarFilter::Kind::kRunning;
  const auto collect = [&](const OccurrenceTable& table) {
    if (isRunning)
      table.findRunning(filter.first, filter.second, found);
    else
      table.findStarting(filter.first, filter.second, found);
  };
  collect(single_);
  std::vector<Occurrence> list;
  if (withRecurrences) {
    // Running over a moment: what does lies in its year. Else the whole stretch between the two bounds.
    const WallTime from = std::min(filter.first, filter.second);
    const WallTime to = isRunning ? std::max(from, filter.first - 1) : std::max(from, filter.second - 1);
    const WallTime until = isRunning && filter.first <= filter.second ? from : to;
    if (isRunning || filter.first < filter.second)
      collect(yearsFor(base::fromWallSeconds(from).year, base::fromWallSeconds(until).year).table);
  } else {
    std::erase_if(found, [](const Occurrence* occurrence) { return occurrence->isException; });
    for (const StoredSeries& stored : series_) {
      const bool matches = isRunning
                               ? stored.first.start < filter.first && stored.first.end > filter.second
                               : stored.first.start >= filter.first && stored.first.start < filter.second;
      if (matches) found.push_back(&stored.first);
    }
  }
  std::ranges::sort(found, [&](const Occurrence* a, const Occurrence* b) {
    if (sortedByStart) return startsBefore(order_, *a, *b);
    return order_(*a, *b) || (!order_(*b, *a) && a->start < b->start);
  });
  list.reserve(found.size());
  for (const Occurrence* occurrence : found) list.push_back(*occurrence);
  return std::make_shared<const std::vector<Occurrence>>(std::move(list));
}

}  // namespace kova::platform::local_outlook
