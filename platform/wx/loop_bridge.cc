#include "platform/wx/loop_bridge.h"

#include <glib-unix.h>

#include <utility>

namespace kova::platform::wx {

namespace {

/// The toolkit's own pending calls run at this priority, below those of events, layout and painting; sources
/// of one priority take turns.
constexpr int kPriority = G_PRIORITY_DEFAULT_IDLE;

}  // namespace

struct LoopBridge::Source {
  std::function<void()> dispatch;
  guint id = 0;

  static gboolean ready(gint, GIOCondition, gpointer data) {
    static_cast<Source*>(data)->dispatch();
    return G_SOURCE_CONTINUE;
  }
};

LoopBridge::LoopBridge(int descriptor, std::function<void()> dispatch)
    : source_(std::make_unique<Source>(Source{std::move(dispatch)})) {
  source_->id = g_unix_fd_add_full(kPriority, descriptor, G_IO_IN, &Source::ready, source_.get(), nullptr);
}

LoopBridge::~LoopBridge() { g_source_remove(source_->id); }

}  // namespace kova::platform::wx
