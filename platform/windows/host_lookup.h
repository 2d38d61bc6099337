#pragma once

#include "platform/host_lookup.h"

namespace kova::platform::windows {

/// Windows Sockets itself. A look-up waits for the name service.
class WindowsHostLookup final : public HostLookup {
 public:
  std::optional<Library> startUp() override;
  bool cleanUp() override;
  int lastError() const override { return lastError_; }

  std::optional<std::string> hostName() override;
  std::vector<std::string> addressesOf(const std::string& host) override;
  std::optional<std::string> defaultRouteAddress() override;

 private:
  int lastError_ = 0;
};

}  // namespace kova::platform::windows
