#pragma once

#include <memory>

#include "platform/machine.h"

namespace kova::platform::wx {

/// Has the toolkit's loop pump ours, from construction to destruction, in message boxes too. However much
/// there is to do, the owner's keys and the painting come first.
class LoopBridge {
 public:
  /// The loop must outlive the bridge.
  explicit LoopBridge(PumpedLoop& loop);
  LoopBridge(const LoopBridge&) = delete;
  LoopBridge& operator=(const LoopBridge&) = delete;
  ~LoopBridge();

 private:
  struct Source;
  std::unique_ptr<Source> source_;
};

}  // namespace kova::platform::wx
