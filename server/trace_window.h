#pragma once

#include <array>
#include <functional>
#include <string>

#include "platform/controls.h"
#include "platform/window.h"

namespace kova::server {

/// What the tracing options window was left with.
struct TraceOptions {
  bool enabled = false;
  std::string file;
  int level = 0;
};

/// The tracing options window. Shown modally; cmdOK and cmdCancel close it.
class frmTrace : public platform::Window {
 public:
  frmTrace();

  /// What the controls say now.
  TraceOptions TraceParams() const;

  /// Shows what is in force.
  void set(const TraceOptions& options);

  /// Chooses one level (0, 1, 2 or 4), as a click on its button.
  void chooseLevel(int level);

  platform::Frame frameLevel{"Frame1", "Tracing Level"};
  std::array<platform::OptionButton, 4> OptLevel;
  platform::CheckBox chkEnableTracing{"chkEnableTracing", "Enable Tracing"};
  platform::TextBox txtTraceFile{"txtTraceFile", "Trace File:"};
  platform::Button cmdOK{"cmdOK", "OK"};
  platform::Button cmdCancel{"cmdCancel", "Cancel"};

  /// The window was closed with cmdOK.
  std::function<void()> onAccepted;

  static constexpr std::array<int, 4> kLevels = {0, 1, 2, 4};
};

}  // namespace kova::server
