#pragma once

#include <string>
#include <string_view>

#include "base/task.h"
#include "conversation/line_conversation.h"
#include "extras/printable_text.h"
#include "platform/controls.h"
#include "platform/window.h"

namespace kova::extras {

/// The telnet console: a person's own conversation with any server that talks in lines, over the socket that
/// the mailbox pages and the mail sender use. What those say to each other is shown here as well, but for the
/// passwords. They come first: while one of them talks the console does not connect, and when one of them
/// needs the socket the console's connection ends.
class formtelnet : public platform::Window {
 public:
  /// The box keeps this many of its newest characters.
  static constexpr std::size_t kBoxCharacters = 16000;

  /// The conversation must outlive the window, which is its only watcher.
  explicit formtelnet(conversation::LineConversation& conversation);
  formtelnet(const formtelnet&) = delete;
  formtelnet& operator=(const formtelnet&) = delete;
  ~formtelnet() override;

  void open();
  /// Ends the console's connection, too.
  void close() override;

  platform::TextBox editHost{"editHost", "&Host:"};
  platform::TextBox editPort{"editPort", "&Port or service:"};
  platform::Button cmdConnect{"cmdConnect", "Co&nnect"};
  platform::LogBox txtConsole{"txtConsole", kBoxCharacters};
  platform::TextBox editLine{"editLine", "&Line to send:"};
  platform::Button cmdSend{"cmdSend", "&Send"};
  platform::Button cmdClear{"cmdClear", "Cl&ear window"};
  platform::Button cmdClose{"cmdClose", "&Close"};
  platform::Label lblStatus{"lblStatus", ""};

 private:
  enum class State { kIdle, kConnecting, kConnected };

  void cmdConnect_Click();
  void cmdSend_Click();
  base::Task<> session(conversation::LineConversation::Turn turn, std::string host, std::string port);
  void hangUp(std::string_view why);
  void setState(State state);

  void showSent(std::string_view text);
  void showReceived(std::string_view text);
  void showStatus();
  /// A line of the console's own.
  void note(std::string_view text);
  void startLine();

  conversation::LineConversation& conversation_;
  PrintableText received_;
  bool lineStarts_ = true;
  State state_ = State::kIdle;
  base::TaskGroup tasks_;  // of the session
};

}  // namespace kova::extras
