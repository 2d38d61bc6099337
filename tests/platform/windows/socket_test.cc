#include "platform/windows/socket.h"

#include <algorithm>
#include <vector>

#include "loop_fixture.h"
#include "platform/windows/addresses.h"
#include "platform/windows/files.h"

namespace kova::platform::windows {
namespace {

using std::chrono::milliseconds;

/// The other end of a connection: an ordinary client, never waiting.
class Peer {
 public:
  explicit Peer(std::uint16_t port, int receiveBuffer = 0)
      : socket_(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) {
    if (receiveBuffer > 0)
      ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVBUF, reinterpret_cast<const char*>(&receiveBuffer),
                   sizeof receiveBuffer);
    const auto address = endpointOf("127.0.0.1", port);
    EXPECT_EQ(0, ::connect(socket_.get(), address->address(), address->size));
    u_long on = 1;
    ::ioctlsocket(socket_.get(), FIONBIO, &on);
  }

  void send(std::string_view bytes) {
    EXPECT_EQ(static_cast<int>(bytes.size()),
              ::send(socket_.get(), bytes.data(), static_cast<int>(bytes.size()), 0));
  }
  void sendsNoMore() { ::shutdown(socket_.get(), SD_SEND); }
  void close() { socket_.reset(); }
  void reset() {
    const linger now{1, 0};
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&now), sizeof now);
    socket_.reset();
  }
  void take(std::size_t limit = 1 << 20) {
    std::string piece(limit, '\0');
    const int count = ::recv(socket_.get(), piece.data(), static_cast<int>(piece.size()), 0);
    if (count > 0) received.append(piece, 0, static_cast<std::size_t>(count));
    if (count == 0) ended = true;
    if (count < 0 && ::WSAGetLastError() != WSAEWOULDBLOCK) broken = true;
  }

  std::string received;
  bool ended = false;
  bool broken = false;

 private:
  UniqueSocket socket_;
};

/// A server that takes what comes and writes down what happens.
class SocketTest : public LoopTest {
 protected:
  SocketTest() { make({}); }

  void make(const SocketLimits& limits) {
    server_.reset();
    listener_.reset();
    factory_ = std::make_unique<WindowsSocketFactory>(loop_, limits);
    listener_ = factory_->makeSocket();
    server_ = factory_->makeSocket();
    listener_->setLocalAddress("127.0.0.1");
    // 0: any port that is free; which one is asked of the system.
    ASSERT_TRUE(listener_->listen());
    sockaddr_in address{};
    int size = sizeof address;
    ASSERT_EQ(0, ::getsockname(static_cast<SOCKET>(listener_->handle()),
                               reinterpret_cast<sockaddr*>(&address), &size));
    port_ = ntohs(address.sin_port);
    SocketEvents events;
    events.accept = [this](PendingHandle pending) {
      happened_ += "accept ";
      if (takes_) {
        EXPECT_TRUE(server_->accept(pending));
      }
    };
    listener_->setEvents(std::move(events));
    events = {};
    events.connect = [this] { happened_ += "connect "; };
    events.read = [this] {
      ++readEvents_;
      if (readEvents_ <= readsNothing_) return;
      std::string piece;
      if (server_->read(piece, 7) > 0) got_ += piece;
    };
    events.writeReady = [this] {
      if (onWriteReady_) onWriteReady_();
    };
    events.disconnect = [this] { happened_ += "disconnect "; };
    server_->setEvents(std::move(events));
  }
  bool takesAll(Peer& peer, std::size_t pieces = 1 << 20) {
    return comes([&peer, pieces] {
      peer.take(pieces);
      return peer.ended || peer.broken;
    });
  }

  std::unique_ptr<WindowsSocketFactory> factory_;
  std::unique_ptr<Socket> listener_;
  std::unique_ptr<Socket> server_;
  std::function<void()> onWriteReady_;
  std::uint16_t port_ = 0;
  std::string happened_;
  std::string got_;
  int readEvents_ = 0;
  int readsNothing_ = 0;
  bool takes_ = true;
};

