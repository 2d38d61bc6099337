#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/connector.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/socket.h"

namespace kova::platform::posix {

/// The addresses of a host in the order in which they are to be tried, dotted (or with colons, for IPv6).
struct HostAddresses {
  std::vector<std::string> addresses;
  int error = socket_error::kNone;  ///< why there are none
};

/// What the resolver of the system says: hosts file, DNS, whatever it is set up for. IPv4 addresses come
/// first. Blocks until it knows, which may take a minute.
HostAddresses lookUpHost(const std::string& host);

/// TCP connections over IPv4 and IPv6 to other machines.
///
/// A name is looked up on a thread of its own, which does nothing else and reports to the event loop; a
/// dotted address is not looked up. Giving an attempt up leaves its thread to itself: the answer is thrown
/// away when it comes, and neither the attempt nor the connector waits for it. When kMostLookUps are under
/// way, the next one fails at once with socket_error 25002 (try again).
///
/// The error is that of the first address. `done` sets the events of the socket before it returns. The socket
/// has Nagle's algorithm off, and its disconnect event comes as soon as the peer has closed his side and
/// everything he sent is read. It is never given up for being idle.
class PosixConnector final : public Connector {
 public:
  /// Called on another thread.
  using LookUp = std::function<HostAddresses(const std::string& host)>;

  static constexpr int kMostLookUps = 16;

  /// The loop and the factory must outlive the attempts, the factory the sockets.
  PosixConnector(PosixEventLoop& loop, PosixSocketFactory& sockets, LookUp lookUp = lookUpHost);

  [[nodiscard]] std::unique_ptr<Attempt> connect(const std::string& host, const std::string& port,
                                                 Done done) override;

 private:
  class PosixAttempt;
  PosixEventLoop& loop_;
  PosixSocketFactory& sockets_;
  LookUp lookUp_;
  std::shared_ptr<std::atomic<int>> lookUpsUnderWay_ = std::make_shared<std::atomic<int>>(0);
};

}  // namespace kova::platform::posix
