#pragma once

#include <string>
#include <string_view>

#include "base/task.h"
#include "conversation/line_conversation.h"
#include "paging/host.h"
#include "platform/clock.h"

namespace kova::paging {

/// The line break inside the texts that are mailed.
inline constexpr char kLineBreak = '\r';

/// Sends one plain-text mail at a time through the owner's SMTP server (RFC 2821), port 25. Server and
/// addresses come from the host. What the server answers decides nothing and nothing is repeated or queued:
/// success or failure shows in message boxes and at the receiver. A second mail waits until the first one's
/// dialogue is over.
class SmtpSender {
 public:
  /// All of it must outlive the sender.
  SmtpSender(conversation::LineConversation& conversation, const platform::Clock& clock, Host& host)
      : conversation_(conversation), clock_(clock), host_(host) {}

  base::Task<> send_mail(std::string subject, std::string body);
  /// A mail with the host's subject and without a date.
  base::Task<> send_page(std::string body);

 private:
  enum class DateLine { kNone, kNow };

  base::Task<> deliver(Host::MailFields fields, DateLine dateLine, std::string body);
  base::Task<> converse(Host::MailFields fields, DateLine dateLine, std::string body);
  bool command(std::string_view text);

  conversation::LineConversation& conversation_;
  const platform::Clock& clock_;
  Host& host_;
};

/// The body as it may go out, so that no line of it is read as a command.
std::string asMailText(std::string_view body, bool serverTakesMail);

}  // namespace kova::paging
