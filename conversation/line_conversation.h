#pragma once

#include <chrono>
#include <coroutine>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "base/task.h"
#include "platform/connector.h"
#include "platform/dialogs.h"
#include "platform/event_loop.h"
#include "platform/socket.h"

namespace kova::conversation {

class ReplySearch;

/// The conversation in commands and replies that the mailbox pages and the mail sender hold with a mail
/// server, over the one socket that they share. Only who has a Turn may use it. A step is always: clear
/// ReplyBuffer, SendData(command + CR LF), wait for the reply.
///
/// What fails here is shown to the owner in a message box and told in the result; a wait that ends without
/// its text is told in the result only.
class LineConversation {
 public:
  /// How long a connection may take to come about, and each wait for a reply.
  static constexpr std::chrono::seconds kTimeout{60};

  /// Of what arrives between two clearings, ReplyBuffer keeps this many first bytes; the rest is read and
  /// thrown away, so that a peer can send what he likes without costing memory. The longest thing that is
  /// read of a reply is a mail's header and its first 150 lines: 150 lines of the greatest length that mail
  /// may have (RFC 5322: 1000 bytes) leave 100,000 bytes for the header.
  static constexpr std::size_t kReplyBytes = std::size_t{256} * 1024;

  /// Of one read in the data-arrival event.
  static constexpr std::size_t kReadBytes = 1024;

  class Turn;
  class WaitingLine;

  /// All of it must outlive the conversation, and the conversation whoever uses it.
  LineConversation(platform::EventLoop& loop, platform::Connector& connector, platform::Dialogs& dialogs)
      : loop_(loop), connector_(connector), dialogs_(dialogs) {}
  LineConversation(const LineConversation&) = delete;
  LineConversation& operator=(const LineConversation&) = delete;
  ~LineConversation() = default;

  /// `co_await turn()`: the caller goes on when the conversation is his, first come, first served. A caller
  /// who is dropped while he waits leaves the line. `wanted` is asked before the turn is given, and whenever
  /// somebody else comes: when it says no, the caller goes on at once with a Turn that is false.
  [[nodiscard]] WaitingLine turn(std::function<bool()> wanted = {});

  /// The conversation at once, for somebody who would hold it for as long as nobody needs it (a person at the
  /// console); a Turn that is false when somebody has it or waits for it. `claimed` is called, once and from
  /// the loop, when somebody comes who needs it: the Turn has to end before that call returns. Nobody calls
  /// `claimed` any more when the Turn has ended by itself.
  [[nodiscard]] Turn tryTurn(std::function<void()> claimed);

  /// For somebody who watches what is said, whoever says it. They are called in the middle of it, some from
  /// inside the socket's events: they take notes, and neither use the conversation nor end a Turn.
  struct Watcher {
    /// What goes to the peer, passwords and all: each SendData, as a whole.
    std::function<void(std::string_view text)> sent;
    /// What the peer says, in the pieces in which it comes; they end anywhere.
    std::function<void(std::string_view bytes)> received;
    /// status() has changed: a connection has come about, or a conversation that had one is over.
    std::function<void()> statusChanged;
  };
  Watcher watcher;

  /// Connects to a host on a port (a number or the name of a service), in place of a connection that stands.
  /// False when that fails, or takes longer than kTimeout (then with error 24060).
  base::Task<bool> connect(std::string host, std::string port);

  bool connected() const { return socket_ && socket_->connected(); }
  void disconnect();

  /// Writes the whole text. False when it cannot be written; the connection is then closed. What the network
  /// does not take at once is held and follows as it does.
  bool SendData(std::string_view text);

  /// Goes on when `expected` has arrived, in what ReplyBuffer holds or in what comes, were it thrown away.
  /// False when kTimeout passes before that. With `skipLine` 1 it then waits, without a limit of time, for
  /// the end of the line in which the text stands, and ReplyBuffer is left with what follows that line.
  ///
  /// When the connection has ended nothing can arrive any more: the wait ends at once, as it would by the
  /// time-out, only sooner.
  base::Task<bool> WaitFor(std::string_view expected, int skipLine);

