#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "fakes/fake_clock.h"
#include "fakes/fake_dialogs.h"
#include "fakes/fake_files.h"
#include "fakes/fake_host_lookup.h"
#include "fakes/fake_loop.h"
#include "fakes/fake_profile_file.h"
#include "fakes/fake_socket.h"
#include "server/main_window.h"
#include "settings/settings.h"

namespace kova::server {

/// A main window on a scripted machine, with phones that do what the test says.
class ServerTest : public ::testing::Test {
 protected:
  static constexpr const char* kAccept =
      "Accept: text/vnd.wap.wml, image/png, text/txt, application/octet-stream";

  ServerTest() {
    profile.values[{"Main", "WAP_Directory"}] = "/home/kova/pages/";
    profile.values[{"Main", "Local_Port"}] = "8081";
    profile.values[{"Main", "PIN_Code"}] = "4711";
    open();
  }

  /// A new window, as after a restart of the program.
  void open() {
    window.reset();
    sockets.made.clear();
    window = std::make_unique<frmMain>(
        Machine{loop, sockets, files, clock, dialogs, lookup, settings}, "/home/kova", "tarvel_wapd",
        [this](const std::string& path) { noSupportDecks.push_back(path); },
        std::vector<std::string>{"/home/kova/tarvel_wap.ini", "/home/kova/outlook"});
    window->log.onLine = [this](std::string_view line) {
      lines.emplace_back(line.substr(18, line.size() - 20));
    };
  }

  fakes::FakeSocket& listener() { return *sockets.made.at(0); }
  fakes::FakeSocket& slot(std::size_t index) { return *sockets.made.at(index); }

  void start() {
    window->load();
    window->cmdListen.click();
    ASSERT_TRUE(window->listening());
    lines.clear();
  }

  /// A phone connects; `handle` names its connection.
  void connect(int handle) {
    listener().events.accept(handle);
    for (std::size_t i = 1; i < sockets.made.size(); ++i) {
      if (slot(i).handle() == handle && slot(i).connected()) return slot(i).events.connect();
    }
    FAIL() << "the connection was not taken";
  }

  void receive(std::size_t index, const std::string& piece) {
    slot(index).incoming.push_back(piece);
    slot(index).events.read();
    loop.settle();
  }

  /// One whole GET request on slot 1.
  void get(const std::string& path) {
    connect(100);
    receive(1, "GET " + path + " HTTP/1.1\r\nHost: pc\r\n" + kAccept + "\r\n\r\n");
  }

  bool logged(const std::string& line) const {
    for (const auto& l : lines) {
      if (l == line) return true;
    }
    return false;
  }

  /// The text of a log line that begins like this; empty when there is none.
  std::string loggedLike(const std::string& beginning) const {
    for (const auto& l : lines) {
      if (l.starts_with(beginning)) return l;
    }
    return {};
  }

  fakes::FakeLoop loop;
  fakes::FakeSocketFactory sockets;
  fakes::FakeFiles files;
  fakes::FakeClock clock;
  fakes::FakeDialogs dialogs;
  fakes::FakeHostLookup lookup;
  fakes::FakeProfileFile profile;
  settings::Settings settings{"/home/kova", profile, '/'};
  std::vector<std::string> lines;  ///< the log without stamps
  std::vector<std::string> noSupportDecks;
  std::unique_ptr<frmMain> window;
};

}  // namespace kova::server
