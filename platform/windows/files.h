#pragma once

#include "platform/files.h"

namespace kova::platform::windows {

/// The files of the system. Names are UTF-8 here and UTF-16 there; they may be longer than 260 characters.
/// "For its owner only" (mode 0600) means: for the owner, the system and its administrators. While a file is
/// open here, others may read, write and remove it.
class WindowsFiles final : public Files {
 public:
  FileResult<std::int64_t> length(const std::string& path) override;
  FileResult<std::unique_ptr<InputFile>> open(const std::string& path) override;
  std::unique_ptr<OutputFile> create(const std::string& path) override;
  bool append(const std::string& path, std::string_view bytes) override;
  bool replace(const std::string& path, std::string_view bytes) override;
  /// The name is free at once, also while somebody has the file open.
  bool remove(const std::string& path) override;
  std::string canonical(const std::string& path) const override;
  std::optional<std::string> nameBelow(std::string_view path) const override;
  char separator() const override { return '\\'; }
};

}  // namespace kova::platform::windows
