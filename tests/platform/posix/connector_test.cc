#include "platform/posix/connector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

namespace kova::platform::posix {
namespace {

using std::chrono::milliseconds;
using ::testing::AnyOf;
using ::testing::ElementsAre;

constexpr int kNameNotFound = 25001;
constexpr int kTryAgain = 25002;
constexpr int kRefused = 24061;

/// A listener made of plain system calls; all of 127/8 is this machine.
class Listener {
 public:
  explicit Listener(int backlog = 16, std::uint32_t host = INADDR_LOOPBACK, std::uint16_t port = 0)
      : fd_(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(host);
    address.sin_port = htons(port);
    socklen_t size = sizeof address;
    EXPECT_EQ(0, ::bind(fd_.get(), reinterpret_cast<sockaddr*>(&address), size));
    EXPECT_EQ(0, ::listen(fd_.get(), backlog));
    EXPECT_EQ(0, ::getsockname(fd_.get(), reinterpret_cast<sockaddr*>(&address), &size));
    port_ = ntohs(address.sin_port);
  }
  std::string port() const { return std::to_string(port_); }
  /// Takes the connection that waits; not set when none does.
  FileDescriptor take() { return FileDescriptor(::accept(fd_.get(), nullptr, nullptr)); }

 private:
  FileDescriptor fd_;
  std::uint16_t port_ = 0;
};

/// A port of this machine on which nobody listens.
std::string closedPort() { return Listener().port(); }

std::size_t openDescriptors() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& each : std::filesystem::directory_iterator("/proc/self/fd")) ++count;
  return count;
}

/// A resolver that answers when the test lets it.
struct SlowResolver {
  std::mutex mutex;
  std::condition_variable changed;
  bool open = false;
  int asked = 0;
  int answered = 0;

  HostAddresses lookUp() {
    std::unique_lock lock(mutex);
    ++asked;
    changed.notify_all();
    changed.wait(lock, [this] { return open; });
    ++answered;
    changed.notify_all();
    return {{"127.0.0.1"}, 0};
  }
  void letAnswer() {
    const std::lock_guard lock(mutex);
    open = true;
    changed.notify_all();
  }
  void waitFor(int SlowResolver::* count, int value) {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return this->*count >= value; });
  }
};

class ConnectorTest : public ::testing::Test {
 protected:
  struct Outcome {
    int calls = 0;
    std::unique_ptr<Socket> socket;
    int error = -1;
    std::string heard;  // r read, d disconnect
    std::string received;
  };

