#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/date_format.h"
#include "platform/outlook.h"

namespace kova::fakes {

namespace outlook = platform::outlook;

/// The stored values of one item. A property that was never given reads as failed.
struct OutlookRecord {
  std::map<outlook::TextProperty, std::string> texts;
  std::map<outlook::NumberProperty, long> numbers;
  std::map<outlook::FlagProperty, bool> flags;
  std::map<outlook::DateProperty, platform::DateTime> dates;
};

inline OutlookRecord contactRecord(const std::string& last, const std::string& first) {
  using T = outlook::TextProperty;
  OutlookRecord record;
  record.texts = {{T::kLastNameAndFirstName, last + ", " + first},
                  {T::kLastName, last},
                  {T::kFirstName, first},
                  {T::kFullName, first + " " + last}};
  for (const T property : {T::kJobTitle, T::kTitle, T::kCompanyName, T::kBusinessTelephoneNumber,
                           T::kBusinessFaxNumber, T::kHomeTelephoneNumber, T::kHome2TelephoneNumber,
                           T::kMobileTelephoneNumber, T::kPagerNumber, T::kWebPage, T::kEmail1Address}) {
    record.texts[property] = "";
  }
  return record;
}

inline OutlookRecord mailRecord(const std::string& subject, const platform::DateTime& received, bool unread,
                                const std::string& body = "", long size = 0) {
  OutlookRecord record;
  record.texts = {{outlook::TextProperty::kSubject, subject}, {outlook::TextProperty::kBody, body}};
  record.numbers = {{outlook::NumberProperty::kSize, size}};
  record.flags = {{outlook::FlagProperty::kUnRead, unread}};
  record.dates = {{outlook::DateProperty::kReceivedTime, received}};
  return record;
}

inline OutlookRecord taskRecord(const std::string& subject, const std::string& body = "") {
  const platform::DateTime none{4501, 1, 1, 0, 0, 0};
  OutlookRecord record;
  record.texts = {{outlook::TextProperty::kSubject, subject}, {outlook::TextProperty::kBody, body}};
  record.numbers = {{outlook::NumberProperty::kPercentComplete, 0}};
  record.dates = {{outlook::DateProperty::kStartDate, none}, {outlook::DateProperty::kDueDate, none}};
  return record;
}

inline OutlookRecord noteRecord(const std::string& body) {
  OutlookRecord record;
  record.texts = {{outlook::TextProperty::kSubject, body.substr(0, body.find('\r'))},
                  {outlook::TextProperty::kBody, body}};
  return record;
}

inline OutlookRecord appointmentRecord(const std::string& subject, const platform::DateTime& start,
                                       const platform::DateTime& end, bool allDay = false) {
  OutlookRecord record;
  record.texts = {{outlook::TextProperty::kSubject, subject},
                  {outlook::TextProperty::kLocation, ""},
                  {outlook::TextProperty::kBody, ""}};
  record.numbers = {{outlook::NumberProperty::kReminderMinutesBeforeStart, 0}};
  record.flags = {{outlook::FlagProperty::kAllDayEvent, allDay},
                  {outlook::FlagProperty::kReminderSet, false}};
  record.dates = {{outlook::DateProperty::kStart, start}, {outlook::DateProperty::kEnd, end}};
  return record;
}

/// Outlook in memory: every call is noted, and any of them can be made to fail.
class FakeOutlook final : public outlook::Automation {
 public:
  std::map<outlook::FolderNumber, std::vector<OutlookRecord>> folders;

  /// Every call so far: "createObject Outlook.Application", "sort [Start]", "setText FullName=Ann", "save".
  std::vector<std::string> calls;
  /// The call with this index in `calls` fails, once.
  std::optional<std::size_t> failingCall;
  /// Every call whose text begins so fails. Empty: none.
  std::string failing;
  /// Called after each call was noted; may change the folders' records.
  std::function<void(const std::string& call)> onCall;

  int liveObjects = 0;  ///< applications, namespaces, folders, collections and items that exist now

  std::unique_ptr<outlook::Application> createObject(std::string_view programId) override {
    if (!note("createObject " + std::string(programId))) return nullptr;
    return std::make_unique<App>(*this);
  }

 private:
  using Selection = std::vector<OutlookRecord*>;

  struct Live {
    explicit Live(FakeOutlook& o) : outlook(o) { ++outlook.liveObjects; }
    Live(const Live&) = delete;
    Live& operator=(const Live&) = delete;
    ~Live() { --outlook.liveObjects; }
    FakeOutlook& outlook;
  };

