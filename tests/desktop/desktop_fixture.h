#pragma once

#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/window.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/desktop/desktop.h"
#include "app/program.h"
#include "platform/machine.h"
#include "platform/wx/dialogs.h"

namespace kova::desktop {

/// Long enough for a sanitized build on a busy machine; only a failing test waits that long.
inline constexpr std::chrono::seconds kPatience{60};

/// Runs `call` on the thread of the windows, in a message box's loop if one stands, and returns its result.
template <typename Call>
auto onWindows(Call call) {
  using Result = decltype(call());
  std::packaged_task<Result()> task(std::move(call));
  auto result = task.get_future();
  wxTheApp->CallAfter([&task] { task(); });
  return result.get();
}

/// The program with its windows, and somebody who sees, types and clicks.
class DesktopTest : public ::testing::Test {
 protected:
  DesktopTest();
  ~DesktopTest() override;

  void start(const std::string& settings = {});
  void startWithPages(const std::string& settings = {});

  /// What a person sees, once he sees it.
  static bool comes(const std::function<bool()>& condition);
  static wxWindow* find(const std::string& window, const std::string& control = {});
  static std::string captionOf(const std::string& window, const std::string& control);
  static std::string textOf(const std::string& window, const std::string& control);
  static bool enabled(const std::string& window, const std::string& control);
  static bool opened(const std::string& window);
  /// "frmMain.editLocalPort"
  static std::string focus();
  static std::string titleOf(const std::string& window);
  /// The text of the message box or question that stands; empty when there is none.
  std::string box() const;

  // What a person does.
  static void run(const std::string& xdotool);
  static void key(const std::string& keys) { run("key " + keys); }
  static void click(const std::string& window, const std::string& control);
  /// Clicks into a field, and types in place of what is there.
  static void fill(const std::string& window, const std::string& field, const std::string& text);
  static void type(const std::string& text);
  /// Waits for the box with this text and answers it by a key.
  void answer(const std::string& text, const std::string& keys = "Return");

  /// Waits for the system's file chooser and types the name of a file there.
  static void chooseFile(const std::string& file);

  /// As the settings file has it now.
  std::string setting(const std::string& section, const std::string& key) const;

  std::string home_;
  std::unique_ptr<platform::Machine> machine_;
  std::unique_ptr<platform::wx::WxDialogs> dialogs_;
  std::unique_ptr<app::Program> program_;
  std::unique_ptr<app::Desktop> desktop_;
  std::atomic<bool> ended_ = false;
};

/// A phone: a connection to 127.0.0.1.
class Phone {
 public:
  explicit Phone(int port);
  Phone(const Phone&) = delete;
  Phone& operator=(const Phone&) = delete;
  ~Phone();
  void send(const std::string& text) const;
  /// Up to the end of the connection.
  std::string rest() const;

 private:
  int socket_;
};

/// A port that nobody listens on.
int freePort();
/// One that somebody listens on.
class BusyPort {
 public:
  BusyPort();
  BusyPort(const BusyPort&) = delete;
  BusyPort& operator=(const BusyPort&) = delete;
  ~BusyPort();
  int number() const { return number_; }

 private:
  int socket_;
  int number_ = 0;
};

}  // namespace kova::desktop
