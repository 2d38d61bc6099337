#include "platform/wx/view.h"

#include <wx/accel.h>
#include <wx/app.h>
#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/frame.h>
#include <wx/menu.h>
#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>
#include <wx/timer.h>
#include <wx/utils.h>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "platform/wx/control_view.h"
#include "platform/wx/icons.h"
#include "platform/wx/owned.h"
#include "platform/wx/text.h"
#include "platform/wx/window_layout.h"

namespace kova::platform::wx {

namespace {

/// A box that holds up the window in front of which it is not seen would look like a dead program.
void raiseStandingBox() {
  for (wxWindow* each : wxTopLevelWindows) {
    auto* box = dynamic_cast<wxDialog*>(each);
    if (box && box->IsModal() && box->IsShown()) box->Raise();
  }
}

#ifdef __WXGTK__
/// Those of buttons work by themselves.
const std::string& mnemonicText(const Control& control) { return control.label(); }
#else
const std::string& mnemonicText(const Control& control) {
  const auto* button = dynamic_cast<const Button*>(&control);
  return button ? button->caption() : control.label();
}
#endif

}  // namespace

/// The native window, from its first showing on.
class View::Native final : private ControlHost {
 public:
  explicit Native(Window& window);
  Native(const Native&) = delete;
  Native& operator=(const Native&) = delete;
  ~Native() override;

  void follow();

 private:
  // However busy the server is, its windows show it no more often than 20 times a second. When more changes
  // than anybody can follow, they do so less often yet: showing must not cost more than serving.
  static constexpr int kBetweenMs = 50;
  static constexpr int kBetweenAtMostMs = 1000;

  void showLater(ControlView& view) override;
  void showNow() override { refresh(); }
  void followFocus(ControlView& view) override;
  void focusArrived(ControlView& view) override;

  wxWindow* make(Control& control, wxWindow* parent);
  void makeMenu();
  void makeMnemonics();
  void useMnemonic(const std::vector<ControlView*>& owners);
  void wire();
  void onKey(wxKeyEvent& event);
  void goTo(bool next);
  void refresh();
  void askRefresh();
  void moveFocusTo(ControlView& view);
  void giveFocus();
  void focusFirst();
  void hide();

  Window& window_;
  std::unique_ptr<wxFrame> frame_;
  wxPanel* panel_;
  std::vector<std::unique_ptr<ControlView>> views_;
  std::vector<std::pair<Button*, wxMenuItem*>> menu_;
  bool lastWasOption_ = false;

  wxTimer refreshTimer_;
  std::vector<ControlView*> later_;
  unsigned showings_ = 0;
  int changes_ = 0;  // since the last refresh
  int betweenMs_ = kBetweenMs;

