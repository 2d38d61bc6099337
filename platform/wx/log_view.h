#pragma once

#include <cstdint>
#include <string>

#include "platform/wx/control_view.h"

class wxTextCtrl;

namespace kova::platform::wx {

/// A log box. What is new is shown when the window shows its state, not line by line.
class LogView final : public ControlView {
 public:
  LogView(LogBox& box, ControlHost& host, wxWindow* parent);

 private:
  void showCaption() override;

  LogBox& box_;
  wxTextCtrl* native_;
  std::uint64_t begin_ = 0;  // where in all that was ever appended `shown_` begins
  std::string shown_;
};

}  // namespace kova::platform::wx
