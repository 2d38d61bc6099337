#pragma once

#include <wx/image.h>

#include "platform/image.h"

namespace kova::platform::wx {

/// A copy; not valid (IsOk) when the image is empty.
wxImage toWx(const Image& image);

}  // namespace kova::platform::wx
