#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "base/date_format.h"
#include "conversation/line_conversation.h"
#include "fakes/fake_dialogs.h"
#include "fakes/fake_loop.h"
#include "fakes/fake_outlook.h"
#include "platform/clock.h"
#include "smtp_peer.h"

namespace kova::paging {

using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;
using Strings = std::vector<std::string>;
using platform::DateTime;

/// The wall clock goes with the loop's time; UTC is an hour behind.
class LoopClock : public platform::Clock {
 public:
  explicit LoopClock(const fakes::FakeLoop& loop) : loop_(loop) {}

  /// Sets the wall clock.
  void set(const DateTime& now) { offset_ = base::wallSeconds(now) - elapsed(); }

  DateTime localNow() const override { return base::fromWallSeconds(offset_ + elapsed()); }
  DateTime utcNow() const override { return base::fromWallSeconds(offset_ + elapsed() - 3600); }
  milliseconds monotonic() const override { return loop_.now(); }

 private:
  long long elapsed() const { return std::chrono::duration_cast<seconds>(loop_.now()).count(); }

  const fakes::FakeLoop& loop_;
  long long offset_ = 0;
};

/// A machine with an SMTP server in reach. It is Monday, 2026-11-16, 09:00.
class PagingTest : public ::testing::Test {
 protected:
  PagingTest() { clock.set({2026, 11, 16, 9, 0, 0}); }

  fakes::OutlookRecord& addAppointment(const std::string& subject, const DateTime& start,
                                       const DateTime& end) {
    auto& folder = outlook.folders[platform::outlook::FolderNumber::kCalendar];
    folder.push_back(fakes::appointmentRecord(subject, start, end));
    return folder.back();
  }
  fakes::OutlookRecord& addReminder(const std::string& subject, const DateTime& start, long minutesBefore) {
    const DateTime end = base::fromWallSeconds(base::wallSeconds(start) + 3600);
    fakes::OutlookRecord& record = addAppointment(subject, start, end);
    record.flags[platform::outlook::FlagProperty::kReminderSet] = true;
    record.numbers[platform::outlook::NumberProperty::kReminderMinutesBeforeStart] = minutesBefore;
    return record;
  }
  fakes::OutlookRecord& addTask(const std::string& subject, long percent = 0) {
    auto& folder = outlook.folders[platform::outlook::FolderNumber::kTasks];
    folder.push_back(fakes::taskRecord(subject));
    folder.back().numbers[platform::outlook::NumberProperty::kPercentComplete] = percent;
    return folder.back();
  }

  fakes::FakeLoop loop;
  LoopClock clock{loop};
  fakes::FakeDialogs dialogs;
  fakes::FakeOutlook outlook;
  SmtpPeer peer{loop};
  conversation::LineConversation conversation{loop, peer, dialogs};
};

}  // namespace kova::paging
