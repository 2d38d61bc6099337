#include "pop3/decoding.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "base/text.h"

namespace kova::pop3 {
namespace {

using namespace std::string_literals;

TEST(Decoding, MessageCount) {
  EXPECT_EQ(messageCount("+OK 3 1480\r\n"), "3");
  EXPECT_EQ(messageCount("+OK 3\r\n"), "3");
  EXPECT_EQ(messageCount("+OK  3\r\n"), "");
  EXPECT_EQ(messageCount("+OK\r\n"), "+OK");
  EXPECT_EQ(messageCount(""), "");
}

TEST(Decoding, SenderAndSubject) {
  struct Case {
    std::string reply;
    std::string sender;
    std::string subject;
  };
  const Case cases[] = {
      {"+OK\r\nFrom: Bob <b@x>\r\nSubject: s t\r\n", "b@x", "s t"},
      {"+OK <1@pop>\r\nFrom: Bob <b@x>\r\nSubject: s\r\n", "1@pop", "s"},
      {"From: a>b <b@x\r\n", "b@x\r\n", "b <b@x"},
      {"From: b@x\r\nsubject: small\r\n", "From: b@x\r\nsubject: small\r\n", "x"},
      {"X-Subject: first\r\nSubject: second\r\n", "X-Subject: first\r\nSubject: second\r\n", "first"},
      {"Subject: \r\n", "Subject: \r\n", ""},
      {"Subject: no end", "Subject: no end", "no end"},
      {"12345678", "12345678", ""},
      {"123456789", "123456789", "9"},
      {"", "", ""},
      {"<", "", ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(senderIn(c.reply), c.sender) << c.reply;
    EXPECT_EQ(subjectIn(c.reply), c.subject) << c.reply;
  }
}

TEST(Decoding, CodesAreReplacedFromTheFirstEqualsSignAgainAndAgain) {
  struct Case {
    std::string text;
    std::string result;
  };
  const Case cases[] = {
      {"", ""},
      {"plain", "plain"},
      {"Caf=E9", "Caf\xE9"},
      {"=e9=E9", "\xE9\xE9"},
      {"x=3D41", "xA"},                    // kept: an encoded "=" is decoded again
      {"=3D3D3D41", "A"},                  // ... and again
      {"=3D\r\nx", "\0x"s},                // ... with whatever follows it
      {"soft=\r\nbreak", "soft\0break"s},  // kept
      {"==41", "\0001"s},                  // "=4" is no number
      {"=4G|", "\0|"s},
      {"=G4|", "\0|"s},
      {"= 4|", "\0|"s},
      {"=+4|", "\0|"s},
      {"=-1|", "\0|"s},
      {"=0x41", "\00041"s},
      {"=00|", "\0|"s},
      {"a=", "a\0"s},
      {"a=4", "a\4"},
      {"a=G", "a\0"s},
      {"a=3D", "a\0"s},
      {"a=3D4", "a\4"},
      {"\xC3\xA9=C3=A9", "\xC3\xA9\xC3\xA9"},
  };
  for (const Case& c : cases) EXPECT_EQ(withCodesReplaced(c.text), c.result) << c.text;
}

TEST(Decoding, ReplacingTakesTimeInProportion) {
  std::string text = "=";
  for (int i = 0; i < 2'000'000; ++i) text += "3D";
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(withCodesReplaced(text), "\0"s);
  EXPECT_EQ(withCodesReplaced(std::string(4'000'000, '=')).size(), 4'000'000U / 3 + 1);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST(Decoding, Subject) {
  struct Case {
    std::string subject;
    std::string result;
  };
  const Case cases[] = {
      {"=?iso-8859-1?q?Caf=E9?=", "Café"},
      {"Re: =?iso-8859-1?q?Caf=E9?= closed", "Café"},  // kept: what stands around it is lost
      {"=?iso-8859-1?q?a_b?=", "a_b"},                 // kept
      {"=?iso-8859-1?q?one?= =?iso-8859-1?q?two?=", "one"},
      {"=?iso-8859-1?q?never closed =E9", "never closed é"},
      {"=?iso-8859-1?q?a?b=3F=3D?=", "a?b?\0"s},
      {"=?iso-8859-1?q?=C3=A9?=", "é"},  // UTF-8 under a wrong name
      {"=?ISO-8859-1?Q?Caf=E9?=", "=?ISO-8859-1?Q?Caf=E9?="},
      {"=?iso-8859-1?b?Q2Fm6Q==?=", "=?iso-8859-1?b?Q2Fm6Q==?="},
      {"=?utf-8?q?Caf=C3=A9?=", "=?utf-8?q?Caf=C3=A9?="},
      {"Caf=E9", "Caf=E9"},
      {"Caf\xE9", "Café"},
      {"Café", "Café"},
      {"", ""},
  };
  for (const Case& c : cases) EXPECT_EQ(decodedSubject(c.subject), c.result) << c.subject;
}

TEST(Decoding, BodyOfASimpleMail) {
  struct Case {
    std::string mail;
    std::string body;
  };
  const Case cases[] = {
      {"s\r\nTo: x\r\n\r\nHello\r\n\r\nthere\r\n", "Hello\r\n\r\nthere\r\n"},
      {"s\r\nContent-transfer-encoding: quoted-printable\r\n\r\na=3D41=\r\nb\r\n", "aA\0b\r\n"s},
      {"s\r\n\r\nsee Content-transfer-encoding: quoted-printable =41",
       "see Content-transfer-encoding: quoted-printable A"},
      {"s\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\na=3D41", "a=3D41"},  // kept: one spelling
      {"s\r\nContent-transfer-encoding: Quoted-Printable\r\n\r\na=3D41", "a=3D41"},
      {"s\r\nContent-transfer-encoding: base64\r\n\r\nQQ==", "QQ=="},
      {"s\r\n\r\nCaf\xE9", "Café"},
      {"s\r\n\r\nCafé", "Café"},
      {"s\r\nno empty line", "no empty line"},
      {"", ""},
  };
  for (const Case& c : cases) EXPECT_EQ(decodedBody(c.mail), c.body) << c.mail;
  EXPECT_EQ(decodedBody("s\r\nno end"), "no end");
  EXPECT_EQ(decodedBody("abcdef"), "def");  // kept
}

TEST(Decoding, BodyIsCutBeforeItIsDecoded) {
  const std::string quoted = "s\r\nContent-transfer-encoding: quoted-printable\r\n\r\n";
  std::string codes;
  for (int i = 0; i < 1000; ++i) codes += "=E9";
  EXPECT_EQ(base::characterCount(decodedBody(quoted + codes)), 650U);
  EXPECT_EQ(base::characterCount(decodedBody("s\r\n\r\n" + std::string(5000, '\xE9'))), 1950U);
  // A character that the cut goes through does not spoil those before it.
  for (int shift = 0; shift < 12; ++shift) {
    std::string text(static_cast<std::size_t>(shift), 'x');
    for (int i = 0; i < 1000; ++i) text += "=F0=9F=99=82";
    const std::string body = decodedBody(quoted + text);
    EXPECT_TRUE(body.starts_with(std::string(static_cast<std::size_t>(shift), 'x') + "🙂🙂")) << shift;
    EXPECT_TRUE(base::validUtf8(body));
  }
  // Nor is one that is there left out, nor half of a code shown.
  for (int shift = 0; shift < 4; ++shift) {
    const std::string begin(1950 - 6 - static_cast<std::size_t>(shift), 'x');
    const std::string tail = std::string("abc").substr(0, static_cast<std::size_t>(shift));
    EXPECT_EQ(decodedBody(quoted + begin + "\xE9" + "bc=" + "41" + tail + "more"), begin + "ébcA" + tail);
    EXPECT_EQ(decodedBody(quoted + std::string(1950, 'x').replace(1947, 3, "=E9") + "z"),
              std::string(1947, 'x'))
        << "it may be the first byte of a character";
    EXPECT_EQ(decodedBody(quoted + std::string(1949, 'x') + "=41"), std::string(1949, 'x'));
  }
  std::string text = "s\r\n\r\n";
  for (int i = 0; i < 3000; ++i) text += "é";
  EXPECT_EQ(decodedBody(text).size(), 2 * 1950U);
}

TEST(Decoding, BodyOfAMultipartMail) {
  const std::string head = "s\r\nContent-type: multipart/related;\r\n boundary=\"b\"\r\n\r\n";
  struct Case {
    std::string mail;
    std::string body;
  };
  const Case cases[] = {
      {head + "--b\r\nContent-type: text/plain; charset=x\r\n\r\nHello\r\n--b\r\nContent-type: image/png\r\n",
       "\r\nHello\r\n"},
      // The mark is the dashes with all up to the header, so the closing line is none.
      {head + "--b\r\nContent-type: text/plain; charset=x\r\n\r\nHello\r\n--b--\r\n",
       "\r\nHello\r\n--b--\r\n"},
      {head + "--b\r\nContent-type: text/plain;\r\n\tcharset=x\r\nContent-transfer-encoding: "
              "quoted-printable\r\n\r\n"
              "=41=\r\n\r\n--b\r\n",
       "\r\nA\0\r\n"s},
      {head + "--b\r\nContent-type: text/plain; charset=x\r\nContent-transfer-encoding: 7bit\r\n\r\na=41",
       "\r\na=41"},
      {head + "--b\r\nContent-type: text/plain; charset=x\r\nContent-transfer-encoding: 7bit", ""},
      // kept: the encoding is that of the part alone, ...
      {"s\r\nContent-transfer-encoding: quoted-printable\r\nContent-type: multipart/related;\r\n\r\n"
       "--b\r\nContent-type: text/plain; x\r\n\r\n=41",
       "\r\n=41"},
      // ... the first line goes even where it is text, ...
      {head + "--b\r\nContent-type: text/plain;", ""},
      {head + "--b\r\nContent-type: text/plain;\r\ntext\r\nmore", "more"},
      // ... and the last dashes before the header begin the mark.
      {head + "----b\r\nContent-type: text/plain; x\r\n\r\nHello\r\n----b\r\n", "\r\nHello\r\n--"},
      {"s\r\nContent-type: multipart/related;\r\nContent-type: text/plain; no dashes\r\n\r\nHello",
       "\r\nHello"},
      // kept: without a plain part, from character 26 on.
      {"s\r\nContent-type: multipart/related; boundary=b\r\nnext line\r\n--b\r\n", "next line\r\n--b\r\n"},
      {"1234567890123456789012345\r\nrest\r\nContent-type: multipart/related;\r\n\r\n",
       "rest\r\nContent-type: multipart/related;\r\n\r\n"},
      {"Content-type: multipart/related;", ""},
      {"Content-type: text/plain;Content-type: multipart/related;", ""},
  };
  for (const Case& c : cases) EXPECT_EQ(decodedBody(c.mail), c.body) << c.mail;
  // Other spellings make it a simple mail.
  EXPECT_EQ(decodedBody("s\r\nContent-Type: multipart/related;\r\n\r\n--b\r\n"), "--b\r\n");
  EXPECT_EQ(decodedBody("s\r\nContent-type: multipart/mixed;\r\n\r\n--b\r\n"), "--b\r\n");
}

std::string reply(const std::string& body) { return "+OK\r\nFrom: <b>\r\nSubject: s\r\n\r\n" + body; }
constexpr std::size_t kFront = std::string_view(" From: b<br/>  Sjt:s<br/>").size();

std::string shown(const std::string& body) {
  const std::string text = messageText(reply(body));
  EXPECT_TRUE(text.starts_with(" From: b<br/>  Sjt:s<br/>")) << text;
  return text.substr(kFront);
}

TEST(Decoding, TextOfAMessage) {
  EXPECT_EQ(
      messageText("+OK\r\nReturn-Path: <a&b>\r\nFrom: <b>\r\nSubject: Re: =?iso-8859-1?q?<=E9>$?=\r\n\r\n"),
      " From: a&amp;b<br/>  Sjt:&lt;é&gt;$$<br/>");
  EXPECT_EQ(shown("a<b>&\"'$\r\n"), "a&lt;b&gt;&amp;&quot;&apos;$$<br/>");
  EXPECT_EQ(messageText(""), " From: <br/>  Sjt:<br/>");
}

TEST(Decoding, EmptyLinesAreTakenOutTwice) {
  EXPECT_EQ(shown("a\r\nb"), "a<br/>b");
  EXPECT_EQ(shown("a\r\n\r\nb"), "a<br/>b");
  EXPECT_EQ(shown("a\r\n\r\n\r\n\r\nb"), "a<br/>b");
  EXPECT_EQ(shown("a\r\n\r\n\r\n\r\n\r\nb"), "a<br/><br/>b");
  EXPECT_EQ(shown("a\r\r\nb\nc"), "a\r<br/>b\nc");
}

TEST(Decoding, WholeTextIsCut) {
  const std::size_t room = kMessageCharacters - kFront;
  EXPECT_EQ(shown(std::string(room, 'x')), std::string(room, 'x'));
  EXPECT_EQ(shown(std::string(room + 1, 'x')), std::string(room, 'x') + " ...");
  EXPECT_EQ(shown(std::string(5000, 'x')), std::string(room, 'x') + " ...");
  EXPECT_EQ(shown(std::string(5000, '\xE9')), base::toUtf8(std::string(room, '\xE9')) + " ...");
  // Half of an entity, of a tag or of a doubled "$" would spoil the deck.
  struct Case {
    const char* body;
    const char* shown;
    std::size_t characters;  // of what is shown for the body
  };
  for (const Case& c :
       {Case{"&", "&amp;", 5}, Case{"\r\n", "<br/>", 5}, Case{"$", "$$", 2}, Case{"\"", "&quot;", 6}}) {
    for (std::size_t kept = 0; kept <= c.characters; ++kept) {
      const std::string front(room - kept, 'x');
      EXPECT_EQ(shown(front + c.body + "yyyyyyy"), front + (kept == c.characters ? c.shown : "") + " ...")
          << c.body << kept;
    }
  }
}

TEST(Decoding, WhatNoDeckMayHoldIsLeftOut) {
  EXPECT_EQ(
      messageText(
          "+OK\r\nFrom: <b\x01>\r\nSubject: s\x1B\r\nContent-transfer-encoding: quoted-printable\r\n\r\n"
          "soft=\r\nbreak=0C\ttab"),
      " From: b<br/>  Sjt:s<br/>softbreak\ttab");
  EXPECT_EQ(cardText("a\0<\x1F\xE9"s), "a&lt;é");
  EXPECT_EQ(cardText("\xEF\xBF\xBE|\xEF\xBF\xBF|\xEF\xBF\xBD"), "||\xEF\xBF\xBD");
}

TEST(Decoding, Argument) {
  EXPECT_EQ(asArgument("a b"), "a b");
  EXPECT_EQ(asArgument("a\nb"), "a");
  EXPECT_EQ(asArgument("a\rb"), "a");
  EXPECT_EQ(asArgument("a\0b"s), "a");
  EXPECT_EQ(asArgument("\r\nDELE 1"), "");
}

}  // namespace
}  // namespace kova::pop3
