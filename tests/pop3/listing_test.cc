#include "pop3/listing.h"

#include "mailbox_fixture.h"

namespace kova::pop3 {
namespace {

using ListingTest = MailboxTest;
using std::chrono::seconds;

constexpr const char* kHead = "<p><i>Remote mailboxes</i><br/>\n";

std::string row(int number, const std::string& pin, const std::string& sender, const std::string& subject) {
  const std::string n = std::to_string(number);
  return "<a href=\"/pop3?caltp=0&amp;pin=" + pin + "&amp;poppos=" + n + "\">#" + n + "</a> From: " + sender +
         "<br/>\n  Sjt:" + subject + "<br/>\n";
}

std::string mail(const std::string& from, const std::string& subject) {
  return "Received: somewhere\r\nFrom: " + from + "\r\nSubject: " + subject +
         "\r\nTo: me\r\n\r\nfirst line\r\n";
}

TEST_F(ListingTest, WholeVisit) {
  mails = {mail("Bob <bob@x.test>", "Lunch & more"), mail("\"A > B\" <a$@x.test>", "$5 <now>")};
  EXPECT_EQ(query("caltp=0&pin=1234"), mailboxCard(std::string(kHead) + "2 e-mail(s):<br/>\n" +
                                                   row(1, "1234", "bob@x.test", "Lunch &amp; more") +
                                                   row(2, "1234", "a$$@x.test", "$$5 &lt;now&gt;")));
  EXPECT_EQ(peer.bytesHeard, "USER me\r\nPASS secret\r\nSTAT\r\nTOP 1 1\r\nTOP 2 1\r\nQUIT\r\n");
  EXPECT_EQ(took(), seconds(0));
  EXPECT_EQ(dialogs.messages, Strings{});
  EXPECT_EQ(status, 0);
}

TEST_F(ListingTest, LinksCarryTheStoredPin) {
  mails = {mail("<b>", "s")};
  set("POP3_PIN_0", "blank");
  EXPECT_EQ(query("caltp=0&pin=typed"),
            mailboxCard(std::string(kHead) + "1 e-mail(s):<br/>\n" + row(1, "", "b", "s")));
}

TEST_F(ListingTest, SenderIsInTheFirstBracketsOfTheWholeReply) {
  mails = {"Return-Path: <first@x.test>\r\nFrom: Bob <bob@x.test>\r\nSubject: s\r\n\r\n",
           "From: bob@x.test\r\nSubject: s\r\nMessage-ID: <1@x.test>\r\n\r\n",
           "From: Bob <bob@x.test\r\nSubject: s\r\n\r\n"};
  script["STAT"] = "+OK 3\r\n";
  EXPECT_EQ(query("caltp=0&pin=1234"),
            mailboxCard(std::string(kHead) + "3 e-mail(s):<br/>\n" + row(1, "1234", "first@x.test", "s") +
                        row(2, "1234", "1@x.test", "s") +
                        // Never closed: not cut.
                        row(3, "1234", "bob@x.test\nSubject: s\n\n\n", "s")));
}

TEST_F(ListingTest, CountIsWhatStandsBetweenTheBlanks) {
  struct Case {
    const char* stat;
    const char* shown;
    int listed;
    int seconds;
  };
  const Case cases[] = {
      {"+OK 0 0\r\n", "0", 0, 0},
      {"+OK 2 100\r\n", "2", 2, 0},
      {"+OK 2\r\n", "2", 2, 0},
      {"+OK 120 1\r\n", "120", 50, 0},
      {"+OK 4294967296 1\r\n", "4294967296", 50, 0},
      {"+OK 99999999999999999999999999999999999999 1\r\n", "99999999999999999999999999999999999999", 50, 0},
      {"+OK -1 1\r\n", "-1", 0, 0},
      {"+OK abc 1\r\n", "abc", 0, 0},
      {"+OK nan 1\r\n", "nan", 0, 0},
      {"+OK  1\r\n", "", 0, 0},
      {"+OK\r\n", "+OK", 0, 0},
      {"+OK 2.9 1\r\n", "2.9", 2, 0},
      {"+OK <b>&\x01 1\r\n", "&lt;b&gt;&amp;", 0, 0},
      {"-ERR Unknown command.\r\n", "Unknown", 0, 60},
      {"", "", 0, 60},
  };
  mails.assign(200, mail("<b>", "s"));
  for (const Case& c : cases) {
    script["STAT"] = c.stat;
    std::string lines = kHead + std::string(c.shown) + " e-mail(s):<br/>\n";
    for (int i = 1; i <= c.listed; ++i) lines += row(i, "1234", "b", "s");
    EXPECT_EQ(query("caltp=0&pin=1234"), mailboxCard(lines)) << c.stat;
    EXPECT_EQ(took(), seconds(c.seconds)) << c.stat;
  }
}

TEST_F(ListingTest, MessagesThatAreGoneGiveWhatIsThere) {
  mails = {mail("<b>", "s")};
  script["STAT"] = "+OK 2 10\r\n";
  EXPECT_EQ(query("caltp=0&pin=1234"),
            mailboxCard(std::string(kHead) + "2 e-mail(s):<br/>\n" + row(1, "1234", "b", "s") +
                        // kept: without the marks a text begins as if they stood just before its start.
                        row(2, "1234", "-ERR no such message\n", "such message")));
  EXPECT_EQ(took(), seconds(60));
}

TEST_F(ListingTest, SettingsAndPeersCannotAddCommands) {
  setAccount(0, "x", " mail.test ", "  me\r\nDELE 1 ", "se cret\nDELE 2");
  query("caltp=0&pin=1234");
  EXPECT_EQ(peer.heard, (Strings{"USER me", "PASS se cret", "STAT", "QUIT"}));
  EXPECT_EQ(peer.hosts, Strings{"mail.test"});
}

TEST_F(ListingTest, SilenceCostsAMinuteForEachReply) {
  mails = {mail("<b>", "s")};
  // No greeting.
  peer.greeting = "";
  EXPECT_NE(query("caltp=0&pin=1234").find(row(1, "1234", "b", "s")), std::string::npos);
  EXPECT_EQ(took(), seconds(60));
  peer.greeting = "+OK\r\n";
  for (const char* word : {"USER", "PASS", "QUIT"}) {
    script = {{word, "-ERR no\r\n"}};
    EXPECT_NE(query("caltp=0&pin=1234").find(row(1, "1234", "b", "s")), std::string::npos) << word;
    EXPECT_EQ(took(), seconds(60)) << word;
  }
  script = {{"TOP", ""}};
  EXPECT_EQ(query("caltp=0&pin=1234"),
            mailboxCard(std::string(kHead) + "1 e-mail(s):<br/>\n" + row(1, "1234", "", "")));
  EXPECT_EQ(took(), seconds(60));
  EXPECT_EQ(dialogs.messages, Strings{});
}

TEST_F(ListingTest, ConnectIsTriedTwice) {
  peer.connectErrors = {24061};
  EXPECT_EQ(query("caltp=0&pin=1234"), mailboxCard(std::string(kHead) + "0 e-mail(s):<br/>\n"));
  EXPECT_EQ(peer.hosts, (Strings{"mail.test", "mail.test"}));
  EXPECT_EQ(dialogs.messages, Strings{"Unable to connect to mail.test.  Error 24061"});

  dialogs.messages.clear();
  peer.silent = true;
  EXPECT_EQ(query("caltp=0&pin=1234"), mailboxCard(kHead));
  EXPECT_EQ(took(), seconds(120));
  EXPECT_EQ(dialogs.messages, (Strings{"Unable to connect to mail.test.  Error 24060",
                                       "Unable to connect to mail.test.  Error 24060",
                                       "An error occurred during the write.  Error 24057"}));
}

TEST_F(ListingTest, FailedWriteEndsTheVisit) {
  mails.assign(3, mail("<b>", "s"));
  const std::string count = "3 e-mail(s):<br/>\n";
  const std::string decks[] = {
      kHead,
      kHead,
      kHead,  // USER, PASS, STAT
      kHead + count + row(1, "1234", "", "") + row(2, "1234", "", "") + row(3, "1234", "", ""),
      kHead + count + row(1, "1234", "b", "s") + row(2, "1234", "", "") + row(3, "1234", "", ""),
  };
  std::size_t writes = 0;
  for (std::size_t step = 0; step < std::size(decks); ++step) {
    peer.failingWrite = writes + step;
    dialogs.messages.clear();
    peer.heard.clear();
    EXPECT_EQ(query("caltp=0&pin=1234"), mailboxCard(decks[step])) << step;
    EXPECT_EQ(dialogs.messages, Strings{"An error occurred during the write.  Error 24054"}) << step;
    EXPECT_EQ(dialogs.lastTitle, "Telnet");
    EXPECT_EQ(dialogs.lastIcon, platform::MessageIcon::kExclamation);
    EXPECT_EQ(peer.heard.size(), step) << "nothing more is sent";
    writes += step + 1;
  }
}

TEST_F(ListingTest, ServerClosesAtAnyByte) {
  mails = {mail("<b>", "s"), mail("<c>", "t")};
  query("caltp=0&pin=1234");
  const std::size_t whole = peer.bytesSaid;
  for (std::size_t bytes = 0; bytes < whole; ++bytes) {
    for (const std::size_t piece : {std::size_t{1}, fakes::FakeConnector::kUnlimited}) {
      peer.bytesSaid = 0;
      peer.closesAfter = bytes;
      peer.pieceBytes = piece;
      const std::string text = query("caltp=0&pin=1234");
      EXPECT_TRUE(text.starts_with(mailboxCard("").substr(0, 100)) && text.ends_with("</wml>\n"))
          << bytes << text;
      EXPECT_EQ(took(), seconds(0)) << bytes;
    }
  }
  peer.closesAfter = fakes::FakeConnector::kUnlimited;
  EXPECT_NE(query("caltp=0&pin=1234").find(row(2, "1234", "c", "t")), std::string::npos);
}

TEST_F(ListingTest, GreetingOfAConnectionThatEndedIsNotThatOfTheSecond) {
  mails = {mail("<b>", "s")};
  peer.closesOnce = true;
  peer.closesAfter = peer.greeting.size();
  EXPECT_EQ(query("caltp=0&pin=1234"),
            mailboxCard(std::string(kHead) + "1 e-mail(s):<br/>\n" + row(1, "1234", "b", "s")));
}

TEST_F(ListingTest, NoNumberButThatOfARowLeadsToItsPin) {
  mails = {mail("<b>", "s")};
  using namespace std::string_literals;
  for (const std::string& number : {" 0"s, "0 "s, "0\t"s, "0\r"s, "0\n"s, "0\0"s, "00"s, "8"s, "x"s}) {
    const std::string text = query("caltp=" + number + "&pin=");
    EXPECT_EQ(text.find("1234"), std::string::npos) << number;
  }
}

TEST_F(ListingTest, PiecesMakeNoDifference) {
  mails = {mail("<b>", "s"), mail("<c>", "t")};
  const std::string text = query("caltp=0&pin=1234");
  for (std::size_t piece = 1; piece < 100; ++piece) {
    peer.pieceBytes = piece;
    EXPECT_EQ(query("caltp=0&pin=1234"), text) << piece;
  }
}

TEST_F(ListingTest, GarbageGivesAWholeDeck) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
  const std::string garbage[] = {
      bytes, std::string(3000, '\0') + "\r\n.\r\n", "+OK" + std::string(10'000'000, 'x') + "\r\n.\r\n",
      "+OK <" + bytes + "\r\n.\r\n", "+OK Subject: " + bytes + "\xEF\xBF\xBF\r\n.\r\n"};
  peer.pieceBytes = 65536;
  for (const std::string& said : garbage) {
    mails = {mail("<b>", "s")};
    script = {{"TOP", said}};
    const std::string text = query("caltp=0&pin=1234");
    EXPECT_TRUE(text.ends_with("</wml>\n"));
    EXPECT_EQ(text.find_first_of(std::string("\0\1\x1F", 3)), std::string::npos);
    EXPECT_TRUE(base::validUtf8(text));
    EXPECT_EQ(text.find("\xEF\xBF\xBF"), std::string::npos);
  }
}

TEST_F(ListingTest, PhoneThatHangsUpEndsItsVisitAtTheNextStepAndLeavesNothing) {
  mails.assign(3, mail("<b>", "s"));
  query("caltp=0&pin=1234");
  const std::size_t steps = peer.heard.size();
  peer.delay = seconds(10);
  for (std::size_t after = 0; after <= 10 * (steps + 1); after += 5) {
    peer.heard.clear();
    wanted = true;
    ask("caltp=0&pin=1234");
    loop.advance(seconds(after));
    // The slot serves somebody else now, under the same name.
    wanted = false;
    files.put("/pages/pop32.tmp", "of the next phone");
    files.created.clear();
    const std::size_t heard = peer.heard.size();
    loop.advance(seconds(30));
    EXPECT_TRUE(tasks.empty()) << after;
    EXPECT_EQ(peer.open, 0) << after;
    EXPECT_EQ(peer.heard.size(), heard) << after;
    EXPECT_EQ(files.contents("/pages/pop32.tmp"), "of the next phone") << after;
    EXPECT_EQ(files.created, Strings{}) << after;
    EXPECT_EQ(files.openFiles, 0);
  }
}

TEST_F(ListingTest, VisitsGoOneAfterAnother) {
  mails = {mail("<b>", "s")};
  peer.delay = seconds(1);
  for (int i = 0; i < 5; ++i) ask(i % 2 == 0 ? "caltp=0&pin=1234" : "caltp=3&pin=&poppos=1");
  // One of them is dropped in the middle of its visit, with all that it holds.
  base::TaskGroup other;
  other.spawn(handle("caltp=0&pin=1234"));
  loop.advance(seconds(38));
  EXPECT_EQ(peer.hosts.size(), 6U);
  EXPECT_TRUE(tasks.empty());
  EXPECT_FALSE(other.empty());
  other.clear();
  EXPECT_EQ(peer.open, 0);
  EXPECT_EQ(peer.mostOpen, 1);
  EXPECT_EQ(files.openFiles, 0);
  peer.delay = seconds(0);
  EXPECT_NE(query("caltp=0&pin=1234").find(row(1, "1234", "b", "s")), std::string::npos);
}

}  // namespace
}  // namespace kova::pop3
