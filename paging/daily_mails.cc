#include "paging/daily_mails.h"

#include <cstddef>
#include <utility>

#include "base/date_format.h"
#include "base/text.h"
#include "base/wait.h"
#include "paging/start_filter.h"
#include "wml/outlook_session.h"

namespace kova::paging {

namespace outlook = platform::outlook;
using Text = outlook::TextProperty;

namespace {

constexpr int kMostTasks = 99;
constexpr std::size_t kSubjectCharacters = 50;
constexpr std::size_t kTaskListCharacters = 2000;
/// A due date farther off than this is the one that stands for none.
constexpr int kDueWithinDays = 3000;

}  // namespace

bool dailyMailsDue(const platform::DateTime& now, std::string_view dailyTime, bool notOnWeekEnds) {
  constexpr int kSunday = 0;
  constexpr int kSaturday = 6;
  if (base::shortTime(now) != dailyTime) return false;
  const int day = base::weekday(now);
  return !notOnWeekEnds || (day != kSunday && day != kSaturday);
}

std::optional<std::string> scheduleEntry(outlook::Item& appointment, bool standard) {
  const auto allDay = appointment.flag(outlook::FlagProperty::kAllDayEvent);
  if (!allDay) return std::nullopt;
  std::string entry;
  if (*allDay) {
    entry = "All day";
  } else {
    const auto start = appointment.date(outlook::DateProperty::kStart);
    const auto end = appointment.date(outlook::DateProperty::kEnd);
    if (!start || !end) return std::nullopt;
    entry = base::shortTime(*start) + "-" + base::shortTime(*end) + " :";
  }
  entry += kLineBreak;

  const auto subject = appointment.text(Text::kSubject);
  if (!subject) return std::nullopt;
  entry.append(" ").append(*subject) += kLineBreak;
  if (!standard) return entry;

  const auto location = appointment.text(Text::kLocation);
  if (!location) return std::nullopt;
  if (!location->empty()) entry.append(" (").append(*location).append(")") += kLineBreak;
  const auto body = appointment.text(Text::kBody);
  if (!body) return std::nullopt;
  if (!body->empty()) entry.append(*body) += kLineBreak;
  return entry;
}

std::optional<std::string> taskList(outlook::Items& tasks, bool standard, const platform::DateTime& now) {
  const platform::DateTime dueBefore = base::addDays(now, kDueWithinDays);
  std::string list;
  // kept: finished tasks count too.
  int count = 0;
  for (auto task = tasks.getFirst(); task && ++count <= kMostTasks; task = tasks.getNext()) {
    const auto done = task->number(outlook::NumberProperty::kPercentComplete);
    if (!done) return std::nullopt;
    if (*done >= 100) continue;
    const auto subject = task->text(Text::kSubject);
    if (!subject) return std::nullopt;
    list.append("-").append(base::firstCharacters(*subject, kSubjectCharacters)) += kLineBreak;
    if (!standard) continue;
    const auto due = task->date(outlook::DateProperty::kDueDate);
    if (!due) return std::nullopt;
    if (*due < dueBefore) list.append(" Due:").append(base::generalDate(*due)).append(2, kLineBreak);
  }
  return std::string(base::firstCharacters(list, kTaskListCharacters));
}

base::Task<bool> DailyMails::MailTodaySchedule() {
  host_.fillCheckInterval();
  host_.showStatus("Connecting to database...");
  co_await base::yield(loop_);

  const platform::DateTime today = clock_.localNow();
  std::string body;
  if (host_.standardFormat()) body.append("For ").append(base::mm_dd_yy(today)).append(":") += kLineBreak;

  auto calendar = wml::FolderSession::open(outlook_, outlook::FolderNumber::kCalendar, "[Start]");
  if (!calendar) co_return false;
  co_await base::yield(loop_);
  host_.showStatus("Getting today's schedule...");
  const auto appointments = calendar->items().restrict(startFilter(today, 1));
  if (!appointments) co_return false;
  for (auto item = appointments->getFirst(); item; item = appointments->getNext()) {
    co_await base::yield(loop_);
    const auto entry = scheduleEntry(*item, host_.standardFormat());
    if (!entry) co_return false;
    body += kLineBreak;
    body += *entry;
  }

  std::string subject = host_.standardFormat() ? "My today's schedule" : "Schedule";
  co_await sender_.send_mail(std::move(subject), std::move(body));
  host_.showStatus("Completed.");
  co_return true;
}

base::Task<bool> DailyMails::MailTaskList() {
  auto tasks = wml::FolderSession::open(outlook_, outlook::FolderNumber::kTasks, "[Start]");
  if (!tasks) co_return false;
  auto body = taskList(tasks->items(), host_.standardFormat(), clock_.localNow());
  if (!body) co_return false;
  // kept: here the compact format has the longer subject.
  std::string subject = host_.standardFormat() ? "Tasks" : "My Task List";
  co_await sender_.send_mail(std::move(subject), std::move(*body));
  co_return true;
}

}  // namespace kova::paging
