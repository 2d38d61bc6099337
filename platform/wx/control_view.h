#pragma once

#include <memory>

#include "platform/controls.h"

class wxWindow;

namespace kova::platform::wx {

class ControlView;

/// What the view of a control asks of the view of its window.
class ControlHost {
 public:
  virtual ~ControlHost() = default;
  /// Calls showState() soon, but not for every change of a busy server.
  virtual void showLater(ControlView& view) = 0;
  /// The owner has done something, and looks what comes of it.
  virtual void showNow() = 0;
  /// The logic may have moved the focus to this control.
  virtual void followFocus(ControlView& view) = 0;
  /// The owner has moved the focus to it.
  virtual void focusArrived(ControlView& view) = 0;
};

/// Shows one control natively, and hands the owner's doings to it.
class ControlView {
 public:
  ControlView(Control& control, ControlHost& host);
  ControlView(const ControlView&) = delete;
  ControlView& operator=(const ControlView&) = delete;
  virtual ~ControlView();

  Control& control() const { return control_; }
  wxWindow& window() const { return *window_; }

  /// Captions, and whether it is enabled. False when this has changed so often that it is better looked at
  /// again later: what flickers is not followed.
  bool showState();
  /// The focus has gone, as the control sees it.
  virtual void focusWent() {}

  int changes = 0;  ///< since it was last shown

 protected:
  ControlHost& host() const { return host_; }
  /// Once, by the constructor of whoever derives: the native control, which its parent owns.
  void adopt(wxWindow* window);
  /// What the owner could work against if it came later: values.
  virtual void showValue() {}
  virtual void showCaption() {}

 private:
  Control& control_;
  ControlHost& host_;
  wxWindow* window_ = nullptr;
};

/// The native counterpart of a control, as a child of `parent`. `firstOfGroup`: an option button that begins
/// a group of its own.
std::unique_ptr<ControlView> makeControlView(Control& control, ControlHost& host, wxWindow* parent,
                                             bool firstOfGroup);

}  // namespace kova::platform::wx
