#include "app/start.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <system_error>

#include "base/path.h"
#include "platform/machine.h"

namespace kova::app {

std::optional<Start> start(const std::string& program, const std::vector<std::string>& arguments,
                           int& exitCode) {
  platform::prepareProcess();
  std::string error;
  auto options = parseOptions(arguments, error);
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

  const std::string wanted = options->home.value_or(platform::executableFolder());
  std::error_code failure;
  const auto home = std::filesystem::canonical(base::toPath(wanted), failure);
  if (!failure) std::filesystem::current_path(home, failure);
  if (failure) {
    std::cerr << program << ": cannot use " << wanted << " as the program's folder: " << failure.message()
              << "\n";
    exitCode = kCannotStart;
    return std::nullopt;
  }
  return Start{*std::move(options), base::fromPath(home)};
}

}  // namespace kova::app
