#include "platform/local_outlook/contacts.h"

#include "platform/local_outlook/vcard.h"

namespace kova::platform::local_outlook {

ReadRecords readContacts(std::string_view, const std::string& bytes) {
  ReadCards cards = readCards(bytes);
  ReadRecords result;
  for (ReadCard& card : cards.cards) result.records.push_back({std::move(card.contact), card.added});
  if (cards.none)
    result.problem = "is no vCard file";
  else if (cards.broken > 0)
    result.problem = std::to_string(cards.broken) + " of " +
                     std::to_string(cards.broken + cards.cards.size()) + " cards is cut off and left out";
  return result;
}

}  // namespace kova::platform::local_outlook
