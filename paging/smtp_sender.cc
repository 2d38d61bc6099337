#include "paging/smtp_sender.h"

#include <cstddef>
#include <utility>

#include "base/date_format.h"
#include "base/text.h"

namespace kova::paging {

namespace {

constexpr const char* kSmtpPort = "25";

bool endsLine(char c) { return c == '\r' || c == '\n'; }

/// A text from a settings file that somebody has edited must not be able to end the line it stands in: what
/// is behind the line's end would be the next command or header.
std::string inOneLine(std::string_view text) {
  std::string line(text);
  for (char& c : line) {
    if (endsLine(c) || c == '\0') c = ' ';
  }
  return std::string(base::trim(line));
}

}  // namespace

// The body goes out as it is, with its own line ends, and no dot in front of a line is doubled, except where
// text out of somebody's calendar would be read as commands: behind a line that is nothing but a dot, which
// ends the mail (servers differ in what they take for a line's end, so any of CR and LF counts as one), and
// where the server has not said that it takes a mail. It gets the body all the same, but as one line, so that
// no line of it can begin with a command.
std::string asMailText(std::string_view body, bool serverTakesMail) {
  std::string result;
  result.reserve(body.size());
  for (std::size_t i = 0; i < body.size(); ++i) {
    if (body[i] == '\n' && !serverTakesMail) continue;
    result += body[i];
    const bool begins = i == 0 || endsLine(body[i - 1]);
    const bool ends = i + 1 == body.size() || endsLine(body[i + 1]);
    if (body[i] == '.' && begins && ends) result += '.';
  }
  return result;
}

base::Task<> SmtpSender::send_mail(std::string subject, std::string body) {
  Host::MailFields fields = host_.mailFields();
  fields.subject = std::move(subject);
  co_await deliver(std::move(fields), DateLine::kNow, std::move(body));
}

base::Task<> SmtpSender::send_page(std::string body) {
  Host::MailFields fields = host_.mailFields();
  co_await deliver(std::move(fields), DateLine::kNone, std::move(body));
}

base::Task<> SmtpSender::deliver(Host::MailFields fields, DateLine dateLine, std::string body) {
  for (std::string* field : {&fields.server, &fields.from, &fields.to, &fields.subject}) {
    *field = inOneLine(*field);
  }
  // Its end closes the connection.
  const auto turn = co_await conversation_.turn();
  co_await converse(std::move(fields), dateLine, std::move(body));
}

base::Task<> SmtpSender::converse(Host::MailFields fields, DateLine dateLine, std::string body) {
  co_await conversation_.connect(fields.server, kSmtpPort);
  co_await conversation_.WaitFor("220", 1);
  if (!command("helo KOVA")) co_return;
  co_await conversation_.WaitFor("250", 1);
  // kept: the sender stands without angle brackets, the receiver in them.
  if (!command("mail from: " + fields.from)) co_return;
  co_await conversation_.WaitFor("250", 1);
  if (!command("rcpt to: <" + fields.to + ">")) co_return;
  co_await conversation_.WaitFor("250", 1);
  if (!command("data")) co_return;
  const bool takesMail = co_await conversation_.WaitFor("354", 1);
  if (dateLine == DateLine::kNow) command("Date:" + base::Rfc1123Date(clock_.utcNow()));
  if (!command("Subject: " + fields.subject)) co_return;
  command("");
  command(asMailText(body, takesMail));
  command(".");
  co_await conversation_.WaitFor("250", 1);
  if (command("QUIT")) co_await conversation_.WaitFor("221", 1);
}

bool SmtpSender::command(std::string_view text) {
  conversation_.ReplyBuffer.clear();
  return conversation_.SendData(std::string(text).append(base::kCrLf));
}

}  // namespace kova::paging
