#pragma once

#include <string>
#include <string_view>

#include "platform/date_time.h"
#include "platform/socket.h"

namespace kova::base {

/// True when the settings ask for anything at all.
inline bool tracing(const platform::SocketTrace& trace) { return trace.enabled && !trace.file.empty(); }

/// One call as the trace file has it, as far as the level asks for it; empty when it does not:
/// "05-03-14 09:30:00 SOCKET 7: read 2048 = 311" or "... = -1, Error 24054". Level 4 puts the bytes below it,
/// 16 in a line, in hexadecimal and as text.
std::string traceEntry(const platform::SocketTrace& trace, const platform::DateTime& now, int handle,
                       std::string_view call, long result, int error, std::string_view bytes = {});

}  // namespace kova::base
