#include "platform/posix/connector.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/posix/socket_errors.h"

namespace kova::platform::posix {

namespace {

/// An address and a port as the kernel wants them.
struct Endpoint {
  sockaddr_storage storage{};
  socklen_t size = 0;
  const sockaddr* address() const { return reinterpret_cast<const sockaddr*>(&storage); }
};

std::optional<Endpoint> endpointOf(const std::string& dotted, std::uint16_t port) {
  if (dotted.find('\0') != std::string::npos) return std::nullopt;
  Endpoint endpoint;
  auto& ipv4 = reinterpret_cast<sockaddr_in&>(endpoint.storage);
  if (::inet_pton(AF_INET, dotted.c_str(), &ipv4.sin_addr) == 1) {
    ipv4.sin_family = AF_INET;
    ipv4.sin_port = htons(port);
    endpoint.size = sizeof ipv4;
    return endpoint;
  }
  auto& ipv6 = reinterpret_cast<sockaddr_in6&>(endpoint.storage);
  if (::inet_pton(AF_INET6, dotted.c_str(), &ipv6.sin6_addr) == 1) {
    ipv6.sin6_family = AF_INET6;
    ipv6.sin6_port = htons(port);
    endpoint.size = sizeof ipv6;
    return endpoint;
  }
  return std::nullopt;
}

std::optional<std::uint16_t> portOf(const std::string& text) {
  std::uint16_t port = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, failed] = std::from_chars(text.data(), end, port);
  if (failed == std::errc() && stop == end) return port != 0 ? std::optional(port) : std::nullopt;
  // Only the services file of this machine is asked.
  if (text.find('\0') != std::string::npos) return std::nullopt;
  servent entry{};
  servent* found = nullptr;
  std::array<char, 4096> buffer{};
  if (::getservbyname_r(text.c_str(), "tcp", &entry, buffer.data(), buffer.size(), &found) != 0 || !found) {
    return std::nullopt;
  }
  return ntohs(static_cast<std::uint16_t>(found->s_port));
}

/// What a look-up thread and its attempt share; it lives as long as either of them.
class LookUpResult {
 public:
  LookUpResult() : ready_(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

  explicit operator bool() const { return static_cast<bool>(ready_); }
  /// Readable when the result is there.
  int descriptor() const { return ready_.get(); }

  void set(HostAddresses found) {
    {
      const std::lock_guard lock(mutex_);
      found_ = std::move(found);
    }
    ::eventfd_write(ready_.get(), 1);
  }
  HostAddresses take() {
    const std::lock_guard lock(mutex_);
    return std::move(found_);
  }

 private:
  FileDescriptor ready_;
  std::mutex mutex_;
  HostAddresses found_;
};

/// Signals belong to the loop's thread; a thread begun while this lives gets none.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

/// 0, or the socket error number for which there will be no result.
int startLookUp(const std::string& host, const PosixConnector::LookUp& lookUp,
                const std::shared_ptr<std::atomic<int>>& underWay,
                const std::shared_ptr<LookUpResult>& result) {
  if (underWay->fetch_add(1) >= PosixConnector::kMostLookUps) {
    underWay->fetch_sub(1);
    return resolverErrorOf(EAI_AGAIN);
  }
  const SignalsBlocked blocked;
  try {
    std::thread([host, lookUp, underWay, result] {
      HostAddresses found;
      try {
        found = lookUp(host);
      } catch (const std::exception&) {
        found.error = socketErrorOf(ENOBUFS);
      }
      underWay->fetch_sub(1);
      result->set(std::move(found));
    }).detach();
  } catch (const std::system_error&) {
    underWay->fetch_sub(1);
    return socketErrorOf(ENOBUFS);
  }
  return socket_error::kNone;
}

}  // namespace

HostAddresses lookUpHost(const std::string& host) {
  HostAddresses result;
  addrinfo wanted{};
  wanted.ai_family = AF_UNSPEC;
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  // A NUL would end the name early and ask for another host.
  const int error = host.find('\0') != std::string::npos
                        ? EAI_NONAME
                        : ::getaddrinfo(host.c_str(), nullptr, &wanted, &found);
  if (error != 0) {
    result.error = resolverErrorOf(error);
    return result;
  }
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> list(found, ::freeaddrinfo);
  for (const int family : {AF_INET, AF_INET6}) {
    for (const addrinfo* each = list.get(); each; each = each->ai_next) {
      std::array<char, INET6_ADDRSTRLEN> text{};
      if (each->ai_family == family && ::getnameinfo(each->ai_addr, each->ai_addrlen, text.data(),
                                                     text.size(), nullptr, 0, NI_NUMERICHOST) == 0) {
        result.addresses.emplace_back(text.data());
      }
    }
  }
  if (result.addresses.empty()) result.error = resolverErrorOf(EAI_NONAME);
  return result;
}

/// First the look-up is watched, then one address after the other.
class PosixConnector::PosixAttempt final : public Attempt, private DescriptorHandler {
 public:
  PosixAttempt(PosixEventLoop& loop, PosixSocketFactory& sockets, std::uint16_t port, Done done)
      : loop_(loop), sockets_(sockets), port_(port), done_(std::move(done)) {}

