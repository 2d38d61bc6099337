// The lists of contacts, unread e-mails, tasks and notes.

#include "base/date_format.h"
#include "base/number.h"
#include "base/text.h"
#include "wml/outlook_session.h"
#include "wml/pages.h"
#include "wml/parameters.h"

namespace kova::wml {

namespace {

namespace outlook = platform::outlook;
using outlook::TextProperty;

constexpr std::size_t kMaxListCharacters = 2000;
constexpr std::size_t kMaxNameCharacters = 50;
constexpr long kMaxRows = 100;

std::string twoDigits(long number) { return base::padded(number, 2); }

/// The rows of a list, gathered before they are written as one line.
class RowList {
 public:
  /// True while another row may be added.
  bool hasRoom() const { return characters_ <= kMaxListCharacters; }

  template <typename... Pieces>
  void add(const Pieces&... pieces) {
    const std::size_t before = text_.size();
    (text_.append(pieces), ...);
    text_.append(kLineBreak);
    characters_ += base::characterCount(std::string_view(text_).substr(before));
  }

  /// kept: the cut may fall into the middle of a row.
  std::string_view finished() const { return base::firstCharacters(text_, kMaxListCharacters); }

 private:
  std::string text_;
  std::size_t characters_ = 0;
};

// Row builders. False when Outlook failed: the rows gathered so far are then not written.

bool AddContactRows(Deck& deck, outlook::Automation& automation, std::string_view search) {
  auto session = FolderSession::open(automation, outlook::FolderNumber::kContacts, "[Start]");
  if (!session) return false;
  deck.line();
  const bool all = search == "*";
  const std::string wanted = base::upperCase(base::toUtf8(search));
  std::string upperName;
  RowList rows;
  long position = 0;
  long shown = 0;
  for (auto contact = session->items().getFirst(); contact; contact = session->items().getNext()) {
    ++position;
    const auto name = contact->text(TextProperty::kLastNameAndFirstName);
    if (!name) return false;
    base::upperCase(*name, upperName);
    if (!all && upperName.find(wanted) == std::string::npos) continue;
    ++shown;
    // Both only grow: no later contact is shown.
    if (!rows.hasRoom() || shown >= kMaxRows) break;
    rows.add(R"(<a href="/ocon?contp=)", twoDigits(position), R"(">)", twoDigits(shown), ":",
             WmlEscape(base::firstCharacters(*name, kMaxNameCharacters)), "</a>");
  }
  deck.line(rows.finished());
  return true;
}

bool AddNewMailRows(Deck& deck, outlook::Automation& automation) {
  auto session = FolderSession::open(automation, outlook::FolderNumber::kInbox, "[ReceivedTime]");
  if (!session) return false;
  deck.line("Headers:", kLineBreak);
  RowList rows;
  long position = 0;
  long shown = 0;
  for (auto mail = session->items().getFirst(); mail && rows.hasRoom() && shown < kMaxRows;
       mail = session->items().getNext()) {
    ++position;
    const auto unread = mail->flag(outlook::FlagProperty::kUnRead);
    if (!unread) return false;
    if (!*unread) continue;
    ++shown;
    // The mail may have been read in the meantime.
    const auto stillUnread = mail->flag(outlook::FlagProperty::kUnRead);
    if (!stillUnread) return false;
    const auto subject = mail->text(TextProperty::kSubject);
    if (!subject) return false;
    const auto received = mail->date(outlook::DateProperty::kReceivedTime);
    if (!received) return false;
    const std::string_view marker =
        *stillUnread ? std::string_view(R"(<img alt="->" localsrc="envelope2" src=""/>)") : "old:";
    rows.add(R"(<a href="/oeml?caltp=)", twoDigits(position), R"(">)", marker,
             base::firstCharacters(*subject, kMaxNameCharacters), "</a>", " <small>@",
             base::mm_dd_hh_nn(*received), "</small>");
  }
  deck.line(rows.finished());
  if (shown == 0) deck.line("No new e-mails.", kLineBreak);
  return true;
}

/// Tasks and notes: every item is a row.
bool addSubjectRows(Deck& deck, outlook::Automation& automation, outlook::FolderNumber folder,
                    std::string_view heading, std::string_view route) {
  auto session = FolderSession::open(automation, folder, "[Start]");
  if (!session) return false;
  deck.line(R"(<img alt="" localsrc="document2" src=""/>)", heading, kLineBreak);
  RowList rows;
  long shown = 0;
  for (auto item = session->items().getFirst(); item && rows.hasRoom() && shown < kMaxRows;
       item = session->items().getNext()) {
    ++shown;
    const auto subject = item->text(TextProperty::kSubject);
    if (!subject) return false;
    // Nothing is skipped, so that position and count are the same.
    rows.add(R"(<a href=")", route, "?caltp=", twoDigits(shown), R"(">)", twoDigits(shown), ":",
             base::firstCharacters(*subject, kMaxNameCharacters), "</a>");
  }
  deck.line(rows.finished());
  return true;
}

bool AddTaskRows(Deck& deck, outlook::Automation& automation) {
  return addSubjectRows(deck, automation, outlook::FolderNumber::kTasks, "Tasks list:", "/otsk");
}

bool AddNoteRows(Deck& deck, outlook::Automation& automation) {
  return addSubjectRows(deck, automation, outlook::FolderNumber::kNotes, "Note Headers:", "/onot");
}

/// The card opening of the e-mail and the task list.
void listCardOpening(Deck& deck, std::string_view title) {
  prologue(deck);
  deck.line(R"(<card id="ninput" title=")", title, R"(" newcontext="true">)");
  deck.line(R"(<do type="prev" label="Back">)");
  deck.line("          <prev/>");
  deck.line("       </do>");
}

void listClosing(Deck& deck) {
  deck.line(R"(<a href="/">Main</a> <a href="/oabt">About</a><br/>)");
  deck.line(" </p>");
  deck.line("    </card>");
  deck.line("</wml>");
}

}  // namespace

void Pages::Get_ocon_mainB(int /*slot*/, const std::string& F, const std::string& parameters) {
  Deck deck(files_);
  if (!deck.open(deckPath(F))) return;
  entryCardOpening(deck, "KOVA Contacts");
  deck.line(R"( <p><img alt="" localsrc="phone2" src=""/><i>Contacts</i><br/>)");
  if (!AddContactRows(deck, outlook_, firstField(parameters))) return;
  deck.line(R"(<a href="/ocon">back</a> <a href="/">Main</a> <a href="/oabt">About</a><br/>)");
  deck.line(" </p></card>");
  deck.line("</wml>");
}

void Pages::Get_oeml_main(int /*slot*/, const std::string& F) {
  Deck deck(files_);
  if (!deck.open(deckPath(F))) return;
  listCardOpening(deck, "KOVA E-mails");
  deck.line(R"( <p><img alt="" localsrc="envelope2" src=""/><i>New E-Mail</i><br/>)");
  if (AddNewMailRows(deck, outlook_)) listClosing(deck);
}

void Pages::Get_otsk_main(int /*slot*/, const std::string& F) {
  Deck deck(files_);
  if (!deck.open(deckPath(F))) return;
  listCardOpening(deck, "KOVA tasks");
  deck.line(" <p>");
  if (AddTaskRows(deck, outlook_)) listClosing(deck);
}

void Pages::Get_onot_main(int /*slot*/, const std::string& F) {
  Deck deck(files_);
  const std::string path = deckPath(F);
  if (!deck.open(path)) return;
  header_standard_new(deck, path, "KOVA notes");
  deck.line(" <p>");
  if (AddNoteRows(deck, outlook_)) listClosing(deck);
}

}  // namespace kova::wml
