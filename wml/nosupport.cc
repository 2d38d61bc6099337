#include "wml/nosupport.h"

#include "wml/deck.h"

namespace kova::wml {

bool writeNoSupportDeck(platform::Files& files, const std::string& path) {
  Deck deck(files);
  if (!deck.open(path)) return false;
  entryCardOpening(deck, "KOVA E-mails");
  deck.line("<p>That file type is not supported by your browser.<br/>");
  deck.line("</p></card>");
  deck.line("</wml>");
  return deck.close();
}

}  // namespace kova::wml
