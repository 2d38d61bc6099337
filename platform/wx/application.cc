#include "platform/wx/application.h"

#include <wx/app.h>
#include <wx/bmpbndl.h>
#include <wx/iconbndl.h>
#include <wx/image.h>
#include <wx/init.h>
#include <wx/log.h>

#include <array>
#include <clocale>
#include <cstdlib>
#include <memory>

#include "platform/wx/icons.h"

namespace kova::platform::wx {

namespace {

/// wxWidgets' own application object; what the program is lies outside.
class App final : public wxApp {
 public:
  wxIconBundle icons;

 private:
  bool OnInit() override { return true; }
};

bool named(const char* variable) {
  const char* value = std::getenv(variable);
  return value && *value;
}

wxIconBundle iconsOf(const std::string& svg) {
  const wxBitmapBundle pictures = wxBitmapBundle::FromSVG(svg.c_str(), wxSize(128, 128));
  wxIconBundle icons;
  for (const int size : {16, 24, 32, 48, 64, 128}) {
    wxIcon icon;
    icon.CopyFromBitmap(pictures.GetBitmap(wxSize(size, size)));
    icons.AddIcon(icon);
  }
  return icons;
}

}  // namespace

const wxIconBundle& windowIcons() { return static_cast<App*>(wxTheApp)->icons; }

Application::Application(const std::string& iconSvg) {
  if (!named("DISPLAY") && !named("WAYLAND_DISPLAY")) return;
  // What the toolkit complains of is for whoever started it, not for a box on the screen.
  delete wxLog::SetActiveTarget(std::make_unique<wxLogStderr>().release());
  wxDisableAsserts();
  auto app = std::make_unique<App>();
  app->SetAppName("tarvel_wap");
  app->SetClassName("tarvel_wap");
  wxApp::SetInstance(app.get());
  int count = 1;
  std::array<char, 11> name{"tarvel_wap"};
  std::array<char*, 2> arguments{name.data(), nullptr};
  // Owns it from here on, also when it cannot start.
  static_cast<void>(app.release());
  if (!wxEntryStart(count, arguments.data())) return;
  started_ = true;
  // The toolkit speaks the owner's language; numbers and dates in files and pages do not.
  std::setlocale(LC_NUMERIC, "C");
  std::setlocale(LC_TIME, "C");
  wxTheApp->SetAppDisplayName("KOVA WAP server");
  // Frames come and go without ending the program.
  wxTheApp->SetExitOnFrameDelete(false);
  wxImage::AddHandler(std::make_unique<wxPNGHandler>().release());
  wxImage::AddHandler(std::make_unique<wxJPEGHandler>().release());
  static_cast<App*>(wxTheApp)->icons = iconsOf(iconSvg);
}

Application::~Application() {
  if (started_) wxEntryCleanup();
}

void Application::run() { wxTheApp->OnRun(); }

void Application::end() { wxTheApp->ExitMainLoop(); }

}  // namespace kova::platform::wx
