#pragma once

#include <string_view>

#include "platform/host_lookup.h"

namespace kova::platform::posix {

/// The resolver of the C library. Error numbers are Windows Sockets codes (11001: no such host). A look-up
/// waits for the name service.
class PosixHostLookup final : public HostLookup {
 public:
  /// Version 2.2, with as many sockets as this process may have descriptors.
  std::optional<Library> startUp() override;
  bool cleanUp() override { return true; }
  int lastError() const override { return lastError_; }

  std::optional<std::string> hostName() override;
  std::vector<std::string> addressesOf(const std::string& host) override;
  std::optional<std::string> defaultRouteAddress() override;

 private:
  int lastError_ = 0;
};

/// The interface of the default route with the lowest metric in a table of the form of /proc/net/route.
std::optional<std::string> defaultRouteInterface(std::string_view routeTable);

}  // namespace kova::platform::posix
