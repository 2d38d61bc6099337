#pragma once

#include <string>

namespace kova::platform {

/// Starts programs and forgets them.
class Processes {
 public:
  virtual ~Processes() = default;

  /// Starts a program with its arguments, given as one command line, and does not wait for it to end. A
  /// window that it opens is shown as usual but does not take the focus, where the system lets the starter
  /// say so.
  ///
  /// The line falls into words as in a POSIX shell: blanks, tabs and line ends part them, '...' and "..."
  /// hold a word together, and a backslash takes the next character as it is (within "..." only before $ ` "
  /// and another backslash). That is all: nothing is expanded, substituted or redirected, and | ; & < > are
  /// characters like any other, so that no text in the line can become a second command. The first word is
  /// the program: a path when it holds a separator (from the current directory on, unless it is absolute),
  /// otherwise a name that is looked for in PATH.
  ///
  /// The program gets none of our descriptors, runs in a session of its own, reads and writes nowhere, and
  /// sees signals as a fresh program does. It goes on when we end, and needs no care of ours when it ends.
  ///
  /// False when it cannot be started, with the reason in `why`: a quote without its end, no program, one that
  /// is missing or may not be run.
  virtual bool start(const std::string& commandLine, std::string& why) = 0;

  /// True when there is a file or folder of this name.
  virtual bool exists(const std::string& path) = 0;
};

}  // namespace kova::platform