  void start(const std::string& host, const LookUp& lookUp,
             const std::shared_ptr<std::atomic<int>>& lookUpsUnderWay) {
    if (endpointOf(host, port_)) {
      addresses_ = {host};
      later_ = loop_.callAfter(std::chrono::milliseconds::zero(), [this] { tryNext(); });
      return;
    }
    result_ = std::make_shared<LookUpResult>();
    if (*result_) watch_ = loop_.watch(result_->descriptor(), EPOLLIN, *this);
    firstError_ = watch_ ? startLookUp(host, lookUp, lookUpsUnderWay, result_) : socketErrorOf(ENOBUFS);
    if (firstError_ != socket_error::kNone) {
      watch_.reset();
      later_ = loop_.callAfter(std::chrono::milliseconds::zero(), [this] { tryNext(); });
    }
  }

 private:
  void onDescriptor(std::uint32_t) override {
    if (result_) {
      watch_.reset();
      HostAddresses found = result_->take();
      result_.reset();
      addresses_ = std::move(found.addresses);
      firstError_ = found.error;
      tryNext();
      return;
    }
    int error = 0;
    socklen_t size = sizeof error;
    if (::getsockopt(descriptor_.get(), SOL_SOCKET, SO_ERROR, &error, &size) != 0) error = errno;
    if (error == 0) {
      connected();
    } else {
      failed(error);
      tryNext();
    }
  }

  /// The call of `done` may destroy this object, so nothing comes after it here or in a caller.
  void tryNext() {
    while (next_ < addresses_.size()) {
      const int error = begin(addresses_[next_++]);
      if (error == EINPROGRESS) return;
      if (error == 0) {
        connected();
        return;
      }
      failed(error);
    }
    finish(nullptr, firstError_ != socket_error::kNone ? firstError_ : resolverErrorOf(EAI_NONAME));
  }

  /// EINPROGRESS when it is under way, 0 when it is done already.
  int begin(const std::string& address) {
    const auto endpoint = endpointOf(address, port_);
    if (!endpoint) return EADDRNOTAVAIL;
    descriptor_ = FileDescriptor(
        ::socket(endpoint->storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP));
    if (!descriptor_) return errno;
    setOption(IPPROTO_TCP, TCP_NODELAY, 1);
    // A peer that vanishes without a word is noticed after two minutes, also by one who waits without limit.
    setOption(SOL_SOCKET, SO_KEEPALIVE, 1);
    setOption(IPPROTO_TCP, TCP_KEEPIDLE, 60);
    setOption(IPPROTO_TCP, TCP_KEEPINTVL, 15);
    setOption(IPPROTO_TCP, TCP_KEEPCNT, 4);
    // An interrupted connect goes on by itself, like one that takes its time.
    if (::connect(descriptor_.get(), endpoint->address(), endpoint->size) == 0) return 0;
    if (errno != EINPROGRESS && errno != EINTR) return errno;
    watch_ = loop_.watch(descriptor_.get(), EPOLLOUT, *this);
    return watch_ ? EINPROGRESS : ENOBUFS;
  }

  void setOption(int level, int option, int value) {
    ::setsockopt(descriptor_.get(), level, option, &value, sizeof value);
  }

  void failed(int error) {
    watch_.resetBeforeClose();
    descriptor_.reset();
    if (firstError_ == socket_error::kNone) firstError_ = socketErrorOf(error);
  }

  void connected() {
    watch_.reset();
    auto socket = sockets_.adoptConnected(std::move(descriptor_), addresses_[next_ - 1]);
    const int error = socket ? socket_error::kNone : socketErrorOf(ENOBUFS);
    finish(std::move(socket), error);
  }

  void finish(std::unique_ptr<Socket> socket, int error) {
    const Done done = std::move(done_);
    if (done) done(std::move(socket), error);
  }

  PosixEventLoop& loop_;
  PosixSocketFactory& sockets_;
  std::uint16_t port_;
  Done done_;
  std::unique_ptr<EventLoop::Timer> later_;
  std::shared_ptr<LookUpResult> result_;
  std::vector<std::string> addresses_;
  std::size_t next_ = 0;
  int firstError_ = socket_error::kNone;
  FileDescriptor descriptor_;
  PosixEventLoop::Watch watch_;  // ends before what it watches
};

PosixConnector::PosixConnector(PosixEventLoop& loop, PosixSocketFactory& sockets, LookUp lookUp)
    : loop_(loop), sockets_(sockets), lookUp_(std::move(lookUp)) {}

std::unique_ptr<Connector::Attempt> PosixConnector::connect(const std::string& host, const std::string& port,
                                                            Done done) {
  const auto number = portOf(port);
  if (!number) return nullptr;
  auto attempt = std::make_unique<PosixAttempt>(loop_, sockets_, *number, std::move(done));
  attempt->start(host, lookUp_, lookUpsUnderWay_);
  return attempt;
}

}  // namespace kova::platform::posix
