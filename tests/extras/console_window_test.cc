#include "extras/console_window.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fakes/fake_connector.h"
#include "fakes/fake_dialogs.h"
#include "fakes/fake_loop.h"

namespace kova::extras {
namespace {

using std::chrono::seconds;
using Strings = std::vector<std::string>;

class ConsoleWindowTest : public ::testing::Test {
 protected:
  void connect(const std::string& host = "mail.test", const std::string& port = "110") {
    window.editHost.setText(host);
    window.editPort.setText(port);
    window.cmdConnect.click();
    loop.settle();
  }
  void send(const std::string& line) {
    window.editLine.setText(line);
    window.cmdSend.click();
    loop.settle();
  }
  bool idle() const { return window.editHost.enabled() && !window.editLine.enabled(); }
  std::string text() const { return std::string(window.txtConsole.text()); }
  bool shows(const std::string& what) const { return text().find(what) != std::string::npos; }

  /// What a mailbox page does: says a few lines in a turn of its own, and stays until `leaves`.
  base::Task<> mail() {
    const auto turn = co_await conversation.turn();
    mailGotItsTurn = true;
    co_await conversation.connect("pop.test", "110");
    co_await conversation.WaitFor("+OK", 0);
    conversation.ReplyBuffer.clear();
    conversation.SendData("USER me\r\n");
    co_await conversation.WaitFor("+OK", 0);
    conversation.ReplyBuffer.clear();
    conversation.SendData("PASS sesame\r\n");
    co_await conversation.WaitFor("+OK", 0);
    co_await conversation.WaitFor("leave", 0);
  }

