#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include "platform/posix/event_loop.h"
#include "platform/socket.h"

namespace kova::platform::posix {

/// Bounds in time and number for what a peer can make the sockets hold.
struct SocketLimits {
  /// A peer who takes or sends nothing for this long when it is up to him gets the disconnect event, so that
  /// a phone that vanished does not hold its slot for ever. It is not up to him while he waits for an answer
  /// to what he sent: that may take as long as it takes.
  std::chrono::milliseconds idle = std::chrono::minutes(15);
  /// See PosixSocketFactory: how long a peer that has said it sends no more may wait for his answer to go on.
  std::chrono::milliseconds halfClosed = std::chrono::seconds(5);
  /// A closed connection, once the kernel has all that was written, is given up when its peer takes nothing
  /// for this long, ...
  std::chrono::milliseconds lingerWithoutProgress = std::chrono::seconds(30);
  /// ... or after this long in all, ...
  std::chrono::milliseconds lingerInAll = std::chrono::minutes(5);
  /// ... or when there are more closed connections than this: the oldest first, those before all to which
  /// nothing is held any more.
  std::size_t lingering = 256;
};

/// TCP sockets over IPv4, driven by the event loop.
///
/// Writing: what is written in small pieces is gathered and handed to the kernel in full segments, at the
/// latest when the present round of the loop ends. When the kernel does not take it all, the rest is held,
/// readyToWrite() is false, and the writeReady event comes when the rest is through.
///
/// The end of a connection: an error (a reset, a peer that answers no more) is the disconnect event at once.
/// When the peer closes his side, the bytes before it are delivered first. If he never sent any, the
/// disconnect event follows. Otherwise he may still wait for the answer to what he sent ("printf ... | nc
/// -N"), and nothing tells that from a peer who has hung up: the connection stays as it is until the owner
/// disconnects, until a write shows that nobody is there any more, or until nothing was read or written for
/// SocketLimits::halfClosed; then comes the disconnect event. connected() stays true until the owner
/// disconnects.
///
/// After disconnect() the socket is free for the next connection at once. The connection itself lingers in
/// the factory until the peer has taken everything and closed, within SocketLimits; what he still sends is
/// thrown away.
///
/// The trace of a listening socket is also that of the connections accepted from it, and follows it when it
/// is changed, unless the accepted socket is given one of its own.
class PosixSocketFactory final : public SocketFactory {
 public:
  /// The loop must outlive the factory, the factory its sockets.
  explicit PosixSocketFactory(PosixEventLoop& loop, SocketLimits limits = {});
  ~PosixSocketFactory() override;

  std::unique_ptr<Socket> makeSocket() override;

  /// A socket for a connection that this program has made itself, connected from the start. Differs from an
  /// accepted one: when the peer closes his side, the disconnect event comes right behind his last bytes, and
  /// it is never given up for being idle. Null when the kernel refuses; the connection is then closed.
  std::unique_ptr<Socket> adoptConnected(FileDescriptor descriptor, std::string peerAddress);

  /// True while closed connections are still on their way out.
  bool lingering() const;
  /// Runs the loop until none is left, at most for `limit`; for the end of the program. True when none is
  /// left.
  bool finish(std::chrono::milliseconds limit);

 private:
  class Shared;  // NOLINT(cppcoreguidelines-virtual-class-destructor): final, like the next
  class Connection;
  class Lingering;  // NOLINT(cppcoreguidelines-virtual-class-destructor)
  std::unique_ptr<Shared> shared_;
};

}  // namespace kova::platform::posix
