#pragma once

#include "platform/clock.h"

namespace kova::platform::windows {

class WindowsClock final : public Clock {
 public:
  DateTime localNow() const override;
  DateTime utcNow() const override;
  std::chrono::milliseconds monotonic() const override;
};

}  // namespace kova::platform::windows
