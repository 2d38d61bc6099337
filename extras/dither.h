#pragma once

#include <cstdint>
#include <vector>

#include "platform/image.h"

namespace kova::extras {

/// A picture in black and white: rows from top to bottom, pixels from left to right, 1 is white.
struct OneBitImage {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> white;
};

/// Black and white pixels that look as bright from afar as the picture does: its luminance (ITU-R BT.601), by
/// error diffusion after Floyd and Steinberg.
OneBitImage dither(const platform::Image& image);

/// The same in colours, to be shown.
platform::Image toImage(const OneBitImage& image);

}  // namespace kova::extras
