#pragma once

#include <wx/bitmap.h>

#include "platform/wx/control_view.h"

namespace kova::platform::wx {

/// A picture in the middle of its room, as large as it is, or smaller where there is not the room for it.
class PictureView final : public ControlView {
 public:
  PictureView(PictureBox& box, ControlHost& host, wxWindow* parent);

 private:
  void showValue() override;
  void paint();

  PictureBox& box_;
  wxWindow* native_;
  wxBitmap bitmap_;
};

}  // namespace kova::platform::wx
