#include "wml/deck.h"

#include <gtest/gtest.h>

#include "fakes/fake_files.h"
#include "wml/nosupport.h"

namespace kova::wml {
namespace {

TEST(WmlEscape, EscapesOnceInOrder) {
  EXPECT_EQ(WmlEscape("a<b & 'c' $x"), "a&lt;b &amp; &apos;c&apos; $$x");
  EXPECT_EQ(WmlEscape("&amp;"), "&amp;amp;");
  EXPECT_EQ(WmlEscape("\">é$$"), "&quot;&gt;é$$$$");
  EXPECT_EQ(WmlEscape(""), "");
}

TEST(Deck, StandardHeaderAndFooter) {
  fakes::FakeFiles files;
  Deck deck(files);
  ASSERT_TRUE(header_standard(deck, "d", "Title"));
  deck.line("<p>text");
  footer_standard(deck, "/back");
  EXPECT_EQ(files.openFiles, 0);
  EXPECT_EQ(
      files.contents("d"),
      "<?xml version=\"1.0\"?>\r\n"
      "<!DOCTYPE wml PUBLIC \"-//WAPFORUM//DTD WML 1.1//EN\" \"http://www.wapforum.org/DTD/wml_1.1.xml\">\r\n"
      "<wml>\r\n"
      "<card id=\"s1b1\" title = \"Title\" > \r\n"
      "<do type=\"prev\" label=\"Back\">\r\n"
      "<prev/>\r\n"
      "</do>\r\n"
      "<p>text\r\n"
      "<a href=\"/back\">Back</a> <a href=\"/\">Main</a> <a href=\"/oabt\">About</a><br/>\r\n"
      "</p></card>\r\n"
      "</wml>\r\n");
  EXPECT_EQ(files.writes, 1);
}

TEST(Deck, LargeDeckGoesOutInPiecesAndStaysInOrder) {
  fakes::FakeFiles files;
  std::string expected;
  {
    Deck deck(files);
    ASSERT_TRUE(deck.open("d"));
    for (int i = 0; i < 20000; ++i) {
      const std::string number = std::to_string(i);
      deck.line("line ", number);
      expected += "line " + number + "\r\n";
    }
    EXPECT_TRUE(deck.close());
  }
  EXPECT_EQ(files.contents("d"), expected);
  EXPECT_GT(files.writes, 2);
  EXPECT_LT(files.writes, 100);
}

TEST(Deck, FullDiskIsReportedAndNothingFollowsTheGap) {
  fakes::FakeFiles files;
  files.freeBytes = 20000;
  Deck deck(files);
  ASSERT_TRUE(deck.open("d"));
  for (int i = 0; i < 20000; ++i) deck.line("0123456789");
  files.freeBytes = 1000000;
  deck.line("late");
  EXPECT_FALSE(deck.close());
  EXPECT_EQ(files.contents("d").size(), 20000u);
}

TEST(Deck, FailedOpenAndCloseAreReported) {
  fakes::FakeFiles files;
  files.failCreate = true;
  Deck deck(files);
  EXPECT_FALSE(header_standard(deck, "d", "Title"));
  deck.line("goes nowhere");
  EXPECT_FALSE(deck.close());
  EXPECT_EQ(files.count(), 0u);
  EXPECT_FALSE(writeNoSupportDeck(files, "nosupport.wml"));

  files.failCreate = false;
  files.failClose = true;
  EXPECT_FALSE(writeNoSupportDeck(files, "nosupport.wml"));
}

TEST(Deck, NoSupport) {
  fakes::FakeFiles files;
  ASSERT_TRUE(writeNoSupportDeck(files, "nosupport.wml"));
  EXPECT_EQ(
      files.contents("nosupport.wml"),
      "<?xml version=\"1.0\"?>\r\n"
      "<!DOCTYPE wml PUBLIC \"-//WAPFORUM//DTD WML 1.1//EN\" \"http://www.wapforum.org/DTD/wml_1.1.xml\">\r\n"
      "<wml>\r\n"
      "<card id=\"ninput\" title=\"KOVA E-mails\" newcontext=\"true\">\r\n"
      "<do type=\"prev\" label=\"Back\">\r\n"
      "<prev/>\r\n"
      "</do>\r\n"
      "<p>That file type is not supported by your browser.<br/>\r\n"
      "</p></card>\r\n"
      "</wml>\r\n");
}

}  // namespace
}  // namespace kova::wml
