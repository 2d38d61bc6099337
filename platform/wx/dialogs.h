#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/dialogs.h"

class wxEvtHandler;
class wxWindow;

namespace kova::platform::wx {

/// Native boxes, one at a time, each shown from the toolkit's loop some time after it was asked for: the call
/// returns at once, and phones are served while a box stands.
class WxDialogs final : public Dialogs {
 public:
  WxDialogs();
  WxDialogs(const WxDialogs&) = delete;
  WxDialogs& operator=(const WxDialogs&) = delete;
  ~WxDialogs() override;

  /// A text that is already waiting to be seen is not shown twice, and no more than kMostWaiting wait: who
  /// comes back to his desk finds no endless row of boxes.
  void message(const std::string& text, MessageIcon icon, const std::string& title) override;
  void askYesNo(const std::string& text, MessageIcon icon, const std::string& title,
                std::function<void(bool)> answer) override;
  void chooseFolder(const std::string& prompt, const std::string& present,
                    std::function<void(std::string)> answer) override;
  void chooseFile(const std::string& title, const std::vector<FileFilter>& filters,
                  const std::string& present, std::function<void(std::string)> answer) override;
  void chooseSaveFile(const std::string& title, const std::vector<FileFilter>& filters,
                      std::function<void(std::string)> answer) override;

  /// The text of the message or question that stands; empty when there is none, or it is a chooser.
  const std::string& standing() const { return standing_; }

  /// Takes the standing box away, and shows and answers no more.
  void end();

  static constexpr std::size_t kMostWaiting = 20;

 private:
  struct Box {
    std::function<void()> show;
    std::string text;
    bool question = true;
  };

  void later(Box box);
  void showNext();
  int showMessage(const std::string& text, const std::string& title, long style);
  std::string showFileDialog(const std::string& title, const std::vector<FileFilter>& filters,
                             const std::string& present, long style);
  /// The window that the owner works in, or has worked in last; without one, a box stands alone.
  wxWindow* parentWindow();

  std::unique_ptr<wxEvtHandler> events_;
  std::deque<Box> waiting_;
  std::string standing_;
  std::function<void()> takeAway_;  // while a box stands
  wxWindow* parent_ = nullptr;      // of the last box; it may be gone
  bool busy_ = false;
  bool ended_ = false;
};

}  // namespace kova::platform::wx
