#include "launch/center.h"

#include "base/text.h"
#include "settings/keys.h"
#include "settings/rows.h"
#include "wml/deck.h"
#include "wml/deck_path.h"
#include "wml/parameters.h"

namespace kova::launch {

namespace {

using settings::kBlank;

/// One row of the table, as its keys read.
struct Command {
  std::string title{kBlank};
  std::string command{kBlank};
  std::string pin{kBlank};

  bool isSet() const { return title != kBlank && command != kBlank; }
};

Command readCommand(const settings::Settings& settings, int row) {
  const auto read = [&](std::string_view prefix) {
    return settings.ReadSetting(settings::kMain, settings::keyOfRow(prefix, row));
  };
  return {read(settings::kCmdTitle), read(settings::kCmdCommand), read(settings::kCmdPin)};
}

}  // namespace

void Center::Get_comd_main(int /*slot*/, const std::string& F) {
  wml::Deck deck(files_);
  if (!wml::header_standard(deck, wml::deckPath(host_, files_, F), "Launch center")) return;
  deck.line("<p><i>Launch center</i><br/>Select command:<br/>");
  deck.line(R"(<select multiple="false" name="caltp">)");
  for (int row = 0; row < settings::kRows; ++row) {
    const Command command = readCommand(settings_, row);
    if (!command.isSet()) continue;
    deck.line(R"(<option value=")", std::to_string(row), R"(">)", wml::ownersMarkup(command.title),
              "</option>");
  }
  deck.line("</select>");
  deck.line("PIN code:<br/>");
  deck.line(R"(<input name="pin" title="text" value=""/>)");
  deck.line("Parameter (opt.):<br/>");
  deck.line(R"(<input name="par" title="text" maxlength="8" value=""/>)");
  deck.line(R"(<a href="/">Main</a> <a href="/comd?caltp=$caltp&amp;par=$par&amp;pin=$pin">)");
  deck.line(R"(Submit</a> <a href="/oabt">About</a><br/>)");
  deck.line(" </p>");
  deck.line("</card>");
  deck.line("</wml>");
}

int Center::Query_comd(int /*slot*/, const std::string& F, const std::string& parameters) {
  constexpr std::string_view kSeparators[] = {"&par=", "&pin="};
  std::string query = parameters;
  if (!query.empty()) {
    for (const std::string_view separator : kSeparators) {
      if (query.find(separator) == std::string::npos) query += separator;
    }
  }
  const auto fields = wml::splitFields(query, kSeparators);
  get_comd(fields[0], wml::deckPath(host_, files_, F), fields[2], fields[1]);
  return 0;
}

void Center::get_comd(std::string_view row, const std::string& path, std::string_view pin,
                      std::string_view parameter) {
  const auto answer = [&](std::string_view title, const std::string& text) {
    wml::Deck deck(files_);
    if (!wml::header_standard(deck, path, title)) return;
    deck.line("<p>", text, wml::kLineBreak);
    wml::footer_standard(deck, "/comd");
  };

  const auto number = settings::rowNumber(row);
  const Command command = number ? readCommand(settings_, *number) : Command();
  if (!settings::acceptsPin(command.pin, pin)) return answer("Invalid PIN", "Invalid PIN code.");
  if (!command.isSet()) return answer("Invalid command", "Invalid command.");

  const std::string title = wml::ownersMarkup(command.title);
  std::string why = "no command";
  // Behind a command that was cleared, the phone's parameter would name the program.
  bool started = !base::trim(command.command).empty();
  // kept: without a parameter the line ends with a blank.
  if (started) started = processes_.start(command.command + " " + std::string(parameter), why);
  if (!started && log_) {
    log_("Command " + std::to_string(*number) + " (" + title + ") could not be started: " + why);
  }
  answer("command launched", "Command: " + title + " has been lauched.");
}

}  // namespace kova::launch
