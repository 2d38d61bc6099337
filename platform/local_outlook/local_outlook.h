#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/outlook.h"

namespace kova::platform::local_outlook {

/// Where the data lies. A folder that does not exist is an empty one; the first saved item makes it.
struct Folders {
  std::string calendar;  ///< *.ics, VEVENT (RFC 5545)
  std::string contacts;  ///< *.vcf, vCard 2.1, 3.0 and 4.0 (RFC 2426, RFC 6350)
  std::string tasks;     ///< *.ics, VTODO
  std::string notes;     ///< *.ics, VJOURNAL; *.txt and *.md
  std::string inbox;     ///< a Maildir
};

/// Takes one line of plain text per problem, without a line end.
using Log = std::function<void(const std::string& line)>;

/// The personal data kept as ordinary files, which other programs read and change as they like.
///
/// What the files hold is kept in memory between sessions and brought up to date when a session asks for a
/// folder's items, at the cost of reading what changed. A file that cannot be read or understood is left out
/// and logged once. Names that begin with "." or "~" are other programs' temporary files and are no items.
///
/// Times are local ones by the zone that the process has when this object is made (TZ).
class LocalOutlook final : public outlook::Automation {
 public:
  LocalOutlook(Folders folders, Log log);
  ~LocalOutlook() override;

  std::unique_ptr<outlook::Application> createObject(std::string_view programId) override;

  class Stores;

 private:
  std::shared_ptr<Stores> stores_;
};

}  // namespace kova::platform::local_outlook
