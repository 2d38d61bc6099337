#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "platform/windows/machine.h"

namespace kova::platform::windows {

/// An event loop that a test turns, with sockets at hand and a folder of its own.
class LoopTest : public ::testing::Test {
 protected:
  LoopTest() {
    folder_ = std::filesystem::temp_directory_path() / ("kova-" + std::to_string(std::random_device()()));
    std::filesystem::create_directories(folder_);
  }
  ~LoopTest() override {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

  /// The condition may depend on what no event tells of.
  bool comes(const std::function<bool()>& condition) {
    for (int i = 0; i < 10'000; ++i) {
      if (loop_.runUntil(condition, std::chrono::milliseconds(2))) return true;
    }
    return false;
  }
  /// Lets everything happen that is going to happen soon.
  void settle(std::chrono::milliseconds time = std::chrono::milliseconds(100)) {
    loop_.runUntil([] { return false; }, time);
  }

  std::string path(const std::string& name) const { return folder_.string() + "\\" + name; }
  static std::string content(const std::string& path) {
    std::ifstream file(std::filesystem::path(reinterpret_cast<const char8_t*>(path.c_str())),
                       std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static void put(const std::string& path, const std::string& bytes) {
    std::ofstream(std::filesystem::path(reinterpret_cast<const char8_t*>(path.c_str())), std::ios::binary)
        << bytes;
  }

  SocketsLibrary library_;
  WindowsEventLoop loop_;
  std::filesystem::path folder_;
};

}  // namespace kova::platform::windows