  fakes::FakeLoop loop;
  fakes::FakeConnector peer{loop};
  fakes::FakeDialogs dialogs;
  conversation::LineConversation conversation{loop, peer, dialogs};
  formtelnet window{conversation};
  bool mailGotItsTurn = false;
  base::TaskGroup tasks;
};

TEST_F(ConsoleWindowTest, ConnectsSendsAndShowsWhatComes) {
  peer.greeting = "+OK ready\r\nlogin: ";
  peer.answer = [](const std::string& line) { return "you said " + line + "\r\n"; };
  peer.pieceBytes = 3;
  window.open();
  EXPECT_TRUE(idle());
  EXPECT_TRUE(window.editHost.focused());
  EXPECT_EQ(window.acceptButton(), &window.cmdConnect);
  connect(" mail.test ", " pop3 ");
  EXPECT_EQ(peer.hosts, Strings{"mail.test"});
  EXPECT_EQ(peer.ports, Strings{"pop3"});
  EXPECT_EQ(window.lblStatus.text(), "Connecting to mail.test...");
  EXPECT_FALSE(window.editHost.enabled());
  EXPECT_TRUE(window.editLine.focused());
  EXPECT_EQ(window.acceptButton(), &window.cmdSend);
  EXPECT_TRUE(shows("\n+OK ready\nlogin: "));
  send("LIST");
  EXPECT_EQ(peer.bytesHeard, "LIST\r\n");
  EXPECT_EQ(window.editLine.text(), "");
  EXPECT_TRUE(shows("login: \n> LIST\nyou said LIST\n"));

  window.cmdConnect.click();
  EXPECT_TRUE(idle());
  EXPECT_EQ(peer.open, 0);
  EXPECT_EQ(window.lblStatus.text(), "");
  window.cmdClear.click();
  EXPECT_EQ(text(), "");
  connect();
  EXPECT_EQ(peer.open, 1);
  window.close();
  EXPECT_EQ(peer.open, 0);
  EXPECT_FALSE(window.visible());
}

TEST_F(ConsoleWindowTest, FailuresAreTold) {
  connect("  ");
  EXPECT_EQ(dialogs.messages, Strings{"Please enter the host to connect to."});
  EXPECT_TRUE(idle());
  dialogs.messages.clear();

  peer.knownPort = false;
  connect("mail.test", "nosuch");
  EXPECT_EQ(dialogs.messages, Strings{"The specified service name is invalid"});
  EXPECT_TRUE(idle());
  dialogs.messages.clear();

  peer.knownPort = true;
  peer.connectErrors = {24061};
  connect();
  EXPECT_EQ(dialogs.messages, Strings{"Unable to connect to mail.test.  Error 24061"});
  EXPECT_TRUE(idle());
  EXPECT_EQ(window.lblStatus.text(), "");
  dialogs.messages.clear();

  connect();
  EXPECT_FALSE(idle());
  peer.failingWrite = 0;
  send("LIST");
  EXPECT_EQ(dialogs.messages, Strings{"An error occurred during the write.  Error 24054"});
  EXPECT_EQ(window.editLine.text(), "LIST");
  EXPECT_TRUE(idle());
  EXPECT_TRUE(shows("The connection has ended."));
}

TEST_F(ConsoleWindowTest, PeerThatClosesLeavesWhatHeSaid) {
  peer.greeting = "bye\r\n";
  peer.closesAfter = 5;
  connect();
  EXPECT_TRUE(shows("bye\n*** The connection has ended.\n"));
  EXPECT_TRUE(idle());
  EXPECT_EQ(dialogs.messages, Strings{});
  EXPECT_FALSE(shows("conversation"));
}

TEST_F(ConsoleWindowTest, ConnectingIsGivenUpAtTheSecondClick) {
  peer.silent = true;
  connect();
  EXPECT_EQ(peer.attempts, 1);
  EXPECT_EQ(window.acceptButton(), nullptr);
  window.cmdConnect.click();
  EXPECT_EQ(peer.attempts, 0);
  EXPECT_TRUE(idle());
  loop.advance(seconds(100));
  EXPECT_EQ(dialogs.messages, Strings{});
}

TEST_F(ConsoleWindowTest, ShowsAConversationWithoutItsPassword) {
  tasks.spawn(mail());
  loop.settle();
  EXPECT_TRUE(shows("*** Connecting to pop.test...\n"));
  EXPECT_TRUE(shows("> USER me\n+OK\n> PASS ****\n+OK\n"));
  EXPECT_FALSE(shows("sesame"));
  EXPECT_EQ(window.lblStatus.text(), "Connecting to pop.test...");
  EXPECT_TRUE(idle());

  // The console may look, and no more.
  connect();
  ASSERT_EQ(dialogs.messages.size(), 1U);
  EXPECT_NE(dialogs.messages[0].find("under way"), std::string::npos);
  send("QUIT");
  EXPECT_EQ(peer.heard, (Strings{"USER me", "PASS sesame"}));
  window.close();
  EXPECT_EQ(peer.open, 1);

  tasks.clear();
  EXPECT_EQ(window.lblStatus.text(), "");
  connect();
  EXPECT_FALSE(idle());
}

TEST_F(ConsoleWindowTest, GivesWayToAConversation) {
  for (const bool connects : {true, false}) {
    window.txtConsole.clear();
    mailGotItsTurn = false;
    peer.silent = !connects;
    connect("other.test");
    peer.silent = false;
    tasks.spawn(mail());
    loop.settle();
    EXPECT_TRUE(mailGotItsTurn) << connects;
    EXPECT_TRUE(shows("needed for mail")) << connects;
    EXPECT_TRUE(shows("> USER me")) << connects;
    EXPECT_TRUE(idle()) << connects;
    EXPECT_EQ(peer.mostOpen, 1);
    EXPECT_EQ(peer.attempts, 0);
    tasks.clear();
  }
  EXPECT_EQ(dialogs.messages, Strings{});
}

TEST_F(ConsoleWindowTest, GivesWayFromTheMiddleOfATurnThatJustEnded) {
  // The console ends in the same moment in which the mail comes: nobody is asked twice.
  connect();
  tasks.spawn(mail());
  window.cmdConnect.click();
  loop.settle();
  EXPECT_TRUE(mailGotItsTurn);
  EXPECT_FALSE(shows("needed for mail"));
}

TEST_F(ConsoleWindowTest, PasswordsOfTheOwnerAreMasked) {
  connect();
  for (const char* line : {"PASS sesame", "pass sesame", " Pass sesame"}) send(line);
  EXPECT_EQ(peer.heard, (Strings{"PASS sesame", "pass sesame", " Pass sesame"}));
  EXPECT_FALSE(shows("sesame"));
  send("PASSIVE");
  EXPECT_TRUE(shows("> PASSIVE\n"));
}

TEST_F(ConsoleWindowTest, PeerCannotFillTheMemory) {
  peer.greeting = "";
  peer.chatter = [left = 3000]() mutable { return std::string(--left > 0 ? 1000 : 0, 'x'); };
  peer.closesAfter = 2'000'000;
  connect();
  EXPECT_TRUE(idle());
  EXPECT_EQ(window.txtConsole.text().size(), formtelnet::kBoxCharacters);
}

TEST(ConsoleWindow, IsForgottenWhenItGoesBeforeTheConversation) {
  fakes::FakeLoop loop;
  fakes::FakeConnector peer{loop};
  fakes::FakeDialogs dialogs;
  conversation::LineConversation conversation{loop, peer, dialogs};
  {
    formtelnet window(conversation);
    window.editHost.setText("mail.test");
    window.cmdConnect.click();
    loop.settle();
    EXPECT_EQ(peer.open, 1);
  }
  EXPECT_EQ(peer.open, 0);
  conversation.SendData("nobody hears\r\n");
}

TEST(PrintableText, ShowsTextAndNothingElse) {
  struct Case {
    const char* name;
    std::string bytes;
    const char* text;
  };
  const Case cases[] = {
      {"line ends of every kind", "a\r\nb\nc\rd\r\n\r\ne", "a\nb\nc\nd\n\ne"},
      {"end of line as telnet sends it", std::string("a\r\0b", 4), "a\nb"},
      {"controls", "a\x07\x08\x1B[2J\tb\x7F", "a[2J\tb"},
      {"upper controls", "a\xC2\x9B\xC2\x85z\xC2\xA0", "az\xC2\xA0"},
      {"UTF-8", "Gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80!", "Gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80!"},
      {"a line that is not UTF-8", "Gr\xFC\xDF\r\n\xC3\xBC\r\n", "Gr\xC3\xBC\xC3\x9F\n\xC3\xBC\n"},
      {"options", "\xFF\xFD\x18\xFF\xFB\x01login\xFF\xF1:", "login:"},
      {"an option called like a letter",
       "\xFF\xFE"
       "ab",
       "b"},
      {"parameters",
       std::string("a\xFF\xFA\x18\0xterm\xFF\xFFzz\xFF\xF0"
                   "b",
                   17),
       "ab"},
      {"the byte 255 itself", "\xFF\xFF\r\n", "\xC3\xBF\n"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(printableText(c.bytes), c.text) << c.name;
    if (std::string_view(c.name) == "a line that is not UTF-8") continue;
    PrintableText pieces;
    std::string text;
    for (const char byte : c.bytes) text += pieces.add({&byte, 1});
    EXPECT_EQ(text, c.text) << c.name << ", byte by byte";
  }
}

TEST(PrintableText, ParametersThatNeverEndAreNotForEver) {
  PrintableText peer;
  peer.add("\xFF\xFA\x18" + std::string(600, 'x'));
  EXPECT_EQ(peer.add("still there"), "still there");
}

}  // namespace
}  // namespace kova::extras
