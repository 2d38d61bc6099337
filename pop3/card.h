#pragma once

#include <string_view>

#include "wml/deck.h"

namespace kova::pop3 {

inline constexpr std::string_view kMailboxTitle = "Mailbox content";

/// The end of a mailbox's card; closes the deck.
inline void mailboxFooter(wml::Deck& deck) {
  deck.line(R"( <a href="/">Main</a> )");
  deck.line(R"(<a href="/oabt">About</a><br/>)");
  deck.line(" </p>");
  deck.line("</card>");
  deck.line("</wml>");
  deck.close();
}

}  // namespace kova::pop3
