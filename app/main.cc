// tarvel_wapd: the WAP server without a desktop.

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <span>
#include <string>
#include <system_error>

#include "app/options.h"
#include "app/program.h"

namespace {

/// The folder that the executable lies in.
std::string executableFolder() {
  std::error_code error;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string(".") : self.parent_path().string();
}

}  // namespace

int main(int argc, char** argv) {
  constexpr int kCannotStart = 1;
  constexpr int kBadOption = 2;

  const std::span<char*> arguments(argv, static_cast<std::size_t>(argc));
  std::string error;
  const auto options = kova::app::parseOptions(
      {arguments.data() + (argc > 0 ? 1 : 0), argc > 0 ? arguments.size() - 1 : 0}, error);
  if (!options) {
    std::cerr << "tarvel_wapd: " << error << "\n" << kova::app::usage();
    return kBadOption;
  }
  if (options->help) {
    std::cout << kova::app::usage();
    return EXIT_SUCCESS;
  }
  if (options->version) {
    std::cout << "tarvel_wapd " KOVA_VERSION "\n";
    return EXIT_SUCCESS;
  }

  std::error_code failure;
  const auto home = std::filesystem::canonical(options->home.value_or(executableFolder()), failure);
  if (failure || chdir(home.c_str()) != 0) {
    std::cerr << "tarvel_wapd: cannot use " << options->home.value_or(executableFolder())
              << " as the program's folder: " << (failure ? failure.message() : "no right to enter it")
              << "\n";
    return kCannotStart;
  }

  kova::app::Program program(home.string());
  program.load(*options);
  if (options->start && !program.listening()) {
    std::cerr << "tarvel_wapd: " << program.lastMessage() << "\n";
    return kCannotStart;
  }
  program.run();
  return EXIT_SUCCESS;
}
