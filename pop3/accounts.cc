#include "pop3/accounts.h"

#include <optional>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "pop3/listing.h"
#include "pop3/message.h"
#include "settings/keys.h"
#include "settings/rows.h"
#include "wml/deck.h"
#include "wml/deck_path.h"
#include "wml/parameters.h"

namespace kova::pop3 {

namespace {

using settings::kBlank;

/// One row of the table, as its keys read.
struct Account {
  std::string title{kBlank};
  std::string server{kBlank};
  std::string user{kBlank};
  std::string password{kBlank};
  std::string pin{kBlank};

  bool isSet() const { return title != kBlank && server != kBlank && user != kBlank && password != kBlank; }
};

Account readAccount(const settings::Settings& settings, int row) {
  const auto read = [&](std::string_view prefix) {
    return settings.ReadSetting(settings::kMain, settings::keyOfRow(prefix, row));
  };
  return {read(settings::kPop3Title), read(settings::kPop3Server), read(settings::kPop3User),
          read(settings::kPop3Pass), read(settings::kPop3Pin)};
}

void writeInvalidPin(platform::Files& files, const std::string& path) {
  wml::Deck deck(files);
  if (!wml::header_standard(deck, path, "Invalid PIN")) return;
  deck.line("<p>Invalid PIN code.", wml::kLineBreak);
  wml::footer_standard(deck, "/pop3");
}

}  // namespace

void Accounts::Get_pop3_main(int /*slot*/, const std::string& F) {
  wml::Deck deck(machine_.files);
  if (!wml::header_standard(deck, wml::deckPath(host_, machine_.files, F), "Remote mailboxes")) return;
  deck.line("<p><i>Remote mailboxes</i><br/>Select account:<br/>");
  deck.line(R"(<select multiple="false" name="caltp">)");
  for (int row = 0; row < settings::kRows; ++row) {
    const Account account = readAccount(machine_.settings, row);
    if (!account.isSet()) continue;
    deck.line(R"(<option value=")", std::to_string(row), R"(">)", wml::ownersMarkup(account.title),
              "</option>");
  }
  deck.line("</select>");
  deck.line("PIN code:<br/>");
  deck.line(R"(<input name="pin" title="text" value=""/>)");
  deck.line(R"(<a href="/">Main</a> <a href="/pop3?caltp=$caltp&amp;pin=$pin">)");
  deck.line(R"(Submit</a> <a href="/oabt">About</a><br/>)");
  deck.line(" </p>");
  deck.line("</card>");
  deck.line("</wml>");
}

base::Task<int> Accounts::Query_pop3(int /*slot*/, std::string F, std::string parameters,
                                     std::function<bool()> wanted) {
  constexpr std::string_view kSeparators[] = {"&pin=", "&poppos="};
  if (!parameters.empty()) {
    for (const std::string_view separator : kSeparators) {
      if (parameters.find(separator) == std::string::npos) parameters += separator;
    }
  }
  const auto fields = wml::splitFields(parameters, kSeparators);
  const std::string& number = fields[0];
  const std::string& pin = fields[1];
  const std::string& poppos = fields[2];

  const auto row = settings::rowNumber(number);
  const Account account = row ? readAccount(machine_.settings, *row) : Account();
  MailboxPage page;
  page.server = account.server;
  page.user = account.user;
  page.password = account.password;
  page.pin = account.pin;
  page.path = wml::deckPath(host_, machine_.files, F);
  page.account = number;
  page.wanted = std::move(wanted);
  if (!settings::acceptsPin(account.pin, pin)) {
    writeInvalidPin(machine_.files, page.path);
  } else if (poppos.empty()) {
    co_await get_pop3(machine_, std::move(page));
  } else {
    co_await get_pop3_mail(machine_, std::move(page), poppos);
  }
  co_return 0;
}

}  // namespace kova::pop3
