#include "platform/posix/socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <linux/sockios.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <list>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/posix/input_file.h"
#include "platform/posix/outgoing.h"
#include "platform/posix/socket_errors.h"
#include "platform/posix/socket_trace.h"

namespace kova::platform::posix {

namespace {

using std::chrono::milliseconds;
using SteadyTime = PosixEventLoop::SteadyTime;

constexpr int kBacklog = 1024;
constexpr int kMostAcceptsPerRound = 64;
/// How much of small writes is gathered before the kernel gets it.
constexpr std::size_t kGathered = std::size_t{32} * 1024;
/// How much of one connection goes out in one round of the loop, so that a fast peer who fetches something
/// huge does not keep the others waiting.
constexpr std::size_t kRoundShare = std::size_t{256} * 1024;
constexpr milliseconds kListenerPause{100};

void setOption(int fd, int level, int option, bool on) {
  const int value = on ? 1 : 0;
  ::setsockopt(fd, level, option, &value, sizeof value);
}

std::string dotted(const in_addr& address) {
  std::array<char, INET_ADDRSTRLEN> text{};
  return ::inet_ntop(AF_INET, &address, text.data(), text.size()) ? text.data() : std::string();
}

/// Bytes that the peer has not acknowledged yet; -1 when that cannot be told.
int unacknowledged(const FileDescriptor& socket) {
  int count = 0;
  return ::ioctl(socket.get(), SIOCOUTQ, &count) == 0 ? count : -1;
}

int errorNumber(int error) {
  return error == kFileUnreadable ? socket_error::kFileUnreadable : socketErrorOf(error);
}

struct TraceSettings {
  SocketTrace trace;
};

}  // namespace

/// What the sockets of one factory share.
class PosixSocketFactory::Shared final : private RoundEndHandler {
 public:
  /// The connection that is announced by the accept event under way.
  struct Pending {
    FileDescriptor descriptor;
    in_addr peer{};
    std::shared_ptr<TraceSettings> trace;
    bool noDelay = false;  // both options are inherited from the listener
    bool reuseAddress = false;
  };

  Shared(PosixEventLoop& eventLoop, SocketLimits socketLimits);
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;
  ~Shared();

  /// Where the socket that writes at present gathers its bytes.
  base::Outgoing& gatheredFor(Connection& writer);
  bool gathers(const Connection& writer) const { return gatheredFrom_ == &writer; }
  void clearGathered() {
    gathered_.clear();
    gatheredFrom_ = nullptr;
  }

  void add(Connection& connection);
  void remove(Connection& connection) {
    std::erase(connections_, &connection);
    if (gatheredFrom_ == &connection) clearGathered();
  }

  void linger(FileDescriptor descriptor, PosixEventLoop::Watch watch, base::Outgoing held, bool peerClosed);
  void endLingering(std::list<Lingering>::iterator place) { lingering_.erase(place); }
  bool lingering() const { return !lingering_.empty(); }

  /// Takes a connection off a listener's queue and closes it, with a descriptor kept back for that. False
  /// when even that cannot be done.
  bool acceptAndClose(int listener);

  PosixEventLoop& loop;
  const SocketLimits limits;
  Pending pending;
  Connection* justAccepted = nullptr;

 private:
  void onRoundEnd() override;
  void sweepSoon();
  void sweep();

  base::Outgoing gathered_;
  Connection* gatheredFrom_ = nullptr;
  std::vector<Connection*> connections_;
  std::list<Lingering> lingering_;
  FileDescriptor reserve_;
  std::unique_ptr<EventLoop::Timer> sweepTimer_;
};

/// A closed connection on its way out: what is held goes to the peer, then the end of the stream; what he
/// still sends is read and thrown away, because bytes nobody read would make the kernel answer with a reset
/// that destroys what is under way to him.
class PosixSocketFactory::Lingering final : public DescriptorHandler {
 public:
  Lingering(Shared& shared, FileDescriptor descriptor, PosixEventLoop::Watch watch, base::Outgoing held,
            bool peerClosed)
      : shared_(shared),
        descriptor_(std::move(descriptor)),
        watch_(std::move(watch)),
        held_(std::move(held)),
        peerClosed_(peerClosed),
        started_(shared.loop.roundTime()),
        lastProgress_(started_) {
    watch_.setHandler(*this);
    if (held_.empty()) ::shutdown(descriptor_.get(), SHUT_WR);
    watchWhatMatters();
  }
  Lingering(const Lingering&) = delete;
  Lingering& operator=(const Lingering&) = delete;
  ~Lingering() { watch_.resetBeforeClose(); }

