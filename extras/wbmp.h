#pragma once

#include <string>

#include "extras/dither.h"

namespace kova::extras {

/// A picture file as WAP phones know it: a wireless bitmap of type 0 (WAP-190, Wireless Application
/// Environment), black and white and not compressed.
std::string encodeWbmp(const OneBitImage& image);

}  // namespace kova::extras
