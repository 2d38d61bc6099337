// The cards of one contact, e-mail, task or note.

#include <optional>

#include "base/date_format.h"
#include "base/number.h"
#include "base/text.h"
#include "wml/outlook_session.h"
#include "wml/pages.h"
#include "wml/parameters.h"

namespace kova::wml {

namespace {

namespace outlook = platform::outlook;
using outlook::FolderNumber;
using outlook::TextProperty;

constexpr std::size_t kMaxDetailCharacters = 2000;

/// An item's body as paragraph text. Cutting before escaping changes nothing but the cost: no character
/// becomes shorter by it.
std::string preparedBody(std::string_view body) {
  const std::string oneLine = base::replaceAll(body, "\n", "");
  const std::string escaped = WmlEscape(base::firstCharacters(oneLine, kMaxDetailCharacters));
  const std::string text = base::replaceAll(escaped, "\r", kLineBreak);
  return std::string(base::firstCharacters(text, kMaxDetailCharacters));
}

std::string smallBody(std::string_view body) {
  std::string text;
  if (body.empty()) return text;
  return text.append("<small>").append(preparedBody(body)).append("</small>").append(kLineBreak);
}

// Detail builders: the text of one item; empty when Outlook failed.

std::optional<std::string> AddContactDetail(outlook::Item& contact) {
  struct Line {
    TextProperty property;
    std::string_view before;
    std::string_view behind;
  };
  constexpr Line kLines[] = {
      {TextProperty::kLastName, "<b>", "</b>"},          {TextProperty::kFirstName, "<b>", "</b>"},
      {TextProperty::kJobTitle, "Title: ", ""},          {TextProperty::kTitle, "Title: ", ""},
      {TextProperty::kCompanyName, "Company: ", ""},     {TextProperty::kBusinessTelephoneNumber, "BN:", ""},
      {TextProperty::kBusinessFaxNumber, "BFX:", ""},    {TextProperty::kHomeTelephoneNumber, "HN:", ""},
      {TextProperty::kHome2TelephoneNumber, "H2N:", ""}, {TextProperty::kMobileTelephoneNumber, "MN:", ""},
      {TextProperty::kPagerNumber, "Page:", ""},         {TextProperty::kWebPage, "Web:", ""},
  };
  std::string detail;
  for (const Line& line : kLines) {
    const auto value = contact.text(line.property);
    if (!value) return std::nullopt;
    if (!value->empty()) detail.append(line.before).append(*value).append(line.behind).append(kLineBreak);
  }
  return std::string(base::firstCharacters(detail, kMaxDetailCharacters));
}

std::optional<std::string> AddMailDetail(outlook::Item& mail) {
  const auto subject = mail.text(TextProperty::kSubject);
  if (!subject) return std::nullopt;
  const auto size = mail.number(outlook::NumberProperty::kSize);
  if (!size) return std::nullopt;
  const auto body = mail.text(TextProperty::kBody);
  if (!body) return std::nullopt;

  std::string detail;
  if (!subject->empty()) detail.append("<small>Subject: ").append(*subject).append(kLineBreak);
  detail.append("Size: ").append(std::to_string(*size)).append(kLineBreak);
  detail.append("</small>").append(kLineBreak);  // kept: closed even where no subject opened it
  detail.append(base::firstCharacters(*body, kMaxDetailCharacters));
  return std::string(base::firstCharacters(detail, kMaxDetailCharacters));
}

std::optional<std::string> AddTaskDetail(outlook::Item& task) {
  const auto subject = task.text(TextProperty::kSubject);
  if (!subject) return std::nullopt;
  const auto body = task.text(TextProperty::kBody);
  if (!body) return std::nullopt;
  const auto start = task.date(outlook::DateProperty::kStartDate);
  if (!start) return std::nullopt;
  const auto due = task.date(outlook::DateProperty::kDueDate);
  if (!due) return std::nullopt;
  const auto percent = task.number(outlook::NumberProperty::kPercentComplete);
  if (!percent) return std::nullopt;

  std::string detail = *subject;
  detail.append(kLineBreak).append(smallBody(*body));
  detail.append("Start:").append(base::generalDate(*start)).append(kLineBreak);
  detail.append("Due:").append(base::generalDate(*due)).append(kLineBreak);
  detail.append("% Complete:").append(std::to_string(*percent)).append(kLineBreak);
  return detail;
}

std::optional<std::string> AddNoteDetail(outlook::Item& note) {
  const auto body = note.text(TextProperty::kBody);
  if (!body) return std::nullopt;
  return smallBody(*body);
}

/// What tells one detail page from another.
struct DetailPage {
  std::string_view title;
  FolderNumber folder;
  std::string_view sortKey;
  std::optional<std::string> (*detail)(outlook::Item&);
  std::string_view noParameters;
  std::string_view closingLinks;
};

/// `before` is a line of its own in front of the detail, where there is one.
void writeDetailPage(platform::Files& files, outlook::Automation& automation, const std::string& path,
                     const DetailPage& page, std::string_view position, std::string_view before) {
  Deck deck(files);
  if (!deck.open(path)) return;
  detailCardOpening(deck, page.title, "<p>");
  if (!before.empty()) deck.line(before);
  if (position == kNoParameters) {
    deck.line(page.noParameters);
  } else {
    auto session = FolderSession::open(automation, page.folder, page.sortKey);
    if (!session) return;
    const auto item = session->itemAt(base::leadingNumber(position));
    if (!item) return;
    const auto detail = page.detail(*item);
    if (!detail) return;
    deck.line(*detail);
  }
  deck.line(page.closingLinks);
  deck.line("</p></card>");
  deck.line("</wml>");
}

}  // namespace

void Pages::Get_ocon(const std::string& path, std::string_view position) {
  constexpr DetailPage kPage = {
      "Online Contacts",
      FolderNumber::kContacts,
      "[Start]",
      AddContactDetail,
      "no parameters sent<br>/",  // kept
      R"(<a href="/ocon">Back</a> <a href="/">Main</a> <a href="/oabt">About</a><br/>)",
  };
  writeDetailPage(files_, outlook_, path, kPage, position, "Contact detail:<br/>");
}

void Pages::Get_oeml(const std::string& path, std::string_view position) {
  constexpr DetailPage kPage = {
      "KOVA E-mails",       FolderNumber::kInbox,
      "[ReceivedTime]",     AddMailDetail,
      "no parameters sent", R"(<a href="/oeml">Back</a> <a href="/">Main</a> <a href="/oabt">About</a><br/>)",
  };
  writeDetailPage(files_, outlook_, path, kPage, position, "");
}

void Pages::Get_onot(const std::string& path, std::string_view position) {
  constexpr DetailPage kPage = {
      "KOVA Notes",
      FolderNumber::kNotes,
      "[Start]",
      AddNoteDetail,
      "no parameters sent",
      R"(<a href="/onot">back</a> / <a href="/">Main</a> <a href="/oabt">About</a><br/>)",
  };
  // The number is what the phone sent, so it may be anything.
  const std::string before = "Note ID " + WmlEscape(base::toUtf8(position)) + ":";
  writeDetailPage(files_, outlook_, path, kPage, position, before);
}

void Pages::Get_otsk(const std::string& path, std::string_view position) {
  constexpr DetailPage kPage = {
      "KOVA Tasks",
      FolderNumber::kTasks,
      "[Start]",
      AddTaskDetail,
      "no parameters sent",
      R"(<a href="/otsk">back</a> / <a href="/">Main</a> <a href="/oabt">About</a><br/>)",
  };
  writeDetailPage(files_, outlook_, path, kPage, position, "");
}

}  // namespace kova::wml
