#include "paging/smtp_sender.h"

#include <algorithm>
#include <utility>

#include "paging_fixture.h"

namespace kova::paging {
namespace {

using namespace std::string_literals;

class FieldsHost final : public Host {
 public:
  MailFields fields{"mail.test", "me@home.test", "pager@phone.test", "Reminder"};

  MailFields mailFields() const override { return fields; }
  void fillCheckInterval() override {}
  std::optional<std::int16_t> checkInterval() const override { return std::nullopt; }
  bool standardFormat() const override { return true; }
  bool onlyInScreenSaver() const override { return false; }
  void showStatus(std::string) override {}
};

constexpr const char* kPage =
    "helo KOVA\r\n"
    "mail from: me@home.test\r\n"
    "rcpt to: <pager@phone.test>\r\n"
    "data\r\n"
    "Subject: Reminder\r\n"
    "\r\n"
    "one\rtwo\r\r\n"
    ".\r\n"
    "QUIT\r\n";

class SmtpSenderTest : public PagingTest {
 protected:
  void page(const std::string& body = "one\rtwo\r") { tasks.spawn(sender.send_page(body)); }
  void mail(const std::string& subject) { tasks.spawn(sender.send_mail(subject, "one\rtwo\r")); }
  bool over() const { return tasks.empty() && peer.open == 0; }

  FieldsHost host;
  SmtpSender sender{conversation, clock, host};
  base::TaskGroup tasks;
};

TEST_F(SmtpSenderTest, PageByteForByte) {
  page();
  loop.settle();
  EXPECT_EQ(peer.mails, Strings{kPage});
  EXPECT_EQ(peer.hosts, Strings{"mail.test"});
  EXPECT_EQ(peer.ports, Strings{"25"});
  EXPECT_TRUE(over());
  EXPECT_EQ(dialogs.messages, Strings{});
}

TEST_F(SmtpSenderTest, MailHasItsOwnSubjectAndTheTimeOfSendingInUtc) {
  peer.delay = seconds(10);  // five answers until the headers
  mail("  My today's schedule ");
  loop.advance(minutes(2));
  EXPECT_EQ(peer.mails, Strings{"helo KOVA\r\n"
                                "mail from: me@home.test\r\n"
                                "rcpt to: <pager@phone.test>\r\n"
                                "data\r\n"
                                "Date:Mon, 16 Nov 2026 08:00:50 GMT\r\n"
                                "Subject: My today's schedule\r\n"
                                "\r\n"
                                "one\rtwo\r\r\n"
                                ".\r\n"
                                "QUIT\r\n"});
  EXPECT_TRUE(over());
}

TEST_F(SmtpSenderTest, FieldsAreTrimmedAndMayBeEmpty) {
  host.fields = {" mail.test  ", "  me@home.test ", "   ", "  "};
  page("x");
  loop.settle();
  EXPECT_EQ(peer.mails, Strings{"helo KOVA\r\nmail from: me@home.test\r\nrcpt to: <>\r\ndata\r\n"
                                "Subject: \r\n\r\nx\r\n.\r\nQUIT\r\n"});
  EXPECT_EQ(peer.hosts, Strings{"mail.test"});
}

TEST_F(SmtpSenderTest, AnswersInPiecesAndOfManyLines) {
  peer.answers["helo"] = "250-mail.test\r\n250-SIZE 1000\r\n250 HELP\r\n";
  peer.answers["greeting"] = "220-hello\r\n220 there\r\n";
  peer.delay = seconds(59);
  page();
  loop.advance(minutes(8));
  EXPECT_EQ(peer.mails, Strings{kPage});
  EXPECT_TRUE(over());
}

TEST_F(SmtpSenderTest, NoWaitDecidesAnything) {
  for (const char* bad : {"", "550 no\r\n"}) {
    for (const char* step : {"greeting", "helo", "mail", "rcpt", "data", ".", "QUIT"}) {
      peer.mails.clear();
      peer.answers = {{step, bad}};
      page();
      loop.advance(seconds(59));
      EXPECT_FALSE(tasks.empty()) << step;
      loop.advance(seconds(2));
      EXPECT_EQ(peer.mails, Strings{kPage}) << step << bad;
      EXPECT_TRUE(over()) << step << bad;
    }
  }
  EXPECT_EQ(dialogs.messages, Strings{});
}

TEST_F(SmtpSenderTest, SilentServerGetsTheMailAllTheSame) {
  for (const char* step : {"greeting", "helo", "mail", "rcpt", "data", ".", "QUIT"}) peer.answers[step] = "";
  page();
  loop.advance(seconds(7 * 60 - 1));
  EXPECT_FALSE(over());
  loop.advance(seconds(2));
  EXPECT_EQ(peer.mails, Strings{kPage});
  EXPECT_TRUE(over());
}

TEST_F(SmtpSenderTest, FailedWriteEndsTheConversation) {
  const std::string whole(kPage);
  // The number of the failing write, and the last line that still arrives.
  const std::pair<std::size_t, std::string> cases[] = {{0, ""},
                                                       {1, "helo KOVA\r\n"},
                                                       {2, "mail from: me@home.test\r\n"},
                                                       {3, "rcpt to: <pager@phone.test>\r\n"},
                                                       {4, "data\r\n"},
                                                       {5, "Subject: Reminder\r\n"},
                                                       {6, "Subject: Reminder\r\n\r\n"},
                                                       {7, "one\rtwo\r\r\n"},
                                                       {8, "\r\n.\r\n"}};
  for (const auto& [write, last] : cases) {
    peer.mails.clear();
    dialogs.messages.clear();
    peer.failingWrite = write;
    page();
    loop.advance(minutes(3));
    ASSERT_EQ(peer.mails.size(), 1U);
    EXPECT_EQ(peer.mails[0], last.empty() ? "" : whole.substr(0, whole.find(last) + last.size())) << write;
    ASSERT_FALSE(dialogs.messages.empty()) << write;
    EXPECT_EQ(dialogs.messages[0], "An error occurred during the write.  Error 24054") << write;
    EXPECT_TRUE(over()) << write;
  }
  peer.failingWrite.reset();
  peer.mails.clear();
  page();
  loop.settle();
  EXPECT_EQ(peer.mails, Strings{kPage});
}

TEST_F(SmtpSenderTest, UnreachableServer) {
  peer.connectError = 24061;
  page();
  loop.advance(seconds(61));
  EXPECT_EQ(dialogs.messages, (Strings{"Unable to connect to mail.test.  Error 24061",
                                       "An error occurred during the write.  Error 24057"}));
  EXPECT_TRUE(over());

  peer.connectError = 0;
  page();
  loop.settle();
  EXPECT_EQ(peer.mails, Strings{kPage});
}

TEST_F(SmtpSenderTest, SecondMailWaitsForTheFirst) {
  peer.answers["greeting"] = "";
  page();
  mail("second");
  loop.advance(seconds(50));
  EXPECT_EQ(peer.open, 1);
  EXPECT_EQ(peer.mails.size(), 1U);
  peer.answers.clear();
  loop.advance(seconds(15));
  ASSERT_EQ(peer.mails.size(), 2U);
  EXPECT_EQ(peer.mails[0], kPage);
  EXPECT_NE(peer.mails[1].find("Subject: second\r\n"), std::string::npos);
  EXPECT_TRUE(over());
}

TEST_F(SmtpSenderTest, NoFieldCanAddALine) {
  const std::string evil = "x\r\nrcpt to: <other@evil.test>\r\n\ndata\r\0z"s;
  host.fields = {"mail.test" + evil, "me" + evil, "you" + evil, "subject" + evil};
  page("b");
  mail("task" + evil);
  loop.settle();
  ASSERT_EQ(peer.mails.size(), 2U);
  for (const std::string& bytes : peer.mails) {
    EXPECT_EQ(bytes.find('\0'), std::string::npos);
    EXPECT_EQ(bytes.find("\r\nrcpt to: <other"), std::string::npos);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), '\n'), bytes == peer.mails[0] ? 9 : 10) << bytes;
  }
  EXPECT_EQ(peer.hosts[0].find_first_of("\r\n"), std::string::npos);
}

