#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "desktop/desktop_fixture.h"

namespace kova::desktop {
namespace {

constexpr const char* kGet = "GET / HTTP/1.1\r\nHost: a\r\nAccept: text/vnd.wap.wml\r\n\r\n";

class MainWindow : public DesktopTest {
 protected:
  int port() {
    return onWindows([] { return std::stoi(textOf("frmMain", "editLocalPort")); });
  }
  void startServer() {
    click("frmMain", "cmdListen");
    ASSERT_TRUE(comes([] { return captionOf("frmMain", "cmdListen") == "Stop WAP Server"; }));
  }
};

TEST_F(MainWindow, FirstStartWithoutSettings) {
  start();
  EXPECT_TRUE(comes([] { return focus() == "frmMain.editLocalAddress"; }));
  onWindows([this] {
    const struct {
      const char* control;
      std::string text;
    } fields[] = {{"editLocalAddress", program_->window().editLocalAddress.text()},
                  {"editLocalPort", "blank"},
                  {"editMaxClients", "10"},
                  {"editPageDirectory", home_ + "/"},
                  {"txtimage", "blank"},
                  {"Text1", std::string(server::frmMain::kDefaultPinCode)}};
    for (const auto& field : fields) EXPECT_EQ(field.text, textOf("frmMain", field.control)) << field.control;
    const struct {
      const char* control;
      const char* caption;
    } words[] = {{"Frame1", "WAP Server Set-up:"},
                 {"Command1", "Choose..."},
                 {"Command4", "Choose..."},
                 {"Check1", "Start WAP Server when KOVA is launched:"},
                 {"paging_check", "Start paging server when KOVA is launched:"},
                 {"cmdListen", "Start WAP Server"},
                 {"cmdDisconnect", "Disconnect"},
                 {"cmdClearLog", "Clear Window"},
                 {"pager", "&Paging server..."},
                 {"Command2", "&Launch module..."},
                 {"Command5", "&POP3 module..."},
                 {"Command3", "&About..."}};
    for (const auto& each : words) EXPECT_EQ(each.caption, captionOf("frmMain", each.control));
  });
  EXPECT_TRUE(comes([] {
    return !enabled("frmMain", "cmdDisconnect") &&
           titleOf("frmMain") == "Tarvel Wap Server [Pause] [0 Clients]";
  }));
  EXPECT_TRUE(comes([] { return textOf("frmMain", "txtLogError").find("PIN code") != std::string::npos; }));
}

TEST_F(MainWindow, EveryFieldWritesItsKeyAtOnce) {
  start();
  const struct {
    const char* field;
    const char* key;
    const char* text;
  } fields[] = {{"editLocalAddress", "Local_Address", "127.0.0.2"},
                {"editLocalPort", "Local_Port", "8082"},
                {"editPageDirectory", "WAP_Directory", "/tmp/pages"},
                {"Text1", "PIN_Code", "24681357"}};
  for (const auto& each : fields) {
    fill("frmMain", each.field, each.text);
    EXPECT_TRUE(comes([&] { return setting("Main", each.key) == each.text; })) << each.key;
  }
  // A folder that is left gets its separator.
  EXPECT_EQ("/tmp/pages/", setting("Main", "WAP_Directory"));
  for (const auto& [box, key] : {std::pair{"Check1", "Auto_Start"}, {"paging_check", "Auto_Start_Paging"}}) {
    for (const char* value : {"1", "0"}) {
      click("frmMain", box);
      EXPECT_TRUE(comes([&] { return setting("Main", key) == value; })) << key;
    }
  }
}

TEST_F(MainWindow, WrongFieldsAreNamedAndGetTheFocus) {
  startWithPages();
  const BusyPort busy;
  const struct {
    const char* field;
    std::string wrong;
    std::string message;
    std::string right;
    bool focused;
  } cases[] = {
      {"editMaxClients", "1000", "The specified maximum number of clients is invalid", "10", true},
      {"editLocalPort", "0", "The specified port number is invalid", "8082", true},
      {"editLocalPort", "65536", "The specified port number is invalid", "8082", true},
      {"editLocalPort", std::to_string(busy.number()),
       "Another application is already listening on this port", "8082", false},
  };
  for (const auto& each : cases) {
    fill("frmMain", each.field, each.wrong);
    click("frmMain", "cmdListen");
    answer(each.message);
    if (each.focused) {
      EXPECT_TRUE(comes([&] { return focus() == std::string("frmMain.") + each.field; })) << each.wrong;
    }
    EXPECT_EQ("Start WAP Server", onWindows([] { return captionOf("frmMain", "cmdListen"); }));
    fill("frmMain", each.field, each.right);
  }
  // What has the focus by a message is selected: the owner only types.
  fill("frmMain", "editMaxClients", "1000");
  click("frmMain", "cmdListen");
  answer("The specified maximum number of clients is invalid");
  EXPECT_TRUE(comes([] { return focus() == "frmMain.editMaxClients"; }));
  type("9");
  EXPECT_TRUE(comes([] { return textOf("frmMain", "editMaxClients") == "9"; }));
}

TEST_F(MainWindow, AddressOfAnotherMachineIsCorrected) {
  start("[Main]\r\nLocal_Port=8082\r\n");
  const std::string detected = onWindows([this] { return program_->window().editLocalAddress.text(); });
  if (detected.empty()) GTEST_SKIP() << "this machine's name leads nowhere";
  fill("frmMain", "editLocalAddress", "192.0.2.1");
  click("frmMain", "cmdListen");
  answer("IP address not used by this PC.   Detected IP address is:" + detected);
  EXPECT_TRUE(comes([&] { return textOf("frmMain", "editLocalAddress") == detected; }));
}

TEST_F(MainWindow, StartsServesAndStops) {
  startWithPages();
  startServer();
  onWindows([] {
    for (const char* control : {"editLocalAddress", "editLocalPort", "editMaxClients", "editPageDirectory",
                                "Command1", "Command2", "Command4", "Command5", "Text1", "Check1"}) {
      EXPECT_FALSE(enabled("frmMain", control)) << control;
    }
    for (const char* control : {"cmdListen", "pager", "Command3", "cmdClearLog"}) {
      EXPECT_TRUE(enabled("frmMain", control)) << control;
    }
    EXPECT_EQ("Tarvel Wap Server [0 Clients]", titleOf("frmMain"));
  });
  const Phone phone(port());
  EXPECT_TRUE(comes([] {
    return enabled("frmMain", "cmdDisconnect") && titleOf("frmMain") == "Tarvel Wap Server [1 Clients]";
  }));
  phone.send(kGet);
  EXPECT_NE(std::string::npos, phone.rest().find("Good morning"));
  EXPECT_TRUE(comes([] {
    return textOf("frmMain", "txtLogError").ends_with("Finished sending data\n") &&
           !enabled("frmMain", "cmdDisconnect");
  }));
  click("frmMain", "cmdClearLog");
  EXPECT_TRUE(comes([] { return textOf("frmMain", "txtLogError").empty(); }));

  click("frmMain", "cmdListen");
  EXPECT_TRUE(comes([] {
    return captionOf("frmMain", "cmdListen") == "Start WAP Server" && enabled("frmMain", "editLocalPort") &&
           titleOf("frmMain") == "Tarvel Wap Server [Pause] [0 Clients]";
  }));
}

TEST_F(MainWindow, DisconnectAsksFirst) {
  startWithPages();
  startServer();
  const Phone phone(port());
  const std::string question = "Are you sure you want to disconnect all clients?";
  click("frmMain", "cmdDisconnect");
  answer(question, "alt+n");
  phone.send("GET / HTTP/1.1\r\n");
  EXPECT_TRUE(comes([] { return enabled("frmMain", "cmdDisconnect"); }));
  click("frmMain", "cmdDisconnect");
  answer(question, "alt+y");
  EXPECT_EQ("", phone.rest());
  EXPECT_TRUE(comes([] { return !enabled("frmMain", "cmdDisconnect"); }));
}

TEST_F(MainWindow, PhoneIsServedWhileABoxStands) {
  startWithPages();
  startServer();
  const Phone waiting(port());
  click("frmMain", "cmdDisconnect");
  ASSERT_TRUE(comes([this] { return !box().empty(); }));
  for (int i = 0; i < 3; ++i) {
    const Phone phone(port());
    phone.send(kGet);
    EXPECT_NE(std::string::npos, phone.rest().find("Good morning"));
  }
  EXPECT_FALSE(onWindows([this] { return box(); }).empty());
}

TEST_F(MainWindow, ImageIsChosen) {
  std::ofstream(home_ + "/ME.JPG") << "a camera's name";
  start();
  click("frmMain", "Command4");
  chooseFile(home_ + "/ME.JPG");
  EXPECT_TRUE(comes([this] { return textOf("frmMain", "txtimage") == home_ + "/ME.JPG"; }));
  EXPECT_EQ(home_ + "/ME.JPG", setting("Main", "image"));
}

TEST_F(MainWindow, TabGoesFromTopToBottom) {
  start();
  ASSERT_TRUE(comes([] { return focus() == "frmMain.editLocalAddress"; }));
  for (const char* next : {"editLocalPort", "editMaxClients", "editPageDirectory", "Command1", "txtimage",
                           "Command4", "Text1", "Check1", "paging_check", "cmdListen", "txtLogError",
                           "cmdClearLog", "pager", "Command2", "Command5", "Command3", "editLocalAddress"}) {
    key("Tab");
    EXPECT_TRUE(comes([&] { return focus() == std::string("frmMain.") + next; }))
        << "expected: " << next << ", there is: " << onWindows(focus);
  }
}

TEST_F(MainWindow, EverythingOpensAndClosesByKeyboard) {
  start();
  const struct {
    const char* keys;
    const char* window;
  } cases[] = {{"alt+l", "frmlaunch"},
               {"alt+a", "frmAbout"},
               {"alt+t Return", "frmTrace"},
               {"alt+t Down Return", "frmPicture"},
               {"alt+t Down Down Return", "formtelnet"}};
  for (const auto& each : cases) {
    ASSERT_TRUE(comes([] { return opened("frmMain"); })) << each.window;
    key(each.keys);
    ASSERT_TRUE(comes([&] { return opened(each.window); })) << each.window;
    key("Escape");
    ASSERT_TRUE(comes([&] { return !find(each.window)->IsShown(); })) << each.window;
  }
}

TEST_F(MainWindow, ClosingItEndsTheProgramInTheMiddleOfARequest) {
  startWithPages();
  startServer();
  const Phone phone(port());
  phone.send("GET / HTTP/1.1\r\n");
  EXPECT_TRUE(comes([] { return enabled("frmMain", "cmdDisconnect"); }));
  key("alt+F4");
  EXPECT_TRUE(comes([this] { return ended_.load(); }));
  onWindows([this] { program_->unload(); });
  EXPECT_EQ("", phone.rest());
}

}  // namespace
}  // namespace kova::desktop
