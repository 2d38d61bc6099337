#pragma once

#include <memory>

#include "platform/machine.h"
#include "platform/windows/clock.h"
#include "platform/windows/connector.h"
#include "platform/windows/event_loop.h"
#include "platform/windows/files.h"
#include "platform/windows/host_lookup.h"
#include "platform/windows/line_output.h"
#include "platform/windows/processes.h"
#include "platform/windows/profile_file.h"
#include "platform/windows/screen_saver.h"
#include "platform/windows/socket.h"

namespace kova::platform::windows {

/// Windows Sockets, from construction to destruction.
class SocketsLibrary {
 public:
  SocketsLibrary();
  SocketsLibrary(const SocketsLibrary&) = delete;
  SocketsLibrary& operator=(const SocketsLibrary&) = delete;
  ~SocketsLibrary() { ::WSACleanup(); }
};

class WindowsMachine final : public Machine {
 public:
  WindowsMachine();
  WindowsMachine(const WindowsMachine&) = delete;
  WindowsMachine& operator=(const WindowsMachine&) = delete;
  ~WindowsMachine() override;

  EventLoop& loop() override { return loop_; }
  PumpedLoop& pumpedLoop() override { return loop_; }
  SocketFactory& sockets() override { return sockets_; }
  Connector& connector() override { return connector_; }
  HostLookup& hostLookup() override { return hostLookup_; }
  Files& files() override { return files_; }
  ProfileFile& profileFile() override { return profileFile_; }
  Processes& processes() override { return processes_; }
  Clock& clock() override { return clock_; }
  ScreenSaver& screenSaver() override { return screenSaver_; }
  LineOutput& standardOutput() override { return standardOutput_; }
  void finishSending(std::chrono::milliseconds limit) override { sockets_.finish(limit); }
  std::unique_ptr<outlook::Automation> installedOutlook(Log log) override;

 private:
  SocketsLibrary socketsLibrary_;
  WindowsEventLoop loop_;
  WindowsSocketFactory sockets_{loop_};
  WindowsConnector connector_{loop_, sockets_};
  WindowsHostLookup hostLookup_;
  WindowsFiles files_;
  WindowsProfileFile profileFile_;
  WindowsProcesses processes_;
  WindowsClock clock_;
  WindowsScreenSaver screenSaver_;
  WindowsLineOutput standardOutput_{::GetStdHandle(STD_OUTPUT_HANDLE)};
};

}  // namespace kova::platform::windows
