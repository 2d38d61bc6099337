#include "platform/local_outlook/inbox_store.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/text.h"
#include "platform/local_outlook/item_kinds.h"
#include "platform/local_outlook/local_time.h"
#include "platform/local_outlook/mail_text.h"
#include "platform/local_outlook/sorted_list.h"

namespace kova::platform::local_outlook {
namespace {

/// The flags of a message stand behind ":2," in its name.
bool isSeen(std::string_view name) {
  const auto mark = name.rfind(":2,");
  return mark != std::string_view::npos && name.substr(mark + 3).find('S') != std::string_view::npos;
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
      new_(path + "/new", isMailName, log),
      current_(path + "/cur", isMailName, log) {}

bool InboxStore::refresh(WatchedFolder& folder, std::shared_ptr<std::vector<Entry>>& entries, bool isNew) {
  const WatchedFolder::Changes changes = folder.refresh();
  if (!changes.any()) return false;
  std::vector<Entry> added;
  for (const FileNumber file : changes.toRead) {
    const std::string path = folder.pathOf(file);
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0) {
      if (errno != ENOENT) folder.report(file, std::strerror(errno));
      continue;
    }
    if (!S_ISREG(status.st_mode)) {
      folder.report(file, "is not a regular file");
      continue;
    }
    if (::access(path.c_str(), R_OK) != 0) {
      folder.report(file, std::strerror(errno));
      continue;
    }
    const FileStamp& stamp = folder.stamp(file);
    const bool unread = isNew || !isSeen(folder.name(file));
    added.push_back({{stamp.modified, file, 0}, std::make_shared<const Mail>(path, stamp, unread)});
  }
  updateShared(entries, FileSet(changes.touched, folder.numberLimit()), std::move(added),
               FolderOrder(folder));
  return true;
}

std::unique_ptr<outlook::Items> InboxStore::items() {
  struct stat status{};
  std::string problem;
  if (::stat(path_.c_str(), &status) != 0) {
    if (errno != ENOENT) problem = std::strerror(errno);
  } else if (!S_ISDIR(status.st_mode)) {
    problem = "is not a folder";
  }
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
