#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "app/headless_dialogs.h"
#include "app/options.h"
#include "conversation/line_conversation.h"
#include "launch/center.h"
#include "launch/launch_window.h"
#include "paging/paging_window.h"
#include "platform/local_outlook/local_outlook.h"
#include "platform/posix/clock.h"
#include "platform/posix/connector.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/files.h"
#include "platform/posix/host_lookup.h"
#include "platform/posix/line_output.h"
#include "platform/posix/processes.h"
#include "platform/posix/profile_file.h"
#include "platform/posix/screen_saver.h"
#include "platform/posix/signals.h"
#include "platform/posix/socket.h"
#include "pop3/accounts.h"
#include "pop3/accounts_window.h"
#include "server/main_window.h"
#include "settings/settings.h"
#include "wml/host.h"
#include "wml/pages.h"

namespace kova::app {

/// The whole program without a desktop, put together.
class Program final {
 public:
  /// `folder` is the program's folder, absolute and without a separator at its end.
  explicit Program(std::string folder);

  /// Start-up, then what the options ask for.
  void load(const Options& options);

  bool listening() { return window_.listening(); }
  /// Text of the last message box.
  const std::string& lastMessage() const { return dialogs_.lastMessage(); }

  /// Serves until SIGTERM or SIGINT, then ends in order.
  void run();

 private:
  /// What the pages need of the main window.
  class WindowHost : public wml::Host {
   public:
    explicit WindowHost(server::frmMain& window) : window_(window) {}
    std::string pageDirectory() const override { return window_.pageDirectory(); }
    std::string pinCode() const override { return window_.Text1.text(); }

   private:
    server::frmMain& window_;
  };

  platform::local_outlook::Folders outlookFolders();
  void received(int signal);
  void printLine(std::string_view line);
  /// The lines of a round go out together.
  void writeOutputIn(std::chrono::milliseconds delay);

  std::string folder_;
  platform::posix::PosixEventLoop loop_;
  /// From the first moment on: a program that is told to end while it starts ends in order as well.
  platform::posix::Signals signals_;
  platform::posix::PosixFiles files_;
  platform::posix::PosixClock clock_;
  platform::posix::PosixHostLookup hostLookup_;
  platform::posix::PosixProfileFile profileFile_;
  platform::posix::PosixProcesses processes_;
  platform::posix::PosixSocketFactory sockets_;
  platform::posix::PosixConnector connector_;
  platform::posix::NoScreenSaver screenSaver_;
  settings::Settings settings_;
  HeadlessDialogs dialogs_;
  conversation::LineConversation conversation_;
  platform::posix::LineOutput output_;
  std::unique_ptr<platform::EventLoop::Timer> outputTimer_;
  platform::local_outlook::Folders outlookFolders_;
  server::frmMain window_;
  platform::local_outlook::LocalOutlook outlook_;
  WindowHost host_;
  wml::Pages pages_;
  launch::Center launchCenter_;
  launch::frmlaunch launchWindow_;
  pop3::Accounts accounts_;
  pop3::frmpop3 accountsWindow_;
  paging::Form2 paging_;
};

}  // namespace kova::app
