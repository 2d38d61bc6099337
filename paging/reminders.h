#pragma once

#include <optional>
#include <string>

#include "base/task.h"
#include "paging/host.h"
#include "paging/smtp_sender.h"
#include "platform/clock.h"
#include "platform/event_loop.h"
#include "platform/outlook.h"
#include "platform/screen_saver.h"

namespace kova::paging {

/// The page for an appointment, each line with a line break behind it; empty when Outlook fails.
std::optional<std::string> pageText(platform::outlook::Item& appointment);

/// How often the minute changes between two moments of the same wall clock; negative when `to` is the earlier
/// one.
long long minuteBoundaries(const platform::DateTime& from, const platform::DateTime& to);

/// Pages the owner for the reminders that fall due in the next minutes. Nothing is remembered of what was
/// paged: a reminder is paged by every check for as long as it is due.
class Reminders {
 public:
  /// All of it must outlive this object.
  Reminders(platform::EventLoop& loop, const platform::Clock& clock, platform::outlook::Automation& outlook,
            platform::ScreenSaver& screenSaver, Host& host, SmtpSender& sender)
      : loop_(loop),
        clock_(clock),
        outlook_(outlook),
        screenSaver_(screenSaver),
        host_(host),
        sender_(sender) {}

  /// False when Outlook failed on the way; the status then stays as it was.
  base::Task<bool> CheckReminders();

 private:
  /// Empty when Outlook fails.
  std::optional<bool> isDue(platform::outlook::Item& appointment, int interval) const;

  platform::EventLoop& loop_;
  const platform::Clock& clock_;
  platform::outlook::Automation& outlook_;
  platform::ScreenSaver& screenSaver_;
  Host& host_;
  SmtpSender& sender_;
};

}  // namespace kova::paging
