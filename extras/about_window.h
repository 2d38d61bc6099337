#pragma once

#include <string>

#include "platform/controls.h"
#include "platform/window.h"

namespace kova::extras {

/// What the program is, and what one may do with it.
class frmAbout : public platform::Window {
 public:
  /// `version` as it is shown: "1.7".
  explicit frmAbout(const std::string& version);

  void open() { show(); }

  platform::Label lblName{"lblName", "KOVA WAP server"};
  platform::Label lblVersion;
  platform::Label lblPurpose{"lblPurpose",
                             "Brings the calendar, contacts, inbox, tasks and notes\n"
                             "of this PC to its owner's WAP phone."};
  platform::Label lblLicence{"lblLicence",
                             "Copyright (c) 2026 The KOVA WAP server developers\n"
                             "Free software under the MIT licence, without any warranty."};
  platform::Button cmdClose{"cmdClose", "&Close"};
};

}  // namespace kova::extras
