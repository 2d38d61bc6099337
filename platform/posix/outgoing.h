#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"

namespace kova::platform::posix {

/// What is on its way to a peer: bytes, and ranges of files, which the kernel sends without their passing
/// through the program. Whoever waits for a slow peer holds a file open and not its bytes.
class Outgoing {
 public:
  /// Not an errno: a file has ended too soon or cannot be read.
  static constexpr int kFileUnreadable = -1;

  bool empty() const { return segments_.empty(); }
  /// Bytes that are still to be sent.
  std::size_t size() const { return size_; }

  /// Those of them that this object holds itself.
  std::size_t bytesInMemory() const { return inMemory_; }

  void add(std::string_view bytes);
  /// Makes the range at the end longer when this one follows it in the same file; otherwise false.
  bool extend(const InputFile& file, std::int64_t offset, std::size_t count);
  /// `descriptor` is that of `file`.
  void add(const std::shared_ptr<InputFile>& file, int descriptor, std::int64_t offset, std::size_t count);
  void clear();

  /// Hands at most about `limit` bytes to the kernel and takes off the front what it took. With `more`, the
  /// last segment of the network may wait for what is sent next. 0, or the errno of a broken connection, or
  /// kFileUnreadable; a kernel that has no room now is no error.
  int send(int socket, std::size_t limit, bool more);

 private:
  struct Segment {
    std::string bytes;  // these first
    std::shared_ptr<InputFile> file;
    int descriptor = -1;
    std::int64_t offset = 0;
    std::size_t count = 0;
  };

  std::string_view firstBytes() const { return std::string_view(segments_.front().bytes).substr(sent_); }
  /// One call of the kernel: the count, or -1 with errno. `unreadable` is set when it was a file's fault.
  long sendOnce(int socket, std::size_t limit, bool more, bool& unreadable);
  long sendCopied(int socket, int flags, bool& unreadable);
  void takeOff(std::size_t count);

  std::vector<Segment> segments_;
  std::size_t sent_ = 0;  // of the first segment's bytes
  std::size_t size_ = 0;
  std::size_t inMemory_ = 0;
};

}  // namespace kova::platform::posix
