#pragma once

#include <set>
#include <string>
#include <vector>

#include "platform/processes.h"

namespace kova::fakes {

/// A machine that writes down what it is asked to start.
class FakeProcesses final : public platform::Processes {
 public:
  std::vector<std::string> started;  ///< command lines
  std::string failure;               ///< not empty: nothing can be started, for this reason
  std::set<std::string> existing;    ///< paths

  bool start(const std::string& commandLine, std::string& why) override {
    if (failure.empty()) {
      started.push_back(commandLine);
    } else {
      why = failure;
    }
    return failure.empty();
  }
  bool exists(const std::string& path) override { return existing.contains(path); }
};

}  // namespace kova::fakes
