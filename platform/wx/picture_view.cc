#include "platform/wx/picture_view.h"

#include <wx/dcclient.h>
#include <wx/graphics.h>
#include <wx/panel.h>
#include <wx/settings.h>

#include <algorithm>
#include <memory>

#include "platform/wx/images.h"
#include "platform/wx/text.h"

namespace kova::platform::wx {

PictureView::PictureView(PictureBox& box, ControlHost& host, wxWindow* parent)
    : ControlView(box, host),
      box_(box),
      native_(new wxWindow(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxFULL_REPAINT_ON_RESIZE,
                           toWx(box.name()))) {
  native_->SetMinSize(parent->FromDIP(wxSize(240, 160)));
  native_->DisableFocusFromKeyboard();
  native_->Bind(wxEVT_PAINT, [this](wxPaintEvent&) { paint(); });
  adopt(native_);
}

void PictureView::showValue() {
  bitmap_ = box_.image().empty() ? wxBitmap() : wxBitmap(toWx(box_.image()));
  native_->Refresh();
}

void PictureView::paint() {
  wxPaintDC dc(native_);
  if (!bitmap_.IsOk()) return;
  const wxSize room = native_->GetClientSize();
  const double width = bitmap_.GetWidth();
  const double height = bitmap_.GetHeight();
  const double scale = std::min({1.0, room.x / width, room.y / height});
  const std::unique_ptr<wxGraphicsContext> context(wxGraphicsContext::Create(dc));
  if (!context) return;
  const double left = (room.x - width * scale) / 2;
  const double top = (room.y - height * scale) / 2;
  context->DrawBitmap(bitmap_, left, top, width * scale, height * scale);
  // A white picture has an edge as well.
  context->SetPen(wxPen(wxSystemSettings::GetColour(wxSYS_COLOUR_GRAYTEXT)));
  context->StrokeLine(left - 1, top - 1, left + width * scale, top - 1);
  context->StrokeLine(left - 1, top + height * scale, left + width * scale, top + height * scale);
  context->StrokeLine(left - 1, top - 1, left - 1, top + height * scale);
  context->StrokeLine(left + width * scale, top - 1, left + width * scale, top + height * scale);
}

}  // namespace kova::platform::wx
