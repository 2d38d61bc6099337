#include "platform/local_outlook/new_items.h"

#include <ctime>
#include <map>

#include "base/text.h"
#include "platform/local_outlook/content_line.h"
#include "platform/local_outlook/item_kinds.h"
#include "platform/local_outlook/local_time.h"
#include "platform/local_outlook/new_uid.h"
#include "platform/local_outlook/person_name.h"
#include "platform/local_outlook/save_file.h"
#include "platform/local_outlook/utc_text.h"
#include "platform/local_outlook/vcard.h"
#include "platform/local_outlook/watched_folder.h"

namespace kova::platform::local_outlook {
namespace {

constexpr long kMaxMinutes = 2'147'483'647;
constexpr int kLastYear = 4500;

/// What new items of all kinds have in common: texts, and saving once.
class NewItem : public outlook::Item {
 public:
  NewItem(std::string folder, std::string_view ending, const Log& log)
      : folder_(std::move(folder)), ending_(ending), log_(log) {}

  std::optional<std::string> text(TextProperty property) override {
    if (!hasText(property)) return std::nullopt;
    const auto known = texts_.find(property);
    return known == texts_.end() ? std::string() : known->second;
  }
  std::optional<long> number(NumberProperty) override { return std::nullopt; }
  std::optional<bool> flag(FlagProperty) override { return std::nullopt; }
  std::optional<DateTime> date(DateProperty) override { return std::nullopt; }

  bool setText(TextProperty property, std::string_view value) override {
    if (saved_ || !hasText(property)) return false;
    texts_[property] = value;
    return true;
  }
  bool setNumber(NumberProperty, long) override { return false; }
  bool setFlag(FlagProperty, bool) override { return false; }
  bool setDate(DateProperty, const DateTime&) override { return false; }

  bool save() override {
    if (saved_) return true;
    const std::string uid = newUid();
    if (uid.empty()) {
      log_(logText(folder_ + ": cannot save: no random numbers"));
      return false;
    }
    const std::string bytes = write(uid, std::time(nullptr));
    if (bytes.empty()) return false;
    const std::string problem = saveNewFile(folder_, uid + std::string(ending_), bytes);
    if (!problem.empty()) log_(logText("Not saved: " + problem));
    saved_ = problem.empty();
    return saved_;
  }

 protected:
  virtual bool hasText(TextProperty property) const = 0;
  /// The file's bytes; empty when the item is not complete. `now`: when it was made.
  virtual std::string write(const std::string& uid, Instant now) const = 0;

  std::string_view value(TextProperty property) const {
    const auto known = texts_.find(property);
    return known == texts_.end() ? std::string_view() : known->second;
  }
  bool saved() const { return saved_; }

 private:
  std::string folder_;
  std::string_view ending_;
  Log log_;
  std::map<TextProperty, std::string> texts_;
  bool saved_ = false;
};

/// An iCalendar object with one component (RFC 5545).
class CalendarWriter {
 public:
  CalendarWriter(std::string_view component, std::string_view uid, Instant now)
      : component_(component),
        text_("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Tarvel//KOVA WAP 1.7//EN\r\n") {
    line("BEGIN", component_);
    line("UID", uid);
    line("DTSTAMP", utcText(now));
    line("CREATED", utcText(now));
    line("LAST-MODIFIED", utcText(now));
  }
  void line(std::string_view name, std::string_view value) { appendContentLine(text_, name, value); }
  /// Writes nothing for a text that is empty.
  void textLine(std::string_view name, std::string_view value) {
    if (!value.empty()) line(name, escapedText(value));
  }
  std::string finish() {
    line("END", component_);
    line("END", "VCALENDAR");
    return std::move(text_);
  }

 private:
  std::string_view component_;
  std::string text_;
};

class NewAppointment final : public NewItem {
 public:
  NewAppointment(const Folders& folders, const Log& log) : NewItem(folders.calendar, ".ics", log) {}

  std::optional<long> number(NumberProperty property) override {
    if (property == NumberProperty::kDuration) return duration_;
    if (property == NumberProperty::kReminderMinutesBeforeStart) return reminder_;
    return std::nullopt;
  }
  std::optional<bool> flag(FlagProperty property) override {
    if (property == FlagProperty::kReminderSet) return reminderSet_;
    if (property == FlagProperty::kAllDayEvent) return false;
    return std::nullopt;
  }
  std::optional<DateTime> date(DateProperty property) override {
    if (!start_) return std::nullopt;
    if (property == DateProperty::kStart) return start_;
    if (property == DateProperty::kEnd) return base::fromWallSeconds(localFromInstant(end()));
    return std::nullopt;
  }
  bool setNumber(NumberProperty property, long value) override {
    if (saved() || value < 0 || value > kMaxMinutes) return false;
    if (property == NumberProperty::kDuration)
      duration_ = value;
    else if (property == NumberProperty::kReminderMinutesBeforeStart)
      reminder_ = value;
    else
      return false;
    return true;
  }
  bool setFlag(FlagProperty property, bool value) override {
    if (saved() || property != FlagProperty::kReminderSet) return false;
    reminderSet_ = value;
    return true;
  }
  bool setDate(DateProperty property, const DateTime& value) override {
    if (saved() || property != DateProperty::kStart || !base::isValid(value) || value.year > kLastYear)
      return false;
    start_ = value;
    return true;
  }

 protected:
  bool hasText(TextProperty property) const override { return appointmentHas(property); }

