#include "extras/dither.h"

#include <cstddef>
#include <utility>

namespace kova::extras {

namespace {

// Brightness is counted in sixteenths, in which the errors are handed on, so that nothing is lost by
// rounding.
constexpr int kParts = 16;
constexpr int kWhite = 255 * kParts;

int brightness(const std::uint8_t* rgb) {
  return (299 * rgb[0] + 587 * rgb[1] + 114 * rgb[2]) * kParts / 1000;
}

}  // namespace

OneBitImage dither(const platform::Image& image) {
  OneBitImage result{image.width, image.height, {}};
  result.white.reserve(image.rgb.size() / 3);
  const auto width = static_cast<std::size_t>(image.width);
  // Of this row and the next, with a place on either side for what goes over the edge.
  std::vector<int> errors(width + 2);
  std::vector<int> below(width + 2);
  const std::uint8_t* pixel = image.rgb.data();
  for (int y = 0; y < image.height; ++y) {
    for (std::size_t x = 1; x <= width; ++x, pixel += 3) {
      const int wanted = brightness(pixel) + errors[x];
      const bool white = wanted > kWhite / 2;
      result.white.push_back(white ? 1 : 0);
      const int error = wanted - (white ? kWhite : 0);
      const int right = error * 7 / kParts;
      const int belowLeft = error * 3 / kParts;
      const int belowHere = error * 5 / kParts;
      errors[x + 1] += right;
      below[x - 1] += belowLeft;
      below[x] += belowHere;
      below[x + 1] += error - right - belowLeft - belowHere;
    }
    std::swap(errors, below);
    below.assign(width + 2, 0);
  }
  return result;
}

platform::Image toImage(const OneBitImage& image) {
  platform::Image result{image.width, image.height, {}};
  result.rgb.reserve(image.white.size() * 3);
  for (const std::uint8_t white : image.white) {
    result.rgb.insert(result.rgb.end(), 3, white ? std::uint8_t{255} : std::uint8_t{0});
  }
  return result;
}

}  // namespace kova::extras
