#pragma once

#include <string>

#include "base/task.h"
#include "pop3/session.h"

namespace kova::pop3 {

/// Writes the card that shows one message of a mailbox: its sender, its subject and the start of its text.
/// `poppos` is the message's number, as it was typed. Visits the server anew and changes nothing there. There
/// is no deck when it cannot be opened; whatever the server does, there is a whole one otherwise.
base::Task<> get_pop3_mail(Machine machine, MailboxPage page, std::string poppos);

}  // namespace kova::pop3
