#pragma once

#include <unistd.h>

#include <memory>

#include "platform/machine.h"
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

namespace kova::platform::posix {

class PosixMachine final : public Machine {
 public:
  PosixMachine();

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
  std::unique_ptr<outlook::Automation> installedOutlook(Log) override { return nullptr; }

 private:
  void received(int signal);

  PosixEventLoop loop_;
  Signals signals_;
  PosixSocketFactory sockets_{loop_};
  PosixConnector connector_{loop_, sockets_};
  PosixHostLookup hostLookup_;
  PosixFiles files_;
  PosixProfileFile profileFile_;
  PosixProcesses processes_;
  PosixClock clock_;
  NoScreenSaver screenSaver_;
  PosixLineOutput standardOutput_{STDOUT_FILENO};
};

}  // namespace kova::platform::posix
