#include "platform/posix/event_loop.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <ctime>
#include <system_error>
#include <utility>

namespace kova::platform::posix {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Enough for every client and every lingering connection, so one poll fetches all that is pending.
constexpr std::size_t kFetchedAtOnce = 2048;
constexpr std::uint64_t kTimerDescriptorId = ~std::uint64_t{0};

FileDescriptor mustHave(int fd, const char* what) {
  // A program without its event loop cannot even say so; this ends it at its start.
  if (fd < 0) throw std::system_error(errno, std::generic_category(), what);
  return FileDescriptor(fd);
}

std::uint32_t indexOf(std::uint64_t id) { return static_cast<std::uint32_t>(id); }
std::uint32_t generationOf(std::uint64_t id) { return static_cast<std::uint32_t>(id >> 32); }

}  // namespace

PosixEventLoop::Watch::Watch(Watch&& other) noexcept
    : loop_(std::exchange(other.loop_, nullptr)), id_(std::exchange(other.id_, 0)) {}

PosixEventLoop::Watch& PosixEventLoop::Watch::operator=(Watch&& other) noexcept {
  if (this != &other) {
    reset();
    loop_ = std::exchange(other.loop_, nullptr);
    id_ = std::exchange(other.id_, 0);
  }
  return *this;
}

void PosixEventLoop::Watch::setEvents(std::uint32_t events) {
  Watched* watched = loop_ ? loop_->watched(id_) : nullptr;
  if (!watched || watched->events == events) return;
  epoll_event wanted{};
  wanted.events = events;
  wanted.data.u64 = id_;
  // Changing what is already registered needs no memory and does not fail.
  ::epoll_ctl(loop_->epoll_.get(), EPOLL_CTL_MOD, watched->fd, &wanted);
  watched->events = events;
}

std::uint32_t PosixEventLoop::Watch::events() const {
  const Watched* watched = loop_ ? loop_->watched(id_) : nullptr;
  return watched ? watched->events : 0;
}

void PosixEventLoop::Watch::setHandler(DescriptorHandler& handler) {
  if (Watched* watched = loop_ ? loop_->watched(id_) : nullptr) watched->handler = &handler;
}

void PosixEventLoop::Watch::reset() {
  if (loop_) loop_->endWatch(id_, true);
  loop_ = nullptr;
  id_ = 0;
}

void PosixEventLoop::Watch::resetBeforeClose() {
  if (loop_) loop_->endWatch(id_, false);
  loop_ = nullptr;
  id_ = 0;
}

PosixEventLoop::PosixEventLoop()
    : epoll_(mustHave(::epoll_create1(EPOLL_CLOEXEC), "epoll_create1")),
      fetched_(kFetchedAtOnce),
      roundTime_(steady_clock::now()) {}

PosixEventLoop::~PosixEventLoop() = default;

std::unique_ptr<EventLoop::Timer> PosixEventLoop::callAfter(milliseconds delay,
                                                            std::function<void()> callback) {
  auto call = calls_.add(delay, std::move(callback));
  armTimerDescriptor();
  return call;
}

PosixEventLoop::Watch PosixEventLoop::watch(int fd, std::uint32_t events, DescriptorHandler& handler) {
  std::uint32_t index = 0;
  if (freeWatches_.empty()) {
    index = static_cast<std::uint32_t>(watches_.size());
    watches_.emplace_back();
    freeWatches_.reserve(watches_.capacity());
  } else {
    index = freeWatches_.back();
    freeWatches_.pop_back();
  }
  Watched& watched = watches_[index];
  const std::uint64_t id = std::uint64_t{watched.generation} << 32 | index;
  epoll_event wanted{};
  wanted.events = events;
  wanted.data.u64 = id;
  if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &wanted) != 0) {
    freeWatches_.push_back(index);
    return {};
  }
  watched.handler = &handler;
  watched.fd = fd;
  watched.events = events;
  return {*this, id};
}

PosixEventLoop::Watched* PosixEventLoop::watched(std::uint64_t id) {
  return watching(id) ? &watches_[indexOf(id)] : nullptr;
}

bool PosixEventLoop::watching(std::uint64_t watchId) const {
  const std::uint32_t index = indexOf(watchId);
  if (index >= watches_.size()) return false;
  const Watched& watched = watches_[index];
  return watched.handler && watched.generation == generationOf(watchId);
}

void PosixEventLoop::endWatch(std::uint64_t id, bool tellKernel) {
  Watched* watched = this->watched(id);
  if (!watched) return;
  if (tellKernel) ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, watched->fd, nullptr);
  watched->handler = nullptr;
  watched->fd = -1;
  if (++watched->generation == 0) watched->generation = 1;
  freeWatches_.push_back(indexOf(id));
}