  ControlView* current_ = nullptr;  // has the focus, as the controls see it
  ControlView* wanted_ = nullptr;   // is to get it from the logic
  std::unique_ptr<wxWindowDisabler> modal_;
};

View::Native::Native(Window& window)
    : window_(window),
      frame_(std::make_unique<wxFrame>(
          window.modal() ? wxTheApp->GetTopWindow() : nullptr, wxID_ANY, toWx(window.title()),
          wxDefaultPosition, wxDefaultSize,
          (window.resizable() ? wxDEFAULT_FRAME_STYLE
                              : wxDEFAULT_FRAME_STYLE & ~(wxRESIZE_BORDER | wxMAXIMIZE_BOX)) |
              // What keeps the owner from the other windows must not lie behind them.
              (window.modal() ? wxFRAME_FLOAT_ON_PARENT | wxFRAME_NO_TASKBAR : 0),
          toWx(window.name()))),
      panel_(new wxPanel(frame_.get())) {
  frame_->SetIcons(windowIcons());
  makeMenu();
  WindowLayout([this](Control& control, wxWindow* parent) {
    return make(control, parent);
  }).fill(panel_, window.layout());
  makeMnemonics();
  auto* sizer = owned<wxBoxSizer>(wxVERTICAL);
  sizer->Add(panel_, wxSizerFlags(1).Expand());
  frame_->SetSizerAndFit(sizer);
  wire();
}

View::Native::~Native() {
  for (const auto& [entry, item] : menu_) entry->onShown = nullptr;
  modal_.reset();
  // While the controls still hear of it.
  frame_.reset();
}

wxWindow* View::Native::make(Control& control, wxWindow* parent) {
  const bool option = dynamic_cast<OptionButton*>(&control) != nullptr;
  auto view = makeControlView(control, *this, parent, option && !lastWasOption_);
  lastWasOption_ = option;
  wxWindow* native = &view->window();
  views_.push_back(std::move(view));
  return native;
}

void View::Native::makeMenu() {
  if (window_.menu().empty()) return;
  auto* entries = owned<wxMenu>();
  for (Button* entry : window_.menu()) {
    wxMenuItem* item = entries->Append(wxID_ANY, toWx(entry->caption()));
    item->Enable(entry->enabled());
    frame_->Bind(wxEVT_MENU, [entry](wxCommandEvent&) { entry->click(); }, item->GetId());
    entry->onShown = [entry, item] { item->Enable(entry->enabled()); };
    menu_.emplace_back(entry, item);
  }
  auto* bar = owned<wxMenuBar>();
  bar->Append(entries, toWx(window_.menuTitle()));
  frame_->SetMenuBar(bar);
}

/// A label's underlined letter leads to its control, that of a button clicks it. Where two have the same one,
/// it goes from each to the next.
void View::Native::makeMnemonics() {
  std::map<int, std::vector<ControlView*>> owners;
  for (const auto& view : views_) {
    if (dynamic_cast<CheckBox*>(&view->control())) continue;
    const wxString label = toWx(mnemonicText(view->control()));
    const int at = label.Find('&');
    if (at == wxNOT_FOUND || static_cast<std::size_t>(at) + 1 == label.length()) continue;
    owners[wxToupper(label[static_cast<std::size_t>(at) + 1])].push_back(view.get());
  }
  std::vector<wxAcceleratorEntry> keys;
  for (const auto& [letter, views] : owners) {
    const int id = wxWindow::NewControlId();
    keys.emplace_back(wxACCEL_ALT, letter, id);
    frame_->Bind(wxEVT_MENU, [this, views = views](wxCommandEvent&) { useMnemonic(views); }, id);
  }
  if (!keys.empty()) frame_->SetAcceleratorTable({static_cast<int>(keys.size()), keys.data()});
}

void View::Native::useMnemonic(const std::vector<ControlView*>& owners) {
  const auto present = std::find(owners.begin(), owners.end(), current_);
  ControlView& next =
      present == owners.end() || present + 1 == owners.end() ? *owners.front() : **(present + 1);
  auto* button = dynamic_cast<Button*>(&next.control());
  if (button && owners.size() == 1) {
    button->click();
  } else {
    next.window().SetFocus();
  }
}

void View::Native::wire() {
  frame_->Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent& event) {
    event.Veto();
    window_.close();
  });
  frame_->Bind(wxEVT_ACTIVATE, [](wxActivateEvent& event) {
    event.Skip();
    if (event.GetActive()) raiseStandingBox();
  });
  frame_->Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) { onKey(event); });
  refreshTimer_.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { refresh(); });
}

void View::Native::onKey(wxKeyEvent& event) {
  const int key = event.GetKeyCode();
  if (key == WXK_TAB && !event.HasAnyModifiers()) {
    goTo(!event.ShiftDown());
    return;
  }
  Button* button = nullptr;
  if (!event.HasAnyModifiers()) {
    const bool onButton = dynamic_cast<wxButton*>(wxWindow::FindFocus()) != nullptr;
    if ((key == WXK_RETURN || key == WXK_NUMPAD_ENTER) && !onButton) button = window_.acceptButton();
    if (key == WXK_ESCAPE) button = window_.cancelButton();
  }
  if (!button) {
    event.Skip();
    return;
  }
  button->click();
}

