#include "platform/windows/connector.h"

#include <mstcpip.h>

#include <charconv>
#include <chrono>
#include <cstdint>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/windows/addresses.h"
#include "platform/windows/socket_errors.h"

namespace kova::platform::windows {

namespace {

std::optional<std::uint16_t> portOf(const std::string& text) {
  std::uint16_t port = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, failed] = std::from_chars(text.data(), end, port);
  if (failed == std::errc() && stop == end) return port != 0 ? std::optional(port) : std::nullopt;
  // Only the services file of this machine is asked.
  if (text.find('\0') != std::string::npos) return std::nullopt;
  const servent* const found = ::getservbyname(text.c_str(), "tcp");
  if (!found) return std::nullopt;
  return ntohs(static_cast<std::uint16_t>(found->s_port));
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
                        ? WSAHOST_NOT_FOUND
                        : ::getaddrinfo(host.c_str(), nullptr, &wanted, &found);
  if (error != 0) {
    result.error = socketErrorOf(error);
    return result;
  }
  const std::unique_ptr<addrinfo, void(WSAAPI*)(addrinfo*)> list(found, ::freeaddrinfo);
  for (const int family : {AF_INET, AF_INET6}) {
    for (const addrinfo* each = list.get(); each; each = each->ai_next) {
      if (each->ai_family == family) result.addresses.push_back(dotted(*each->ai_addr));
    }
  }
  if (result.addresses.empty()) result.error = socketErrorOf(WSAHOST_NOT_FOUND);
  return result;
}

/// First the name is looked up, then one address after the other is tried.
class WindowsConnector::WindowsAttempt final : public Attempt, private SocketHandler {
 public:
  WindowsAttempt(WindowsEventLoop& loop, WindowsSocketFactory& sockets, std::uint16_t port, Done done)
      : loop_(loop), sockets_(sockets), port_(port), done_(std::move(done)) {}

  void start(const std::string& host, const LookUp& lookUp,
             const std::shared_ptr<std::atomic<int>>& lookUpsUnderWay) {
    if (endpointOf(host, port_)) {
      addresses_ = {host};
    } else {
      firstError_ = startLookUp(host, lookUp, lookUpsUnderWay);
      if (firstError_ == socket_error::kNone) return;
    }
    later_ = loop_.callAfter(std::chrono::milliseconds::zero(), [this] { tryNext(); });
  }

 private:
  /// 0, or the socket error number for which there will be no result.
  int startLookUp(const std::string& host, const LookUp& lookUp,
                  const std::shared_ptr<std::atomic<int>>& underWay) {
    if (underWay->fetch_add(1) >= kMostLookUps) {
      underWay->fetch_sub(1);
      return socketErrorOf(WSATRY_AGAIN);
    }
    waiting_ = std::make_shared<WindowsAttempt*>(this);
    const std::weak_ptr<WindowsAttempt*> whoWaits = waiting_;
    try {
      std::thread([host, lookUp, underWay, mailbox = loop_.mailbox(), whoWaits] {
        HostAddresses found;
        try {
          found = lookUp(host);
        } catch (const std::exception&) {
          found.error = socketErrorOf(WSAENOBUFS);
        }
        underWay->fetch_sub(1);
        mailbox->post([whoWaits, found = std::move(found)] {
          // Only the loop's thread gives attempts up, so it is there for the whole call, or gone.
          if (const auto attempt = whoWaits.lock()) (*attempt)->foundAddresses(found);
        });
      }).detach();
    } catch (const std::system_error&) {
      underWay->fetch_sub(1);
      return socketErrorOf(WSAENOBUFS);
    }
    return socket_error::kNone;
  }

  void foundAddresses(const HostAddresses& found) {
    addresses_ = found.addresses;
    firstError_ = found.error;
    tryNext();
  }

  void onSocket(int, int error) override {
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
      if (error == 0) return;
      failed(error);
    }
    finish(nullptr, firstError_ != socket_error::kNone ? firstError_ : socketErrorOf(WSAHOST_NOT_FOUND));
  }

  /// 0 when it is under way.
  int begin(const std::string& address) {
    const auto endpoint = endpointOf(address, port_);
    if (!endpoint) return WSAEADDRNOTAVAIL;
    socket_ = UniqueSocket(::socket(endpoint->storage.ss_family, SOCK_STREAM, IPPROTO_TCP));
    if (!socket_) return ::WSAGetLastError();
    keepAlive();
    watch_ = loop_.watch(socket_.get(), FD_CONNECT, *this);
    if (!watch_) return WSAENOBUFS;
    if (::connect(socket_.get(), endpoint->address(), endpoint->size) == 0) return 0;
    const int error = ::WSAGetLastError();
    return error == WSAEWOULDBLOCK ? 0 : error;
  }

  /// A peer that vanishes without a word is noticed after two minutes, also by one who waits without limit.
  void keepAlive() const {
    tcp_keepalive wanted{1, 60'000, 15'000};
    DWORD ignored = 0;
    ::WSAIoctl(socket_.get(), SIO_KEEPALIVE_VALS, &wanted, sizeof wanted, nullptr, 0, &ignored, nullptr,
               nullptr);
  }

  void failed(int error) {
    watch_.reset();
    socket_.reset();
    if (firstError_ == socket_error::kNone) firstError_ = socketErrorOf(error);
  }

  void connected() {
    watch_.reset();
    auto socket = sockets_.adoptConnected(std::move(socket_), addresses_[next_ - 1]);
    const int error = socket ? socket_error::kNone : socketErrorOf(WSAENOBUFS);
    finish(std::move(socket), error);
  }

  void finish(std::unique_ptr<Socket> socket, int error) {
    const Done done = std::move(done_);
    if (done) done(std::move(socket), error);
  }

  WindowsEventLoop& loop_;
  WindowsSocketFactory& sockets_;
  std::uint16_t port_;
  Done done_;
  std::unique_ptr<EventLoop::Timer> later_;
  std::shared_ptr<WindowsAttempt*> waiting_;
  std::vector<std::string> addresses_;
  std::size_t next_ = 0;
  int firstError_ = socket_error::kNone;
  UniqueSocket socket_;
  WindowsEventLoop::Watch watch_;  // ends before what it watches
};

WindowsConnector::WindowsConnector(WindowsEventLoop& loop, WindowsSocketFactory& sockets, LookUp lookUp)
    : loop_(loop), sockets_(sockets), lookUp_(std::move(lookUp)) {}

std::unique_ptr<Connector::Attempt> WindowsConnector::connect(const std::string& host,
                                                              const std::string& port, Done done) {
  const auto number = portOf(port);
  if (!number) return nullptr;
  auto attempt = std::make_unique<WindowsAttempt>(loop_, sockets_, *number, std::move(done));
  attempt->start(host, lookUp_, lookUpsUnderWay_);
  return attempt;
}

}  // namespace kova::platform::windows
