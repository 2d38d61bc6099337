#pragma once

#include "platform/screen_saver.h"

namespace kova::platform::posix {

/// A machine without a screen saver: there is no call that asks for one whatever the desktop.
class NoScreenSaver final : public ScreenSaver {
 public:
  bool active() override { return false; }
};

}  // namespace kova::platform::posix
