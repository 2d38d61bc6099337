#pragma once

#include "fakes/fake_outlook.h"

namespace kova::test_outlook {

/// The data that the server offers when it is given no folder.
inline void fillSample(fakes::FakeOutlook& data) {
  using namespace platform::outlook;  // names of its properties only
  data.folders[FolderNumber::kInbox] = {
      fakes::mailRecord("Später", {2026, 11, 15, 23, 59, 59}, true,
                        "Grüße\r\n\xe2\x82\xac 5 \xf0\x9f\x98\x80", 2147483647),
      fakes::mailRecord("Earlier", {2026, 11, 15, 8, 0, 1}, false, "", 0),
      fakes::mailRecord("", {1999, 12, 31, 0, 0, 0}, true, "no subject", 17),
  };
  auto review =
      fakes::appointmentRecord("Review <1 & 2>", {2026, 11, 16, 9, 0, 0}, {2026, 11, 16, 10, 30, 0});
  review.texts[TextProperty::kLocation] = "Room 2";
  review.texts[TextProperty::kBody] = "Bring\r\nthe plans";
  review.numbers[NumberProperty::kDuration] = 90;
  review.numbers[NumberProperty::kReminderMinutesBeforeStart] = 15;
  review.flags[FlagProperty::kReminderSet] = true;
  data.folders[FolderNumber::kCalendar] = {
      review,
      fakes::appointmentRecord("Fair", {2026, 11, 14, 0, 0, 0}, {2026, 11, 17, 0, 0, 0}, true),
      fakes::appointmentRecord("Night shift", {2026, 11, 15, 22, 0, 0}, {2026, 11, 16, 6, 0, 0}),
      fakes::appointmentRecord("Next day", {2026, 11, 17, 0, 0, 0}, {2026, 11, 17, 1, 0, 0}),
  };
  data.folders[FolderNumber::kContacts] = {fakes::contactRecord("Zhang", "Wei"),
                                           fakes::contactRecord("Ångström", "Anders"),
                                           fakes::contactRecord("Adler", "Jonas")};
  data.folders[FolderNumber::kContacts][1].texts[TextProperty::kWebPage] = "http://example.org/?a=1&b=2";
  data.folders[FolderNumber::kTasks] = {fakes::taskRecord("Passport", "Photo\r\nForm"),
                                        fakes::taskRecord("Slides")};
  data.folders[FolderNumber::kTasks][1].dates[DateProperty::kDueDate] = {2026, 11, 20, 0, 0, 0};
  data.folders[FolderNumber::kTasks][1].numbers[NumberProperty::kPercentComplete] = 75;
  data.folders[FolderNumber::kNotes] = {fakes::noteRecord("Shopping\r\nmilk"), fakes::noteRecord("")};
}

}  // namespace kova::test_outlook
