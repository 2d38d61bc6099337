#include "platform/windows/socket.h"

#include <algorithm>
#include <array>
#include <list>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "base/outgoing.h"
#include "base/socket_trace.h"
#include "platform/windows/addresses.h"
#include "platform/windows/clock.h"
#include "platform/windows/files.h"
#include "platform/windows/outgoing.h"
#include "platform/windows/socket_errors.h"

namespace kova::platform::windows {

namespace {

using std::chrono::milliseconds;
using SteadyTime = WindowsEventLoop::SteadyTime;

constexpr int kBacklog = SOMAXCONN;
constexpr int kConnectionEvents = FD_READ | FD_WRITE | FD_CLOSE;
/// How much of small writes is gathered before the system gets it.
constexpr std::size_t kGathered = std::size_t{32} * 1024;
/// How much of one connection goes out in one round of the loop, so that a fast peer who fetches something
/// huge does not keep the others waiting.
constexpr std::size_t kRoundShare = std::size_t{256} * 1024;
constexpr milliseconds kListenerPause{100};

int errorNumber(int error) {
  return error == kFileUnreadable ? socket_error::kFileUnreadable : socketErrorOf(error);
}

struct TraceSettings {
  SocketTrace trace;
};

}  // namespace

/// What the sockets of one factory share.
class WindowsSocketFactory::Shared final : private RoundEndHandler {
 public:
  /// The connection that is announced by the accept event under way.
  struct Pending {
    UniqueSocket socket;
    std::string peer;
    std::shared_ptr<TraceSettings> trace;
  };

  Shared(WindowsEventLoop& eventLoop, SocketLimits socketLimits) : loop(eventLoop), limits(socketLimits) {}
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;
  ~Shared() { loop.cancelRoundEnd(*this); }

  /// What it has gathered goes out at the end of the round.
  void flushSoon(Connection& writer);
  void add(Connection& connection);
  void remove(Connection& connection) {
    std::erase(connections_, &connection);
    std::erase(writers_, &connection);
  }

  void linger(UniqueSocket socket, WindowsEventLoop::Watch watch, base::Outgoing held, bool peerClosed);
  void endLingering(std::list<Lingering>::iterator place) { lingering_.erase(place); }
  bool lingering() const { return !lingering_.empty(); }

  WindowsEventLoop& loop;
  const SocketLimits limits;
  Pending pending;
  Connection* justAccepted = nullptr;

 private:
  void onRoundEnd() override;
  void sweepSoon();
  void sweep();

  std::vector<Connection*> connections_;
  std::vector<Connection*> writers_;
  std::list<Lingering> lingering_;
  std::unique_ptr<EventLoop::Timer> sweepTimer_;
};

/// A closed connection on its way out: what is held goes to the peer, then the end of the stream; what he
/// still sends is read and thrown away, because bytes nobody read would make the system answer with a reset
/// that destroys what is under way to him.
class WindowsSocketFactory::Lingering final : public SocketHandler {
 public:
  Lingering(Shared& shared, UniqueSocket socket, WindowsEventLoop::Watch watch, base::Outgoing held,
            bool peerClosed)
      : shared_(shared),
        socket_(std::move(socket)),
        watch_(std::move(watch)),
        held_(std::move(held)),
        peerClosed_(peerClosed),
        lastProgress_(shared.loop.roundTime()) {
    watch_.setHandler(*this);
    if (held_.empty()) ::shutdown(socket_.get(), SD_SEND);
    // Whatever was told before is told again.
    watch_.again(FD_WRITE);
  }
  Lingering(const Lingering&) = delete;
  Lingering& operator=(const Lingering&) = delete;
  ~Lingering() { watch_.reset(); }

  void onSocket(int event, int error) override {
    if (event == FD_CLOSE) peerClosed_ = true;
    if (error != 0 || !sendHeld() || (!peerClosed_ && !readAway()) || (peerClosed_ && held_.empty())) {
      shared_.endLingering(place);
    }
  }

  bool holds() const { return !held_.empty(); }

  /// Where the factory keeps this object.
  std::list<Lingering>::iterator place;

