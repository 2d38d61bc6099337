#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/dialogs.h"

namespace kova::app {

/// Boxes of a program without a desktop: a message becomes a log line, and a question, which nobody is there
/// to answer, is answered with the harmless answer.
class HeadlessDialogs : public platform::Dialogs {
 public:
  std::function<void(const std::string&)> log;

  const std::string& lastMessage() const { return lastMessage_; }

  void message(const std::string& text, platform::MessageIcon, const std::string&) override {
    lastMessage_ = text;
    if (log) log(text);
  }
  void askYesNo(const std::string& text, platform::MessageIcon, const std::string&,
                std::function<void(bool)> answer) override {
    if (log) log(text + " No");
    answer(false);
  }
  void chooseFolder(const std::string&, const std::string&,
                    std::function<void(std::string)> answer) override {
    answer({});
  }
  void chooseFile(const std::string&, const std::vector<FileFilter>&, const std::string&,
                  std::function<void(std::string)> answer) override {
    answer({});
  }
  void chooseSaveFile(const std::string&, const std::vector<FileFilter>&,
                      std::function<void(std::string)> answer) override {
    answer({});
  }

 private:
  std::string lastMessage_;
};

}  // namespace kova::app
