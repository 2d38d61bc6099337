// Pictures of the windows, for the documentation: kept in the folder that KOVA_PICTURES names.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "desktop/desktop_fixture.h"

namespace kova::desktop {
namespace {

class Pictures : public DesktopTest {
 protected:
  void take(const std::string& window) {
    ASSERT_TRUE(comes([&] { return opened(window); })) << window;
    const wxRect place = onWindows([&] { return find(window)->GetScreenRect(); });
    const std::string file = folder_ + "/window-" + window + ".png";
    const std::string command = "import -window root -crop " + std::to_string(place.width) + "x" +
                                std::to_string(place.height) + "+" + std::to_string(place.x) + "+" +
                                std::to_string(place.y) + " +repage '" + file + "'";
    // What is to be shown is shown within a second.
    EXPECT_EQ(0, std::system(("sleep 1.2; " + command).c_str()));
  }

  std::string folder_ = std::getenv("KOVA_PICTURES") ? std::getenv("KOVA_PICTURES") : "";
};

TEST_F(Pictures, OfEveryWindow) {
  if (folder_.empty()) GTEST_SKIP() << "KOVA_PICTURES is not set";
  const std::string source = KOVA_SOURCE_FOLDER;
  std::filesystem::copy(source + "/pages", home_ + "/pages");
  startWithPages(
      "WAP_Directory=" + home_ + "/pages/\r\nimage=" + home_ +
      "/pages/kova.png\r\nPIN_Code=24681357\r\n"
      "CMD_Title_0=Lock the screen\r\nCMD_Command_0=/usr/bin/loginctl lock-sessions\r\nCMD_PIN_0=48152342\r\n"
      "CMD_Title_1=Write the time\r\nCMD_Command_1=./write-time.sh\r\n"
      "POP3_Title_0=Office\r\nPOP3_Server_0=mail.example.org\r\nPOP3_User_0=you\r\nPOP3_Pass_0=secret\r\n"
      "POP3_PIN_0=16234208\r\n[Pager]\r\nSMTP_Server=mail.example.org\r\nFrom=kova@example.org\r\n"
      "To=5551234@pager.example.org\r\nSubject=Reminder\r\nCheck_Interval=10\r\nSend_Schedule=1\r\n"
      "Send_Task=1\r\nDaily_Mail_Time=07:30\r\nWeek_Ends=1\r\nEmail_Format=1\r\n");
  onWindows([this] {
    // Wherever this runs, the pictures are the same.
    program_->window().editPageDirectory.setText("/home/you/.local/share/kova-wap/pages/");
    program_->window().txtimage.setText("/home/you/.local/share/kova-wap/pages/kova.png");
    program_->window().editLocalPort.setText("8081");
    program_->window().editPageDirectory.setText(home_ + "/pages/");
  });
  click("frmMain", "cmdListen");
  ASSERT_TRUE(comes([] { return captionOf("frmMain", "cmdListen") == "Stop WAP Server"; }));
  for (const char* path : {"/index.wml", "/kova.png", "/oabt"}) {
    const Phone phone(8081);
    phone.send(std::string("GET ") + path +
               " HTTP/1.1\r\nHost: a\r\nAccept: text/vnd.wap.wml, image/png\r\n\r\n");
    EXPECT_NE("", phone.rest());
  }
  onWindows(
      [this] { program_->window().editPageDirectory.setText("/home/you/.local/share/kova-wap/pages/"); });
  take("frmMain");
  click("frmMain", "cmdListen");

  const auto see = [this](const char* keys, const char* window) {
    ASSERT_TRUE(comes([] { return opened("frmMain"); }));
    key(keys);
    take(window);
    key("Escape");
    ASSERT_TRUE(comes([&] { return !find(window)->IsShown(); })) << window;
  };
  ASSERT_TRUE(comes([] { return enabled("frmMain", "Command2"); }));
  see("alt+l", "frmlaunch");
  see("alt+a", "frmAbout");
  see("alt+t Return", "frmTrace");
  see("alt+t Down Down Return", "formtelnet");
  onWindows([this] { program_->window().Command5.click(); });
  take("frmpop3");
  key("Escape");
  ASSERT_TRUE(comes([] { return opened("frmMain"); }));
  key("alt+t Down Return");
  ASSERT_TRUE(comes([] { return opened("frmPicture"); }));
  click("frmPicture", "cmdOpen");
  chooseFile(home_ + "/pages/kova.png");
  take("frmPicture");
  key("Escape");
  onWindows([this] { program_->window().pager.click(); });
  take("Form2");
}

}  // namespace
}  // namespace kova::desktop
