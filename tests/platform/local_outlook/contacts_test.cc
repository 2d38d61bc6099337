#include <gmock/gmock.h>

#include "platform/local_outlook/local_outlook_fixture.h"

namespace kova::platform::local_outlook {
namespace {

using testing::ElementsAre;

class ContactsTest : public LocalOutlookTest {
 protected:
  Lines names() { return texts(FolderNumber::kContacts, TextProperty::kLastNameAndFirstName); }

  /// The texts of the first contact, by short names; those that are empty are left out.
  std::string contact() {
    const auto item = first(FolderNumber::kContacts);
    if (!item) return "none";
    constexpr std::pair<const char*, TextProperty> kAll[] = {
        {"list", TextProperty::kLastNameAndFirstName},
        {"last", TextProperty::kLastName},
        {"first", TextProperty::kFirstName},
        {"full", TextProperty::kFullName},
        {"job", TextProperty::kJobTitle},
        {"title", TextProperty::kTitle},
        {"company", TextProperty::kCompanyName},
        {"business", TextProperty::kBusinessTelephoneNumber},
        {"fax", TextProperty::kBusinessFaxNumber},
        {"home", TextProperty::kHomeTelephoneNumber},
        {"home2", TextProperty::kHome2TelephoneNumber},
        {"mobile", TextProperty::kMobileTelephoneNumber},
        {"pager", TextProperty::kPagerNumber},
        {"web", TextProperty::kWebPage},
        {"mail", TextProperty::kEmail1Address},
    };
    std::string shown;
    for (const auto& [name, property] : kAll) {
      const auto value = item->text(property);
      if (!value) return std::string("no ") + name;
      if (!value->empty()) shown += std::string(name) + "=" + *value + "|";
    }
    return shown;
  }
};

struct CardCase {
  const char* name;
  const char* card;
  const char* expected;
};
void PrintTo(const CardCase& card, std::ostream* out) { *out << card.name; }

class CardTest : public ContactsTest, public testing::WithParamInterface<CardCase> {};

TEST_P(CardTest, IsRead) {
  write(folders.contacts, "card.vcf", GetParam().card);
  EXPECT_EQ(contact(), GetParam().expected);
  EXPECT_THAT(log, testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    All, CardTest,
    testing::Values(
        CardCase{"version3",
                 "BEGIN:VCARD\r\nVERSION:3.0\r\nN:van der Berg;Anna;Maria;Dr.;MSc\r\nFN:Dr. Anna Maria van "
                 "der Berg\r\n"
                 "TITLE:Head of Research\r\nORG:Tarvel\\, Inc.;Laboratory\r\nTEL;TYPE=HOME,VOICE:1\r\n"
                 "TEL;TYPE=HOME:2\r\nTEL;TYPE=WORK;TYPE=VOICE:3\r\nTEL;TYPE=FAX,WORK:4\r\nTEL;TYPE=CELL:5\r\n"
                 "TEL;TYPE=PAGER:6\r\nEMAIL;TYPE=INTERNET:a@example.com\r\nEMAIL;TYPE=INTERNET,PREF:b@"
                 "example.com\r\n"
                 "URL:http://example.com/a?b=1\r\nNOTE:N:not a name\r\nEND:VCARD\r\n",
                 "list=van der Berg, Anna|last=van der Berg|first=Anna|full=Dr. Anna Maria van der Berg|"
                 "job=Head of Research|title=Dr.|company=Tarvel, "
                 "Inc.|business=3|fax=4|home=1|home2=2|mobile=5|pager=6|"
                 "web=http://example.com/a?b=1|mail=b@example.com|"},
        CardCase{
            "version4",
            "BEGIN:VCARD\nVERSION:4.0\nKIND:individual\nN:Smith;John;;;\nFN;PREF=2:Johnny\nFN;PREF=1:John "
            "Smith\n"
            "TEL;VALUE=uri;TYPE=\"voice,home\";PREF=1:tel:+1-555-555-5555;ext=42\n"
            "TEL;VALUE=URI;TYPE=\"cell,work\":tel:+1-555%20000\nTEL;TYPE=\"fax,home\":999\n"
            "item1.TEL;TYPE=work:7\nitem1.X-ABLabel:office\nEMAIL;PREF=1:j@example.com\nEND:VCARD\n",
            "list=Smith, John|last=Smith|first=John|full=John Smith|business=7|home=+1-555-555-5555 ext. 42|"
            "mobile=+1-555 000|mail=j@example.com|"},
        CardCase{
            "version21",
            "BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:M=FCller;J=F6rg\r\n"
            "FN;CHARSET=UTF-8;QUOTED-PRINTABLE:J=C3=B6rg =\r\nM=C3=BCll=\r\ner\r\nTEL;HOME;VOICE:1\r\n"
            "TEL;WORK;FAX:2\r\nTEL;PREF;WORK:3\r\nTEL;WORK:4\r\nTEL;CELL:5\r\nTEL;PAGER:6\r\n"
            "AGENT:\r\nBEGIN:VCARD\r\nVERSION:2.1\r\nN:Agent;Secret\r\nTEL;HOME:007\r\nEND:VCARD\r\n"
            "PHOTO;ENCODING=BASE64;TYPE=JPEG:\r\n TEL:1234\r\n\r\nORG:Tarvel\r\nEND:VCARD\r\n",
            "list=Müller, Jörg|last=Müller|first=Jörg|full=Jörg "
            "Müller|company=Tarvel|business=3|fax=2|home=1|"
            "mobile=5|pager=6|"},
        CardCase{"foldedInTheMiddleOfALetter",
                 "BEGIN:VCARD\r\nVERSION:3.0\r\nN:M\xC3\r\n \xBCller;An\r\n\tna\r\nFN:Anna\r\nEND:VCARD\r\n",
                 "list=Müller, Anna|last=Müller|first=Anna|full=Anna|"},
        CardCase{
            "bareBytesInANamedCharset",
            "BEGIN:VCARD\nVERSION:2.1\nN;CHARSET=windows-1251:\xC8\xE2\xE0\xED\nFN:M\xFCller\nEND:VCARD\n",
            "list=Иван|last=Иван|full=Müller|"},
        CardCase{"byteOrderMarkAndLatin1",
                 "\xEF\xBB\xBF"
                 "begin:vcard\nversion:3.0\nn:M\xFCller;;;;\nfn:M\xFCller\nend:vcard\n",
                 "list=Müller|last=Müller|full=Müller|"},
        CardCase{"linesThatEndWithCr", "BEGIN:VCARD\rVERSION:3.0\rN:;Anna;;;\rFN:Anna\rEND:VCARD\r",
                 "list=Anna|first=Anna|full=Anna|"},
        CardCase{"noNameInParts", "BEGIN:VCARD\nVERSION:4.0\nFN:Anna Berg\nTEL:1\nTEL:2\nEND:VCARD\n",
                 "list=Anna Berg|last=Berg|first=Anna|full=Anna Berg|business=1|home=2|"},
        CardCase{"noFullName", "BEGIN:VCARD\nVERSION:2.1\nN:Berg;Anna;;Dr.\nEND:VCARD\n",
                 "list=Berg, Anna|last=Berg|first=Anna|full=Dr. Anna Berg|title=Dr.|"},
        CardCase{"escapesAndBadLines",
                 "BEGIN:VCARD\nVERSION:3.0\nthis line is nonsense\n:and this\nN:O\\'Neil\\; jr;Ann\\,a,Bea\n"
                 "FN:Two\\nlines \\\\ \\, end\nTEL\nTEL;TYPE=home:\nEND:VCARD\n",
                 "list=O\\'Neil; jr, Ann,a Bea|last=O\\'Neil; jr|first=Ann,a Bea|full=Two lines \\ , end|"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(ContactsTest, ABrokenCardAmongGoodOnesIsLeftOut) {
  write(folders.contacts, "all.vcf",
        "BEGIN:VCARD\nVERSION:3.0\nN:One;;;;\nFN:One\nEND:VCARD\n"
        "BEGIN:VCARD\nVERSION:3.0\nN:Broken;;;;\n"
        "BEGIN:VCARD\nVERSION:3.0\nN:Two;;;;\nFN:Two\nEND:VCARD\nBEGIN:VCARD\nN:Cut");
  EXPECT_THAT(names(), ElementsAre("One", "Two"));
  EXPECT_THAT(log, ElementsAre(testing::HasSubstr("all.vcf: 2 of 4 cards")));
}

TEST_F(ContactsTest, OrderIsThatOfAddingThenNameThenPosition) {
  const auto card = [](const std::string& name, const std::string& more) {
    return "BEGIN:VCARD\nVERSION:3.0\nN:" + name + ";;;;\nFN:" + name + "\n" + more + "END:VCARD\n";
  };
  write(folders.contacts, "b.vcf",
        card("4", "REV:20250101T000000Z\n") + card("5", "REV:2025-01-01T00:00:00Z\n"));
  write(folders.contacts, "a.vcf", card("3", "REV:20250101T000000Z\n"));
  write(folders.contacts, "c.vcf", card("1", "REV:20260101T000000Z\nCREATED:20240101T000000Z\n"));
  write(folders.contacts, "d.vcf", card("2", "X-CREATED:20240102T000000Z\n"));
  write(folders.contacts, "e.vcf", card("6", ""));
  const auto list = automation->createObject("Outlook.Application")
                        ->getNamespace("MAPI")
                        ->getDefaultFolder(FolderNumber::kContacts)
                        ->items();
  EXPECT_FALSE(list->sort("[Start]"));
  EXPECT_THAT(names(), ElementsAre("1", "2", "3", "4", "5", "6"));
}

}  // namespace
}  // namespace kova::platform::local_outlook
