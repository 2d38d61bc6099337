#pragma once

#include <sys/resource.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/processes.h"

namespace kova::platform::posix {

/// The words of a command line, as Processes::start splits it. Empty with the reason in `why` when a quote
/// has no end.
std::optional<std::vector<std::string>> splitWords(std::string_view line, std::string& why);

class PosixProcesses final : public Processes {
 public:
  /// To be made before the limit of open descriptors is raised: the programs that are started get the limit
  /// as it is now, since many cannot deal with a large one.
  PosixProcesses();

  bool start(const std::string& commandLine, std::string& why) override;
  bool exists(const std::string& path) override;

 private:
  rlimit descriptorLimit_{};
};

}  // namespace kova::platform::posix
