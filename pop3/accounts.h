#pragma once

#include <functional>
#include <string>

#include "base/task.h"
#include "pop3/session.h"
#include "wml/host.h"

namespace kova::pop3 {

/// The remote mailboxes: a phone chooses one of eight that the owner has set up, types its PIN, and reads.
/// The accounts are read from the settings file whenever a phone asks.
class Accounts {
 public:
  /// All of it must outlive this object.
  Accounts(const wml::Host& host, const Machine& machine) : host_(host), machine_(machine) {}

  /// Writes the card on which the phone chooses an account.
  void Get_pop3_main(int slot, const std::string& F);

  /// Writes the card that the query "caltp=0&pin=1234" or "caltp=0&pin=1234&poppos=3" (percent-decoded) asks
  /// for: a mailbox or one message of it, or that the PIN is wrong. A row that does not exist answers as one
  /// that is not set. Returns a status for the dispatcher: 0, the card is to be sent when it is still
  /// `wanted`.
  base::Task<int> Query_pop3(int slot, std::string F, std::string parameters, std::function<bool()> wanted);

 private:
  const wml::Host& host_;
  Machine machine_;
};

}  // namespace kova::pop3