/// The Tab key goes through the controls as they are declared. The toolkit's own order has stops that are
/// none, such as the arrow of a combo box.
void View::Native::goTo(bool next) {
  const std::size_t count = views_.size();
  std::size_t at = next ? count - 1 : 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (views_[i].get() == current_) at = i;
  }
  for (std::size_t i = 0; i < count; ++i) {
    at = (at + (next ? 1 : count - 1)) % count;
    const ControlView& view = *views_[at];
    const auto* option = dynamic_cast<const OptionButton*>(&view.control());
    if (!view.window().CanAcceptFocusFromKeyboard() || (option && !option->chosen())) continue;
    view.window().SetFocus();
    return;
  }
}

void View::Native::showLater(ControlView& view) {
  ++changes_;
  if (view.changes++ > 0) return;
  later_.push_back(&view);
  askRefresh();
}

void View::Native::askRefresh() {
  if (!refreshTimer_.IsRunning()) refreshTimer_.StartOnce(betweenMs_);
}

void View::Native::refresh() {
  // As many milliseconds as there were changes: more than a thousand a second make it slower.
  betweenMs_ = std::clamp(std::exchange(changes_, 0), kBetweenMs, kBetweenAtMostMs);
  for (ControlView* view : std::exchange(later_, {})) {
    if (!view->showState()) showLater(*view);
  }
  const wxString title = toWx(window_.title());
  if (frame_->GetTitle() != title) frame_->SetTitle(title);
}

void View::Native::follow() {
  askRefresh();
  if (!window_.visible()) {
    if (frame_->IsShown()) hide();
    return;
  }
  if (std::exchange(showings_, window_.showings()) == window_.showings()) return;
  if (frame_->IsShown()) {
    frame_->Raise();
    return;
  }
  refresh();
  if (window_.modal()) frame_->CentreOnParent();
  frame_->Show();
  frame_->Raise();
  if (window_.modal()) modal_ = std::make_unique<wxWindowDisabler>(frame_.get());
  focusFirst();
}

void View::Native::hide() {
  modal_.reset();
  frame_->Hide();
  // What the owner was about to type is what he has typed.
  if (ControlView* left = std::exchange(current_, nullptr)) {
    left->focusWent();
    left->control().leave();
  }
  // A window that is not there has no focus, even where its logic has just wanted it back.
  current_ = wanted_ = nullptr;
  for (const auto& view : views_) {
    Control& control = view->control();
    if (!control.focused()) continue;
    auto onLeave = std::exchange(control.onLeave, nullptr);
    control.leave();
    control.onLeave = std::move(onLeave);
  }
}

void View::Native::focusFirst() {
  if (wanted_) return;
  for (const auto& view : views_) {
    if (!view->control().enabled() || !view->window().CanAcceptFocusFromKeyboard()) continue;
    view->window().SetFocus();
    return;
  }
}

void View::Native::followFocus(ControlView& view) {
  if (!view.control().focused() || current_ == &view || wanted_ == &view) return;
  wanted_ = &view;
  frame_->CallAfter([this] { giveFocus(); });
}

void View::Native::giveFocus() {
  if (!wanted_) return;
  ControlView& view = *wanted_;
  view.showState();
  view.window().SetFocus();
  wanted_ = nullptr;
  moveFocusTo(view);
}

void View::Native::focusArrived(ControlView& view) {
  // On its way to where the logic wants it, the focus leaves no trace.
  if (!wanted_ || wanted_ == &view) moveFocusTo(view);
}

void View::Native::moveFocusTo(ControlView& view) {
  if (current_ == &view) return;
  // A window that merely lies behind another one, or behind a message box, has not been left.
  if (ControlView* left = std::exchange(current_, &view)) {
    left->focusWent();
    left->control().leave();
    if (wanted_ && wanted_ != &view) return;
  }
  view.control().focus();
}

View::View(Window& window) : window_(window) {
  window_.onShown = [this] { windowShown(); };
  windowShown();
}

View::~View() { window_.onShown = nullptr; }

void View::windowShown() {
  if (!native_) {
    if (!window_.visible()) return;
    native_ = std::make_unique<Native>(window_);
  }
  native_->follow();
}

}  // namespace kova::platform::wx
