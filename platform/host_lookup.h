#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kova::platform {

/// The name service of the machine's sockets library, as far as finding this machine's own address needs it.
class HostLookup {
 public:
  struct Library {
    int majorVersion = 0;
    int minorVersion = 0;
    int maxSockets = 0;
  };

  virtual ~HostLookup() = default;

  /// Starts the library; empty when it cannot be started. Every successful call is paired with cleanUp().
  virtual std::optional<Library> startUp() = 0;
  /// False when shutting down failed.
  virtual bool cleanUp() = 0;
  /// The error number of the last failed call.
  virtual int lastError() const = 0;

  virtual std::optional<std::string> hostName() = 0;
  /// The IPv4 addresses of a host in dotted form, in the resolver's order; empty when it does not answer.
  virtual std::vector<std::string> addressesOf(const std::string& host) = 0;
  /// The IPv4 address of the interface that holds the default route, where the system can tell.
  virtual std::optional<std::string> defaultRouteAddress() = 0;
};

}  // namespace kova::platform
