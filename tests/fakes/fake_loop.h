#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "platform/event_loop.h"

namespace kova::fakes {

/// An event loop whose time passes only when the test says so.
class FakeLoop : public platform::EventLoop {
 public:
  using Milliseconds = std::chrono::milliseconds;

  std::unique_ptr<Timer> callAfter(Milliseconds delay, std::function<void()> callback) override {
    const Key key{now_ + delay, ++count_};
    calls_->emplace(key, std::move(callback));
    return std::make_unique<FakeTimer>(calls_, key);
  }

  Milliseconds now() const { return now_; }
  bool idle() const { return calls_->empty(); }

  /// Runs the calls that are due, once; what they ask for runs in a later round.
  void round() {
    auto due = std::vector<Key>();
    for (const auto& [key, call] : *calls_) {
      if (key.first <= now_) due.push_back(key);
    }
    for (const Key& key : due) {
      const auto found = calls_->find(key);
      if (found == calls_->end()) continue;
      const auto call = std::move(found->second);
      calls_->erase(found);
      call();
    }
  }

  /// Runs rounds until nothing is due.
  void settle() {
    while (!calls_->empty() && calls_->begin()->first.first <= now_) round();
  }

  void advance(Milliseconds time) {
    const Milliseconds end = now_ + time;
    while (!calls_->empty() && calls_->begin()->first.first <= end) {
      now_ = std::max(now_, calls_->begin()->first.first);
      settle();
    }
    now_ = end;
  }

 private:
  using Key = std::pair<Milliseconds, std::uint64_t>;
  using Calls = std::map<Key, std::function<void()>>;

  struct FakeTimer : Timer {
    FakeTimer(std::shared_ptr<Calls> owner, Key k) : calls(std::move(owner)), key(k) {}
    ~FakeTimer() override { calls->erase(key); }
    std::shared_ptr<Calls> calls;
    Key key;
  };

  std::shared_ptr<Calls> calls_ = std::make_shared<Calls>();
  Milliseconds now_{0};
  std::uint64_t count_ = 0;
};

}  // namespace kova::fakes
