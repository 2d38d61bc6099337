#include "platform/local_outlook/local_outlook.h"

#include <gmime/gmime.h>
#include <libical/ical.h>

#include "platform/local_outlook/calendar_store.h"
#include "platform/local_outlook/contacts.h"
#include "platform/local_outlook/inbox_store.h"
#include "platform/local_outlook/local_time.h"
#include "platform/local_outlook/new_items.h"
#include "platform/local_outlook/notes.h"
#include "platform/local_outlook/record_store.h"
#include "platform/local_outlook/tasks.h"

namespace kova::platform::local_outlook {
namespace {

// A file may hold a whole calendar or address book; a note is held in memory as it is.
constexpr std::size_t kMaxListSize = std::size_t{256} << 20;
constexpr std::size_t kMaxNoteSize = std::size_t{16} << 20;

}  // namespace

class LocalOutlook::Stores {
 public:
  Stores(Folders where, Log logLine)
      : folders(std::move(where)),
        log(logLine ? std::move(logLine) : [](const std::string&) {}),
        calendar(std::make_shared<CalendarStore>(folders.calendar, log)),
        contacts(folders.contacts, namesEndingIn({".vcf"}), kMaxListSize, readContacts, log),
        tasks(
            folders.tasks, namesEndingIn({".ics"}), kMaxListSize,
            [this](std::string_view, const std::string& text) { return readTasks(text, zones); }, log),
        notes(
            folders.notes, namesEndingIn({".ics", ".txt", ".md"}), kMaxNoteSize,
            [this](std::string_view name, const std::string& text) { return readNotes(name, text, zones); },
            log),
        inbox(folders.inbox, log) {}

  const Folders folders;
  const Log log;
  ZoneCache zones;
  std::shared_ptr<CalendarStore> calendar;
  RecordStore contacts;
  RecordStore tasks;
  RecordStore notes;
  InboxStore inbox;
};

namespace {

using Stores = LocalOutlook::Stores;

class LocalFolder final : public outlook::Folder {
 public:
  LocalFolder(std::shared_ptr<Stores> stores, outlook::FolderNumber number)
      : stores_(std::move(stores)), number_(number) {}

  std::unique_ptr<outlook::Items> items() override {
    switch (number_) {
      case outlook::FolderNumber::kInbox:
        return stores_->inbox.items();
      case outlook::FolderNumber::kCalendar:
        return stores_->calendar->items();
      case outlook::FolderNumber::kContacts:
        return stores_->contacts.items();
      case outlook::FolderNumber::kNotes:
        return stores_->notes.items();
      case outlook::FolderNumber::kTasks:
        return stores_->tasks.items();
    }
    return nullptr;
  }

 private:
  std::shared_ptr<Stores> stores_;
  outlook::FolderNumber number_;
};

class LocalNameSpace final : public outlook::NameSpace {
 public:
  explicit LocalNameSpace(std::shared_ptr<Stores> stores) : stores_(std::move(stores)) {}
  std::unique_ptr<outlook::Folder> getDefaultFolder(outlook::FolderNumber number) override {
    return std::make_unique<LocalFolder>(stores_, number);
  }

 private:
  std::shared_ptr<Stores> stores_;
};

class LocalApplication final : public outlook::Application {
 public:
  explicit LocalApplication(std::shared_ptr<Stores> stores) : stores_(std::move(stores)) {}
  std::unique_ptr<outlook::NameSpace> getNamespace(std::string_view type) override {
    if (type != "MAPI") return nullptr;
    return std::make_unique<LocalNameSpace>(stores_);
  }
  std::unique_ptr<outlook::Item> createItem(outlook::ItemNumber number) override {
    return makeNewItem(number, stores_->folders, stores_->log);
  }

 private:
  std::shared_ptr<Stores> stores_;
};

}  // namespace

LocalOutlook::LocalOutlook(Folders folders, Log log) {
  readTimeZone();
  icalerror_set_errors_are_fatal(false);
  g_mime_init();
  stores_ = std::make_shared<Stores>(std::move(folders), std::move(log));
}

LocalOutlook::~LocalOutlook() = default;

std::unique_ptr<outlook::Application> LocalOutlook::createObject(std::string_view programId) {
  if (programId != "Outlook.Application") return nullptr;
  return std::make_unique<LocalApplication>(stores_);
}

}  // namespace kova::platform::local_outlook
