#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/start.h"
#include "conversation/line_conversation.h"
#include "launch/center.h"
#include "launch/launch_window.h"
#include "paging/paging_window.h"
#include "platform/dialogs.h"
#include "platform/local_outlook/local_outlook.h"
#include "platform/machine.h"
#include "platform/outlook.h"
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
  /// `executable` is the name in trace lines. The machine and the dialogs must outlive the program.
  Program(platform::Machine& machine, Start start, std::string executable, platform::Dialogs& dialogs);

  /// Start-up, then what the options ask for.
  void load();

  /// The machine says so, or the owner has closed the main window: the loop is to be left, for unload().
  std::function<void()> onEnd;
  /// Ends in order: nothing of a client is left behind, and the last answers arrive.
  void unload();

  platform::Machine& machine() { return machine_; }
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
  std::unique_ptr<platform::outlook::Automation> makeOutlook();

  platform::Machine& machine_;
  Start start_;
  settings::Settings settings_;
  conversation::LineConversation conversation_;
  platform::local_outlook::Folders outlookFolders_;
  server::frmMain window_;
  bool outlookMissing_ = false;  // though the owner has asked for it
  std::unique_ptr<platform::outlook::Automation> outlook_;
  WindowHost host_;
  wml::Pages pages_;
  launch::Center launchCenter_;
  launch::frmlaunch launchWindow_;
  pop3::Accounts accounts_;
  pop3::frmpop3 accountsWindow_;
  paging::Form2 paging_;
};

}  // namespace kova::app
