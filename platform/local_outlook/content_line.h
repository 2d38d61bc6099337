#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kova::platform::local_outlook {

/// A text with every kind of line end (CR LF, LF, CR) made CR LF.
std::string withCrLf(std::string_view text);

/// The first line of a text, and what follows it.
struct FirstLine {
  std::string_view line;
  std::string_view rest;
};
FirstLine splitFirstLine(std::string_view text);

/// The value of a TEXT property (RFC 5545 3.3.11, RFC 6350 3.4): backslash, comma, semicolon and line ends
/// are escaped, other control characters are left out, what is not UTF-8 is read as ISO-8859-1.
std::string escapedText(std::string_view raw);

/// Undoes escapedText; line ends become CR LF.
std::string unescapedText(std::string_view value);

/// Splits a value at a separator that has no backslash before it. The parts are still escaped.
std::vector<std::string_view> splitValue(std::string_view value, char separator);

/// The text of a file of content lines as UTF-8. Some writers fold lines within a character.
std::string contentText(const std::string& bytes);

/// Adds "name:value" with CR LF, folded to lines of at most 75 octets, never within a character.
void appendContentLine(std::string& to, std::string_view name, std::string_view value);

/// A line of vCard, unfolded: its parts refer to the line's text.
struct ContentLine {
  struct Parameter {
    std::string name;   ///< upper case; "TYPE" for a value that stands alone
    std::string value;  ///< without quotes
  };
  std::string name;  ///< upper case, without the group
  std::vector<Parameter> parameters;
  std::string_view value;
};
std::optional<ContentLine> parseContentLine(std::string_view line);

/// Hands out the lines of vCard text unfolded: lines continued by a blank, and the soft line breaks of a
/// quoted-printable value of vCard 2.1.
class ContentLines {
 public:
  explicit ContentLines(std::string_view text) : rest_(text) {}
  /// False behind the last line. Empty lines are passed over.
  bool next(std::string& line);

 private:
  std::string_view takePhysicalLine();

  std::string_view rest_;
};

}  // namespace kova::platform::local_outlook
