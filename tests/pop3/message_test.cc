#include "pop3/message.h"

#include "mailbox_fixture.h"

namespace kova::pop3 {
namespace {

using MessageTest = MailboxTest;
using std::chrono::seconds;

std::string titleLine(const std::string& number) { return "<p><i>E-mail #" + number + ":</i><br/>\n"; }

TEST_F(MessageTest, WholeVisit) {
  mails = {"", "From: Bob <bob@x.test>\r\nSubject: Lunch?\r\nTo: me\r\n\r\nAt noon & <soon>.\r\n\r\n\r\nBob"};
  EXPECT_EQ(query("caltp=0&pin=1234&poppos=2"),
            mailboxCard(titleLine("2") + " From: bob@x.test<br/>  Sjt:Lunch?<br/>"
                                         "At noon &amp; &lt;soon&gt;.<br/>Bob<br/><br/>\n"));
  EXPECT_EQ(peer.bytesHeard, "USER me\r\nPASS secret\r\nSTAT\r\nTOP 2 150\r\nQUIT\r\n");
  EXPECT_EQ(took(), seconds(0));
  EXPECT_EQ(dialogs.messages, Strings{});
}

TEST_F(MessageTest, NumberDecidesWhetherTheMessageIsAskedFor) {
  struct Case {
    std::string poppos;
    std::string shown;
    std::string top;  // empty: none
  };
  const Case cases[] = {
      {"1", "1", "TOP 1 150"},
      {"3", "3", ""},
      {"999999999999999999999999", "999999999999999999999999", ""},
      {"1e1", "1e1", ""},
      {"2x", "2x", "TOP 2x 150"},
      {"abc", "abc", "TOP abc 150"},
      {"-7", "-7", "TOP -7 150"},
      {" 1", " 1", "TOP  1 150"},
      {"<1>", "&lt;1&gt;", "TOP <1> 150"},
      {std::string("1\0 2", 4), "1 2", "TOP 1 150"},
      {"\xE9", "\xC3\xA9", "TOP \xE9 150"},
  };
  mails = {"A: b\r\n\r\n", "A: b\r\n\r\n"};
  script["TOP"] = "+OK\r\nFrom: <b>\r\nSubject: s\r\n\r\nx\r\n.\r\n";
  for (const Case& c : cases) {
    peer.heard.clear();
    const std::string text = query("caltp=0&pin=1234&poppos=" + c.poppos);
    Strings heard = {"USER me", "PASS secret", "STAT"};
    if (!c.top.empty()) heard.push_back(c.top);
    heard.push_back("QUIT");
    EXPECT_EQ(peer.heard, heard) << c.poppos;
    EXPECT_EQ(text, mailboxCard(titleLine(c.shown) +
                                (c.top.empty() ? "" : " From: b<br/>  Sjt:s<br/>x<br/><br/>\n")))
        << c.poppos;
  }
}

TEST_F(MessageTest, PhoneCannotAddACommand) {
  mails = {"A: b\r\n\r\n"};
  for (const char* end : {"\r\n", "\r", "\n"}) {
    peer.heard.clear();
    query("caltp=0&pin=1234&poppos=1x" + std::string(end) + "DELE 1");
    EXPECT_EQ(peer.heard, (Strings{"USER me", "PASS secret", "STAT", "TOP 1x 150", "QUIT"}));
  }
}

TEST_F(MessageTest, FailedWrites) {
  mails = {"A: b\r\n\r\n"};
  const std::string decks[] = {
      titleLine("1") + "<a href=\"/\">Main</a> \n",  // USER
      titleLine("1") + "<a href=\"/\">Main</a> \n",  // PASS
      titleLine("1") + "E-mail not in mailbox anymore.<br/>\n",
      titleLine("1"),  // TOP
  };
  std::size_t writes = 0;
  for (std::size_t step = 0; step < std::size(decks); ++step) {
    peer.failingWrite = writes + step;
    dialogs.messages.clear();
    EXPECT_EQ(query("caltp=0&pin=1234&poppos=1"), mailboxCard(decks[step])) << step;
    EXPECT_EQ(dialogs.messages, Strings{"An error occurred during the write.  Error 24054"}) << step;
    writes += step + 1;
  }
}

TEST_F(MessageTest, RefusalsAreShownAsTheyCome) {
  mails = {"A: b\r\n\r\n"};
  script["TOP"] = "-ERR no such message\r\n";
  EXPECT_EQ(query("caltp=0&pin=1234&poppos=1"),
            mailboxCard(titleLine("1") +
                        " From: -ERR no such message\n<br/>  Sjt:such message<br/>h message<br/><br/>\n"));
  EXPECT_EQ(took(), seconds(60));
}

TEST_F(MessageTest, EndlessAnswerEndsAfterAMinute) {
  mails = {"A: b\r\n\r\n"};
  script["TOP"] = "+OK\r\nFrom: <b>\r\nSubject: s\r\n\r\n";
  // A server that never stops: nothing that it says after that is an answer.
  std::size_t said = 0;
  const std::string chunk(16'384, 'x');
  peer.delay = std::chrono::milliseconds(10);
  peer.chatter = [&] { return peer.heard.size() < 4 ? std::string() : (said += chunk.size(), chunk); };
  const std::string text = query("caltp=0&pin=1234&poppos=1");
  EXPECT_GT(said, 90'000'000U);
  EXPECT_EQ(text, mailboxCard(titleLine("1") + " From: b<br/>  Sjt:s<br/>" + std::string(1950 - 25, 'x') +
                              " ...<br/>\n"));
}

TEST_F(MessageTest, ServerClosesAtAnyByte) {
  mails = {
      "From: Bob <bob@x.test>\r\nSubject: =?iso-8859-1?q?=E9?=\r\nContent-type: multipart/related;\r\n\r\n"
      "--b\r\nContent-type: text/plain;\r\nContent-transfer-encoding: "
      "quoted-printable\r\n\r\nx=3D\r\n--b--\r\n"};
  query("caltp=0&pin=1234&poppos=1");
  const std::size_t whole = peer.bytesSaid;
  for (std::size_t bytes = 0; bytes < whole; ++bytes) {
    peer.bytesSaid = 0;
    peer.closesAfter = bytes;
    const std::string text = query("caltp=0&pin=1234&poppos=1");
    EXPECT_TRUE(text.find(titleLine("1")) != std::string::npos && text.ends_with("</wml>\n"))
        << bytes << text;
    EXPECT_EQ(took(), seconds(0)) << bytes;
  }
}

}  // namespace
}  // namespace kova::pop3
