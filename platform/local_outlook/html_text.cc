#include "platform/local_outlook/html_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "base/text.h"

namespace kova::platform::local_outlook {
namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 44> kEntities = {{
    {"amp", "&"},   {"lt", "<"},     {"gt", ">"},     {"quot", "\""},  {"apos", "'"},   {"nbsp", " "},
    {"auml", "ä"},  {"ouml", "ö"},   {"uuml", "ü"},   {"Auml", "Ä"},   {"Ouml", "Ö"},   {"Uuml", "Ü"},
    {"szlig", "ß"}, {"eacute", "é"}, {"egrave", "è"}, {"ecirc", "ê"},  {"agrave", "à"}, {"aacute", "á"},
    {"acirc", "â"}, {"ccedil", "ç"}, {"ntilde", "ñ"}, {"oacute", "ó"}, {"iacute", "í"}, {"uacute", "ú"},
    {"euro", "€"},  {"pound", "£"},  {"copy", "©"},   {"reg", "®"},    {"trade", "™"},  {"deg", "°"},
    {"sect", "§"},  {"para", "¶"},   {"middot", "·"}, {"bull", "•"},   {"hellip", "…"}, {"ndash", "–"},
    {"mdash", "—"}, {"lsquo", "‘"},  {"rsquo", "’"},  {"ldquo", "“"},  {"rdquo", "”"},  {"laquo", "«"},
    {"raquo", "»"}, {"times", "×"},
}};

// Elements that start and end a line.
constexpr std::array<std::string_view, 27> kBlocks = {
    "p",  "div",  "tr",      "li",      "ul",         "ol",     "table",   "h1",     "h2",
    "h3", "h4",   "h5",      "h6",      "blockquote", "pre",    "hr",      "dl",     "dt",
    "dd", "form", "section", "article", "header",     "footer", "address", "center", "body"};
// Elements whose content is not shown.
constexpr std::array<std::string_view, 6> kHidden = {"script", "style",    "head",
                                                     "title",  "template", "noscript"};

void appendUtf8(std::string& to, std::uint32_t code) {
  if (code < 0x20 || (code >= 0x7f && code < 0xa0) || code > 0x10ffff || (code >= 0xd800 && code < 0xe000))
    code = ' ';
  if (code < 0x80) {
    to += static_cast<char>(code);
  } else if (code < 0x800) {
    to += static_cast<char>(0xc0 | (code >> 6));
    to += static_cast<char>(0x80 | (code & 0x3f));
  } else if (code < 0x10000) {
    to += static_cast<char>(0xe0 | (code >> 12));
    to += static_cast<char>(0x80 | ((code >> 6) & 0x3f));
    to += static_cast<char>(0x80 | (code & 0x3f));
  } else {
    to += static_cast<char>(0xf0 | (code >> 18));
    to += static_cast<char>(0x80 | ((code >> 12) & 0x3f));
    to += static_cast<char>(0x80 | ((code >> 6) & 0x3f));
    to += static_cast<char>(0x80 | (code & 0x3f));
  }
}

/// Decodes the entity at the start of `text`, which begins with "&"; the number of bytes it takes, 0 when it
/// is none.
std::size_t decodeEntity(std::string_view text, std::string& decoded) {
  const auto end = text.substr(0, 12).find(';');
  if (end == std::string_view::npos || end < 2) return 0;
  const std::string_view name = text.substr(1, end - 1);
  if (name.front() == '#') {
    const bool isHex = name.size() > 1 && (name[1] == 'x' || name[1] == 'X');
    const std::string_view digits = name.substr(isHex ? 2 : 1);
    if (digits.empty()) return 0;
    std::uint32_t code = 0;
    for (const char c : digits) {
      const std::uint32_t digit = c >= '0' && c <= '9'            ? static_cast<std::uint32_t>(c - '0')
                                  : isHex && c >= 'a' && c <= 'f' ? static_cast<std::uint32_t>(c - 'a' + 10)
                                  : isHex && c >= 'A' && c <= 'F' ? static_cast<std::uint32_t>(c - 'A' + 10)
                                                                  : 99;
      if (digit == 99) return 0;
      code = std::min<std::uint32_t>(code * (isHex ? 16 : 10) + digit, 0x110000);
    }
    appendUtf8(decoded, code == 0xa0 ? ' ' : code);
    return end + 1;
  }
  const auto known = std::ranges::find(kEntities, name, [](const auto& entity) { return entity.first; });
  if (known == kEntities.end()) return 0;
  decoded += known->second;
  return end + 1;
}

struct Tag {
  std::string name;
  bool closes = false;
  std::size_t length = 0;  ///< in bytes, from "<" to ">"
};

/// The tag at the start of `text`, which begins with "<"; length 0 when it is none.
Tag parseTag(std::string_view text) {
  Tag tag;
  if (text.starts_with("<!--")) {
    const auto end = text.find("-->", 4);
    tag.length = end == std::string_view::npos ? text.size() : end + 3;
    return tag;
  }
  std::size_t at = 1;
  if (at < text.size() && text[at] == '/') {
    tag.closes = true;
    ++at;
  }
  const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  const bool isDeclaration = at < text.size() && (text[at] == '!' || text[at] == '?');
  if (!isDeclaration && (at >= text.size() || !isLetter(text[at]))) return tag;
  const std::size_t nameStart = at;
  while (at < text.size() && (isLetter(text[at]) || (text[at] >= '0' && text[at] <= '9'))) ++at;
  tag.name = base::asciiLower(text.substr(nameStart, at - nameStart));
  char quote = 0;
  for (; at < text.size(); ++at) {
    const char c = text[at];
    if (quote != 0)
      quote = c == quote ? '\0' : quote;
    else if (c == '"' || c == '\'')
      quote = c;
    else if (c == '>')
      break;
  }
  tag.length = std::min(at + 1, text.size());
  if (quote != 0) {  // a quote that is never closed: the tag ends at the first ">"
    const auto end = text.find('>');
    tag.length = end == std::string_view::npos ? text.size() : end + 1;
  }
  return tag;
}

class Writer {
 public:
  void blank() { blank_ = true; }
  void lineEnd() {
    blank_ = false;
    if (!text_.empty()) ++lineEnds_;
  }
  /// A block starts or ends here.
  void block() {
    if (lineEnds_ == 0) lineEnd();
    blank_ = false;
  }
  void visible(std::string_view piece) {
    for (int i = 0; i < std::min(lineEnds_, 2); ++i) text_ += "\r\n";
    if (blank_ && lineEnds_ == 0 && !text_.empty()) text_ += ' ';
    lineEnds_ = 0;
    blank_ = false;
    text_ += piece;
  }
  std::string take() { return std::move(text_); }