  bool note(std::string call) {
    calls.push_back(call);
    if (onCall) onCall(call);
    if (failingCall && *failingCall == calls.size() - 1) return false;
    return failing.empty() || !call.starts_with(failing);
  }

  template <typename Property, typename Value>
  std::optional<Value> read(const std::map<Property, Value>& values, Property property, const char* what) {
    const auto value = values.find(property);
    if (!note(std::string(what) + " " + nameOf(property)) || value == values.end()) return std::nullopt;
    return value->second;
  }

  static std::string nameOf(outlook::TextProperty property) {
    constexpr const char* kNames[] = {"Subject",
                                      "Body",
                                      "Location",
                                      "LastNameAndFirstName",
                                      "LastName",
                                      "FirstName",
                                      "FullName",
                                      "JobTitle",
                                      "Title",
                                      "CompanyName",
                                      "BusinessTelephoneNumber",
                                      "BusinessFaxNumber",
                                      "HomeTelephoneNumber",
                                      "Home2TelephoneNumber",
                                      "MobileTelephoneNumber",
                                      "PagerNumber",
                                      "WebPage",
                                      "Email1Address"};
    return kNames[static_cast<std::size_t>(property)];
  }
  static std::string nameOf(outlook::NumberProperty property) {
    constexpr const char* kNames[] = {"Size", "Duration", "ReminderMinutesBeforeStart", "PercentComplete"};
    return kNames[static_cast<std::size_t>(property)];
  }
  static std::string nameOf(outlook::FlagProperty property) {
    constexpr const char* kNames[] = {"UnRead", "AllDayEvent", "ReminderSet"};
    return kNames[static_cast<std::size_t>(property)];
  }
  static std::string nameOf(outlook::DateProperty property) {
    constexpr const char* kNames[] = {"ReceivedTime", "Start", "End", "StartDate", "DueDate"};
    return kNames[static_cast<std::size_t>(property)];
  }

  /// An item of a folder (`stored` is where it lies) or a new one (`home` is where it will lie).
  class FakeItem final : public outlook::Item, Live {
   public:
    FakeItem(FakeOutlook& o, OutlookRecord* stored) : Live(o), stored_(stored) {}
    FakeItem(FakeOutlook& o, outlook::FolderNumber home) : Live(o), stored_(&fresh_), home_(home) {}

    std::optional<std::string> text(outlook::TextProperty property) override {
      return outlook.read(stored_->texts, property, "text");
    }
    std::optional<long> number(outlook::NumberProperty property) override {
      return outlook.read(stored_->numbers, property, "number");
    }
    std::optional<bool> flag(outlook::FlagProperty property) override {
      return outlook.read(stored_->flags, property, "flag");
    }
    std::optional<platform::DateTime> date(outlook::DateProperty property) override {
      return outlook.read(stored_->dates, property, "date");
    }

    bool setText(outlook::TextProperty property, std::string_view value) override {
      if (!outlook.note("setText " + nameOf(property) + "=" + std::string(value))) return false;
      stored_->texts[property] = value;
      return true;
    }
    bool setNumber(outlook::NumberProperty property, long value) override {
      if (!outlook.note("setNumber " + nameOf(property) + "=" + std::to_string(value))) return false;
      stored_->numbers[property] = value;
      return true;
    }
    bool setFlag(outlook::FlagProperty property, bool value) override {
      if (!outlook.note("setFlag " + nameOf(property) + (value ? "=true" : "=false"))) return false;
      stored_->flags[property] = value;
      return true;
    }
    bool setDate(outlook::DateProperty property, const platform::DateTime& value) override {
      const std::string text = base::yyyy_mm_dd(value) + " " + base::shortTime(value);
      if (!outlook.note("setDate " + nameOf(property) + "=" + text)) return false;
      stored_->dates[property] = value;
      return true;
    }

    bool save() override {
      if (!outlook.note("save")) return false;
      if (home_) {
        outlook.folders[*home_].push_back(fresh_);
        home_.reset();
      }
      return true;
    }

   private:
    OutlookRecord fresh_;
    OutlookRecord* stored_;
    std::optional<outlook::FolderNumber> home_;
  };

  class FakeItems final : public outlook::Items, Live {
   public:
    FakeItems(FakeOutlook& o, outlook::FolderNumber folder, Selection selection)
        : Live(o), folder_(folder), selection_(std::move(selection)) {}

