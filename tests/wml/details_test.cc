#include "pages_fixture.h"

namespace kova::wml {
namespace {

class Details : public PagesTest {
 protected:
  static std::string opening(const std::string& title) {
    return std::string(kTop) + "<wml>\n<card id=\"s1b1\" title=\"" + title +
           "\">\n<do type=\"prev\" label=\"Back\">\n<prev/>\n</do><p>\n";
  }
  static std::string closing(const std::string& link) {
    return link + "<a href=\"/\">Main</a> <a href=\"/oabt\">About</a><br/>\n</p></card>\n</wml>\n";
  }
};

TEST_F(Details, ContactWithEverything) {
  OutlookRecord contact = contactRecord("Smith", "Anne");
  using T = TextProperty;
  contact.texts[T::kJobTitle] = "Head of R&D";
  contact.texts[T::kTitle] = "Dr.";
  contact.texts[T::kCompanyName] = "ACME";
  contact.texts[T::kBusinessTelephoneNumber] = "1";
  contact.texts[T::kBusinessFaxNumber] = "2";
  contact.texts[T::kHomeTelephoneNumber] = "3";
  contact.texts[T::kHome2TelephoneNumber] = "4";
  contact.texts[T::kMobileTelephoneNumber] = "5";
  contact.texts[T::kPagerNumber] = "6";
  contact.texts[T::kWebPage] = "http://x";
  contact.texts[T::kEmail1Address] = "not shown";
  folder(FolderNumber::kContacts) = {contactRecord("Other", "x"), contact};
  EXPECT_EQ(
      deckOf(&Pages::Query_ocon, "contp=02"),
      opening("Online Contacts") +
          "Contact detail:<br/>\n"
          "<b>Smith</b><br/><b>Anne</b><br/>Title: Head of R&D<br/>Title: Dr.<br/>Company: ACME<br/>BN:1<br/>"
          "BFX:2<br/>HN:3<br/>H2N:4<br/>MN:5<br/>Page:6<br/>Web:http://x<br/>\n" +
          closing("<a href=\"/ocon\">Back</a> "));
}

TEST_F(Details, ContactSkipsWhatIsEmptyAndIsCut) {
  OutlookRecord contact = contactRecord("Smith", "");
  contact.texts[TextProperty::kPagerNumber] = "6";
  folder(FolderNumber::kContacts) = {contact};
  EXPECT_EQ(line(deckOf(&Pages::Query_ocon, "contp=1"), 8), "<b>Smith</b><br/>Page:6<br/>");

  for (int i = 0; i < 3000; ++i) folder(FolderNumber::kContacts)[0].texts[TextProperty::kPagerNumber] += "é";
  const std::string detail = line(deckOf(&Pages::Query_ocon, "contp=1"), 8);
  EXPECT_EQ(base::characterCount(detail), 2000u);
  EXPECT_TRUE(detail.ends_with("éé"));
}

TEST_F(Details, Mail) {
  folder(FolderNumber::kInbox) = {
      mailRecord("Newer", {2005, 3, 14, 9, 0, 0}, true),
      mailRecord("Older <b>", {2005, 3, 13, 9, 0, 0}, false, "Text & more", 1234)};
  EXPECT_EQ(deckOf(&Pages::Query_oeml, "caltp=01"),
            opening("KOVA E-mails") +
                "<small>Subject: Older <b><br/>Size: 1234<br/></small><br/>Text & more\n" +
                closing("<a href=\"/oeml\">Back</a> "));
}

TEST_F(Details, MailWithoutSubjectStillClosesSmall) {
  folder(FolderNumber::kInbox) = {mailRecord("", {2005, 3, 13, 9, 0, 0}, false, std::string(3000, 'x'), 7)};
  const std::string detail = line(deckOf(&Pages::Query_oeml, "caltp=01"), 7);
  EXPECT_TRUE(detail.starts_with("Size: 7<br/></small><br/>xxx"));
  EXPECT_EQ(detail.size(), 2000u);
}

TEST_F(Details, Task) {
  OutlookRecord task = taskRecord("Buy <milk>", "One & two\r\n$3\r\n");
  task.dates[DateProperty::kStartDate] = {2005, 3, 4, 0, 0, 0};
  task.numbers[NumberProperty::kPercentComplete] = 50;
  folder(FolderNumber::kTasks) = {task, taskRecord("Bare")};
  EXPECT_EQ(
      deckOf(&Pages::Query_otsk, "caltp=01"),
      opening("KOVA Tasks") +
          "Buy <milk><br/><small>One &amp; two<br/>$$3<br/></small><br/>Start:3/4/2005<br/>Due:1/1/4501<br/>"
          "% Complete:50<br/>\n" +
          closing("<a href=\"/otsk\">back</a> / "));
  EXPECT_EQ(line(deckOf(&Pages::Query_otsk, "caltp=02"), 7),
            "Bare<br/>Start:1/1/4501<br/>Due:1/1/4501<br/>% Complete:0<br/>");
}

TEST_F(Details, Note) {
  folder(FolderNumber::kNotes) = {noteRecord("Shopping\r\nmilk 'n' more"), noteRecord("")};
  EXPECT_EQ(deckOf(&Pages::Query_onot, "caltp=01"),
            opening("KOVA Notes") +
                "Note ID 01:\n<small>Shopping<br/>milk &apos;n&apos; more</small><br/>\n" +
                closing("<a href=\"/onot\">back</a> / "));
  EXPECT_EQ(deckOf(&Pages::Query_onot, "caltp=2"),
            opening("KOVA Notes") + "Note ID 2:\n\n" + closing("<a href=\"/onot\">back</a> / "));
}

TEST_F(Details, BodyIsCutAfterEscaping) {
  // Line feeds count for nothing, a carriage return for the five characters of its tag.
  std::string body;
  std::string prepared;
  for (int i = 0; i < 400; ++i) {
    body += "\n\na&\r";
    prepared += "a&amp;<br/>";
  }
  folder(FolderNumber::kNotes) = {noteRecord(body), noteRecord(std::string(4000, '\n') + "end"),
                                  noteRecord(std::string(1999, '.') + "€€")};
  EXPECT_EQ(line(deckOf(&Pages::Query_onot, "caltp=01"), 8),
            "<small>" + prepared.substr(0, 2000) + "</small><br/>");
  EXPECT_EQ(line(deckOf(&Pages::Query_onot, "caltp=02"), 8), "<small>end</small><br/>");
  EXPECT_EQ(line(deckOf(&Pages::Query_onot, "caltp=03"), 8),
            "<small>" + std::string(1999, '.') + "€</small><br/>");
}

TEST_F(Details, WithoutParametersOutlookIsNotAsked) {
  EXPECT_EQ(deckOf(&Pages::Query_ocon, ""), opening("Online Contacts") +
                                                "Contact detail:<br/>\nno parameters sent<br>/\n" +
                                                closing("<a href=\"/ocon\">Back</a> "));
  EXPECT_EQ(deckOf(&Pages::Query_oeml, ""),
            opening("KOVA E-mails") + "no parameters sent\n" + closing("<a href=\"/oeml\">Back</a> "));
  EXPECT_EQ(deckOf(&Pages::Query_otsk, ""),
            opening("KOVA Tasks") + "no parameters sent\n" + closing("<a href=\"/otsk\">back</a> / "));
  EXPECT_EQ(deckOf(&Pages::Query_onot, ""), opening("KOVA Notes") + "Note ID   :\nno parameters sent\n" +
                                                closing("<a href=\"/onot\">back</a> / "));
  EXPECT_TRUE(outlook.calls.empty());
}

TEST_F(Details, PositionThatHasNoItemLeavesTheOpening) {
  folder(FolderNumber::kContacts) = {contactRecord("Smith", "Anne")};
  for (const char* position : {"02", "00", "99", "-1", ".5", "", "x", "%2", "<>"}) {
    EXPECT_EQ(deckOf(&Pages::Query_ocon, std::string("contp=") + position),
              opening("Online Contacts") + "Contact detail:<br/>\n")
        << position;
  }
}

TEST_F(Details, OnlyTheFirstTwoDigitsOfAPositionCount) {
  for (int i = 1; i <= 123; ++i)
    folder(FolderNumber::kNotes).push_back(noteRecord("Note " + std::to_string(i)));
  EXPECT_EQ(line(deckOf(&Pages::Query_onot, "caltp=123"), 8), "<small>Note 12</small><br/>");
}

TEST_F(Details, NoteNumberCannotBreakTheDeck) {
  folder(FolderNumber::kNotes) = {noteRecord("x")};
  EXPECT_EQ(line(deckOf(&Pages::Query_onot, "caltp=1<"), 7), "Note ID 1&lt;:");
  EXPECT_EQ(line(deckOf(&Pages::Query_onot, "caltp=1\xC3\xA9"), 7), "Note ID 1Ã:");
}

}  // namespace
}  // namespace kova::wml
