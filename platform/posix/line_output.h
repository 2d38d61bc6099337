#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/line_output.h"
#include "platform/posix/file_descriptor.h"

namespace kova::platform::posix {

/// Lines for a descriptor such as standard output.
class PosixLineOutput final : public LineOutput {
 public:
  static constexpr std::size_t kMaxKeptBytes = 1 << 20;

  /// The descriptor stays the caller's.
  explicit PosixLineOutput(int descriptor);

  void add(std::string_view line) override { kept_ += line; }
  bool empty() const { return kept_.empty(); }

  bool flush() override;

 private:
  long writeOnce(std::string_view bytes) const;
  void giveUpOldest();

  int descriptor_;
  bool polled_ = false;
  /// The same pipe or terminal opened once more: ours does not block, the one that is shared with whoever
  /// started the program stays as it is.
  FileDescriptor own_;
  bool midLine_ = false;  // what was written last is not the end of a line
  std::string kept_;
};

}  // namespace kova::platform::posix
