#include "platform/wx/loop_bridge.h"

#include <glib-unix.h>
#include <poll.h>

#include <chrono>
#include <utility>

namespace kova::platform::wx {

namespace {

/// How long phones may keep the loop before it looks after the windows again.
constexpr std::chrono::milliseconds kSlice{4};

/// The toolkit's own pending calls run at this priority, below those of events, layout and painting; sources
/// of one priority take turns.
constexpr int kPriority = G_PRIORITY_DEFAULT_IDLE;

bool readable(int descriptor) {
  pollfd wanted{descriptor, POLLIN, 0};
  return ::poll(&wanted, 1, 0) > 0;
}

}  // namespace

struct LoopBridge::Source {
  std::function<void()> dispatch;
  guint id = 0;

  static gboolean ready(gint descriptor, GIOCondition, gpointer data) {
    const auto& dispatch = static_cast<Source*>(data)->dispatch;
    const auto end = std::chrono::steady_clock::now() + kSlice;
    do {
      dispatch();
    } while (readable(descriptor) && std::chrono::steady_clock::now() < end);
    return G_SOURCE_CONTINUE;
  }
};

LoopBridge::LoopBridge(int descriptor, std::function<void()> dispatch)
    : source_(std::make_unique<Source>(Source{std::move(dispatch)})) {
  source_->id = g_unix_fd_add_full(kPriority, descriptor, G_IO_IN, &Source::ready, source_.get(), nullptr);
}

LoopBridge::~LoopBridge() { g_source_remove(source_->id); }

}  // namespace kova::platform::wx
