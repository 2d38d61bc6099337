#include "launch/launch_window.h"

#include <vector>

#include "fakes/fake_dialogs.h"
#include "launch_fixture.h"

namespace kova::launch {
namespace {

using Strings = std::vector<std::string>;

class LaunchWindowTest : public LaunchTest {
 protected:
  /// The owner types a command and goes on to another field.
  void typeCommand(const std::string& text) {
    window.bcommand[2].focus();
    window.bcommand[2].setText(text);
    window.bcommand[2].leave();
  }

  fakes::FakeDialogs dialogs;
  frmlaunch window{settings, dialogs, processes};
};

TEST_F(LaunchWindowTest, OpensWithTheSettingsAndWritesNothing) {
  set("CMD_Title_0", "Lamp");
  set("CMD_Command_7", std::string(300, 'x'));
  set("CMD_PIN_7", "");
  const auto before = profile.values;
  window.open();
  EXPECT_TRUE(window.visible());
  EXPECT_EQ(window.btitle[0].text(), "Lamp");
  EXPECT_EQ(window.bcommand[0].text(), "blank");
  EXPECT_EQ(window.bpin[0].text(), "blank");
  EXPECT_EQ(window.bcommand[7].text(), std::string(254, 'x'));
  EXPECT_EQ(window.bpin[7].text(), "");
  EXPECT_EQ(profile.values, before);
}

TEST_F(LaunchWindowTest, EveryEditIsWrittenAtOnce) {
  window.open();
  for (std::size_t row = 0; row < frmlaunch::kRows; ++row) {
    const std::string n = std::to_string(row);
    window.btitle[row].setText("title " + n);
    window.bcommand[row].setText("command " + n);
    window.bpin[row].setText("pin " + n);
    EXPECT_EQ(window.btitle[row].name(), "btitle" + n);
    EXPECT_EQ(setting("CMD_Title_" + n), "title " + n);
    EXPECT_EQ(setting("CMD_Command_" + n), "command " + n);
    EXPECT_EQ(setting("CMD_PIN_" + n), "pin " + n);
  }
  EXPECT_EQ(profile.values.size(), 3 * frmlaunch::kRows);
  EXPECT_EQ(dialogs.messages, Strings{});
}

TEST_F(LaunchWindowTest, LeavingTheCommandLooksForItsProgram) {
  processes.existing = {"/usr/bin/lamp"};
  window.open();
  struct Case {
    const char* typed;
    const char* message;  // null: none
  };
  const Case cases[] = {
      {"/usr/bin/lamp", nullptr},
      {"  /usr/bin/lamp on --now ", nullptr},
      {"/usr/bin/lam", "File does not exist: /usr/bin/lam"},
      {"  /usr/bin/nolamp on ", "File does not exist: /usr/bin/nolamp on"},
      {"", nullptr},
      {"   ", nullptr},
      {" blank ", nullptr},
      {"/my programs/lamp on", "File does not exist: /my programs/lamp on"},  // kept: blank in the path
  };
  for (const Case& c : cases) {
    dialogs.messages.clear();
    typeCommand(c.typed);
    EXPECT_EQ(dialogs.messages, c.message ? Strings{c.message} : Strings{}) << c.typed;
    EXPECT_EQ(setting("CMD_Command_2"), c.typed);
    EXPECT_EQ(window.bcommand[2].text(), c.typed);
  }
  // What stands in the field is stored once more, unless the file says it already.
  window.bcommand[2].setText("/usr/bin/lamp on");
  window.bcommand[2].focus();
  set("CMD_Command_2", "of somebody else");
  window.bcommand[2].leave();
  EXPECT_EQ(setting("CMD_Command_2"), "/usr/bin/lamp on");
  set("CMD_Command_2", "/usr/bin/lamp on" + std::string(300, ' ') + "x");
  window.close();
  window.open();
  window.bcommand[2].focus();
  window.bcommand[2].leave();
  EXPECT_EQ(setting("CMD_Command_2").size(), 317U) << "longer than what is read of it";
}

TEST_F(LaunchWindowTest, ClosedWindowReadsTheSettingsAnew) {
  window.open();
  set("CMD_Title_1", "changed by hand");
  window.open();  // it is open: what the owner has typed stays
  EXPECT_EQ(window.btitle[1].text(), "blank");
  window.Command1.click();
  EXPECT_FALSE(window.visible());
  window.open();
  EXPECT_EQ(window.btitle[1].text(), "changed by hand");
}

}  // namespace
}  // namespace kova::launch
