#include "app/start.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <system_error>

#include "platform/posix/signals.h"

namespace kova::app {

namespace {

/// The folder that the executable lies in.
std::string executableFolder() {
  std::error_code error;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string(".") : self.parent_path().string();
}

}  // namespace

std::optional<Start> start(const std::string& program, std::span<char* const> arguments, int& exitCode) {
  platform::posix::leaveNoZombies();
  std::string error;
  auto options = parseOptions(arguments.subspan(arguments.empty() ? 0 : 1), error);
  if (!options) {
    std::cerr << program << ": " << error << "\n" << usage(program);
    exitCode = kBadOption;
    return std::nullopt;
  }
  if (options->help || options->version) {
    std::cout << (options->help ? usage(program) : program + " " KOVA_VERSION "\n");
    exitCode = EXIT_SUCCESS;
    return std::nullopt;
  }

  const std::string wanted = options->home.value_or(executableFolder());
  std::error_code failure;
  const auto home = std::filesystem::canonical(wanted, failure);
  if (failure || chdir(home.c_str()) != 0) {
    std::cerr << program << ": cannot use " << wanted
              << " as the program's folder: " << (failure ? failure.message() : "no right to enter it")
              << "\n";
    exitCode = kCannotStart;
    return std::nullopt;
  }
  return Start{*std::move(options), home.string()};
}

}  // namespace kova::app
