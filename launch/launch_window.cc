#include "launch/launch_window.h"

#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"

namespace kova::launch {

frmlaunch::frmlaunch(const settings::Settings& settings, platform::Dialogs& dialogs,
                     platform::Processes& processes)
    : Window("frmlaunch", "Launch center"), settings_(settings), dialogs_(dialogs), processes_(processes) {
  forEachField([this](platform::TextBox& field, const std::string& key) {
    field.onChange = [this, &field, key] {
      // What the file says is not written back: it may be longer than what is read of it.
      if (!filling_) settings_.WriteSetting(settings::kMain, key, field.text());
    };
  });
  for (std::size_t row = 0; row < kRows; ++row) {
    bcommand[row].onLeave = [this, row] {
      checkCommand(bcommand[row].text(), settings::keyOfRow(settings::kCmdCommand, static_cast<int>(row)));
    };
  }
  Command1.onClick = [this] { close(); };

  using platform::Layout;
  std::vector<Layout> cells;
  for (std::size_t row = 0; row < kRows; ++row) {
    cells.push_back(Layout(btitle[row]).growing());
    cells.push_back(Layout(bcommand[row]).growing(2));
    cells.emplace_back(bpin[row]);
  }
  setLayout(Layout::rows({Layout::table({"Title", "Command", "PIN"}, std::move(cells)), Command1}));
  setKeys(nullptr, &Command1);
}

void frmlaunch::open() {
  if (!visible()) {
    filling_ = true;
    forEachField([this](platform::TextBox& field, const std::string& key) {
      field.setText(settings_.ReadSetting(settings::kMain, key));
    });
    filling_ = false;
  }
  show();
}

void frmlaunch::forEachField(const Visit& visit) {
  for (std::size_t row = 0; row < kRows; ++row) {
    const int number = static_cast<int>(row);
    visit(btitle[row], settings::keyOfRow(settings::kCmdTitle, number));
    visit(bcommand[row], settings::keyOfRow(settings::kCmdCommand, number));
    visit(bpin[row], settings::keyOfRow(settings::kCmdPin, number));
  }
}

void frmlaunch::checkCommand(const std::string& typed, const std::string& key) {
  const std::string_view text = base::trim(typed);
  // kept: a program's path that holds a blank is not found; it is stored all the same.
  const std::string program(text.substr(0, text.find(' ')));
  if (text.empty() || text == settings::kBlank || processes_.exists(program)) {
    // What the file says already is not written back: it may be longer than what is read of it.
    if (settings_.ReadSetting(settings::kMain, key) != typed)
      settings_.WriteSetting(settings::kMain, key, typed);
    return;
  }
  dialogs_.message("File does not exist: " + std::string(text), platform::MessageIcon::kExclamation, title());
}

}  // namespace kova::launch