  void onDescriptor(std::uint32_t events) override {
    if ((events & EPOLLERR) != 0 || !sendHeld() || (!peerClosed_ && !readAway()) ||
        (peerClosed_ && held_.empty())) {
      shared_.endLingering(place);
      return;
    }
    watchWhatMatters();
  }

  bool holds() const { return !held_.empty(); }

  /// Where the factory keeps this object.
  std::list<Lingering>::iterator place;

  bool overdue(SteadyTime now) {
    const int before = std::exchange(queued_, unacknowledged(descriptor_));
    if (queued_ != before) lastProgress_ = now;
    // While bytes are held he is as much in the middle of his answer as one whose owner still writes.
    if (holds()) return now - lastProgress_ >= shared_.limits.idle;
    return now - lastProgress_ >= shared_.limits.lingerWithoutProgress ||
           now - started_ >= shared_.limits.lingerInAll;
  }

 private:
  bool sendHeld() {
    if (held_.empty()) return true;
    const std::size_t before = held_.size();
    if (send(held_, descriptor_.get(), kRoundShare, true) != 0) return false;
    if (held_.size() < before) lastProgress_ = shared_.loop.roundTime();
    if (held_.empty()) {
      started_ = lastProgress_;
      ::shutdown(descriptor_.get(), SHUT_WR);
    }
    return true;
  }

  /// False when the connection is broken.
  bool readAway() {
    constexpr std::size_t kAtMost = std::size_t{64} * 1024;
    const ssize_t count = ::recv(descriptor_.get(), nullptr, kAtMost, MSG_DONTWAIT | MSG_TRUNC);
    if (count == 0) peerClosed_ = true;
    return count >= 0 || errno == EAGAIN || errno == EINTR;
  }

  void watchWhatMatters() {
    watch_.setEvents((peerClosed_ ? 0U : std::uint32_t{EPOLLIN | EPOLLRDHUP}) |
                     (held_.empty() ? 0U : std::uint32_t{EPOLLOUT}));
  }

  Shared& shared_;
  FileDescriptor descriptor_;
  PosixEventLoop::Watch watch_;
  base::Outgoing held_;
  bool peerClosed_;
  int queued_ = -1;
  SteadyTime started_;
  SteadyTime lastProgress_;
};

/// One socket: a listener, one end of a connection, or neither.
class PosixSocketFactory::Connection final : public Socket, private DescriptorHandler {
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

