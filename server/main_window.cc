#include "server/main_window.h"

#include <optional>

#include "base/number.h"
#include "base/path.h"
#include "base/text.h"
#include "base/wait.h"
#include "platform/socket.h"
#include "server/local_address.h"
#include "settings/keys.h"

namespace kova::server {

namespace {

constexpr std::string_view kBaseTitle = "Tarvel Wap Server";
constexpr std::string_view kStartCaption = "Start WAP Server";
constexpr std::string_view kStopCaption = "Stop WAP Server";

/// Sets a flag for the time of a block.
class Scope {
 public:
  explicit Scope(bool& flag) : flag_(flag) { flag_ = true; }
  ~Scope() { flag_ = false; }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

 private:
  bool& flag_;
};

}  // namespace

frmMain::frmMain(Machine machine, std::string programFolder, std::string executable,
                 std::function<void(const std::string& path)> writeNoSupportDeck,
                 std::vector<std::string> privatePaths)
    : Window("frmMain", std::string(kBaseTitle)),
      log(machine.clock, machine.files, txtLogError, std::move(executable)),
      machine_(machine),
      programFolder_(std::move(programFolder)),
      slots_(machine.sockets, machine.files, log),
      responses_(
          slots_, machine.files, log,
          {[this] { return pageDirectory(); }, std::move(privatePaths), std::move(writeNoSupportDeck)}),
      dispatcher_(slots_, machine.files, responses_, [this] { return txtimage.text(); }),
      requests_(machine.loop, slots_, log, dispatcher_) {
  log.traceFile = [this] { return slots_.sockServer(0).trace().file; };
  slots_.onConnected = [this](int index) { requests_.connected(index); };
  slots_.onRead = [this](int index) { requests_.read(index); };
  slots_.onWriteReady = [this](int index) { responses_.SendResponse(index); };
  slots_.onStateChanged = [this] { RefreshServerState(); };
  wireFields();
  wireButtons();
  findPageDirectory();
  arrange();
}

void frmMain::arrange() {
  using platform::Layout;
  setLayout(Layout::rows(
      {Layout::rows({Layout::columns({Layout(editLocalAddress).growing(), editLocalPort, editMaxClients}),
                     Layout::columns({Layout(editPageDirectory).growing(), Command1}),
                     Layout::columns({Layout(txtimage).growing(), Command4}), Text1, Check1, paging_check})
           .in(Frame1),
       Layout::columns({cmdListen, cmdDisconnect}), Layout(txtLogError).growing(), cmdClearLog,
       Layout::columns({pager, Command2, Command5, Command3})}));
  setMenu("&Tools", {&mnuTrace, &mnuPicture, &mnuTelnet});
}

void frmMain::close() {
  Window::close();
  if (onClosed) onClosed();
}

void frmMain::findPageDirectory() {
  const std::string& text = editPageDirectory.text();
  const bool nothing = base::toPath(text).lexically_normal().relative_path().empty();
  pageDirectory_ = nothing ? programFolder_ + machine_.files.separator() : text;
}

void frmMain::write(std::string_view key, const std::string& value) const {
  // What start-up shows is what the file says; it is not written back.
  if (!loading_) machine_.settings.WriteSetting(settings::kMain, key, value);
}

void frmMain::wireFields() {
  const auto writes = [this](platform::TextBox& box, std::string_view key) {
    box.onChange = [this, &box, key] { write(key, box.text()); };
  };
  writes(editLocalAddress, settings::kLocalAddress);
  writes(editLocalPort, settings::kLocalPort);
  editPageDirectory.onChange = [this] {
    findPageDirectory();
    write(settings::kWapDirectory, editPageDirectory.text());
  };
  writes(txtimage, settings::kImage);
  writes(Text1, settings::kPinCode);

  const auto writesCheck = [this](platform::CheckBox& box, std::string_view key) {
    box.onClick = [this, &box, key] { write(key, std::to_string(box.value())); };
  };
  writesCheck(Check1, settings::kAutoStart);
  writesCheck(paging_check, settings::kAutoStartPaging);

  editPageDirectory.onFocus = [this] { editPageDirectory.selectAll(); };
  editMaxClients.onFocus = [this] { editMaxClients.selectAll(); };
  editPageDirectory.onLeave = [this] {
    const char separator = machine_.files.separator();
    if (!editPageDirectory.text().ends_with(separator)) {
      editPageDirectory.setText(editPageDirectory.text() + separator);
    }
    RefreshServerState();
  };
}

void frmMain::wireButtons() {
  cmdListen.onClick = [this] { cmdListen_Click(); };
  cmdDisconnect.onClick = [this] { tasks_.spawn(cmdDisconnect_Click()); };
  cmdClearLog.onClick = [this] { txtLogError.clear(); };
  Command1.onClick = [this] { tasks_.spawn(chooseDirectory()); };
  Command4.onClick = [this] { tasks_.spawn(chooseImage()); };
  const auto shows = [](platform::Button& button, const std::function<void()>& show) {
    button.onClick = [&show] {
      if (show) show();
    };
  };
  shows(pager, showPaging);
  shows(Command2, showLaunch);
  shows(Command5, showPop3);
  shows(Command3, showAbout);
  shows(mnuPicture, showPicture);
  shows(mnuTelnet, showTelnet);
  mnuTrace.onClick = [this] {
    const platform::SocketTrace& trace = slots_.sockServer(0).trace();
    traceWindow.set({trace.enabled, trace.file, trace.level});
    traceWindow.show(true);
  };
  traceWindow.onAccepted = [this] {
    const TraceOptions options = traceWindow.TraceParams();
    slots_.sockServer(0).setTrace({options.enabled, options.file, options.level});
  };
}

void frmMain::load() {
  LoadSettings();
  RefreshServerState();
}

void frmMain::unload() {
  if (listening()) slots_.sockServer(0).disconnect();
  dropAllClients();
  requests_.stop();
}

void frmMain::dropAllClients() {
  for (int i = 1; i <= slots_.LastSlot(); ++i) {
    if (slots_.sockServer(i).connected()) slots_.DropClient(i, "Disconnect Button Clicked");
  }
  RefreshServerState();
}

void frmMain::LoadSettings() {
  const auto read = [this](std::string_view key) {
    return machine_.settings.ReadSetting(settings::kMain, key);
  };
  {
    const Scope quiet(loading_);
    editLocalPort.setText("81");
    slots_.MaxClients = 10;
    editMaxClients.setText("10");

    editPageDirectory.setText(read(settings::kWapDirectory));
    txtimage.setText(read(settings::kImage));
    editLocalPort.setText(read(settings::kLocalPort));
    editLocalAddress.setText(read(settings::kLocalAddress));
  }
  // The stored address never survives a start: a PC's address changes, and the file follows it.
  editLocalAddress.setText(GetLocalAddress(machine_.hostLookup, machine_.dialogs));
  {
    const Scope quiet(loading_);
    const std::string pin = read(settings::kPinCode);
    Text1.setText(pin == settings::kBlank ? std::string(kDefaultPinCode) : pin);
    const auto checked = [&](std::string_view key) { return base::wholeNumber(read(key)) == 1 ? 1 : 0; };
    Check1.setValue(checked(settings::kAutoStart));
    paging_check.setValue(checked(settings::kAutoStartPaging));
    if (editPageDirectory.text() == settings::kBlank) {
      editPageDirectory.setText(programFolder_ + machine_.files.separator());
    }
  }
  if (Text1.text() == kDefaultPinCode) {
    log.LogLine("The PIN code for adding items is still the default one: choose your own (PIN_Code).");
  }
  slots_.resetRecords();
  RefreshServerState();

  if (Check1.value() == 1 && cmdListen.caption() == kStartCaption) cmdListen.click();
  if (paging_check.value() == 1 && startPaging) startPaging();
}

void frmMain::RefreshServerState() {
  const bool listens = listening();
  std::string newTitle(kBaseTitle);
  if (!listens) newTitle += " [Pause]";
  newTitle.append(" [").append(std::to_string(slots_.ActiveClients())).append(" Clients]");
  setTitle(std::move(newTitle));

  cmdListen.setCaption(std::string(listens ? kStopCaption : kStartCaption));
  platform::Control* const setUp[] = {&editLocalAddress,  &editLocalPort, &editMaxClients,
                                      &editPageDirectory, &Frame1,        &Command1,
                                      &Command2,          &Command4,      &Command5};
  for (platform::Control* control : setUp) control->setEnabled(!listens);
  cmdDisconnect.setEnabled(slots_.ActiveClients() >= 1);
}

void frmMain::warn(const std::string& text) {
  machine_.dialogs.message(text, platform::MessageIcon::kExclamation, std::string(kBaseTitle));
}

void frmMain::cmdListen_Click() {
  platform::Socket& listener = slots_.sockServer(0);
  if (listener.listening()) {
    listener.disconnect();
  } else {
    startListening();
  }
  RefreshServerState();
}

void frmMain::startListening() {
  const auto maxClients = base::wholeNumber(base::trim(editMaxClients.text()));
  if (!maxClients || *maxClients < 0 || *maxClients > 999) {
    warn("The specified maximum number of clients is invalid");
    editMaxClients.focus();
    return;
  }
  auto limit = static_cast<std::int16_t>(*maxClients);
  if (limit < slots_.ActiveClients()) {
    limit = slots_.ActiveClients();
    editMaxClients.setText(std::to_string(limit));
  }
  slots_.MaxClients = limit;

  const auto port = base::wholeNumber(base::trim(editLocalPort.text()));
  if (!port || *port < 1 || *port > 65535) {
    warn("The specified port number is invalid");
    editLocalPort.focus();
    return;
  }

  platform::Socket& listener = slots_.sockServer(0);
  listener.setReuseAddress(true);
  listener.setNoDelay(true);
  listener.setLocalPort(static_cast<std::int16_t>(*port > 32767 ? *port - 65536 : *port));
  listener.setLocalAddress(std::string(base::trim(editLocalAddress.text())));
  if (!listener.listen()) explainListenFailure(listener.lastError());
}

void frmMain::explainListenFailure(int error) {
  switch (error) {
    case platform::socket_error::kAddressInUse:
      warn("Another application is already listening on this port");
      return;
    case platform::socket_error::kAddressNotAvailable: {
      const std::string address = GetLocalAddress(machine_.hostLookup, machine_.dialogs);
      warn("IP address not used by this PC.   Detected IP address is:" + address);
      editLocalAddress.setText(address);
      return;
    }
    default:
      warn("An unexpected error occurred (Error " + std::to_string(error) + ")");
  }
}

base::Task<> frmMain::cmdDisconnect_Click() {
  base::Answer<bool> question([this](std::function<void(bool)> answer) {
    machine_.dialogs.askYesNo("Are you sure you want to disconnect all clients?",
                              platform::MessageIcon::kQuestion, std::string(kBaseTitle), std::move(answer));
  });
  const bool yes = co_await question;
  if (!yes) co_return;
  dropAllClients();
}

base::Task<> frmMain::chooseDirectory() {
  base::Answer<std::string> question([this](std::function<void(std::string)> answer) {
    machine_.dialogs.chooseFolder("Please select WAP Server home folder.", editPageDirectory.text(),
                                  std::move(answer));
  });
  const std::string folder = co_await question;
  if (!folder.empty()) editPageDirectory.setText(folder);
}

base::Task<> frmMain::chooseImage() {
  base::Answer<std::string> question([this](std::function<void(std::string)> answer) {
    // kept: the third label says BMP though it offers PNG files.
    machine_.dialogs.chooseFile(
        "Select File",
        {{"Jpeg Files (*.jpg)", "*.jpg"}, {"BMP Files (*.bmp)", "*.bmp"}, {"BMP Files (*.png)", "*.png"}},
        txtimage.text(), std::move(answer));
  });
  const std::string file = co_await question;
  if (!file.empty()) txtimage.setText(file);
  machine_.settings.WriteSetting(settings::kMain, settings::kImage, txtimage.text());
}

}  // namespace kova::server
