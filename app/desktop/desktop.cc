#include "app/desktop/desktop.h"

#include <utility>

namespace kova::app {

Desktop::Desktop(Program& program, platform::wx::WxDialogs& dialogs, std::function<void()> ended)
    : picture(dialogs, pictures_, program.machine().files()),
      console(program.conversation()),
      pictures_(program.machine().files()),
      bridge_(program.machine().pumpedLoop()) {
  server::frmMain& main = program.window();
  main.showAbout = [this] { about.open(); };
  main.showPicture = [this] { picture.open(); };
  main.showTelnet = [this] { console.open(); };

  std::vector<platform::Window*> windows = program.windows();
  windows.insert(windows.end(), {&about, &picture, &console});
  for (platform::Window* window : windows) {
    views_.push_back(std::make_unique<platform::wx::View>(*window));
  }
  program.onEnd = [&dialogs, ended = std::move(ended)] {
    dialogs.end();
    ended();
  };
  main.show();
}

Desktop::~Desktop() {
  // The main window last: others float on it.
  while (!views_.empty()) views_.pop_back();
}

}  // namespace kova::app