  std::string write(const std::string& uid, Instant now) const override {
    if (!start_) return {};
    CalendarWriter event("VEVENT", uid, now);
    // UTC is understood by all; the reader's own zone brings it back.
    event.line("DTSTART", utcText(start()));
    event.line("DTEND", utcText(end()));
    event.textLine("SUMMARY", value(TextProperty::kSubject));
    event.textLine("DESCRIPTION", value(TextProperty::kBody));
    event.textLine("LOCATION", value(TextProperty::kLocation));
    if (reminderSet_) {
      event.line("BEGIN", "VALARM");
      event.line("ACTION", "DISPLAY");
      event.line("TRIGGER", "-PT" + std::to_string(reminder_) + "M");
      const std::string_view subject = value(TextProperty::kSubject);
      event.textLine("DESCRIPTION", subject.empty() ? "Reminder" : subject);
      event.line("END", "VALARM");
    }
    return event.finish();
  }

 private:
  Instant start() const { return instantFromLocal(base::wallSeconds(*start_)); }
  Instant end() const { return start() + duration_ * 60; }

  std::optional<DateTime> start_;
  long duration_ = 30;
  long reminder_ = 15;
  bool reminderSet_ = false;
};

class NewContact final : public NewItem {
 public:
  NewContact(const Folders& folders, const Log& log) : NewItem(folders.contacts, ".vcf", log) {}

  std::optional<std::string> text(TextProperty property) override {
    if (property == TextProperty::kLastNameAndFirstName)
      return lastNameAndFirstName(value(TextProperty::kLastName), value(TextProperty::kFirstName));
    return NewItem::text(property);
  }
  bool setText(TextProperty property, std::string_view value) override {
    if (property == TextProperty::kLastNameAndFirstName || !NewItem::setText(property, value)) return false;
    if (property == TextProperty::kFullName) {
      const PersonName name = splitFullName(value);
      NewItem::setText(TextProperty::kLastName, name.last);
      NewItem::setText(TextProperty::kFirstName, name.first);
      NewItem::setText(TextProperty::kTitle, name.prefix);
    }
    return true;
  }

 protected:
  bool hasText(TextProperty property) const override { return contactHas(property); }

  std::string write(const std::string& uid, Instant now) const override {
    TextFields fields;
    for (const TextProperty property :
         {TextProperty::kFullName, TextProperty::kLastName, TextProperty::kFirstName, TextProperty::kTitle,
          TextProperty::kJobTitle, TextProperty::kCompanyName, TextProperty::kBusinessTelephoneNumber,
          TextProperty::kBusinessFaxNumber, TextProperty::kHomeTelephoneNumber,
          TextProperty::kHome2TelephoneNumber, TextProperty::kMobileTelephoneNumber,
          TextProperty::kPagerNumber, TextProperty::kWebPage, TextProperty::kEmail1Address})
      fields.add(property, value(property));
    return writeCard(fields, uid, now);
  }
};

class NewTask final : public NewItem {
 public:
  NewTask(const Folders& folders, const Log& log) : NewItem(folders.tasks, ".ics", log) {}

  std::optional<long> number(NumberProperty property) override {
    if (property == NumberProperty::kPercentComplete) return 0;
    return std::nullopt;
  }
  std::optional<DateTime> date(DateProperty property) override {
    if (property == DateProperty::kStartDate || property == DateProperty::kDueDate) return kNoDate;
    return std::nullopt;
  }

 protected:
  bool hasText(TextProperty property) const override { return hasSubjectAndBody(property); }

  std::string write(const std::string& uid, Instant now) const override {
    CalendarWriter task("VTODO", uid, now);
    task.textLine("SUMMARY", value(TextProperty::kSubject));
    task.textLine("DESCRIPTION", value(TextProperty::kBody));
    task.line("STATUS", "NEEDS-ACTION");
    return task.finish();
  }
};

class NewNote final : public NewItem {
 public:
  NewNote(const Folders& folders, const Log& log) : NewItem(folders.notes, ".ics", log) {}

  std::optional<std::string> text(TextProperty property) override {
    if (property == TextProperty::kSubject)
      return std::string(splitFirstLine(value(TextProperty::kBody)).line);
    return NewItem::text(property);
  }
  bool setText(TextProperty property, std::string_view value) override {
    return property == TextProperty::kBody && NewItem::setText(property, value);
  }

 protected:
  bool hasText(TextProperty property) const override { return hasSubjectAndBody(property); }

  std::string write(const std::string& uid, Instant now) const override {
    const FirstLine body = splitFirstLine(value(TextProperty::kBody));
    CalendarWriter note("VJOURNAL", uid, now);
    note.textLine("SUMMARY", body.line);
    note.textLine("DESCRIPTION", body.rest);
    return note.finish();
  }
};

}  // namespace

std::unique_ptr<outlook::Item> makeNewItem(outlook::ItemNumber number, const Folders& folders,
                                           const Log& log) {
  switch (number) {
    case outlook::ItemNumber::kAppointment:
      return std::make_unique<NewAppointment>(folders, log);
    case outlook::ItemNumber::kContact:
      return std::make_unique<NewContact>(folders, log);
    case outlook::ItemNumber::kTask:
      return std::make_unique<NewTask>(folders, log);
    case outlook::ItemNumber::kNote:
      return std::make_unique<NewNote>(folders, log);
  }
  return nullptr;
}

}  // namespace kova::platform::local_outlook
