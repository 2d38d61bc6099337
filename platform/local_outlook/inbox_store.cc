#include "platform/local_outlook/inbox_store.h"

#include <algorithm>

#include "base/text.h"
#include "platform/local_outlook/item_kinds.h"
#include "platform/local_outlook/local_time.h"
#include "platform/local_outlook/mail_text.h"
#include "platform/local_outlook/read_file.h"
#include "platform/local_outlook/sorted_list.h"

namespace kova::platform::local_outlook {
namespace {

/// The flags of a message stand behind ":2," in its name. Where a name can have no colon, mail programs write
/// ";" or "!" for it.
bool isSeen(std::string_view name) {
  for (auto mark = name.rfind("2,"); mark != std::string_view::npos && mark > 0;
       mark = name.rfind("2,", mark - 1))
    if (std::string_view(":;!").find(name[mark - 1]) != std::string_view::npos)
      return name.substr(mark + 2).find('S') != std::string_view::npos;
  return false;
}

class Mail final : public Record {
 public:
  Mail(std::string path, const FileStamp& stamp, bool unread)
      : path_(std::move(path)),
        size_(stamp.size),
        received_(floorDiv(stamp.modified, 1'000'000)),
        unread_(unread) {}

  std::optional<std::string> text(TextProperty property) const override {
    if (property == TextProperty::kSubject) {
      if (!subject_) subject_ = readSubject(path_);
      return subject_;
    }
    if (property == TextProperty::kBody) return readBody(path_);
    return std::nullopt;
  }
  std::optional<long> number(NumberProperty property) const override {
    if (property == NumberProperty::kSize) return static_cast<long>(size_);
    return std::nullopt;
  }
  std::optional<bool> flag(FlagProperty property) const override {
    if (property == FlagProperty::kUnRead) return unread_;
    return std::nullopt;
  }
  std::optional<DateTime> date(DateProperty property) const override {
    if (property == DateProperty::kReceivedTime) return base::fromWallSeconds(localFromInstant(received_));
    return std::nullopt;
  }

 private:
  std::string path_;
  std::int64_t size_;
  Instant received_;
  bool unread_;
  mutable std::optional<std::string> subject_;  // once asked for: the file is another Mail when it changes
};

bool isMailName(std::string_view name) { return !isTemporaryName(name); }

}  // namespace

InboxStore::InboxStore(const std::string& path, const Log& log)
    : log_(log),
      path_(path),
      new_(path + kSeparator + "new", isMailName, log),
      current_(path + kSeparator + "cur", isMailName, log) {}

bool InboxStore::refresh(WatchedFolder& folder, std::shared_ptr<std::vector<Entry>>& entries, bool isNew) {
  const WatchedFolder::Changes changes = folder.refresh();
  if (!changes.any()) return false;
  std::vector<Entry> added;
  for (const FileNumber file : changes.toRead) {
    const std::string path = folder.pathOf(file);
    if (!folder.check(file)) continue;
    const FileStamp& stamp = folder.stamp(file);
    const bool unread = isNew || !isSeen(folder.name(file));
    added.push_back({{stamp.modified, file, 0}, std::make_shared<const Mail>(path, stamp, unread)});
  }
  updateShared(entries, FileSet(changes.touched, folder.numberLimit()), std::move(added),
               FolderOrder(folder));
  return true;
}

std::unique_ptr<outlook::Items> InboxStore::items() {
  const std::string problem = folderAccess(path_).problem;
  if (problem != problem_ && !problem.empty()) log_(logText(path_ + ": " + problem));
  problem_ = problem;
  if (!problem.empty()) return nullptr;

  const bool newChanged = refresh(new_, newMail_, true);
  const bool currentChanged = refresh(current_, currentMail_, false);
  if (newChanged || currentChanged) {
    // Messages sort by time of receipt, which is the folder's own order too; of two at one time the one in
    // cur/, which was fetched before, comes first.
    auto all = std::make_shared<std::vector<Entry>>();
    all->reserve(newMail_->size() + currentMail_->size());
    std::merge(currentMail_->begin(), currentMail_->end(), newMail_->begin(), newMail_->end(),
               std::back_inserter(*all), [](const Entry& a, const Entry& b) { return a.added < b.added; });
    all_ = std::move(all);
  }
  return std::make_unique<RecordItems>(all_, "[ReceivedTime]");
}

}  // namespace kova::platform::local_outlook
