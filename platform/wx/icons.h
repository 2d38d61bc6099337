#pragma once

#include <wx/iconbndl.h>

namespace kova::platform::wx {

/// The program's icon in the sizes that window systems ask for.
const wxIconBundle& windowIcons();

}  // namespace kova::platform::wx
