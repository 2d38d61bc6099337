#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kova::paging {

/// What the mails need of the paging window. Everything is asked for at the moment it is needed.
class Host {
 public:
  /// The mail fields as they were typed.
  struct MailFields {
    std::string server;
    std::string from;
    std::string to;
    std::string subject;  ///< of reminder pages
  };

  virtual MailFields mailFields() const = 0;

  /// Puts the default number of minutes in place where none was ever chosen.
  virtual void fillCheckInterval() = 0;
  /// Minutes; empty when the field holds a number beyond 16 bits.
  virtual std::optional<std::int16_t> checkInterval() const = 0;

  /// The standard e-mail format and not the compact one.
  virtual bool standardFormat() const = 0;
  virtual bool onlyInScreenSaver() const = 0;

  virtual void showStatus(std::string text) = 0;

 protected:
  ~Host() = default;
};

}  // namespace kova::paging
