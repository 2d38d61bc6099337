#pragma once

#include <string_view>

#include "base/socket_trace.h"

namespace kova::platform::posix {

using base::tracing;

/// Adds one call to the trace file. A file that cannot be written is passed over.
void traceCall(const SocketTrace& trace, int handle, std::string_view call, long result, int error,
               std::string_view bytes = {});

}  // namespace kova::platform::posix
