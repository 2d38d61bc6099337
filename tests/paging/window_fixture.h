#pragma once

#include <map>
#include <string>

#include "fakes/fake_profile_file.h"
#include "paging/paging_window.h"
#include "paging_fixture.h"
#include "platform/screen_saver.h"

namespace kova::paging {

class FakeScreenSaver : public platform::ScreenSaver {
 public:
  bool running = false;
  int asked = 0;
  bool active() override {
    ++asked;
    return running;
  }
};

/// The paging window on a machine with an SMTP server, with its settings set.
class PagingWindowTest : public PagingTest {
 protected:
  PagingWindowTest() {
    set("From", "me@home.test");
    set("To", "pager@phone.test");
    set("Subject", "Reminder");
    set("SMTP_Server", "mail.test");
    set("Check_Interval", "10");
    set("Daily_Mail_Time", "07:30");
    form.Labelstat.onShown = [this] { statuses.push_back(form.Labelstat.text()); };
  }

  void set(const std::string& key, const std::string& value) { profile.values[{"Pager", key}] = value; }
  std::string setting(const std::string& key) const {
    const auto found = profile.values.find({"Pager", key});
    return found == profile.values.end() ? "" : found->second;
  }

  /// What lies between the headers and the end of a mail.
  static std::string bodyOf(const std::string& bytes) {
    const std::size_t start = bytes.find("\r\n\r\n") + 4;
    return bytes.substr(start, bytes.rfind("\r\n.\r\n") - start);
  }
  /// The subjects of all mails.
  Strings subjects() const {
    Strings found;
    for (const std::string& bytes : peer.mails) {
      const std::size_t start = bytes.find("Subject: ") + 9;
      found.push_back(bytes.substr(start, bytes.find("\r\n", start) - start));
    }
    return found;
  }

  fakes::FakeProfileFile profile;
  settings::Settings settings{"/home/kova", profile, '/'};
  FakeScreenSaver screenSaver;
  Form2 form{{loop, clock, dialogs, outlook, screenSaver, settings, conversation}};
  Strings statuses;  ///< every text that the status line has shown
};

}  // namespace kova::paging