void PosixEventLoop::callAtRoundEnd(RoundEndHandler& handler) {
  if (std::find(roundEndHandlers_.begin(), roundEndHandlers_.end(), &handler) != roundEndHandlers_.end())
    return;
  roundEndHandlers_.push_back(&handler);
  armTimerDescriptor();
}

void PosixEventLoop::cancelRoundEnd(RoundEndHandler& handler) { std::erase(roundEndHandlers_, &handler); }

void PosixEventLoop::run() {
  while (!quit_) round(timeToNextCallMs());
  quit_ = false;
}

bool PosixEventLoop::runUntil(const std::function<bool()>& done, milliseconds limit) {
  const SteadyTime end = steady_clock::now() + limit;
  while (!done()) {
    const SteadyTime now = steady_clock::now();
    if (now >= end) return false;
    const auto left = std::chrono::ceil<milliseconds>(end - now).count();
    const int next = timeToNextCallMs();
    const int longest = left > INT_MAX ? INT_MAX : static_cast<int>(left);
    round(next < 0 ? longest : std::min(next, longest));
  }
  return true;
}

int PosixEventLoop::descriptor() {
  if (!timerDescriptor_) {
    timerDescriptor_ =
        mustHave(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC), "timerfd_create");
    epoll_event wanted{};
    wanted.events = EPOLLIN;
    wanted.data.u64 = kTimerDescriptorId;
    ::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, timerDescriptor_.get(), &wanted);
    armTimerDescriptor();
  }
  return epoll_.get();
}

void PosixEventLoop::dispatchPending() { round(0); }

void PosixEventLoop::dispatchSlice() {
  if (inRound_) return;
  const SteadyTime end = steady_clock::now() + kSlice;
  inSlice_ = true;
  bool came = round(0);
  while (came && roundTime_ < end) {
    const int next = timeToNextCallMs();
    const int linger = static_cast<int>(kLinger.count());
    came = round(next < 0 ? linger : std::min(next, linger));
  }
  inSlice_ = false;
  armTimerDescriptor();
}

bool PosixEventLoop::round(int timeoutMs) {
  if (inRound_) return false;  // a callback that pumps the loop would turn one thread's order upside down
  inRound_ = true;
  ++roundNumber_;
  const std::uint64_t before = calls_.nextSequence();
  const int count = ::epoll_wait(epoll_.get(), fetched_.data(), static_cast<int>(fetched_.size()), timeoutMs);
  roundTime_ = steady_clock::now();
  for (int i = 0; i < count; ++i) {
    const epoll_event& event = fetched_[static_cast<std::size_t>(i)];
    if (event.data.u64 == kTimerDescriptorId) {
      armedFor_ = SteadyTime::min();  // it has fired: it has to be set anew
      std::uint64_t times = 0;
      static_cast<void>(::read(timerDescriptor_.get(), &times, sizeof times) == sizeof times);
      continue;
    }
    if (const Watched* watched = this->watched(event.data.u64)) watched->handler->onDescriptor(event.events);
  }
  const bool called = calls_.runDue(before);
  const bool ended = endRound();
  inRound_ = false;
  armTimerDescriptor();
  return count > 0 || called || ended;
}

bool PosixEventLoop::endRound() {
  const bool any = !roundEndHandlers_.empty();
  while (!roundEndHandlers_.empty()) {
    RoundEndHandler* handler = roundEndHandlers_.back();
    roundEndHandlers_.pop_back();
    handler->onRoundEnd();
  }
  return any;
}

int PosixEventLoop::timeToNextCallMs() const { return roundEndHandlers_.empty() ? calls_.timeToNextMs() : 0; }

void PosixEventLoop::armTimerDescriptor() {
  if (!timerDescriptor_ || inRound_ || inSlice_) return;
  const SteadyTime due = roundEndHandlers_.empty() ? calls_.nextDue().value_or(SteadyTime::max())
                                                   : SteadyTime() + std::chrono::nanoseconds(1);
  if (due == armedFor_) return;
  armedFor_ = due;
  itimerspec spec{};  // all zero: never
  if (due != SteadyTime::max()) {
    const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(due.time_since_epoch()).count();
    spec.it_value.tv_sec = static_cast<time_t>(ns / 1'000'000'000);
    spec.it_value.tv_nsec = static_cast<long>(ns % 1'000'000'000);
  }
  ::timerfd_settime(timerDescriptor_.get(), TFD_TIMER_ABSTIME, &spec, nullptr);
}

}  // namespace kova::platform::posix
