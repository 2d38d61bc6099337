#pragma once

#include <wx/msgdlg.h>
#ifdef __WXGTK__
// Needs the one before it.
#include <wx/generic/msgdlgg.h>
#endif

namespace kova::platform::wx {

#ifdef __WXGTK__
/// The toolkit's native one shows no icon.
using MessageBox = wxGenericMessageDialog;
#else
using MessageBox = wxMessageDialog;
#endif

/// A box or a chooser runs a loop of its own, which the program ends by answering it: no, or nothing chosen.
void takeBoxAway(wxDialog& box);

}  // namespace kova::platform::wx
