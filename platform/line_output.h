#pragma once

#include <string_view>

namespace kova::platform {

/// Lines for whoever started the program, gathered and written in few calls. A reader that does not keep up
/// never holds the program: what he leaves behind is kept up to a limit, then the oldest lines are given up.
class LineOutput {
 public:
  virtual ~LineOutput() = default;

  /// `line` with its line end.
  virtual void add(std::string_view line) = 0;
  /// Writes what the reader takes now. True when nothing is left.
  virtual bool flush() = 0;
};

}  // namespace kova::platform
