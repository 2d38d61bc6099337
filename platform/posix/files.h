#pragma once

#include "platform/files.h"

namespace kova::platform::posix {

/// Files of the local file system. Writing gathers bytes; a full disk may show only in OutputFile::close().
class PosixFiles final : public Files {
 public:
  FileResult<std::int64_t> length(const std::string& path) override;
  FileResult<std::unique_ptr<InputFile>> open(const std::string& path) override;
  std::unique_ptr<OutputFile> create(const std::string& path) override;
  bool append(const std::string& path, std::string_view bytes) override;
  bool replace(const std::string& path, std::string_view bytes) override;
  bool remove(const std::string& path) override;
  std::string canonical(const std::string& path) const override;
  std::optional<std::string> nameBelow(std::string_view path) const override;
  char separator() const override { return '/'; }
};

}  // namespace kova::platform::posix
