#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kova::base {

inline constexpr std::string_view kCrLf = "\r\n";

/// The first `count` characters (code points) of a UTF-8 text; a byte that belongs to no well-formed sequence
/// counts as a character.
std::string_view firstCharacters(std::string_view text, std::size_t count);

/// The last `count` characters of a UTF-8 text.
std::string_view lastCharacters(std::string_view text, std::size_t count);

/// Number of characters of a UTF-8 text.
std::size_t characterCount(std::string_view text);

/// True when the text is more than `count` characters long.
bool longerThan(std::string_view text, std::size_t count);

bool validUtf8(std::string_view text);

/// The text itself when it is UTF-8, else its bytes read as ISO-8859-1.
std::string toUtf8(std::string_view bytes);

/// Upper case of every letter that has one, in any script the C++ library knows.
std::string upperCase(std::string_view text);
/// Likewise, in place of what `into` holds; for many texts one after another.
void upperCase(std::string_view text, std::string& into);

/// ASCII letters in lower case; all other bytes as they are. For protocol words and file endings.
std::string asciiLower(std::string_view text);

/// Without the blanks (space, tab, CR, LF, NUL) at both ends.
std::string_view trim(std::string_view text);

/// Every occurrence of `what` (not empty) replaced.
std::string replaceAll(std::string_view text, std::string_view what, std::string_view with);

}  // namespace kova::base
