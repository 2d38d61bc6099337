#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "base/task.h"
#include "platform/clock.h"
#include "platform/controls.h"
#include "platform/dialogs.h"
#include "platform/event_loop.h"
#include "platform/files.h"
#include "platform/host_lookup.h"
#include "platform/socket.h"
#include "platform/window.h"
#include "server/dispatch.h"
#include "server/log.h"
#include "server/requests.h"
#include "server/responses.h"
#include "server/slots.h"
#include "server/trace_window.h"
#include "settings/settings.h"

namespace kova::server {

/// The machine and the settings, as the main window uses them. All of it must outlive the window.
struct Machine {
  platform::EventLoop& loop;
  platform::SocketFactory& sockets;
  platform::Files& files;
  const platform::Clock& clock;
  platform::Dialogs& dialogs;
  platform::HostLookup& hostLookup;
  settings::Settings& settings;
};

/// The main window: the server's set-up fields, its start and stop, its log, and the server itself. It lives
/// as long as the program. load() is the start-up; before it nothing listens.
class frmMain : public platform::Window {
 public:
  /// The PIN code where the owner has set none.
  static constexpr std::string_view kDefaultPinCode = "73106482";

  /// `programFolder` is where the settings file lies, without a separator at its end; `executable` is the
  /// name in trace lines; for `privatePaths` see ResponseHost.
  frmMain(Machine machine, std::string programFolder, std::string executable,
          std::function<void(const std::string& path)> writeNoSupportDeck,
          std::vector<std::string> privatePaths);

  /// The pages of the generated routes, before load().
  void setRoutes(RouteTable routes) { dispatcher_.setRoutes(std::move(routes)); }

  /// Start-up: fills the fields from the settings file and starts what the owner wants started.
  void load();

  /// Closing this window ends the program.
  void close() override;
  std::function<void()> onClosed;

  /// The end of the program: stops listening and drops every client, so that nothing of theirs is left
  /// behind.
  void unload();

  /// The folder of the served files and of the decks. A field that holds nothing or the root of the disk
  /// alone means the program's folder: nobody meant to share his whole disk.
  const std::string& pageDirectory() const { return pageDirectory_; }
  bool listening() { return slots_.sockServer(0).listening(); }

  /// Title, captions and enabled controls as the server's state has it.
  void RefreshServerState();

  // The controls, in the order in which they are reached with the Tab key.
  platform::Frame Frame1{"Frame1", "WAP Server Set-up:"};
  platform::TextBox editLocalAddress{"editLocalAddress", "IP Address of this PC:"};
  platform::TextBox editLocalPort{"editLocalPort", "Port:"};
  platform::TextBox editMaxClients{"editMaxClients", "Max Clients:"};
  platform::TextBox editPageDirectory{"editPageDirectory", "WAP Page Directory:"};
  platform::Button Command1{"Command1", "Choose..."};
  platform::TextBox txtimage{"txtimage", "Displayed image:"};
  platform::Button Command4{"Command4", "Choose..."};
  platform::TextBox Text1{"Text1", "PIN code requested when adding new items:"};
  platform::CheckBox Check1{"Check1", "Start WAP Server when KOVA is launched:"};
  platform::CheckBox paging_check{"paging_check", "Start paging server when KOVA is launched:"};
  platform::Button cmdListen{"cmdListen", "Start WAP Server"};
  platform::Button cmdDisconnect{"cmdDisconnect", "Disconnect"};
  platform::Button cmdClearLog{"cmdClearLog", "Clear Window"};
  platform::LogBox txtLogError{"txtLogError", ServerLog::kBoxCharacters, "Log window:"};
  platform::Button pager{"pager", "&Paging server..."};
  platform::Button Command2{"Command2", "&Launch module..."};
  platform::Button Command5{"Command5", "&POP3 module..."};
  platform::Button Command3{"Command3", "&About..."};
  platform::Button mnuTrace{"mnuTrace", "Trace"};
  platform::Button mnuPicture{"mnuPicture", "Picture..."};
  platform::Button mnuTelnet{"mnuTelnet", "Telnet..."};

  frmTrace traceWindow;

  // The windows behind the buttons pager, Command2, Command5 and Command3, and behind the menu.
  std::function<void()> showPaging;
  std::function<void()> showLaunch;
  std::function<void()> showPop3;
  std::function<void()> showAbout;
  std::function<void()> showPicture;
  std::function<void()> showTelnet;
  /// Shows the paging window and starts paging; run at start-up when the owner wants it.
  std::function<void()> startPaging;

  ServerLog log;

 private:
  void arrange();
  void LoadSettings();
  void findPageDirectory();
  void write(std::string_view key, const std::string& value) const;
  void wireFields();
  void wireButtons();
  void cmdListen_Click();
  void startListening();
  void dropAllClients();
  void explainListenFailure(int error);
  base::Task<> cmdDisconnect_Click();
  base::Task<> chooseDirectory();
  base::Task<> chooseImage();
  void warn(const std::string& text);

  Machine machine_;
  std::string programFolder_;
  std::string pageDirectory_;  // worked out when the field changes, not for every request
  ClientSlots slots_;
  Responses responses_;
  Dispatcher dispatcher_;
  Requests requests_;
  base::TaskGroup tasks_;
  bool loading_ = false;
};

}  // namespace kova::server
