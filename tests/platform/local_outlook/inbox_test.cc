#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>

#include "platform/local_outlook/local_outlook_fixture.h"

namespace kova::platform::local_outlook {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

class InboxTest : public LocalOutlookTest {
 protected:
  /// A message received some minutes after 2026-03-14 10:00 UTC.
  std::string deliver(const std::string& name, const std::string& text, int minute = 0) {
    const auto slash = name.find('/');
    const std::string path = write(folders.inbox + "/" + name.substr(0, slash), name.substr(slash + 1), text);
    const std::chrono::sys_seconds received{std::chrono::seconds(1773482400 + minute * 60)};
    fs::last_write_time(path, fs::file_time_type::clock::from_sys(received));
    return path;
  }

  /// The name of a message with flags, "b:2,S", as it can stand on this system's disks.
  static std::string flagged(std::string name) {
    std::ranges::replace(name, ':', kFlagMark);
    return name;
  }

  Lines list() {
    Lines lines;
    const auto mail = items(FolderNumber::kInbox, "[ReceivedTime]");
    if (!mail) return {"no answer"};
    for (auto item = mail->getFirst(); item; item = mail->getNext()) {
      lines.push_back(base::shortTime(*item->date(DateProperty::kReceivedTime)) +
                      (*item->flag(FlagProperty::kUnRead) ? " new " : " old ") +
                      *item->text(TextProperty::kSubject));
    }
    return lines;
  }

