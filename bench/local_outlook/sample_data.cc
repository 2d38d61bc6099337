#include "local_outlook/sample_data.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string_view>

#include "base/date_format.h"

namespace kova::bench {
namespace {

namespace fs = std::filesystem;
using platform::DateTime;

constexpr std::string_view kBerlin =
    "BEGIN:VTIMEZONE\r\nTZID:Europe/Berlin\r\n"
    "BEGIN:DAYLIGHT\r\nDTSTART:19810329T020000\r\nTZOFFSETFROM:+0100\r\nTZOFFSETTO:+0200\r\nTZNAME:CEST\r\n"
    "RRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU\r\nEND:DAYLIGHT\r\n"
    "BEGIN:STANDARD\r\nDTSTART:19961027T030000\r\nTZOFFSETFROM:+0200\r\nTZOFFSETTO:+0100\r\nTZNAME:CET\r\n"
    "RRULE:FREQ=YEARLY;BYMONTH=10;BYDAY=-1SU\r\nEND:STANDARD\r\nEND:VTIMEZONE\r\n";

constexpr std::array<std::string_view, 12> kFirst = {"Anna", "Jordan", "Peter", "Marie", "Li",   "Sven",
                                                     "Olga", "Bruno",  "Ines",  "Tom",   "Ruth", "Emre"};
constexpr std::array<std::string_view, 12> kLast = {"Berg",  "Smith", "Novák", "Müller", "Chen",   "Olsen",
                                                    "Rossi", "Diaz",  "Kaya",  "Weber",  "Dubois", "Sato"};

std::string stamp(const DateTime& t) {
  char text[64];
  std::snprintf(text, sizeof text, "%04d%02d%02dT%02d%02d%02d", t.year, t.month, t.day, t.hour, t.minute,
                t.second);
  return text;
}

void write(const fs::path& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

void makeAppointments(const fs::path& folder, const Sizes& sizes) {
  std::mt19937 random(1);
  const auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  for (int i = 0; i < sizes.appointments; ++i) {
    const bool isSeries = i < sizes.endlessSeries;
    const DateTime day =
        base::addDays({isSeries ? 2024 : 2016, 1, 1, 0, 0, 0}, pick(isSeries ? 365 : 365 * 16));
    DateTime start = day;
    start.hour = 7 + pick(12);
    start.minute = 15 * pick(4);
    DateTime end = base::fromWallSeconds(base::wallSeconds(start) + 900 * (1 + pick(10)));
    const std::string uid = "appointment-" + std::to_string(i) + "@bench";
    std::string text = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//bench//EN\r\n";
    const int kind = pick(10);
    if (kind < 6) text += kBerlin;
    text +=
        "BEGIN:VEVENT\r\nUID:" + uid + "\r\nDTSTAMP:20200101T000000Z\r\nCREATED:" + stamp(start) + "Z\r\n";
    if (kind < 6) {
      text += "DTSTART;TZID=Europe/Berlin:" + stamp(start) + "\r\nDTEND;TZID=Europe/Berlin:" + stamp(end) +
              "\r\n";
    } else if (kind < 9) {
      text += "DTSTART:" + stamp(start) + "Z\r\nDTEND:" + stamp(end) + "Z\r\n";
    } else {
      text += "DTSTART;VALUE=DATE:" + stamp(day).substr(0, 8) + "\r\n";
    }
    if (isSeries) text += "RRULE:FREQ=WEEKLY\r\n";
    text +=
        "SUMMARY:Meeting " + std::to_string(i) + "\r\nLOCATION:Room " + std::to_string(pick(40)) +
        "\r\nDESCRIPTION:Agenda\\nMinutes of the last meeting\\, plans\\, questions\r\nSTATUS:CONFIRMED\r\n"
        "BEGIN:VALARM\r\nACTION:DISPLAY\r\nTRIGGER:-PT15M\r\nDESCRIPTION:Reminder\r\nEND:VALARM\r\n"
        "END:VEVENT\r\nEND:VCALENDAR\r\n";
    write(folder / (uid + ".ics"), text);
  }
}

void makeContacts(const fs::path& folder, const Sizes& sizes) {
  for (int i = 0; i < sizes.contacts; ++i) {
    const std::string first(kFirst[static_cast<std::size_t>(i) % kFirst.size()]);
    const std::string last =
        std::string(kLast[static_cast<std::size_t>(i / 12) % kLast.size()]) + std::to_string(i);
    std::string text = "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:contact-" + std::to_string(i) + "\r\nN:" + last +
                       ";" + first + ";;;\r\nFN:" + first + " " + last + "\r\nORG:Company " +
                       std::to_string(i % 500) + "\r\nTEL;TYPE=WORK,VOICE:+49 30 " +
                       std::to_string(100000 + i) + "\r\nTEL;TYPE=CELL:+49 170 " +
                       std::to_string(200000 + i) + "\r\nEMAIL;TYPE=INTERNET:c" + std::to_string(i) +
                       "@example.com\r\nREV:20200101T000000Z\r\nEND:VCARD\r\n";
    write(folder / ("contact-" + std::to_string(i) + ".vcf"), text);
  }
}

void makeMessages(const fs::path& inbox, const Sizes& sizes) {
  for (int i = 0; i < sizes.messages; ++i) {
    const bool unread = i % 20 == 0;
    const std::string name = std::to_string(1700000000 + i) + ".M1P1_" + std::to_string(i) + ".bench";
    const fs::path path =
        i % 100 == 0 ? inbox / "new" / name : inbox / "cur" / (name + (unread ? ":2," : ":2,S"));
    std::string text =
        "Received: from a.example by b.example; Mon, 14 Mar 2005 09:30:00 +0100\r\nFrom: Anna "
        "<anna@example.com>\r\nTo: owner@example.com\r\nSubject: =?utf-8?Q?Gr=C3=BC=C3=9Fe_" +
        std::to_string(i) + "?=\r\nMIME-Version: 1.0\r\nContent-Type: text/plain; charset=utf-8\r\n\r\n";
    for (int line = 0; line < 40; ++line)
      text += "This is a line of a message as people write them, of some length.\r\n";
    write(path, text);
    fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::minutes(sizes.messages - i));
  }
}

}  // namespace

platform::local_outlook::Folders makeSampleData(const std::string& root, const Sizes& sizes) {
  const fs::path base(root);
  const platform::local_outlook::Folders folders = {base / "calendar", base / "contacts", base / "tasks",
                                                    base / "notes", base / "inbox"};
  if (fs::exists(folders.calendar)) return folders;
  for (const std::string& folder : {folders.calendar, folders.contacts, folders.tasks, folders.notes,
                                    folders.inbox + "/new", folders.inbox + "/cur", folders.inbox + "/tmp"})
    fs::create_directories(folder);
  makeAppointments(folders.calendar, sizes);
  makeContacts(folders.contacts, sizes);
  makeMessages(folders.inbox, sizes);
  return folders;
}

}  // namespace kova::bench
