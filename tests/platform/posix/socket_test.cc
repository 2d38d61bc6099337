#include "platform/posix/socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <span>
#include <thread>

#include "platform/posix/files.h"
#include "platform/posix/signals.h"
#include "platform/posix/socket_errors.h"
#include "temporary_directory.h"

namespace kova::platform::posix {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;

sockaddr_in local(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

std::uint16_t freePort() {
  const FileDescriptor fd(::socket(AF_INET, SOCK_STREAM, 0));
  sockaddr_in address = local(0);
  socklen_t size = sizeof address;
  EXPECT_EQ(0, ::bind(fd.get(), reinterpret_cast<sockaddr*>(&address), size));
  EXPECT_EQ(0, ::getsockname(fd.get(), reinterpret_cast<sockaddr*>(&address), &size));
  return ntohs(address.sin_port);
}

/// The other end of a connection: an ordinary client, never waiting.
class Peer {
 public:
  explicit Peer(std::uint16_t port, int receiveBuffer = 0) : fd_(::socket(AF_INET, SOCK_STREAM, 0)) {
    if (receiveBuffer > 0)
      ::setsockopt(fd_.get(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    const sockaddr_in address = local(port);
    connected = ::connect(fd_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::fcntl(fd_.get(), F_SETFL, O_NONBLOCK);
  }

  void send(std::string_view bytes) {
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()),
              ::send(fd_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL));
  }
  bool canSend() { return ::send(fd_.get(), "x", 1, MSG_NOSIGNAL) == 1; }
  void sendsNoMore() { ::shutdown(fd_.get(), SHUT_WR); }
  void close() { fd_.reset(); }
  void reset() {
    const linger now{1, 0};
    ::setsockopt(fd_.get(), SOL_SOCKET, SO_LINGER, &now, sizeof now);
    fd_.reset();
  }
  /// Takes at most `limit` bytes that are there now.
  void take(std::size_t limit = 1 << 20) {
    std::string piece(limit, '\0');
    const ssize_t count = ::recv(fd_.get(), piece.data(), piece.size(), MSG_DONTWAIT);
    if (count > 0) received.append(piece, 0, static_cast<std::size_t>(count));
    if (count == 0) ended = true;
    if (count < 0 && errno != EAGAIN) broken = true;
  }

  bool connected = false;
  std::string received;
  bool ended = false;
  bool broken = false;

 private:
  FileDescriptor fd_;
};

/// One served connection and what was heard of it.
struct Served {
  std::unique_ptr<Socket> socket;
  std::string heard;  // c connect, r read, w write-ready, d disconnect
  std::string received;
  std::function<void()> onRead;
  std::function<void()> onWriteReady;
};

class SocketTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ignoreBrokenPipes();  // as the program does
    start({});
  }

  void start(SocketLimits limits) {
    served_.clear();
    listener_.reset();
    factory_.emplace(loop_, limits);
    listener_ = factory_->makeSocket();
    port_ = freePort();
    SocketEvents events;
    events.accept = [this](PendingHandle pending) { accepted(pending); };
    listener_->setEvents(std::move(events));
    listener_->setReuseAddress(true);
    listener_->setNoDelay(true);
    listener_->setLocalAddress("127.0.0.1");
    listener_->setLocalPort(static_cast<std::int16_t>(port_));
    ASSERT_TRUE(listener_->listen()) << listener_->lastError();
  }

  /// As the server: the first socket that is free, else a new one.
  void accepted(PendingHandle pending) {
    ++announced_;
    if (refuse_) return;
    for (const auto& each : served_) {
      if (each->socket->connected()) continue;
      ASSERT_TRUE(each->socket->accept(pending));
      return;
    }
    Served& made = *served_.emplace_back(std::make_unique<Served>());
    made.socket = factory_->makeSocket();
    made.socket->setReuseAddress(true);
    made.socket->setNoDelay(true);
    SocketEvents events;
    events.connect = [&made] { made.heard += 'c'; };
    events.read = [&made] {
      made.heard += 'r';
      std::string piece;
      if (made.socket->read(piece, 2048) > 0) made.received += piece;
      if (made.onRead) made.onRead();
    };
    events.writeReady = [&made] {
      made.heard += 'w';
      if (made.onWriteReady) made.onWriteReady();
    };
    events.disconnect = [&made] { made.heard += 'd'; };
    made.socket->setEvents(std::move(events));
    ASSERT_TRUE(made.socket->accept(pending));
  }

  /// The peers live on this thread too, so they are looked at every millisecond, not only after events.
  bool until(const std::function<bool()>& done, int ms = 10000) {
    const auto end = std::chrono::steady_clock::now() + milliseconds(ms);
    while (!loop_.runUntil(done, milliseconds(1))) {
      if (std::chrono::steady_clock::now() >= end) return false;
    }
    return true;
  }
  void pass(int ms) {
    until([] { return false; }, ms);
  }
  /// Goes on until the peer has got everything; false when the connection broke before.
  bool drain(Peer& peer, std::size_t limit = 1 << 20) {
    until([&] {
      peer.take(limit);
      return peer.ended || peer.broken;
    });
    return peer.ended;
  }
  /// So that the kernel does not simply swallow a megabyte.
  static void narrow(const Served& served) {
    const int bytes = 32 * 1024;
    ::setsockopt(served.socket->handle(), SOL_SOCKET, SO_SNDBUF, &bytes, sizeof bytes);
  }
  Served& connect(Peer& peer) {
    const std::size_t before = served_.size();
    EXPECT_TRUE(peer.connected);
    EXPECT_TRUE(until([&] { return served_.size() > before; }));
    return *served_.back();
  }
  /// Writes all of `bytes` in pieces of 1024, as the file sender does, then disconnects.
  static std::function<void()> sender(Served& to, const std::string& bytes) {
    return [&to, &bytes, sent = std::size_t{0}]() mutable {
      while (sent < bytes.size()) {
        if (!to.socket->readyToWrite()) return;
        const std::string_view piece = std::string_view(bytes).substr(sent, 1024);
        ASSERT_EQ(static_cast<long>(piece.size()), to.socket->write(piece)) << to.socket->lastError();
        sent += piece.size();
      }
      to.socket->disconnect();
    };
  }

  PosixEventLoop loop_;
  std::optional<PosixSocketFactory> factory_;
  std::unique_ptr<Socket> listener_;
  std::vector<std::unique_ptr<Served>> served_;
  std::uint16_t port_ = 0;
  int announced_ = 0;
  bool refuse_ = false;
};

std::string megabyte() {
  std::string all(1 << 20, '\0');
  std::uint32_t value = 1;
  for (char& c : all) c = static_cast<char>((value = value * 1664525 + 1013904223) >> 24);
  return all;
}

TEST_F(SocketTest, ConversationInOrder) {
  Peer peer(port_);
  peer.send("GET / HTTP/1.1\r\n\r\n");  // already there when the connection is taken
  Served& served = connect(peer);
  ASSERT_TRUE(until([&] { return !served.received.empty(); }));
  EXPECT_EQ("cr", served.heard);
  EXPECT_EQ("GET / HTTP/1.1\r\n\r\n", served.received);
  EXPECT_EQ("127.0.0.1", served.socket->peerAddress());
  EXPECT_GT(served.socket->handle(), 0);
  std::string piece;
  EXPECT_EQ(-1, served.socket->read(piece, 10));
  EXPECT_EQ(socket_error::kWouldBlock, served.socket->lastError());

  // A short line goes out with the round in which it was written, without a disconnect to push it.
  EXPECT_EQ(0, served.socket->write(""));
  pass(5);
  EXPECT_EQ(5, served.socket->write("220 x"));
  EXPECT_EQ(2, served.socket->write("\r\n"));
  ASSERT_TRUE(until([&] {
    peer.take();
    return peer.received == "220 x\r\n";
  }));

  EXPECT_EQ(0, served.socket->disconnect());
  EXPECT_FALSE(served.socket->connected());
  EXPECT_EQ("127.0.0.1", served.socket->peerAddress());
  EXPECT_EQ(0, served.socket->handle());
  EXPECT_NE(0, served.socket->disconnect());
  EXPECT_EQ(-1, served.socket->write("x"));
  EXPECT_EQ(socket_error::kNotConnected, served.socket->lastError());
  EXPECT_TRUE(drain(peer));
  EXPECT_TRUE(factory_->lingering());
  peer.close();
  EXPECT_TRUE(factory_->finish(milliseconds(5000)));
  EXPECT_EQ("cr", served.heard);
}

TEST_F(SocketTest, ReadComesAgainWhileBytesAreLeft) {
  Peer peer(port_);
  Served& served = connect(peer);
  const std::string all = megabyte().substr(0, 5000);
  peer.send(all);
  ASSERT_TRUE(until([&] { return served.received.size() == all.size(); }));
  EXPECT_EQ(all, served.received);
  EXPECT_EQ("crrr", served.heard);
}

TEST_F(SocketTest, SlowPeerGetsEveryByte) {
  const std::string all = megabyte();
  Peer peer(port_, 16 * 1024);
  Served& served = connect(peer);
  narrow(served);
  auto send = sender(served, all);
  served.onWriteReady = std::ref(send);
  send();
  EXPECT_FALSE(served.socket->readyToWrite());
  EXPECT_EQ(-1, served.socket->write("more"));
  EXPECT_EQ(socket_error::kWouldBlock, served.socket->lastError());
  pass(20);
  EXPECT_FALSE(served.socket->readyToWrite());
  EXPECT_TRUE(drain(peer, 3000));
  EXPECT_TRUE(all == peer.received) << peer.received.size();
  EXPECT_NE(std::string::npos, served.heard.find('w'));
}

// The request has more behind it that nobody reads; closing on that would reset the connection and destroy
// what is on its way.
TEST_F(SocketTest, UnreadBytesOfThePeerDoNotDestroyTheAnswer) {
  const std::string all = megabyte();
  Peer peer(port_, 16 * 1024);
  Served& served = connect(peer);
  narrow(served);
  auto send = sender(served, all);
  bool started = false;
  served.onWriteReady = std::ref(send);
  served.onRead = [&] {
    if (!std::exchange(started, true)) send();
  };
  peer.send(std::string(30'000, 'r'));
  until([&] {
    peer.take(20'000);
    if (peer.received.size() < 500'000) peer.send("more");
    return peer.ended || peer.broken;
  });
  EXPECT_TRUE(peer.ended);
  EXPECT_TRUE(all == peer.received) << peer.received.size();
}

TEST_F(SocketTest, PeerThatSendsNoMoreStillGetsItsAnswer) {
  start({.halfClosed = milliseconds(60)});
  // More than the kernel takes at once.
  std::string all;
  for (int i = 0; i < 8; ++i) all += megabyte();
  Peer peer(port_);
  peer.send("GET /\r\n\r\n");
  peer.sendsNoMore();
  Served& served = connect(peer);
  ASSERT_TRUE(until([&] { return !served.received.empty(); }));
  pass(20);
  EXPECT_EQ("cr", served.heard);
  auto send = sender(served, all);
  served.onWriteReady = std::ref(send);
  send();
  pass(300);
  EXPECT_TRUE(drain(peer));
  EXPECT_TRUE(all == peer.received) << peer.received.size();
  EXPECT_FALSE(factory_->lingering());  // both sides have closed: nothing to wait for
}

TEST_F(SocketTest, HangUps) {
  start({.halfClosed = milliseconds(60)});
  struct Case {
    const char* what;
    std::function<void(Peer&, Served&)> act;
    const char* heard;
    int error;
  };
  const Case cases[] = {
      {"without a byte", [](Peer& peer, Served&) { peer.close(); }, "cd", socket_error::kNone},
      {"after a part of the request",
       [](Peer& peer, Served&) {
         peer.send("GET /");
         peer.close();
       },
       "crd", socket_error::kTimedOut},
      {"by a reset", [](Peer& peer, Served&) { peer.reset(); }, "cd", socket_error::kConnectionReset},
      {"while it is being sent to",
       [](Peer& peer, Served& served) {
         while (served.socket->readyToWrite()) served.socket->write(std::string(1024, 'x'));
         peer.close();
       },
       "cd", 0},
  };
  for (const Case& each : cases) {
    served_.clear();
    Peer peer(port_);
    Served& served = connect(peer);
    each.act(peer, served);
    ASSERT_TRUE(until([&] { return served.heard.ends_with('d'); })) << each.what;
    pass(20);
    EXPECT_EQ(each.heard, served.heard) << each.what;  // once
    if (each.error != 0) {
      EXPECT_EQ(each.error, served.socket->lastError()) << each.what;
    }
    EXPECT_TRUE(served.socket->connected());
    EXPECT_EQ(0, served.socket->disconnect());
  }
  EXPECT_TRUE(factory_->finish(milliseconds(2000)));
}

TEST_F(SocketTest, BytesBeforeTheHangUpAreDelivered) {
  Peer peer(port_);
  Served& served = connect(peer);
  const std::string all = megabyte().substr(0, 10'000);
  peer.send(all);
  peer.reset();
  ASSERT_TRUE(until([&] { return served.heard.ends_with('d'); }));
  EXPECT_TRUE(all.starts_with(served.received));
}

TEST_F(SocketTest, VanishedAndIdlePeersAreGivenUp) {
  start({.idle = milliseconds(80)});
  Peer silent(port_);
  Served& served = connect(silent);
  Peer busy(port_);
  Served& other = connect(busy);
  for (int i = 0; i < 8; ++i) {
    busy.send("x");
    pass(25);
  }
  EXPECT_EQ("cd", served.heard);
  EXPECT_EQ(socket_error::kTimedOut, served.socket->lastError());
  EXPECT_EQ(std::string::npos, other.heard.find('d'));
  pass(200);
  EXPECT_EQ(std::string::npos, other.heard.find('d')) << "it is not up to him: he waits for an answer";
  // But it is up to him to take it.
  std::string all;
  for (int i = 0; i < 8; ++i) all += megabyte();
  auto send = sender(other, all);
  other.onWriteReady = std::ref(send);
  send();
  ASSERT_TRUE(until([&] { return other.heard.ends_with('d'); }));
  EXPECT_EQ(socket_error::kTimedOut, other.socket->lastError());
}

TEST_F(SocketTest, LingeringIsBounded) {
  start({.lingerWithoutProgress = milliseconds(300), .lingering = 3});
  std::vector<std::unique_ptr<Peer>> peers;
  for (int i = 0; i < 5; ++i) {
    peers.push_back(std::make_unique<Peer>(port_));
    Served& served = connect(*peers.back());
    served.socket->write("answer");
    served.socket->disconnect();
    served_.clear();
  }
  for (auto& peer : peers) {
    EXPECT_TRUE(drain(*peer));
    EXPECT_EQ("answer", peer->received);
    peer->send("more");
  }
  pass(20);
  // The two oldest were closed to make room; the others' bytes are still read and thrown away.
  for (std::size_t i = 0; i < peers.size(); ++i) EXPECT_EQ(i >= 2, peers[i]->canSend()) << i;
  EXPECT_TRUE(factory_->lingering());
  EXPECT_TRUE(until([&] { return !factory_->lingering(); }, 5000));
}

TEST_F(SocketTest, HeldBytesLingerToo) {
  start({.lingerWithoutProgress = milliseconds(40), .lingerInAll = milliseconds(80)});
  Peer peer(port_, 16 * 1024);
  Served& served = connect(peer);
  narrow(served);
  std::string all;
  while (served.socket->readyToWrite()) {
    all.append(1024, static_cast<char>('a' + all.size() / 1024 % 26));
    served.socket->write(std::string_view(all).substr(all.size() - 1024));
  }
  served.socket->disconnect();
  served_.clear();  // the socket itself is gone
  // Not taking anything for a while costs the peer nothing, as it would before the disconnect.
  EXPECT_FALSE(factory_->finish(milliseconds(200)));
  EXPECT_TRUE(drain(peer, 50'000));
  EXPECT_TRUE(all == peer.received) << peer.received.size() << " of " << all.size();
}

TEST_F(SocketTest, BurstOfConnections) {
  constexpr int kPeers = 200;
  std::vector<std::unique_ptr<Peer>> peers;
  for (int i = 0; i < kPeers; ++i) {
    peers.push_back(std::make_unique<Peer>(port_));
    peers.back()->send("request " + std::to_string(i));
  }
  ASSERT_TRUE(until([&] {
    return served_.size() == kPeers && std::all_of(served_.begin(), served_.end(),
                                                   [](const auto& each) { return !each->received.empty(); });
  }));
  std::set<std::string> requests;
  for (const auto& each : served_) {
    EXPECT_EQ("cr", each->heard);
    requests.insert(each->received);
    each->socket->write("answer to " + each->received);
    each->socket->disconnect();
  }
  EXPECT_EQ(kPeers, static_cast<int>(requests.size()));
  for (int i = 0; i < kPeers; ++i) {
    EXPECT_TRUE(drain(*peers[static_cast<std::size_t>(i)]));
    EXPECT_EQ("answer to request " + std::to_string(i), peers[static_cast<std::size_t>(i)]->received);
  }
}

// The old connection has an event fetched already when its slot is given to the next one, which may even get
// the same descriptor.
TEST_F(SocketTest, ReusedSocketHearsNothingOfItsLastConnection) {
  Peer first(port_);
  Peer second(port_);
  ASSERT_TRUE(until([&] { return served_.size() == 2; }));
  Served& a = *served_[0];
  Served& b = *served_[1];
  const auto takeOver = [this](Served& from) {
    return [this, &from] {
      if (!from.socket->connected() || announced_ > 2) return;
      from.socket->disconnect();
      from.heard = "";
      from.received = "";
    };
  };
  a.onRead = takeOver(b);
  b.onRead = takeOver(a);
  first.send("one");
  second.send("two");
  ASSERT_TRUE(until([&] { return !a.socket->connected() || !b.socket->connected(); }));
  Served& freed = a.socket->connected() ? b : a;
  Peer third(port_);
  ASSERT_TRUE(until([&] { return freed.socket->connected(); }));
  pass(20);
  EXPECT_EQ("c", freed.heard);
  third.send("three");
  ASSERT_TRUE(until([&] { return !freed.received.empty(); }));
  EXPECT_EQ("three", freed.received);
  EXPECT_EQ("cr", freed.heard);
}

TEST_F(SocketTest, ConnectionThatNobodyTakesIsClosed) {
  refuse_ = true;
  Peer peer(port_);
  peer.send("hello");
  until([&] {
    peer.take();
    return peer.ended || peer.broken;
  });
  EXPECT_TRUE(peer.ended || peer.broken);
  EXPECT_EQ(1, announced_);
}

TEST_F(SocketTest, OwnerMayDoAnythingInAnEvent) {
  // Disconnect in the connect event, as a server that is full does.
  Peer refused(port_);
  ASSERT_TRUE(until([&] { return served_.size() == 1; }));
  SocketEvents events;
  events.connect = [this] { served_[0]->socket->disconnect(); };
  served_[0]->socket->disconnect();
  served_[0]->socket->setEvents(std::move(events));
  Peer next(port_);
  EXPECT_TRUE(drain(next));
  EXPECT_TRUE(drain(refused));

  // Replace the events, then destroy the socket, inside one of its own events.
  Peer third(port_);
  served_.clear();
  Served& served = connect(third);
  bool destroyed = false;
  served.onRead = [&] {
    served.socket->setEvents({});
    served.socket.reset();
    destroyed = true;
  };
  third.send("x");
  ASSERT_TRUE(until([&] { return destroyed; }));
  served_.clear();

  // Stop listening inside the accept event.
  events = {};
  events.accept = [this](PendingHandle) {
    ++announced_;
    listener_->disconnect();
  };
  listener_->setEvents(std::move(events));
  const int before = announced_;
  Peer fourth(port_);
  Peer fifth(port_);
  ASSERT_TRUE(until([&] { return announced_ > before; }));
  pass(20);
  EXPECT_EQ(before + 1, announced_);
  EXPECT_FALSE(listener_->listening());
  EXPECT_FALSE(Peer(port_).connected);
}

TEST_F(SocketTest, ListensAgainWhileOldClientsAreConnected) {
  Peer peer(port_);
  Served& served = connect(peer);
  EXPECT_EQ(0, listener_->disconnect());
  EXPECT_FALSE(listener_->listening());
  ASSERT_TRUE(listener_->listen()) << listener_->lastError();
  peer.send("still here");
  EXPECT_TRUE(until([&] { return served.received == "still here"; }));
  Peer next(port_);
  EXPECT_TRUE(until([&] { return served_.size() == 2; }));
}

TEST_F(SocketTest, ListenErrors) {
  static const struct {
    const char* address;
    bool samePort;
    int error;
  } kCases[] = {
      {"127.0.0.1", true, socket_error::kAddressInUse},
      {"192.0.2.1", false, socket_error::kAddressNotAvailable},
      {"no address", false, socket_error::kAddressNotAvailable},
      {"127.0.0.1.5", false, socket_error::kAddressNotAvailable},
      {"1", false, socket_error::kAddressNotAvailable},
      {"224.0.0.1", false, socket_error::kAddressNotAvailable},
      {"255.255.255.255", false, socket_error::kAddressNotAvailable},
      {"", false, socket_error::kNone},
  };
  for (const auto& each : kCases) {
    const auto socket = factory_->makeSocket();
    socket->setReuseAddress(true);
    socket->setLocalAddress(each.address);
    socket->setLocalPort(static_cast<std::int16_t>(each.samePort ? port_ : freePort()));
    EXPECT_EQ(each.error == 0, socket->listen()) << each.address;
    EXPECT_EQ(each.error, socket->lastError()) << each.address;
    EXPECT_EQ(each.error == 0, socket->listening()) << each.address;
    // A failed attempt leaves the socket fit for the next one.
    if (each.error == 0) continue;
    socket->setLocalAddress("127.0.0.1");
    socket->setLocalPort(static_cast<std::int16_t>(freePort()));
    EXPECT_TRUE(socket->listen()) << each.address;
  }
  EXPECT_EQ(24013, socketErrorOf(EACCES));
  EXPECT_EQ(24107, socketErrorOf(ENOTTY));
  EXPECT_EQ(0, socketErrorOf(0));
}

TEST_F(SocketTest, OutOfDescriptors) {
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  Peer first(port_);
  connect(first);
  Peer second(port_);  // waits in the queue
  {
    // The next descriptor that is free must be one too many.
    const FileDescriptor next(::dup(0));
    rlimit small = before;
    small.rlim_cur = static_cast<rlim_t>(next.get());
    ::setrlimit(RLIMIT_NOFILE, &small);
  }
  until([&] {
    second.take();
    return second.ended || second.broken;
  });
  EXPECT_TRUE(second.ended || second.broken);  // sent away at once, not left waiting
  const auto rounds = loop_.roundNumber();
  loop_.runUntil([] { return false; }, milliseconds(50));
  EXPECT_LT(loop_.roundNumber() - rounds, 10U);
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(1U, served_.size());
  Peer third(port_);
  EXPECT_TRUE(until([&] { return served_.size() == 2; }));
}

TEST_F(SocketTest, OwnerThatIgnoresTheEndDoesNotKeepTheLoopBusy) {
  Peer peer(port_);
  Served& served = connect(peer);
  peer.reset();
  ASSERT_TRUE(until([&] { return served.heard == "cd"; }));
  const auto rounds = loop_.roundNumber();
  loop_.runUntil([] { return false; }, milliseconds(50));
  EXPECT_LT(loop_.roundNumber() - rounds, 10U);
  EXPECT_EQ("cd", served.heard);
}

TEST_F(SocketTest, Trace) {
  const TemporaryDirectory directory;
  const std::string file = directory.path() + "/trace";
  const auto traced = [&](int level) {
    std::filesystem::remove(file);
    served_.clear();
    listener_->setTrace({true, file, level});
    Peer peer(port_);
    Served& served = connect(peer);
    peer.send("GET /");
    until([&] { return !served.received.empty(); });
    std::string piece;
    served.socket->read(piece, 100);
    served.socket->write("answer");
    served.socket->disconnect();
    served.socket->write("late");
    served_.clear();
    std::ifstream text(file);
    return std::string(std::istreambuf_iterator<char>(text), {});
  };
  using ::testing::AllOf;
  using ::testing::HasSubstr;
  using ::testing::IsEmpty;
  using ::testing::Not;
  const auto all = AllOf(HasSubstr("accept 127.0.0.1 = 0\r\n"), HasSubstr(": read 2048 = 5\r\n"),
                         HasSubstr(": read 100 = -1, Error 24035\r\n"), HasSubstr(": write 6 = 6\r\n"),
                         HasSubstr(": disconnect = 0\r\n"), HasSubstr(": write 4 = -1, Error 24057\r\n"));
  const auto bytes = HasSubstr("\r\n    47 45 54 20 2F" + std::string(35, ' ') + "GET /\r\n");
  EXPECT_THAT(traced(0), AllOf(all, Not(bytes)));
  struct stat info{};
  ASSERT_EQ(0, ::stat(file.c_str(), &info));
  EXPECT_EQ(0600U, info.st_mode & 07777U);
  EXPECT_THAT(traced(1), AllOf(HasSubstr("24057"), Not(HasSubstr("24035")), Not(HasSubstr("write 6"))));
  EXPECT_THAT(traced(2), AllOf(HasSubstr("24057"), HasSubstr("24035"), Not(HasSubstr("write 6"))));
  EXPECT_THAT(traced(4), AllOf(all, bytes));
  listener_->setTrace({});
  EXPECT_THAT(traced(4), Not(IsEmpty()));
  listener_->setTrace({true, "", 4});
  listener_->setTrace({false, file, 4});
  EXPECT_FALSE(listener_->trace().enabled);
}

/// Sends a file in pieces of 1024 bytes behind a header, as the server does, then disconnects.
class FileSender {
 public:
  FileSender(Served& to, std::shared_ptr<InputFile> file) : to_(to), file_(std::move(file)) {}

  void operator()() {
    while (sent_ < file_->length()) {
      if (!to_.socket->readyToWrite()) return;
      const auto piece = static_cast<std::size_t>(std::min<std::int64_t>(1024, file_->length() - sent_));
      const std::string_view header = sent_ == 0 ? "header\r\n" : "";
      const long written = to_.socket->writeFile(header, file_, sent_, piece);
      if (written < 0) {
        error = to_.socket->lastError();
        to_.socket->disconnect();
        file_.reset();
        return;
      }
      EXPECT_EQ(static_cast<long>(header.size() + piece), written);
      sent_ += static_cast<std::int64_t>(piece);
    }
    to_.socket->disconnect();
  }
  int error = 0;

 private:
  Served& to_;
  std::shared_ptr<InputFile> file_;
  std::int64_t sent_ = 0;
};

class SendFileTest : public SocketTest {
 protected:
  std::shared_ptr<InputFile> fileOf(std::string_view bytes) {
    path_ = directory_.path() + "/file";
    std::filesystem::remove(path_);
    EXPECT_TRUE(PosixFiles().append(path_, bytes));
    return open();
  }
  std::shared_ptr<InputFile> open() {
    auto opened = PosixFiles().open(path_);
    EXPECT_TRUE(opened);
    return opened ? std::move(*opened.value) : nullptr;
  }
  /// Whether this process has the file open, removed or not.
  bool isOpen() const {
    for (const auto& each : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code failed;
      if (std::filesystem::read_symlink(each.path(), failed).string().starts_with(path_)) return true;
    }
    return false;
  }

  TemporaryDirectory directory_;
  std::string path_;
};

TEST_F(SendFileTest, EverySizeArrives) {
  std::string all = megabyte();
  for (int i = 0; i < 4; ++i) all += megabyte();
  for (const std::size_t size :
       {std::size_t{1}, std::size_t{1023}, std::size_t{1025}, std::size_t{16 * 1024},
        std::size_t{16 * 1024 + 1}, std::size_t{65'536}, std::size_t{1 << 20}, all.size()}) {
    for (const bool slow : {false, true}) {
      Peer peer(port_, slow ? 16 * 1024 : 0);
      Served& served = connect(peer);
      if (slow) narrow(served);
      FileSender send(served, fileOf(std::string_view(all).substr(0, size)));
      served.onWriteReady = std::ref(send);
      send();
      EXPECT_TRUE(drain(peer, slow ? 20'000 : 1 << 20)) << size;
      EXPECT_TRUE(peer.received == "header\r\n" + all.substr(0, size))
          << size << ": " << peer.received.size();
      EXPECT_EQ(0, send.error);
      served_.clear();
    }
  }
}

TEST_F(SendFileTest, BytesAndRangesKeepTheirOrder) {
  const std::string all = megabyte().substr(0, 200'000);
  const auto file = fileOf(all);
  Peer peer(port_, 16 * 1024);
  Served& served = connect(peer);
  narrow(served);
  std::string expected;
  const auto range = [&](std::string_view head, std::size_t offset, std::size_t count) {
    EXPECT_EQ(static_cast<long>(head.size() + count),
              served.socket->writeFile(head, file, static_cast<std::int64_t>(offset), count));
    expected.append(head).append(all, offset, count);
  };
  served.socket->write("220 ");
  expected += "220 ";
  range("a", 0, 1000);
  range("", 1000, 30'000);
  range("", 50'000, 20'000);  // not the next one
  range("head", 70'000, 0);
  served.socket->write("between");
  expected += "between";
  range("", 70'000, 100'000);
  served.socket->disconnect();
  EXPECT_TRUE(drain(peer, 7000));
  EXPECT_TRUE(expected == peer.received) << peer.received.size() << " of " << expected.size();
}

TEST_F(SendFileTest, RemovedFileIsSentToItsEndAndClosed) {
  const std::string all = megabyte();
  Peer peer(port_, 16 * 1024);
  Served& served = connect(peer);
  narrow(served);
  {
    FileSender send(served, fileOf(all));
    served.onWriteReady = std::ref(send);
    send();
    ASSERT_TRUE(std::filesystem::remove(path_));
    until([&] {
      peer.take(20'000);
      return !served.socket->connected();
    });
    served.onWriteReady = nullptr;
  }
  EXPECT_TRUE(isOpen());  // what the peer has not taken lingers as a range of the file
  EXPECT_TRUE(drain(peer, 20'000));
  EXPECT_TRUE(peer.received == "header\r\n" + all) << peer.received.size();
  EXPECT_FALSE(isOpen());
}

TEST_F(SendFileTest, FileThatBecomesShorterBreaksTheConnectionOff) {
  const std::string all = megabyte();
  for (const std::size_t left : {std::size_t{0}, std::size_t{3000}, std::size_t{700'000}}) {
    Peer peer(port_, 16 * 1024);
    Served& served = connect(peer);
    narrow(served);
    FileSender send(served, fileOf(all));
    served.onWriteReady = std::ref(send);
    if (left > 500'000) send();
    std::filesystem::resize_file(path_, left);
    if (left < 500'000) send();
    until([&] {
      peer.take(20'000);
      if (served.heard.ends_with('d')) served.socket->disconnect();
      return peer.ended || peer.broken;
    });
    EXPECT_TRUE(peer.ended) << left;
    EXPECT_TRUE(peer.received == "header\r\n" + all.substr(0, left)) << left << ": " << peer.received.size();
    EXPECT_TRUE(served.heard.ends_with('d') || send.error == socket_error::kFileUnreadable) << served.heard;
    served_.clear();
  }
}

TEST_F(SendFileTest, HangUpClosesTheFile) {
  Peer peer(port_, 16 * 1024);
  Served& served = connect(peer);
  narrow(served);
  {
    FileSender send(served, fileOf(megabyte()));
    served.onWriteReady = std::ref(send);
    send();
    served.onWriteReady = nullptr;
  }
  EXPECT_TRUE(isOpen());
  peer.reset();
  ASSERT_TRUE(until([&] { return served.heard.ends_with('d'); }));
  served.socket->disconnect();
  EXPECT_FALSE(isOpen());
}

TEST_F(SendFileTest, RefusedWrites) {
  class Foreign final : public InputFile {
   public:
    std::int64_t length() const override { return 10; }
    long readAt(std::int64_t offset, std::span<char> into) override {
      return static_cast<long>(std::string_view("0123456789")
                                   .substr(static_cast<std::size_t>(offset))
                                   .copy(into.data(), into.size()));
    }
  };
  Peer peer(port_);
  Served& served = connect(peer);
  const std::shared_ptr<InputFile> foreign = std::make_shared<Foreign>();
  const auto file = fileOf("abc");
  for (const auto& each : {foreign, file}) {
    const std::int64_t length = each->length();
    EXPECT_EQ(-1, served.socket->writeFile("lost", each, 1, static_cast<std::size_t>(length)));
    EXPECT_EQ(socket_error::kFileUnreadable, served.socket->lastError());
  }
  EXPECT_EQ(-1, served.socket->writeFile("lost", file, -1, 1));
  EXPECT_EQ(-1, served.socket->writeFile("lost", file, 4, 1));
  EXPECT_EQ(0, served.socket->writeFile("", file, 3, 0));
  EXPECT_EQ(5, served.socket->writeFile("x", foreign, 6, 4));
  EXPECT_EQ(4, served.socket->writeFile("y", file, 0, 3));
  served.socket->disconnect();
  EXPECT_EQ(-1, served.socket->writeFile("late", file, 0, 3));
  EXPECT_EQ(socket_error::kNotConnected, served.socket->lastError());
  EXPECT_TRUE(drain(peer));
  EXPECT_EQ("x6789yabc", peer.received);
}

// Rounds, not time: how long one takes is the machine's business.
TEST_F(SendFileTest, HugeFileDoesNotDelayTheOthers) {
  const auto sparse = fileOf("x");
  std::filesystem::resize_file(path_, 200'000'000);
  Peer fast(port_);
  Served& huge = connect(fast);
  FileSender send(huge, open());
  huge.onWriteReady = std::ref(send);
  std::atomic<bool> downloading = true;
  std::size_t received = 0;
  std::thread reader([&] {
    while (downloading && !fast.ended && !fast.broken) {
      fast.take();
      received += fast.received.size();
      fast.received.clear();
    }
    fast.close();
  });
  const auto started = loop_.roundNumber();
  send();
  until([&] { return loop_.roundNumber() - started > 20; });
  for (int i = 0; i < 5; ++i) {
    Peer small(port_);
    small.send("GET /");
    const auto asked = loop_.roundNumber();
    const std::size_t before = served_.size();
    ASSERT_TRUE(until([&] { return served_.size() > before && !served_.back()->received.empty(); }));
    EXPECT_LE(loop_.roundNumber() - asked, 4U);
    served_.back()->socket->write("answer");
    served_.back()->socket->disconnect();
    ASSERT_TRUE(until([&] {
      small.take();
      return small.ended;
    }));
    EXPECT_EQ("answer", small.received);
    EXPECT_LE(loop_.roundNumber() - asked, 10U);
    served_.pop_back();
  }
  EXPECT_TRUE(huge.socket->connected());  // it was under way all the time
  EXPECT_TRUE(
      until([&] { return !huge.socket->connected() && factory_->finish(milliseconds(5000)); }, 60'000));
  downloading = false;
  reader.join();
  EXPECT_EQ(std::string("header\r\n").size() + 200'000'000, received);
  EXPECT_GT(loop_.roundNumber() - started, 200'000'000U / (2 * 256 * 1024));
}

}  // namespace
}  // namespace kova::platform::posix
