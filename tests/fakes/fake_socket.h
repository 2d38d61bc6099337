#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/socket.h"

namespace kova::fakes {

/// A socket that does what the test has written into it, and writes down what it is asked to do.
class FakeSocket : public platform::Socket {
 public:
  // Script.
  int listenError = 0;               ///< listen() fails with this number
  int disconnectStatus = 0;          ///< what disconnect() returns
  std::deque<std::string> incoming;  ///< what the reads return, one by one
  int readError = 0;                 ///< a read fails with this number
  std::deque<long> writes;  ///< per write: bytes taken, or the negative of an error number; none left: all
  bool ready = true;
  std::string peer = "10.0.0.7";

  // Record.
  std::vector<std::string> written;  ///< the bytes that each successful write took
  std::int16_t localPort = 0;
  std::string localAddress;
  bool reuseAddress = false;
  bool noDelay = false;
  int listens = 0;

  platform::SocketEvents events;

  std::string allWritten() const {
    std::string all;
    for (const auto& piece : written) all += piece;
    return all;
  }

  /// The disconnect event, with its reason in lastError().
  void end(int error) {
    error_ = error;
    events.disconnect();
  }

  void setEvents(platform::SocketEvents e) override { events = std::move(e); }
  void setReuseAddress(bool on) override { reuseAddress = on; }
  void setNoDelay(bool on) override { noDelay = on; }
  void setLocalPort(std::int16_t port) override { localPort = port; }
  void setLocalAddress(const std::string& address) override { localAddress = address; }
  bool connected() const override { return connected_; }
  bool listening() const override { return listening_; }
  bool listen() override {
    ++listens;
    error_ = listenError;
    listening_ = listenError == 0;
    return listening_;
  }
  bool accept(platform::PendingHandle pending) override {
    connected_ = true;
    handle_ = pending;
    return true;
  }
  int disconnect() override {
    listening_ = false;
    connected_ = false;
    if (disconnectStatus != 0) error_ = disconnectStatus;
    return disconnectStatus;
  }
  long read(std::string& into, std::size_t limit) override {
    into.clear();
    if (readError != 0) {
      error_ = readError;
      return -1;
    }
    if (incoming.empty()) {
      error_ = platform::socket_error::kWouldBlock;
      return -1;
    }
    into = incoming.front().substr(0, limit);
    incoming.front().erase(0, into.size());
    if (incoming.front().empty()) incoming.pop_front();
    return static_cast<long>(into.size());
  }
  long write(std::string_view bytes) override {
    long result = static_cast<long>(bytes.size());
    if (!writes.empty()) {
      result = std::min(result, writes.front());
      writes.pop_front();
    }
    if (result < 0) {
      error_ = static_cast<int>(-result);
      return -1;
    }
    written.emplace_back(bytes.substr(0, static_cast<std::size_t>(result)));
    return result;
  }
  long writeFile(std::string_view head, const std::shared_ptr<platform::InputFile>& file, std::int64_t offset,
                 std::size_t count) override {
    std::string bytes(head);
    bytes.resize(head.size() + count);
    if (file->readAt(offset, std::span(bytes).subspan(head.size())) != static_cast<long>(count)) {
      error_ = platform::socket_error::kFileUnreadable;
      return -1;
    }
    return write(bytes);
  }
  bool readyToWrite() const override { return ready; }
  int lastError() const override { return error_; }
  std::string peerAddress() const override { return peer; }
  int handle() const override { return handle_; }
  const platform::SocketTrace& trace() const override { return trace_; }
  void setTrace(platform::SocketTrace trace) override { trace_ = std::move(trace); }

 private:
  bool connected_ = false;
  bool listening_ = false;
  int error_ = 0;
  int handle_ = 0;
  platform::SocketTrace trace_;
};

/// Makes fake sockets; the owner of one keeps a part of it, the test the other.
class FakeSocketFactory : public platform::SocketFactory {
 public:
  std::vector<FakeSocket*> made;  ///< in the order of their making; alive as long as their owners

  std::unique_ptr<platform::Socket> makeSocket() override {
    auto socket = std::make_unique<FakeSocket>();
    made.push_back(socket.get());
    return socket;
  }
};

}  // namespace kova::fakes
