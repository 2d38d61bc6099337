#include "launch/center.h"

#include <vector>

#include "base/text.h"
#include "fakes/fake_files.h"
#include "launch_fixture.h"

namespace kova::launch {
namespace {

using Strings = std::vector<std::string>;

constexpr const char* kLaunched = "command launched";
constexpr const char* kInvalidPin = "Invalid PIN";
constexpr const char* kInvalidCommand = "Invalid command";

class FixedHost final : public wml::Host {
 public:
  std::string pageDirectory() const override { return "/pages"; }
  std::string pinCode() const override { return "73106482"; }
};

/// The card of a result, with LF for CR LF.
std::string card(const std::string& title, const std::string& text) {
  return R"xx(<?xml version="1.0"?>
<!DOCTYPE wml PUBLIC "-//WAPFORUM//DTD WML 1.1//EN" "http://www.wapforum.org/DTD/wml_1.1.xml">
<wml>
<card id="s1b1" title = ")xx" +
         title + "\" > " + R"xx(
<do type="prev" label="Back">
<prev/>
</do>
<p>)xx" + text +
         R"xx(<br/>
<a href="/comd">Back</a> <a href="/">Main</a> <a href="/oabt">About</a><br/>
</p></card>
</wml>
)xx";
}

std::string selectionCard(const std::string& options) {
  return R"xx(<?xml version="1.0"?>
<!DOCTYPE wml PUBLIC "-//WAPFORUM//DTD WML 1.1//EN" "http://www.wapforum.org/DTD/wml_1.1.xml">
<wml>
<card id="s1b1" title = "Launch center" > )xx" +
         std::string(R"xx(
<do type="prev" label="Back">
<prev/>
</do>
<p><i>Launch center</i><br/>Select command:<br/>
<select multiple="false" name="caltp">
)xx") + options +
         R"xx(</select>
PIN code:<br/>
<input name="pin" title="text" value=""/>
Parameter (opt.):<br/>
<input name="par" title="text" maxlength="8" value=""/>
<a href="/">Main</a> <a href="/comd?caltp=$caltp&amp;par=$par&amp;pin=$pin">
Submit</a> <a href="/oabt">About</a><br/>
 </p>
</card>
</wml>
)xx";
}

class CenterTest : public LaunchTest {
 protected:
  CenterTest() {
    set("CMD_Title_0", "Lamp on");
    set("CMD_Command_0", "/usr/bin/lamp on");
    set("CMD_PIN_0", "1234");
    set("CMD_Title_3", "Open");
    set("CMD_Command_3", "open");
  }

  /// The deck of the last call, with LF for CR LF.
  std::string deck() const {
    const std::string text = files.contents("/pages/comd2.tmp");
    EXPECT_EQ(base::replaceAll(text, "\r\n", "").find_first_of("\r\n"), std::string::npos);
    return base::replaceAll(text, "\r\n", "\n");
  }
  std::string query(const std::string& parameters) {
    EXPECT_EQ(center.Query_comd(2, "/comd2.tmp", parameters), 0) << parameters;
    return deck();
  }
  static bool hasTitle(const std::string& deck, const std::string& title) {
    return deck.find("title = \"" + title + "\"") != std::string::npos;
  }

  FixedHost host;
  fakes::FakeFiles files;
  Strings log;
  Center center{host, files, settings, processes, [this](const std::string& line) { log.push_back(line); }};
};

TEST_F(CenterTest, SelectionCardOffersTheRowsThatHaveTitleAndCommand) {
  set("CMD_Title_1", "no command");
  set("CMD_Command_2", "no-title");
  set("CMD_Title_5", "blank");
  set("CMD_Command_5", "said-blank");
  set("CMD_Title_7", "A & <b>B</b>");  // kept: not escaped
  set("CMD_Command_7", "b");
  set("CMD_Title_8", "no such row");
  set("CMD_Command_8", "c");
  center.Get_comd_main(2, "/comd2.tmp");
  EXPECT_EQ(deck(), selectionCard("<option value=\"0\">Lamp on</option>\n"
                                  "<option value=\"3\">Open</option>\n"
                                  "<option value=\"7\">A & <b>B</b></option>\n"));
}

TEST_F(CenterTest, SelectionCardWithoutCommands) {
  profile.values.clear();
  center.Get_comd_main(2, "/comd2.tmp");
  EXPECT_EQ(deck(), selectionCard(""));
}

TEST_F(CenterTest, ResultCards) {
  EXPECT_EQ(query("caltp=0&par=now&pin=1234"), card(kLaunched, "Command: Lamp on has been lauched."));
  EXPECT_EQ(query("caltp=0&par=now&pin=1"), card(kInvalidPin, "Invalid PIN code."));
  EXPECT_EQ(query("caltp=1&par=now&pin=1"), card(kInvalidCommand, "Invalid command."));
  EXPECT_EQ(processes.started, Strings{"/usr/bin/lamp on now"});
}

