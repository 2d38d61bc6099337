#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/host_lookup.h"

namespace kova::fakes {

class FakeHostLookup : public platform::HostLookup {
 public:
  std::optional<Library> started = Library{2, 2, 1024};
  bool cleanUpWorks = true;
  int error = 11001;
  std::optional<std::string> host = "office-pc";
  std::vector<std::string> addresses = {"192.168.1.20"};
  std::optional<std::string> defaultRoute;

  std::optional<Library> startUp() override { return started; }
  bool cleanUp() override { return cleanUpWorks; }
  int lastError() const override { return error; }
  std::optional<std::string> hostName() override { return host; }
  std::vector<std::string> addressesOf(const std::string&) override { return addresses; }
  std::optional<std::string> defaultRouteAddress() override { return defaultRoute; }
};

}  // namespace kova::fakes
