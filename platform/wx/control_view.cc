#include "platform/wx/control_view.h"

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/combobox.h>
#include <wx/radiobut.h>
#include <wx/statbox.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include <utility>

#include "platform/wx/log_view.h"
#include "platform/wx/owned.h"
#include "platform/wx/picture_view.h"
#include "platform/wx/text.h"

namespace kova::platform::wx {

ControlView::ControlView(Control& control, ControlHost& host) : control_(control), host_(host) {}

ControlView::~ControlView() { control_.onShown = nullptr; }

void ControlView::adopt(wxWindow* window) {
  window_ = window;
  window_->Bind(wxEVT_SET_FOCUS, [this](wxFocusEvent& event) {
    event.Skip();
    host_.focusArrived(*this);
  });
  control_.onShown = [this] {
    showValue();
    host_.showLater(*this);
    host_.followFocus(*this);
  };
  showValue();
  showState();
}

bool ControlView::showState() {
  showCaption();
  constexpr int kFlickering = 4;
  const bool flickers = std::exchange(changes, 0) > kFlickering;
  if (window_->IsThisEnabled() == control_.enabled()) return true;
  if (flickers) return false;
  window_->Enable(control_.enabled());
  return true;
}

namespace {

/// Of text boxes with and without a list.
template <typename Model, typename Native>
class EntryView : public ControlView {
 public:
  EntryView(Model& box, ControlHost& host, Native* native)
      : ControlView(box, host), box_(box), native_(native) {
    native->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { takeText(); });
    // A click puts the caret where it was clicked, after the focus has come.
    native->Bind(wxEVT_LEFT_DOWN, [this](wxMouseEvent& event) {
      clickBringsFocus_ = !native_->HasFocus();
      event.Skip();
    });
    native->Bind(wxEVT_LEFT_UP, [this](wxMouseEvent& event) {
      event.Skip();
      if (clickBringsFocus_ && box_.allSelected() && !native_->HasSelection()) native_->SelectAll();
      clickBringsFocus_ = false;
    });
  }

  void focusWent() override { selected_ = false; }

 protected:
  void showValue() override {
    const wxString text = toWx(box_.text());
    if (native_->GetValue() != text) native_->ChangeValue(text);
    if (box_.allSelected() && box_.focused() && !selected_) {
      native_->SelectAll();
      selected_ = true;
    }
  }

  void takeText() { box_.setText(toUtf8(native_->GetValue())); }
  Model& box() const { return box_; }
  Native& native() const { return *native_; }

 private:
  Model& box_;
  Native* native_;
  bool selected_ = false;  // since the focus came
  bool clickBringsFocus_ = false;
};

class TextBoxView final : public EntryView<TextBox, wxTextCtrl> {
 public:
  TextBoxView(TextBox& box, ControlHost& host, wxWindow* parent)
      : EntryView(box, host,
                  new wxTextCtrl(parent, wxID_ANY, {}, wxDefaultPosition, wxDefaultSize,
                                 box.password() ? wxTE_PASSWORD : 0, wxDefaultValidator, toWx(box.name()))) {
    adopt(&native());
  }
};

class ComboBoxView final : public EntryView<ComboBox, wxComboBox> {
 public:
  ComboBoxView(ComboBox& box, ControlHost& host, wxWindow* parent)
      : EntryView(box, host,
                  new wxComboBox(parent, wxID_ANY, {}, wxDefaultPosition, wxDefaultSize, {}, 0,
                                 wxDefaultValidator, toWx(box.name()))) {
    native().Bind(wxEVT_COMBOBOX, [this](wxCommandEvent&) { takeText(); });
    adopt(&native());
  }

 private:
  void showValue() override {
    if (items_ != box().items()) {
      items_ = box().items();
      wxArrayString items;
      items.Alloc(items_.size());
      for (const std::string& item : items_) items.Add(toWx(item));
      native().Set(items);
    }
    EntryView::showValue();
  }

  std::vector<std::string> items_;
};

class LabelView final : public ControlView {
 public:
  LabelView(Label& label, ControlHost& host, wxWindow* parent)
      : ControlView(label, host),
        label_(label),
        // Whatever it comes to say, the window stays as it is.
        native_(new wxStaticText(parent, wxID_ANY, {}, wxDefaultPosition, wxDefaultSize,
                                 wxST_NO_AUTORESIZE | (multiLine(label) ? 0 : wxST_ELLIPSIZE_END),
                                 toWx(label.name()))) {
    adopt(native_);
    native_->InvalidateBestSize();
  }

