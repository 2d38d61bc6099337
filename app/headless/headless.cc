#include "app/headless/headless.h"

#include <unistd.h>

namespace kova::app {

namespace {

/// How long lines are gathered, so that a busy server does not write each one by itself.
constexpr std::chrono::milliseconds kOutputGathering{10};
/// How often lines that nobody takes are offered again.
constexpr std::chrono::milliseconds kOutputRetry{100};

}  // namespace

Headless::Headless(const std::string& folder)
    : output_(STDOUT_FILENO), program_(folder, "tarvel_wapd", dialogs_) {
  server::ServerLog& log = program_.window().log;
  log.onLine = [this](std::string_view line) { printLine(line); };
  dialogs_.log = [&log](const std::string& text) { log.LogLine(text); };
  // Nobody sees the status line here.
  platform::Label& status = program_.paging().Labelstat;
  status.onShown = [&log, &status] { log.LogLine(status.text()); };
  program_.onEnd = [this] { program_.loop().quit(); };
}

void Headless::printLine(std::string_view line) {
  output_.add(line);
  writeOutputIn(kOutputGathering);
}

void Headless::writeOutputIn(std::chrono::milliseconds delay) {
  if (outputTimer_) return;
  outputTimer_ = program_.loop().callAfter(delay, [this] {
    outputTimer_.reset();
    if (!output_.flush()) writeOutputIn(kOutputRetry);
  });
}

void Headless::load(const Options& options) {
  program_.load(options);
  output_.flush();
}

void Headless::run() {
  program_.loop().run();
  program_.unload();
  output_.flush();
}

}  // namespace kova::app
