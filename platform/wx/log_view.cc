#include "platform/wx/log_view.h"

#include <wx/textctrl.h>

#include <string_view>

#include "platform/wx/text.h"

namespace kova::platform::wx {

namespace {

/// The box takes LF for the end of a line.
wxString lines(std::string_view text) {
  std::string without(text);
  std::erase(without, '\r');
  return toWx(without);
}

}  // namespace

LogView::LogView(LogBox& box, ControlHost& host, wxWindow* parent)
    : ControlView(box, host),
      box_(box),
      native_(new wxTextCtrl(parent, wxID_ANY, {}, wxDefaultPosition, parent->FromDIP(wxSize(480, 160)),
                             wxTE_MULTILINE | wxTE_READONLY, wxDefaultValidator, toWx(box.name()))) {
  native_->SetMargins(wxPoint(parent->FromDIP(4), parent->FromDIP(2)));
  adopt(native_);
}

void LogView::showCaption() {
  const std::string_view text = box_.text();
  const std::uint64_t begin = box_.begin();
  const std::uint64_t end = begin_ + shown_.size();
  const std::size_t gone = begin < end ? static_cast<std::size_t>(begin - begin_) : shown_.size();
  const std::string_view added = text.substr(begin < end ? static_cast<std::size_t>(end - begin) : 0);
  if (gone == 0 && added.empty()) return;

  if (gone == shown_.size()) {
    native_->ChangeValue(lines(text));
  } else {
    if (gone > 0) {
      native_->Remove(0, static_cast<long>(lines(std::string_view(shown_).substr(0, gone)).length()));
    }
    if (!added.empty()) native_->AppendText(lines(added));
  }
  native_->SetInsertionPointEnd();
  native_->ShowPosition(native_->GetLastPosition());
  shown_ = text;
  begin_ = begin;
}

}  // namespace kova::platform::wx
