#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "app/program.h"
#include "extras/about_window.h"
#include "extras/console_window.h"
#include "extras/picture_window.h"
#include "platform/wx/dialogs.h"
#include "platform/wx/loop_bridge.h"
#include "platform/wx/pictures.h"
#include "platform/wx/view.h"

namespace kova::app {

/// The program's windows on the screen, and the ones that only a desktop has.
class Desktop final {
 public:
  /// The window system must have started; `dialogs` are those that the program was made with. Both outlive
  /// this. `ended` is called when the window system's loop is to be left.
  Desktop(Program& program, platform::wx::WxDialogs& dialogs, std::function<void()> ended);

  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;
  ~Desktop();

  extras::frmAbout about{KOVA_VERSION};
  extras::frmPicture picture;
  extras::formtelnet console;

 private:
  platform::wx::WxPictures pictures_;
  std::vector<std::unique_ptr<platform::wx::View>> views_;
  platform::wx::LoopBridge bridge_;
};

}  // namespace kova::app
