// The fixed cards through which the phone asks for data or sends new items.

#include <span>

#include "base/date_format.h"
#include "wml/pages.h"

namespace kova::wml {

namespace {

struct Field {
  std::string_view caption;
  std::string_view input;
};

constexpr Field kPinField = {"PIN code:<br/>", R"(<input name="pin" title="text" format="8N" value=""/>)"};

/// A card with one input per field and a link that submits them all.
void addCard(platform::Files& files, const std::string& path, std::string_view title,
             std::span<const Field> fields, std::span<const std::string_view> submitLines) {
  Deck deck(files);
  if (!deck.open(path)) return;
  header_standard_new(deck, path, title);
  for (const Field& field : fields) {
    deck.line(field.caption);
    deck.line(field.input);
  }
  for (const std::string_view submitLine : submitLines) deck.line(submitLine);
  deck.line(" </p>");
  deck.line("</card>");
  deck.line("</wml>");
}

}  // namespace

void Pages::Get_ocon_main(int /*slot*/, const std::string& F) {
  Deck deck(files_);
  if (!deck.open(deckPath(F))) return;
  entryCardOpening(deck, "KOVA Calendar");  // kept: the calendar's title
  deck.line(
      "<p><i>Outlook Contacts</i><br/>Enter letters to search in name<br/><small>(nothing= all)</small>:");
  deck.line(R"(<input name="caltp" title="" maxlength="7" value=""/>)");
  deck.line(R"(<a href="/">Main</a>)");
  deck.line(R"(  <a href="/ocon?caltp=$caltp">Submit</a> <a href="/oabt">About</a>)");
  deck.line(" </p>");
  deck.line(R"(<do type="accept" label="submit">)");
  deck.line(R"(    <go href="/ocon" method="post">)");
  deck.line(R"(<postfield name="caltp" value="$caltp" />)");
  deck.line("</go></do></card>");
  deck.line("</wml>");
}

void Pages::Get_ocal_main(int /*slot*/, const std::string& F) {
  Deck deck(files_);
  if (!deck.open(deckPath(F))) return;
  entryCardOpening(deck, "online calendar");
  deck.line(R"(<p><img alt="" localsrc="calendar" src=""/><i>Online Calendar</i><br/>View type <br/>)",
            "<small>(Day Week Month)</small>:");
  deck.line(R"-(<input name="caltp" title="(DMW)" maxlength="1" format="A" value="D"/>)-");
  deck.line("Enter date<small>(mm/dd)</small>:");
  deck.line(R"-(<input name="dat" title="Date (mm/dd)" format="NN\/NN" value=")-",
            base::mm_dd(clock_.localNow()), R"("/>)");
  deck.line(R"(<a href="/">Main</a> <a href="/ocal?caltp=$caltp&amp;dat=$dat">Submit</a> )",
            R"(<a href="/oabt">About</a><br/>)");
  deck.line(" </p>");
  deck.line(R"(<do type="accept" label="submit">)");
  deck.line(R"(    <go href="/ocal" method="post">)");
  deck.line(R"(<postfield name="caltp" value="$caltp" />)");
  deck.line(R"(<postfield name="dat" value="$dat" />)");
  deck.line("</go></do></card>");
  deck.line("</wml>");
}

void Pages::Get_acal_main(int /*slot*/, const std::string& F) {
  constexpr Field kFields[] = {
      {"<p><i>Add Meeting</i><br/>Title:<br/>",
       R"(<input name="caltp" title="title" maxlength="40" format="40m" value=""/>)"},
      {"Date YYMMDD:<br/>", R"(<input name="dat" title="Date YYMMDD" format="6N" value=""/>)"},
      {"Time HHMM (24):<br/>", R"(<input name="tim" title="Time HHMM" format="4N" value=""/>)"},
      {"Duration(minutes):<br/>", R"(<input name="dur" title="text" format="4N" value=""/>)"},
      {"Reminder(minutes):<br/>", R"(<input name="rem" title="text" format="4N" value=""/>)"},
      kPinField,
  };
  constexpr std::string_view kSubmit[] = {
      R"(<a href="/">Main</a> <a href="/acal?caltp=$caltp&amp;dat=$dat&amp;tim=$tim&amp;dur=$dur&amp;rem=$rem&amp;pin=$pin">)",
      R"(Submit</a> <a href="/oabt">About</a><br/>)",
  };
  addCard(files_, deckPath(F), "add a meeting", kFields, kSubmit);
}

