#include "platform/wx/loop_bridge.h"

#include <wx/defs.h>

#ifdef __WXGTK__
#include <glib-unix.h>
#endif

namespace kova::platform::wx {

#ifdef __WXGTK__

namespace {

/// The toolkit's own pending calls run at this priority, below those of events, layout and painting; sources
/// of one priority take turns.
constexpr int kPriority = G_PRIORITY_DEFAULT_IDLE;

gboolean ready(gint, GIOCondition, gpointer loop) {
  static_cast<PumpedLoop*>(loop)->dispatchSlice();
  return G_SOURCE_CONTINUE;
}

}  // namespace

struct LoopBridge::Source {
  explicit Source(PumpedLoop& loop)
      : id(g_unix_fd_add_full(kPriority, loop.descriptor(), G_IO_IN, &ready, &loop, nullptr)) {}
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  ~Source() { g_source_remove(id); }

  guint id;
};

#else

/// The toolkit fetches the window messages of the whole thread, and with them ours.
struct LoopBridge::Source {
  explicit Source(PumpedLoop&) {}
};

#endif

LoopBridge::LoopBridge(PumpedLoop& loop) : source_(std::make_unique<Source>(loop)) {}

LoopBridge::~LoopBridge() = default;

}  // namespace kova::platform::wx
