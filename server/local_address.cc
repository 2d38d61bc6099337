#include "server/local_address.h"

#include <algorithm>
#include <vector>

#include "base/text.h"

namespace kova::server {

namespace {

constexpr int kMinMajorVersion = 1;
constexpr int kMinMinorVersion = 1;
constexpr int kMinSockets = 1;

std::string addressOfThisHost(platform::HostLookup& lookup, platform::Dialogs& dialogs) {
  const auto fail = [&](const std::string& text) {
    dialogs.message(text, platform::MessageIcon::kExclamation, "");
    return std::string();
  };
  const auto host = lookup.hostName();
  if (!host) {
    return fail("Windows Sockets error " + std::to_string(lookup.lastError()) +
                " has occurred. Unable to successfully get Host Name.");
  }
  const std::vector<std::string> addresses = lookup.addressesOf(std::string(base::trim(*host)));
  if (addresses.empty()) {
    return fail("Windows Sockets are not responding. Unable to successfully get Host Name.");
  }
  const bool onlyLoopback = std::all_of(addresses.begin(), addresses.end(),
                                        [](const std::string& a) { return a.starts_with("127."); });
  if (onlyLoopback) {
    if (const auto outward = lookup.defaultRouteAddress()) return *outward;
  }
  return addresses.front();
}

}  // namespace

std::string GetLocalAddress(platform::HostLookup& lookup, platform::Dialogs& dialogs) {
  const auto tell = [&](const std::string& text) {
    dialogs.message(text, platform::MessageIcon::kExclamation, "");
  };
  const auto library = lookup.startUp();
  if (!library) {
    tell("The 32-bit Windows Socket is not responding.");
    return {};
  }
  std::string address;
  const bool old = library->majorVersion < kMinMajorVersion ||
                   (library->majorVersion == kMinMajorVersion && library->minorVersion < kMinMinorVersion);
  if (old) {
    tell("Sockets version " + std::to_string(library->majorVersion) + "." +
         std::to_string(library->minorVersion) + " is not supported by 32-bit Windows Sockets.");
  } else if (library->maxSockets < kMinSockets) {
    tell("This application requires a minimum of " + std::to_string(kMinSockets) + " supported sockets.");
  } else {
    address = addressOfThisHost(lookup, dialogs);
  }
  if (!lookup.cleanUp()) tell("Socket error occurred in Cleanup.");
  return address;
}

}  // namespace kova::server
