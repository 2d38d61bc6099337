#include "app/program.h"

#include <chrono>
#include <csignal>
#include <utility>
#include <vector>

#include "app/routes.h"
#include "settings/keys.h"
#include "wml/nosupport.h"

namespace kova::app {

namespace {

/// How long a closing program waits for its last answers to arrive.
constexpr std::chrono::milliseconds kLastAnswers{1000};

std::vector<std::string> privatePaths(const std::string& folder,
                                      const platform::local_outlook::Folders& outlook) {
  return {folder + "/" + std::string(settings::kSettingsFile),
          outlook.calendar,
          outlook.contacts,
          outlook.tasks,
          outlook.notes,
          outlook.inbox};
}

}  // namespace

Program::Program(std::string folder, std::string executable, platform::Dialogs& dialogs)
    : folder_(std::move(folder)),
      signals_(loop_, {SIGTERM, SIGINT, SIGUSR1}, [this](int signal) { received(signal); }),
      sockets_(loop_),
      connector_(loop_, sockets_),
      settings_(folder_, profileFile_, files_.separator()),
      conversation_(loop_, connector_, dialogs),
      outlookFolders_(outlookFolders()),
      window_(
          {loop_, sockets_, files_, clock_, dialogs, hostLookup_, settings_}, folder_, std::move(executable),
          [this](const std::string& path) { wml::writeNoSupportDeck(files_, path); },
          privatePaths(folder_, outlookFolders_)),
      outlook_(outlookFolders_, [this](const std::string& text) { window_.log.LogLine(text); }),
      host_(window_),
      pages_(host_, files_, clock_, outlook_),
      launchCenter_(host_, files_, settings_, processes_,
                    [this](const std::string& text) { window_.log.LogLine(text); }),
      launchWindow_(settings_, dialogs, processes_),
      accounts_(host_, {loop_, files_, settings_, conversation_}),
      accountsWindow_(settings_, dialogs),
      paging_({loop_, clock_, dialogs, outlook_, screenSaver_, settings_, conversation_}) {
  platform::posix::ignoreBrokenPipes();
  platform::posix::raiseDescriptorLimit();
  window_.onClosed = [this] {
    if (onEnd) onEnd();
  };
  window_.showLaunch = [this] { launchWindow_.open(); };
  window_.showPop3 = [this] { accountsWindow_.open(); };
  window_.showPaging = [this] { paging_.open(); };
  window_.startPaging = [this] { paging_.openAndStart(); };
  window_.setRoutes(makeRoutes(pages_, launchCenter_, accounts_));
}

platform::local_outlook::Folders Program::outlookFolders() {
  const auto folder = [this](std::string_view key, const char* fallback) {
    std::string value = settings_.readOr(settings::kOutlook, key, {});
    if (value.empty()) value = std::string("outlook/") + fallback;
    return value.starts_with('/') ? value : folder_ + "/" + value;
  };
  platform::local_outlook::Folders folders;
  folders.calendar = folder(settings::kCalendarFolder, "calendar");
  folders.contacts = folder(settings::kContactsFolder, "contacts");
  folders.tasks = folder(settings::kTasksFolder, "tasks");
  folders.notes = folder(settings::kNotesFolder, "notes");
  folders.inbox = folder(settings::kInboxFolder, "inbox");
  return folders;
}

void Program::load(const Options& options) {
  window_.load();

  // An option is the owner's typing; the fields of a listening server cannot be typed into.
  const bool typed = options.address || options.port || options.maxClients;
  const bool listened = window_.listening();
  if (typed && listened) window_.cmdListen.click();
  if (options.address) window_.editLocalAddress.setText(*options.address);
  if (options.port) window_.editLocalPort.setText(*options.port);
  if (options.maxClients) window_.editMaxClients.setText(*options.maxClients);
  const bool wanted = options.start || (typed && window_.Check1.value() == 1) || (typed && listened);
  if (wanted && !window_.listening()) window_.cmdListen.click();
  if (options.startPaging && window_.startPaging) window_.startPaging();
}

void Program::received(int signal) {
  if (signal == SIGUSR1) {
    paging_.openAndCheck();
  } else if (onEnd) {
    onEnd();
  }
}

void Program::unload() {
  window_.unload();
  sockets_.finish(kLastAnswers);
}

std::vector<platform::Window*> Program::windows() {
  return {&window_, &window_.traceWindow, &launchWindow_, &accountsWindow_, &paging_};
}

}  // namespace kova::app