  /// How a reply ends: with its line, or with a line that is nothing but a dot (RFC 1939, section 3).
  enum class ReplyEnd { kLine, kMultiLine };

  /// Likewise for a reply of which more than the expected text is read: goes on when all of it is there.
  /// False when kTimeout passes before that. The dot is taken off ReplyBuffer; it is not part of the text.
  base::Task<bool> WaitForReply(std::string_view expected, ReplyEnd end);

  /// Goes on when the connection has ended, at once when there is none; has no limit of time.
  base::Task<> WaitForEnd();

  /// What has arrived since it was last cleared (see kReplyBytes).
  std::string ReplyBuffer;

  void ShowError(const std::string& message);

  /// The status line of the conversation.
  const std::string& status() const { return status_; }

 private:
  class Watch;

  void adopt(std::unique_ptr<platform::Socket> socket);
  void dataArrived();
  void writeUnsent();
  void wake();

  void join(WaitingLine& caller);
  void serveLine();
  void release();
  void setStatus(std::string status);

  platform::EventLoop& loop_;
  platform::Connector& connector_;
  platform::Dialogs& dialogs_;
  std::unique_ptr<platform::Socket> socket_;
  std::string piece_;
  std::string unsent_;
  std::string status_;

  Watch* watch_ = nullptr;  // of the wait that is under way
  std::unique_ptr<platform::EventLoop::Timer> wake_;

  bool taken_ = false;
  std::function<void()> claimed_;  // of a Turn that was lent
  std::list<WaitingLine*> line_;
  std::unique_ptr<platform::EventLoop::Timer> serveLine_;
};

/// The right to use the conversation, or no right when it is false. When it ends, the connection is closed
/// and the next in line goes on.
class LineConversation::Turn {
 public:
  explicit Turn(LineConversation* conversation) : conversation_(conversation) {}
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;
  Turn(Turn&& other) noexcept : conversation_(std::exchange(other.conversation_, nullptr)) {}
  Turn& operator=(Turn&&) = delete;
  ~Turn() {
    if (conversation_) conversation_->release();
  }

  explicit operator bool() const { return conversation_ != nullptr; }

 private:
  LineConversation* conversation_;
};

class [[nodiscard]] LineConversation::WaitingLine {
 public:
  WaitingLine(LineConversation& conversation, std::function<bool()> wanted)
      : conversation_(conversation), wanted_(std::move(wanted)) {}
  WaitingLine(const WaitingLine&) = delete;
  WaitingLine& operator=(const WaitingLine&) = delete;
  ~WaitingLine() { conversation_.line_.remove(this); }

  bool await_ready() {
    given_ = !conversation_.taken_ && conversation_.line_.empty();
    if (given_) conversation_.taken_ = true;
    return given_;
  }
  void await_suspend(std::coroutine_handle<> caller) {
    caller_ = caller;
    conversation_.join(*this);
  }
  Turn await_resume() const { return Turn(given_ ? &conversation_ : nullptr); }

 private:
  friend class LineConversation;
  bool wanted() const { return !wanted_ || wanted_(); }

  LineConversation& conversation_;
  std::function<bool()> wanted_;
  std::coroutine_handle<> caller_;
  bool given_ = false;
};

inline LineConversation::Turn LineConversation::tryTurn(std::function<void()> claimed) {
  const bool given = !taken_ && line_.empty();
  if (given) {
    taken_ = true;
    claimed_ = std::move(claimed);
  }
  return Turn(given ? this : nullptr);
}

inline LineConversation::WaitingLine LineConversation::turn(std::function<bool()> wanted) {
  return {*this, std::move(wanted)};
}

}  // namespace kova::conversation