  bool overdue(SteadyTime now) const {
    return now - lastProgress_ >= (holds() ? shared_.limits.idle : shared_.limits.lingering);
  }

 private:
  bool sendHeld() {
    if (held_.empty()) return true;
    const std::size_t before = held_.size();
    const int error = send(held_, socket_.get(), kRoundShare);
    if (error != 0 && error != WSAEWOULDBLOCK) return false;
    if (held_.size() < before) lastProgress_ = shared_.loop.roundTime();
    if (held_.empty()) {
      ::shutdown(socket_.get(), SD_SEND);
    } else if (error == 0) {
      watch_.again(FD_WRITE);
    }
    return true;
  }

  /// False when the connection is broken.
  bool readAway() {
    std::array<char, std::size_t{16} * 1024> piece;  // NOLINT(cppcoreguidelines-pro-type-member-init)
    const int count = ::recv(socket_.get(), piece.data(), static_cast<int>(piece.size()), 0);
    if (count == 0) peerClosed_ = true;
    return count >= 0 || ::WSAGetLastError() == WSAEWOULDBLOCK;
  }

  Shared& shared_;
  UniqueSocket socket_;
  WindowsEventLoop::Watch watch_;
  base::Outgoing held_;
  bool peerClosed_;
  SteadyTime lastProgress_;
};

/// One socket: a listener, one end of a connection, or neither.
class WindowsSocketFactory::Connection final : public Socket, private SocketHandler {
 public:
  explicit Connection(Shared& shared)
      : shared_(shared),
        events_(std::make_shared<SocketEvents>()),
        trace_(std::make_shared<TraceSettings>()) {}
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() override { disconnect(); }

  void setEvents(SocketEvents events) override {
    // A new object: the old one may be the one whose function is running.
    events_ = std::make_shared<SocketEvents>(std::move(events));
  }

  /// The system lets a port be used again at once without being asked; asked, it would let two programs share
  /// one.
  void setReuseAddress(bool) override {}
  void setNoDelay(bool on) override {
    noDelay_ = on;
    applyNoDelay();
  }
  void setLocalPort(std::int16_t port) override { localPort_ = static_cast<std::uint16_t>(port); }
  void setLocalAddress(const std::string& address) override { localAddress_ = address; }

  bool connected() const override { return state_ == State::kConnected; }
  bool listening() const override { return state_ == State::kListening; }

  bool listen() override;
  bool accept(PendingHandle handle) override;
  int disconnect() override;
  long read(std::string& into, std::size_t limit) override;
  long write(std::string_view bytes) override;
  long writeFile(std::string_view head, const std::shared_ptr<InputFile>& file, std::int64_t offset,
                 std::size_t count) override;
  bool readyToWrite() const override { return connected() && !full_; }

  int lastError() const override { return lastError_; }
  std::string peerAddress() const override { return peerAddress_; }
  int handle() const override { return socket_ ? static_cast<int>(socket_.get()) : 0; }

  const SocketTrace& trace() const override { return trace_->trace; }
  void setTrace(SocketTrace trace) override {
    if (traceInherited_) {
      trace_ = std::make_shared<TraceSettings>();
      traceInherited_ = false;
    }
    trace_->trace = std::move(trace);
  }

  bool adopt(UniqueSocket socket, std::string peerAddress);

  /// The connect event of a connection that was taken in the accept event which has just ended.
  void tellConnected() { tell(&SocketEvents::connect); }

  /// Hands what was gathered to the system. 0, or the code of a broken connection.
  int flush();

  bool overdue(SteadyTime now) const {
    if (ended_) return false;
    // While his answer is on its way, however slowly, nothing is up to the owner.
    const bool waitsForOwner = gotBytes_ && !full_;
    if (waitsForOwner && !peerClosed_) return false;
    return now - lastActivity_ >= (waitsForOwner ? shared_.limits.halfClosed : shared_.limits.idle);
  }
  /// The disconnect event, once.
  void tellEnded(int error);

 private:
  enum class State { kIdle, kListening, kConnected };

