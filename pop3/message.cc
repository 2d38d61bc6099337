#include "pop3/message.h"

#include <string_view>
#include <utility>

#include "base/number.h"
#include "pop3/card.h"
#include "pop3/decoding.h"
#include "wml/deck.h"

namespace kova::pop3 {

namespace {

using ReplyEnd = conversation::LineConversation::ReplyEnd;

base::Task<> showMessage(Session* session, std::string poppos, wml::Deck* deck) {
  const bool loggedIn = co_await session->logIn();
  if (!session->wanted()) co_return;
  if (!loggedIn) {
    deck->line(R"(<a href="/">Main</a> )");
    co_return;
  }
  const bool counted = co_await session->ask("STAT", ReplyEnd::kLine);
  if (!session->wanted()) co_return;
  if (!counted) {
    deck->line("E-mail not in mailbox anymore.", wml::kLineBreak);
    co_return;
  }
  const std::string count(messageCount(session->reply()));
  if (base::leadingNumber(poppos) > base::leadingNumber(count)) co_return;

  const bool fetched = co_await session->ask("TOP " + poppos + " 150", ReplyEnd::kMultiLine);
  if (fetched) deck->line(messageText(session->reply()), wml::kLineBreak);
}

}  // namespace

base::Task<> get_pop3_mail(Machine machine, MailboxPage page, std::string poppos) {
  // It comes from the phone.
  const std::string number(asArgument(poppos));
  const auto turn = co_await machine.conversation.turn(page.wanted);
  if (!turn) co_return;
  wml::Deck deck(machine.files);
  if (!wml::header_standard(deck, page.path, kMailboxTitle)) co_return;
  deck.line("<p><i>E-mail #", cardText(poppos), ":</i>", wml::kLineBreak);

  Session session(machine, page);
  co_await session.connect();
  co_await showMessage(&session, number, &deck);
  co_await session.quit();
  if (page.wanted()) mailboxFooter(deck);
}

}  // namespace kova::pop3
