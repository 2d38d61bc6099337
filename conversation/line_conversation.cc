#include "conversation/line_conversation.h"

#include <algorithm>
#include <utility>

#include "base/wait.h"
#include "conversation/reply_search.h"

namespace kova::conversation {

namespace {

constexpr std::chrono::milliseconds kSoon{0};
constexpr std::string_view kLineEnd = "\n";
constexpr std::string_view kLoneDot = "\r\n.\r\n";

/// How an attempt to connect ends, besides with a socket.
struct Ended {
  int error = platform::socket_error::kNone;
  bool knownPort = true;
};

}  // namespace

/// One wait, from its start to its end or to the moment when it is dropped: what arrives meanwhile is shown
/// to its search.
class LineConversation::Watch {
 public:
  Watch(LineConversation& conversation, ReplySearch& search, bool wholeReply)
      : conversation_(conversation), search_(&search), wholeReply_(wholeReply) {
    conversation_.watch_ = this;
  }
  /// For the end of the connection and nothing else.
  explicit Watch(LineConversation& conversation) : conversation_(conversation) {
    conversation_.watch_ = this;
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
  ~Watch() {
    conversation_.watch_ = nullptr;
    conversation_.wake_.reset();
  }

  bool reached() const { return search_ && (wholeReply_ ? search_->foundEnd() : search_->foundExpected()); }
  void see(std::string_view piece) {
    if (search_) search_->see(piece);
  }

  /// When the connection has ended nothing can arrive any more.
  bool await_ready() const { return reached() || !conversation_.connected(); }
  void await_suspend(std::coroutine_handle<> caller) { caller_ = caller; }
  void await_resume() const {}
  void resume() { caller_.resume(); }

 private:
  LineConversation& conversation_;
  ReplySearch* search_ = nullptr;
  bool wholeReply_ = false;
  std::coroutine_handle<> caller_;
};

base::Task<bool> LineConversation::connect(std::string host, std::string port) {
  disconnect();
  std::unique_ptr<platform::Connector::Attempt> attempt;
  std::unique_ptr<platform::EventLoop::Timer> limit;
  base::Answer<Ended> attempted([&](const std::function<void(Ended)>& answer) {
    attempt =
        connector_.connect(host, port, [this, answer](std::unique_ptr<platform::Socket> socket, int error) {
          if (socket) adopt(std::move(socket));
          answer(Ended{error});
        });
    limit = loop_.callAfter(kTimeout, [answer] { answer(Ended{platform::socket_error::kTimedOut}); });
    if (!attempt) answer(Ended{platform::socket_error::kNone, false});
  });
  const Ended result = co_await attempted;
  if (!result.knownPort) {
    ShowError("The specified service name is invalid");
    co_return false;
  }
  if (!socket_) {
    ShowError("Unable to connect to " + host + ".  Error " + std::to_string(result.error));
    co_return false;
  }
  setStatus("Connecting to " + host + "...");
  co_return true;
}

void LineConversation::adopt(std::unique_ptr<platform::Socket> socket) {
  socket_ = std::move(socket);
  platform::SocketEvents events;
  events.read = [this] { dataArrived(); };
  events.writeReady = [this] { writeUnsent(); };
  events.disconnect = [this] {
    socket_->disconnect();
    wake();
  };
  socket_->setEvents(std::move(events));
}

void LineConversation::disconnect() {
  unsent_.clear();
  if (!socket_) return;
  if (socket_->connected()) socket_->disconnect();
  socket_.reset();
}

void LineConversation::dataArrived() {
  const long count = socket_->read(piece_, kReadBytes);
  if (count == 0) return;
  if (count < 0) {
    const int error = socket_->lastError();
    if (error == platform::socket_error::kWouldBlock) return;
    ShowError("Unexpected error " + std::to_string(error) + " while reading data");
    // A socket that cannot be read would say so again and again.
    socket_->disconnect();
    wake();
    return;
  }
  ReplyBuffer.append(piece_, 0, kReplyBytes - std::min(kReplyBytes, ReplyBuffer.size()));
  if (watcher.received) watcher.received(piece_);
  if (!watch_) return;
  watch_->see(piece_);
  if (watch_->reached()) wake();
}

bool LineConversation::SendData(std::string_view text) {
  if (watcher.sent) watcher.sent(text);
  unsent_.append(text);
  writeUnsent();
  return connected();
}

void LineConversation::writeUnsent() {
  while (!unsent_.empty()) {
    const bool stands = connected();
    const long count = stands ? socket_->write(unsent_) : -1;
    if (count < 0) {
      const int error = stands ? socket_->lastError() : platform::socket_error::kNotConnected;
      // The writeReady event goes on with it.
      if (error == platform::socket_error::kWouldBlock || error == platform::socket_error::kInProgress)
        return;
      ShowError("An error occurred during the write.  Error " + std::to_string(error));
      unsent_.clear();
      if (stands) socket_->disconnect();
      wake();
      return;
    }
    unsent_.erase(0, static_cast<std::size_t>(count));
  }
}

void LineConversation::ShowError(const std::string& message) {
  dialogs_.message(message, platform::MessageIcon::kExclamation, "Telnet");
}

/// Who waits goes on from the loop and never from inside a socket's event, where he could not end the socket.
void LineConversation::wake() {
  if (!watch_ || wake_) return;
  wake_ = loop_.callAfter(kSoon, [this] { watch_->resume(); });
}

base::Task<bool> LineConversation::WaitFor(std::string_view expected, int skipLine) {
  const bool skips = skipLine == 1;
  ReplySearch search(expected, skips ? kLineEnd : std::string_view());
  search.see(ReplyBuffer);
  bool timedOut = false;
  auto limit = loop_.callAfter(kTimeout, [&] {
    timedOut = true;
    wake();
  });
  {
    Watch untilExpected(*this, search, false);
    co_await untilExpected;
  }
  limit.reset();
  // kept: what arrives as late as the time-out has not arrived.
  if (timedOut || !search.foundExpected()) co_return false;
  if (!skips) co_return true;
  Watch untilLineEnd(*this, search, true);
  co_await untilLineEnd;
  if (search.foundEnd()) ReplyBuffer.erase(0, search.foundAt());
  co_return true;
}

base::Task<bool> LineConversation::WaitForReply(std::string_view expected, ReplyEnd end) {
  const bool multiLine = end == ReplyEnd::kMultiLine;
  ReplySearch search(expected, multiLine ? kLoneDot : kLineEnd);
  search.see(ReplyBuffer);
  bool timedOut = false;
  const auto limit = loop_.callAfter(kTimeout, [&] {
    timedOut = true;
    wake();
  });
  Watch untilEnd(*this, search, true);
  co_await untilEnd;
  if (!search.foundEnd()) co_return false;
  // kept: lines that begin with a dot keep the second one that the server has put before it.
  constexpr std::size_t kDotLine = kLoneDot.size() - 2;
  if (multiLine) ReplyBuffer.resize(std::min(ReplyBuffer.size(), search.foundAt() - kDotLine));
  co_return !timedOut;
}

base::Task<> LineConversation::WaitForEnd() {
  Watch untilEnd(*this);
  co_await untilEnd;
}

void LineConversation::join(WaitingLine& caller) {
  line_.push_back(&caller);
  // Those who have gone meanwhile make room: the line is never longer than the callers that are there.
  serveLine_ = loop_.callAfter(kSoon, [this] { serveLine(); });
}

void LineConversation::serveLine() {
  for (;;) {
    auto next = std::find_if(line_.begin(), line_.end(), [](WaitingLine* each) { return !each->wanted(); });
    // Whoever was lent the conversation ends his Turn in there.
    if (next == line_.end() && next != line_.begin() && claimed_) std::exchange(claimed_, nullptr)();
    if (next == line_.end() && !taken_) next = line_.begin();
    if (next == line_.end()) return;
    WaitingLine& caller = **next;
    line_.erase(next);
    caller.given_ = !taken_ && caller.wanted();
    if (caller.given_) taken_ = true;
    caller.caller_.resume();
  }
}

void LineConversation::release() {
  disconnect();
  ReplyBuffer.clear();
  ReplyBuffer.shrink_to_fit();
  taken_ = false;
  claimed_ = nullptr;
  if (!line_.empty()) serveLine_ = loop_.callAfter(kSoon, [this] { serveLine(); });
  setStatus({});
}

void LineConversation::setStatus(std::string status) {
  if (status == status_) return;
  status_ = std::move(status);
  if (watcher.statusChanged) watcher.statusChanged();
}

}  // namespace kova::conversation
