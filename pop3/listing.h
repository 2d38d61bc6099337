#pragma once

#include "base/task.h"
#include "pop3/session.h"

namespace kova::pop3 {

/// Writes the card that lists what waits in a mailbox, at most 50 messages, each with a link to itself.
/// Visits the server anew and changes nothing there. There is no deck when it cannot be opened; whatever the
/// server does, there is a whole one otherwise.
base::Task<> get_pop3(Machine machine, MailboxPage page);

}  // namespace kova::pop3
