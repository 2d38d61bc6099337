#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "base/date_format.h"
#include "base/path.h"
#include "platform/local_outlook/local_outlook.h"
#include "platform/local_outlook/this_system.h"

namespace kova::platform::local_outlook {

using namespace outlook;

using Lines = std::vector<std::string>;

/// Five folders on disk, made by nobody yet, in the time zone Europe/Berlin.
class LocalOutlookTest : public testing::Test {
 protected:
  LocalOutlookTest() : root(testing::TempDir() + "local_outlook." + std::to_string(std::random_device()())) {
    std::filesystem::create_directory(base::toPath(root));
    hasBerlinsClock = useClockOf("Europe/Berlin");
    folders = {root + "/calendar", root + "/contacts", root + "/tasks", root + "/notes", root + "/inbox"};
    start();
  }
  ~LocalOutlookTest() override { std::filesystem::remove_all(base::toPath(root)); }

  void SetUp() override { ASSERT_TRUE(hasBerlinsClock) << "Set the time zone of this machine to Berlin's."; }

  /// As the program does at its start, with the folders and the clock as they are.
  void start() {
    automation =
        std::make_unique<LocalOutlook>(folders, [this](const std::string& line) { log.push_back(line); });
  }

  std::string write(const std::string& folder, const std::string& name, const std::string& text) {
    std::filesystem::create_directories(base::toPath(folder));
    const std::string path = folder + "/" + name;
    std::ofstream(base::toPath(path), std::ios::binary) << text;
    return path;
  }

  static std::string read(const std::string& path) {
    std::ifstream in(base::toPath(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  static std::string calendar(const std::string& components) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//test//EN\r\n" + components + "END:VCALENDAR\r\n";
  }
  /// A VEVENT of the given property lines, each ending with "\n".
  static std::string event(const std::string& lines) { return "BEGIN:VEVENT\n" + lines + "END:VEVENT\n"; }

  std::string writeEvent(const std::string& name, const std::string& lines) {
    return write(folders.calendar, name, calendar(event(lines)));
  }

  std::unique_ptr<Items> items(FolderNumber number, const char* key = "[Start]") {
    auto list = automation->createObject("Outlook.Application")
                    ->getNamespace("MAPI")
                    ->getDefaultFolder(number)
                    ->items();
    if (!list) return nullptr;
    list->sort(key);
    list->setIncludeRecurrences(true);
    return list;
  }

  std::unique_ptr<Item> first(FolderNumber number) {
    auto list = items(number);
    return list ? list->getFirst() : nullptr;
  }

  static std::string show(Item& item) {
    const std::string subject = *item.text(TextProperty::kSubject);
    if (*item.flag(FlagProperty::kAllDayEvent)) {
      return base::mm_dd(*item.date(DateProperty::kStart)) + "-" +
             base::mm_dd(*item.date(DateProperty::kEnd)) + " " + subject;
    }
    return base::shortTime(*item.date(DateProperty::kStart)) + "-" +
           base::shortTime(*item.date(DateProperty::kEnd)) + " " + subject;
  }

  static Lines showAll(Items& list) {
    Lines lines;
    for (auto item = list.getFirst(); item; item = list.getNext()) lines.push_back(show(*item));
    return lines;
  }

  /// What starts on a day, "2026/03/14", as "09:30-10:00 Subject"; all-day appointments as "03/14-03/15
  /// Subject".
  Lines startingOn(const std::string& day) {
    const std::string next = base::yyyy_mm_dd(base::addDays(*base::parseDate(day), 1));
    const auto list =
        items(FolderNumber::kCalendar)
            ->restrict("[Start] >= \"" + day + " 12:00 AM\" AND [Start] < \" " + next + " 12:00 AM\"");
    return list ? showAll(*list) : Lines{"no answer"};
  }
  /// What runs into it.
  Lines runningInto(const std::string& day) {
    const auto list =
        items(FolderNumber::kCalendar)
            ->restrict("[Start] < \"" + day + " 12:00 AM\" AND [End] > \"" + day + " 12:00 AM\"");
    return list ? showAll(*list) : Lines{"no answer"};
  }

  /// The days from one to another, that one included, on which something starts, as "03/14 09:30-10:00
  /// Subject".
  Lines startingBetween(const std::string& from, const std::string& to) {
    Lines lines;
    for (DateTime day = *base::parseDate(from); day <= *base::parseDate(to); day = base::addDays(day, 1))
      for (const std::string& line : startingOn(base::yyyy_mm_dd(day)))
        lines.push_back(base::mm_dd(day) + " " + line);
    return lines;
  }

  /// One text property of all items of a folder, in its order.
  Lines texts(FolderNumber number, TextProperty property) {
    Lines lines;
    const auto list = items(number);
    if (!list) return {"no answer"};
    for (auto item = list->getFirst(); item; item = list->getNext())
      lines.push_back(item->text(property).value_or("-"));
    return lines;
  }

  std::string root;
  bool hasBerlinsClock = false;
  Folders folders;
  Lines log;
  std::unique_ptr<LocalOutlook> automation;
};

}  // namespace kova::platform::local_outlook