 private:
  std::string text_;
  bool blank_ = false;
  int lineEnds_ = 0;
};

}  // namespace

std::string textOfHtml(std::string_view html) {
  Writer writer;
  bool preformatted = false;
  while (!html.empty()) {
    const char c = html.front();
    if (c == '<') {
      const Tag tag = parseTag(html);
      if (tag.length > 0) {
        html.remove_prefix(tag.length);
        if (!tag.closes && std::ranges::find(kHidden, tag.name) != kHidden.end()) {
          // Everything up to the closing tag; a text that lacks it shows nothing more.
          const std::string closing = "</" + tag.name;
          std::size_t at = html.find('<');
          while (at != std::string_view::npos && base::asciiLower(html.substr(at, closing.size())) != closing)
            at = html.find('<', at + 1);
          html.remove_prefix(at == std::string_view::npos ? html.size() : at);
        } else if (tag.name == "br") {
          writer.lineEnd();
        } else if (tag.name == "td" || tag.name == "th") {
          writer.blank();
        } else if (std::ranges::find(kBlocks, tag.name) != kBlocks.end()) {
          writer.block();
          if (tag.name == "pre") preformatted = !tag.closes;
        }
        continue;
      }
    }
    if (c == '\n' && preformatted) {
      writer.lineEnd();
      html.remove_prefix(1);
    } else if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      if (preformatted && c != '\r')
        writer.visible(" ");
      else
        writer.blank();
      html.remove_prefix(1);
    } else if (c == '&') {
      std::string decoded;
      const std::size_t length = decodeEntity(html, decoded);
      if (length == 0)
        writer.visible("&");
      else if (decoded == " ")
        writer.blank();
      else
        writer.visible(decoded);
      html.remove_prefix(std::max<std::size_t>(length, 1));
    } else {
      std::size_t length = 1;
      while (length < html.size() &&
             std::string_view("<& \t\r\n").find(html[length]) == std::string_view::npos)
        ++length;
      writer.visible(html.substr(0, length));
      html.remove_prefix(length);
    }
  }
  return writer.take();
}

}  // namespace kova::platform::local_outlook