void Pages::Get_acon_main(int /*slot*/, const std::string& F) {
  constexpr Field kFields[] = {
      {"<p><i>Add Contact</i><br/>Full name:<br/>",
       R"(<input name="caltp" title="Full name" maxlength="40" format="40m" value=""/>)"},
      {"Company name:<br/>", R"(<input name="dat" title="Company name" format="40m" value=""/>)"},
      {"E-mail:<br/>", R"(<input name="eml" title="E-mail" format="40m" value="@."/>)"},
      {"Home phone:<br/>", R"(<input name="hom" title="Home" format="14N" value=""/>)"},
      {"Business phone:<br/>", R"(<input name="bus" title="Business" format="16N" value=""/>)"},
      {"Pager phone:<br/>", R"(<input name="pag" title="Pager" format="16N" value=""/>)"},
      kPinField,
  };
  constexpr std::string_view kSubmit[] = {
      R"(<a href="/">Main</a> <a href="/acon?caltp=$caltp&amp;dat=$dat&amp;eml=$eml&amp;hom=$hom&amp;bus=$bus&amp;pag=$pag&amp;pin=$pin">)",
      R"(Submit</a> <a href="/oabt">About</a><br/>)",
  };
  addCard(files_, deckPath(F), "add a contact", kFields, kSubmit);
}

void Pages::Get_anot_main(int /*slot*/, const std::string& F) {
  constexpr Field kFields[] = {
      {"<p><i>Add Note</i><br/>Note title:<br/>",
       R"(<input name="caltp" title="Note title" maxlength="40" format="40m" value=""/>)"},
      {"Note text:<br/>", R"(<input name="dat" title="Note text" format="80m" value=""/>)"},
      kPinField,
  };
  constexpr std::string_view kSubmit[] = {
      R"(<a href="/">Main</a> <a href="/anot?caltp=$caltp&amp;dat=$dat&amp;pin=$pin">)",
      R"(Submit</a> <a href="/oabt">About</a><br/>)",
  };
  addCard(files_, deckPath(F), "add a note", kFields, kSubmit);
}

void Pages::Get_atsk_main(int /*slot*/, const std::string& F) {
  constexpr Field kFields[] = {
      {"<p><i>Add New Task</i><br/>Title:<br/>",
       R"(<input name="caltp" title="title" maxlength="40" format="40m" value=""/>)"},
      {"Enter text:<br/>", R"(<input name="dat" title="text" format="80m" value=""/>)"},
      kPinField,
  };
  constexpr std::string_view kSubmit[] = {
      R"(<a href="/">Main</a> <a href="/atsk?caltp=$caltp&amp;dat=$dat&amp;pin=$pin">Submit</a> <a href="/oabt">About</a><br/>)",
  };
  addCard(files_, deckPath(F), "add a task", kFields, kSubmit);
}

void Pages::Get_oabt_main(int /*slot*/, const std::string& F) {
  Deck deck(files_);
  if (!deck.open(deckPath(F))) return;
  entryCardOpening(deck, "About KOVA");
  deck.line(R"(<p align="center">***<i>About KOVA</i>***<br/><b>Tarvel<br/>WAP Server</b><br/> <br/>)");
  deck.line(R"(<a href="/ocal">back</a> / <a href="/">Main</a><br/>)");
  deck.line(" </p>");
  deck.line("</card>");
  deck.line("</wml>");
}

}  // namespace kova::wml
