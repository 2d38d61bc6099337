#include "app/program.h"

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <utility>
#include <vector>

#include "app/routes.h"
#include "platform/posix/signals.h"
#include "settings/keys.h"
#include "wml/nosupport.h"

namespace kova::app {

namespace {

/// How long a closing program waits for its last answers to arrive.
constexpr std::chrono::milliseconds kLastAnswers{1000};
/// How often lines that nobody takes are offered again.
constexpr std::chrono::milliseconds kOutputRetry{100};

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

Program::Program(std::string folder)
    : folder_(std::move(folder)),
      sockets_(loop_),
      settings_(folder_, profileFile_, files_.separator()),
      output_(STDOUT_FILENO),
      outlookFolders_(outlookFolders()),
      window_(
          {loop_, sockets_, files_, clock_, dialogs_, hostLookup_, settings_}, folder_, "tarvel_wapd",
          [this](const std::string& path) { wml::writeNoSupportDeck(files_, path); },
          privatePaths(folder_, outlookFolders_)),
      outlook_(outlookFolders_, [this](const std::string& text) { window_.log.LogLine(text); }),
      host_(window_),
      pages_(host_, files_, clock_, outlook_) {
  platform::posix::ignoreBrokenPipes();
  platform::posix::raiseDescriptorLimit();
  window_.log.onLine = [this](std::string_view line) { printLine(line); };
  dialogs_.log = [this](const std::string& text) { window_.log.LogLine(text); };
  window_.setRoutes(makeRoutes(pages_));
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

void Program::printLine(std::string_view line) {
  output_.add(line);
  loop_.callAtRoundEnd(*this);
}

void Program::onRoundEnd() {
  outputRetry_.reset();
  if (!output_.flush()) outputRetry_ = loop_.callAfter(kOutputRetry, [this] { onRoundEnd(); });
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
  if ((options.start || (typed && listened)) && !window_.listening()) window_.cmdListen.click();
  if (options.startPaging && window_.startPaging) window_.startPaging();
  output_.flush();
}

void Program::run() {
  const platform::posix::Signals signals(loop_, {SIGTERM, SIGINT}, [this](int) { loop_.quit(); });
  loop_.run();
  if (window_.listening()) window_.cmdListen.click();
  sockets_.finish(kLastAnswers);
  output_.flush();
}

}  // namespace kova::app
