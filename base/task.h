#pragma once

#include <coroutine>
#include <exception>
#include <list>
#include <optional>
#include <utility>

namespace kova::base {

template <typename T>
class Task;

namespace detail {

/// Hands control from a finished coroutine to the one that awaits it.
struct ResumeAwaiter {
  bool await_ready() const noexcept { return false; }
  template <typename Promise>
  std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> done) const noexcept {
    return done.promise().awaiter ? done.promise().awaiter : std::noop_coroutine();
  }
  void await_resume() const noexcept {}
};

struct PromiseBase {
  std::coroutine_handle<> awaiter;

  std::suspend_always initial_suspend() const noexcept { return {}; }
  ResumeAwaiter final_suspend() const noexcept { return {}; }
  // Procedures report failure in their results; an exception that gets here is a fault in the program.
  [[noreturn]] void unhandled_exception() const noexcept { std::terminate(); }
};

template <typename T>
struct Promise : PromiseBase {
  std::optional<T> result;
  Task<T> get_return_object();
  template <typename U>
  void return_value(U&& value) {
    result.emplace(std::forward<U>(value));
  }
  T take() { return std::move(*result); }
};

template <>
struct Promise<void> : PromiseBase {
  Task<void> get_return_object();
  void return_void() const noexcept {}
  void take() const noexcept {}
};

}  // namespace detail

/// A procedure that may wait. It starts when it is awaited, on the awaiter's thread, and the awaiter goes on
/// when it ends. Every wait in it returns to the event loop and is resumed from there, so all of it runs on
/// the loop's thread.
///
/// The Task owns the procedure's frame: destroying a Task that has not ended drops it where it waits, and
/// with it its local values and whatever it awaits. References handed to it must outlive it.
template <typename T = void>
class [[nodiscard]] Task {
 public:
  using promise_type = detail::Promise<T>;
  using Handle = std::coroutine_handle<promise_type>;

  explicit Task(Handle handle) : handle_(handle) {}
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;
  Task(Task&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Task& operator=(Task&& other) noexcept {
    if (this != &other) {
      destroy();
      handle_ = std::exchange(other.handle_, nullptr);
    }
    return *this;
  }
  ~Task() { destroy(); }

  /// Awaited once, by one awaiter.
  auto operator co_await() const noexcept {
    struct Awaiter {
      Handle task;
      bool await_ready() const noexcept { return false; }
      // A task that ends at once leaves the awaiter running: however many of those a loop awaits, the stack
      // does not grow, with or without the optimizer's tail calls.
      bool await_suspend(std::coroutine_handle<> awaiter) const noexcept {
        task.resume();
        if (task.done()) return false;
        task.promise().awaiter = awaiter;
        return true;
      }
      T await_resume() const { return task.promise().take(); }
    };
    return Awaiter{handle_};
  }

 private:
  void destroy() {
    if (handle_) handle_.destroy();
  }

  Handle handle_;
};

template <typename T>
Task<T> detail::Promise<T>::get_return_object() {
  return Task<T>{std::coroutine_handle<Promise<T>>::from_promise(*this)};
}
inline Task<void> detail::Promise<void>::get_return_object() {
  return Task<void>{std::coroutine_handle<Promise<void>>::from_promise(*this)};
}

/// Runs tasks that nobody awaits: an event handler starts one and returns. A task that ends is forgotten;
/// those that still wait when the group is destroyed are dropped where they wait. The group must outlive none
/// of what its tasks refer to.
class TaskGroup {
 public:
  TaskGroup() = default;
  TaskGroup(const TaskGroup&) = delete;
  TaskGroup& operator=(const TaskGroup&) = delete;
  ~TaskGroup() { clear(); }

  /// Runs `task` up to its first wait before it returns.
  void spawn(Task<void> task) {
    running_.emplace_back();
    const auto place = std::prev(running_.end());
    *place = run(this, place, std::move(task)).handle;
    place->resume();
  }

  /// Drops every task where it waits. Not to be called by one of them.
  void clear() {
    while (!running_.empty()) {
      const std::coroutine_handle<> handle = running_.front();
      running_.pop_front();
      handle.destroy();
    }
  }

  bool empty() const { return running_.empty(); }

 private:
  using Place = std::list<std::coroutine_handle<>>::iterator;

  struct Runner {
    struct promise_type {
      Runner get_return_object() { return {std::coroutine_handle<promise_type>::from_promise(*this)}; }
      std::suspend_always initial_suspend() const noexcept { return {}; }
      std::suspend_never final_suspend() const noexcept { return {}; }
      [[noreturn]] void unhandled_exception() const noexcept { std::terminate(); }
      void return_void() const noexcept {}
    };
    std::coroutine_handle<> handle;
  };

  static Runner run(TaskGroup* group, Place place, Task<void> task) {
    co_await task;
    group->running_.erase(place);
  }

  std::list<std::coroutine_handle<>> running_;
};

}  // namespace kova::base
