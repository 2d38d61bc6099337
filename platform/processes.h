#pragma once

#include <string>

namespace kova::platform {

/// Starts programs and forgets them.
class Processes {
 public:
  virtual ~Processes() = default;

  /// Starts a program with its arguments, given as one command line, and does not wait for it. The line is split
  /// into words at blanks; quotes (' and ") hold a word together and a backslash takes the next character as it is;
  /// nothing else has a meaning: no expansion, no redirection, no second command. The program runs in a session of
  /// its own, with none of our descriptors. False when it cannot be started, with `why` saying so.
  virtual bool start(const std::string& commandLine, std::string& why) = 0;

  /// True when a file of this name exists.
  virtual bool exists(const std::string& path) = 0;
};

}  // namespace kova::platform
