#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/date_time.h"
#include "platform/local_outlook/watched_folder.h"
#include "platform/outlook.h"

namespace kova::platform::local_outlook {

using outlook::DateProperty;
using outlook::FlagProperty;
using outlook::NumberProperty;
using outlook::TextProperty;

/// What a file says about one item. Never changes once it is read, so that an item in use outlives its file.
class Record {
 public:
  virtual ~Record() = default;
  virtual std::optional<std::string> text(TextProperty) const { return std::nullopt; }
  virtual std::optional<long> number(NumberProperty) const { return std::nullopt; }
  virtual std::optional<bool> flag(FlagProperty) const { return std::nullopt; }
  virtual std::optional<DateTime> date(DateProperty) const { return std::nullopt; }
};

/// Where an item stands in its folder's own order.
struct Place {
  std::int64_t added = 0;  ///< microseconds since 1970
  FileNumber file = 0;
  std::uint32_t position = 0;  ///< in the file
};

/// The folder order: when an item was added, then file name, then position in the file.
class FolderOrder {
 public:
  explicit FolderOrder(const WatchedFolder& folder) : folder_(folder) {}
  bool operator()(const Place& a, const Place& b) const {
    if (a.added != b.added) return a.added < b.added;
    if (a.file != b.file) return folder_.name(a.file) < folder_.name(b.file);
    return a.position < b.position;
  }

 private:
  const WatchedFolder& folder_;
};

struct Entry : Place {
  std::shared_ptr<const Record> record;
};

/// An item that was read; it cannot be changed.
class RecordItem final : public outlook::Item {
 public:
  RecordItem(std::shared_ptr<const std::vector<Entry>> entries, const Record& record)
      : entries_(std::move(entries)), record_(record) {}

  std::optional<std::string> text(TextProperty property) override { return record_.text(property); }
  std::optional<long> number(NumberProperty property) override { return record_.number(property); }
  std::optional<bool> flag(FlagProperty property) override { return record_.flag(property); }
  std::optional<DateTime> date(DateProperty property) override { return record_.date(property); }

  bool setText(TextProperty, std::string_view) override { return false; }
  bool setNumber(NumberProperty, long) override { return false; }
  bool setFlag(FlagProperty, bool) override { return false; }
  bool setDate(DateProperty, const DateTime&) override { return false; }
  bool save() override { return false; }

 private:
  // Keeps the record; all items of a list share this one count, which costs less than to touch each record's
  // own.
  std::shared_ptr<const std::vector<Entry>> entries_;
  const Record& record_;
};

/// Items in a fixed order.
class RecordItems final : public outlook::Items {
 public:
  /// `sortKey`: the one key by which the entries are sorted already; "" when there is none.
  RecordItems(std::shared_ptr<const std::vector<Entry>> entries, std::string_view sortKey)
      : entries_(std::move(entries)), sortKey_(sortKey) {}

  bool sort(std::string_view key) override { return !sortKey_.empty() && key == sortKey_; }
  void setIncludeRecurrences(bool) override {}
  std::unique_ptr<outlook::Items> restrict(std::string_view) override { return nullptr; }
  std::unique_ptr<outlook::Item> getFirst() override {
    next_ = 0;
    return getNext();
  }
  std::unique_ptr<outlook::Item> getNext() override {
    if (next_ >= entries_->size()) return nullptr;
    return std::make_unique<RecordItem>(entries_, *(*entries_)[next_++].record);
  }

 private:
  std::shared_ptr<const std::vector<Entry>> entries_;
  std::string_view sortKey_;
  std::size_t next_ = 0;
};

}  // namespace kova::platform::local_outlook
