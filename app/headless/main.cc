// tarvel_wapd: the WAP server without a desktop.

#include <cstdlib>
#include <iostream>

#include "app/headless/headless.h"
#include "app/start.h"
#include "platform/machine.h"

int main(int argc, char** argv) {
  int exitCode = EXIT_SUCCESS;
  const auto start = kova::app::start("tarvel_wapd", kova::platform::programArguments(argc, argv), exitCode);
  if (!start) return exitCode;

  const auto machine = kova::platform::makeMachine();
  kova::app::Headless program(*machine, *start);
  program.load();
  if (start->options.start && !program.listening()) {
    std::cerr << "tarvel_wapd: " << program.lastMessage() << "\n";
    return kova::app::kCannotStart;
  }
  program.run();
  return EXIT_SUCCESS;
}
