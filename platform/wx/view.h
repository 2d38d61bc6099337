#pragma once

#include <memory>

#include "platform/window.h"

namespace kova::platform::wx {

/// Shows a window and follows it. What it shows, and where, is what the window declares: controls, frames,
/// menu. Every native control has its control's name, the native window that of the window.
class View final {
 public:
  /// The window must outlive its view. The native window is made when the window is first shown.
  explicit View(Window& window);
  View(const View&) = delete;
  View& operator=(const View&) = delete;
  ~View();

 private:
  class Native;

  void windowShown();

  Window& window_;
  std::unique_ptr<Native> native_;
};

}  // namespace kova::platform::wx