  Connector::Done into(Outcome& outcome) {
    return [&outcome](std::unique_ptr<Socket> socket, int error) {
      ++outcome.calls;
      outcome.error = error;
      outcome.socket = std::move(socket);
      if (!outcome.socket) return;
      SocketEvents events;
      events.read = [&outcome] {
        outcome.heard += 'r';
        std::string piece;
        if (outcome.socket->read(piece, 4) > 0) outcome.received += piece;
      };
      events.disconnect = [&outcome] { outcome.heard += 'd'; };
      outcome.socket->setEvents(std::move(events));
    };
  }
  bool until(const std::function<bool()>& done, int ms = 10000) {
    return loop_.runUntil(done, milliseconds(ms));
  }
  void pass(int ms) {
    until([] { return false; }, ms);
  }
  /// The outcome of one connection.
  Outcome result(Connector& connector, const std::string& host, const std::string& port) {
    Outcome outcome;
    const auto attempt = connector.connect(host, port, into(outcome));
    EXPECT_TRUE(attempt);
    EXPECT_EQ(0, outcome.calls);  // not from inside connect()
    // A name that is not known at home may be asked for elsewhere, in vain.
    EXPECT_TRUE(until([&] { return outcome.calls > 0; }, 60'000));
    outcome.socket.reset();  // its events point to this object
    return outcome;
  }

  PosixEventLoop loop_;
  PosixSocketFactory sockets_{loop_};
  PosixConnector connector_{loop_, sockets_};
};

TEST_F(ConnectorTest, ConversationWithAPeerThatCloses) {
  Listener listener;
  Outcome outcome;
  const auto attempt = connector_.connect("127.0.0.1", listener.port(), into(outcome));
  ASSERT_TRUE(attempt);
  ASSERT_TRUE(until([&] { return outcome.calls > 0; }));
  ASSERT_EQ(0, outcome.error);
  ASSERT_TRUE(outcome.socket);
  EXPECT_TRUE(outcome.socket->connected());
  EXPECT_EQ("127.0.0.1", outcome.socket->peerAddress());
  FileDescriptor peer = listener.take();
  ASSERT_TRUE(peer);

  EXPECT_EQ(6, outcome.socket->write("USER x"));
  std::string got(100, '\0');
  ASSERT_TRUE(until([&] { return ::recv(peer.get(), got.data(), got.size(), MSG_DONTWAIT) == 6; }, 1000));
  EXPECT_TRUE(got.starts_with("USER x"));

  for (const char* piece : {"+OK", " one", " two three"}) {
    ::send(peer.get(), piece, std::string_view(piece).size(), 0);
    pass(5);
  }
  EXPECT_EQ("+OK one two three", outcome.received);
  // The rest and the end arrive together: first all bytes, then the end at once.
  ::send(peer.get(), "123456", 6, 0);
  peer.reset();
  outcome.heard = "";
  ASSERT_TRUE(until([&] { return outcome.heard.ends_with('d'); }, 2000));
  pass(20);
  EXPECT_EQ("rrd", outcome.heard);
  EXPECT_EQ("+OK one two three123456", outcome.received);
  EXPECT_TRUE(outcome.socket->connected());
  EXPECT_EQ(0, outcome.socket->disconnect());
  EXPECT_EQ(1, outcome.calls);
}

TEST_F(ConnectorTest, ResetIsAnError) {
  Listener listener;
  Outcome outcome;
  const auto attempt = connector_.connect("127.0.0.1", listener.port(), into(outcome));
  ASSERT_TRUE(until([&] { return outcome.calls > 0; }));
  ASSERT_TRUE(outcome.socket);
  {
    const FileDescriptor peer = listener.take();
    const linger now{1, 0};
    ::setsockopt(peer.get(), SOL_SOCKET, SO_LINGER, &now, sizeof now);
  }
  ASSERT_TRUE(until([&] { return outcome.heard == "d"; }, 2000));
  EXPECT_EQ(socket_error::kConnectionReset, outcome.socket->lastError());
}

TEST_F(ConnectorTest, SilentPeerIsKept) {
  PosixSocketFactory sockets(loop_, {.idle = milliseconds(20), .halfClosed = milliseconds(20)});
  PosixConnector connector(loop_, sockets);
  Listener listener;
  Outcome outcome;
  const auto attempt = connector.connect("127.0.0.1", listener.port(), into(outcome));
  ASSERT_TRUE(until([&] { return outcome.calls > 0; }));
  pass(100);
  EXPECT_EQ("", outcome.heard);
  outcome.socket.reset();
}

TEST_F(ConnectorTest, AllAddressesAreTriedAndTheFirstErrorTells) {
  Listener second(16, INADDR_LOOPBACK + 1);
  std::vector<std::string> addresses;
  PosixConnector connector(loop_, sockets_, [&](const std::string& host) -> HostAddresses {
    EXPECT_EQ("mail.test", host);
    return {addresses, 0};
  });
  addresses = {"127.0.0.1", "::1", "127.0.0.2", "127.0.0.3"};
  Outcome outcome;
  {
    const auto attempt = connector.connect("mail.test", second.port(), into(outcome));
    ASSERT_TRUE(until([&] { return outcome.calls > 0; }));
    EXPECT_EQ(0, outcome.error);
    ASSERT_TRUE(outcome.socket);
    EXPECT_EQ("127.0.0.2", outcome.socket->peerAddress());
  }
  addresses = {"127.0.0.1", "no address", "127.0.0.3"};
  EXPECT_EQ(kRefused, result(connector, "mail.test", second.port()).error);
  addresses = {"255.255.255.255", "127.0.0.1"};
  EXPECT_NE(kRefused, result(connector, "mail.test", second.port()).error);
  addresses = {};
  EXPECT_EQ(kNameNotFound, result(connector, "mail.test", second.port()).error);
}

TEST_F(ConnectorTest, Errors) {
  EXPECT_EQ(kRefused, result(connector_, "127.0.0.1", closedPort()).error);
  EXPECT_EQ(kRefused, result(connector_, "localhost", closedPort()).error);
  PosixConnector throwing(loop_, sockets_,
                          [](const std::string&) -> HostAddresses { throw std::bad_alloc(); });
  EXPECT_EQ(24055, result(throwing, "mail.test", "25").error);
  // What a machine without any network says of a name that nobody has is "try again".
  using namespace std::string_literals;
  for (const std::string& host : {"nobody.invalid"s, ""s, "127.0.0.1\0x"s, std::string(5000, 'a')}) {
    EXPECT_THAT(result(connector_, host, "110").error, AnyOf(kNameNotFound, kTryAgain, 25003)) << host;
  }
}

TEST_F(ConnectorTest, LocalhostIsLookedUp) {
  Listener listener;
  Outcome outcome;
  const auto attempt = connector_.connect("localhost", listener.port(), into(outcome));
  ASSERT_TRUE(until([&] { return outcome.calls > 0; }));
  EXPECT_EQ(0, outcome.error);
  ASSERT_TRUE(outcome.socket);
  EXPECT_EQ("127.0.0.1", outcome.socket->peerAddress());
}

TEST_F(ConnectorTest, Ports) {
  using namespace std::string_literals;
  for (const std::string& port : {"0"s, "65536"s, "-1"s, ""s, "11O"s, "110 "s, "no such service"s, "pop3\0"s,
                                  "99999999999999999999"s}) {
    EXPECT_FALSE(connector_.connect("127.0.0.1", port, [](auto, int) { FAIL(); })) << port;
  }
  for (const char* port : {"1", "65535", "00110"}) {
    EXPECT_TRUE(connector_.connect("127.0.0.1", port, [](auto, int) { FAIL(); })) << port;
  }
  if (std::filesystem::exists("/etc/services")) {
    EXPECT_TRUE(connector_.connect("127.0.0.1", "pop3", [](auto, int) { FAIL(); }));
  }
  pass(5);
}

TEST_F(ConnectorTest, LoopGoesOnDuringALookUpAndAbandonedAnswersAreThrownAway) {
  const std::size_t before = openDescriptors();
  const auto resolver = std::make_shared<SlowResolver>();
  Listener listener;
  Outcome abandoned;
  Outcome kept;
  {
    PosixConnector connector(loop_, sockets_, [resolver](const std::string&) { return resolver->lookUp(); });
    auto first = connector.connect("slow.test", listener.port(), into(abandoned));
    const auto second = connector.connect("slow.test", listener.port(), into(kept));
    int ticks = 0;
    std::unique_ptr<EventLoop::Timer> timer;
    std::function<void()> tick = [&] {
      ++ticks;
      timer = loop_.callAfter(milliseconds(1), tick);
    };
    tick();
    resolver->waitFor(&SlowResolver::asked, 2);
    pass(30);
    EXPECT_GT(ticks, 5);
    EXPECT_EQ(0, kept.calls);
    timer.reset();
    first.reset();
    resolver->letAnswer();
    ASSERT_TRUE(until([&] { return kept.calls > 0; }));
    EXPECT_EQ(0, kept.error);
  }
  resolver->waitFor(&SlowResolver::answered, 2);
  pass(20);
  EXPECT_EQ(0, abandoned.calls);
  EXPECT_TRUE(listener.take());
  EXPECT_FALSE(listener.take());  // the abandoned one did not connect
  kept.socket.reset();
  EXPECT_TRUE(until([&] { return openDescriptors() <= before + 2; }, 2000));  // the listener, one lingering
}

TEST_F(ConnectorTest, ConnectorThatGoesAwayDoesNotWaitForItsLookUps) {
  const auto resolver = std::make_shared<SlowResolver>();
  int calls = 0;
  {
    PosixEventLoop loop;
    PosixSocketFactory sockets(loop);
    PosixConnector connector(loop, sockets, [resolver](const std::string&) { return resolver->lookUp(); });
    std::vector<std::unique_ptr<Connector::Attempt>> attempts;
    for (int i = 0; i <= PosixConnector::kMostLookUps; ++i) {
      attempts.push_back(connector.connect("slow.test", "110", [&](auto socket, int error) {
        ++calls;
        EXPECT_FALSE(socket);
        EXPECT_EQ(kTryAgain, error);
      }));
    }
    // One too many fails, in the loop and not before.
    EXPECT_EQ(0, calls);
    EXPECT_TRUE(loop.runUntil([&] { return calls > 0; }, milliseconds(1000)));
    resolver->waitFor(&SlowResolver::asked, PosixConnector::kMostLookUps);
  }
  EXPECT_EQ(1, calls);
  resolver->letAnswer();
  resolver->waitFor(&SlowResolver::answered, PosixConnector::kMostLookUps);
}

// A full queue answers nothing at all, like a machine that is switched off.
TEST_F(ConnectorTest, UnansweredConnectIsPendingUntilItIsGivenUp) {
  Listener listener(0);
  std::vector<std::unique_ptr<Outcome>> outcomes;
  std::vector<std::unique_ptr<Connector::Attempt>> attempts;
  const std::size_t before = openDescriptors();
  for (int i = 0; i < 4; ++i) {
    outcomes.push_back(std::make_unique<Outcome>());
    attempts.push_back(connector_.connect("127.0.0.1", listener.port(), into(*outcomes.back())));
  }
  pass(100);
  EXPECT_EQ(1, outcomes.front()->calls);
  EXPECT_EQ(0, outcomes.back()->calls);
  const auto rounds = loop_.roundNumber();
  pass(30);
  EXPECT_LT(loop_.roundNumber() - rounds, 20U);
  attempts.clear();
  for (const auto& each : outcomes) each->socket.reset();
  while (listener.take()) continue;
  pass(20);
  EXPECT_EQ(0, outcomes.back()->calls);
  EXPECT_TRUE(until([&] { return openDescriptors() <= before; }, 2000));
}

TEST_F(ConnectorTest, OwnerMayEndEverythingInItsEvents) {
  Listener listener;
  std::unique_ptr<Connector::Attempt> attempt;
  bool done = false;
  attempt = connector_.connect("127.0.0.1", listener.port(), [&](std::unique_ptr<Socket>, int error) {
    EXPECT_EQ(0, error);
    attempt.reset();
    done = true;  // the socket ends here, too
  });
  ASSERT_TRUE(until([&] { return done; }));
  attempt = connector_.connect("127.0.0.1", closedPort(), [&](std::unique_ptr<Socket> socket, int) {
    EXPECT_FALSE(socket);
    done = false;
    attempt.reset();
  });
  ASSERT_TRUE(until([&] { return !done; }));

  Outcome outcome;
  attempt = connector_.connect("127.0.0.1", listener.port(), into(outcome));
  ASSERT_TRUE(until([&] { return outcome.calls > 0; }));
  listener.take();
  const FileDescriptor peer = listener.take();
  ASSERT_TRUE(peer);
  ::send(peer.get(), "x", 1, 0);
  outcome.socket.reset();
  pass(20);
  EXPECT_EQ("", outcome.heard);
}

}  // namespace
}  // namespace kova::platform::posix
