#pragma once

#include <string_view>

#include "platform/socket.h"

namespace kova::platform::posix {

/// True when the settings ask for anything at all.
inline bool tracing(const SocketTrace& trace) { return trace.enabled && !trace.file.empty(); }

/// Adds one call to the trace file, as far as the level asks for it:
/// "05-03-14 09:30:00 SOCKET 7: read 2048 = 311" or "... = -1, Error 24054". Level 4 puts the bytes below it,
/// 16 in a line, in hexadecimal and as text. A file that cannot be written is passed over.
void traceCall(const SocketTrace& trace, int handle, std::string_view call, long result, int error,
               std::string_view bytes = {});

}  // namespace kova::platform::posix
