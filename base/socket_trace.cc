#include "base/socket_trace.h"

#include <cstddef>

#include "base/date_format.h"
#include "base/text.h"

namespace kova::base {

namespace {

constexpr std::size_t kBytesPerLine = 16;

void appendDump(std::string& to, std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  for (std::size_t start = 0; start < bytes.size(); start += kBytesPerLine) {
    const std::string_view line = bytes.substr(start, kBytesPerLine);
    to += "   ";
    for (std::size_t i = 0; i < kBytesPerLine; ++i) {
      to += ' ';
      if (i < line.size()) {
        const auto byte = static_cast<unsigned char>(line[i]);
        to += kDigits[byte >> 4];
        to += kDigits[byte & 15];
      } else {
        to += "  ";
      }
    }
    to += "  ";
    for (const char c : line) to += c >= ' ' && c <= '~' ? c : '.';
    to += kCrLf;
  }
}

}  // namespace

std::string traceEntry(const platform::SocketTrace& trace, const platform::DateTime& now, int handle,
                       std::string_view call, long result, int error, std::string_view bytes) {
  const bool failed = error != platform::socket_error::kNone;
  const bool wouldBlock =
      error == platform::socket_error::kWouldBlock || error == platform::socket_error::kInProgress;
  if (trace.level == 1 && (!failed || wouldBlock)) return {};
  if (trace.level == 2 && !failed) return {};

  std::string text = logStamp(now);
  text.append("SOCKET ").append(std::to_string(handle)).append(": ").append(call);
  text.append(" = ").append(std::to_string(result));
  if (failed) text.append(", Error ").append(std::to_string(error));
  text += kCrLf;
  if (trace.level == 4) appendDump(text, bytes);
  return text;
}

}  // namespace kova::base
