// tarvel_wapd: the WAP server without a desktop.

#include <cstdlib>
#include <iostream>

#include "app/headless/headless.h"
#include "app/start.h"

int main(int argc, char** argv) {
  int exitCode = EXIT_SUCCESS;
  const auto start = kova::app::start("tarvel_wapd", {argv, static_cast<std::size_t>(argc)}, exitCode);
  if (!start) return exitCode;

  kova::app::Headless program(start->home);
  program.load(start->options);
  if (start->options.start && !program.listening()) {
    std::cerr << "tarvel_wapd: " << program.lastMessage() << "\n";
    return kova::app::kCannotStart;
  }
  program.run();
  return EXIT_SUCCESS;
}
