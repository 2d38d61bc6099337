#pragma once

#include <stdlib.h>

#include <filesystem>
#include <string>

namespace kova::platform::posix {

/// A directory of its own for one test, gone with all that is in it afterwards.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "kova-test-XXXXXX").string();
    path_ = ::mkdtemp(name.data());
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace kova::platform::posix
