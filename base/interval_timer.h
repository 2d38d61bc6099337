#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

#include "platform/clock.h"
#include "platform/event_loop.h"

namespace kova::base {

/// Ticks at fixed distances of the monotonic clock, counted from the moment it is enabled. A change of the
/// date moves no tick, and ticks that were missed (the machine was busy or asleep) are not made up for. The
/// loop and the clock must outlive it.
class IntervalTimer {
 public:
  IntervalTimer(platform::EventLoop& loop, const platform::Clock& clock, std::chrono::milliseconds interval)
      : loop_(loop), clock_(clock), interval_(interval) {}

  bool enabled() const { return call_ != nullptr; }
  /// The first tick comes one interval after enabling. May be called from onTick.
  void setEnabled(bool on) {
    if (on == enabled()) return;
    call_.reset();
    due_ = clock_.monotonic();
    if (on) waitForNext();
  }

  std::function<void()> onTick;

 private:
  void waitForNext() {
    const auto now = clock_.monotonic();
    due_ += interval_ * ((now - due_) / interval_ + 1);
    call_ = loop_.callAfter(due_ - now, [this] {
      waitForNext();
      if (onTick) onTick();
    });
  }

  platform::EventLoop& loop_;
  const platform::Clock& clock_;
  std::chrono::milliseconds interval_;
  std::chrono::milliseconds due_{0};
  std::unique_ptr<platform::EventLoop::Timer> call_;
};

}  // namespace kova::base
