#include "app/headless/headless.h"

#include <utility>

namespace kova::app {

namespace {

/// How long lines are gathered, so that a busy server does not write each one by itself.
constexpr std::chrono::milliseconds kOutputGathering{10};
/// How often lines that nobody takes are offered again.
constexpr std::chrono::milliseconds kOutputRetry{100};

}  // namespace

Headless::Headless(platform::Machine& machine, Start start)
    : output_(machine.standardOutput()), program_(machine, std::move(start), "tarvel_wapd", dialogs_) {
  server::ServerLog& log = program_.window().log;
  log.onLine = [this](std::string_view line) { printLine(line); };
  dialogs_.log = [&log](const std::string& text) { log.LogLine(text); };
  // Nobody sees the status line here.
  platform::Label& status = program_.paging().Labelstat;
  status.onShown = [&log, &status] { log.LogLine(status.text()); };
  program_.onEnd = [this] { program_.machine().pumpedLoop().quit(); };
}

void Headless::printLine(std::string_view line) {
  output_.add(line);
  writeOutputIn(kOutputGathering);
}

void Headless::writeOutputIn(std::chrono::milliseconds delay) {
  if (outputTimer_) return;
  outputTimer_ = program_.machine().loop().callAfter(delay, [this] {
    outputTimer_.reset();
    if (!output_.flush()) writeOutputIn(kOutputRetry);
  });
}

void Headless::load() {
  program_.load();
  output_.flush();
}

void Headless::run() {
  program_.machine().pumpedLoop().run();
  program_.unload();
  output_.flush();
}

}  // namespace kova::app
