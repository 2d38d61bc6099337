#include "platform/windows/addresses.h"

#include <array>

namespace kova::platform::windows {

std::optional<Endpoint> endpointOf(const std::string& address, std::uint16_t port) {
  if (address.find('\0') != std::string::npos) return std::nullopt;
  Endpoint endpoint;
  auto& ipv4 = reinterpret_cast<sockaddr_in&>(endpoint.storage);
  if (::inet_pton(AF_INET, address.c_str(), &ipv4.sin_addr) == 1) {
    ipv4.sin_family = AF_INET;
    ipv4.sin_port = htons(port);
    endpoint.size = sizeof ipv4;
    return endpoint;
  }
  auto& ipv6 = reinterpret_cast<sockaddr_in6&>(endpoint.storage);
  if (::inet_pton(AF_INET6, address.c_str(), &ipv6.sin6_addr) == 1) {
    ipv6.sin6_family = AF_INET6;
    ipv6.sin6_port = htons(port);
    endpoint.size = sizeof ipv6;
    return endpoint;
  }
  return std::nullopt;
}

std::string dotted(const sockaddr& address) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  const void* const bytes =
      address.sa_family == AF_INET
          ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in&>(address).sin_addr)
          : &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr;
  return ::inet_ntop(address.sa_family, bytes, text.data(), text.size()) ? text.data() : std::string();
}

}  // namespace kova::platform::windows
