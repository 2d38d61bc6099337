#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/date_time.h"

/// The operations of the Outlook object model that the program uses, under their own names, and nothing else.
/// A session is made, used and dropped by one procedure; nothing is kept between two of them, and a change
/// made by another program shows in the next session.
///
/// A call that fails says so in its result (null, empty, false); it has then changed nothing, and the caller
/// gives up what it was doing.
namespace kova::platform::outlook {

enum class FolderNumber { kInbox = 6, kCalendar = 9, kContacts = 10, kNotes = 12, kTasks = 13 };
enum class ItemNumber { kAppointment = 1, kContact = 2, kTask = 3, kNote = 5 };

/// The properties of all item kinds. Which item has which: see the comments.
enum class TextProperty {
  kSubject,   // all but contacts; read only in notes, where it is the first line of the body
  kBody,      // all but contacts; line ends are CR LF when read
  kLocation,  // appointment
  // contact
  kLastNameAndFirstName,  // read only: "Last, First"
  kLastName,
  kFirstName,
  kFullName,  // setting it splits it into first and last name
  kJobTitle,
  kTitle,  // the name's prefix: "Dr."
  kCompanyName,
  kBusinessTelephoneNumber,
  kBusinessFaxNumber,
  kHomeTelephoneNumber,
  kHome2TelephoneNumber,
  kMobileTelephoneNumber,
  kPagerNumber,
  kWebPage,
  kEmail1Address,
};
enum class NumberProperty {
  kSize,                        // mail: bytes
  kDuration,                    // appointment: minutes
  kReminderMinutesBeforeStart,  // appointment
  kPercentComplete,             // task
};
enum class FlagProperty {
  kUnRead,       // mail
  kAllDayEvent,  // appointment
  kReminderSet,  // appointment
};
enum class DateProperty {
  kReceivedTime,  // mail
  kStart,         // appointment; setting it keeps the duration
  kEnd,           // appointment
  kStartDate,     // task; 4501-01-01 when it has none
  kDueDate,       // task; likewise
};

class Item {
 public:
  virtual ~Item() = default;

  // Empty when the item has no such property or it cannot be read. A text that is not set reads as "".
  virtual std::optional<std::string> text(TextProperty property) = 0;
  virtual std::optional<long> number(NumberProperty property) = 0;
  virtual std::optional<bool> flag(FlagProperty property) = 0;
  virtual std::optional<DateTime> date(DateProperty property) = 0;

  virtual bool setText(TextProperty property, std::string_view value) = 0;
  virtual bool setNumber(NumberProperty property, long value) = 0;
  virtual bool setFlag(FlagProperty property, bool value) = 0;
  virtual bool setDate(DateProperty property, const DateTime& value) = 0;

  /// True only when the item is safe on disk. A new item then lies in the default folder of its kind.
  virtual bool save() = 0;
};

/// A folder's items, or a part of them, in an order.
class Items {
 public:
  virtual ~Items() = default;

  /// Sorts ascending by a key such as "[Start]" or "[ReceivedTime]". A key that the folder's items do not
  /// have is refused: the result is false and the order stays the folder's own, in which the items were
  /// added.
  virtual bool sort(std::string_view key) = 0;

  /// True: a restriction finds each occurrence of a recurring appointment, with its own Start and End.
  /// Without a restriction a series, which may be endless, stands once, as its first occurrence.
  virtual void setIncludeRecurrences(bool on) = 0;

  /// The items that match, in the same order; null when the filter cannot be read. Two forms are known, with
  /// X and Y date-times in double quotes ("2005/03/14 12:00 AM", leading blanks and a missing time allowed):
  ///   [Start] < "X" AND [End] > "Y"
  ///   [Start] >= "X" AND [Start] < "Y"
  virtual std::unique_ptr<Items> restrict(std::string_view filter) = 0;

  /// Goes through the items in order, from the first on. Null behind the last one.
  virtual std::unique_ptr<Item> getFirst() = 0;
  virtual std::unique_ptr<Item> getNext() = 0;
};

class Folder {
 public:
  virtual ~Folder() = default;
  /// Null when the folder cannot be read. A folder that does not exist yet is empty.
  virtual std::unique_ptr<Items> items() = 0;
};

class NameSpace {
 public:
  virtual ~NameSpace() = default;
  virtual std::unique_ptr<Folder> getDefaultFolder(FolderNumber number) = 0;
};

class Application {
 public:
  virtual ~Application() = default;
  /// `type` is "MAPI".
  virtual std::unique_ptr<NameSpace> getNamespace(std::string_view type) = 0;
  /// A new unsaved item.
  virtual std::unique_ptr<Item> createItem(ItemNumber number) = 0;
};

/// Makes application objects.
class Automation {
 public:
  virtual ~Automation() = default;
  /// `programId` is "Outlook.Application". Null when there is no such program.
  virtual std::unique_ptr<Application> createObject(std::string_view programId) = 0;
};

}  // namespace kova::platform::outlook
