#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "app/headless/dialogs.h"
#include "app/options.h"
#include "app/program.h"
#include "platform/posix/line_output.h"

namespace kova::app {

/// The program without a desktop: its log, its message boxes and the paging server's state go to standard
/// output.
class Headless final {
 public:
  /// As of Program.
  explicit Headless(const std::string& folder);

  void load(const Options& options);

  bool listening() { return program_.window().listening(); }
  /// Text of the last message box.
  const std::string& lastMessage() const { return dialogs_.lastMessage(); }

  /// Serves until SIGTERM or SIGINT, then ends in order.
  void run();

 private:
  void printLine(std::string_view line);
  /// The lines of a round go out together.
  void writeOutputIn(std::chrono::milliseconds delay);

  HeadlessDialogs dialogs_;
  platform::posix::LineOutput output_;
  Program program_;
  std::unique_ptr<platform::EventLoop::Timer> outputTimer_;
};

}  // namespace kova::app
