#include "base/call_queue.h"

#include <climits>
#include <utility>

namespace kova::base {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class CallQueue::Call final : public platform::EventLoop::Timer {
 public:
  Call(CallQueue& queue, SteadyTime due, std::uint64_t sequence, std::function<void()> callback)
      : queue_(&queue), due_(due), sequence_(sequence), callback_(std::move(callback)) {}
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
  ~Call() override { unlink(); }

  SteadyTime due() const { return due_; }
  std::uint64_t sequence() const { return sequence_; }

  void appendToQueue() {
    previous_ = queue_->lastCall_;
    (previous_ ? previous_->next_ : queue_->firstCall_) = this;
    queue_->lastCall_ = this;
  }
  void addToDelayed() {
    delayed_ = true;
    queue_->delayedCalls_.insert(this);
  }

  void unlink() {
    if (!queue_) return;
    if (delayed_) {
      queue_->delayedCalls_.erase(this);
    } else {
      (previous_ ? previous_->next_ : queue_->firstCall_) = next_;
      (next_ ? next_->previous_ : queue_->lastCall_) = previous_;
    }
    queue_ = nullptr;
  }

  /// The call may destroy this object.
  void run() {
    unlink();
    const std::function<void()> callback = std::exchange(callback_, nullptr);
    callback();
  }

 private:
  CallQueue* queue_;  // null when the call is done or the queue is gone
  SteadyTime due_;
  std::uint64_t sequence_;
  std::function<void()> callback_;
  Call* previous_ = nullptr;
  Call* next_ = nullptr;
  bool delayed_ = false;
};

bool CallQueue::Earlier::operator()(const Call* a, const Call* b) const {
  return a->due() != b->due() ? a->due() < b->due() : a->sequence() < b->sequence();
}

CallQueue::~CallQueue() {
  while (firstCall_) firstCall_->unlink();
  while (!delayedCalls_.empty()) (*delayedCalls_.begin())->unlink();
}

std::unique_ptr<platform::EventLoop::Timer> CallQueue::add(milliseconds delay,
                                                           std::function<void()> callback) {
  const bool delayed = delay > milliseconds::zero();
  const SteadyTime now = steady_clock::now();
  // A delay beyond the clock's reach is as good as never.
  const SteadyTime due = !delayed                                 ? now
                         : delay < std::chrono::hours(24 * 36500) ? now + delay
                                                                  : SteadyTime::max();
  auto call = std::make_unique<Call>(*this, due, nextSequence_++, std::move(callback));
  if (delayed) {
    call->addToDelayed();
  } else {
    call->appendToQueue();
  }
  return call;
}

CallQueue::Call* CallQueue::nextDueCall(std::uint64_t before, SteadyTime now) const {
  Call* next = firstCall_ && firstCall_->sequence() < before ? firstCall_ : nullptr;
  if (!delayedCalls_.empty()) {
    Call* delayed = *delayedCalls_.begin();
    if (delayed->due() <= now && delayed->sequence() < before && (!next || Earlier()(delayed, next))) {
      next = delayed;
    }
  }
  return next;
}

bool CallQueue::runDue(std::uint64_t before) {
  if (!firstCall_ && delayedCalls_.empty()) return false;
  const SteadyTime now = steady_clock::now();
  bool any = false;
  while (Call* call = nextDueCall(before, now)) {
    call->run();
    any = true;
  }
  return any;
}

std::optional<CallQueue::SteadyTime> CallQueue::nextDue() const {
  if (firstCall_) return SteadyTime() + std::chrono::nanoseconds(1);
  if (delayedCalls_.empty()) return std::nullopt;
  return (*delayedCalls_.begin())->due();
}

int CallQueue::timeToNextMs() const {
  const auto due = nextDue();
  if (!due) return -1;
  const auto wait = *due - steady_clock::now();
  if (wait <= SteadyTime::duration::zero()) return 0;
  // Rounded up: a wait that ends early would only go round for nothing.
  const auto ms = std::chrono::ceil<milliseconds>(wait).count();
  return ms > INT_MAX ? INT_MAX : static_cast<int>(ms);
}

}  // namespace kova::base
