#include "platform/posix/socket_trace.h"

#include <string>

#include "base/date_format.h"
#include "base/text.h"
#include "platform/posix/clock.h"
#include "platform/posix/files.h"

namespace kova::platform::posix {

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
    to += base::kCrLf;
  }
}

}  // namespace

void traceCall(const SocketTrace& trace, int handle, std::string_view call, long result, int error,
               std::string_view bytes) {
  const bool failed = error != socket_error::kNone;
  const bool wouldBlock = error == socket_error::kWouldBlock || error == socket_error::kInProgress;
  if (trace.level == 1 && (!failed || wouldBlock)) return;
  if (trace.level == 2 && !failed) return;

  std::string text = base::logStamp(PosixClock().localNow());
  text.append("SOCKET ").append(std::to_string(handle)).append(": ").append(call);
  text.append(" = ").append(std::to_string(result));
  if (failed) text.append(", Error ").append(std::to_string(error));
  text += base::kCrLf;
  if (trace.level == 4) appendDump(text, bytes);
  PosixFiles().append(trace.file, text);
}

}  // namespace kova::platform::posix
