// What the pages over the personal data cost, with as much data as a busy owner gathers in years.
//
// bench_local_outlook [FOLDER]: makes the data in FOLDER, or in a temporary folder that is removed at the
// end.

#include <stdlib.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "base/date_format.h"
#include "base/text.h"
#include "local_outlook/sample_data.h"
#include "platform/local_outlook/local_outlook.h"

namespace {

namespace fs = std::filesystem;
using namespace kova;
using namespace kova::platform::outlook;
using platform::local_outlook::Folders;
using platform::local_outlook::LocalOutlook;

double cpuMs() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto ms = [](const timeval& t) {
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_usec) / 1e3;
  };
  return ms(usage.ru_utime) + ms(usage.ru_stime);
}

double wallMs() {
  using namespace std::chrono;
  return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

void measure(const char* what, const std::function<std::size_t()>& page) {
  const double cpu = cpuMs();
  const double wall = wallMs();
  const std::size_t items = page();
  std::printf("%-44s %10.2f %10.2f %9zu\n", what, cpuMs() - cpu, wallMs() - wall, items);
  std::fflush(stdout);
}

std::unique_ptr<Items> itemsOf(LocalOutlook& outlook, FolderNumber number, const char* key) {
  auto items =
      outlook.createObject("Outlook.Application")->getNamespace("MAPI")->getDefaultFolder(number)->items();
  if (!items) return nullptr;
  items->sort(key);
  items->setIncludeRecurrences(true);
  return items;
}

std::size_t readAppointments(Items& items) {
  std::size_t count = 0;
  for (auto item = items.getFirst(); item; item = items.getNext()) {
    const bool read = item->flag(FlagProperty::kAllDayEvent) && item->date(DateProperty::kStart) &&
                      item->date(DateProperty::kEnd) && item->text(TextProperty::kSubject) &&
                      item->text(TextProperty::kLocation) && item->text(TextProperty::kBody);
    count += read ? 1 : 0;
  }
  return count;
}

/// The two queries of every day, each in a session of its own, as the calendar page makes them.
std::size_t calendarPage(LocalOutlook& outlook, const platform::DateTime& from, int days) {
  std::size_t count = 0;
  for (int i = 0; i < days; ++i) {
    const std::string day = base::yyyy_mm_dd(base::addDays(from, i));
    const std::string next = base::yyyy_mm_dd(base::addDays(from, i + 1));
    const auto running =
        itemsOf(outlook, FolderNumber::kCalendar, "[Start]")
            ->restrict("[Start] < \"" + day + " 12:00 AM\" AND [End] > \"" + day + " 12:00 AM\"");
    count += readAppointments(*running);
    const auto starting =
        itemsOf(outlook, FolderNumber::kCalendar, "[Start]")
            ->restrict("[Start] >= \"" + day + " 12:00 AM\" AND [Start] < \" " + next + " 12:00 AM\"");
    count += readAppointments(*starting);
  }
  return count;
}

std::size_t contactSearch(LocalOutlook& outlook, const std::string& text) {
  const std::string wanted = base::upperCase(text);
  const auto items = itemsOf(outlook, FolderNumber::kContacts, "[Start]");
  std::size_t count = 0;
  for (auto item = items->getFirst(); item; item = items->getNext()) {
    const auto name = item->text(TextProperty::kLastNameAndFirstName);
    if (text == "*" || base::upperCase(*name).find(wanted) != std::string::npos) ++count;
  }
  return count;
}

std::size_t inboxPage(LocalOutlook& outlook) {
  const auto items = itemsOf(outlook, FolderNumber::kInbox, "[ReceivedTime]");
  std::size_t shown = 0;
  for (auto item = items->getFirst(); item; item = items->getNext()) {
    if (!*item->flag(FlagProperty::kUnRead) || shown > 99) continue;
    if (item->text(TextProperty::kSubject) && item->date(platform::outlook::DateProperty::kReceivedTime))
      ++shown;
  }
  return shown;
}

void touch(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(in)), {});
  in.close();
  std::ofstream(path, std::ios::binary) << text;
}

void run(const Folders& folders) {
  LocalOutlook outlook(folders, [](const std::string& line) { std::printf("log: %s\n", line.c_str()); });
  const platform::DateTime today{2026, 3, 16, 0, 0, 0};
  std::printf("%-44s %10s %10s %9s\n", "page", "CPU ms", "wall ms", "items");
  const auto calendarPages = [&](const std::string& when) {
    measure(("calendar, a day, " + when).c_str(), [&] { return calendarPage(outlook, today, 1); });
    measure(("calendar, a week, " + when).c_str(), [&] { return calendarPage(outlook, today, 7); });
    measure(("calendar, a month, " + when).c_str(), [&] { return calendarPage(outlook, today, 32); });
  };
  calendarPages("first time");
  calendarPages("again");
  touch(folders.calendar + "/appointment-50000@bench.ics");
  measure("calendar, a month, an appointment changed", [&] { return calendarPage(outlook, today, 32); });
  touch(folders.calendar + "/appointment-5@bench.ics");
  measure("calendar, a month, a series changed", [&] { return calendarPage(outlook, today, 32); });
  measure("calendar, over the end of the year",
          [&] { return calendarPage(outlook, {2026, 12, 15, 0, 0, 0}, 32); });
  measure("calendar, the same again", [&] { return calendarPage(outlook, {2026, 12, 15, 0, 0, 0}, 32); });

  measure("contacts, first time", [&] { return contactSearch(outlook, "*"); });
  measure("contacts, one match", [&] { return contactSearch(outlook, "berg12012"); });
  measure("contacts, \"*\"", [&] { return contactSearch(outlook, "*"); });
  touch(folders.contacts + "/contact-777.vcf");
  measure("contacts, one match, one changed", [&] { return contactSearch(outlook, "berg12012"); });

  measure("inbox, first time", [&] { return inboxPage(outlook); });
  measure("inbox, again", [&] { return inboxPage(outlook); });
  touch(folders.inbox + "/new/1700000100.M1P1_100.bench");
  measure("inbox, one changed", [&] { return inboxPage(outlook); });

  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  std::printf("memory at most: %ld MiB\n", usage.ru_maxrss / 1024);
}

}  // namespace

int main(int argc, char** argv) {
  ::setenv("TZ", "Europe/Berlin", 0);
  if (argc > 1) {
    run(bench::makeSampleData(argv[1], {}));
    return 0;
  }
  std::string folder = (fs::temp_directory_path() / "bench_local_outlook.XXXXXX").string();
  if (::mkdtemp(folder.data()) == nullptr) {
    std::perror("mkdtemp");
    return 1;
  }
  run(bench::makeSampleData(folder, {}));
  fs::remove_all(folder);
  return 0;
}
