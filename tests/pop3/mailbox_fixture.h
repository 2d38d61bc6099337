#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "base/text.h"
#include "conversation/line_conversation.h"
#include "fakes/fake_connector.h"
#include "fakes/fake_dialogs.h"
#include "fakes/fake_files.h"
#include "fakes/fake_loop.h"
#include "fakes/fake_profile_file.h"
#include "pop3/accounts.h"
#include "settings/settings.h"

namespace kova::pop3 {

using Strings = std::vector<std::string>;

class FixedHost final : public wml::Host {
 public:
  std::string pageDirectory() const override { return "/pages"; }
  std::string pinCode() const override { return "73106482"; }
};

/// A mail server in reach with two accounts set up: 0 with the PIN 1234, 3 without one.
class MailboxTest : public ::testing::Test {
 protected:
  MailboxTest() {
    setAccount(0, "Work", "mail.test", "me", "secret");
    set("POP3_PIN_0", "1234");
    setAccount(3, "Home", "home.test", "a", "b");
    peer.answer = [this](const std::string& line) { return reply(line); };
  }

  void set(const std::string& key, const std::string& value) { profile.values[{"Main", key}] = value; }
  void setAccount(int row, const std::string& title, const std::string& server, const std::string& user,
                  const std::string& password) {
    const std::string n = std::to_string(row);
    set("POP3_Title_" + n, title);
    set("POP3_Server_" + n, server);
    set("POP3_User_" + n, user);
    set("POP3_Pass_" + n, password);
  }

  /// What the server says. A command that the script names is answered by the script, the others as a real
  /// server would.
  std::string reply(const std::string& line) {
    const std::string word = line.substr(0, line.find(' '));
    if (const auto scripted = script.find(word); scripted != script.end()) return scripted->second;
    if (word == "STAT") return "+OK " + std::to_string(mails.size()) + " 4096\r\n";
    if (word == "TOP") {
      const std::size_t number = std::stoul(line.substr(4));
      if (number < 1 || number > mails.size()) return "-ERR no such message\r\n";
      return "+OK top follows\r\n" + mails[number - 1] + "\r\n.\r\n";
    }
    return "+OK\r\n";
  }

  /// Asks for a page and waits for its end. The deck, with LF for CR LF.
  std::string query(const std::string& parameters) {
    start = loop.now();
    ask(parameters);
    loop.advance(std::chrono::hours(2));
    EXPECT_TRUE(tasks.empty());
    EXPECT_EQ(peer.open, 0);
    EXPECT_EQ(files.openFiles, 0);
    return deck();
  }
  void ask(const std::string& parameters) { tasks.spawn(handle(parameters)); }
  base::Task<> handle(std::string parameters) {
    status = co_await accounts.Query_pop3(2, "/pop32.tmp", parameters, [this] { return wanted; });
    ended = loop.now();
  }
  std::string deck() const { return base::replaceAll(files.contents("/pages/pop32.tmp"), "\r\n", "\n"); }
  std::chrono::milliseconds took() const { return ended - start; }

  /// A card, with LF for CR LF.
  static std::string card(const std::string& title, const std::string& lines) {
    return R"xx(<?xml version="1.0"?>
<!DOCTYPE wml PUBLIC "-//WAPFORUM//DTD WML 1.1//EN" "http://www.wapforum.org/DTD/wml_1.1.xml">
<wml>
<card id="s1b1" title = ")xx" +
           title + "\" > " + R"xx(
<do type="prev" label="Back">
<prev/>
</do>
)xx" + lines;
  }
  static std::string mailboxCard(const std::string& lines) {
    return card("Mailbox content", lines + R"xx( <a href="/">Main</a> 
<a href="/oabt">About</a><br/>
 </p>
</card>
</wml>
)xx");
  }

  fakes::FakeLoop loop;
  fakes::FakeConnector peer{loop};
  fakes::FakeDialogs dialogs;
  fakes::FakeFiles files;
  fakes::FakeProfileFile profile;
  settings::Settings settings{"/home/kova", profile, '/'};
  conversation::LineConversation conversation{loop, peer, dialogs};
  FixedHost host;
  Accounts accounts{host, {loop, files, settings, conversation}};
  std::map<std::string, std::string> script;
  Strings mails;
  bool wanted = true;
  int status = -1;
  std::chrono::milliseconds start{0};
  std::chrono::milliseconds ended{0};
  base::TaskGroup tasks;
};

}  // namespace kova::pop3
