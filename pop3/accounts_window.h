#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>

#include "platform/controls.h"
#include "platform/dialogs.h"
#include "platform/window.h"
#include "settings/keys.h"
#include "settings/settings.h"

namespace kova::pop3 {

/// The window in which the owner sets up the remote mailboxes. There is no save step: every edit is written
/// to the settings file at once.
class frmpop3 : public platform::Window {
 public:
  /// All of it must outlive the window.
  frmpop3(const settings::Settings& settings, platform::Dialogs& dialogs);

  /// Fills the fields from the settings file and shows the window. A window that is open stays as it is.
  void open();

  // The fields of a row share its number: title, server, user, password and PIN.
  static constexpr std::size_t kRows = settings::kRows;
  std::deque<platform::TextBox> btitle = platform::textBoxes("btitle", kRows);
  std::deque<platform::TextBox> bcommand = platform::textBoxes("bcommand", kRows);
  std::deque<platform::TextBox> buser = platform::textBoxes("buser", kRows);
  std::deque<platform::TextBox> bpass = platform::textBoxes("bpass", kRows);
  std::deque<platform::TextBox> bpin = platform::textBoxes("bpin", kRows);
  platform::Button Command1{"Command1", "Close"};

 private:
  enum class Blanks { kAllowed, kRefused };
  using Visit = std::function<void(platform::TextBox& field, const std::string& key, Blanks blanks)>;
  void forEachField(const Visit& visit);
  void store(platform::TextBox& field, const std::string& key, Blanks blanks);

  const settings::Settings& settings_;
  platform::Dialogs& dialogs_;
  bool filling_ = false;
};

}  // namespace kova::pop3