TEST_F(CenterTest, QueryFallsIntoRowParameterAndPin) {
  struct Case {
    const char* query;
    const char* title;
    const char* started;  // null: nothing
  };
  const Case cases[] = {
      {"caltp=0&par=&pin=1234", kLaunched, "/usr/bin/lamp on "},  // kept: the blank behind the command
      {"caltp=0&par=a b&pin=1234", kLaunched, "/usr/bin/lamp on a b"},
      {"caltp=0&par=a&b=c&pin=1234", kLaunched, "/usr/bin/lamp on a&b=c"},
      {"contp=0&par=x&pin=1234", kLaunched, "/usr/bin/lamp on x"},  // the first name is not looked at
      {"caltp=0&par=x&par=y&pin=1234", kLaunched, "/usr/bin/lamp on x&par=y"},
      {"caltp=3&par=x", kLaunched, "open x"},
      {"caltp=3", kLaunched, "open "},
      {"caltp=0&par=x", kInvalidPin, nullptr},
      {"caltp=0", kInvalidPin, nullptr},
      {"caltp=0&par=x&pin=1234&pin=1234", kInvalidPin, nullptr},
      {"caltp=0&pin=1234", kInvalidCommand, nullptr},  // the PIN counts as part of the row
      {"caltp=0&pin=1234&par=x", kInvalidCommand, nullptr},
      {"", kInvalidCommand, nullptr},
      {"x", kInvalidCommand, nullptr},
      {"caltp=", kInvalidCommand, nullptr},
      {"&par=&pin=", kInvalidCommand, nullptr},
  };
  for (const Case& c : cases) {
    processes.started.clear();
    EXPECT_TRUE(hasTitle(query(c.query), c.title)) << c.query << "\n" << deck();
    EXPECT_EQ(processes.started, c.started ? Strings{c.started} : Strings{}) << c.query;
  }
}

TEST_F(CenterTest, PinIsCheckedFirst) {
  set("CMD_PIN_3", "blank");
  set("CMD_PIN_4", "77");  // neither title nor command
  set("CMD_PIN_6", "");
  set("CMD_Title_6", "cleared PIN");
  set("CMD_Command_6", "x");
  struct Case {
    std::string row;
    std::string pin;
    const char* title;
  };
  const Case cases[] = {
      {"0", "1234", kLaunched},
      {"0", "", kInvalidPin},
      {"0", "blank", kInvalidPin},
      {"0", "1234 ", kInvalidPin},
      {"0", std::string("1234\0", 5), kInvalidPin},
      {"3", "", kLaunched},
      {"3", "anything", kLaunched},
      {"4", "77", kInvalidCommand},
      {"4", "78", kInvalidPin},
      {"6", "", kInvalidPin},  // kept: cleared is not "blank"
      {"6", std::string(255, '\0'), kInvalidPin},
  };
  for (const Case& c : cases) {
    EXPECT_TRUE(hasTitle(query("caltp=" + c.row + "&par=&pin=" + c.pin), c.title)) << c.row << " " << c.pin;
  }
}

TEST_F(CenterTest, OnlyTheNumberOfARowReachesASetting) {
  const Strings rows = {"8",
                        "9",
                        "-1",
                        "",
                        "  ",
                        "00",
                        " 3",
                        "3 ",
                        "3\r\n",
                        "3=",
                        "3.0",
                        "abc",
                        "3]",
                        "+3",
                        "3\t",
                        "0x3",
                        "[Main]",
                        "\xD9\xA3",
                        std::string("3\0", 2),
                        std::string(100000, '3')};
  for (const std::string& row : rows) {
    // The file may hold such a key, or match one without the blanks around it.
    set("CMD_Title_" + row, "not a row");
    set("CMD_Command_" + row, "not a row");
    EXPECT_EQ(query("caltp=" + row + "&par=x&pin=1234"), card(kInvalidCommand, "Invalid command.")) << row;
  }
  EXPECT_EQ(processes.started, Strings{});
}

TEST_F(CenterTest, CommandThatCannotBeStartedIsALogLine) {
  processes.failure = "/usr/bin/lamp: No such file or directory";
  EXPECT_EQ(query("caltp=0&par=&pin=1234"), card(kLaunched, "Command: Lamp on has been lauched."));
  EXPECT_EQ(log,
            Strings{"Command 0 (Lamp on) could not be started: /usr/bin/lamp: No such file or directory"});
}

TEST_F(CenterTest, ClearedCommandDoesNotMakeTheParameterAProgram) {
  set("CMD_Title_3", "");
  set("CMD_Command_3", "");
  center.Get_comd_main(2, "/comd2.tmp");
  EXPECT_EQ(deck(), selectionCard("<option value=\"0\">Lamp on</option>\n<option value=\"3\"></option>\n"));
  EXPECT_EQ(query("caltp=3&par=/bin/sh&pin="), card(kLaunched, "Command:  has been lauched."));
  EXPECT_EQ(processes.started, Strings{});
  EXPECT_EQ(log, Strings{"Command 3 () could not be started: no command"});
}

TEST_F(CenterTest, ChangedCommandCountsAtOnce) {
  set("CMD_PIN_0", "9");
  EXPECT_TRUE(hasTitle(query("caltp=0&par=&pin=1234"), kInvalidPin));
  set("CMD_Command_0", "/usr/bin/lamp off");
  EXPECT_TRUE(hasTitle(query("caltp=0&par=&pin=9"), kLaunched));
  EXPECT_EQ(processes.started, Strings{"/usr/bin/lamp off "});
}

TEST_F(CenterTest, DeckThatCannotBeMadeIsNoDeck) {
  files.failCreate = true;
  center.Get_comd_main(2, "/comd2.tmp");
  EXPECT_EQ(query("caltp=0&par=&pin=1"), "");
  EXPECT_EQ(processes.started, Strings{});
  EXPECT_EQ(query("caltp=0&par=&pin=1234"), "");
  EXPECT_EQ(processes.started, Strings{"/usr/bin/lamp on "}) << "it was started before its card was made";
  EXPECT_EQ(files.count(), 0U);
}

}  // namespace
}  // namespace kova::launch
