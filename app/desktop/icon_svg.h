#pragma once

namespace kova::app {

/// The program's icon, as SVG.
const char* iconSvg();

}  // namespace kova::app
