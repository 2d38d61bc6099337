#include "base/text.h"

#include <gtest/gtest.h>

namespace kova::base {
namespace {

using namespace std::string_literals;

TEST(Text, LimitsCountCodePointsAndNeverCutOne) {
  const std::string text = "aé€😀z";  // 1, 2, 3, 4 and 1 bytes
  EXPECT_EQ(characterCount(text), 5u);
  const std::string heads[] = {"", "a", "aé", "aé€", "aé€😀", "aé€😀z", "aé€😀z"};
  const std::string tails[] = {"", "z", "😀z", "€😀z", "é€😀z", "aé€😀z", "aé€😀z"};
  for (std::size_t count = 0; count < std::size(heads); ++count) {
    EXPECT_EQ(firstCharacters(text, count), heads[count]);
    EXPECT_EQ(lastCharacters(text, count), tails[count]);
    EXPECT_EQ(longerThan(text, count), count < 5) << count;
  }
}

TEST(Text, MalformedBytesCountAsOneCharacterEach) {
  struct Case {
    std::string bytes;
    std::size_t characters;
  };
  const Case cases[] = {
      {"\xE9t\xE9", 3},         // ISO-8859-1
      {"a\xE2\x82", 3},         // cut off
      {"\xC0\xAF", 2},          // overlong
      {"\xE0\x80\xAF", 3},      // overlong
      {"\xED\xA0\x80", 3},      // surrogate
      {"\xF4\x90\x80\x80", 4},  // beyond U+10FFFF
      {"\x80\x80\xC3\xA9", 3},  // stray continuations in front of a good one
      {"\xE2\x82\xC3\xA9", 3},  // a broken sequence in front of a good one
  };
  for (const Case& c : cases) {
    EXPECT_FALSE(validUtf8(c.bytes));
    EXPECT_EQ(characterCount(c.bytes), c.characters);
    EXPECT_EQ(lastCharacters(c.bytes, c.characters), c.bytes);
    EXPECT_EQ(firstCharacters(c.bytes, c.characters), c.bytes);
    EXPECT_TRUE(longerThan(c.bytes, c.characters - 1));
    EXPECT_TRUE(validUtf8(toUtf8(c.bytes)));
  }
  EXPECT_EQ(toUtf8("caf\xE9 \xFC"), "café ü");
  EXPECT_EQ(toUtf8("café"), "café");
}

TEST(Text, UpperCaseOfAnyScript) {
  EXPECT_EQ(upperCase("Smith, Anne 1"), "SMITH, ANNE 1");
  EXPECT_EQ(upperCase("Müller, zoë"), "MÜLLER, ZOË");
  EXPECT_EQ(upperCase("иванов ωμέγα"), "ИВАНОВ ΩΜΈΓΑ");
  EXPECT_EQ(upperCase("ÿ"), "Ÿ");  // leaves its block of 256
  EXPECT_EQ(upperCase("a\xE9z é"), "A\xE9Z É");
}

TEST(Text, AsciiLowerLeavesOtherBytes) { EXPECT_EQ(asciiLower("AzÉ[@Z"), "azÉ[@z"); }

TEST(Text, TrimTakesNulAndLineEnds) {
  EXPECT_EQ(trim(" \t\r\n\0a b\0 "s), "a b");
  EXPECT_EQ(trim(" \r\n"), "");
}

TEST(Text, ReplaceAllDoesNotReadItsOwnOutput) {
  EXPECT_EQ(replaceAll("a&&b", "&", "&amp;"), "a&amp;&amp;b");
  EXPECT_EQ(replaceAll("aaa", "aa", "a"), "aa");
  EXPECT_EQ(replaceAll("", "x", "y"), "");
}

}  // namespace
}  // namespace kova::base
