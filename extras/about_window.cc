#include "extras/about_window.h"

namespace kova::extras {

frmAbout::frmAbout(const std::string& version)
    : Window("frmAbout", "About KOVA WAP server"), lblVersion("lblVersion", "Version " + version) {
  cmdClose.onClick = [this] { close(); };
  setLayout(platform::Layout::rows({lblName, lblVersion, lblPurpose, lblLicence, cmdClose}));
  setKeys(&cmdClose, &cmdClose);
  setFixedSize();
}

}  // namespace kova::extras
