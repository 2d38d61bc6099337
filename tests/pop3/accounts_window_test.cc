#include "pop3/accounts_window.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fakes/fake_dialogs.h"
#include "fakes/fake_profile_file.h"

namespace kova::pop3 {
namespace {

using Strings = std::vector<std::string>;

class AccountsWindowTest : public ::testing::Test {
 protected:
  std::string setting(const std::string& key) const {
    const auto found = profile.values.find({"Main", key});
    return found == profile.values.end() ? "(none)" : found->second;
  }
  void set(const std::string& key, const std::string& value) { profile.values[{"Main", key}] = value; }

  fakes::FakeProfileFile profile;
  fakes::FakeDialogs dialogs;
  settings::Settings settings{"/home/kova", profile, '/'};
  frmpop3 window{settings, dialogs};
};

TEST_F(AccountsWindowTest, OpensWithTheSettingsAndWritesNothing) {
  set("POP3_Title_0", "Work");
  set("POP3_User_0", "with blank");
  set("POP3_Pass_7", std::string(300, 'x'));
  set("POP3_PIN_7", "");
  const auto before = profile.values;
  window.open();
  EXPECT_TRUE(window.visible());
  EXPECT_EQ(window.btitle[0].text(), "Work");
  EXPECT_EQ(window.bcommand[0].text(), "blank");
  EXPECT_EQ(window.buser[0].text(), "with blank");
  EXPECT_EQ(window.bpass[7].text(), std::string(254, 'x'));
  EXPECT_EQ(window.bpin[7].text(), "");
  EXPECT_EQ(profile.values, before);
  EXPECT_EQ(dialogs.messages, Strings{});
}

TEST_F(AccountsWindowTest, EveryEditIsWrittenAtOnce) {
  window.open();
  for (std::size_t row = 0; row < frmpop3::kRows; ++row) {
    const std::string n = std::to_string(row);
    window.btitle[row].setText("title " + n);
    window.bcommand[row].setText("server " + n);
    window.buser[row].setText("user" + n);
    window.bpass[row].setText("pass" + n);
    window.bpin[row].setText("pin" + n);
    EXPECT_EQ(setting("POP3_Title_" + n), "title " + n);
    EXPECT_EQ(setting("POP3_Server_" + n), "server " + n);
    EXPECT_EQ(setting("POP3_User_" + n), "user" + n);
    EXPECT_EQ(setting("POP3_Pass_" + n), "pass" + n);
    EXPECT_EQ(setting("POP3_PIN_" + n), "pin" + n);
  }
  EXPECT_EQ(profile.values.size(), 5 * frmpop3::kRows);
  EXPECT_EQ(dialogs.messages, Strings{});
}

TEST_F(AccountsWindowTest, FieldThatIsLeftIsWritten) {
  window.open();
  window.bcommand[1].focus();
  window.bcommand[1].setText("mail.test");
  set("POP3_Server_1", "changed by hand");
  window.bcommand[1].leave();
  EXPECT_EQ(setting("POP3_Server_1"), "mail.test");
}

TEST_F(AccountsWindowTest, BlanksAreRefusedInWordsOnly) {
  const std::string message = "White space are not accepted";
  window.open();
  for (platform::TextBox* field : {&window.buser[2], &window.bpass[2], &window.bpin[2]}) {
    dialogs.messages.clear();
    field->setText("a b");
    EXPECT_EQ(dialogs.messages, Strings{message});
    EXPECT_TRUE(field->focused());
    field->leave();
    EXPECT_EQ(dialogs.messages, (Strings{message, message}));
    EXPECT_TRUE(field->focused());
    field->setText("ab");
    field->leave();
    EXPECT_EQ(dialogs.messages.size(), 2U);
    EXPECT_FALSE(field->focused());
    field->setText("a b");
  }
  EXPECT_EQ(setting("POP3_User_2"), "a b");
  EXPECT_EQ(setting("POP3_Pass_2"), "a b");
  EXPECT_EQ(setting("POP3_PIN_2"), "a b");
}

TEST_F(AccountsWindowTest, ClosedWindowReadsTheSettingsAnew) {
  window.open();
  set("POP3_Title_1", "changed by hand");
  window.open();  // it is open: what the owner has typed stays
  EXPECT_EQ(window.btitle[1].text(), "blank");
  window.Command1.click();
  EXPECT_FALSE(window.visible());
  window.open();
  EXPECT_EQ(window.btitle[1].text(), "changed by hand");
}

}  // namespace
}  // namespace kova::pop3
