#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kova::platform::posix {

/// Lines for a descriptor such as standard output, gathered and written in few calls. A reader that does not
/// keep up never holds the program: what he leaves behind is kept up to a limit, then the oldest lines are
/// given up.
class LineOutput {
 public:
  static constexpr std::size_t kMaxKeptBytes = 1 << 20;

  /// The descriptor stays the caller's.
  explicit LineOutput(int descriptor);

  void add(std::string_view line) { kept_ += line; }
  bool empty() const { return kept_.empty(); }

  /// Writes what the descriptor takes now. True when nothing is left.
  bool flush();

 private:
  int descriptor_;
  bool mayBlock_ = true;
  std::string kept_;
};

}  // namespace kova::platform::posix
