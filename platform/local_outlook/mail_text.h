#pragma once

#include <string>

namespace kova::platform::local_outlook {

/// The decoded subject of a message file (RFC 5322, RFC 2047) on one line; "" when there is none or the file
/// cannot be read. Reads no more than the header.
std::string readSubject(const std::string& path);

/// The text of a message file: its first text/plain part that is no attachment, else the text of its first
/// HTML part (RFC 2045, RFC 2046). UTF-8, line ends CR LF; "" when there is none or the file cannot be read.
std::string readBody(const std::string& path);

}  // namespace kova::platform::local_outlook
