#include "pages_fixture.h"

namespace kova::wml {
namespace {

class EntryForms : public PagesTest {};

TEST_F(EntryForms, ContactSearch) {
  EXPECT_EQ(
      deckOf(&Pages::Get_ocon_main),
      std::string(kTop) + "<wml>\n<card id=\"ninput\" title=\"KOVA Calendar\" newcontext=\"true\">\n" +
          kBack +
          R"xx(<p><i>Outlook Contacts</i><br/>Enter letters to search in name<br/><small>(nothing= all)</small>:
<input name="caltp" title="" maxlength="7" value=""/>
<a href="/">Main</a>
  <a href="/ocon?caltp=$caltp">Submit</a> <a href="/oabt">About</a>
 </p>
<do type="accept" label="submit">
    <go href="/ocon" method="post">
<postfield name="caltp" value="$caltp" />
</go></do></card>
</wml>
)xx");
}

TEST_F(EntryForms, CalendarAsksForToday) {
  clock.now = {2005, 3, 4, 23, 59, 59};
  EXPECT_EQ(
      deckOf(&Pages::Get_ocal_main),
      std::string(kTop) + "<wml>\n<card id=\"ninput\" title=\"online calendar\" newcontext=\"true\">\n" +
          kBack +
          R"xx(<p><img alt="" localsrc="calendar" src=""/><i>Online Calendar</i><br/>View type <br/><small>(Day Week Month)</small>:
<input name="caltp" title="(DMW)" maxlength="1" format="A" value="D"/>
Enter date<small>(mm/dd)</small>:
<input name="dat" title="Date (mm/dd)" format="NN\/NN" value="03/04"/>
<a href="/">Main</a> <a href="/ocal?caltp=$caltp&amp;dat=$dat">Submit</a> <a href="/oabt">About</a><br/>
 </p>
<do type="accept" label="submit">
    <go href="/ocal" method="post">
<postfield name="caltp" value="$caltp" />
<postfield name="dat" value="$dat" />
</go></do></card>
</wml>
)xx");
}

TEST_F(EntryForms, AddMeeting) {
  EXPECT_EQ(deckOf(&Pages::Get_acal_main), std::string(kTop) + kTemplate +
                                               R"xx(<card id="s1b1" title = "add a meeting" > 
<p><i>Add Meeting</i><br/>Title:<br/>
<input name="caltp" title="title" maxlength="40" format="40m" value=""/>
Date YYMMDD:<br/>
<input name="dat" title="Date YYMMDD" format="6N" value=""/>
Time HHMM (24):<br/>
<input name="tim" title="Time HHMM" format="4N" value=""/>
Duration(minutes):<br/>
<input name="dur" title="text" format="4N" value=""/>
Reminder(minutes):<br/>
<input name="rem" title="text" format="4N" value=""/>
PIN code:<br/>
<input name="pin" title="text" format="8N" value=""/>
<a href="/">Main</a> <a href="/acal?caltp=$caltp&amp;dat=$dat&amp;tim=$tim&amp;dur=$dur&amp;rem=$rem&amp;pin=$pin">
Submit</a> <a href="/oabt">About</a><br/>
 </p>
</card>
</wml>
)xx");
}

TEST_F(EntryForms, AddContact) {
  EXPECT_EQ(deckOf(&Pages::Get_acon_main), std::string(kTop) + kTemplate +
                                               R"xx(<card id="s1b1" title = "add a contact" > 
<p><i>Add Contact</i><br/>Full name:<br/>
<input name="caltp" title="Full name" maxlength="40" format="40m" value=""/>
Company name:<br/>
<input name="dat" title="Company name" format="40m" value=""/>
E-mail:<br/>
<input name="eml" title="E-mail" format="40m" value="@."/>
Home phone:<br/>
<input name="hom" title="Home" format="14N" value=""/>
Business phone:<br/>
<input name="bus" title="Business" format="16N" value=""/>
Pager phone:<br/>
<input name="pag" title="Pager" format="16N" value=""/>
PIN code:<br/>
<input name="pin" title="text" format="8N" value=""/>
<a href="/">Main</a> <a href="/acon?caltp=$caltp&amp;dat=$dat&amp;eml=$eml&amp;hom=$hom&amp;bus=$bus&amp;pag=$pag&amp;pin=$pin">
Submit</a> <a href="/oabt">About</a><br/>
 </p>
</card>
</wml>
)xx");
}

TEST_F(EntryForms, AddNote) {
  EXPECT_EQ(deckOf(&Pages::Get_anot_main), std::string(kTop) + kTemplate +
                                               R"xx(<card id="s1b1" title = "add a note" > 
<p><i>Add Note</i><br/>Note title:<br/>
<input name="caltp" title="Note title" maxlength="40" format="40m" value=""/>
Note text:<br/>
<input name="dat" title="Note text" format="80m" value=""/>
PIN code:<br/>
<input name="pin" title="text" format="8N" value=""/>
<a href="/">Main</a> <a href="/anot?caltp=$caltp&amp;dat=$dat&amp;pin=$pin">
Submit</a> <a href="/oabt">About</a><br/>
 </p>
</card>
</wml>
)xx");
}

TEST_F(EntryForms, AddTask) {
  EXPECT_EQ(deckOf(&Pages::Get_atsk_main), std::string(kTop) + kTemplate +
                                               R"xx(<card id="s1b1" title = "add a task" > 
<p><i>Add New Task</i><br/>Title:<br/>
<input name="caltp" title="title" maxlength="40" format="40m" value=""/>
Enter text:<br/>
<input name="dat" title="text" format="80m" value=""/>
PIN code:<br/>
<input name="pin" title="text" format="8N" value=""/>
<a href="/">Main</a> <a href="/atsk?caltp=$caltp&amp;dat=$dat&amp;pin=$pin">Submit</a> <a href="/oabt">About</a><br/>
 </p>
</card>
</wml>
)xx");
}

TEST_F(EntryForms, About) {
  EXPECT_EQ(deckOf(&Pages::Get_oabt_main),
            std::string(kTop) + "<wml>\n<card id=\"ninput\" title=\"About KOVA\" newcontext=\"true\">\n" +
                kBack +
                R"xx(<p align="center">***<i>About KOVA</i>***<br/><b>Tarvel<br/>WAP Server</b><br/> <br/>
<a href="/ocal">back</a> / <a href="/">Main</a><br/>
 </p>
</card>
</wml>
)xx");
}

TEST_F(EntryForms, AreWellFormedAndNeedNoOutlook) {
  for (const Entry form :
       {&Pages::Get_oabt_main, &Pages::Get_acal_main, &Pages::Get_acon_main, &Pages::Get_anot_main,
        &Pages::Get_atsk_main, &Pages::Get_ocal_main, &Pages::Get_ocon_main}) {
    const std::string deck = deckOf(form);
    EXPECT_EQ(tagFault(deck), "") << deck;
    files.remove(kPath);

    files.failCreate = true;
    (pages.*form)(2, kF);
    EXPECT_FALSE(files.exists(kPath));
    files.failCreate = false;
  }
  EXPECT_TRUE(outlook.calls.empty());
}

TEST_F(EntryForms, DeckLiesInThePageDirectory) {
  host.directory = "/pages/";
  pages.Get_oabt_main(2, "/oabt2.tmp");
  EXPECT_TRUE(files.exists("/pages/oabt2.tmp"));
  host.directory = "C:\\pages";
  files.separatorChar = '\\';
  pages.Get_oabt_main(11, "/oabt11.tmp");
  EXPECT_TRUE(files.exists("C:\\pages\\oabt11.tmp"));
}

}  // namespace
}  // namespace kova::wml
