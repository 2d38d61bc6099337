#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/task.h"
#include "paging/host.h"
#include "paging/smtp_sender.h"
#include "platform/clock.h"
#include "platform/event_loop.h"
#include "platform/outlook.h"

namespace kova::paging {

/// True in the minute in which the daily mails go out. `dailyTime` is compared as text with "hh:mm": a time
/// written otherwise ("7:05") never comes.
bool dailyMailsDue(const platform::DateTime& now, std::string_view dailyTime, bool notOnWeekEnds);

/// One appointment of the schedule, each line with a line break behind it; empty when Outlook fails.
std::optional<std::string> scheduleEntry(platform::outlook::Item& appointment, bool standard);

/// The open tasks; empty when Outlook fails.
std::optional<std::string> taskList(platform::outlook::Items& tasks, bool standard,
                                    const platform::DateTime& now);

/// Today's schedule and the open tasks as mails. A routine that meets a failure of Outlook sends nothing and
/// returns false.
class DailyMails {
 public:
  /// All of it must outlive this object.
  DailyMails(platform::EventLoop& loop, const platform::Clock& clock, platform::outlook::Automation& outlook,
             Host& host, SmtpSender& sender)
      : loop_(loop), clock_(clock), outlook_(outlook), host_(host), sender_(sender) {}

  base::Task<bool> MailTodaySchedule();
  base::Task<bool> MailTaskList();

 private:
  platform::EventLoop& loop_;
  const platform::Clock& clock_;
  platform::outlook::Automation& outlook_;
  Host& host_;
  SmtpSender& sender_;
};

}  // namespace kova::paging
