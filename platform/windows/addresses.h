#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

#include <cstdint>
#include <optional>
#include <string>

namespace kova::platform::windows {

/// An address and a port as the system wants them.
struct Endpoint {
  sockaddr_storage storage{};
  int size = 0;
  const sockaddr* address() const { return reinterpret_cast<const sockaddr*>(&storage); }
};

/// Of an address with dots (IPv4) or colons (IPv6); empty for anything else.
std::optional<Endpoint> endpointOf(const std::string& address, std::uint16_t port);

/// The address with dots or colons; empty when it is neither.
std::string dotted(const sockaddr& address);

}  // namespace kova::platform::windows
