#pragma once

#include <cstdint>
#include <vector>

namespace kova::platform {

/// A picture in memory: rows from top to bottom, pixels from left to right, three bytes each: red, green,
/// blue. Empty when width and height are 0.
struct Image {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> rgb;

  bool empty() const { return rgb.empty(); }
};

}  // namespace kova::platform
