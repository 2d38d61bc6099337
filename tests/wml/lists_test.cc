#include "pages_fixture.h"

namespace kova::wml {
namespace {

const std::string kListEnd =
    "<a href=\"/\">Main</a> <a href=\"/oabt\">About</a><br/>\n"
    " </p>\n"
    "    </card>\n"
    "</wml>\n";

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  for (; count > 0; --count) result += text;
  return result;
}

class Contacts : public PagesTest {
 protected:
  static constexpr std::size_t kRowsLine = 9;

  std::string rowsFor(const std::string& search) {
    return line(deckOf(&Pages::Get_ocon_mainB, "caltp=" + search), kRowsLine);
  }
};

TEST_F(Contacts, WholeDeckOfASearch) {
  folder(FolderNumber::kContacts) = {contactRecord("Smith", "Anne"), contactRecord("Jones", "Bob"),
                                     contactRecord("Jordan", "M&M <x>")};
  EXPECT_EQ(deckOf(&Pages::Get_ocon_mainB, "caltp=aN"),
            std::string(kTop) + "<wml>\n<card id=\"ninput\" title=\"KOVA Contacts\" newcontext=\"true\">\n" +
                kBack +
                R"xx( <p><img alt="" localsrc="phone2" src=""/><i>Contacts</i><br/>

<a href="/ocon?contp=01">01:Smith, Anne</a><br/><a href="/ocon?contp=03">02:Jordan, M&amp;M &lt;x&gt;</a><br/>
<a href="/ocon">back</a> <a href="/">Main</a> <a href="/oabt">About</a><br/>
 </p></card>
</wml>
)xx");
  EXPECT_EQ(tagFault(deck()), "");
  const std::vector<std::string> opening(outlook.calls.begin(), outlook.calls.begin() + 6);
  EXPECT_EQ(opening, (std::vector<std::string>{"createObject Outlook.Application", "getNamespace MAPI",
                                               "getDefaultFolder 10", "items", "sort [Start]",
                                               "setIncludeRecurrences true"}));
}

TEST_F(Contacts, WhatMatches) {
  folder(FolderNumber::kContacts) = {contactRecord("Müller", "Zoë"), contactRecord("O*Neil", "Al")};
  const std::string first = R"(<a href="/ocon?contp=01">01:Müller, Zoë</a><br/>)";
  const std::string second = R"(<a href="/ocon?contp=02">02:O*Neil, Al</a><br/>)";
  const std::string secondOnly = R"(<a href="/ocon?contp=02">01:O*Neil, Al</a><br/>)";
  EXPECT_EQ(rowsFor(""), first + second);
  EXPECT_EQ(rowsFor("*"), first + second);
  EXPECT_EQ(rowsFor(", "), first + second);
  EXPECT_EQ(rowsFor("O*n"), secondOnly);
  EXPECT_EQ(rowsFor("**"), "");
  EXPECT_EQ(rowsFor("zOË"), first);
  EXPECT_EQ(rowsFor("m\xFCll"), first);  // typed on a phone that sends ISO-8859-1
  EXPECT_EQ(rowsFor("%20"), "");         // not decoded on this road
  EXPECT_EQ(line(deckOf(&Pages::Get_ocon_mainB, ""), kRowsLine), first + second);
}

TEST_F(Contacts, NameIsCutToFiftyCharactersBeforeEscaping) {
  folder(FolderNumber::kContacts) = {contactRecord(repeated("é", 49) + "&&", "x")};
  EXPECT_EQ(rowsFor("*"), R"(<a href="/ocon?contp=01">01:)" + repeated("é", 49) + "&amp;</a><br/>");
}

TEST_F(Contacts, ListIsCutToTwoThousandCharacters) {
  for (int i = 0; i < 120; ++i) {
    folder(FolderNumber::kContacts).push_back(contactRecord(repeated("ü", 40), std::to_string(1000 + i)));
  }
  const std::string rows = rowsFor("*");
  EXPECT_EQ(base::characterCount(rows), 2000u);
  const std::string firstRow = rows.substr(0, rows.find("<br/>") + 5);
  const std::size_t perRow = base::characterCount(firstRow);
  // Rows are added while the list is at most 2000 characters long, so that the last one is the one that is
  // cut.
  const std::size_t last = 2000 / perRow + 1;
  ASSERT_NE(2000 % perRow, 0u);
  EXPECT_NE(rows.find("contp=" + std::to_string(last - 1)), std::string::npos);
  EXPECT_EQ(rows.find("contp=" + std::to_string(last + 1)), std::string::npos);
  EXPECT_TRUE(base::validUtf8(rows));
}

TEST_F(Contacts, PositionsCountWhatIsNotShown) {
  for (int i = 0; i < 122; ++i) folder(FolderNumber::kContacts).push_back(contactRecord("Other", "x"));
  folder(FolderNumber::kContacts).push_back(contactRecord("Wanted", "x"));
  EXPECT_EQ(rowsFor("wanted"), R"(<a href="/ocon?contp=123">01:Wanted, x</a><br/>)");
}

class Mails : public PagesTest {};

TEST_F(Mails, WholeDeckInOrderOfReceipt) {
  folder(FolderNumber::kInbox) = {
      mailRecord("Second & <last>", {2005, 3, 14, 15, 5, 0}, true),
      mailRecord("Read", {2005, 3, 12, 0, 0, 0}, false),
      mailRecord("First", {2004, 12, 31, 9, 7, 59}, true),
  };
  EXPECT_EQ(deckOf(&Pages::Get_oeml_main), std::string(kTop) + R"xx(<wml>
<card id="ninput" title="KOVA E-mails" newcontext="true">
<do type="prev" label="Back">
          <prev/>
       </do>
 <p><img alt="" localsrc="envelope2" src=""/><i>New E-Mail</i><br/>
Headers:<br/>
<a href="/oeml?caltp=01"><img alt="->" localsrc="envelope2" src=""/>First</a> <small>@12-31 09:07</small><br/><a href="/oeml?caltp=03"><img alt="->" localsrc="envelope2" src=""/>Second & <last></a> <small>@03-14 15:05</small><br/>
)xx" + kListEnd);
  EXPECT_EQ(outlook.calls[2], "getDefaultFolder 6");
  EXPECT_EQ(outlook.calls[4], "sort [ReceivedTime]");
}

TEST_F(Mails, NoneUnread) {
  folder(FolderNumber::kInbox) = {mailRecord("Read", {2005, 3, 12, 0, 0, 0}, false)};
  const std::string deck = deckOf(&Pages::Get_oeml_main);
  EXPECT_TRUE(deck.ends_with("<i>New E-Mail</i><br/>\nHeaders:<br/>\n\nNo new e-mails.<br/>\n" + kListEnd))
      << deck;
}

TEST_F(Mails, MailReadBetweenTheTwoLooksIsOld) {
  folder(FolderNumber::kInbox) = {mailRecord("Flips", {2005, 3, 12, 8, 0, 0}, true)};
  int looks = 0;
  outlook.onCall = [&](const std::string& call) {
    if (call == "flag UnRead" && ++looks == 2)
      folder(FolderNumber::kInbox)[0].flags[FlagProperty::kUnRead] = false;
  };
  EXPECT_EQ(line(deckOf(&Pages::Get_oeml_main), 9),
            R"(<a href="/oeml?caltp=01">old:Flips</a> <small>@03-12 08:00</small><br/>)");
}

TEST_F(Mails, SubjectsAndListAreCut) {
  for (int i = 0; i < 30; ++i) {
    folder(FolderNumber::kInbox).push_back(mailRecord(repeated("€", 51), {2005, 3, 12, 8, 0, i}, true));
  }
  const std::string rows = line(deckOf(&Pages::Get_oeml_main), 9);
  EXPECT_NE(rows.find(">" + repeated("€", 50) + "<"), std::string::npos);
  EXPECT_EQ(base::characterCount(rows), 2000u);
  EXPECT_TRUE(base::validUtf8(rows));
}

class TaskList : public PagesTest {};

TEST_F(TaskList, WholeDeckInTheFoldersOrder) {
  folder(FolderNumber::kTasks) = {taskRecord("Zeta <b>"), taskRecord(""), taskRecord("Alpha")};
  EXPECT_EQ(deckOf(&Pages::Get_otsk_main), std::string(kTop) + R"xx(<wml>
<card id="ninput" title="KOVA tasks" newcontext="true">
<do type="prev" label="Back">
          <prev/>
       </do>
 <p>
<img alt="" localsrc="document2" src=""/>Tasks list:<br/>
<a href="/otsk?caltp=01">01:Zeta <b></a><br/><a href="/otsk?caltp=02">02:</a><br/><a href="/otsk?caltp=03">03:Alpha</a><br/>
)xx" + kListEnd);
  EXPECT_EQ(outlook.calls[2], "getDefaultFolder 13");
  EXPECT_EQ(outlook.calls[4], "sort [Start]");
}

TEST_F(TaskList, LongListEndsInTheMiddleOfARow) {
  for (int i = 0; i < 101; ++i) folder(FolderNumber::kTasks).push_back(taskRecord(""));
  const std::string rows = line(deckOf(&Pages::Get_otsk_main), 9);
  const std::string whole = R"(<a href="/otsk?caltp=01">01:</a><br/>)";
  EXPECT_EQ(rows.size(), 2000u);
  const std::string last = R"(<a href="/otsk?caltp=55">55:</a><br/>)";
  ASSERT_EQ(2000 / whole.size(), 54u);
  EXPECT_TRUE(rows.ends_with(last.substr(0, 2000 % whole.size()))) << rows;
}

class NoteList : public PagesTest {};

TEST_F(NoteList, WholeDeck) {
  folder(FolderNumber::kNotes) = {noteRecord("Shopping\r\nmilk"), noteRecord("Ideas")};
  EXPECT_EQ(deckOf(&Pages::Get_onot_main), std::string(kTop) + kTemplate +
                                               R"xx(<card id="s1b1" title = "KOVA notes" > 
 <p>
<img alt="" localsrc="document2" src=""/>Note Headers:<br/>
<a href="/onot?caltp=01">01:Shopping</a><br/><a href="/onot?caltp=02">02:Ideas</a><br/>
)xx" + kListEnd);
  EXPECT_EQ(outlook.calls[2], "getDefaultFolder 12");
  EXPECT_EQ(outlook.calls[4], "sort [Start]");
}

TEST_F(NoteList, EmptyFolderHasAnEmptyRowsLine) {
  const std::string deck = deckOf(&Pages::Get_onot_main);
  EXPECT_TRUE(deck.ends_with("Note Headers:<br/>\n\n" + kListEnd)) << deck;
}

}  // namespace
}  // namespace kova::wml
