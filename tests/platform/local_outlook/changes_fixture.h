#pragma once

#include <string>

#include "platform/local_outlook/local_outlook_fixture.h"

namespace kova::platform::local_outlook {

/// What other programs do to the files while the server runs.
class ChangesTest : public LocalOutlookTest {
 protected:
  static std::string card(const std::string& name) {
    return "BEGIN:VCARD\nVERSION:3.0\nN:" + name + ";;;;\nFN:" + name + "\nEND:VCARD\n";
  }
  Lines names() { return texts(FolderNumber::kContacts, TextProperty::kLastNameAndFirstName); }
};

}  // namespace kova::platform::local_outlook