  void onSocket(int event, int error) override;
  bool beginConnection(UniqueSocket& socket, std::string peerAddress);
  void acceptOne();
  void onReadable(int event);
  void onPeerClosed();
  void sendHeld();
  void applyNoDelay() const;
  /// 0 when something can be written now, else the code that says why not.
  int writeError() const;
  /// To be called when `count` bytes were added to what goes out. As flush().
  int gathered(std::size_t count);
  bool bytesToRead() const;

  template <typename... Arguments>
  void tell(std::function<void(Arguments...)> SocketEvents::* event, Arguments... arguments) {
    // Keeps the function alive when it replaces the events or destroys this socket.
    const std::shared_ptr<SocketEvents> events = events_;
    if (const auto& function = (*events).*event) function(arguments...);
  }

  bool fail(int error) {
    lastError_ = errorNumber(error);
    return false;
  }

  void traced(std::string_view call, long result, std::string_view bytes = {}) const {
    if (!base::tracing(trace_->trace)) return;
    const std::string entry =
        base::traceEntry(trace_->trace, WindowsClock().localNow(), handle(), call, result, lastError_, bytes);
    if (!entry.empty()) WindowsFiles().append(trace_->trace.file, entry);
  }

  Shared& shared_;
  std::shared_ptr<SocketEvents> events_;
  std::shared_ptr<TraceSettings> trace_;
  bool traceInherited_ = false;
  State state_ = State::kIdle;
  UniqueSocket socket_;
  WindowsEventLoop::Watch watch_;  // ends before what it watches
  std::unique_ptr<EventLoop::Timer> listenAgain_;
  base::Outgoing outgoing_;
  SteadyTime lastActivity_;
  std::string localAddress_;
  std::string peerAddress_;
  std::uint64_t writeRound_ = 0;
  std::size_t writtenInRound_ = 0;
  int lastError_ = socket_error::kNone;
  int broken_ = 0;
  std::uint16_t localPort_ = 0;
  bool noDelay_ = false;
  bool calledPeer_ = false;
  bool gotBytes_ = false;
  bool peerClosed_ = false;
  bool ended_ = false;
  bool full_ = false;     // what is written waits for the system, or for the other connections' turn
  bool wasRead_ = false;  // since the last read event
};

// Shared

void WindowsSocketFactory::Shared::flushSoon(Connection& writer) {
  if (std::ranges::find(writers_, &writer) == writers_.end()) writers_.push_back(&writer);
  loop.callAtRoundEnd(*this);
}

void WindowsSocketFactory::Shared::onRoundEnd() {
  while (!writers_.empty()) {
    Connection* const writer = writers_.back();
    writers_.pop_back();
    writer->flush();
  }
}

void WindowsSocketFactory::Shared::add(Connection& connection) {
  connections_.push_back(&connection);
  sweepSoon();
}

void WindowsSocketFactory::Shared::linger(UniqueSocket socket, WindowsEventLoop::Watch watch,
                                          base::Outgoing held, bool peerClosed) {
  lingering_.emplace_back(*this, std::move(socket), std::move(watch), std::move(held), peerClosed);
  lingering_.back().place = std::prev(lingering_.end());
  if (lingering_.size() > limits.mostLingering) {
    // Rather one who has the whole answer in his system's or ours than one to whom bytes are held.
    const auto least = std::ranges::find_if(lingering_, [](const Lingering& each) { return !each.holds(); });
    lingering_.erase(least == lingering_.end() ? lingering_.begin() : least);
  }
  sweepSoon();
}

void WindowsSocketFactory::Shared::sweepSoon() {
  if (sweepTimer_) return;
  const milliseconds shortest = std::min({limits.idle, limits.halfClosed, limits.lingering});
  sweepTimer_ = loop.callAfter(std::clamp(shortest / 5, milliseconds(5), milliseconds(1000)), [this] {
    sweepTimer_.reset();
    sweep();
  });
}

void WindowsSocketFactory::Shared::sweep() {
  const SteadyTime now = loop.roundTime();
  lingering_.remove_if([now](const Lingering& each) { return each.overdue(now); });
  // The owner may do anything in the event, so each search starts anew; who was told is not found again.
  while (true) {
    const auto overdue =
        std::ranges::find_if(connections_, [now](Connection* each) { return each->overdue(now); });
    if (overdue == connections_.end()) break;
    (*overdue)->tellEnded(WSAETIMEDOUT);
  }
  if (!connections_.empty() || !lingering_.empty()) sweepSoon();
}

// Connection

bool WindowsSocketFactory::Connection::listen() {
  const auto attempt = [this]() -> int {
    if (state_ != State::kIdle) return WSAEINVAL;
    const auto address = endpointOf(localAddress_.empty() ? "0.0.0.0" : localAddress_, localPort_);
    // What is no address at all is as little this machine's as a foreign one.
    if (!address || address->storage.ss_family != AF_INET) return WSAEADDRNOTAVAIL;
    UniqueSocket socket(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    if (!socket || ::bind(socket.get(), address->address(), address->size) != 0 ||
        ::listen(socket.get(), kBacklog) != 0) {
      return ::WSAGetLastError();
    }
    watch_ = shared_.loop.watch(socket.get(), FD_ACCEPT, *this);
    if (!watch_) return WSAENOBUFS;
    socket_ = std::move(socket);
    state_ = State::kListening;
    return 0;
  };
  const int error = attempt();
  lastError_ = socketErrorOf(error);
  traced("listen " + (localAddress_.empty() ? "0.0.0.0" : localAddress_) + ":" + std::to_string(localPort_),
         error == 0 ? 0 : -1);
  return error == 0;
}

void WindowsSocketFactory::Connection::acceptOne() {
  sockaddr_storage peer{};
  int size = sizeof peer;
  UniqueSocket socket(::accept(socket_.get(), reinterpret_cast<sockaddr*>(&peer), &size));
  if (!socket) {
    const int error = ::WSAGetLastError();
    if (error == WSAEWOULDBLOCK || error == WSAECONNRESET) return;
    fail(error);
    traced("accept", -1);
    listenAgain_ = shared_.loop.callAfter(kListenerPause, [this] { watch_.again(FD_ACCEPT); });
    return;
  }
  Shared& shared = shared_;
  const auto handle = static_cast<PendingHandle>(socket.get());
  shared.pending = {std::move(socket), dotted(reinterpret_cast<const sockaddr&>(peer)), trace_};
  shared.justAccepted = nullptr;
  tell(&SocketEvents::accept, handle);
  shared.pending = {};  // closes it when nobody took it
  if (Connection* accepted = std::exchange(shared.justAccepted, nullptr)) accepted->tellConnected();
}

bool WindowsSocketFactory::Connection::beginConnection(UniqueSocket& socket, std::string peerAddress) {
  WindowsEventLoop::Watch watch = shared_.loop.watch(socket.get(), kConnectionEvents, *this);
  if (!watch) return fail(WSAENOBUFS);
  watch_ = std::move(watch);
  socket_ = std::move(socket);
  peerAddress_ = std::move(peerAddress);
  state_ = State::kConnected;
  lastError_ = socket_error::kNone;
  lastActivity_ = shared_.loop.roundTime();
  writtenInRound_ = 0;
  calledPeer_ = gotBytes_ = peerClosed_ = ended_ = full_ = wasRead_ = false;
  broken_ = 0;
  applyNoDelay();
  return true;
}

bool WindowsSocketFactory::Connection::adopt(UniqueSocket socket, std::string peerAddress) {
  noDelay_ = true;
  if (!beginConnection(socket, std::move(peerAddress))) return false;
  calledPeer_ = true;
  return true;
}

bool WindowsSocketFactory::Connection::accept(PendingHandle handle) {
  Shared::Pending& pending = shared_.pending;
  if (state_ != State::kIdle) return fail(WSAEISCONN);
  if (!pending.socket || static_cast<PendingHandle>(pending.socket.get()) != handle) return fail(WSAENOTSOCK);
  if (!beginConnection(pending.socket, std::move(pending.peer))) return false;
  trace_ = pending.trace;
  traceInherited_ = true;
  shared_.add(*this);
  shared_.justAccepted = this;
  traced("accept " + peerAddress_, 0);
  return true;
}

void WindowsSocketFactory::Connection::applyNoDelay() const {
  if (!socket_) return;
  const BOOL on = noDelay_ ? TRUE : FALSE;
  ::setsockopt(socket_.get(), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
}

int WindowsSocketFactory::Connection::disconnect() {
  if (state_ == State::kIdle) {
    lastError_ = socket_error::kNotConnected;
    return -1;
  }
  lastError_ = socket_error::kNone;
  traced("disconnect", 0);
  if (shared_.justAccepted == this) shared_.justAccepted = nullptr;
  listenAgain_.reset();
  if (state_ == State::kConnected) {
    if (broken_ == 0) flush();
    shared_.remove(*this);
  }
  // What a file could still give is on its way, even when the rest will never come.
  const bool reachable = broken_ == 0 || broken_ == kFileUnreadable;
  const bool lingers = state_ == State::kConnected && reachable && (!peerClosed_ || !outgoing_.empty());
  state_ = State::kIdle;
  if (lingers) {
    shared_.linger(std::move(socket_), std::move(watch_), std::move(outgoing_), peerClosed_);
  } else {
    watch_.reset();
    socket_.reset();
  }
  outgoing_.clear();
  return 0;
}

long WindowsSocketFactory::Connection::read(std::string& into, std::size_t limit) {
  if (state_ != State::kConnected) {
    into.clear();
    fail(WSAENOTCONN);
    return -1;
  }
  constexpr std::size_t kAtOnce = std::size_t{1} << 20;
  into.resize(std::min(limit, kAtOnce));
  const long count = ::recv(socket_.get(), into.data(), static_cast<int>(into.size()), 0);
  const int error = count < 0 ? ::WSAGetLastError() : 0;
  wasRead_ = true;
  into.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  lastError_ = socketErrorOf(error);
  if (count > 0) {
    gotBytes_ = true;
    lastActivity_ = shared_.loop.roundTime();
  }
  traced("read " + std::to_string(limit), count, into);
  return count;
}

int WindowsSocketFactory::Connection::writeError() const {
  if (state_ != State::kConnected) return WSAENOTCONN;
  if (broken_ != 0) return broken_;
  return full_ ? WSAEWOULDBLOCK : 0;
}

int WindowsSocketFactory::Connection::gathered(std::size_t count) {
  lastActivity_ = shared_.loop.roundTime();
  if (std::exchange(writeRound_, shared_.loop.roundNumber()) != shared_.loop.roundNumber())
    writtenInRound_ = 0;
  writtenInRound_ += count;
  if (writtenInRound_ < kRoundShare && outgoing_.bytesInMemory() < kGathered) {
    shared_.flushSoon(*this);
    return 0;
  }
  const int error = flush();
  if (error == 0 && writtenInRound_ >= kRoundShare && !full_) {
    full_ = true;
    watch_.again(FD_WRITE);
  }
  return error;
}

long WindowsSocketFactory::Connection::write(std::string_view bytes) {
  int error = writeError();
  if (error == 0 && !bytes.empty()) {
    outgoing_.add(bytes);
    error = gathered(bytes.size());
  }
  const long result = error == 0 ? static_cast<long>(bytes.size()) : -1;
  lastError_ = errorNumber(error);
  traced("write " + std::to_string(bytes.size()), result, bytes);
  return result;
}

long WindowsSocketFactory::Connection::writeFile(std::string_view head,
                                                 const std::shared_ptr<InputFile>& file, std::int64_t offset,
                                                 std::size_t count) {
  const bool inside =
      offset >= 0 && offset <= file->length() && count <= static_cast<std::uint64_t>(file->length() - offset);
  int error = writeError();
  std::string copy;
  if (error == 0 && inside && base::tracing(trace_->trace) && trace_->trace.level == 4) {
    copy.assign(head);
    copy.resize(head.size() + count);
    if (file->readAt(offset, std::span(copy).subspan(head.size())) != static_cast<long>(count))
      error = kFileUnreadable;
  }
  if (error == 0 && !inside) error = kFileUnreadable;
  const std::size_t size = head.size() + count;
  if (error == 0 && size > 0) {
    if (!head.empty() || !outgoing_.extend(*file, offset, count)) {
      outgoing_.add(head);
      outgoing_.add(file, offset, count);
    }
    error = gathered(size);
  }
  const long result = error == 0 ? static_cast<long>(size) : -1;
  lastError_ = errorNumber(error);
  traced("write " + std::to_string(size), result, copy);
  return result;
}

int WindowsSocketFactory::Connection::flush() {
  if (broken_ != 0 || outgoing_.empty() || full_) return broken_;
  const int error = send(outgoing_, socket_.get(), kRoundShare);
  if (error != 0 && error != WSAEWOULDBLOCK) {
    broken_ = error;
    // Brings the event that tells of it.
    watch_.again(FD_WRITE);
  } else if (!outgoing_.empty()) {
    full_ = true;
    if (error == 0) watch_.again(FD_WRITE);
  }
  return broken_;
}

void WindowsSocketFactory::Connection::sendHeld() {
  const std::size_t before = outgoing_.size();
  const int error = send(outgoing_, socket_.get(), kRoundShare);
  if (error != 0 && error != WSAEWOULDBLOCK) {
    outgoing_.clear();
    tellEnded(error);
    return;
  }
  if (outgoing_.size() < before) lastActivity_ = shared_.loop.roundTime();
  if (!outgoing_.empty()) {
    if (error == 0) watch_.again(FD_WRITE);
    return;
  }
  full_ = false;
  tell(&SocketEvents::writeReady);
}

bool WindowsSocketFactory::Connection::bytesToRead() const {
  u_long count = 0;
  return ::ioctlsocket(socket_.get(), FIONREAD, &count) == 0 && count > 0;
}

void WindowsSocketFactory::Connection::onSocket(int event, int error) {
  if (state_ == State::kListening) {
    acceptOne();
    return;
  }
  if (ended_) return;
  if (broken_ != 0) {
    tellEnded(broken_);
  } else if (error != 0) {
    tellEnded(error);
  } else if (event == FD_WRITE) {
    if (full_) sendHeld();
  } else if (bytesToRead()) {
    onReadable(event);
  } else if (event == FD_CLOSE) {
    onPeerClosed();
  }
}

void WindowsSocketFactory::Connection::onReadable(int event) {
  // The owner may end this socket in the event, or begin another connection on it.
  const WindowsEventLoop& loop = shared_.loop;
  const UINT watchId = watch_.id();
  wasRead_ = false;
  tell(&SocketEvents::read);
  if (!loop.watching(watchId)) return;
  // What is left brings the system's next event by itself, once something was read.
  if (event == FD_CLOSE || !wasRead_) watch_.again(event);
}

void WindowsSocketFactory::Connection::onPeerClosed() {
  if (peerClosed_) return;
  peerClosed_ = true;
  if (!gotBytes_ || calledPeer_) tellEnded(0);
}

void WindowsSocketFactory::Connection::tellEnded(int error) {
  ended_ = true;
  if (error != 0) {
    // Nothing more gets through, or is taken: a disconnect closes at once.
    broken_ = error;
    lastError_ = errorNumber(error);
  }
  tell(&SocketEvents::disconnect);
}

// WindowsSocketFactory

WindowsSocketFactory::WindowsSocketFactory(WindowsEventLoop& loop, SocketLimits limits)
    : shared_(std::make_unique<Shared>(loop, limits)) {}

WindowsSocketFactory::~WindowsSocketFactory() = default;

std::unique_ptr<Socket> WindowsSocketFactory::makeSocket() { return std::make_unique<Connection>(*shared_); }

std::unique_ptr<Socket> WindowsSocketFactory::adoptConnected(UniqueSocket socket, std::string peerAddress) {
  auto connection = std::make_unique<Connection>(*shared_);
  if (!connection->adopt(std::move(socket), std::move(peerAddress))) return nullptr;
  return connection;
}

bool WindowsSocketFactory::finish(milliseconds limit) {
  return shared_->loop.runUntil([this] { return !shared_->lingering(); }, limit);
}

}  // namespace kova::platform::windows
