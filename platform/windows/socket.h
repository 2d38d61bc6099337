#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include "platform/socket.h"
#include "platform/windows/event_loop.h"
#include "platform/windows/unique_socket.h"

namespace kova::platform::windows {

/// Bounds in time and number for what a peer can make the sockets hold.
struct SocketLimits {
  /// A peer who takes or sends nothing for this long when it is up to him gets the disconnect event. It is
  /// not up to him while he waits for an answer to what he sent.
  std::chrono::milliseconds idle = std::chrono::minutes(15);
  /// How long a peer that has said it sends no more may wait for his answer to go on.
  std::chrono::milliseconds halfClosed = std::chrono::seconds(5);
  /// A closed connection, once the system has all that was written, is given up after this long, ...
  std::chrono::milliseconds lingering = std::chrono::minutes(5);
  /// ... or when there are more of them than this: the oldest first, those before all to which nothing is
  /// held any more.
  std::size_t mostLingering = 256;
};

/// TCP sockets over IPv4, driven by the event loop.
///
/// Writing: what is written in small pieces is gathered and handed to the system when the present round of
/// the loop ends. When the system does not take it all, the rest is held, readyToWrite() is false, and the
/// writeReady event comes when the rest is through.
///
/// The end of a connection: an error is the disconnect event at once. When the peer closes his side, the
/// bytes before it are delivered first. If he never sent any, the disconnect event follows; otherwise he may
/// still wait for the answer to what he sent, and the event comes when a write shows that nobody is there any
/// more or when nothing was read or written for SocketLimits::halfClosed.
///
/// After disconnect() the socket is free for the next connection at once. The connection itself lingers in
/// the factory until the peer has taken everything and closed, within SocketLimits; what he still sends is
/// thrown away.
///
/// The trace of a listening socket is also that of the connections accepted from it, and follows it when it
/// is changed, unless the accepted socket is given one of its own.
class WindowsSocketFactory final : public SocketFactory {
 public:
  /// Windows Sockets must have been started; the loop must outlive the factory, the factory its sockets.
  explicit WindowsSocketFactory(WindowsEventLoop& loop, SocketLimits limits = {});
  ~WindowsSocketFactory() override;

  std::unique_ptr<Socket> makeSocket() override;

  /// A socket for a connection that this program has made itself, connected from the start. Differs from an
  /// accepted one: when the peer closes his side, the disconnect event comes right behind his last bytes, and
  /// it is never given up for being idle. Null when the system refuses; the connection is then closed.
  std::unique_ptr<Socket> adoptConnected(UniqueSocket socket, std::string peerAddress);

  /// Runs the loop until no closed connection is on its way out any more, at most for `limit`; for the end of
  /// the program. True when none is left.
  bool finish(std::chrono::milliseconds limit);

 private:
  class Shared;  // NOLINT(cppcoreguidelines-virtual-class-destructor): final, like the next
  class Connection;
  class Lingering;  // NOLINT(cppcoreguidelines-virtual-class-destructor)
  std::unique_ptr<Shared> shared_;
};

}  // namespace kova::platform::windows
