#pragma once

#include <concepts>
#include <memory>
#include <string>
#include <string_view>

#include "platform/files.h"

/// The frame that the WML 1.1 decks share.
namespace kova::wml {

/// A line break in a card's text.
inline constexpr std::string_view kLineBreak = "<br/>";

inline constexpr std::string_view kXmlDeclaration = R"(<?xml version="1.0"?>)";
inline constexpr std::string_view kDocumentType =
    R"(<!DOCTYPE wml PUBLIC "-//WAPFORUM//DTD WML 1.1//EN" "http://www.wapforum.org/DTD/wml_1.1.xml">)";

/// A deck under construction: a text file that is written line by line, in UTF-8. What was written before a
/// builder gave up stays in the file.
class Deck {
 public:
  explicit Deck(platform::Files& files) : files_(files) {}
  Deck(const Deck&) = delete;
  Deck& operator=(const Deck&) = delete;
  ~Deck() { close(); }

  /// Starts the file anew. False when it cannot be made; lines then go nowhere.
  bool open(const std::string& path);

  /// Writes one line, given in pieces, with CR LF behind it. After a failed write nothing more is written.
  template <std::convertible_to<std::string_view>... Pieces>
  void line(const Pieces&... pieces) {
    (buffer_.append(std::string_view(pieces)), ...);
    endLine();
  }

  /// False when a part of the deck could not be written.
  bool close();

 private:
  void endLine();
  void flush();

  platform::Files& files_;
  std::unique_ptr<platform::OutputFile> file_;
  std::string buffer_;
  bool good_ = false;
};

/// Escapes a text for a card: & < > " ' become entities, and "$", which would begin a variable, is doubled.
std::string WmlEscape(std::string_view text);

/// A UTF-8 text without the characters that no XML document may hold (XML 1.0, 2.2: control characters other
/// than tab and line ends, U+FFFE, U+FFFF). A browser refuses a deck with one of them.
std::string withoutForbidden(std::string_view text);

/// A title that the owner has typed into his settings, as it stands in a deck.
/// kept: it is markup and not escaped. One that was cleared reads as NUL characters, which are left out.
std::string ownersMarkup(std::string_view text);

/// XML declaration, document type and "<wml>".
void prologue(Deck& deck);

/// prologue, the opening of a card "ninput" and its Back action; no paragraph yet.
void entryCardOpening(Deck& deck, std::string_view title);

/// prologue, the opening of a card "s1b1" and its Back action, behind which `behindDo` ends the line: "<p>",
/// or nothing where the page opens its paragraphs itself.
void detailCardOpening(Deck& deck, std::string_view title, std::string_view behindDo);

/// Opens the deck and writes prologue, the opening of a card "s1b1" and its Back action; no paragraph yet.
/// False when the deck cannot be opened. The title is written as it is.
bool header_standard(Deck& deck, const std::string& path, std::string_view title);

/// Likewise for a deck that is already open, with the Back action in the deck's template.
void header_standard_new(Deck& deck, std::string_view ignored, std::string_view title);

/// The links, the end of paragraph, card and deck; closes the deck.
void footer_standard(Deck& deck, std::string_view backLink);

}  // namespace kova::wml