    bool sort(std::string_view key) override {
      if (!outlook.note("sort " + std::string(key))) return false;
      const bool calendar = folder_ == outlook::FolderNumber::kCalendar && key == "[Start]";
      const bool inbox = folder_ == outlook::FolderNumber::kInbox && key == "[ReceivedTime]";
      if (!calendar && !inbox) return false;
      const auto property = calendar ? outlook::DateProperty::kStart : outlook::DateProperty::kReceivedTime;
      std::stable_sort(selection_.begin(), selection_.end(), [property](OutlookRecord* a, OutlookRecord* b) {
        return a->dates[property] < b->dates[property];
      });
      return true;
    }

    void setIncludeRecurrences(bool on) override {
      outlook.note(std::string("setIncludeRecurrences ") + (on ? "true" : "false"));
    }

    std::unique_ptr<outlook::Items> restrict(std::string_view filter) override {
      if (!outlook.note("restrict " + std::string(filter))) return nullptr;
      const auto matches = parse(std::string(filter));
      if (!matches) return nullptr;
      Selection matching;
      std::copy_if(selection_.begin(), selection_.end(), std::back_inserter(matching), matches);
      return std::make_unique<FakeItems>(outlook, folder_, std::move(matching));
    }

    std::unique_ptr<outlook::Item> getFirst() override {
      next_ = 0;
      return getNext();
    }
    std::unique_ptr<outlook::Item> getNext() override {
      if (next_ >= selection_.size()) return nullptr;
      return std::make_unique<FakeItem>(outlook, selection_[next_++]);
    }

   private:
    using Matcher = std::function<bool(OutlookRecord*)>;

    static Matcher parse(const std::string& filter) {
      std::vector<std::string> parts;  // text, date, text, date, text
      for (std::size_t at = 0; at <= filter.size();) {
        const std::size_t quote = std::min(filter.find('"', at), filter.size());
        parts.push_back(filter.substr(at, quote - at));
        at = quote + 1;
      }
      if (parts.size() != 5 || !parts[4].empty()) return nullptr;
      const auto x = base::parseDate(parts[1]);
      const auto y = base::parseDate(parts[3]);
      if (!x || !y) return nullptr;
      using D = outlook::DateProperty;
      if (parts[0] == "[Start] < " && parts[2] == " AND [End] > ") {
        return [x, y](OutlookRecord* r) { return r->dates[D::kStart] < *x && r->dates[D::kEnd] > *y; };
      }
      if (parts[0] == "[Start] >= " && parts[2] == " AND [Start] < ") {
        return [x, y](OutlookRecord* r) { return r->dates[D::kStart] >= *x && r->dates[D::kStart] < *y; };
      }
      return nullptr;
    }

    outlook::FolderNumber folder_;
    Selection selection_;
    std::size_t next_ = 0;
  };

  class FakeFolder final : public outlook::Folder, Live {
   public:
    FakeFolder(FakeOutlook& o, outlook::FolderNumber number) : Live(o), number_(number) {}
    std::unique_ptr<outlook::Items> items() override {
      if (!outlook.note("items")) return nullptr;
      Selection all;
      for (OutlookRecord& record : outlook.folders[number_]) all.push_back(&record);
      return std::make_unique<FakeItems>(outlook, number_, std::move(all));
    }

   private:
    outlook::FolderNumber number_;
  };

  class FakeNameSpace final : public outlook::NameSpace, Live {
   public:
    using Live::Live;
    std::unique_ptr<outlook::Folder> getDefaultFolder(outlook::FolderNumber number) override {
      if (!outlook.note("getDefaultFolder " + std::to_string(static_cast<int>(number)))) return nullptr;
      return std::make_unique<FakeFolder>(outlook, number);
    }
  };

  class App final : public outlook::Application, Live {
   public:
    using Live::Live;
    std::unique_ptr<outlook::NameSpace> getNamespace(std::string_view type) override {
      if (!outlook.note("getNamespace " + std::string(type))) return nullptr;
      return std::make_unique<FakeNameSpace>(outlook);
    }
    std::unique_ptr<outlook::Item> createItem(outlook::ItemNumber number) override {
      if (!outlook.note("createItem " + std::to_string(static_cast<int>(number)))) return nullptr;
      return std::make_unique<FakeItem>(outlook, homeOf(number));
    }

   private:
    static outlook::FolderNumber homeOf(outlook::ItemNumber number) {
      switch (number) {
        case outlook::ItemNumber::kAppointment:
          return outlook::FolderNumber::kCalendar;
        case outlook::ItemNumber::kContact:
          return outlook::FolderNumber::kContacts;
        case outlook::ItemNumber::kTask:
          return outlook::FolderNumber::kTasks;
        case outlook::ItemNumber::kNote:
          return outlook::FolderNumber::kNotes;
      }
      return outlook::FolderNumber::kNotes;
    }
  };
};

}  // namespace kova::fakes
