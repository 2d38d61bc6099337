#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/files.h"

namespace kova::platform {

/// Socket error numbers are 14000 plus the Windows Sockets code, on every system.
namespace socket_error {
inline constexpr int kNone = 0;
inline constexpr int kWouldBlock = 24035;
inline constexpr int kInProgress = 24036;
inline constexpr int kNotASocket = 24038;
inline constexpr int kAddressInUse = 24048;
inline constexpr int kAddressNotAvailable = 24049;
inline constexpr int kConnectionReset = 24054;
inline constexpr int kNotConnected = 24057;
inline constexpr int kTimedOut = 24060;
/// Not the network: the file that was to be sent cannot be read, or has become shorter.
inline constexpr int kFileUnreadable = -1;
}  // namespace socket_error

/// A connection that the kernel has finished but nobody has taken yet. Only valid during the accept event.
using PendingHandle = int;

/// What a socket tells its owner. Every event comes from the event loop, never from inside a call on the
/// socket, and none comes after disconnect(), setEvents({}) or the socket's destruction.
struct SocketEvents {
  std::function<void(PendingHandle)> accept;  ///< a listening socket has a connection to hand over
  std::function<void()> connect;              ///< an accepted or connecting socket is connected now
  std::function<void()> read;                 ///< bytes wait to be read; comes again while some are left
  std::function<void()> writeReady;           ///< a socket that was not ready to write is ready again
  std::function<void()> disconnect;           ///< the peer has closed, or the connection has broken
};

/// What the socket layer itself writes to a trace file.
struct SocketTrace {
  bool enabled = false;
  std::string file;  ///< file name; empty: none
  int level = 0;     ///< 0 all calls, 1 errors, 2 warnings and errors, 4 all calls with their bytes
};

/// One TCP socket in event style. No call blocks.
class Socket {
 public:
  virtual ~Socket() = default;

  virtual void setEvents(SocketEvents events) = 0;

  // Before listen(), accept() or connecting.
  virtual void setReuseAddress(bool on) = 0;
  virtual void setNoDelay(bool on) = 0;
  /// The port as the 16 bits of a signed number: ports above 32767 are passed as port - 65536.
  virtual void setLocalPort(std::int16_t port) = 0;
  /// Dotted address to listen on; empty: every address of this machine.
  virtual void setLocalAddress(const std::string& address) = 0;

  virtual bool connected() const = 0;
  virtual bool listening() const = 0;

  /// False on failure, with lastError() set; the socket is then as it was.
  virtual bool listen() = 0;

  /// Takes over the connection that an accept event announced. The connect event follows. False on failure.
  virtual bool accept(PendingHandle pending) = 0;

  /// Stops listening, or closes the connection: connected() is false at once, and what was written before
  /// still reaches the peer as long as he takes it within a bounded time. Returns 0, or non-zero on failure.
  virtual int disconnect() = 0;

  /// Reads at most `limit` bytes into `into` (whose old content is gone) and returns their count; 0 when the
  /// peer has closed; negative on failure, with lastError() set (kWouldBlock when there is nothing to read).
  virtual long read(std::string& into, std::size_t limit) = 0;

  /// Writes all of `bytes` or a part of it and returns the count; negative on failure, with lastError() set.
  /// What is counted as written is not lost, however slow the peer is.
  virtual long write(std::string_view bytes) = 0;

  /// Writes `head` and behind it `count` bytes of `file` from byte `offset` (0-based) on, as one write() of
  /// both would, without the bytes having to pass through the program. The file is kept open as long as its
  /// bytes are on their way, even when it is removed meanwhile; whether it is changed in place meanwhile is
  /// up to whoever does so. Negative on failure, with lastError() set: kFileUnreadable when the file cannot
  /// be read there. If that shows only later, the connection is broken off behind the last byte that could be
  /// read, so that the peer does not wait for the rest; the disconnect event follows.
  virtual long writeFile(std::string_view head, const std::shared_ptr<InputFile>& file, std::int64_t offset,
                         std::size_t count) = 0;

  /// False while the last write is still on its way into the network; a write now would fail with
  /// kWouldBlock. The writeReady event tells when it is true again.
  virtual bool readyToWrite() const = 0;

  virtual int lastError() const = 0;
  /// Dotted address of the peer; empty when never connected.
  virtual std::string peerAddress() const = 0;
  /// A number that tells this socket from others in the log; 0 when it has none.
  virtual int handle() const = 0;

  virtual const SocketTrace& trace() const = 0;
  virtual void setTrace(SocketTrace trace) = 0;
};

class SocketFactory {
 public:
  virtual ~SocketFactory() = default;
  /// A new unconnected socket; never null.
  virtual std::unique_ptr<Socket> makeSocket() = 0;
};

}  // namespace kova::platform
