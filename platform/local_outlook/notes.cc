#include "platform/local_outlook/notes.h"

#include "base/text.h"
#include "platform/local_outlook/content_line.h"
#include "platform/local_outlook/ical_records.h"
#include "platform/local_outlook/item_kinds.h"

namespace kova::platform::local_outlook {
namespace {

class Note final : public Record {
 public:
  explicit Note(std::string body) : body_(std::move(body)) {}
  std::optional<std::string> text(TextProperty property) const override {
    if (property == TextProperty::kBody) return body_;
    if (property == TextProperty::kSubject) return std::string(splitFirstLine(body_).line);
    return std::nullopt;
  }

 private:
  std::string body_;
};

/// A journal entry may have several descriptions.
std::string descriptionsOf(icalcomponent* journal) {
  std::string text;
  for (icalproperty* p = icalcomponent_get_first_property(journal, ICAL_DESCRIPTION_PROPERTY); p != nullptr;
       p = icalcomponent_get_next_property(journal, ICAL_DESCRIPTION_PROPERTY)) {
    const char* const description = icalproperty_get_description(p);
    if (description == nullptr) continue;
    if (!text.empty()) text += "\r\n";
    text += withCrLf(description);
  }
  return text;
}

}  // namespace

ReadRecords readNotes(std::string_view fileName, const std::string& bytes, ZoneCache& zones) {
  if (!base::asciiLower(fileName).ends_with(".ics")) {
    ReadRecords result;
    std::string body = withCrLf(base::toUtf8(bytes));
    while (body.ends_with("\r\n")) body.resize(body.size() - 2);  // the end of the file's last line
    result.records.push_back({std::make_shared<const Note>(std::move(body)), std::nullopt});
    return result;
  }
  return readIcalRecords(bytes, "vjournal", ICAL_VJOURNAL_COMPONENT, zones,
                         [](icalcomponent* journal, FileZones&) {
                           std::string body = textOf(journal, ICAL_SUMMARY_PROPERTY);
                           if (const std::string rest = descriptionsOf(journal); !rest.empty()) {
                             if (!body.empty()) body += "\r\n";
                             body += rest;
                           }
                           return std::make_shared<const Note>(std::move(body));
                         });
}

}  // namespace kova::platform::local_outlook
