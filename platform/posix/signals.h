#pragma once

#include <signal.h>

#include <functional>
#include <initializer_list>

#include "platform/posix/event_loop.h"

namespace kova::platform::posix {

/// Turns signals into calls from the event loop: `received(SIGTERM)` comes between two events like any other
/// call. The signals are blocked for the calling thread from construction to destruction; a process started
/// meanwhile inherits that and has to unblock them.
class Signals final : private DescriptorHandler {
 public:
  Signals(PosixEventLoop& loop, std::initializer_list<int> numbers, std::function<void(int)> received);
  ~Signals();
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

 private:
  void onDescriptor(std::uint32_t events) override;

  std::function<void(int)> received_;
  sigset_t blockedBefore_{};
  FileDescriptor descriptor_;
  PosixEventLoop::Watch watch_;
};

/// A peer that hangs up shows as a failed write, not as the end of the program.
void ignoreBrokenPipes();

/// Children that have ended leave nothing behind, also those that the system hands to this program because it
/// is the first process of a container.
void leaveNoZombies();

/// Raises the number of descriptors that this process may open to what the system allows it; returns that
/// number.
long raiseDescriptorLimit();

}  // namespace kova::platform::posix
