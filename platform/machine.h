#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/connector.h"
#include "platform/event_loop.h"
#include "platform/files.h"
#include "platform/host_lookup.h"
#include "platform/line_output.h"
#include "platform/outlook.h"
#include "platform/processes.h"
#include "platform/profile_file.h"
#include "platform/screen_saver.h"
#include "platform/socket.h"

namespace kova::platform {

/// An event loop that goes round by itself, or is pumped by a window system's loop.
class PumpedLoop {
 public:
  virtual ~PumpedLoop() = default;

  /// Goes round until quit().
  virtual void run() = 0;
  /// Ends the run() that is under way after the present round, or else the next one at its start.
  virtual void quit() = 0;

  // For a window system whose loop runs in place of run().
  /// Readable when there is something to dispatch; -1 where any loop that fetches the thread's window
  /// messages brings our events as well.
  virtual int descriptor() = 0;
  /// Dispatches what is pending, for a short time only.
  virtual void dispatchSlice() = 0;
};

/// The system that the program runs on. There is one for a process, made before there is a second thread.
class Machine {
 public:
  virtual ~Machine() = default;

  virtual EventLoop& loop() = 0;
  virtual PumpedLoop& pumpedLoop() = 0;
  virtual SocketFactory& sockets() = 0;
  virtual Connector& connector() = 0;
  virtual HostLookup& hostLookup() = 0;
  virtual Files& files() = 0;
  virtual ProfileFile& profileFile() = 0;
  virtual Processes& processes() = 0;
  virtual Clock& clock() = 0;
  virtual ScreenSaver& screenSaver() = 0;
  virtual LineOutput& standardOutput() = 0;

  /// Goes round the loop until what was written to connections that are closed has arrived, at most for
  /// `limit`.
  virtual void finishSending(std::chrono::milliseconds limit) = 0;

  /// Takes one line of plain text per problem, without a line end.
  using Log = std::function<void(const std::string& line)>;
  /// An Outlook beside this program; null where none is installed.
  virtual std::unique_ptr<outlook::Automation> installedOutlook(Log log) = 0;

  /// The program is told to end: SIGTERM, SIGINT; or Ctrl+C, a console that is closed, the owner logging off.
  std::function<void()> onEnd;
  /// The paging server is told to check now: SIGUSR1, where there are such signals.
  std::function<void()> onCheckNow;
};

/// What a program does to its process once, before anything else.
void prepareProcess();

/// The machine of the system that this program was built for.
std::unique_ptr<Machine> makeMachine();

/// What the program was called with, behind its own name. `argc` and `argv` are main()'s.
std::vector<std::string> programArguments(int argc, char** argv);

/// The folder that the executable lies in.
std::string executableFolder();

}  // namespace kova::platform
