#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"

namespace kova::base {

/// What is on its way to a peer: bytes, and ranges of files, which need not pass through the program. Whoever
/// waits for a slow peer holds a file open and not its bytes.
class Outgoing {
 public:
  bool empty() const { return segments_.empty(); }
  /// Bytes that are still to be sent.
  std::size_t size() const { return size_; }
  /// Those of them that this object holds itself.
  std::size_t bytesInMemory() const { return inMemory_; }

  void add(std::string_view bytes);
  /// Makes the range at the end longer when this one follows it in the same file; otherwise false.
  bool extend(const platform::InputFile& file, std::int64_t offset, std::size_t count);
  void add(const std::shared_ptr<platform::InputFile>& file, std::int64_t offset, std::size_t count);
  void clear();

  // What comes first, and nothing else may be asked of it while it is empty().

  /// Bytes ahead of the range of a file; may be none.
  std::string_view firstBytes() const { return std::string_view(segments_.front().bytes).substr(sent_); }
  /// The range behind those bytes: `count` may be 0, `file` is null then.
  struct Range {
    platform::InputFile* file = nullptr;
    std::int64_t offset = 0;
    std::size_t count = 0;
  };
  Range firstRange() const {
    const Segment& first = segments_.front();
    return {first.file.get(), first.offset, first.count};
  }
  /// More comes behind that range.
  bool moreBehind() const { return segments_.size() > 1; }
  /// `count` bytes of these are sent.
  void takeOff(std::size_t count);

 private:
  struct Segment {
    std::string bytes;  // these first
    std::shared_ptr<platform::InputFile> file;
    std::int64_t offset = 0;
    std::size_t count = 0;
  };

  std::vector<Segment> segments_;
  std::size_t sent_ = 0;  // of the first segment's bytes
  std::size_t size_ = 0;
  std::size_t inMemory_ = 0;
};

}  // namespace kova::base