 private:
  static bool multiLine(const Label& label) { return label.text().find('\n') != std::string::npos; }

  void showCaption() override {
    const wxString text = toWx(label_.text());
    if (native_->GetLabelText() != text) native_->SetLabelText(text);
  }

  Label& label_;
  wxStaticText* native_;
};

class CheckBoxView final : public ControlView {
 public:
  CheckBoxView(CheckBox& box, ControlHost& host, wxWindow* parent)
      : ControlView(box, host),
        box_(box),
        native_(new wxCheckBox(parent, wxID_ANY, toWx(box.label()), wxDefaultPosition, wxDefaultSize, 0,
                               wxDefaultValidator, toWx(box.name()))) {
    native_->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent&) { box_.setValue(native_->GetValue() ? 1 : 0); });
    adopt(native_);
  }

 private:
  void showValue() override { native_->SetValue(box_.value() == 1); }

  CheckBox& box_;
  wxCheckBox* native_;
};

class OptionButtonView final : public ControlView {
 public:
  OptionButtonView(OptionButton& button, ControlHost& host, wxWindow* parent, bool firstOfGroup)
      : ControlView(button, host),
        button_(button),
        native_(new wxRadioButton(parent, wxID_ANY, toWx(button.caption()), wxDefaultPosition, wxDefaultSize,
                                  firstOfGroup ? wxRB_GROUP : 0, wxDefaultValidator, toWx(button.name()))) {
    native_->Bind(wxEVT_RADIOBUTTON, [this](wxCommandEvent&) { button_.click(); });
    adopt(native_);
  }

 private:
  void showValue() override {
    // The others of the group give way to the chosen one by themselves.
    if (button_.chosen()) native_->SetValue(true);
  }

  OptionButton& button_;
  wxRadioButton* native_;
};

class ButtonView final : public ControlView {
 public:
  ButtonView(Button& button, ControlHost& host, wxWindow* parent)
      : ControlView(button, host),
        button_(button),
        native_(new wxButton(parent, wxID_ANY, toWx(button.caption()), wxDefaultPosition, wxDefaultSize, 0,
                             wxDefaultValidator, toWx(button.name()))) {
    native_->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
      button_.click();
      this->host().showNow();
    });
    adopt(native_);
  }

 private:
  void showCaption() override {
    const wxString caption = toWx(button_.caption());
    if (native_->GetLabel() == caption) return;
    native_->SetLabel(caption);
    native_->GetParent()->Layout();
  }

  Button& button_;
  wxButton* native_;
};

class FrameView final : public ControlView {
 public:
  FrameView(Frame& frame, ControlHost& host, wxWindow* parent) : ControlView(frame, host) {
    adopt(owned<wxStaticBox>(parent, wxID_ANY, toWx(frame.caption()), wxDefaultPosition, wxDefaultSize, 0,
                             toWx(frame.name())));
  }
};

}  // namespace

std::unique_ptr<ControlView> makeControlView(Control& control, ControlHost& host, wxWindow* parent,
                                             bool firstOfGroup) {
  if (auto* box = dynamic_cast<ComboBox*>(&control))
    return std::make_unique<ComboBoxView>(*box, host, parent);
  if (auto* box = dynamic_cast<TextBox*>(&control)) return std::make_unique<TextBoxView>(*box, host, parent);
  if (auto* label = dynamic_cast<Label*>(&control)) return std::make_unique<LabelView>(*label, host, parent);
  if (auto* log = dynamic_cast<LogBox*>(&control)) return std::make_unique<LogView>(*log, host, parent);
  if (auto* box = dynamic_cast<CheckBox*>(&control))
    return std::make_unique<CheckBoxView>(*box, host, parent);
  if (auto* option = dynamic_cast<OptionButton*>(&control)) {
    return std::make_unique<OptionButtonView>(*option, host, parent, firstOfGroup);
  }
  if (auto* button = dynamic_cast<Button*>(&control))
    return std::make_unique<ButtonView>(*button, host, parent);
  if (auto* picture = dynamic_cast<PictureBox*>(&control)) {
    return std::make_unique<PictureView>(*picture, host, parent);
  }
  if (auto* frame = dynamic_cast<Frame*>(&control)) return std::make_unique<FrameView>(*frame, host, parent);
  return nullptr;
}

}  // namespace kova::platform::wx
