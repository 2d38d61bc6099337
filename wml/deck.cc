#include "wml/deck.h"

#include "base/text.h"

namespace kova::wml {

namespace {

/// Most decks are smaller and reach their file in one piece.
constexpr std::size_t kBufferSize = 16384;
constexpr std::size_t kUsualDeckSize = 2048;

// kept: the blanks around "=" and ">".
void standardCardLine(Deck& deck, std::string_view title) {
  deck.line(R"(<card id="s1b1" title = ")", title, R"(" > )");
}

void backAction(Deck& deck, std::string_view behindDo = {}) {
  deck.line(R"(<do type="prev" label="Back">)");
  deck.line("<prev/>");
  deck.line("</do>", behindDo);
}

}  // namespace

bool Deck::open(const std::string& path) {
  close();
  buffer_.clear();
  buffer_.reserve(kUsualDeckSize);
  file_ = files_.create(path);
  good_ = file_ != nullptr;
  return good_;
}

bool Deck::close() {
  if (!file_) return good_;
  flush();
  good_ = file_->close() && good_;
  file_.reset();
  return good_;
}

void Deck::endLine() {
  buffer_.append(base::kCrLf);
  if (buffer_.size() >= kBufferSize || !file_) flush();
}

void Deck::flush() {
  if (file_ && good_ && !buffer_.empty()) good_ = file_->write(buffer_);
  buffer_.clear();
}

std::string WmlEscape(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size() + text.size() / 8);
  for (;;) {
    const std::size_t plain = text.find_first_of("&<>\"'$");
    escaped.append(text.substr(0, plain));
    if (plain == std::string_view::npos) return escaped;
    switch (text[plain]) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\'':
        escaped += "&apos;";
        break;
      default:
        escaped += "$$";
    }
    text.remove_prefix(plain + 1);
  }
}

std::string ownersMarkup(std::string_view text) { return withoutForbidden(base::toUtf8(base::trim(text))); }

std::string withoutForbidden(std::string_view text) {
  std::string allowed;
  allowed.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < 0x20 && byte != '\t' && byte != '\r' && byte != '\n') continue;
    const std::string_view three = text.substr(i, 3);
    if (three == "\xEF\xBF\xBE" || three == "\xEF\xBF\xBF") {
      i += 2;
      continue;
    }
    allowed += text[i];
  }
  return allowed;
}

void prologue(Deck& deck) {
  deck.line(kXmlDeclaration);
  deck.line(kDocumentType);
  deck.line("<wml>");
}

void entryCardOpening(Deck& deck, std::string_view title) {
  prologue(deck);
  deck.line(R"(<card id="ninput" title=")", title, R"(" newcontext="true">)");
  backAction(deck);
}

void detailCardOpening(Deck& deck, std::string_view title, std::string_view behindDo) {
  prologue(deck);
  deck.line(R"(<card id="s1b1" title=")", title, R"(">)");
  backAction(deck, behindDo);
}

bool header_standard(Deck& deck, const std::string& path, std::string_view title) {
  if (!deck.open(path)) return false;
  prologue(deck);
  standardCardLine(deck, title);
  backAction(deck);
  return true;
}

void header_standard_new(Deck& deck, std::string_view /*ignored*/, std::string_view title) {
  deck.line(kXmlDeclaration);
  deck.line(kDocumentType);
  deck.line();
  deck.line("<wml>");
  deck.line("  <template>");
  deck.line(R"(      <do type="prev" label="Back">)");
  deck.line("         <prev/>");
  deck.line("      </do>");
  deck.line("   </template>");
  deck.line();
  standardCardLine(deck, title);
}

void footer_standard(Deck& deck, std::string_view backLink) {
  deck.line(R"(<a href=")", backLink, R"(">Back</a> <a href="/">Main</a> <a href="/oabt">About</a><br/>)");
  deck.line("</p></card>");
  deck.line("</wml>");
  deck.close();
}

}  // namespace kova::wml
