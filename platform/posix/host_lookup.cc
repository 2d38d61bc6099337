#include "platform/posix/host_lookup.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <net/route.h>
#include <netdb.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <fstream>
#include <memory>
#include <sstream>

#include "platform/posix/socket_errors.h"

namespace kova::platform::posix {

namespace {

std::string dotted(const sockaddr& address) {
  std::array<char, INET_ADDRSTRLEN> text{};
  const auto& ipv4 = reinterpret_cast<const sockaddr_in&>(address);
  return ::inet_ntop(AF_INET, &ipv4.sin_addr, text.data(), text.size()) ? text.data() : std::string();
}

}  // namespace

std::optional<HostLookup::Library> PosixHostLookup::startUp() {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  Library library;
  library.majorVersion = 2;
  library.minorVersion = 2;
  library.maxSockets = static_cast<int>(std::min<rlim_t>(limit.rlim_cur, INT_MAX));
  return library;
}

std::optional<std::string> PosixHostLookup::hostName() {
  std::array<char, 256> name{};
  if (::gethostname(name.data(), name.size() - 1) != 0) {
    lastError_ = windowsSocketsCode(errno);
    return std::nullopt;
  }
  return std::string(name.data());
}

std::vector<std::string> PosixHostLookup::addressesOf(const std::string& host) {
  addrinfo wanted{};
  wanted.ai_family = AF_INET;
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (const int error = ::getaddrinfo(host.c_str(), nullptr, &wanted, &found); error != 0) {
    lastError_ = windowsResolverCode(error);
    return {};
  }
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> list(found, ::freeaddrinfo);
  std::vector<std::string> addresses;
  for (const addrinfo* each = list.get(); each; each = each->ai_next)
    addresses.push_back(dotted(*each->ai_addr));
  return addresses;
}

std::optional<std::string> PosixHostLookup::defaultRouteAddress() {
  std::ifstream file("/proc/net/route");
  const std::string table{std::istreambuf_iterator<char>(file), {}};
  const auto interface = defaultRouteInterface(table);
  ifaddrs* found = nullptr;
  if (!interface || ::getifaddrs(&found) != 0) return std::nullopt;
  const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> list(found, ::freeifaddrs);
  for (const ifaddrs* each = list.get(); each; each = each->ifa_next) {
    if (each->ifa_addr && each->ifa_addr->sa_family == AF_INET && *interface == each->ifa_name) {
      return dotted(*each->ifa_addr);
    }
  }
  return std::nullopt;
}

std::optional<std::string> defaultRouteInterface(std::string_view routeTable) {
  std::istringstream lines{std::string(routeTable)};
  std::string line;
  std::optional<std::string> best;
  unsigned long bestMetric = ULONG_MAX;
  while (std::getline(lines, line)) {
    std::istringstream fields(line);
    std::string interface, destination, gateway, references, uses, mask;
    unsigned long flags = 0;
    unsigned long metric = 0;
    // The heading has words where the flags should be and is passed over like any other line that does not
    // fit.
    if (!(fields >> interface >> destination >> gateway >> std::hex >> flags >> references >> uses >>
          std::dec >> metric >> mask)) {
      continue;
    }
    if (destination != "00000000" || mask != "00000000" || (flags & RTF_UP) == 0 ||
        (flags & RTF_REJECT) != 0) {
      continue;
    }
    if (!best || metric < bestMetric) {
      best = interface;
      bestMetric = metric;
    }
  }
  return best;
}

}  // namespace kova::platform::posix
