// The calendar of a day, a week or a month.

#include <optional>
#include <utility>

#include "base/date_format.h"
#include "base/text.h"
#include "wml/outlook_session.h"
#include "wml/pages.h"
#include "wml/parameters.h"

namespace kova::wml {

namespace {

namespace outlook = platform::outlook;
using base::DateTime;
using outlook::TextProperty;

/// Adds one appointment to a text. False when Outlook failed.
bool AddApptLine(std::string& text, outlook::Item& appointment) {
  const auto allDay = appointment.flag(outlook::FlagProperty::kAllDayEvent);
  if (!allDay) return false;
  if (*allDay) {
    text.append("All day");
  } else {
    const auto start = appointment.date(outlook::DateProperty::kStart);
    if (!start) return false;
    const auto end = appointment.date(outlook::DateProperty::kEnd);
    if (!end) return false;
    text.append(base::shortTime(*start)).append(" - ").append(base::shortTime(*end));
  }
  text.append(kLineBreak);

  const auto subject = appointment.text(TextProperty::kSubject);
  if (!subject) return false;
  text.append(WmlEscape(*subject));
  const auto location = appointment.text(TextProperty::kLocation);
  if (!location) return false;
  if (!location->empty()) text.append(" (").append(WmlEscape(*location)).append(")");
  const auto body = appointment.text(TextProperty::kBody);
  if (!body) return false;
  // The break stands with or without a body, so that the next appointment begins a line of its own.
  text.append(kLineBreak);
  if (!body->empty()) {
    const std::string_view firstLine = std::string_view(*body).substr(0, body->find('\r'));
    text.append(WmlEscape(firstLine)).append(kLineBreak);
  }
  return true;
}

/// One day's appointments, out of the sorted calendar. False when Outlook failed.
bool AddCalendarRows(Deck& deck, outlook::Items& calendar, const DateTime& day) {
  const std::string midnight = QuoteText(base::yyyy_mm_dd(day) + " 12:00 AM");

  // Those that run into the day.
  const auto running = calendar.restrict("[Start] < " + midnight + " AND [End] > " + midnight);
  if (!running) return false;
  for (auto appointment = running->getFirst(); appointment; appointment = running->getNext()) {
    std::string text;
    if (!AddApptLine(text, *appointment)) return false;
    deck.line(text);
  }

  // Those that start on it. kept: the blank in front of the second date, which a filter passes over.
  const std::string nextDay = QuoteText(" " + base::yyyy_mm_dd(base::addDays(day, 1)) + " 12:00 AM");
  const auto starting = calendar.restrict("[Start] >= " + midnight + " AND [Start] < " + nextDay);
  if (!starting) return false;
  std::string text;
  for (auto appointment = starting->getFirst(); appointment; appointment = starting->getNext()) {
    if (text.empty()) text.append("<u>For ").append(base::mm_dd_yy(day)).append(":</u>");
    if (!AddApptLine(text, *appointment)) return false;
  }
  if (!text.empty()) deck.line(text);
  return true;
}

struct Schedule {
  std::string_view viewTypes;
  std::string_view heading;
  int days;
};

// kept: a month is 32 days.
constexpr Schedule kSchedules[] = {
    {"DJdj", "<p><i>1 day schedule:</i><br/>", 1},
    {"SWsw", "<p><i>1 week schedule:</i><br/>", 7},
    {"Mm", "<p><i>1 month schedule:</i><br/>", 32},
};

}  // namespace

void Pages::Get_ocal(const std::string& path, std::string_view viewType, std::string_view date) {
  Deck deck(files_);
  if (!deck.open(path)) return;
  detailCardOpening(deck, "Online Calendar", "");

  std::optional<FolderSession> session;
  for (const Schedule& schedule : kSchedules) {
    // kept: an empty view type occurs in all three; a letter in none leaves the page without a paragraph.
    if (schedule.viewTypes.find(viewType) == std::string_view::npos) continue;
    deck.line(schedule.heading);
    const auto firstDay = base::parseDate(date);
    if (!firstDay) return;
    if (!session) {
      session = FolderSession::open(outlook_, outlook::FolderNumber::kCalendar, "[Start]");
      if (!session) return;
    }
    for (int offset = 0; offset < schedule.days; ++offset) {
      if (!AddCalendarRows(deck, session->items(), base::addDays(*firstDay, offset))) return;
    }
  }
  if (viewType == kNoParameters) deck.line("<p>no parameters sent<br/>");
  footer_standard(deck, "/ocal");
}

}  // namespace kova::wml
