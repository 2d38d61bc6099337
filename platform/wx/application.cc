#include "platform/wx/application.h"

#include <wx/app.h>
#include <wx/bmpbndl.h>
#include <wx/evtloop.h>
#include <wx/iconbndl.h>
#include <wx/image.h>
#include <wx/init.h>
#include <wx/log.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdlib>
#include <memory>

#include "platform/wx/icons.h"
#include "platform/wx/owned.h"

namespace kova::platform::wx {

namespace {

/// wxWidgets' own application object; what the program is lies outside.
class App final : public wxApp {
 public:
  wxIconBundle icons;

 private:
  bool OnInit() override { return true; }
};

/// Where the toolkit itself ends the program when there is no display, this is asked before.
bool displayNamed() {
#ifdef __WXGTK__
  return std::ranges::any_of(std::array{"DISPLAY", "WAYLAND_DISPLAY"}, [](const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value;
  });
#else
  return true;
#endif
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
  if (!displayNamed()) return;
  // What the toolkit complains of is for whoever started it, not for a box on the screen.
  // The log keeps it.
  wxLog* stderrLog = owned<wxLogStderr>();
  // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks)
  const std::unique_ptr<wxLog> before(wxLog::SetActiveTarget(stderrLog));
  wxDisableAsserts();
  // It becomes the toolkit's, also when that cannot start.
  auto* app = owned<App>();
  app->SetAppName("tarvel_wap");
  app->SetClassName("tarvel_wap");
  wxApp::SetInstance(app);
  int count = 1;
  std::array<char, 11> name{"tarvel_wap"};
  std::array<char*, 2> arguments{name.data(), nullptr};
  if (!wxEntryStart(count, arguments.data())) return;
  started_ = true;
  // The toolkit speaks the owner's language; numbers and dates in files and pages do not.
  std::setlocale(LC_NUMERIC, "C");
  std::setlocale(LC_TIME, "C");
  wxTheApp->SetAppDisplayName("KOVA WAP server");
  // Frames come and go without ending the program.
  wxTheApp->SetExitOnFrameDelete(false);
  wxImage::AddHandler(owned<wxPNGHandler>());
  wxImage::AddHandler(owned<wxJPEGHandler>());
  static_cast<App*>(wxTheApp)->icons = iconsOf(iconSvg);
}

Application::~Application() {
  if (started_) wxEntryCleanup();
}

void Application::run() { wxTheApp->OnRun(); }

void Application::end() {
  // A box that stands has a loop of its own, and the main one is not under way until that returns.
  if (wxEventLoopBase* loop = wxTheApp->GetMainLoop()) loop->ScheduleExit();
}

}  // namespace kova::platform::wx
