#pragma once

#include "platform/screen_saver.h"

namespace kova::platform::windows {

class WindowsScreenSaver final : public ScreenSaver {
 public:
  /// Whether the owner has set one up: SPI_GETSCREENSAVEACTIVE, whatever is on the screen now.
  bool active() override;
};

}  // namespace kova::platform::windows
