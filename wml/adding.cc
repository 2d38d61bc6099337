#include "wml/adding.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>

#include "base/date_format.h"
#include "base/number.h"
#include "base/text.h"
#include "wml/deck.h"

namespace kova::wml {

namespace {

namespace outlook = platform::outlook;
using outlook::TextProperty;

void resultDeck(const AddingContext& context, std::string_view title, std::string_view message,
                std::string_view backLink) {
  Deck deck(context.files);
  if (!deck.open(context.path)) return;
  header_standard_new(deck, context.path, title);
  deck.line("<p>", message, kLineBreak);
  footer_standard(deck, backLink);
}

/// False after the wrong-PIN deck was written. An empty PIN is always wrong, even where the owner has cleared
/// his.
bool checkPin(const AddingContext& context, const std::string& pin, std::string_view backLink) {
  if (!pin.empty() && pin == context.pinCode) return true;
  resultDeck(context, "Invalid PIN", "Invalid PIN code.", backLink);
  return false;
}

/// A new unsaved item and the application it belongs to.
struct NewItem {
  std::unique_ptr<outlook::Application> application;
  std::unique_ptr<outlook::Item> item;

  NewItem(outlook::Automation& automation, outlook::ItemNumber number)
      : application(automation.createObject("Outlook.Application")),
        item(application ? application->createItem(number) : nullptr) {}

  explicit operator bool() const { return item != nullptr; }
  outlook::Item* operator->() const { return item.get(); }

  /// Phones that know no UTF-8 send ISO-8859-1.
  bool setText(TextProperty property, std::string_view typed) const {
    return item->setText(property, base::toUtf8(typed));
  }
};

/// The leading number in whole minutes. Empty when it is too large for Outlook's 32-bit numbers: setting such
/// a value fails there, which ends the operation.
std::optional<long> minutes(std::string_view text) {
  const auto number = base::wholeNumber(text);
  using Limits = std::numeric_limits<std::int32_t>;
  if (!number || *number < Limits::min() || *number > Limits::max()) return std::nullopt;
  return number;
}

std::string_view part(std::string_view text, std::size_t from, std::size_t count) {
  return from < text.size() ? text.substr(from, count) : std::string_view();
}

/// "2005/03/14 09:30" of "050314" and "0930", whatever they hold.
std::string dateTimeText(std::string_view date, std::string_view time) {
  std::string text = "20";  // kept: the century is fixed
  text.append(part(date, 0, 2)).append("/").append(part(date, 2, 2)).append("/").append(part(date, 4, 2));
  text.append(" ").append(part(time, 0, 2)).append(":").append(part(time, 2, 2));
  return text;
}

}  // namespace

void add_cal(const AddingContext& context, const MeetingFields& fields) {
  if (!checkPin(context, fields.pin, "/acal")) return;
  const NewItem meeting(context.outlook, outlook::ItemNumber::kAppointment);
  if (!meeting) return;

  const auto start = base::parseDate(dateTimeText(fields.date, fields.time));
  if (!start) return resultDeck(context, "Invalid date/time", "Invalid date/time.", "/acal");

  const auto duration = minutes(fields.duration);
  const auto reminder = minutes(fields.reminder);
  using Number = outlook::NumberProperty;
  const bool saved = meeting->setDate(outlook::DateProperty::kStart, *start) && duration &&
                     meeting->setNumber(Number::kDuration, *duration) &&
                     meeting.setText(TextProperty::kSubject, fields.title) &&
                     meeting.setText(TextProperty::kBody, "entered via cell phone") &&
                     meeting.setText(TextProperty::kLocation, "") && reminder &&
                     meeting->setNumber(Number::kReminderMinutesBeforeStart, *reminder) &&
                     meeting->setFlag(outlook::FlagProperty::kReminderSet, true) && meeting->save();
  if (!saved) return;
  // kept: the title says task.
  resultDeck(context, "task added", "The meeting has been added in your list.", "/ocal");
}

void add_con(const AddingContext& context, const ContactFields& fields) {
  if (!checkPin(context, fields.pin, "/acon")) return;
  const NewItem contact(context.outlook, outlook::ItemNumber::kContact);
  if (!contact) return;

  // kept: the title speaks of date and time.
  if (fields.fullName.empty()) {
    return resultDeck(context, "Invalid date/time", "You must enter a name.", "/acon");
  }

  const bool saved = contact.setText(TextProperty::kFullName, fields.fullName) &&
                     contact.setText(TextProperty::kCompanyName, fields.companyName) &&
                     contact.setText(TextProperty::kHomeTelephoneNumber, fields.homePhone) &&
                     contact.setText(TextProperty::kEmail1Address, fields.email) &&
                     contact.setText(TextProperty::kBusinessTelephoneNumber, fields.businessPhone) &&
                     contact.setText(TextProperty::kPagerNumber, fields.pagerPhone) && contact->save();
  if (!saved) return;
  resultDeck(context, "Contact added", "The contact has been added in your list.", "/ocon");
}

void add_tsk(const AddingContext& context, const TextFields& fields) {
  if (!checkPin(context, fields.pin, "/atsk")) return;
  const NewItem task(context.outlook, outlook::ItemNumber::kTask);
  if (!task) return;

  const bool saved = task.setText(TextProperty::kSubject, fields.title) &&
                     task.setText(TextProperty::kBody, fields.text) && task->save();
  if (!saved) return;
  // kept: back to the calendar, after notes too.
  resultDeck(context, "task added", "The task has been added in your list.", "/ocal");
}

void addnot(const AddingContext& context, const TextFields& fields) {
  // kept: a wrong PIN leads back to the task form.
  if (!checkPin(context, fields.pin, "/atsk")) return;
  const NewItem note(context.outlook, outlook::ItemNumber::kNote);
  if (!note) return;

  // kept: a carriage return alone ends the heading.
  if (!note.setText(TextProperty::kBody, base::toUtf8(fields.title) + "\r" + base::toUtf8(fields.text)) ||
      !note->save())
    return;
  resultDeck(context, "note added", "The note has been added in your list.", "/ocal");
}

}  // namespace kova::wml
