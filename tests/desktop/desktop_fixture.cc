#include "desktop/desktop_fixture.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>
#include <wx/control.h>
#include <wx/textentry.h>
#include <wx/toplevel.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

#include "platform/posix/host_lookup.h"

namespace kova::desktop {

namespace {

std::string output(const std::string& command) {
  std::string text;
  FILE* pipe = ::popen(command.c_str(), "r");
  std::array<char, 256> piece{};
  while (std::fgets(piece.data(), piece.size(), pipe)) text += piece.data();
  ::pclose(pipe);
  return text;
}

/// Whether keys go to a box or a chooser.
bool dialogIsActive() {
  return output("xprop -id $(xdotool getactivewindow 2>/dev/null) _NET_WM_WINDOW_TYPE 2>/dev/null")
             .find("_DIALOG") != std::string::npos;
}

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

}  // namespace

DesktopTest::DesktopTest() {
  std::string pattern = std::filesystem::temp_directory_path() / "kova-test-XXXXXX";
  home_ = ::mkdtemp(pattern.data());
}

DesktopTest::~DesktopTest() {
  onWindows([this] {
    if (dialogs_) dialogs_->end();
  });
  EXPECT_TRUE(comes([this] { return box().empty(); }));
  onWindows([this] {
    desktop_.reset();
    if (program_) program_->unload();
    program_.reset();
    dialogs_.reset();
    machine_.reset();
  });
  std::filesystem::remove_all(home_);
}

void DesktopTest::start(const std::string& settings) {
  if (!settings.empty()) std::ofstream(home_ + "/tarvel_wap.ini") << settings;
  onWindows([this] {
    dialogs_ = std::make_unique<platform::wx::WxDialogs>();
    machine_ = platform::makeMachine();
    program_ = std::make_unique<app::Program>(*machine_, app::Start{{}, home_}, "tarvel_wap", *dialogs_);
    desktop_ = std::make_unique<app::Desktop>(*program_, *dialogs_, [this] { ended_ = true; });
    program_->load();
  });
  platform::posix::PosixHostLookup lookup;
  if (lookup.addressesOf(lookup.hostName().value_or("")).empty())
    answer("Windows Sockets are not responding. Unable to successfully get Host Name.", "Return");
  ASSERT_TRUE(comes([] { return opened("frmMain"); }));
}

void DesktopTest::startWithPages(const std::string& settings) {
  std::ofstream(home_ + "/index.wml") << "<wml><card><p>Good morning</p></card></wml>";
  start("[Main]\r\nLocal_Port=" + std::to_string(freePort()) + "\r\n" + settings);
  ASSERT_TRUE(comes([] { return focus() == "frmMain.editLocalAddress"; }));
  fill("frmMain", "editLocalAddress", "127.0.0.1");
}

bool DesktopTest::comes(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (!onWindows(condition)) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

wxWindow* DesktopTest::find(const std::string& window, const std::string& control) {
  for (wxWindow* each : wxTopLevelWindows) {
    if (each->GetName() == window) return control.empty() ? each : wxWindow::FindWindowByName(control, each);
  }
  return nullptr;
}

std::string DesktopTest::captionOf(const std::string& window, const std::string& control) {
  const wxWindow* found = find(window, control);
  return found ? found->GetLabel().utf8_string() : "(there is no " + control + ")";
}

std::string DesktopTest::textOf(const std::string& window, const std::string& control) {
  const auto* found = dynamic_cast<wxTextEntryBase*>(find(window, control));
  return found ? found->GetValue().utf8_string() : "(there is no " + control + ")";
}

bool DesktopTest::enabled(const std::string& window, const std::string& control) {
  const wxWindow* found = find(window, control);
  return found && found->IsEnabled();
}

bool DesktopTest::opened(const std::string& window) {
  auto* found = dynamic_cast<wxTopLevelWindow*>(find(window));
  return found && found->IsShown() && found->IsActive();
}

std::string DesktopTest::focus() {
  wxWindow* found = wxWindow::FindFocus();
  return found ? (wxGetTopLevelParent(found)->GetName() + "." + found->GetName()).utf8_string() : "";
}

std::string DesktopTest::titleOf(const std::string& window) {
  const auto* found = dynamic_cast<wxTopLevelWindow*>(find(window));
  return found ? found->GetTitle().utf8_string() : "";
}

std::string DesktopTest::box() const { return dialogs_ ? dialogs_->standing() : std::string(); }

void DesktopTest::run(const std::string& xdotool) {
  EXPECT_EQ(0, std::system(("xdotool " + xdotool).c_str()));
}

void DesktopTest::click(const std::string& window, const std::string& control) {
  ASSERT_TRUE(comes([&] { return opened(window) && enabled(window, control); })) << window << "." << control;
  const wxRect place = onWindows([&] { return find(window, control)->GetScreenRect(); });
  // Left of the middle: a combo box has its arrow on the right.
  run("mousemove " + std::to_string(place.x + place.width / 3) + " " +
      std::to_string(place.y + place.height / 2) + " click 1");
}

void DesktopTest::type(const std::string& text) { run("type --delay 5 -- '" + text + "'"); }

void DesktopTest::fill(const std::string& window, const std::string& field, const std::string& text) {
  click(window, field);
  ASSERT_TRUE(comes([&] { return focus() == window + "." + field; })) << window << "." << field;
  key("ctrl+a");
  type(text);
  EXPECT_TRUE(comes([&] { return textOf(window, field) == text; })) << window << "." << field;
}

void DesktopTest::answer(const std::string& text, const std::string& keys) {
  ASSERT_TRUE(comes([&] { return box() == text; }))
      << "expected: " << text << "\nthere is: " << onWindows([this] { return box(); });
  // Keys go to it once the window manager says so.
  ASSERT_TRUE(comes([] { return dialogIsActive(); }));
  key(keys);
  ASSERT_TRUE(comes([&] { return box() != text; })) << text;
}

void DesktopTest::chooseFile(const std::string& file) {
  ASSERT_TRUE(comes([] { return dialogIsActive(); }));
  key("ctrl+l");
  key("ctrl+a");
  type(file);
  key("Return");
  ASSERT_TRUE(comes([] { return !dialogIsActive(); })) << file;
}

std::string DesktopTest::setting(const std::string& section, const std::string& key) const {
  std::ifstream file(home_ + "/tarvel_wap.ini");
  std::string line;
  bool inside = false;
  while (std::getline(file, line)) {
    if (line.ends_with('\r')) line.pop_back();
    if (line.starts_with('[')) inside = line == "[" + section + "]";
    if (inside && line.starts_with(key + "=")) return line.substr(key.size() + 1);
  }
  return "(not there)";
}

Phone::Phone(int port) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
  const sockaddr_in address = loopback(port);
  EXPECT_EQ(0, ::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address));
}
Phone::~Phone() { ::close(socket_); }

void Phone::send(const std::string& text) const {
  EXPECT_EQ(static_cast<ssize_t>(text.size()), ::send(socket_, text.data(), text.size(), MSG_NOSIGNAL));
}

std::string Phone::rest() const {
  std::string text;
  std::array<char, 4096> piece{};
  for (ssize_t count = 0; (count = ::recv(socket_, piece.data(), piece.size(), 0)) > 0;) {
    text.append(piece.data(), static_cast<std::size_t>(count));
  }
  return text;
}

BusyPort::BusyPort() : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
  sockaddr_in address = loopback(0);
  socklen_t length = sizeof address;
  EXPECT_EQ(0, ::bind(socket_, reinterpret_cast<sockaddr*>(&address), length));
  EXPECT_EQ(0, ::listen(socket_, 1));
  EXPECT_EQ(0, ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length));
  number_ = ntohs(address.sin_port);
}
BusyPort::~BusyPort() { ::close(socket_); }

int freePort() { return BusyPort().number(); }

}  // namespace kova::desktop
