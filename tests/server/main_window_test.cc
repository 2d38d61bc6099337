// Start-up, the settings behind the fields, the owner's clicks, the log.

#include "server/main_window.h"
#include "server_fixture.h"

namespace kova::server {
namespace {

TEST_F(ServerTest, FirstStartWithoutASettingsFile) {
  profile.values.clear();
  open();
  bool pagingStarted = false;
  window->startPaging = [&] { pagingStarted = true; };
  window->load();
  EXPECT_EQ(window->editLocalPort.text(), "blank");
  EXPECT_EQ(window->txtimage.text(), "blank");
  EXPECT_EQ(window->editPageDirectory.text(), "/home/kova/");
  EXPECT_EQ(window->editMaxClients.text(), "10");
  EXPECT_EQ(window->Text1.text(), "73106482");
  EXPECT_EQ(window->Check1.value(), 0);
  EXPECT_EQ(window->paging_check.value(), 0);
  EXPECT_FALSE(window->listening());
  EXPECT_FALSE(pagingStarted);
  EXPECT_NE(loggedLike("The PIN code for adding items is still the default one"), "");
  // Only the detected address is written.
  EXPECT_EQ(profile.values.size(), 1U);
  EXPECT_EQ((profile.values[{"Main", "Local_Address"}]), "192.168.1.20");
}

TEST_F(ServerTest, TheDetectedAddressReplacesTheStoredOne) {
  profile.values[{"Main", "Local_Address"}] = "10.9.9.9";
  open();
  window->load();
  EXPECT_EQ(window->editLocalAddress.text(), "192.168.1.20");
  EXPECT_EQ((profile.values[{"Main", "Local_Address"}]), "192.168.1.20");
  EXPECT_EQ((profile.values[{"Main", "Local_Port"}]), "8081");
  EXPECT_TRUE(loggedLike("The PIN code").empty());
}

TEST_F(ServerTest, AutoStart) {
  profile.values[{"Main", "Auto_Start"}] = "1";
  profile.values[{"Main", "Auto_Start_Paging"}] = "1";
  open();
  int pagingStarts = 0;
  window->startPaging = [&] {
    EXPECT_TRUE(window->listening()) << "the server comes first";
    ++pagingStarts;
  };
  window->load();
  EXPECT_TRUE(window->listening());
  EXPECT_EQ(pagingStarts, 1);

  profile.values[{"Main", "Local_Port"}] = "0";
  open();
  window->load();
  EXPECT_FALSE(window->listening());
  EXPECT_EQ(dialogs.messages, std::vector<std::string>{"The specified port number is invalid"});
}

TEST_F(ServerTest, EveryEditIsASetting) {
  window->load();
  window->editLocalAddress.setText("10.0.0.1");
  window->editLocalPort.setText("82");
  window->editPageDirectory.setText("/srv/wap");
  window->Text1.setText("12 34");
  window->Check1.setValue(1);
  window->paging_check.setValue(1);
  const std::pair<const char*, const char*> expected[] = {
      {"Local_Address", "10.0.0.1"}, {"Local_Port", "82"}, {"WAP_Directory", "/srv/wap"},
      {"PIN_Code", "12 34"},         {"Auto_Start", "1"},  {"Auto_Start_Paging", "1"},
  };
  for (const auto& [key, value] : expected) EXPECT_EQ((profile.values[{"Main", key}]), value) << key;

  window->editPageDirectory.focus();
  EXPECT_TRUE(window->editPageDirectory.allSelected());
  window->editPageDirectory.leave();
  EXPECT_EQ(window->editPageDirectory.text(), "/srv/wap/");
  EXPECT_EQ((profile.values[{"Main", "WAP_Directory"}]), "/srv/wap/");
  window->editPageDirectory.focus();
  window->editPageDirectory.leave();
  EXPECT_EQ(window->editPageDirectory.text(), "/srv/wap/");
  window->editMaxClients.focus();
  EXPECT_TRUE(window->editMaxClients.allSelected());
}

TEST_F(ServerTest, AnEmptyPinStaysEmpty) {
  profile.values[{"Main", "PIN_Code"}] = "";
  open();
  window->load();
  EXPECT_EQ(window->Text1.text(), "");
}

TEST_F(ServerTest, Choosers) {
  window->load();
  window->Command1.click();
  EXPECT_EQ(dialogs.question, "Please select WAP Server home folder.");
  EXPECT_EQ(dialogs.present, "/home/kova/pages/") << "the owner begins where he is";
  dialogs.answerChoice("");
  EXPECT_EQ(window->editPageDirectory.text(), "/home/kova/pages/");
  window->Command1.click();
  dialogs.answerChoice("/srv/wap");
  EXPECT_EQ((profile.values[{"Main", "WAP_Directory"}]), "/srv/wap");

  window->Command4.click();
  EXPECT_EQ(dialogs.question, "Select File");
  std::string labels;
  for (const auto& filter : dialogs.filters) labels += filter.label + "=" + filter.pattern + ";";
  EXPECT_EQ(labels, "Jpeg Files (*.jpg)=*.jpg;BMP Files (*.bmp)=*.bmp;BMP Files (*.png)=*.png;");
  dialogs.answerChoice("");
  EXPECT_EQ((profile.values[{"Main", "image"}]), "blank");
  window->Command4.click();
  dialogs.answerChoice("/home/kova/me.jpg");
  EXPECT_EQ(window->txtimage.text(), "/home/kova/me.jpg");
  EXPECT_EQ((profile.values[{"Main", "image"}]), "/home/kova/me.jpg");
}

TEST_F(ServerTest, LocalAddressAndItsMessages) {
  struct Case {
    const char* name;
    std::function<void()> set;
    const char* address;
    const char* message;  // null: none
  };
  const Case cases[] = {
      {"plain", [] {}, "192.168.1.20", nullptr},
      {"loopback only",
       [this] {
         lookup.addresses = {"127.0.1.1"};
         lookup.defaultRoute = "10.1.1.1";
       },
       "10.1.1.1", nullptr},
      {"loopback and no route", [this] { lookup.addresses = {"127.0.1.1"}; }, "127.0.1.1", nullptr},
      {"loopback and more", [this] { lookup.addresses = {"127.0.1.1", "10.2.2.2"}; }, "127.0.1.1", nullptr},
      {"no host name", [this] { lookup.host = std::nullopt; }, "",
       "Windows Sockets error 11001 has occurred. Unable to successfully get Host Name."},
      {"no answer", [this] { lookup.addresses = {}; }, "",
       "Windows Sockets are not responding. Unable to successfully get Host Name."},
      {"no library", [this] { lookup.started = std::nullopt; }, "",
       "The 32-bit Windows Socket is not responding."},
      {"old library", [this] { lookup.started = platform::HostLookup::Library{1, 0, 9}; }, "",
       "Sockets version 1.0 is not supported by 32-bit Windows Sockets."},
      {"no sockets", [this] { lookup.started = platform::HostLookup::Library{2, 2, 0}; }, "",
       "This application requires a minimum of 1 supported sockets."},
      {"no clean-up", [this] { lookup.cleanUpWorks = false; }, "192.168.1.20",
       "Socket error occurred in Cleanup."},
  };
  for (const Case& c : cases) {
    lookup = {};
    dialogs.messages.clear();
    open();
    c.set();
    window->load();
    EXPECT_EQ(window->editLocalAddress.text(), c.address) << c.name;
    EXPECT_EQ(dialogs.messages, c.message ? std::vector<std::string>{c.message} : std::vector<std::string>{})
        << c.name;
  }
}

TEST_F(ServerTest, LogBoxKeepsItsNewestCharacters) {
  window->load();
  std::string all;
  window->log.onLine = [&](std::string_view line) { all += line; };
  window->cmdClearLog.click();
  for (int i = 0; i < 3000; ++i) {
    // The euro sign is one character of three bytes.
    window->log.LogLine("line " + std::to_string(i) + " \xE2\x82\xAC");
    const std::string_view box = window->txtLogError.text();
    ASSERT_TRUE(all.ends_with(box));
    const auto characters = std::count_if(box.begin(), box.end(), [](char c) { return (c & 0xC0) != 0x80; });
    ASSERT_EQ(characters, std::min<std::ptrdiff_t>(16000, std::count_if(all.begin(), all.end(), [](char c) {
                                                     return (c & 0xC0) != 0x80;
                                                   })));
    if (all.size() > 100000) break;
  }
}

TEST_F(ServerTest, ButtonsShowTheirWindows) {
  std::string shown;
  window->Command2.click();  // nobody is there to show one
  window->showPaging = [&] { shown += "paging "; };
  window->showLaunch = [&] { shown += "launch "; };
  window->showPop3 = [&] { shown += "pop3 "; };
  window->showAbout = [&] { shown += "about "; };
  for (platform::Button* button : {&window->pager, &window->Command2, &window->Command5, &window->Command3}) {
    button->click();
  }
  EXPECT_EQ(shown, "paging launch pop3 about ");
}

TEST_F(ServerTest, TraceWindowSetsTheListenersTrace) {
  start();
  window->log.LogLine("no trace file yet");
  EXPECT_TRUE(files.count() == 0);

  window->mnuTrace.click();
  EXPECT_TRUE(window->traceWindow.visible() && window->traceWindow.modal());
  const auto fill = [this] {
    window->traceWindow.txtTraceFile.setText("/tmp/trace.log");
    window->traceWindow.chooseLevel(4);
    window->traceWindow.chkEnableTracing.setValue(1);
  };
  fill();
  window->traceWindow.cmdCancel.click();
  EXPECT_FALSE(window->traceWindow.visible());
  EXPECT_TRUE(listener().trace().file.empty());

  window->mnuTrace.click();
  EXPECT_EQ(window->traceWindow.txtTraceFile.text(), "") << "shows what is in force, not what was cancelled";
  fill();
  window->traceWindow.cmdOK.click();
  EXPECT_FALSE(window->traceWindow.visible());
  EXPECT_EQ(listener().trace().file, "/tmp/trace.log");
  EXPECT_EQ(listener().trace().level, 4);
  EXPECT_TRUE(listener().trace().enabled);
  clock.now = {2004, 3, 17, 14, 5, 9};
  window->log.LogLine("hello");
  EXPECT_EQ(files.contents("/tmp/trace.log"), "tarvel_wapd APP: 04-03-17 14:05:09 hello\r\n");
}

}  // namespace
}  // namespace kova::server
