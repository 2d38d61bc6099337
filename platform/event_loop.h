#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace kova::platform {

/// The one thread's source of events. Everything the program does is called from here: socket events, timers
/// and (on the desktop) window events. Not thread-safe: all members are called on the loop's own thread.
class EventLoop {
 public:
  /// A pending call. Destroying it cancels the call; a call that is under way or done is not affected.
  class Timer {
   public:
    virtual ~Timer() = default;
  };

  virtual ~EventLoop() = default;

  /// Calls `callback` once, at the earliest `delay` from now and never from inside callAfter itself. Calls
  /// that fall due together run in the order in which they were asked for. A delay of zero lets every event
  /// that is already pending run first. The result is never null.
  [[nodiscard]] virtual std::unique_ptr<Timer> callAfter(std::chrono::milliseconds delay,
                                                         std::function<void()> callback) = 0;
};

}  // namespace kova::platform
