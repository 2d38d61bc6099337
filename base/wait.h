#pragma once

#include <chrono>
#include <coroutine>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "platform/event_loop.h"

namespace kova::base {

/// `co_await pause(loop, delay)`: the caller goes on when the time is over, resumed by the event loop. A
/// delay of zero lets the events that are pending now run first. A caller that is dropped meanwhile is never
/// resumed.
class [[nodiscard]] Pause {
 public:
  Pause(platform::EventLoop& loop, std::chrono::milliseconds delay) : loop_(loop), delay_(delay) {}

  bool await_ready() const noexcept { return false; }
  void await_suspend(std::coroutine_handle<> caller) {
    timer_ = loop_.callAfter(delay_, [caller] { caller.resume(); });
  }
  void await_resume() const noexcept {}

 private:
  platform::EventLoop& loop_;
  std::chrono::milliseconds delay_;
  std::unique_ptr<platform::EventLoop::Timer> timer_;
};

inline Pause pause(platform::EventLoop& loop, std::chrono::milliseconds delay) { return {loop, delay}; }

/// Lets pending events run.
inline Pause yield(platform::EventLoop& loop) { return {loop, std::chrono::milliseconds{0}}; }

/// `co_await answer<T>(ask)`: calls `ask(callback)` and goes on with the value that the callback is given, at
/// once or later. A callback that comes after the caller was dropped does nothing.
template <typename T>
class [[nodiscard]] Answer {
 public:
  using Ask = std::function<void(std::function<void(T)>)>;

  explicit Answer(Ask ask) : ask_(std::move(ask)), state_(std::make_shared<State>()) {}
  Answer(const Answer&) = delete;
  Answer& operator=(const Answer&) = delete;
  ~Answer() { state_->caller = nullptr; }

  bool await_ready() {
    ask_([state = state_](T value) {
      if (state->value) return;
      state->value = std::move(value);
      if (state->caller) std::exchange(state->caller, nullptr).resume();
    });
    return state_->value.has_value();
  }
  void await_suspend(std::coroutine_handle<> caller) { state_->caller = caller; }
  T await_resume() { return std::move(*state_->value); }

 private:
  struct State {
    std::optional<T> value;
    std::coroutine_handle<> caller;
  };

  Ask ask_;
  std::shared_ptr<State> state_;
};

}  // namespace kova::base
