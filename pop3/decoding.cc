#include "pop3/decoding.h"

#include <algorithm>

#include "base/number.h"
#include "base/text.h"
#include "wml/deck.h"

namespace kova::pop3 {

namespace {

constexpr std::string_view kSubject = "Subject: ";
constexpr std::string_view kEncodedWord = "=?iso-8859-1?q?";
constexpr std::string_view kEncodedWordEnd = "?=";
constexpr std::string_view kEmptyLine = "\r\n\r\n";

// Header lines are known in exactly these cases.
constexpr std::string_view kMultipart = "Content-type: multipart/related;";
constexpr std::string_view kTextPlain = "Content-type: text/plain;";
constexpr std::string_view kTransferEncoding = "Content-transfer-encoding:";
constexpr std::string_view kQuotedPrintable = "Content-transfer-encoding: quoted-printable";

bool contains(std::string_view text, std::string_view what) {
  return text.find(what) != std::string_view::npos;
}

std::string_view from(std::string_view text, std::size_t begin) {
  return text.substr(std::min(begin, text.size()));
}

/// What follows the first `what`.
/// kept: a text without it is taken as one in which it begins one character before the start, so the result
/// is the text but for its first what.size() - 1 characters.
std::string_view after(std::string_view text, std::string_view what) {
  const std::size_t at = text.find(what);
  return from(text, at == std::string_view::npos ? what.size() - 1 : at + what.size());
}

/// What stands in front of the first `what`: all of a text without it.
std::string_view before(std::string_view text, std::string_view what) {
  return text.substr(0, text.find(what));
}

/// What follows the line in which the text begins; nothing when the line does not end.
std::string_view afterLine(std::string_view text) {
  const std::size_t at = text.find(base::kCrLf);
  return at == std::string_view::npos ? std::string_view() : text.substr(at + base::kCrLf.size());
}

std::string_view plainTextPart(std::string_view mail) {
  const std::size_t header = mail.find(kTextPlain);
  if (header == std::string_view::npos) return afterLine(from(mail, kTextPlain.size()));
  std::string_view part = from(mail, header + kTextPlain.size() + 1);
  // kept: the last dashes begin the mark, though a boundary may itself begin with some.
  const std::size_t dashes = mail.substr(0, header).rfind("--");
  if (dashes != std::string_view::npos) part = before(part, mail.substr(dashes, header - dashes));
  return afterLine(part);
}

/// The start of a text that was cut, without the entity, the tag or the doubled "$" that the cut went
/// through: a deck with half of one is not shown at all.
std::string_view withoutHalfMarkup(std::string_view text) {
  const std::size_t opening = text.find_last_of("&<");
  if (opening != std::string_view::npos &&
      text.find(text[opening] == '&' ? ';' : '>', opening) == std::string_view::npos) {
    text = text.substr(0, opening);
  }
  const std::size_t dollars = text.size() - (text.find_last_not_of('$') + 1);
  return text.substr(0, text.size() - dollars % 2);
}

/// A text in quoted-printable without the code that a cut went through.
std::string_view withoutHalfCode(std::string_view text) {
  const std::size_t code = text.rfind('=');
  return code != std::string_view::npos && text.size() - code < 3 ? text.substr(0, code) : text;
}

/// Of bytes that end where a text was cut: half a character there does not make the text before it any less
/// UTF-8.
std::string cutToUtf8(std::string_view bytes) {
  const auto isContinuation = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
  const auto last = std::find_if_not(bytes.rbegin(), bytes.rend(), isContinuation);
  if (last == bytes.rend()) return base::toUtf8(bytes);
  const auto lead = static_cast<unsigned char>(*last);
  const auto begun = static_cast<std::size_t>(last - bytes.rbegin()) + 1;
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
  const std::string_view whole = bytes.substr(0, bytes.size() - begun);
  return begun < length && base::validUtf8(whole) ? std::string(whole) : base::toUtf8(bytes);
}

}  // namespace

std::string_view messageCount(std::string_view reply) {
  const std::string_view rest = after(reply, " ");
  return rest.substr(0, rest.find_first_of(" \r\n"));
}

std::string_view senderIn(std::string_view reply) { return before(after(reply, "<"), ">"); }

std::string_view subjectIn(std::string_view reply) { return before(after(reply, kSubject), base::kCrLf); }

std::string withCodesReplaced(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    char c = text.front();
    text.remove_prefix(1);
    // All in front of this "=" is done, so looking again from the first one on means to go on with it.
    while (c == '=') {
      const std::string_view code = text.substr(0, 2);
      c = static_cast<char>(base::hexNumber(code).value_or(0));
      text.remove_prefix(code.size());
    }
    result += c;
  }
  return result;
}

std::string decodedSubject(std::string_view subject) {
  if (!contains(subject, kEncodedWord)) return base::toUtf8(subject);
  return base::toUtf8(withCodesReplaced(before(after(subject, kEncodedWord), kEncodedWordEnd)));
}

std::string decodedBody(std::string_view mail) {
  std::string_view body;
  bool quotedPrintable = false;
  bool cut = false;
  if (contains(mail, kMultipart)) {
    body = plainTextPart(mail);
    quotedPrintable = contains(body, kQuotedPrintable);
    if (const std::size_t header = body.find(kTransferEncoding); header != std::string_view::npos) {
      body = afterLine(body.substr(header));
    }
  } else {
    const std::string_view whole = after(mail, kEmptyLine);
    quotedPrintable = contains(mail, kQuotedPrintable);
    body = base::firstCharacters(whole, kMessageCharacters);
    cut = body.size() < whole.size();
    if (cut && quotedPrintable) body = withoutHalfCode(body);
  }
  const std::string decoded = quotedPrintable ? withCodesReplaced(body) : std::string(body);
  return cut ? cutToUtf8(decoded) : base::toUtf8(decoded);
}

std::string messageText(std::string_view reply) {
  std::string text = " From: ";
  text.append(wml::WmlEscape(base::toUtf8(senderIn(reply)))).append(wml::kLineBreak);
  text.append("  Sjt:").append(wml::WmlEscape(decodedSubject(subjectIn(reply)))).append(wml::kLineBreak);

  std::string body = wml::WmlEscape(decodedBody(after(reply, kSubject)));
  for (int i = 0; i < 2; ++i) body = base::replaceAll(body, kEmptyLine, base::kCrLf);
  text.append(base::replaceAll(body, base::kCrLf, wml::kLineBreak));

  if (base::longerThan(text, kMessageCharacters)) {
    text = withoutHalfMarkup(base::firstCharacters(text, kMessageCharacters));
    text.append(" ...");
  }
  return wml::withoutForbidden(text);
}

std::string cardText(std::string_view text) {
  return wml::withoutForbidden(wml::WmlEscape(base::toUtf8(text)));
}

std::string_view asArgument(std::string_view text) {
  using namespace std::string_view_literals;
  return text.substr(0, text.find_first_of("\r\n\0"sv));
}

}  // namespace kova::pop3