TEST_F(SocketTest, AConnectionFromTheFirstByteToTheLast) {
  Peer peer(port_);
  peer.send("GET / HTTP/1.1\r\n\r\n");
  // An owner who does not read is told again.
  readsNothing_ = 3;
  ASSERT_TRUE(comes([this] { return got_ == "GET / HTTP/1.1\r\n\r\n"; })) << got_;
  EXPECT_EQ("accept connect ", happened_);
  EXPECT_EQ("127.0.0.1", server_->peerAddress());
  EXPECT_EQ(4, server_->write("Good"));
  EXPECT_EQ(8, server_->write(" morning"));
  EXPECT_EQ(0, server_->disconnect());
  EXPECT_FALSE(server_->connected());
  EXPECT_NE(0, server_->disconnect());
  ASSERT_TRUE(takesAll(peer));
  EXPECT_EQ("Good morning", peer.received);
  EXPECT_TRUE(peer.ended);
  EXPECT_EQ("accept connect ", happened_) << "who disconnects is not told so";
}

TEST_F(SocketTest, WhatIsWrittenArrivesHoweverMuchThePeerHasStillSent) {
  Peer peer(port_);
  peer.send("x");
  ASSERT_TRUE(comes([this] { return !got_.empty(); }));
  peer.send(std::string(200'000, 'y'));
  server_->write(std::string(300'000, 'z'));
  server_->disconnect();
  ASSERT_TRUE(takesAll(peer, 4096));
  EXPECT_EQ(300'000U, peer.received.size());
  EXPECT_FALSE(peer.broken);
}

TEST_F(SocketTest, ALargeFileToASlowPeerWhileOthersAreServed) {
  std::string bytes(5'000'000, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
  put(path("large"), bytes);
  Peer peer(port_, 8192);
  ASSERT_TRUE(comes([this] { return server_->connected(); }));
  WindowsFiles files;
  {
    const std::shared_ptr<InputFile> file = *std::move(files.open(path("large")).value);
    ASSERT_EQ(static_cast<long>(bytes.size()) + 4, server_->writeFile("Head", file, 0, bytes.size()));
  }
  EXPECT_TRUE(files.remove(path("large"))) << "it is held open, not its bytes";
  EXPECT_EQ(file_error::kNotFound, files.length(path("large")).error) << "the name is free at once";
  ASSERT_TRUE(comes([this] { return !server_->readyToWrite(); }));
  EXPECT_LT(server_->write("x"), 0);
  EXPECT_EQ(socket_error::kWouldBlock, server_->lastError());
  bool ready = false;
  onWriteReady_ = [&] {
    ready = true;
    server_->write("Tail");
    server_->disconnect();
  };
  ASSERT_TRUE(takesAll(peer, 65536));
  EXPECT_TRUE(ready);
  EXPECT_TRUE(peer.received == "Head" + bytes + "Tail") << peer.received.size();
}

TEST_F(SocketTest, AFileThatHasBecomeShorterBreaksTheConnectionOff) {
  put(path("short"), std::string(100, 'a'));
  Peer peer(port_);
  ASSERT_TRUE(comes([this] { return server_->connected(); }));
  const std::shared_ptr<InputFile> file = *std::move(WindowsFiles().open(path("short")).value);
  EXPECT_LT(server_->writeFile({}, file, 90, 20), 0);
  EXPECT_EQ(socket_error::kFileUnreadable, server_->lastError());
  std::filesystem::resize_file(folder_ / "short", 10);
  EXPECT_GT(server_->writeFile({}, file, 0, 100), 0);
  EXPECT_TRUE(comes([this] { return happened_ == "accept connect disconnect "; })) << happened_;
  server_->disconnect();
  ASSERT_TRUE(takesAll(peer));
  EXPECT_EQ(std::string(10, 'a'), peer.received);
}

TEST_F(SocketTest, TheEndsOfAConnection) {
  {
    Peer silent(port_);
    ASSERT_TRUE(comes([this] { return server_->connected(); }));
    silent.close();
    EXPECT_TRUE(comes([this] { return happened_ == "accept connect disconnect "; })) << happened_;
    server_->disconnect();
  }
  happened_.clear();
  {
    Peer reset(port_);
    reset.send("x");
    ASSERT_TRUE(comes([this] { return !got_.empty(); }));
    reset.reset();
    EXPECT_TRUE(comes([this] { return happened_ == "accept connect disconnect "; })) << happened_;
    EXPECT_NE(0, server_->lastError());
    server_->disconnect();
  }
  // Who says that he sends no more still gets his answer.
  happened_.clear();
  got_.clear();
  Peer half(port_);
  half.send("question");
  half.sendsNoMore();
  ASSERT_TRUE(comes([this] { return got_ == "question"; }));
  settle();
  EXPECT_EQ("accept connect ", happened_);
  server_->write("answer");
  server_->disconnect();
  ASSERT_TRUE(takesAll(half));
  EXPECT_EQ("answer", half.received);
}

TEST_F(SocketTest, APeerWhoKeepsTheProgramWaitingIsGivenUp) {
  SocketLimits limits;
  limits.idle = milliseconds(200);
  limits.halfClosed = milliseconds(100);
  make(limits);
  Peer silent(port_);
  EXPECT_TRUE(comes([this] { return happened_ == "accept connect disconnect "; })) << happened_;
  EXPECT_EQ(socket_error::kTimedOut, server_->lastError());
  server_->disconnect();
  happened_.clear();
  Peer half(port_);
  half.send("x");
  half.sendsNoMore();
  EXPECT_TRUE(comes([this] { return happened_ == "accept connect disconnect "; })) << happened_;
}

TEST_F(SocketTest, AConnectionThatNobodyTakesIsClosed) {
  takes_ = false;
  Peer first(port_);
  Peer second(port_);
  ASSERT_TRUE(takesAll(first));
  ASSERT_TRUE(takesAll(second));
  EXPECT_EQ("accept accept ", happened_);
}

TEST_F(SocketTest, ManyAtOnce) {
  constexpr int kCount = 200;
  std::vector<std::unique_ptr<Socket>> servers;
  SocketEvents events;
  events.accept = [&](PendingHandle pending) {
    servers.push_back(factory_->makeSocket());
    Socket& socket = *servers.back();
    SocketEvents own;
    own.read = [&socket] {
      std::string piece;
      socket.read(piece, 100);
      socket.write(piece);
      socket.disconnect();
    };
    socket.setEvents(std::move(own));
    EXPECT_TRUE(socket.accept(pending));
  };
  listener_->setEvents(std::move(events));
  std::vector<std::unique_ptr<Peer>> peers;
  for (int i = 0; i < kCount; ++i) {
    peers.push_back(std::make_unique<Peer>(port_));
    peers.back()->send(std::to_string(i));
  }
  for (int i = 0; i < kCount; ++i) {
    ASSERT_TRUE(takesAll(*peers[i])) << i;
    EXPECT_EQ(std::to_string(i), peers[i]->received);
  }
  peers.clear();
  EXPECT_TRUE(factory_->finish(std::chrono::seconds(5)));
}

TEST_F(SocketTest, ListeningThatCannotBe) {
  const auto second = factory_->makeSocket();
  second->setReuseAddress(true);
  second->setLocalAddress("127.0.0.1");
  second->setLocalPort(static_cast<std::int16_t>(port_));
  EXPECT_FALSE(second->listen());
  EXPECT_EQ(socket_error::kAddressInUse, second->lastError());
  for (const char* address : {"192.0.2.7", "no address", "::1"}) {
    second->setLocalAddress(address);
    EXPECT_FALSE(second->listen()) << address;
    EXPECT_EQ(socket_error::kAddressNotAvailable, second->lastError()) << address;
  }
  listener_->disconnect();
  second->setLocalAddress("");
  EXPECT_TRUE(second->listen());
  EXPECT_TRUE(second->listening());
}

TEST_F(SocketTest, TraceFile) {
  listener_->setTrace({true, path("trace.txt"), 4});
  Peer peer(port_);
  peer.send("GET /");
  ASSERT_TRUE(comes([this] { return got_ == "GET /"; }));
  const std::string text = content(path("trace.txt"));
  EXPECT_NE(std::string::npos, text.find(": read 7 = 5\r\n    47 45 54 20 2F")) << text;
}

}  // namespace
}  // namespace kova::platform::windows
