#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "fakes/fake_clock.h"
#include "fakes/fake_files.h"
#include "fakes/fake_outlook.h"
#include "wml/pages.h"

namespace kova::wml {

using fakes::appointmentRecord;
using fakes::contactRecord;
using fakes::mailRecord;
using fakes::noteRecord;
using fakes::OutlookRecord;
using fakes::taskRecord;
using platform::outlook::DateProperty;
using platform::outlook::FlagProperty;
using platform::outlook::FolderNumber;
using platform::outlook::NumberProperty;
using platform::outlook::TextProperty;

class FakeHost final : public Host {
 public:
  std::string directory = "/pages";
  std::string pin = "73106482";
  std::string pageDirectory() const override { return directory; }
  std::string pinCode() const override { return pin; }
};

/// What is wrong with the tags of a deck; empty when every element that is opened is closed in its place.
inline std::string tagFault(std::string_view deck) {
  std::vector<std::string> open;
  while (true) {
    const std::size_t at = deck.find('<');
    if (at == std::string_view::npos) break;
    deck.remove_prefix(at + 1);
    std::size_t end = 0;
    for (bool quoted = false; end < deck.size() && (quoted || deck[end] != '>'); ++end) {
      if (deck[end] == '"') quoted = !quoted;
    }
    if (end == deck.size()) return "a tag that does not end";
    std::string tag(deck.substr(0, end));
    deck.remove_prefix(end + 1);
    if (tag[0] == '?' || tag[0] == '!') continue;
    if (tag.ends_with('/')) continue;
    if (tag[0] != '/') {
      open.push_back(tag.substr(0, tag.find(' ')));
    } else if (open.empty() || "/" + open.back() != tag) {
      return "<" + tag + "> closes nothing";
    } else {
      open.pop_back();
    }
  }
  return open.empty() ? "" : "<" + open.back() + "> is not closed";
}

/// The pages on a scripted machine; every deck is /pages/x2.tmp.
class PagesTest : public ::testing::Test {
 protected:
  using Entry = void (Pages::*)(int, const std::string&);
  using Query = void (Pages::*)(int, const std::string&, const std::string&);

  static constexpr const char* kF = "/x2.tmp";
  static constexpr const char* kPath = "/pages/x2.tmp";
  static constexpr const char* kTop =
      "<?xml version=\"1.0\"?>\n"
      "<!DOCTYPE wml PUBLIC \"-//WAPFORUM//DTD WML 1.1//EN\" \"http://www.wapforum.org/DTD/wml_1.1.xml\">\n";
  static constexpr const char* kBack =
      "<do type=\"prev\" label=\"Back\">\n"
      "<prev/>\n"
      "</do>\n";
  static constexpr const char* kTemplate =
      "\n"
      "<wml>\n"
      "  <template>\n"
      "      <do type=\"prev\" label=\"Back\">\n"
      "         <prev/>\n"
      "      </do>\n"
      "   </template>\n"
      "\n";

  /// The deck that a page writes, with LF for CR LF.
  std::string deckOf(Entry page) {
    (pages.*page)(2, kF);
    return deck();
  }
  std::string deckOf(Query page, const std::string& parameters) {
    (pages.*page)(2, kF, parameters);
    return deck();
  }
  std::string deck() const {
    const std::string text = files.contents(kPath);
    EXPECT_EQ(base::replaceAll(text, "\r\n", "").find_first_of("\r\n"), std::string::npos);
    return base::replaceAll(text, "\r\n", "\n");
  }
  /// Line number `index` of the deck, counted from 0.
  static std::string line(const std::string& deck, std::size_t index) {
    std::size_t at = 0;
    for (; index > 0; --index) at = deck.find('\n', at) + 1;
    return deck.substr(at, deck.find('\n', at) - at);
  }

  std::vector<OutlookRecord>& folder(FolderNumber number) { return outlook.folders[number]; }

  void TearDown() override {
    EXPECT_EQ(files.openFiles, 0);
    EXPECT_EQ(outlook.liveObjects, 0);
  }

  FakeHost host;
  fakes::FakeFiles files;
  fakes::FakeClock clock;
  fakes::FakeOutlook outlook;
  Pages pages{host, files, clock, outlook};
};

}  // namespace kova::wml
