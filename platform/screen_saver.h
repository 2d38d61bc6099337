#pragma once

namespace kova::platform {

class ScreenSaver {
 public:
  virtual ~ScreenSaver() = default;

  /// Whether screen saving is active on this machine; false also when nobody can tell.
  virtual bool active() = 0;
};

}  // namespace kova::platform
