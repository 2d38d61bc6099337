#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "base/task.h"
#include "conversation/line_conversation.h"
#include "platform/event_loop.h"
#include "platform/files.h"
#include "settings/settings.h"

namespace kova::pop3 {

/// What the pages of a mailbox work with. All of it must outlive them.
struct Machine {
  platform::EventLoop& loop;
  platform::Files& files;
  const settings::Settings& settings;
  conversation::LineConversation& conversation;
};

/// A mailbox, and the page that is made of it.
struct MailboxPage {
  std::string server;
  std::string user;
  std::string password;
  std::string pin;
  std::string path;     ///< of the deck
  std::string account;  ///< the number of its row
  /// False once nobody wants the page any more: what is under way then ends at its next step and writes
  /// nothing. Never null.
  std::function<bool()> wanted;
};

/// One visit to a mail server in POP3 (RFC 1939), with the conversation that its caller has the turn of. No
/// step looks at what the server answers: a wait without its "+OK" ends after a while, and the visit goes on.
class Session {
 public:
  Session(const Machine& machine, const MailboxPage& page) : machine_(machine), page_(page) {}
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  bool wanted() const { return page_.wanted(); }

  /// Connects, a second time when the first brings no connection, and waits for the greeting.
  base::Task<> connect();

  /// Sends user and password. False when one of them cannot be sent.
  base::Task<bool> logIn();

  /// Sends a command and waits for its reply, which is then in reply(). False when it cannot be sent, or when
  /// the page is not wanted any more. After a command that could not be sent nothing more is.
  base::Task<bool> ask(std::string command, conversation::LineConversation::ReplyEnd end);

  std::string_view reply() const { return machine_.conversation.ReplyBuffer; }

  base::Task<> quit();

 private:
  base::Task<> greeting();

  const Machine& machine_;
  const MailboxPage& page_;
  bool failed_ = false;
};

}  // namespace kova::pop3
