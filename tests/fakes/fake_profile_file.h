#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "platform/profile_file.h"

namespace kova::fakes {

/// A settings file in memory. As in the real one, blanks around a key are not part of it, and it is one line.
class FakeProfileFile : public platform::ProfileFile {
 public:
  std::map<std::pair<std::string, std::string>, std::string> values;
  std::string lastPath;

  std::string read(const std::string& section, const std::string& key, const std::string& fallback,
                   std::size_t size, const std::string& path) override {
    lastPath = path;
    const auto found = values.find({section, asKey(key)});
    return (found == values.end() ? fallback : found->second).substr(0, size - 1);
  }
  bool write(const std::string& section, const std::string& key, const std::string& value,
             const std::string& path) override {
    lastPath = path;
    values[{section, asKey(key)}] = value;
    return true;
  }

 private:
  static std::string asKey(std::string key) {
    using namespace std::string_view_literals;
    key.resize(std::min(key.find_first_of("\r\n\0"sv), key.size()));
    return std::string(base::trim(key));
  }
};

}  // namespace kova::fakes
