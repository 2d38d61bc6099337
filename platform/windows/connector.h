#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/connector.h"
#include "platform/windows/event_loop.h"
#include "platform/windows/socket.h"

namespace kova::platform::windows {

/// The addresses of a host in the order in which they are to be tried, with dots or colons.
struct HostAddresses {
  std::vector<std::string> addresses;
  int error = socket_error::kNone;  ///< why there are none
};

/// What the resolver of the system says. IPv4 addresses come first. Blocks until it knows.
HostAddresses lookUpHost(const std::string& host);

/// TCP connections over IPv4 and IPv6 to other machines.
///
/// A name is looked up on a thread of its own, which does nothing else and reports to the event loop; an
/// address is not looked up. Giving an attempt up leaves its thread to itself. When kMostLookUps are under
/// way, the next one fails at once with socket_error 25002 (try again).
///
/// The error is that of the first address. `done` sets the events of the socket before it returns. The socket
/// has Nagle's algorithm off, and its disconnect event comes as soon as the peer has closed his side and
/// everything he sent is read. It is never given up for being idle.
class WindowsConnector final : public Connector {
 public:
  /// Called on another thread.
  using LookUp = std::function<HostAddresses(const std::string& host)>;

  static constexpr int kMostLookUps = 16;

  /// The loop and the factory must outlive the attempts, the factory the sockets.
  WindowsConnector(WindowsEventLoop& loop, WindowsSocketFactory& sockets, LookUp lookUp = lookUpHost);

  [[nodiscard]] std::unique_ptr<Attempt> connect(const std::string& host, const std::string& port,
                                                 Done done) override;

 private:
  class WindowsAttempt;
  WindowsEventLoop& loop_;
  WindowsSocketFactory& sockets_;
  LookUp lookUp_;
  std::shared_ptr<std::atomic<int>> lookUpsUnderWay_ = std::make_shared<std::atomic<int>>(0);
};

}  // namespace kova::platform::windows
