#include "app/program.h"

#include <chrono>
#include <utility>
#include <vector>

#include "app/routes.h"
#include "base/path.h"
#include "settings/keys.h"
#include "wml/nosupport.h"

namespace kova::app {

namespace {

/// How long a closing program waits for its last answers to arrive.
constexpr std::chrono::milliseconds kLastAnswers{1000};

std::vector<std::string> privatePaths(const settings::Settings& settings,
                                      const platform::local_outlook::Folders& outlook) {
  return {settings.path(), outlook.calendar, outlook.contacts, outlook.tasks, outlook.notes, outlook.inbox};
}

}  // namespace

Program::Program(platform::Machine& machine, Start start, std::string executable, platform::Dialogs& dialogs)
    : machine_(machine),
      start_(std::move(start)),
      settings_(start_.home, machine.profileFile(), machine.files().separator()),
      conversation_(machine.loop(), machine.connector(), dialogs),
      outlookFolders_(outlookFolders()),
      window_(
          {machine.loop(), machine.sockets(), machine.files(), machine.clock(), dialogs, machine.hostLookup(),
           settings_},
          start_.home, std::move(executable),
          [this](const std::string& path) { wml::writeNoSupportDeck(machine_.files(), path); },
          privatePaths(settings_, outlookFolders_)),
      outlook_(makeOutlook()),
      host_(window_),
      pages_(host_, machine.files(), machine.clock(), *outlook_),
      launchCenter_(host_, machine.files(), settings_, machine.processes(),
                    [this](const std::string& text) { window_.log.LogLine(text); }),
      launchWindow_(settings_, dialogs, machine.processes()),
      accounts_(host_, {machine.loop(), machine.files(), settings_, conversation_}),
      accountsWindow_(settings_, dialogs),
      paging_({machine.loop(), machine.clock(), dialogs, *outlook_, machine.screenSaver(), settings_,
               conversation_}) {
  machine.onEnd = window_.onClosed = [this] {
    if (onEnd) onEnd();
  };
  machine.onCheckNow = [this] { paging_.openAndCheck(); };
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
    return base::fromPath((base::toPath(start_.home) / base::toPath(value)).make_preferred());
  };
  platform::local_outlook::Folders folders;
  folders.calendar = folder(settings::kCalendarFolder, "calendar");
  folders.contacts = folder(settings::kContactsFolder, "contacts");
  folders.tasks = folder(settings::kTasksFolder, "tasks");
  folders.notes = folder(settings::kNotesFolder, "notes");
  folders.inbox = folder(settings::kInboxFolder, "inbox");
  return folders;
}

std::unique_ptr<platform::outlook::Automation> Program::makeOutlook() {
  const auto log = [this](const std::string& text) { window_.log.LogLine(text); };
  const std::string source =
      start_.options.outlook.value_or(settings_.readOr(settings::kOutlook, settings::kOutlookSource, {}));
  if (source != kOutlookFiles) {
    if (auto installed = machine_.installedOutlook(log)) return installed;
    outlookMissing_ = source == kOutlookRunning;
  }
  return std::make_unique<platform::local_outlook::LocalOutlook>(outlookFolders_, log);
}

void Program::load() {
  window_.load();
  if (outlookMissing_)
    window_.log.LogLine("There is no Outlook on this machine; the personal data is read from files.");
  const Options& options = start_.options;

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

void Program::unload() {
  window_.unload();
  machine_.finishSending(kLastAnswers);
}

std::vector<platform::Window*> Program::windows() {
  return {&window_, &window_.traceWindow, &launchWindow_, &accountsWindow_, &paging_};
}

}  // namespace kova::app
