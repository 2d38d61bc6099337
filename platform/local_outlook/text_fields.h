#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "platform/outlook.h"

namespace kova::platform::local_outlook {

/// A few text properties in one piece of memory; a folder holds a great many of these.
class TextFields {
 public:
  /// Empty values are not kept: they read as "" anyway.
  void add(outlook::TextProperty property, std::string_view value) {
    if (value.empty()) return;
    const auto length = static_cast<std::uint32_t>(value.size());
    char head[1 + sizeof length];
    head[0] = static_cast<char>(property);
    std::memcpy(head + 1, &length, sizeof length);
    packed_.reserve(packed_.size() + sizeof head + value.size());
    packed_.append(head, sizeof head).append(value);
  }

  std::string_view get(outlook::TextProperty property) const { return find(packed_, property); }

  /// All of them in a form to be copied elsewhere, for find().
  std::string_view packed() const { return packed_; }

  static std::string_view find(std::string_view packed, outlook::TextProperty property) {
    const char* at = packed.data();
    const char* const end = at + packed.size();
    while (at != end) {
      std::uint32_t length = 0;
      std::memcpy(&length, at + 1, sizeof length);
      const char* const value = at + 1 + sizeof length;
      if (*at == static_cast<char>(property)) return {value, length};
      at = value + length;
    }
    return {};
  }

 private:
  std::string packed_;
};

}  // namespace kova::platform::local_outlook
