#pragma once

#include <map>
#include <string>
#include <utility>

#include "platform/profile_file.h"

namespace kova::fakes {

/// A settings file in memory.
class FakeProfileFile : public platform::ProfileFile {
 public:
  std::map<std::pair<std::string, std::string>, std::string> values;
  std::string lastPath;

  std::string read(const std::string& section, const std::string& key, const std::string& fallback,
                   std::size_t size, const std::string& path) override {
    lastPath = path;
    const auto found = values.find({section, key});
    return (found == values.end() ? fallback : found->second).substr(0, size - 1);
  }
  bool write(const std::string& section, const std::string& key, const std::string& value,
             const std::string& path) override {
    lastPath = path;
    values[{section, key}] = value;
    return true;
  }
};

}  // namespace kova::fakes
