#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>

#include "platform/event_loop.h"

namespace kova::base {

/// The calls that an event loop owes: each is run once, when it is due, in the order of asking among those
/// that fall due together. Destroying a call's Timer cancels it. A Timer may outlive the queue; its call then
/// never comes.
class CallQueue {
 public:
  using SteadyTime = std::chrono::steady_clock::time_point;

  CallQueue() = default;
  CallQueue(const CallQueue&) = delete;
  CallQueue& operator=(const CallQueue&) = delete;
  ~CallQueue();

  /// As EventLoop::callAfter.
  [[nodiscard]] std::unique_ptr<platform::EventLoop::Timer> add(std::chrono::milliseconds delay,
                                                                std::function<void()> callback);

  /// What is asked for from now on has this number or a larger one.
  std::uint64_t nextSequence() const { return nextSequence_; }
  /// Runs what is due and was asked for before that number. True when there was something.
  bool runDue(std::uint64_t before);

  /// When the next call is due: the earliest time there is for a call without delay. Empty when there is
  /// none.
  std::optional<SteadyTime> nextDue() const;
  /// The same as a time to wait, for poll() and the like: rounded up, 0 when something is due, -1 when there
  /// is no call.
  int timeToNextMs() const;

 private:
  class Call;
  struct Earlier {
    bool operator()(const Call* a, const Call* b) const;
  };

  Call* nextDueCall(std::uint64_t before, SteadyTime now) const;

  // Calls without delay, in order, and the others by due time. Both are owned by whoever asked.
  Call* firstCall_ = nullptr;
  Call* lastCall_ = nullptr;
  std::set<Call*, Earlier> delayedCalls_;
  std::uint64_t nextSequence_ = 1;
};

}  // namespace kova::base
