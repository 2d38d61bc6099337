#include "platform/windows/host_lookup.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <array>
#include <limits>
#include <memory>

#include "platform/windows/addresses.h"
#include "platform/windows/unique_socket.h"

namespace kova::platform::windows {

std::optional<HostLookup::Library> WindowsHostLookup::startUp() {
  WSADATA data{};
  lastError_ = ::WSAStartup(MAKEWORD(2, 2), &data);
  if (lastError_ != 0) return std::nullopt;
  Library library;
  library.majorVersion = LOBYTE(data.wVersion);
  library.minorVersion = HIBYTE(data.wVersion);
  // From version 2 on the field says nothing, and there is no limit.
  library.maxSockets = library.majorVersion >= 2 ? std::numeric_limits<int>::max() : data.iMaxSockets;
  return library;
}

bool WindowsHostLookup::cleanUp() {
  if (::WSACleanup() == 0) return true;
  lastError_ = ::WSAGetLastError();
  return false;
}

std::optional<std::string> WindowsHostLookup::hostName() {
  std::array<char, 256> name{};
  if (::gethostname(name.data(), static_cast<int>(name.size())) != 0) {
    lastError_ = ::WSAGetLastError();
    return std::nullopt;
  }
  return std::string(name.data());
}

std::vector<std::string> WindowsHostLookup::addressesOf(const std::string& host) {
  addrinfo wanted{};
  wanted.ai_family = AF_INET;
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (::getaddrinfo(host.c_str(), nullptr, &wanted, &found) != 0) {
    lastError_ = ::WSAGetLastError();
    return {};
  }
  const std::unique_ptr<addrinfo, void(WSAAPI*)(addrinfo*)> list(found, ::freeaddrinfo);
  std::vector<std::string> addresses;
  for (const addrinfo* each = list.get(); each; each = each->ai_next)
    addresses.push_back(dotted(*each->ai_addr));
  return addresses;
}

std::optional<std::string> WindowsHostLookup::defaultRouteAddress() {
  // Nothing is sent: the system only chooses the interface for an address that is nobody's.
  const UniqueSocket socket(::socket(AF_INET, SOCK_DGRAM, 0));
  const auto remote = endpointOf("192.0.2.1", 9);
  if (!socket || ::connect(socket.get(), remote->address(), remote->size) != 0) return std::nullopt;
  sockaddr_in own{};
  int size = sizeof own;
  if (::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&own), &size) != 0) return std::nullopt;
  return dotted(reinterpret_cast<const sockaddr&>(own));
}

}  // namespace kova::platform::windows
