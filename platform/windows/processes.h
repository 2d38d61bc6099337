#pragma once

#include "platform/processes.h"

namespace kova::platform::windows {

/// Programs of this machine, shown without taking the focus (show mode 4). The command line goes to the
/// program as it is, which takes it apart itself; no command processor sees it, so that no text in it can
/// become a second command. The first word is the program, in quotation marks when it holds blanks. It is
/// looked for as the system does (the folder of this program, the current one, the system's, PATH), with
/// ".exe" behind a name without an extension.
///
/// Batch files are run by the command processor, which takes characters as commands: a line for one of them
/// that holds & | < > ^ % ! or a line end is refused.
class WindowsProcesses final : public Processes {
 public:
  bool start(const std::string& commandLine, std::string& why) override;
  bool exists(const std::string& path) override;
};

}  // namespace kova::platform::windows
