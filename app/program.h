#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "app/headless_dialogs.h"
#include "app/options.h"
#include "platform/local_outlook/local_outlook.h"
#include "platform/posix/clock.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/files.h"
#include "platform/posix/host_lookup.h"
#include "platform/posix/line_output.h"
#include "platform/posix/profile_file.h"
#include "platform/posix/socket.h"
#include "server/main_window.h"
#include "settings/settings.h"
#include "wml/host.h"
#include "wml/pages.h"

namespace kova::app {

/// The whole program without a desktop, put together.
class Program final : private platform::posix::RoundEndHandler {
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
  void printLine(std::string_view line);
  /// The lines of a round go out together.
  void onRoundEnd() override;

  std::string folder_;
  platform::posix::PosixEventLoop loop_;
  platform::posix::PosixFiles files_;
  platform::posix::PosixClock clock_;
  platform::posix::PosixHostLookup hostLookup_;
  platform::posix::PosixProfileFile profileFile_;
  platform::posix::PosixSocketFactory sockets_;
  settings::Settings settings_;
  HeadlessDialogs dialogs_;
  platform::posix::LineOutput output_;
  std::unique_ptr<platform::EventLoop::Timer> outputRetry_;
  platform::local_outlook::Folders outlookFolders_;
  server::frmMain window_;
  platform::local_outlook::LocalOutlook outlook_;
  WindowHost host_;
  wml::Pages pages_;
};

}  // namespace kova::app
