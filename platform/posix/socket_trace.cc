#include "platform/posix/socket_trace.h"

#include <string>

#include "platform/posix/clock.h"
#include "platform/posix/files.h"

namespace kova::platform::posix {

void traceCall(const SocketTrace& trace, int handle, std::string_view call, long result, int error,
               std::string_view bytes) {
  const std::string entry =
      base::traceEntry(trace, PosixClock().localNow(), handle, call, result, error, bytes);
  if (!entry.empty()) PosixFiles().append(trace.file, entry);
}

}  // namespace kova::platform::posix
