#include "base/text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

#include "base/upper_case_table.h"

namespace kova::base {

namespace {

using Byte = unsigned char;

constexpr bool isAscii(char c) { return static_cast<Byte>(c) < 0x80; }
constexpr bool isContinuation(char c) { return (static_cast<Byte>(c) & 0xC0) == 0x80; }
constexpr char asciiUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

struct Character {
  std::size_t bytes;   // 1 for a byte that belongs to no well-formed sequence
  char32_t codePoint;  // meaningful when well-formed
  bool wellFormed;
};

/// The first character of a text that is not empty (RFC 3629: no overlong forms, no surrogates).
Character firstCharacter(std::string_view text) {
  const Byte lead = static_cast<Byte>(text[0]);
  if (lead < 0x80) return {1, lead, true};
  const std::size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < bytes) return {1, 0, false};
  char32_t codePoint = lead & (0x7Fu >> bytes);
  for (std::size_t i = 1; i < bytes; ++i) {
    if (!isContinuation(text[i])) return {1, 0, false};
    codePoint = (codePoint << 6) | (static_cast<Byte>(text[i]) & 0x3Fu);
  }
  constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
  if (codePoint < kSmallest[bytes] || surrogate || codePoint > 0x10FFFF) return {1, 0, false};
  return {bytes, codePoint, true};
}

void appendUtf8(std::string& text, char32_t codePoint) {
  const auto put = [&text](char32_t byte) { text.push_back(static_cast<char>(static_cast<Byte>(byte))); };
  if (codePoint < 0x80) {
    put(codePoint);
  } else if (codePoint < 0x800) {
    put(0xC0 | (codePoint >> 6));
    put(0x80 | (codePoint & 0x3F));
  } else if (codePoint < 0x10000) {
    put(0xE0 | (codePoint >> 12));
    put(0x80 | ((codePoint >> 6) & 0x3F));
    put(0x80 | (codePoint & 0x3F));
  } else {
    put(0xF0 | (codePoint >> 18));
    put(0x80 | ((codePoint >> 12) & 0x3F));
    put(0x80 | ((codePoint >> 6) & 0x3F));
    put(0x80 | (codePoint & 0x3F));
  }
}

char32_t upperCodePoint(char32_t codePoint) {
  const auto row = std::lower_bound(std::begin(kUpperCase), std::end(kUpperCase), codePoint,
                                    [](const UpperCaseRow& each, char32_t code) { return each.last < code; });
  if (row == std::end(kUpperCase) || codePoint < row->first || (codePoint - row->first) % row->step != 0)
    return codePoint;
  return static_cast<char32_t>(static_cast<std::int32_t>(codePoint) + row->distance);
}

}  // namespace

std::string_view firstCharacters(std::string_view text, std::size_t count) {
  if (text.size() <= count) return text;
  std::size_t at = 0;
  for (; count > 0 && at < text.size(); --count) at += firstCharacter(text.substr(at)).bytes;
  return text.substr(0, at);
}

std::string_view lastCharacters(std::string_view text, std::size_t count) {
  if (text.size() <= count) return text;
  std::size_t at = text.size();
  for (; count > 0 && at > 0; --count) {
    // A character is at most four bytes long; the longest well-formed one that ends here is it.
    std::size_t bytes = 1;
    for (std::size_t tried = 2; tried <= 4 && tried <= at && isContinuation(text[at - tried + 1]); ++tried) {
      if (firstCharacter(text.substr(at - tried, tried)).bytes == tried) bytes = tried;
    }
    at -= bytes;
  }
  return text.substr(at);
}

std::size_t characterCount(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size(); ++count) {
    at += isAscii(text[at]) ? 1 : firstCharacter(text.substr(at)).bytes;
  }
  return count;
}

bool longerThan(std::string_view text, std::size_t count) {
  return firstCharacters(text, count).size() < text.size();
}

bool validUtf8(std::string_view text) {
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    if (!character.wellFormed) return false;
    text.remove_prefix(character.bytes);
  }
  return true;
}

std::string toUtf8(std::string_view bytes) {
  if (validUtf8(bytes)) return std::string(bytes);
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const char byte : bytes) appendUtf8(text, static_cast<Byte>(byte));
  return text;
}

std::string upperCase(std::string_view text) {
  std::string upper;
  upperCase(text, upper);
  return upper;
}

void upperCase(std::string_view text, std::string& into) {
  into.clear();
  while (!text.empty()) {
    const auto plainEnd = std::find_if_not(text.begin(), text.end(), isAscii);
    const auto plain = static_cast<std::size_t>(plainEnd - text.begin());
    const std::size_t from = into.size();
    into.append(text, 0, plain);
    std::transform(into.begin() + static_cast<std::ptrdiff_t>(from), into.end(),
                   into.begin() + static_cast<std::ptrdiff_t>(from), asciiUpper);
    text.remove_prefix(plain);
    if (text.empty()) return;

    const Character character = firstCharacter(text);
    if (character.wellFormed) {
      appendUtf8(into, upperCodePoint(character.codePoint));
    } else {
      into.push_back(text[0]);
    }
    text.remove_prefix(character.bytes);
  }
}

std::string asciiLower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

std::string_view trim(std::string_view text) {
  constexpr std::string_view kBlanks(" \t\r\n\0", 5);
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string replaceAll(std::string_view text, std::string_view what, std::string_view with) {
  std::string result;
  result.reserve(text.size());
  for (;;) {
    const std::size_t at = text.find(what);
    result.append(text.substr(0, at));
    if (at == std::string_view::npos) return result;
    result.append(with);
    text.remove_prefix(at + what.size());
  }
}

}  // namespace kova::base
