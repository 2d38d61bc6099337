#include "pop3/accounts.h"

#include "mailbox_fixture.h"

namespace kova::pop3 {
namespace {

using AccountsTest = MailboxTest;

std::string selection(const std::string& options) {
  return R"xx(<p><i>Remote mailboxes</i><br/>Select account:<br/>
<select multiple="false" name="caltp">
)xx" + options +
         R"xx(</select>
PIN code:<br/>
<input name="pin" title="text" value=""/>
<a href="/">Main</a> <a href="/pop3?caltp=$caltp&amp;pin=$pin">
Submit</a> <a href="/oabt">About</a><br/>
 </p>
</card>
</wml>
)xx";
}

TEST_F(AccountsTest, SelectionCardOffersTheRowsThatAreSet) {
  setAccount(1, "blank", "s", "u", "p");
  setAccount(2, "no server", "blank", "u", "p");
  setAccount(4, "no password", "s", "u", "x");
  profile.values.erase({"Main", "POP3_Pass_4"});
  setAccount(5, "no user", "s", "blank", "p");
  setAccount(7, "A & <b>B</b>", "s", "", "p");  // kept: not escaped; a cleared user is not an unset one
  setAccount(8, "no such row", "s", "u", "p");
  accounts.Get_pop3_main(2, "/pop32.tmp");
  EXPECT_EQ(deck(), card("Remote mailboxes", selection("<option value=\"0\">Work</option>\n"
                                                       "<option value=\"3\">Home</option>\n"
                                                       "<option value=\"7\">A & <b>B</b></option>\n")));
  profile.values.clear();
  accounts.Get_pop3_main(2, "/pop32.tmp");
  EXPECT_EQ(deck(), card("Remote mailboxes", selection("")));
}

TEST_F(AccountsTest, PinIsCheckedBeforeTheServerIsVisited) {
  set("POP3_PIN_5", "");
  const std::string refused =
      card("Invalid PIN",
           "<p>Invalid PIN code.<br/>\n"
           "<a href=\"/pop3\">Back</a> <a href=\"/\">Main</a> <a href=\"/oabt\">About</a><br/>\n"
           "</p></card>\n</wml>\n");
  for (const std::string& parameters :
       {std::string("caltp=0&pin="), std::string("caltp=0"), std::string("caltp=0&pin=blank"),
        std::string("caltp=0&pin=1234 "), std::string("caltp=0&pin=123&poppos=1"),
        std::string("caltp=5&pin="), "caltp=5&pin=" + std::string(255, '\0')}) {
    EXPECT_EQ(query(parameters), refused) << parameters;
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(peer.hosts, Strings{});
}

TEST_F(AccountsTest, QueryFallsIntoAccountPinAndNumber) {
  struct Case {
    const char* query;
    const char* host;
    const char* user;
    const char* titleLine;
  };
  constexpr const char* kListing = "Remote mailboxes</i>";
  mails = {"A: b\r\n\r\n", "A: b\r\n\r\n", "A: b\r\n\r\n"};
  const Case cases[] = {
      {"caltp=0&pin=1234", "mail.test", "USER me", kListing},
      {"caltp=0&pin=1234&poppos=", "mail.test", "USER me", kListing},
      {"caltp=0&pin=1234&poppos=3", "mail.test", "USER me", "E-mail #3:"},
      {"caltp=3&pin=&poppos=2", "home.test", "USER a", "E-mail #2:"},
      {"caltp=3&pin=any", "home.test", "USER a", kListing},
      {"caltp=3", "home.test", "USER a", kListing},
      // Rows that are not set, or are none: the word that stands for nothing is sent.
      {"caltp=1&pin=", "blank", "USER blank", kListing},
      {"caltp=8&pin=", "blank", "USER blank", kListing},
      {"caltp=03&pin=", "blank", "USER blank", kListing},
      {"caltp=3&poppos=1", "blank", "USER blank", kListing},
      {"", "blank", "USER blank", kListing},
  };
  set("POP3_Server_8", "not.a.row");
  set("POP3_Server_03", "not.a.row");
  for (const Case& c : cases) {
    peer.hosts.clear();
    peer.heard.clear();
    const std::string text = query(c.query);
    EXPECT_EQ(peer.hosts, Strings{c.host}) << c.query;
    ASSERT_FALSE(peer.heard.empty());
    EXPECT_EQ(peer.heard[0], c.user) << c.query;
    EXPECT_NE(text.find(c.titleLine), std::string::npos) << text;
    EXPECT_EQ(peer.ports.back(), "110");
  }
}

TEST_F(AccountsTest, DeckThatCannotBeMadeIsNoVisit) {
  files.failCreate = true;
  query("caltp=3&pin=");
  query("caltp=3&pin=&poppos=1");
  query("caltp=0&pin=");
  EXPECT_EQ(files.count(), 0U);
  EXPECT_EQ(peer.hosts, Strings{});
}

}  // namespace
}  // namespace kova::pop3
