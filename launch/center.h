#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/files.h"
#include "platform/processes.h"
#include "settings/settings.h"
#include "wml/host.h"

namespace kova::launch {

/// The launch center: a phone starts one of eight commands that the owner has set up, each behind a PIN of
/// its own. The commands are read from the settings file whenever a phone asks.
class Center {
 public:
  /// All of it must outlive the center. `log` takes a line for each command that could not be started.
  Center(const wml::Host& host, platform::Files& files, const settings::Settings& settings,
         platform::Processes& processes, std::function<void(const std::string&)> log)
      : host_(host), files_(files), settings_(settings), processes_(processes), log_(std::move(log)) {}

  /// Writes the card on which the phone chooses a command.
  void Get_comd_main(int slot, const std::string& F);

  /// Starts the command that the query "caltp=0&par=x&pin=1234" (percent-decoded) asks for and writes a card
  /// that says so. Returns a status for the dispatcher: 0, the card is to be sent.
  int Query_comd(int slot, const std::string& F, const std::string& parameters);

  /// Likewise, with the full path of the deck and the fields of the card. A row that does not exist answers
  /// as one that is not set. The phone is told of success as soon as it may start the command, whether or not
  /// that works.
  void get_comd(std::string_view row, const std::string& path, std::string_view pin,
                std::string_view parameter);

 private:
  const wml::Host& host_;
  platform::Files& files_;
  const settings::Settings& settings_;
  platform::Processes& processes_;
  std::function<void(const std::string&)> log_;
};

}  // namespace kova::launch
