#include "paging/reminders.h"

#include <utility>

#include "base/date_format.h"
#include "base/wait.h"
#include "paging/start_filter.h"
#include "wml/outlook_session.h"

namespace kova::paging {

namespace outlook = platform::outlook;
using Text = outlook::TextProperty;

namespace {

/// Appointments that start later than this are not looked at, whatever their reminder.
constexpr int kDaysAhead = 15;
constexpr long long kSecondsOfMinute = 60;

long long minuteNumber(const platform::DateTime& t) {
  const long long seconds = base::wallSeconds(t);
  return (seconds - t.second) / kSecondsOfMinute;
}

}  // namespace

std::optional<std::string> pageText(outlook::Item& appointment) {
  std::string page = "Calendar item:";
  page += kLineBreak;

  const auto allDay = appointment.flag(outlook::FlagProperty::kAllDayEvent);
  if (!allDay) return std::nullopt;
  if (*allDay) {
    page += "All day";
  } else {
    const auto start = appointment.date(outlook::DateProperty::kStart);
    const auto end = appointment.date(outlook::DateProperty::kEnd);
    if (!start || !end) return std::nullopt;
    page.append(base::mm_dd(*start)).append(" ").append(base::shortTime(*start));
    page.append(" - ").append(base::shortTime(*end));
  }
  page += kLineBreak;

  const auto subject = appointment.text(Text::kSubject);
  const auto location = appointment.text(Text::kLocation);
  const auto body = appointment.text(Text::kBody);
  if (!subject || !location || !body) return std::nullopt;
  page.append(" ").append(*subject) += kLineBreak;
  if (!location->empty()) page.append(" (").append(*location).append(")") += kLineBreak;
  if (!body->empty()) page.append(*body, 0, body->find('\r')) += kLineBreak;
  return page;
}

long long minuteBoundaries(const platform::DateTime& from, const platform::DateTime& to) {
  return minuteNumber(to) - minuteNumber(from);
}

std::optional<bool> Reminders::isDue(outlook::Item& appointment, int interval) const {
  const auto set = appointment.flag(outlook::FlagProperty::kReminderSet);
  if (!set || !*set) return set;
  const auto start = appointment.date(outlook::DateProperty::kStart);
  const auto before = appointment.number(outlook::NumberProperty::kReminderMinutesBeforeStart);
  if (!start || !before) return std::nullopt;
  const long long minutes = minuteBoundaries(clock_.localNow(), *start) - *before;
  return minutes >= 0 && minutes <= interval - 1;
}

base::Task<bool> Reminders::CheckReminders() {
  host_.fillCheckInterval();
  const auto interval = host_.checkInterval();
  if (!interval) co_return false;
  host_.showStatus("Connecting to database...");
  co_await base::yield(loop_);

  auto calendar = wml::FolderSession::open(outlook_, outlook::FolderNumber::kCalendar, "[Start]");
  if (!calendar) co_return false;
  co_await base::yield(loop_);
  host_.showStatus("Getting reminders...");
  const auto appointments = calendar->items().restrict(startFilter(clock_.localNow(), kDaysAhead));
  if (!appointments) co_return false;

  for (auto item = appointments->getFirst(); item; item = appointments->getNext()) {
    co_await base::yield(loop_);
    auto page = pageText(*item);
    if (!page) co_return false;
    const auto due = isDue(*item, *interval);
    if (!due) co_return false;
    if (!*due) continue;
    if (host_.onlyInScreenSaver()) {
      // kept: whatever the answer is, it reads as "not running", and nothing is paged.
      screenSaver_.active();
      co_await base::yield(loop_);
      continue;
    }
    const std::string subject = item->text(Text::kSubject).value_or(std::string());
    host_.showStatus("Paging for " + subject + "...");
    co_await sender_.send_page(std::move(*page));
    host_.showStatus("Page sent.");
    co_await base::yield(loop_);
  }
  host_.showStatus("Completed.");
  co_return true;
}

}  // namespace kova::paging