TEST(LoneDots, CannotEndTheMail) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {"a.b\r..\r.c\r. \r ..", "a.b\r..\r.c\r. \r .."},
      {".", ".."},
      {".\rx", "..\rx"},
      {"x\r.", "x\r.."},
      {"x\r.\ry", "x\r..\ry"},
      {"x\r\n.\r\nrcpt to: <a>\r\n", "x\r\n..\r\nrcpt to: <a>\r\n"},
      {"x\n.\ny", "x\n..\ny"},
      {"x\n.\r\ny", "x\n..\r\ny"},
      {"x\r\n.\ry", "x\r\n..\ry"},
      {".\r.\n.", "..\r..\n.."},
  };
  for (const auto& [body, sent] : cases) EXPECT_EQ(asMailText(body, true), sent);
}

TEST_F(SmtpSenderTest, TextOfTheCalendarIsNeverACommand) {
  const std::string body = "Hi\r\nmail from: <evil>\nrcpt to: <victim>\r\ndata\r\n.\r\nQUIT\r\n";
  for (const char* refusal : {"", "503 no valid receiver\r\n"}) {
    peer.answers = {{"rcpt", "450 later\r\n"}, {"data", refusal}};
    peer.commands.clear();
    page(body);
    loop.advance(minutes(10));
    EXPECT_TRUE(over());
    const Strings ours = {"helo", "mail", "rcpt", "data", "Subject:", "", "Hi\rmail", ".", "QUIT"};
    EXPECT_EQ(peer.commands, ours) << refusal;
  }
  peer.answers.clear();
  peer.mails.clear();
  page(body);
  loop.settle();
  EXPECT_NE(
      peer.mails[0].find("Hi\r\nmail from: <evil>\nrcpt to: <victim>\r\ndata\r\n..\r\nQUIT\r\n\r\n.\r\n"),
      std::string::npos)
      << "a mail that is taken goes out with its own line ends";
}

}  // namespace
}  // namespace kova::paging
