// Starting and stopping, slots, the client limit, dropping clients.

#include "server/slots.h"
#include "server_fixture.h"

namespace kova::server {
namespace {

TEST_F(ServerTest, ListensWithTheFieldsAndTogglesTheWindow) {
  window->load();
  EXPECT_EQ(window->title(), "Tarvel Wap Server [Pause] [0 Clients]");
  EXPECT_EQ(window->cmdListen.caption(), "Start WAP Server");
  window->editLocalAddress.setText(" 10.1.2.3 ");
  window->cmdListen.click();
  EXPECT_EQ(listener().localAddress, "10.1.2.3");
  EXPECT_EQ(listener().localPort, 8081);
  EXPECT_TRUE(listener().reuseAddress);
  EXPECT_TRUE(listener().noDelay);
  EXPECT_EQ(window->title(), "Tarvel Wap Server [0 Clients]");
  EXPECT_EQ(window->cmdListen.caption(), "Stop WAP Server");
  for (const platform::Control* control : std::initializer_list<const platform::Control*>{
           &window->editLocalAddress, &window->editLocalPort, &window->editMaxClients,
           &window->editPageDirectory, &window->Frame1, &window->Command1, &window->Command2,
           &window->Command4, &window->Command5}) {
    EXPECT_FALSE(control->enabled()) << control->name();
  }
  EXPECT_TRUE(window->Command3.enabled());

  connect(100);
  window->cmdListen.click();
  EXPECT_FALSE(window->listening());
  EXPECT_TRUE(slot(1).connected()) << "clients stay when the listener stops";
  EXPECT_EQ(window->title(), "Tarvel Wap Server [Pause] [1 Clients]");
  EXPECT_TRUE(window->editLocalPort.enabled());
}

TEST_F(ServerTest, RefusesBadFields) {
  struct Case {
    const char* clients;
    const char* port;
    const char* message;  // null: listens
    int passedPort;
  };
  const std::string badClients = "The specified maximum number of clients is invalid";
  const std::string badPort = "The specified port number is invalid";
  const Case cases[] = {
      {"-1", "80", badClients.c_str(), 0},
      {"1000", "80", badClients.c_str(), 0},
      {"99999", "80", badClients.c_str(), 0},
      {"999", "80", nullptr, 80},
      {"abc", "80", nullptr, 80},
      {"5", "0", badPort.c_str(), 0},
      {"5", "65536", badPort.c_str(), 0},
      {"5", "blank", badPort.c_str(), 0},
      {"5", "65535", nullptr, -1},
      {"5", " 40000 ", nullptr, -25536},
      {"5", "99999999999999999999", badPort.c_str(), 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.clients) + " clients, port " + c.port);
    open();
    dialogs.messages.clear();
    window->load();
    window->editMaxClients.setText(c.clients);
    window->editLocalPort.setText(c.port);
    window->cmdListen.click();
    EXPECT_EQ(window->listening(), c.message == nullptr);
    if (c.message) {
      ASSERT_EQ(dialogs.messages.size(), 1U);
      EXPECT_EQ(dialogs.messages[0], c.message);
      EXPECT_EQ(window->editMaxClients.focused(), badClients == c.message);
      EXPECT_EQ(window->editLocalPort.focused(), badPort == c.message);
      EXPECT_EQ(listener().listens, 0);
    } else {
      EXPECT_EQ(listener().localPort, c.passedPort);
    }
  }
}

TEST_F(ServerTest, ExplainsWhyListeningFailed) {
  struct Case {
    int error;
    const char* message;
    const char* address;
  };
  const Case cases[] = {
      {24048, "Another application is already listening on this port", "1.2.3.4"},
      {24049, "IP address not used by this PC.   Detected IP address is:192.168.1.20", "192.168.1.20"},
      {24013, "An unexpected error occurred (Error 24013)", "1.2.3.4"},
  };
  for (const Case& c : cases) {
    open();
    dialogs.messages.clear();
    window->load();
    window->editLocalAddress.setText("1.2.3.4");
    listener().listenError = c.error;
    window->cmdListen.click();
    ASSERT_EQ(dialogs.messages.size(), 1U);
    EXPECT_EQ(dialogs.messages[0], c.message);
    EXPECT_EQ(window->editLocalAddress.text(), c.address);
    EXPECT_FALSE(window->listening());
    EXPECT_EQ(window->title(), "Tarvel Wap Server [Pause] [0 Clients]");
  }
}

TEST_F(ServerTest, UsesTheLowestFreeSlotAgain) {
  start();
  connect(100);
  connect(101);
  connect(102);
  ASSERT_EQ(sockets.made.size(), 4U);
  EXPECT_TRUE(slot(3).noDelay && slot(3).reuseAddress);
  EXPECT_EQ(lines.back(), "10.0.0.7 Connected on Index 3, Active Clients: 3");

  slot(2).events.disconnect();
  EXPECT_EQ(lines.back(), "Socket 2 (handle = 101) disconnected: Disconnect Event");
  EXPECT_EQ(window->title(), "Tarvel Wap Server [2 Clients]");
  connect(103);
  EXPECT_EQ(sockets.made.size(), 4U);
  EXPECT_EQ(slot(2).handle(), 103);
}

TEST_F(ServerTest, ClientLimit) {
  struct Case {
    const char* limit;
    int served;
  };
  for (const Case c : {Case{"0", 0}, Case{"2", 2}}) {
    open();
    window->load();
    window->editMaxClients.setText(c.limit);
    window->cmdListen.click();
    lines.clear();
    for (int i = 0; i < 4; ++i) connect(100 + i);
    // A refused client's slot is free again at once.
    EXPECT_EQ(static_cast<int>(sockets.made.size()), c.served + 2);
    EXPECT_EQ(lines.back(), "Maximum number of clients exceeded, dropping #" + std::to_string(c.served + 1));
    EXPECT_EQ(window->title(), "Tarvel Wap Server [" + std::to_string(c.served) + " Clients]");
  }
}

TEST_F(ServerTest, LimitBelowTheConnectedClientsIsRaisedToThem) {
  start();
  connect(100);
  connect(101);
  window->cmdListen.click();
  window->editMaxClients.setText("1");
  window->cmdListen.click();
  EXPECT_TRUE(window->listening());
  EXPECT_EQ(window->editMaxClients.text(), "2");
}

TEST_F(ServerTest, DisconnectButtonAsksFirst) {
  start();
  EXPECT_FALSE(window->cmdDisconnect.enabled());
  connect(100);
  connect(101);
  slot(1).events.disconnect();
  ASSERT_TRUE(window->cmdDisconnect.enabled());
  for (const bool yes : {false, true}) {
    window->cmdDisconnect.click();
    EXPECT_EQ(dialogs.question, "Are you sure you want to disconnect all clients?");
    dialogs.answerYesNo(yes);
    EXPECT_EQ(slot(2).connected(), !yes);
  }
  EXPECT_TRUE(logged("Socket 2 (handle = 101) disconnected: Disconnect Button Clicked"));
  EXPECT_FALSE(window->cmdDisconnect.enabled());
}

TEST_F(ServerTest, AQuestionThatIsStillOpenDoesNotOutliveTheWindow) {
  start();
  connect(100);
  window->cmdDisconnect.click();
  const auto late = dialogs.answerYesNo;
  window.reset();
  late(true);
}

}  // namespace
}  // namespace kova::server
