#include "pop3/session.h"

#include "base/text.h"
#include "base/wait.h"
#include "pop3/decoding.h"

namespace kova::pop3 {

namespace {

using conversation::LineConversation;

constexpr const char* kPort = "110";
constexpr std::string_view kOk = "+OK";

/// A command with a text of the settings file, which somebody may have edited, as its argument.
std::string command(std::string_view word, std::string_view argument) {
  return std::string(word).append(asArgument(base::trim(argument)));
}

}  // namespace

base::Task<> Session::greeting() {
  machine_.conversation.ReplyBuffer.clear();
  co_await machine_.conversation.connect(std::string(base::trim(page_.server)), kPort);
  if (!wanted()) co_return;
  co_await machine_.conversation.WaitForReply(kOk, LineConversation::ReplyEnd::kLine);
}

base::Task<> Session::connect() {
  co_await greeting();
  if (!wanted()) co_return;
  if (!machine_.conversation.connected()) {
    co_await base::yield(machine_.loop);
    if (!wanted()) co_return;
    co_await greeting();
  }
  machine_.conversation.ReplyBuffer.clear();
}

base::Task<bool> Session::ask(std::string command, LineConversation::ReplyEnd end) {
  LineConversation& conversation = machine_.conversation;
  conversation.ReplyBuffer.clear();
  // A connection that could not be written to is gone: no QUIT, and no second box that says so.
  if (failed_ || !wanted()) co_return false;
  failed_ = !conversation.SendData(command.append(base::kCrLf));
  if (failed_) co_return false;
  co_await conversation.WaitForReply(kOk, end);
  co_return wanted();
}

base::Task<bool> Session::logIn() {
  const bool user = co_await ask(command("USER ", page_.user), LineConversation::ReplyEnd::kLine);
  if (!user) co_return false;
  const bool password = co_await ask(command("PASS ", page_.password), LineConversation::ReplyEnd::kLine);
  co_return password;
}

base::Task<> Session::quit() { co_await ask("QUIT", LineConversation::ReplyEnd::kLine); }

}  // namespace kova::pop3
