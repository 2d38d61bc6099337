// tarvel_wap: the WAP server with its windows.

#include <cstdlib>
#include <iostream>

#include "app/desktop/desktop.h"
#include "app/desktop/icon_svg.h"
#include "app/start.h"
#include "platform/machine.h"
#include "platform/wx/application.h"

int main(int argc, char** argv) {
  int exitCode = EXIT_SUCCESS;
  const auto start = kova::app::start("tarvel_wap", kova::platform::programArguments(argc, argv), exitCode);
  if (!start) return exitCode;

  // Before the window system: its threads must not take the signals that end the program.
  const auto machine = kova::platform::makeMachine();
  kova::platform::wx::WxDialogs dialogs;
  kova::app::Program program(*machine, *start, "tarvel_wap", dialogs);
  kova::platform::wx::Application application(kova::app::iconSvg());
  if (!application.started()) {
    std::cerr
        << "tarvel_wap: there is no display that it could open. Without one, use tarvel_wapd: it serves\n"
           "the phones without windows, from the same settings.\n";
    return kova::app::kCannotStart;
  }
  {
    kova::app::Desktop desktop(program, dialogs, [&application] { application.end(); });
    program.load();
    application.run();
  }
  program.unload();
  return EXIT_SUCCESS;
}
