#pragma once

#include "platform/image.h"

namespace kova::extras {

/// The picture stretched to a width and height of its own, both at least 1. Where it gets smaller, a pixel is
/// the average of what it covers; where it gets larger, it lies between its neighbours (bilinear). Empty when
/// the picture is.
platform::Image scale(const platform::Image& image, int width, int height);

}  // namespace kova::extras
