#include "app/desktop/icon_svg.h"

#include "app/desktop/icon.h"

namespace kova::app {

const char* iconSvg() { return kIconSvg; }

}  // namespace kova::app
