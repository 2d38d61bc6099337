#include <gtest/gtest.h>

#include <string>

#include "desktop/desktop_fixture.h"

namespace kova::desktop {
namespace {

class SetUpWindows : public DesktopTest {
 protected:
  void open(const std::string& button, const std::string& window) {
    start();
    click("frmMain", button);
    ASSERT_TRUE(comes([&] { return opened(window); }));
  }
  void fillAndExpect(const std::string& window, const std::string& field, const std::string& text,
                     const std::string& section, const std::string& key) {
    fill(window, field, text);
    EXPECT_TRUE(comes([&] { return setting(section, key) == text; })) << key << ": " << setting(section, key);
  }
};

TEST_F(SetUpWindows, CommandsOfTheLaunchCenter) {
  open("Command2", "frmlaunch");
  for (const int row : {0, 7}) {
    const std::string n = std::to_string(row);
    EXPECT_EQ("blank", onWindows([&] { return textOf("frmlaunch", "btitle" + n); }));
    fillAndExpect("frmlaunch", "btitle" + n, "Lock", "Main", "CMD_Title_" + n);
    fillAndExpect("frmlaunch", "bcommand" + n, "/bin/true -x", "Main", "CMD_Command_" + n);
    fillAndExpect("frmlaunch", "bpin" + n, "4815", "Main", "CMD_PIN_" + n);
  }
  fillAndExpect("frmlaunch", "bcommand1", "/no/such/program", "Main", "CMD_Command_1");
  key("Tab");
  answer("File does not exist: /no/such/program");
  EXPECT_EQ("/no/such/program", setting("Main", "CMD_Command_1"));
  click("frmlaunch", "Command1");
  EXPECT_TRUE(comes([] { return !find("frmlaunch")->IsShown(); }));
}

TEST_F(SetUpWindows, AccountsAndAPinWithABlank) {
  open("Command5", "frmpop3");
  fillAndExpect("frmpop3", "btitle0", "Office", "Main", "POP3_Title_0");
  fillAndExpect("frmpop3", "bcommand0", "mail.example.org", "Main", "POP3_Server_0");
  fillAndExpect("frmpop3", "buser0", "you", "Main", "POP3_User_0");
  fillAndExpect("frmpop3", "bpass0", "secret", "Main", "POP3_Pass_0");

  const std::string refused = "White space are not accepted";
  fill("frmpop3", "bpin0", "1 ");
  answer(refused);
  EXPECT_TRUE(comes([] { return focus() == "frmpop3.bpin0"; }));
  EXPECT_EQ("1 ", setting("Main", "POP3_PIN_0"));
  // Who goes on without mending it is told once more, and is back where he was.
  key("Tab");
  answer(refused);
  EXPECT_TRUE(comes([] { return opened("frmpop3") && focus() == "frmpop3.bpin0"; }));
  EXPECT_EQ("", onWindows([this] { return box(); }));

  key("ctrl+a");
  type("4815");
  EXPECT_TRUE(comes([this] { return setting("Main", "POP3_PIN_0") == "4815"; }));
  key("Tab");
  EXPECT_TRUE(comes([] { return focus() == "frmpop3.btitle1"; }));
}

TEST_F(SetUpWindows, PagingServer) {
  open("pager", "Form2");
  EXPECT_EQ("blank", onWindows([] { return textOf("Form2", "list1"); }));
  for (const auto& [field, key] : {std::pair{"txtfrom", "From"},
                                   {"txtto", "To"},
                                   {"txtsubject", "Subject"},
                                   {"txtsmtpserver", "SMTP_Server"}}) {
    fillAndExpect("Form2", field, "me@example.org", "Pager", key);
  }
  fillAndExpect("Form2", "list1", "15", "Pager", "Check_Interval");
  fillAndExpect("Form2", "Combo1", "07:30", "Pager", "Daily_Mail_Time");
  for (const auto& [box, key] : {std::pair{"Check1", "Screen_Saver_Only"},
                                 {"Check2", "Send_Task"},
                                 {"Check3", "Send_Schedule"},
                                 {"Check4", "Week_Ends"}}) {
    click("Form2", box);
    EXPECT_TRUE(comes([&] { return setting("Pager", key) == "1"; })) << key;
  }
  for (const auto& [option, value] : {std::pair{"mail_format0", "0"}, {"mail_format1", "1"}}) {
    click("Form2", option);
    EXPECT_TRUE(comes([&] { return setting("Pager", "Email_Format") == value; })) << value;
  }

  fill("Form2", "Combo1", "soon");
  key("Tab");
  answer("Invalid time format.");
  EXPECT_TRUE(comes([] { return opened("Form2") && focus() == "Form2.Combo1"; }));
  EXPECT_EQ("07:30", setting("Pager", "Daily_Mail_Time"));
  EXPECT_EQ("", onWindows([this] { return box(); }));
  fill("Form2", "Combo1", "08:00");

  key("alt+s");
  EXPECT_TRUE(comes([] {
    return captionOf("Form2", "Command2") == "&Stop Timer" &&
           captionOf("Form2", "Labelstat") == "Waiting for next interval (in 15 minutes)";
  }));
  onWindows([] {
    for (const char* control : {"Frame1", "txtfrom", "list1", "Check1", "Frame3", "Combo1", "Check4",
                                "mail_format0", "cmdchecknow", "Command1"}) {
      EXPECT_FALSE(enabled("Form2", control)) << control;
    }
    EXPECT_TRUE(enabled("Form2", "Command2"));
  });
  key("alt+s");
  EXPECT_TRUE(comes([] {
    return captionOf("Form2", "Labelstat") == "Stopped" && enabled("Form2", "txtfrom") &&
           enabled("Form2", "Command1");
  }));
  key("alt+q");
  EXPECT_TRUE(comes([] { return !find("Form2")->IsShown(); }));
}

TEST_F(SetUpWindows, TracingOptions) {
  start();
  key("alt+t Return");
  ASSERT_TRUE(comes([] { return opened("frmTrace"); }));
  EXPECT_FALSE(onWindows([] { return enabled("frmMain", "cmdListen"); }));
  click("frmTrace", "OptLevel4");
  click("frmTrace", "chkEnableTracing");
  fill("frmTrace", "txtTraceFile", home_ + "/trace.txt");
  key("Return");
  ASSERT_TRUE(comes([] { return !find("frmTrace")->IsShown() && enabled("frmMain", "cmdListen"); }));
  onWindows([this] {
    const server::TraceOptions options = program_->window().traceWindow.TraceParams();
    EXPECT_TRUE(options.enabled);
    EXPECT_EQ(home_ + "/trace.txt", options.file);
    EXPECT_EQ(4, options.level);
  });
}

}  // namespace
}  // namespace kova::desktop
