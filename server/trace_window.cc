#include "server/trace_window.h"

namespace kova::server {

frmTrace::frmTrace()
    : Window("frmTrace", "Tracing Options"),
      OptLevel{platform::OptionButton{"OptLevel0", "0:  All Winsock Calls"},
               platform::OptionButton{"OptLevel1", "1:  Error Winsock Calls"},
               platform::OptionButton{"OptLevel2", "2:  Warning Winsock Calls"},
               platform::OptionButton{"OptLevel4", "4:  Verbose Trace"}} {
  OptLevel[0].setChosen(true);
  cmdOK.onClick = [this] {
    close();
    if (onAccepted) onAccepted();
  };
  cmdCancel.onClick = [this] { close(); };
  for (std::size_t i = 0; i < OptLevel.size(); ++i) {
    OptLevel[i].onClick = [this, i] { chooseLevel(kLevels[i]); };
  }

  using platform::Layout;
  setLayout(Layout::rows({Layout::rows({OptLevel[0], OptLevel[1], OptLevel[2], OptLevel[3]}).in(frameLevel),
                          chkEnableTracing, txtTraceFile, Layout::columns({cmdOK, cmdCancel})}));
  setKeys(&cmdOK, &cmdCancel);
  setFixedSize();
}

TraceOptions frmTrace::TraceParams() const {
  TraceOptions options;
  options.enabled = chkEnableTracing.value() == 1;
  options.file = txtTraceFile.text();
  for (std::size_t i = 0; i < OptLevel.size(); ++i) {
    if (OptLevel[i].chosen()) options.level = kLevels[i];
  }
  return options;
}

void frmTrace::set(const TraceOptions& options) {
  chkEnableTracing.setValue(options.enabled ? 1 : 0);
  txtTraceFile.setText(options.file);
  chooseLevel(options.level);
}

void frmTrace::chooseLevel(int level) {
  for (std::size_t i = 0; i < OptLevel.size(); ++i) OptLevel[i].setChosen(kLevels[i] == level);
}

}  // namespace kova::server
