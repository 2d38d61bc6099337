// The tests of the windows: they need a display with a window manager (scripts/on-display.py).

#include <gtest/gtest.h>

#include <iostream>
#include <thread>

#include "app/desktop/icon_svg.h"
#include "platform/wx/application.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  kova::platform::wx::Application application(kova::app::iconSvg());
  if (!application.started()) {
    std::cerr << "There is no display.\n";
    return 1;
  }
  // The windows have their thread, as ever; the tests are the person in front of them.
  int result = 1;
  std::thread person([&] {
    result = RUN_ALL_TESTS();
    application.end();
  });
  application.run();
  person.join();
  return result;
}
