#include "platform/wx/native_box.h"

#ifndef __WXGTK__
#include <wx/msw/wrapcctl.h>
#include <wx/msw/wrapwin.h>

#include <string_view>
#endif

namespace kova::platform::wx {

#ifdef __WXGTK__

void takeBoxAway(wxDialog& box) { box.EndModal(wxID_CANCEL); }

#else

namespace {

/// The system's boxes are windows of a class of its own, and the toolkit has no handle of theirs.
BOOL CALLBACK answer(HWND window, LPARAM) {
  constexpr int kLongestName = 16;
  wchar_t name[kLongestName] = {};
  if (::GetClassNameW(window, name, kLongestName) == 0 || std::wstring_view(name) != L"#32770") return TRUE;
  // One of them is a button that the box has; a box that has gone hears no more.
  for (const WPARAM button : {IDCANCEL, IDNO, IDOK}) {
    ::PostMessageW(window, TDM_CLICK_BUTTON, button, 0);
    ::PostMessageW(window, WM_COMMAND, button, 0);
  }
  return TRUE;
}

}  // namespace

void takeBoxAway(wxDialog&) { ::EnumThreadWindows(::GetCurrentThreadId(), &answer, 0); }

#endif

}  // namespace kova::platform::wx