  std::string body(const std::string& message) {
    deliver("new/1", message);
    return *first(FolderNumber::kInbox)->text(TextProperty::kBody);
  }
};

TEST_F(InboxTest, FlagsTimesAndOrder) {
  EXPECT_THAT(list(), IsEmpty());
  deliver(flagged("cur/b:2,RS"), "Subject: read\n\n", 3);
  deliver(flagged("cur/c:2,"), "Subject: seen by nobody\n\n", 2);
  deliver("cur/d", "Subject: without flags\n\n", 5);
  deliver(flagged("cur/e:2,FS:2,F"), "Subject: odd name\n\n", 6);
  deliver(flagged("new/f:2,S"), "Subject: in new\n\n", 1);
  deliver("new/.hidden", "Subject: hidden\n\n");
  deliver("tmp/g", "Subject: on its way\n\n");
  EXPECT_THAT(list(), ElementsAre("11:01 new in new", "11:02 new seen by nobody", "11:03 old read",
                                  "11:05 new without flags", "11:06 new odd name"));
  EXPECT_TRUE(items(FolderNumber::kInbox)->sort("[ReceivedTime]"));
  EXPECT_FALSE(items(FolderNumber::kInbox)->sort("[Start]"));

  // Read in another program.
  fs::rename(folders.inbox + flagged("/cur/c:2,"), folders.inbox + flagged("/cur/c:2,S"));
  fs::rename(folders.inbox + flagged("/new/f:2,S"), folders.inbox + flagged("/cur/f:2,S"));
  fs::remove(folders.inbox + "/cur/d");
  EXPECT_THAT(list(), ElementsAre("11:01 old in new", "11:02 old seen by nobody", "11:03 old read",
                                  "11:06 new odd name"));
  deliver("new/h", "Subject: one more\n\n", 4);
  EXPECT_THAT(list(), testing::Contains("11:04 new one more"));
  deliver("new/h", "Subject: corrected\n\n", 4);
  EXPECT_THAT(list(), testing::Contains("11:04 new corrected"));
}

TEST_F(InboxTest, FlagsAsOtherProgramsWriteThem) {
  int minute = 0;
  for (const char* name : {"a;2,S", "b!2,FS", "c;2,", "d2,S", "2,S", "e!2,S;2,F", "f-2,S", "g;2,RS;2,S"})
    deliver(std::string("cur/") + name, "Subject: x\n\n", minute++);
  EXPECT_THAT(list(), ElementsAre("11:00 old x", "11:01 old x", "11:02 new x", "11:03 new x", "11:04 new x",
                                  "11:05 new x", "11:06 new x", "11:07 old x"));
}

TEST_F(InboxTest, Subjects) {
  const std::pair<const char*, const char*> cases[] = {
      {"Subject: plain\n\nbody", "plain"},
      {"From: a\nsubject: =?iso-8859-1?Q?Gr=FC=DFe?= =?utf-8?B?4oKs?=\r\n\r\n", "Grüße€"},
      {"Subject: folded\n  over lines\n\n", "folded  over lines"},
      {"Subject: bare \xFC\n\n", "bare ü"},
      {"Subject: bare Ü\n\n", "bare Ü"},
      {"Subject: =?utf-8?Q?two=0D=0AX-Evil:_lines?=\n\n", "two  X-Evil: lines"},
      {"From: a\n\nSubject: in the body\n", ""},
      {"", ""},
      {"Subject:", ""},
  };
  for (const auto& [message, subject] : cases) {
    deliver("new/1", message);
    EXPECT_EQ(first(FolderNumber::kInbox)->text(TextProperty::kSubject), subject) << message;
  }
}

TEST_F(InboxTest, SizeAndTextsOfOtherKinds) {
  deliver("new/1", "Subject: x\n\nabc");
  const auto item = first(FolderNumber::kInbox);
  EXPECT_EQ(item->number(NumberProperty::kSize), 15);
  EXPECT_EQ(item->text(TextProperty::kLocation), std::nullopt);
  fs::remove(folders.inbox + "/new/1");
  EXPECT_EQ(item->text(TextProperty::kSubject), "");  // gone meanwhile; the list goes on
}

TEST_F(InboxTest, BodiesArePlainTextInUtf8WithCrLf) {
  EXPECT_EQ(body("Subject: x\n\none\ntwo\r\nthree"), "one\r\ntwo\r\nthree");
  EXPECT_EQ(
      body("Content-Type: text/plain; charset=iso-8859-1\nContent-Transfer-Encoding: quoted-printable\n\n"
           "Gr=FC=DF=\ne\n"),
      "Grüße\r\n");
  EXPECT_EQ(
      body("Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: base64\n\nR3LDvMOfZQ==\n"),
      "Grüße");
  EXPECT_EQ(body("Content-Type: text/plain; charset=no-such\n\nGr\xFC\xDF"
                 "e"),
            "Grüße");
  EXPECT_EQ(body("Content-Type: application/pdf\n\n%PDF"), "");
  EXPECT_EQ(body("no header at all"), "");
}

TEST_F(InboxTest, BodyOfAMultipartMessage) {
  const std::string html = "--b\nContent-Type: text/html\n\n<p>Hyper</p>\n";
  const std::string plain = "--b\nContent-Type: text/plain\n\nPlain\n";
  const std::string attached =
      "--b\nContent-Type: text/plain\nContent-Disposition: attachment; filename=a.txt\n\nfile\n";
  const std::string head = "Content-Type: multipart/mixed; boundary=b\n\npreamble\n";
  EXPECT_EQ(body(head + attached + html + plain + "--b--\n"), "Plain");
  EXPECT_EQ(body(head + attached + html + "--b--\n"), "Hyper");
  EXPECT_EQ(body(head + attached + "--b--\n"), "");
  EXPECT_EQ(
      body(head +
           "--b\nContent-Type: multipart/alternative; boundary=c\n\n--c\nContent-Type: text/plain\n\nInner\n"
           "--c--\n--b\nContent-Type: message/rfc822\n\nSubject: y\n\nforwarded\n--b--\n"),
      "Inner");
  EXPECT_EQ(body(head + plain), "Plain\r\n") << "cut off";
}

TEST_F(InboxTest, PartsInPartsWithoutEnd) {
  std::string message = "Subject: x\n";
  for (int i = 0; i < 30'000; ++i) {
    const std::string boundary = "b" + std::to_string(i);
    message += "Content-Type: multipart/mixed; boundary=" + boundary + "\n\n--" + boundary + "\n";
  }
  body(message);  // comes back
  EXPECT_THAT(list(), ElementsAre("11:00 new x"));
}

TEST_F(InboxTest, HtmlAsText) {
  const std::pair<const char*, const char*> cases[] = {
      {"<html><head><title>t</title><style>p {}</style></head><body><p>One</p><p>Two<br>Three</body></html>",
       "One\r\nTwo\r\nThree"},
      {"a   b\n c&nbsp;d &amp; &lt;e&gt; &#228;&#xE4;&auml;&euro; &unknown; &",
       "a b c d & <e> äää€ &unknown; &"},
      {"<script>if (a < b) alert('</p>')</script>x<!-- <b>y</b> -->z", "xz"},
      {"<ul><li>one</li><li>two</li></ul>", "one\r\ntwo"},
      {"<table><tr><td>a</td><td>b</td></tr><tr><td>c</td></tr></table>", "a b\r\nc"},
      {"<a href=\"x>y\">link</a> 1 < 2 <", "link 1 < 2 <"},
      {"<pre>a\n  b</pre>", "a\r\n  b"},
      {"<style>never closed", ""},
      {"a<br><br><br><br>b", "a\r\n\r\nb"},
      {"&#0;&#55296;&#x110000;x", "x"},
  };
  for (const auto& [html, text] : cases)
    EXPECT_EQ(body(std::string("Content-Type: text/html; charset=utf-8\n\n") + html), text) << html;
}

TEST_F(InboxTest, AFileIsNoMaildir) {
  std::ofstream(folders.inbox) << "From a mailbox file\n";
  EXPECT_THAT(list(), ElementsAre("no answer"));
  list();
  EXPECT_EQ(log.size(), 1u) << testing::PrintToString(log);
}

}  // namespace
}  // namespace kova::platform::local_outlook
