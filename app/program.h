#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "app/options.h"
#include "conversation/line_conversation.h"
#include "launch/center.h"
#include "launch/launch_window.h"
#include "paging/paging_window.h"
#include "platform/dialogs.h"
#include "platform/local_outlook/local_outlook.h"
#include "platform/posix/clock.h"
#include "platform/posix/connector.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/files.h"
#include "platform/posix/host_lookup.h"
#include "platform/posix/processes.h"
#include "platform/posix/profile_file.h"
#include "platform/posix/screen_saver.h"
#include "platform/posix/signals.h"
#include "platform/posix/socket.h"
#include "platform/window.h"
#include "pop3/accounts.h"
#include "pop3/accounts_window.h"
#include "server/main_window.h"
#include "settings/settings.h"
#include "wml/host.h"
#include "wml/pages.h"

namespace kova::app {

/// The whole program but for its way of meeting the owner: who makes it shows the windows or does without,
/// and goes round the event loop.
class Program final {
 public:
  /// `folder` is the program's folder, absolute and without a separator at its end; `executable` is the name
  /// in trace lines. The dialogs must outlive the program.
  Program(std::string folder, std::string executable, platform::Dialogs& dialogs);

  /// Start-up, then what the options ask for.
  void load(const Options& options);

  /// SIGTERM, SIGINT, or the owner has closed the main window: the loop is to be left, for unload().
  std::function<void()> onEnd;
  /// Ends in order: nothing of a client is left behind, and the last answers arrive.
  void unload();

  platform::posix::PosixEventLoop& loop() { return loop_; }
  platform::posix::PosixFiles& files() { return files_; }
  conversation::LineConversation& conversation() { return conversation_; }
  server::frmMain& window() { return window_; }
  paging::Form2& paging() { return paging_; }
  /// Every window, the main window first.
  std::vector<platform::Window*> windows();

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
  conversation::LineConversation conversation_;
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
