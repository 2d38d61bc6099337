#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// How the replies of a mailbox (RFC 1939) and the mails in them are read for a phone. All of it works on any
/// text, in time that grows with its length.
namespace kova::pop3 {

/// What is shown of one message in all, in characters.
inline constexpr std::size_t kMessageCharacters = 1950;

/// The number of messages in the reply to STAT ("+OK 3 1480"): what stands behind its first blank, up to
/// the next one or the end of the line, whatever it is.
std::string_view messageCount(std::string_view reply);

/// kept: what stands in the first angle brackets of the reply, of whatever header they are. Without brackets
/// the sender is the reply from its start on; one that is never closed is not cut.
std::string_view senderIn(std::string_view reply);

/// The rest of the line behind the first "Subject: ".
std::string_view subjectIn(std::string_view reply);

/// Every "=" with the two characters behind it, read as a hexadecimal number (0 when they are none), becomes
/// the byte of that number.
/// kept: what was replaced is looked at again from the first "=" on, so "=3D41" becomes "A", and "=" at the
/// end of a line becomes a NUL character.
std::string withCodesReplaced(std::string_view text);

/// A subject, in UTF-8. The first encoded word of the one known kind ("=?iso-8859-1?q?...?=", RFC 2047) is
/// decoded.
/// kept: text around it is lost, underscores stay.
std::string decodedSubject(std::string_view subject);

/// The plain text of a mail, in UTF-8, with its own line ends. `mail` begins behind the "Subject: " of its
/// header.
std::string decodedBody(std::string_view mail);

/// The reply to TOP as it is shown on the card: sender, subject and the start of the body, escaped, with line
/// breaks.
std::string messageText(std::string_view reply);

/// Text of a mail server or a phone, fit for a card: in UTF-8, escaped, without what no deck may hold.
std::string cardText(std::string_view text);

/// A text as an argument of a command: up to its first CR, LF or NUL, so that it can never add a second
/// command.
std::string_view asArgument(std::string_view text);

}  // namespace kova::pop3
