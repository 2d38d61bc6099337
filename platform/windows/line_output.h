#pragma once

#include <windows.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "platform/line_output.h"

namespace kova::platform::windows {

/// Lines for a handle such as standard output. They are written on a thread of their own: a console in which
/// somebody marks text, or a full pipe, holds its writer up without end.
class WindowsLineOutput final : public LineOutput {
 public:
  static constexpr std::size_t kMaxKeptBytes = 1 << 20;

  /// The handle stays the caller's; without one (null) the lines go nowhere.
  explicit WindowsLineOutput(HANDLE handle);
  WindowsLineOutput(const WindowsLineOutput&) = delete;
  WindowsLineOutput& operator=(const WindowsLineOutput&) = delete;
  /// Waits a moment for a reader that takes what is left.
  ~WindowsLineOutput() override;

  void add(std::string_view line) override { added_ += line; }
  bool flush() override;

 private:
  struct Queue;
  static void write(const std::shared_ptr<Queue>& queue, HANDLE handle);

  std::string added_;
  std::shared_ptr<Queue> queue_;  // also the thread's, which may outlive this object
};

}  // namespace kova::platform::windows