  void setReuseAddress(bool on) override {
    reuseAddress_ = on;
    if (descriptor_) setOption(descriptor_.get(), SOL_SOCKET, SO_REUSEADDR, on);
  }
  void setNoDelay(bool on) override {
    noDelay_ = on;
    if (descriptor_) setOption(descriptor_.get(), IPPROTO_TCP, TCP_NODELAY, on);
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
  bool readyToWrite() const override { return connected() && held_.empty() && !hadItsShare_; }

  int lastError() const override { return lastError_; }
  std::string peerAddress() const override { return peerAddress_; }
  int handle() const override { return descriptor_ ? descriptor_.get() : 0; }

  const SocketTrace& trace() const override { return trace_->trace; }
  void setTrace(SocketTrace trace) override {
    if (traceInherited_) {
      trace_ = std::make_shared<TraceSettings>();
      traceInherited_ = false;
    }
    trace_->trace = std::move(trace);
  }

  /// Takes over a connection that this program has made. False when the kernel refuses.
  bool adopt(FileDescriptor descriptor, std::string peerAddress);

  /// The connect event of a connection that was taken in the accept event which has just ended.
  void tellConnected() { tell(&SocketEvents::connect); }

  /// Hands what was gathered to the kernel and holds what it does not take. 0, or the errno of a broken
  /// connection.
  int flush(bool more);

  bool overdue(SteadyTime now) {
    if (ended_) return false;
    // While his answer is on its way, however slowly, nothing is up to the owner.
    const bool sending = !held_.empty() || hadItsShare_;
    if (sending) {
      const int before = std::exchange(queued_, unacknowledged(descriptor_));
      if (queued_ != before) lastActivity_ = now;
    }
    const bool waitsForOwner = gotBytes_ && !sending;
    if (waitsForOwner && !peerClosed_) return false;
    return now - lastActivity_ >= (waitsForOwner ? shared_.limits.halfClosed : shared_.limits.idle);
  }
  /// The disconnect event, once.
  void tellEnded(int error);

 private:
  enum class State { kIdle, kListening, kConnected };

  void onDescriptor(std::uint32_t events) override;
  bool beginConnection(FileDescriptor& descriptor, std::string peerAddress);
  void acceptPending();
  void tellAccepted(FileDescriptor descriptor, const in_addr& peer);
  void pauseListening();
  void onPeerClosed();
  void sendHeld();
  /// 0 when something can be written now, else the errno that says why not.
  int writeError() const;
  /// To be called when `count` bytes were gathered: sends them when they are many. As flush().
  int gathered(std::size_t count);
  bool bytesToRead() const;
  std::uint32_t wantedEvents() const;

  template <typename... Arguments>
  void tell(std::function<void(Arguments...)> SocketEvents::* event, Arguments... arguments) {
    // Keeps the function alive when it replaces the events or destroys this socket.
    const std::shared_ptr<SocketEvents> events = events_;
    if (const auto& function = (*events).*event) function(arguments...);
  }

  bool fail(int errnoValue) {
    lastError_ = socketErrorOf(errnoValue);
    return false;
  }
  void traced(std::string_view call, long result, int error, std::string_view bytes = {}) const {
    if (tracing(trace_->trace)) traceCall(trace_->trace, handle(), call, result, error, bytes);
  }

  Shared& shared_;
  std::shared_ptr<SocketEvents> events_;
  std::shared_ptr<TraceSettings> trace_;
  bool traceInherited_ = false;

  State state_ = State::kIdle;
  FileDescriptor descriptor_;
  PosixEventLoop::Watch watch_;
  int lastError_ = socket_error::kNone;
  bool reuseAddress_ = false;
  bool noDelay_ = false;

  // Listening.
  std::uint16_t localPort_ = 0;
  std::string localAddress_;
  int acceptsPerRound_ = 1;
  std::uint64_t lastAcceptRound_ = 0;
  std::unique_ptr<EventLoop::Timer> listenAgain_;

  // Connected.
  std::string peerAddress_;
  base::Outgoing held_;
  std::uint64_t writeRound_ = 0;
  std::size_t writtenInRound_ = 0;
  bool hadItsShare_ = false;  // of this round: the next write is to wait for the next one
  SteadyTime lastActivity_;
  int queued_ = -1;          // unacknowledged() when it was asked last
  bool calledPeer_ = false;  // the connection was made from here
  bool gotBytes_ = false;
  bool peerClosed_ = false;  // he sends no more, and everything he sent is read
  int broken_ = 0;           // the errno since which nothing written reaches him any more
  bool ended_ = false;       // the disconnect event was given
};

// Shared

PosixSocketFactory::Shared::Shared(PosixEventLoop& eventLoop, SocketLimits socketLimits)
    : loop(eventLoop), limits(socketLimits), reserve_(::open("/dev/null", O_RDONLY | O_CLOEXEC)) {}

PosixSocketFactory::Shared::~Shared() { loop.cancelRoundEnd(*this); }

base::Outgoing& PosixSocketFactory::Shared::gatheredFor(Connection& writer) {
  if (gatheredFrom_ != &writer) {
    if (gatheredFrom_) gatheredFrom_->flush(false);
    gatheredFrom_ = &writer;
    loop.callAtRoundEnd(*this);
  }
  return gathered_;
}

void PosixSocketFactory::Shared::onRoundEnd() {
  // Whether it broke the connection shows in the next round.
  if (gatheredFrom_) gatheredFrom_->flush(false);
}

void PosixSocketFactory::Shared::add(Connection& connection) {
  connections_.push_back(&connection);
  sweepSoon();
}

void PosixSocketFactory::Shared::linger(FileDescriptor descriptor, PosixEventLoop::Watch watch,
                                        base::Outgoing held, bool peerClosed) {
  lingering_.emplace_back(*this, std::move(descriptor), std::move(watch), std::move(held), peerClosed);
  lingering_.back().place = std::prev(lingering_.end());
  if (lingering_.size() > limits.lingering) {
    // Rather one who has the whole answer in his kernel's or ours than one to whom bytes are held.
    const auto least = std::ranges::find_if(lingering_, [](const Lingering& each) { return !each.holds(); });
    lingering_.erase(least == lingering_.end() ? lingering_.begin() : least);
  }
  sweepSoon();
}

bool PosixSocketFactory::Shared::acceptAndClose(int listener) {
  if (!reserve_) return false;
  reserve_.reset();
  const bool taken =
      static_cast<bool>(FileDescriptor(::accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC)));
  reserve_ = FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  return taken;
}

void PosixSocketFactory::Shared::sweepSoon() {
  if (sweepTimer_) return;
  const milliseconds shortest =
      std::min({limits.idle, limits.halfClosed, limits.lingerWithoutProgress, limits.lingerInAll});
  sweepTimer_ = loop.callAfter(std::clamp(shortest / 5, milliseconds(5), milliseconds(1000)), [this] {
    sweepTimer_.reset();
    sweep();
  });
}

void PosixSocketFactory::Shared::sweep() {
  const SteadyTime now = loop.roundTime();
  lingering_.remove_if([now](Lingering& each) { return each.overdue(now); });
  // The owner may do anything in the event, so each search starts anew; who was told is not found again.
  while (true) {
    const auto overdue = std::find_if(connections_.begin(), connections_.end(),
                                      [now](Connection* each) { return each->overdue(now); });
    if (overdue == connections_.end()) break;
    (*overdue)->tellEnded(ETIMEDOUT);
  }
  if (!connections_.empty() || !lingering_.empty()) sweepSoon();
}

// Connection

bool PosixSocketFactory::Connection::listen() {
  const auto attempt = [this]() -> int {
    if (state_ != State::kIdle) return EINVAL;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(localPort_);
    if (!localAddress_.empty()) {
      // What is no address at all is as little this machine's as a foreign one; the kernel would take a
      // group.
      if (::inet_pton(AF_INET, localAddress_.c_str(), &address.sin_addr) != 1 ||
          IN_MULTICAST(ntohl(address.sin_addr.s_addr)) || address.sin_addr.s_addr == INADDR_BROADCAST) {
        return EADDRNOTAVAIL;
      }
    }
    FileDescriptor descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!descriptor) return errno;
    if (reuseAddress_) setOption(descriptor.get(), SOL_SOCKET, SO_REUSEADDR, true);
    if (noDelay_) setOption(descriptor.get(), IPPROTO_TCP, TCP_NODELAY, true);
    if (::bind(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
      return errno;
    if (::listen(descriptor.get(), kBacklog) != 0) return errno;
    watch_ = shared_.loop.watch(descriptor.get(), EPOLLIN, *this);
    if (!watch_) return ENOBUFS;
    descriptor_ = std::move(descriptor);
    state_ = State::kListening;
    acceptsPerRound_ = 1;
    return 0;
  };
  const int error = attempt();
  lastError_ = socketErrorOf(error);
  traced("listen " + (localAddress_.empty() ? "0.0.0.0" : localAddress_) + ":" + std::to_string(localPort_),
         error == 0 ? 0 : -1, lastError_);
  return error == 0;
}

void PosixSocketFactory::Connection::acceptPending() {
  // Most often one connection waits; asking for more each time would cost a call that finds nothing. While
  // every round finds some, more are taken at once.
  const std::uint64_t round = shared_.loop.roundNumber();
  acceptsPerRound_ = round == lastAcceptRound_ + 1 ? std::min(acceptsPerRound_ * 2, kMostAcceptsPerRound) : 1;
  lastAcceptRound_ = round;

  const PosixEventLoop& loop = shared_.loop;
  const std::uint64_t watchId = watch_.id();
  for (int i = 0; i < acceptsPerRound_; ++i) {
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    FileDescriptor descriptor(::accept4(descriptor_.get(), reinterpret_cast<sockaddr*>(&peer), &size,
                                        SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!descriptor) {
      const int error = errno;
      if (error == EAGAIN) {
        acceptsPerRound_ = 1;
        return;
      }
      if (error == EINTR || error == ECONNABORTED) continue;
      traced("accept", -1, socketErrorOf(error));
      if (isShortage(error) && shared_.acceptAndClose(descriptor_.get())) continue;
      pauseListening();
      return;
    }
    tellAccepted(std::move(descriptor), peer.sin_addr);
    if (!loop.watching(watchId))
      return;  // the owner has stopped listening, and perhaps destroyed this socket
  }
}

void PosixSocketFactory::Connection::tellAccepted(FileDescriptor descriptor, const in_addr& peer) {
  Shared& shared = shared_;
  const PendingHandle handle = descriptor.get();
  shared.pending = {std::move(descriptor), peer, trace_, noDelay_, reuseAddress_};
  shared.justAccepted = nullptr;
  tell(&SocketEvents::accept, handle);
  shared.pending = {};  // closes it when nobody took it
  if (Connection* accepted = std::exchange(shared.justAccepted, nullptr)) accepted->tellConnected();
}

void PosixSocketFactory::Connection::pauseListening() {
  watch_.setEvents(0);
  listenAgain_ = shared_.loop.callAfter(kListenerPause, [this] { watch_.setEvents(EPOLLIN); });
}

bool PosixSocketFactory::Connection::beginConnection(FileDescriptor& descriptor, std::string peerAddress) {
  PosixEventLoop::Watch watch = shared_.loop.watch(descriptor.get(), EPOLLIN | EPOLLRDHUP, *this);
  if (!watch) return fail(ENOBUFS);
  watch_ = std::move(watch);
  descriptor_ = std::move(descriptor);
  peerAddress_ = std::move(peerAddress);
  state_ = State::kConnected;
  lastError_ = socket_error::kNone;
  lastActivity_ = shared_.loop.roundTime();
  queued_ = -1;
  writtenInRound_ = 0;
  calledPeer_ = gotBytes_ = peerClosed_ = ended_ = hadItsShare_ = false;
  broken_ = 0;
  return true;
}

bool PosixSocketFactory::Connection::adopt(FileDescriptor descriptor, std::string peerAddress) {
  if (!beginConnection(descriptor, std::move(peerAddress))) return false;
  calledPeer_ = true;
  return true;
}

bool PosixSocketFactory::Connection::accept(PendingHandle handle) {
  Shared::Pending& pending = shared_.pending;
  if (state_ != State::kIdle) return fail(EISCONN);
  if (!pending.descriptor || pending.descriptor.get() != handle) return fail(ENOTSOCK);
  if (!beginConnection(pending.descriptor, dotted(pending.peer))) return false;
  if (noDelay_ != pending.noDelay) setNoDelay(noDelay_);
  if (reuseAddress_ != pending.reuseAddress) setReuseAddress(reuseAddress_);
  trace_ = pending.trace;
  traceInherited_ = true;
  shared_.add(*this);
  shared_.justAccepted = this;
  if (tracing(trace_->trace)) traced("accept " + peerAddress_, 0, socket_error::kNone);
  return true;
}

int PosixSocketFactory::Connection::disconnect() {
  if (state_ == State::kIdle) {
    lastError_ = socket_error::kNotConnected;
    return -1;
  }
  traced("disconnect", 0, socket_error::kNone);
  if (shared_.justAccepted == this) shared_.justAccepted = nullptr;
  listenAgain_.reset();
  if (state_ == State::kConnected) {
    // The last bytes and the end of the stream go out together.
    if (broken_ == 0) flush(!peerClosed_);
    shared_.remove(*this);
  }
  // What a file could still give is on its way, even when the rest will never come.
  const bool reachable = broken_ == 0 || broken_ == kFileUnreadable;
  const bool lingers = state_ == State::kConnected && reachable && (!peerClosed_ || !held_.empty());
  state_ = State::kIdle;
  if (lingers) {
    shared_.linger(std::move(descriptor_), std::move(watch_), std::move(held_), peerClosed_);
  } else {
    watch_.resetBeforeClose();
    descriptor_.reset();
  }
  held_.clear();
  return 0;
}

long PosixSocketFactory::Connection::read(std::string& into, std::size_t limit) {
  if (state_ != State::kConnected) {
    into.clear();
    fail(ENOTCONN);
    return -1;
  }
  into.resize(limit);
  const ssize_t count = ::recv(descriptor_.get(), into.data(), limit, MSG_DONTWAIT);
  const int error = count < 0 ? errno : 0;
  into.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  lastError_ = socketErrorOf(error == EINTR ? EAGAIN : error);
  if (count > 0) {
    gotBytes_ = true;
    lastActivity_ = shared_.loop.roundTime();
  }
  if (tracing(trace_->trace)) traced("read " + std::to_string(limit), count, lastError_, into);
  return count;
}

int PosixSocketFactory::Connection::writeError() const {
  if (state_ != State::kConnected) return ENOTCONN;
  if (broken_ != 0) return broken_;
  return readyToWrite() ? 0 : EAGAIN;
}

int PosixSocketFactory::Connection::gathered(std::size_t count) {
  lastActivity_ = shared_.loop.roundTime();
  if (std::exchange(writeRound_, shared_.loop.roundNumber()) != shared_.loop.roundNumber()) {
    writtenInRound_ = 0;
  }
  writtenInRound_ += count;
  hadItsShare_ = writtenInRound_ >= kRoundShare;
  return hadItsShare_ || shared_.gatheredFor(*this).bytesInMemory() >= kGathered ? flush(false) : 0;
}

long PosixSocketFactory::Connection::write(std::string_view bytes) {
  int error = writeError();
  if (error == 0 && !bytes.empty()) {
    shared_.gatheredFor(*this).add(bytes);
    error = gathered(bytes.size());
  }
  const long result = error == 0 ? static_cast<long>(bytes.size()) : -1;
  lastError_ = errorNumber(error);
  if (tracing(trace_->trace)) traced("write " + std::to_string(bytes.size()), result, lastError_, bytes);
  return result;
}

long PosixSocketFactory::Connection::writeFile(std::string_view head, const std::shared_ptr<InputFile>& file,
                                               std::int64_t offset, std::size_t count) {
  const bool inside =
      offset >= 0 && offset <= file->length() && count <= static_cast<std::uint64_t>(file->length() - offset);
  // The usual case, one piece right behind the other, is to cost next to nothing.
  if (inside && head.empty() && !tracing(trace_->trace) && shared_.gathers(*this) &&
      shared_.gatheredFor(*this).extend(*file, offset, count)) {
    const int error = gathered(count);
    lastError_ = errorNumber(error);
    return error == 0 ? static_cast<long>(count) : -1;
  }
  const auto* const onDisk = dynamic_cast<const PosixInputFile*>(file.get());
  std::string copy;
  if (!onDisk || (tracing(trace_->trace) && trace_->trace.level == 4)) {
    copy.assign(head);
    copy.resize(head.size() + count);
    if (file->readAt(offset, std::span(copy).subspan(head.size())) != static_cast<long>(count)) {
      lastError_ = socket_error::kFileUnreadable;
      return -1;
    }
  }
  if (!onDisk) return write(copy);

  int error = writeError();
  if (error == 0 && !inside) {
    lastError_ = socket_error::kFileUnreadable;
    return -1;
  }
  const std::size_t size = head.size() + count;
  if (error == 0 && size > 0) {
    base::Outgoing& outgoing = shared_.gatheredFor(*this);
    outgoing.add(head);
    outgoing.add(file, offset, count);
    error = gathered(size);
  }
  const long result = error == 0 ? static_cast<long>(size) : -1;
  lastError_ = errorNumber(error);
  if (tracing(trace_->trace)) traced("write " + std::to_string(size), result, lastError_, copy);
  return result;
}

int PosixSocketFactory::Connection::flush(bool more) {
  if (shared_.gathers(*this)) {
    base::Outgoing& outgoing = shared_.gatheredFor(*this);
    if (broken_ == 0) broken_ = send(outgoing, descriptor_.get(), kRoundShare, more);
    if (broken_ == 0 && !outgoing.empty()) held_ = std::move(outgoing);
    shared_.clearGathered();
    watch_.setEvents(wantedEvents());
  }
  return broken_;
}

void PosixSocketFactory::Connection::sendHeld() {
  const std::size_t before = held_.size();
  const int error = send(held_, descriptor_.get(), kRoundShare, false);
  if (error != 0) {
    held_.clear();
    tellEnded(error);
    return;
  }
  if (held_.size() < before) lastActivity_ = shared_.loop.roundTime();
  if (!held_.empty()) return;
  hadItsShare_ = false;
  watch_.setEvents(wantedEvents());
  tell(&SocketEvents::writeReady);
}

bool PosixSocketFactory::Connection::bytesToRead() const {
  int count = 0;
  return ::ioctl(descriptor_.get(), FIONREAD, &count) == 0 && count > 0;
}

std::uint32_t PosixSocketFactory::Connection::wantedEvents() const {
  // A broken connection can be written to at once, which brings the event that tells of it.
  const bool writing = !held_.empty() || hadItsShare_ || broken_ != 0;
  return (peerClosed_ ? 0U : std::uint32_t{EPOLLIN | EPOLLRDHUP}) | (writing ? std::uint32_t{EPOLLOUT} : 0U);
}

void PosixSocketFactory::Connection::onDescriptor(std::uint32_t events) {
  if (state_ == State::kListening) {
    acceptPending();
    return;
  }
  if (broken_ != 0 && !ended_) {
    tellEnded(broken_);
    return;
  }
  if (ended_) {
    // The owner was told and has not disconnected; the state that led to it would come again for ever.
    watch_.reset();
    return;
  }
  const bool dead = (events & (EPOLLERR | EPOLLHUP)) != 0;
  if (!dead && (events & EPOLLOUT) != 0 && (!held_.empty() || hadItsShare_)) {
    sendHeld();  // what else there is comes again in the next round
    return;
  }
  if ((dead || (events & EPOLLRDHUP) != 0) && (peerClosed_ || !bytesToRead())) {
    if (dead) {
      int error = 0;
      socklen_t size = sizeof error;
      ::getsockopt(descriptor_.get(), SOL_SOCKET, SO_ERROR, &error, &size);
      tellEnded(error != 0 ? error : ECONNRESET);
    } else {
      onPeerClosed();
    }
    return;
  }
  tell(&SocketEvents::read);
}

void PosixSocketFactory::Connection::onPeerClosed() {
  peerClosed_ = true;
  if (!gotBytes_ || calledPeer_) {
    tellEnded(0);
    return;
  }
  watch_.setEvents(wantedEvents());
}

void PosixSocketFactory::Connection::tellEnded(int error) {
  ended_ = true;
  if (error != 0) {
    // Nothing more gets through, or is taken: a disconnect closes at once.
    broken_ = error;
    lastError_ = errorNumber(error);
  }
  tell(&SocketEvents::disconnect);
}

// PosixSocketFactory

PosixSocketFactory::PosixSocketFactory(PosixEventLoop& loop, SocketLimits limits)
    : shared_(std::make_unique<Shared>(loop, limits)) {}

PosixSocketFactory::~PosixSocketFactory() = default;

std::unique_ptr<Socket> PosixSocketFactory::makeSocket() { return std::make_unique<Connection>(*shared_); }

std::unique_ptr<Socket> PosixSocketFactory::adoptConnected(FileDescriptor descriptor,
                                                           std::string peerAddress) {
  auto socket = std::make_unique<Connection>(*shared_);
  if (!socket->adopt(std::move(descriptor), std::move(peerAddress))) return nullptr;
  return socket;
}

bool PosixSocketFactory::lingering() const { return shared_->lingering(); }

bool PosixSocketFactory::finish(milliseconds limit) {
  return shared_->loop.runUntil([this] { return !lingering(); }, limit);
}

}  // namespace kova::platform::posix
