#pragma once

#include <wx/timer.h>

#include <chrono>
#include <cstdint>
#include <string>

#include "platform/wx/control_view.h"

class wxTextCtrl;

namespace kova::platform::wx {

/// A log box: shows what is new at most 20 times a second, and more seldom when more lines come than anybody
/// can read, so that a busy server does not spend its time on showing them.
class LogView final : public ControlView {
 public:
  LogView(LogBox& box, ControlHost& host, wxWindow* parent);

 private:
  using Clock = std::chrono::steady_clock;

  static constexpr std::chrono::milliseconds kBetween{50};
  /// As much as the box of the main window holds, each second.
  static constexpr int kBytesPerSecond = 16000;

  void showValue() override;
  void showNew();

  LogBox& box_;
  wxTextCtrl* native_;
  wxTimer timer_;
  Clock::time_point next_;
  std::uint64_t begin_ = 0;  // where in all that was ever appended `shown_` begins
  std::string shown_;
};

}  // namespace kova::platform::wx
