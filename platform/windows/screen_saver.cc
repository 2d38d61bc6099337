#include "platform/windows/screen_saver.h"

#include <windows.h>

namespace kova::platform::windows {

bool WindowsScreenSaver::active() {
  BOOL active = FALSE;
  return ::SystemParametersInfoA(SPI_GETSCREENSAVEACTIVE, 0, &active, 0) != 0 && active != FALSE;
}

}  // namespace kova::platform::windows
