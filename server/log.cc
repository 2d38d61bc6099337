#include "server/log.h"

#include <algorithm>

#include "base/date_format.h"
#include "base/text.h"

namespace kova::server {

ServerLog::ServerLog(const platform::Clock& clock, platform::Files& files, platform::LogBox& box,
                     std::string executable)
    : clock_(clock), files_(files), box_(box), executable_(std::move(executable)) {}

void ServerLog::LogLine(std::string_view text) {
  std::string line = base::toUtf8(text);
  std::replace_if(line.begin(), line.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '.');
  // The controls U+0080 to U+009F, which a terminal obeys as well.
  for (std::size_t at = 0; at + 1 < line.size(); ++at) {
    const bool control = line[at] == '\xC2' && static_cast<unsigned char>(line[at + 1]) < 0xA0;
    if (control) line.replace(at, 2, ".");
  }
  // Two stamps: the file and the box may differ by a second.
  if (traceFile && !traceFile().empty()) WriteTraceLine(base::logStamp(clock_.localNow()) + line);
  AppendLogBox(base::logStamp(clock_.localNow()).append(line));
}

void ServerLog::LogError(std::string_view message, int error, std::string_view peer, std::int64_t position) {
  std::string line(message);
  line.append(": ").append(std::to_string(error)).append(" on client ").append(peer);
  line.append(" at BYTE ").append(std::to_string(position));
  LogLine(line);
}

void ServerLog::AppendLogBox(std::string line) {
  line += base::kCrLf;
  box_.append(line);
  if (onLine) onLine(line);
}

void ServerLog::WriteTraceLine(std::string_view line) {
  const std::string file = traceFile ? traceFile() : std::string();
  if (file.empty()) return;
  std::string ended = executable_ + " APP: ";
  ended.append(line).append(base::kCrLf);
  files_.append(file, ended);
}

}  // namespace kova::server
