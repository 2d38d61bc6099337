#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "app/headless/dialogs.h"
#include "app/program.h"

namespace kova::app {

/// The program without a desktop: its log, its message boxes and the paging server's state go to standard
/// output.
class Headless final {
 public:
  /// As of Program.
  Headless(platform::Machine& machine, Start start);

  void load();

  bool listening() { return program_.window().listening(); }
  /// Text of the last message box.
  const std::string& lastMessage() const { return dialogs_.lastMessage(); }

  /// Serves until the machine tells it to end, then ends in order.
  void run();

 private:
  void printLine(std::string_view line);
  /// The lines of a round go out together.
  void writeOutputIn(std::chrono::milliseconds delay);

  HeadlessDialogs dialogs_;
  platform::LineOutput& output_;
  Program program_;
  std::unique_ptr<platform::EventLoop::Timer> outputTimer_;
};

}  // namespace kova::app
