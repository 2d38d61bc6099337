#pragma once

#include <cstdint>
#include <span>
#include <utility>

#include "platform/files.h"
#include "platform/posix/file_descriptor.h"

namespace kova::platform::posix {

/// What PosixFiles::open() opens. The sockets hand its descriptor to the kernel, which then sends the bytes
/// itself.
class PosixInputFile final : public InputFile {
 public:
  PosixInputFile(FileDescriptor file, std::int64_t length) : file_(std::move(file)), length_(length) {}

  std::int64_t length() const override { return length_; }
  long readAt(std::int64_t offset, std::span<char> into) override;
  int descriptor() const { return file_.get(); }

 private:
  FileDescriptor file_;
  std::int64_t length_;
};

}  // namespace kova::platform::posix
