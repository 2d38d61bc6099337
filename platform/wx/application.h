#pragma once

#include <string>

namespace kova::platform::wx {

/// The window system, from construction to destruction; there is one in a program.
class Application {
 public:
  /// `iconSvg` is the picture of every window, as SVG.
  explicit Application(const std::string& iconSvg);
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;
  ~Application();

  /// False when there is no display, or it cannot be opened: then nothing else of this folder may be used.
  bool started() const { return started_; }

  /// Handles events until end().
  void run();
  /// Called from an event; run() returns when the events that are under way are done.
  void end();

 private:
  bool started_ = false;
};

}  // namespace kova::platform::wx
