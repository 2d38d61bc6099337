#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "platform/clock.h"
#include "platform/controls.h"
#include "platform/files.h"

namespace kova::server {

/// The running log of the server: time-stamped lines in the log box, in the trace file when one is set, and
/// wherever else the program wants them.
class ServerLog {
 public:
  /// The log box keeps this many of its newest characters.
  static constexpr std::size_t kBoxCharacters = 16000;

  ServerLog(const platform::Clock& clock, platform::Files& files, platform::LogBox& box,
            std::string executable);

  /// Stamps a line and writes it to the trace file and the log box. A line is one line of text: control
  /// characters that a phone has put into it are shown as "." and bytes that are not UTF-8 as ISO-8859-1.
  void LogLine(std::string_view text);

  /// An error line: `message` (which ends with its own "Error #"), the number, the peer and a position in
  /// bytes.
  void LogError(std::string_view message, int error, std::string_view peer, std::int64_t position);

  /// Adds a stamped line to the log box and keeps its newest characters.
  void AppendLogBox(std::string line);

  /// Adds a stamped line to the trace file when one is set.
  void WriteTraceLine(std::string_view line);

  /// Name of the trace file; empty: none.
  std::function<std::string()> traceFile;
  /// Gets every stamped line, with its line end, as it goes into the log box.
  std::function<void(std::string_view)> onLine;

 private:
  const platform::Clock& clock_;
  platform::Files& files_;
  platform::LogBox& box_;
  std::string executable_;
};

}  // namespace kova::server
