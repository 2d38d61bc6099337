// What a session reads and writes through a server in another process, compared with the server's own data.

#include <array>
#include <string>

#include "fakes/fake_clock.h"
#include "fakes/fake_files.h"
#include "platform/com_outlook/outlook_fixture.h"
#include "wml/pages.h"

namespace kova::platform::com_outlook {

namespace {

using outlook::DateProperty;
using outlook::FlagProperty;
using outlook::FolderNumber;
using outlook::Item;
using outlook::ItemNumber;
using outlook::NumberProperty;
using outlook::TextProperty;

constexpr int kTexts = static_cast<int>(TextProperty::kEmail1Address) + 1;
constexpr int kNumbers = static_cast<int>(NumberProperty::kPercentComplete) + 1;
constexpr int kFlags = static_cast<int>(FlagProperty::kReminderSet) + 1;
constexpr int kDates = static_cast<int>(DateProperty::kDueDate) + 1;

/// Every property of an item; "-" for those that it does not have.
std::string described(Item& item) {
  std::string text;
  const auto add = [&](const std::string& value) { text.append("[").append(value).append("]"); };
  for (int i = 0; i < kTexts; ++i) add(item.text(static_cast<TextProperty>(i)).value_or("-"));
  for (int i = 0; i < kNumbers; ++i) {
    const auto value = item.number(static_cast<NumberProperty>(i));
    add(value ? std::to_string(*value) : "-");
  }
  for (int i = 0; i < kFlags; ++i) {
    const auto value = item.flag(static_cast<FlagProperty>(i));
    add(!value ? "-" : *value ? "true" : "false");
  }
  for (int i = 0; i < kDates; ++i) {
    const auto value = item.date(static_cast<DateProperty>(i));
    add(value ? base::logStamp(*value) + std::to_string(value->year) : "-");
  }
  return text;
}

std::vector<std::string> described(outlook::Items* items) {
  std::vector<std::string> result;
  if (!items) return result;
  for (auto item = items->getFirst(); item; item = items->getNext()) result.push_back(described(*item));
  return result;
}

class ObjectModelTest : public OutlookTest {
 protected:
  std::vector<std::string> folder(outlook::Automation& automation, FolderNumber number) {
    return described(opened(automation, number).items.get());
  }
};

constexpr FolderNumber kFolders[] = {FolderNumber::kInbox, FolderNumber::kCalendar, FolderNumber::kContacts,
                                     FolderNumber::kNotes, FolderNumber::kTasks};

TEST_F(ObjectModelTest, EveryPropertyOfEveryItem) {
  const auto com = make();
  ASSERT_TRUE(com);
  for (const FolderNumber number : kFolders) {
    const auto there = folder(*com, number);
    EXPECT_EQ(there, folder(sample, number));
    EXPECT_GE(there.size(), 2u);
  }
}

TEST_F(ObjectModelTest, NewItemsOfEveryKindWithEveryProperty) {
  const auto com = make();
  for (const ItemNumber kind :
       {ItemNumber::kAppointment, ItemNumber::kContact, ItemNumber::kTask, ItemNumber::kNote}) {
    for (outlook::Automation* automation : {com.get(), static_cast<outlook::Automation*>(&sample)}) {
      const auto application = created(*automation);
      const auto item = application->createItem(kind);
      ASSERT_TRUE(item);
      for (int i = 0; i < kTexts; ++i) {
        EXPECT_TRUE(item->setText(static_cast<TextProperty>(i), i == 3 ? "" : "Größe " + std::to_string(i)));
      }
      for (int i = 0; i < kNumbers; ++i)
        EXPECT_TRUE(item->setNumber(static_cast<NumberProperty>(i), 1000 - 1001 * i));
      for (int i = 0; i < kFlags; ++i) EXPECT_TRUE(item->setFlag(static_cast<FlagProperty>(i), i != 1));
      for (int i = 0; i < kDates; ++i) {
        EXPECT_TRUE(item->setDate(static_cast<DateProperty>(i), {2026 + i, 2, 28, 23, 59, 50 + i}));
      }
      EXPECT_TRUE(item->save());
    }
  }
  for (const FolderNumber number : kFolders) EXPECT_EQ(folder(*com, number), folder(sample, number));
}

TEST_F(ObjectModelTest, SortAndRestrict) {
  const auto com = make();
  const char* const kFilters[] = {
      R"([Start] < "2026/11/16 12:00 AM" AND [End] > "2026/11/16 12:00 AM")",
      R"([Start] >= "2026/11/16 12:00 AM" AND [Start] < " 2026/11/17 12:00 AM")",
      R"([Start] >= "2020/11/16 12:00 AM" AND [Start] < " 2020/11/17 12:00 AM")",
  };
  for (const char* filter : kFilters) {
    std::vector<std::string> found[2];
    int i = 0;
    for (outlook::Automation* automation : {com.get(), static_cast<outlook::Automation*>(&sample)}) {
      const Session calendar = opened(*automation, FolderNumber::kCalendar);
      EXPECT_TRUE(calendar.items->sort("[Start]"));
      calendar.items->setIncludeRecurrences(true);
      found[i++] = described(calendar.items->restrict(filter).get());
    }
    EXPECT_EQ(found[0], found[1]) << filter;
  }

  const Session inbox = opened(*com, FolderNumber::kInbox);
  EXPECT_TRUE(inbox.items->sort("[ReceivedTime]"));
  EXPECT_EQ(inbox.items->getFirst()->date(DateProperty::kReceivedTime), (DateTime{1999, 12, 31, 0, 0, 0}));
}

TEST_F(ObjectModelTest, ARefusedSortKeepsTheOrderAndIsNotLogged) {
  const auto com = make();
  const Session contacts = opened(*com, FolderNumber::kContacts);
  EXPECT_FALSE(contacts.items->sort("[Start]"));
  EXPECT_EQ(contacts.items->getFirst()->text(TextProperty::kLastName), "Zhang");
  EXPECT_EQ(log, std::vector<std::string>());
}

TEST_F(ObjectModelTest, GoesBackToTheFirstItemAndEndsBehindTheLast) {
  const auto com = make();
  const Session notes = opened(*com, FolderNumber::kNotes);
  EXPECT_EQ(notes.items->getFirst()->text(TextProperty::kSubject), "Shopping");
  EXPECT_TRUE(notes.items->getNext());
  EXPECT_FALSE(notes.items->getNext());
  EXPECT_EQ(notes.items->getFirst()->text(TextProperty::kSubject), "Shopping");
  EXPECT_EQ(log, std::vector<std::string>());
}

TEST_F(ObjectModelTest, LineEndsOfABody) {
  const auto com = make();
  const auto application = created(*com);
  const auto note = application->createItem(ItemNumber::kNote);
  EXPECT_TRUE(note->setText(TextProperty::kBody, "a\rb\nc\r\n\r\nd"));
  EXPECT_EQ(note->text(TextProperty::kBody), "a\r\nb\r\nc\r\n\r\nd");
  EXPECT_FALSE(note->setDate(DateProperty::kStart, {2026, 2, 30, 0, 0, 0}));
}

TEST_F(ObjectModelTest, ValuesOfOtherTypes) {
  const auto com = make();
  const struct {
    const char* orders;
    std::optional<long> number;
    std::optional<std::string> text;
    std::optional<DateTime> date;
  } kCases[] = {
      {"as PercentComplete I2\nas DueDate R8", 75, "Slides", DateTime{2026, 11, 20, 0, 0, 0}},
      {"as PercentComplete DECIMAL\nas DueDate BSTR", 75, "Slides", DateTime{2026, 11, 20, 0, 0, 0}},
      {"as PercentComplete R8\nas Subject EMPTY\nas DueDate EMPTY", 75, "", std::nullopt},
      {"as PercentComplete BSTR\nas Subject NULL\nas DueDate NULL", 75, "", std::nullopt},
      {"as PercentComplete EMPTY\nas Subject ERROR\nas DueDate ERROR", std::nullopt, "", std::nullopt},
  };
  for (const auto& c : kCases) {
    const Session tasks = opened(*com, FolderNumber::kTasks);
    tasks.items->getFirst();
    const auto task = tasks.items->getNext();
    orders(c.orders);
    EXPECT_EQ(task->number(NumberProperty::kPercentComplete), c.number) << c.orders;
    EXPECT_EQ(task->text(TextProperty::kSubject), c.text) << c.orders;
    EXPECT_EQ(task->date(DateProperty::kDueDate), c.date) << c.orders;
    orders("");
  }
  EXPECT_EQ(log,
            (std::vector<std::string>{"Outlook: DueDate cannot be read", "Outlook: DueDate cannot be read",
                                      "Outlook: PercentComplete cannot be read"}));
}

class Host final : public wml::Host {
 public:
  std::string pageDirectory() const override { return "/pages"; }
  std::string pinCode() const override { return "73106482"; }
};

TEST_F(ObjectModelTest, ThePagesAreTheSameByteForByte) {
  const auto com = make();
  const auto decks = [](outlook::Automation& automation) {
    Host host;
    fakes::FakeFiles files;
    fakes::FakeClock clock;
    wml::Pages pages(host, files, clock, automation);
    std::vector<std::string> result;
    const auto keep = [&] { result.push_back(files.contents("/pages/x2.tmp")); };
    pages.Get_ocon_mainB(2, "/x2.tmp", "caltp=*"), keep();
    pages.Get_oeml_main(2, "/x2.tmp"), keep();
    pages.Get_otsk_main(2, "/x2.tmp"), keep();
    pages.Get_onot_main(2, "/x2.tmp"), keep();
    for (const char* view : {"D", "W", "M"}) {
      pages.Get_ocal("/pages/x2.tmp", view, "2026/11/16"), keep();
    }
    for (const char* position : {"01", "02", "09"}) {
      pages.Get_ocon("/pages/x2.tmp", position), keep();
      pages.Get_oeml("/pages/x2.tmp", position), keep();
      pages.Get_otsk("/pages/x2.tmp", position), keep();
      pages.Get_onot("/pages/x2.tmp", position), keep();
    }
    return result;
  };
  const auto there = decks(*com);
  EXPECT_EQ(there, decks(sample));
  EXPECT_NE(there[5].find("Night shift"), std::string::npos);
  EXPECT_EQ(log, std::vector<std::string>());
}

}  // namespace

}  // namespace kova::platform::com_outlook
