#include "pop3/accounts_window.h"

#include <utility>
#include <vector>

namespace kova::pop3 {

frmpop3::frmpop3(const settings::Settings& settings, platform::Dialogs& dialogs)
    : Window("frmpop3", "Remote mailboxes"), settings_(settings), dialogs_(dialogs) {
  forEachField([this](platform::TextBox& field, const std::string& key, Blanks blanks) {
    field.onChange = [this, &field, key, blanks] {
      if (!filling_) store(field, key, blanks);
    };
    field.onLeave = [this, &field, key, blanks] { store(field, key, blanks); };
  });
  Command1.onClick = [this] { close(); };

  using platform::Layout;
  std::vector<Layout> cells;
  for (std::size_t row = 0; row < kRows; ++row) {
    bpass[row].setPassword();
    for (platform::TextBox* field : {&btitle[row], &bcommand[row], &buser[row], &bpass[row]}) {
      cells.push_back(Layout(*field).growing());
    }
    cells.emplace_back(bpin[row]);
  }
  setLayout(Layout::rows(
      {Layout::table({"Title", "Server", "User", "Password", "PIN"}, std::move(cells)), Command1}));
  setKeys(nullptr, &Command1);
}

void frmpop3::open() {
  if (!visible()) {
    filling_ = true;
    forEachField([this](platform::TextBox& field, const std::string& key, Blanks) {
      field.setText(settings_.ReadSetting(settings::kMain, key));
    });
    filling_ = false;
  }
  show();
}

void frmpop3::forEachField(const Visit& visit) {
  for (std::size_t row = 0; row < kRows; ++row) {
    const int number = static_cast<int>(row);
    visit(btitle[row], settings::keyOfRow(settings::kPop3Title, number), Blanks::kAllowed);
    visit(bcommand[row], settings::keyOfRow(settings::kPop3Server, number), Blanks::kAllowed);
    visit(buser[row], settings::keyOfRow(settings::kPop3User, number), Blanks::kRefused);
    visit(bpass[row], settings::keyOfRow(settings::kPop3Pass, number), Blanks::kRefused);
    visit(bpin[row], settings::keyOfRow(settings::kPop3Pin, number), Blanks::kRefused);
  }
}

void frmpop3::store(platform::TextBox& field, const std::string& key, Blanks blanks) {
  if (blanks == Blanks::kRefused && field.text().find(' ') != std::string::npos) {
    dialogs_.message("White space are not accepted", platform::MessageIcon::kExclamation, title());
    field.focus();
  }
  // kept: it is stored all the same. But what the file says already is not written back: it may be longer
  // than what is read of it.
  if (settings_.ReadSetting(settings::kMain, key) != field.text())
    settings_.WriteSetting(settings::kMain, key, field.text());
}

}  // namespace kova::pop3
