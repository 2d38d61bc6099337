#include "pop3/listing.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "base/number.h"
#include "pop3/card.h"
#include "pop3/decoding.h"
#include "settings/keys.h"
#include "wml/deck.h"

namespace kova::pop3 {

namespace {

using ReplyEnd = conversation::LineConversation::ReplyEnd;

constexpr double kMostMessages = 50;

/// The front of every link to a message. It holds the PIN that opens the mailbox, not the one that was typed.
std::string linkTo(const MailboxPage& page) {
  const std::string pin = page.pin == settings::kBlank ? std::string() : cardText(page.pin);
  return R"(<a href="/pop3?caltp=)" + cardText(page.account) + "&amp;pin=" + pin + "&amp;poppos=";
}

base::Task<> listMessages(Session* session, std::string link, wml::Deck* deck) {
  const bool loggedIn = co_await session->logIn();
  if (!loggedIn) co_return;
  const bool counted = co_await session->ask("STAT", ReplyEnd::kLine);
  if (!counted) co_return;
  const std::string count(messageCount(session->reply()));
  deck->line(cardText(count), " e-mail(s):", wml::kLineBreak);

  const double most = std::min(base::leadingNumber(count), kMostMessages);
  for (int i = 1; i <= most; ++i) {
    const std::string number = std::to_string(i);
    co_await session->ask("TOP " + number + " 1", ReplyEnd::kMultiLine);
    if (!session->wanted()) co_return;
    // kept: a message whose header did not come is in the list all the same.
    deck->line(link, number, R"(">#)", number, "</a> From: ", cardText(senderIn(session->reply())),
               wml::kLineBreak);
    deck->line("  Sjt:", cardText(subjectIn(session->reply())), wml::kLineBreak);
  }
}

}  // namespace

base::Task<> get_pop3(Machine machine, MailboxPage page) {
  const auto turn = co_await machine.conversation.turn(page.wanted);
  if (!turn) co_return;
  const std::string link = linkTo(page);
  wml::Deck deck(machine.files);
  if (!wml::header_standard(deck, page.path, kMailboxTitle)) co_return;
  deck.line("<p><i>Remote mailboxes</i><br/>");

  Session session(machine, page);
  co_await session.connect();
  co_await listMessages(&session, link, &deck);
  co_await session.quit();
  if (page.wanted()) mailboxFooter(deck);
}

}  // namespace kova::pop3
