#pragma once

#include <memory>
#include <string>

#include "platform/local_outlook/local_outlook_fixture.h"

namespace kova::platform::local_outlook {

class SavingTest : public LocalOutlookTest {
 protected:
  std::unique_ptr<Item> make(ItemNumber number) {
    return automation->createObject("Outlook.Application")->createItem(number);
  }

  std::unique_ptr<Item> meeting(const std::string& title, const DateTime& start, long duration,
                                long reminder) {
    auto item = make(ItemNumber::kAppointment);
    EXPECT_TRUE(item->setDate(DateProperty::kStart, start));
    EXPECT_TRUE(item->setNumber(NumberProperty::kDuration, duration));
    EXPECT_TRUE(item->setText(TextProperty::kSubject, title));
    EXPECT_TRUE(item->setText(TextProperty::kBody, "entered via cell phone"));
    EXPECT_TRUE(item->setText(TextProperty::kLocation, ""));
    EXPECT_TRUE(item->setNumber(NumberProperty::kReminderMinutesBeforeStart, reminder));
    EXPECT_TRUE(item->setFlag(FlagProperty::kReminderSet, true));
    return item;
  }

  bool saveNote(const std::string& body) {
    const auto note = make(ItemNumber::kNote);
    return note->setText(TextProperty::kBody, body) && note->save();
  }

  /// Every file in a folder, hidden ones included.
  static Lines filesIn(const std::string& folder) {
    Lines names;
    if (std::filesystem::is_directory(folder))
      for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(base::fromPath(entry.path().filename()));
    return names;
  }
  static std::string onlyFileIn(const std::string& folder) {
    const Lines names = filesIn(folder);
    EXPECT_EQ(names.size(), 1u) << testing::PrintToString(names);
    return names.empty() ? "" : folder + "/" + names.front();
  }
};

}  // namespace kova::platform::local_outlook
