#include "platform/posix/machine.h"

#include <csignal>
#include <filesystem>
#include <functional>
#include <system_error>

namespace kova::platform {

namespace posix {

PosixMachine::PosixMachine()
    : signals_(loop_, {SIGTERM, SIGINT, SIGUSR1}, [this](int signal) { received(signal); }) {
  ignoreBrokenPipes();
  raiseDescriptorLimit();
}

void PosixMachine::received(int signal) {
  const std::function<void()>& told = signal == SIGUSR1 ? onCheckNow : onEnd;
  if (told) told();
}

}  // namespace posix

void prepareProcess() { posix::leaveNoZombies(); }

std::unique_ptr<Machine> makeMachine() { return std::make_unique<posix::PosixMachine>(); }

std::vector<std::string> programArguments(int argc, char** argv) { return {argv + 1, argv + argc}; }

std::string executableFolder() {
  std::error_code error;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string(".") : self.parent_path().string();
}

}  // namespace kova::platform
