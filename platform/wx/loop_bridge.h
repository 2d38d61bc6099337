#pragma once

#include <functional>
#include <memory>

namespace kova::platform::wx {

/// Has the toolkit's loop watch the descriptor of another one, from construction to destruction, in message
/// boxes too.
class LoopBridge {
 public:
  /// `dispatch` handles what is pending when `descriptor` is readable; it must not run a loop of its own.
  /// However often the descriptor is readable, the owner's keys and the painting come first.
  LoopBridge(int descriptor, std::function<void()> dispatch);
  LoopBridge(const LoopBridge&) = delete;
  LoopBridge& operator=(const LoopBridge&) = delete;
  ~LoopBridge();

 private:
  struct Source;
  std::unique_ptr<Source> source_;
};

}  // namespace kova::platform::wx
