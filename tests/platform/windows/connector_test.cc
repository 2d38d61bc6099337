#include "platform/windows/connector.h"

#include <thread>

#include "loop_fixture.h"

namespace kova::platform::windows {
namespace {

class ConnectorTest : public LoopTest {
 protected:
  ConnectorTest() {
    listener_ = sockets_.makeSocket();
    listener_->setLocalAddress("127.0.0.1");
    EXPECT_TRUE(listener_->listen());
    sockaddr_in address{};
    int size = sizeof address;
    ::getsockname(static_cast<SOCKET>(listener_->handle()), reinterpret_cast<sockaddr*>(&address), &size);
    port_ = std::to_string(ntohs(address.sin_port));
    SocketEvents events;
    events.accept = [this](PendingHandle pending) {
      server_ = sockets_.makeSocket();
      server_->accept(pending);
    };
    listener_->setEvents(std::move(events));
  }

  Connector::Done done() {
    return [this](std::unique_ptr<Socket> socket, int error) {
      socket_ = std::move(socket);
      error_ = error;
      ++called_;
    };
  }

  WindowsSocketFactory sockets_{loop_};
  WindowsConnector connector_{loop_, sockets_};
  std::unique_ptr<Socket> listener_;
  std::unique_ptr<Socket> server_;
  std::unique_ptr<Socket> socket_;
  std::string port_;
  int error_ = 0;
  int called_ = 0;
};

TEST_F(ConnectorTest, ByNameAndByAddress) {
  for (const char* host : {"127.0.0.1", "localhost"}) {
    called_ = 0;
    const auto attempt = connector_.connect(host, port_, done());
    EXPECT_EQ(0, called_) << "never from inside connect()";
    ASSERT_TRUE(comes([this] { return called_ > 0 && server_; })) << host;
    ASSERT_TRUE(socket_) << host << ": " << error_;
    std::string got;
    std::string events;
    SocketEvents own;
    own.read = [&] {
      std::string piece;
      if (socket_->read(piece, 100) > 0) got += piece;
    };
    own.disconnect = [&events] { events += "disconnect "; };
    socket_->setEvents(std::move(own));
    EXPECT_EQ(socket_->peerAddress(), "127.0.0.1");
    server_->write("+OK\r\n");
    server_->disconnect();
    EXPECT_TRUE(comes([&] { return events == "disconnect "; }));
    EXPECT_EQ("+OK\r\n", got) << "the last bytes come before the end";
    socket_.reset();
    server_.reset();
  }
}

TEST_F(ConnectorTest, ErrorsAreThoseOfTheFirstAddress) {
  listener_->disconnect();
  WindowsConnector two(loop_, sockets_, [](const std::string&) {
    return HostAddresses{{"127.0.0.1", "no address"}, socket_error::kNone};
  });
  const auto refused = two.connect("mail.example.org", port_, done());
  ASSERT_TRUE(comes([this] { return called_ == 1; }));
  EXPECT_FALSE(socket_);
  EXPECT_EQ(24061, error_);

  const auto unknown = connector_.connect("no-such-host.invalid", "110", done());
  ASSERT_TRUE(comes([this] { return called_ == 2; }));
  EXPECT_FALSE(socket_);
  EXPECT_GE(error_, 25001);
  EXPECT_LE(error_, 25004);

  for (const char* port : {"0", "65536", "-1", "", "no-such-service"})
    EXPECT_FALSE(connector_.connect("127.0.0.1", port, done())) << port;
}

TEST_F(ConnectorTest, ALookUpWithoutEndHoldsNobodyUp) {
  WindowsConnector slow(loop_, sockets_, [](const std::string&) {
    std::this_thread::sleep_for(std::chrono::seconds(2));
    return HostAddresses{{"127.0.0.1"}, socket_error::kNone};
  });
  std::vector<std::unique_ptr<Connector::Attempt>> attempts;
  for (int i = 0; i < WindowsConnector::kMostLookUps; ++i)
    attempts.push_back(slow.connect("slow.example.org", port_, done()));
  settle();
  EXPECT_EQ(0, called_);
  const auto oneTooMany = slow.connect("slow.example.org", port_, done());
  ASSERT_TRUE(comes([this] { return called_ == 1; }));
  EXPECT_EQ(25002, error_);
  attempts.clear();
  settle(std::chrono::milliseconds(2500));
  EXPECT_EQ(1, called_) << "an attempt that was given up says nothing";
}

}  // namespace
}  // namespace kova::platform::windows
