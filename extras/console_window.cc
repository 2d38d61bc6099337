#include "extras/console_window.h"

#include <algorithm>
#include <utility>

#include "base/text.h"

namespace kova::extras {

namespace {

/// Who reads over the owner's shoulder learns no password.
std::string_view masked(std::string_view line) {
  const std::string_view words = base::trim(line);
  return base::asciiLower(words.substr(0, 5)) == "pass " ? "PASS ****" : line;
}

}  // namespace

formtelnet::formtelnet(conversation::LineConversation& conversation)
    : Window("formtelnet", "Telnet"), conversation_(conversation) {
  conversation_.watcher = {[this](std::string_view text) { showSent(text); },
                           [this](std::string_view bytes) { showReceived(received_.add(bytes)); },
                           [this] { showStatus(); }};
  editPort.setText("23");
  cmdConnect.onClick = [this] { cmdConnect_Click(); };
  cmdSend.onClick = [this] { cmdSend_Click(); };
  cmdClear.onClick = [this] { txtConsole.clear(); };
  cmdClose.onClick = [this] { close(); };
  for (platform::TextBox* field : {&editHost, &editPort}) {
    field->onFocus = [field] { field->selectAll(); };
  }

  using platform::Layout;
  setLayout(
      Layout::rows({Layout::columns({Layout(editHost).growing(), editPort, cmdConnect}),
                    Layout(txtConsole).growing(), Layout::columns({Layout(editLine).growing(), cmdSend}),
                    Layout::columns({Layout(lblStatus).growing(), cmdClear, cmdClose})}));
  setState(State::kIdle);
}

formtelnet::~formtelnet() { conversation_.watcher = {}; }

void formtelnet::open() {
  show();
  if (state_ == State::kIdle) editHost.focus();
}

void formtelnet::close() {
  if (state_ != State::kIdle) hangUp("Disconnected.");
  Window::close();
}

void formtelnet::cmdConnect_Click() {
  if (state_ != State::kIdle) {
    hangUp("Disconnected.");
    return;
  }
  std::string host(base::trim(editHost.text()));
  if (host.empty()) {
    conversation_.ShowError("Please enter the host to connect to.");
    editHost.focus();
    return;
  }
  auto turn = conversation_.tryTurn([this] { hangUp("Disconnected: the connection is needed for mail."); });
  if (!turn) {
    conversation_.ShowError(
        "A conversation with a mail server is under way.  Please try again when it has ended.");
    return;
  }
  setState(State::kConnecting);
  note("Connecting to " + printableText(host) + ", port " + std::string(base::trim(editPort.text())));
  tasks_.spawn(session(std::move(turn), std::move(host), std::string(base::trim(editPort.text()))));
}

base::Task<> formtelnet::session(conversation::LineConversation::Turn turn, std::string host,
                                 std::string port) {
  bool connected = false;
  {
    const auto held = std::move(turn);
    connected = co_await conversation_.connect(std::move(host), std::move(port));
    if (connected) {
      note("Connected.");
      setState(State::kConnected);
      editLine.focus();
      co_await conversation_.WaitForEnd();
    }
  }
  note(connected ? "The connection has ended." : "Not connected.");
  setState(State::kIdle);
}

/// Not to be called by the session itself.
void formtelnet::hangUp(std::string_view why) {
  tasks_.clear();
  note(why);
  setState(State::kIdle);
}

void formtelnet::cmdSend_Click() {
  if (state_ != State::kConnected) return;
  std::string line = editLine.text();
  // A line that could not be sent stays, for the next connection.
  if (conversation_.SendData(line.append(base::kCrLf))) editLine.setText("");
  editLine.focus();
}

void formtelnet::setState(State state) {
  state_ = state;
  const bool idle = state == State::kIdle;
  const bool connected = state == State::kConnected;
  // A field that is closed to the owner does not keep his keys.
  const bool fieldCloses =
      idle ? editLine.focused() || cmdSend.focused() : editHost.focused() || editPort.focused();
  cmdConnect.setCaption(idle ? "Co&nnect" : "Disco&nnect");
  editHost.setEnabled(idle);
  editPort.setEnabled(idle);
  editLine.setEnabled(connected);
  cmdSend.setEnabled(connected);
  if (fieldCloses) (idle ? static_cast<platform::Control&>(editHost) : cmdConnect).focus();
  setKeys(connected ? &cmdSend : idle ? &cmdConnect : nullptr, &cmdClose);
}

void formtelnet::showSent(std::string_view text) {
  const std::string readable = printableText(text);
  std::string lines;
  for (std::string_view rest = readable; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    lines.append("> ").append(masked(line)).append("\n");
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
  }
  startLine();
  txtConsole.append(lines);
}

void formtelnet::showReceived(std::string_view text) {
  if (text.empty()) return;
  txtConsole.append(text);
  lineStarts_ = text.ends_with('\n');
}

void formtelnet::showStatus() {
  const std::string& status = conversation_.status();
  lblStatus.setText(status);
  received_ = {};
  // Of its own session the console tells by itself.
  if (state_ == State::kIdle) note(status.empty() ? "The conversation has ended." : std::string_view(status));
}

void formtelnet::note(std::string_view text) {
  startLine();
  txtConsole.append(std::string("*** ").append(text).append("\n"));
}

void formtelnet::startLine() {
  if (!lineStarts_) txtConsole.append("\n");
  lineStarts_ = true;
}

}  // namespace kova::extras
