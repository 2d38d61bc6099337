#pragma once

class wxDialog;
class wxMessageDialogBase;

namespace kova::platform::wx {

// A native box runs a loop of its own, which the program ends by answering it: no, or nothing chosen.

void answerNativeBox(const wxMessageDialogBase& box);
void endNativeChooser(wxDialog& chooser);

}  // namespace kova::platform::wx
