#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>

#include "platform/controls.h"
#include "platform/dialogs.h"
#include "platform/processes.h"
#include "platform/window.h"
#include "settings/keys.h"
#include "settings/settings.h"

namespace kova::launch {

/// The window in which the owner sets up the commands of the launch center. There is no save step: every edit
/// is written to the settings file at once.
class frmlaunch : public platform::Window {
 public:
  /// All of it must outlive the window.
  frmlaunch(const settings::Settings& settings, platform::Dialogs& dialogs, platform::Processes& processes);

  /// Fills the fields from the settings file and shows the window. A window that is open stays as it is.
  void open();

  // The fields of a row share its number.
  static constexpr std::size_t kRows = settings::kRows;
  std::deque<platform::TextBox> btitle = platform::textBoxes("btitle", kRows);
  std::deque<platform::TextBox> bcommand = platform::textBoxes("bcommand", kRows);
  std::deque<platform::TextBox> bpin = platform::textBoxes("bpin", kRows);
  platform::Button Command1{"Command1", "Close"};

 private:
  using Visit = std::function<void(platform::TextBox& field, const std::string& key)>;
  void forEachField(const Visit& visit);
  /// Tells the owner when the program that he has typed does not exist.
  void checkCommand(const std::string& typed, const std::string& key);

  const settings::Settings& settings_;
  platform::Dialogs& dialogs_;
  platform::Processes& processes_;
  bool filling_ = false;
};

}  // namespace kova::launch
