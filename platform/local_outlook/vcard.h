#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/local_outlook/record.h"
#include "platform/local_outlook/text_fields.h"

namespace kova::platform::local_outlook {

/// Its texts lie right behind it in memory: a search goes through tens of thousands of them, and most of what
/// that takes is waiting for the memory.
class Contact final : public Record {
 public:
  static std::shared_ptr<const Contact> make(const TextFields& fields);
  std::optional<std::string> text(TextProperty property) const override;

 private:
  explicit Contact(std::size_t size) : size_(size) {}
  static void destroy(const Contact* contact);

  std::size_t size_;  // of the texts
};

struct ReadCard {
  std::shared_ptr<const Contact> contact;
  std::optional<std::int64_t> added;  ///< CREATED or REV, microseconds since 1970
};
struct ReadCards {
  std::vector<ReadCard> cards;
  std::size_t broken = 0;  ///< cards that do not end, left out
  bool none = false;       ///< the file has no vCard in it
};
/// All cards of a file, of any version. What is not UTF-8 is in the character set that it names, else
/// ISO-8859-1.
ReadCards readCards(std::string_view bytes);

/// A vCard 3.0 of a new contact. `fields` has the properties that were set; FullName comes in its parts too.
std::string writeCard(const TextFields& fields, std::string_view uid, std::int64_t now);

}  // namespace kova::platform::local_outlook
