#include "platform/wx/dialogs.h"

#include <wx/app.h>
#include <wx/dirdlg.h>
#include <wx/filedlg.h>
#include <wx/filefn.h>
#include <wx/filename.h>
#include <wx/toplevel.h>

#include <algorithm>
#include <utility>

#include "platform/wx/native_box.h"
#include "platform/wx/text.h"

namespace kova::platform::wx {

namespace {

long iconStyle(MessageIcon icon) {
  switch (icon) {
    case MessageIcon::kInformation:
      return wxICON_INFORMATION;
    case MessageIcon::kQuestion:
      return wxICON_QUESTION;
    case MessageIcon::kExclamation:
      return wxICON_EXCLAMATION;
    case MessageIcon::kCritical:
      return wxICON_ERROR;
    case MessageIcon::kNone:
      break;
  }
  return wxICON_NONE;
}

wxString wildcard(const std::vector<Dialogs::FileFilter>& filters) {
  wxString text;
  for (const Dialogs::FileFilter& filter : filters) {
    if (!text.empty()) text += "|";
    // A camera writes "IMG_1.JPG".
    const wxString pattern = toWx(filter.pattern);
    text += toWx(filter.label) + "|" + pattern;
    if (pattern != pattern.Upper()) text += ";" + pattern.Upper();
  }
  return text;
}

/// ".jpg" of "*.jpg;*.jpeg"; empty when the pattern names no extension.
std::string extensionOf(const std::string& pattern) {
  const std::string first = pattern.substr(0, pattern.find(';'));
  return first.starts_with("*.") ? first.substr(1) : std::string();
}

/// The filter that shows this file; the first one when none does.
int filterOf(const wxFileName& file, const std::vector<Dialogs::FileFilter>& filters) {
  for (std::size_t i = 0; i < filters.size(); ++i) {
    const wxString patterns = toWx(filters[i].pattern);
    if (file.HasExt() && (";" + patterns + ";").Contains(";*." + file.GetExt().Lower() + ";")) {
      return static_cast<int>(i);
    }
  }
  return 0;
}

}  // namespace

WxDialogs::WxDialogs() : events_(std::make_unique<wxEvtHandler>()) {}
WxDialogs::~WxDialogs() = default;

wxWindow* WxDialogs::parentWindow() {
  wxWindow* active = wxGetActiveWindow();
  if (active) active = wxGetTopLevelParent(active);
  if (active && active->IsShown()) {
    parent_ = active;
  } else if (!wxTopLevelWindows.Find(parent_) || !parent_->IsShown()) {
    parent_ = wxTheApp->GetTopWindow();
  }
  return parent_ && parent_->IsShown() ? parent_ : nullptr;
}

void WxDialogs::later(Box box) {
  if (ended_) return;
  waiting_.push_back(std::move(box));
  events_->CallAfter([this] { showNext(); });
}

void WxDialogs::showNext() {
  if (busy_ || ended_ || waiting_.empty()) return;
  const Box box = std::move(waiting_.front());
  waiting_.pop_front();
  busy_ = true;
  standing_ = box.text;
  box.show();
  standing_.clear();
  busy_ = false;
  if (!waiting_.empty() && !ended_) events_->CallAfter([this] { showNext(); });
}

void WxDialogs::end() {
  ended_ = true;
  waiting_.clear();
  if (takeAway_) takeAway_();
}

int WxDialogs::showMessage(const std::string& text, const std::string& title, long style) {
  MessageBox dialog(parentWindow(), toWx(text), toWx(title), style);
  takeAway_ = [&dialog] { takeBoxAway(dialog); };
  const int answer = dialog.ShowModal();
  takeAway_ = nullptr;
  return answer;
}

void WxDialogs::message(const std::string& text, MessageIcon icon, const std::string& title) {
  const bool known = (busy_ && standing_ == text) ||
                     std::any_of(waiting_.begin(), waiting_.end(),
                                 [&](const Box& box) { return !box.question && box.text == text; });
  if (known || waiting_.size() >= kMostWaiting) return;
  later({[this, text, icon, title] { showMessage(text, title, wxOK | iconStyle(icon)); }, text, false});
}

void WxDialogs::askYesNo(const std::string& text, MessageIcon icon, const std::string& title,
                         std::function<void(bool)> answer) {
  later({[this, text, icon, title, answer = std::move(answer)] {
           const bool yes = showMessage(text, title, wxYES_NO | iconStyle(icon)) == wxID_YES;
           if (!ended_) answer(yes);
         },
         text});
}

void WxDialogs::chooseFolder(const std::string& prompt, const std::string& present,
                             std::function<void(std::string)> answer) {
  later({[this, prompt, present, answer = std::move(answer)] {
           const wxString begin = wxDirExists(toWx(present)) ? toWx(present) : wxString();
           wxDirDialog dialog(parentWindow(), toWx(prompt), begin);
           takeAway_ = [&dialog] { takeBoxAway(dialog); };
           const bool chosen = dialog.ShowModal() == wxID_OK;
           takeAway_ = nullptr;
           if (!ended_) answer(chosen ? toUtf8(dialog.GetPath()) : std::string());
         },
         {}});
}

std::string WxDialogs::showFileDialog(const std::string& title, const std::vector<FileFilter>& filters,
                                      const std::string& present, long style) {
  const wxFileName begin(toWx(present));
  const bool there = begin.FileExists();
  wxFileDialog dialog(parentWindow(), toWx(title), there ? begin.GetPath() : wxString(),
                      there ? begin.GetFullName() : wxString(), wildcard(filters), style);
  dialog.SetFilterIndex(filterOf(begin, filters));
  takeAway_ = [&dialog] { takeBoxAway(dialog); };
  const bool chosen = dialog.ShowModal() == wxID_OK;
  takeAway_ = nullptr;
  if (!chosen || ended_) return {};
  std::string path = toUtf8(dialog.GetPath());
  const auto filter = static_cast<std::size_t>(dialog.GetFilterIndex());
  if ((style & wxFD_SAVE) == 0 || filter >= filters.size() || wxFileName(toWx(path)).HasExt()) return path;

  path += extensionOf(filters[filter].pattern);
  // The native box has asked about the name without its extension.
  if (!wxFileExists(toWx(path))) return path;
  const int answer = showMessage("A file with this name is there: " + path + "\nReplace it?", title,
                                 wxYES_NO | wxNO_DEFAULT | wxICON_QUESTION);
  return answer == wxID_YES ? path : std::string();
}

void WxDialogs::chooseFile(const std::string& title, const std::vector<FileFilter>& filters,
                           const std::string& present, std::function<void(std::string)> answer) {
  later({[this, title, filters, present, answer = std::move(answer)] {
           std::string file = showFileDialog(title, filters, present, wxFD_OPEN | wxFD_FILE_MUST_EXIST);
           if (!ended_) answer(std::move(file));
         },
         {}});
}

void WxDialogs::chooseSaveFile(const std::string& title, const std::vector<FileFilter>& filters,
                               std::function<void(std::string)> answer) {
  later({[this, title, filters, answer = std::move(answer)] {
           std::string file = showFileDialog(title, filters, {}, wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
           if (!ended_) answer(std::move(file));
         },
         {}});
}

}  // namespace kova::platform::wx
