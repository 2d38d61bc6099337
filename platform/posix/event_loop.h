#pragma once

#include <sys/epoll.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "base/call_queue.h"
#include "platform/event_loop.h"
#include "platform/machine.h"
#include "platform/posix/file_descriptor.h"

namespace kova::platform::posix {

/// Hears of what a watched descriptor can do.
class DescriptorHandler {
 public:
  /// `events` are epoll's: EPOLLIN, EPOLLOUT, EPOLLRDHUP, and unasked EPOLLERR and EPOLLHUP. Level-triggered:
  /// comes again as long as the state lasts. May end its own watch or any other one, and destroy itself.
  virtual void onDescriptor(std::uint32_t events) = 0;

 protected:
  ~DescriptorHandler() = default;
};

/// Is called once at the end of a round.
class RoundEndHandler {
 public:
  virtual void onRoundEnd() = 0;

 protected:
  ~RoundEndHandler() = default;
};

/// The event loop on one epoll descriptor: either run() goes round until quit(), or a toolkit's own loop
/// waits on descriptor() and calls dispatchSlice().
///
/// One round: poll the descriptors, call the handlers of those that can do something, run the calls that were
/// asked for before the poll and are due, then the round-end handlers. What a callback asks for with delay
/// zero runs in a later round, so callbacks that ask for each other starve no descriptor.
class PosixEventLoop final : public EventLoop, public PumpedLoop {
 public:
  using SteadyTime = base::CallQueue::SteadyTime;

  /// A descriptor under watch, until destroyed or reset. The loop, the handler and the descriptor must
  /// outlive it.
  class Watch {
   public:
    Watch() = default;
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    Watch(Watch&& other) noexcept;
    Watch& operator=(Watch&& other) noexcept;
    ~Watch() { reset(); }

    explicit operator bool() const { return loop_ != nullptr; }
    /// What to wait for: EPOLLIN, EPOLLOUT, EPOLLRDHUP or 0.
    void setEvents(std::uint32_t events);
    std::uint32_t events() const;
    /// Events that were fetched for the old handler go to the new one.
    void setHandler(DescriptorHandler& handler);
    /// No event comes after this, not even one that is already fetched.
    void reset();
    /// As reset(), for a descriptor that has no duplicate and is closed at once: saves the system call.
    void resetBeforeClose();
    /// Different for every watch that the loop ever made; 0 for none.
    std::uint64_t id() const { return id_; }

   private:
    friend class PosixEventLoop;
    Watch(PosixEventLoop& loop, std::uint64_t id) : loop_(&loop), id_(id) {}
    PosixEventLoop* loop_ = nullptr;
    std::uint64_t id_ = 0;
  };

  PosixEventLoop();
  ~PosixEventLoop() override;
  PosixEventLoop(const PosixEventLoop&) = delete;
  PosixEventLoop& operator=(const PosixEventLoop&) = delete;

  /// A Timer may outlive the loop; its call then never comes.
  [[nodiscard]] std::unique_ptr<Timer> callAfter(std::chrono::milliseconds delay,
                                                 std::function<void()> callback) override;

  /// Not set (operator bool) when the kernel refuses.
  [[nodiscard]] Watch watch(int fd, std::uint32_t events, DescriptorHandler& handler);
  bool watching(std::uint64_t watchId) const;

  /// Calls `handler` once at the end of the round that is under way, or of the next one. The handler must
  /// outlive the loop or cancelRoundEnd().
  void callAtRoundEnd(RoundEndHandler& handler);
  void cancelRoundEnd(RoundEndHandler& handler);

  void run() override;
  void quit() override { quit_ = true; }
  /// Goes round until `done` or until `limit` is over; quit() does not end it. True when done.
  bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);

  /// From the first call on timers count too.
  int descriptor() override;
  /// One round that does not wait.
  void dispatchPending();
  /// Rounds for as long as something comes within kLinger of the last, at most for kSlice: a busy server does
  /// not go round the toolkit's loop for every packet, and the owner never waits for long. Does nothing when
  /// it is called from a callback of the loop.
  void dispatchSlice() override;
  static constexpr std::chrono::milliseconds kSlice{10};
  static constexpr std::chrono::milliseconds kLinger{2};

  /// The time at which the present round began; cheap.
  SteadyTime roundTime() const { return roundTime_; }
  std::uint64_t roundNumber() const { return roundNumber_; }

 private:
  struct Watched {
    DescriptorHandler* handler = nullptr;
    int fd = -1;
    std::uint32_t generation = 1;
    std::uint32_t events = 0;
  };

  Watched* watched(std::uint64_t id);
  void endWatch(std::uint64_t id, bool tellKernel);
  /// True when anything was called.
  bool round(int timeoutMs);
  bool endRound();
  /// For epoll_wait: 0 when something is to be done, -1 when there is no timer.
  int timeToNextCallMs() const;
  void armTimerDescriptor();

  FileDescriptor epoll_;
  FileDescriptor timerDescriptor_;  // only in pumped mode
  SteadyTime armedFor_ = SteadyTime::max();

  std::vector<Watched> watches_;
  std::vector<std::uint32_t> freeWatches_;
  std::vector<epoll_event> fetched_;

  base::CallQueue calls_;
  std::vector<RoundEndHandler*> roundEndHandlers_;
  SteadyTime roundTime_;
  std::uint64_t roundNumber_ = 0;
  bool inRound_ = false;
  bool inSlice_ = false;  // the timer descriptor is set at its end
  bool quit_ = false;
};

}  // namespace kova::platform::posix
