#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fakes/fake_loop.h"
#include "fakes/fake_socket.h"
#include "platform/connector.h"

namespace kova::fakes {

/// The network with one scripted server in it, which answers line by line. What it says arrives by the loop,
/// one piece in a round.
class FakeConnector final : public platform::Connector {
 public:
  static constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

  explicit FakeConnector(FakeLoop& loop) : loop_(loop) {}

  // Script.
  bool knownPort = true;
  bool silent = false;            ///< a connection never comes about
  std::deque<int> connectErrors;  ///< of the next attempts, 0: it connects; none left: all connect
  std::string greeting = "+OK ready\r\n";
  /// What the server says to a line (without its CR LF): "" nothing.
  std::function<std::string(const std::string& line)> answer = [](const std::string&) { return "+OK\r\n"; };
  /// What it says without being asked, as often as there is nothing else to say; "" ends it.
  std::function<std::string()> chatter;
  std::chrono::milliseconds delay{0};       ///< before each piece
  std::size_t pieceBytes = kUnlimited;      ///< length of a piece
  std::size_t closesAfter = kUnlimited;     ///< bytes that it says before it closes
  bool closesOnce = false;                  ///< only the first connection, whatever it says on the next
  std::optional<std::size_t> failingWrite;  ///< the write with this number, counted from 0, fails
  std::deque<long> writes;                  ///< see FakeSocket::writes
  int readError = 0;                        ///< in place of the first piece
  static constexpr int kWriteError = 24054;

  // Record.
  std::vector<std::string> hosts;
  std::vector<std::string> ports;
  std::vector<std::string> heard;  ///< the lines that came, of all connections
  std::string bytesHeard;
  int open = 0;  ///< connections that stand now
  int mostOpen = 0;
  int attempts = 0;  ///< that are under way now
  std::size_t bytesSaid = 0;

  std::unique_ptr<Attempt> connect(const std::string& host, const std::string& port, Done done) override {
    if (!knownPort) return nullptr;
    hosts.push_back(host);
    ports.push_back(port);
    auto attempt = std::make_unique<LaterAttempt>(*this);
    if (!silent) {
      attempt->call = loop_.callAfter(delay, [this, done = std::move(done)] {
        int error = 0;
        if (!connectErrors.empty()) {
          error = connectErrors.front();
          connectErrors.pop_front();
        }
        if (error != 0) return done(nullptr, error);
        done(std::make_unique<PeerSocket>(*this), 0);
      });
    }
    return attempt;
  }

 private:
  struct LaterAttempt : Attempt {
    explicit LaterAttempt(FakeConnector& c) : connector(c) { ++connector.attempts; }
    ~LaterAttempt() override { --connector.attempts; }
    LaterAttempt(const LaterAttempt&) = delete;
    LaterAttempt& operator=(const LaterAttempt&) = delete;
    FakeConnector& connector;
    std::unique_ptr<platform::EventLoop::Timer> call;
  };

  /// The program's end of a connection, with the server behind it.
  class PeerSocket final : public FakeSocket {
   public:
    explicit PeerSocket(FakeConnector& server) : peer_(server), toSay_(server.greeting) {
      accept(1);
      peer_.mostOpen = std::max(peer_.mostOpen, ++peer_.open);
      readError = std::exchange(peer_.readError, 0);
      writes = std::exchange(peer_.writes, {});
      sayLater();
    }
    ~PeerSocket() override { end(); }
    PeerSocket(const PeerSocket&) = delete;
    PeerSocket& operator=(const PeerSocket&) = delete;

    int disconnect() override {
      end();
      return FakeSocket::disconnect();
    }

    long write(std::string_view bytes) override {
      if (peer_.failingWrite == peer_.writeCount_++) writes.assign(1, -kWriteError);
      const long count = FakeSocket::write(bytes);
      if (count < 0) {
        writable_ = peer_.loop_.callAfter({}, [this] {
          if (events.writeReady) events.writeReady();
        });
        return count;
      }
      const auto taken = bytes.substr(0, static_cast<std::size_t>(count));
      peer_.bytesHeard.append(taken);
      line_.append(taken);
      for (std::size_t end = line_.find("\r\n"); end != std::string::npos; end = line_.find("\r\n")) {
        const std::string line = line_.substr(0, end);
        line_.erase(0, end + 2);
        peer_.heard.push_back(line);
        toSay_ += peer_.answer(line);
        sayLater();
      }
      return count;
    }

   private:
    void end() {
      if (!ended_) --peer_.open;
      ended_ = true;
      later_.reset();
      writable_.reset();
    }

    void sayLater() {
      if (!later_ && !ended_) later_ = peer_.loop_.callAfter(peer_.delay, [this] { say(); });
    }

    void say() {
      later_.reset();
      if (readError != 0) return events.read();
      if (incoming.empty()) {
        if (toSay_.empty() && peer_.chatter) toSay_ = peer_.chatter();
        const std::size_t count =
            std::min({peer_.pieceBytes, toSay_.size(), peer_.closesAfter - peer_.bytesSaid});
        if (count > 0) incoming.push_back(toSay_.substr(0, count));
        toSay_.erase(0, count);
        peer_.bytesSaid += count;
      }
      // The events may end this socket, but none destroys it: who waits goes on later.
      while (!incoming.empty() && events.read && !ended_) events.read();
      if (ended_) return;
      if (peer_.bytesSaid >= peer_.closesAfter) {
        if (peer_.closesOnce) peer_.closesAfter = kUnlimited;
        return events.disconnect();
      }
      if (!toSay_.empty() || peer_.chatter) sayLater();
    }

    FakeConnector& peer_;
    std::string toSay_;
    std::string line_;
    bool ended_ = false;
    std::unique_ptr<platform::EventLoop::Timer> later_;
    std::unique_ptr<platform::EventLoop::Timer> writable_;
  };

  FakeLoop& loop_;
  std::size_t writeCount_ = 0;
};

}  // namespace kova::fakes
