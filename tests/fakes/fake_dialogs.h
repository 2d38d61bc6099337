#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/dialogs.h"

namespace kova::fakes {

/// An owner at the desk: message boxes are written down, questions wait until the test answers.
class FakeDialogs : public platform::Dialogs {
 public:
  std::vector<std::string> messages;
  platform::MessageIcon lastIcon = platform::MessageIcon::kNone;  ///< of the last message
  std::string lastTitle;                                          ///< of the last message
  std::string question;
  std::vector<FileFilter> filters;
  std::string present;  ///< where the last chooser begins
  std::function<void(bool)> answerYesNo;
  std::function<void(std::string)> answerChoice;

  void message(const std::string& text, platform::MessageIcon shown, const std::string& caption) override {
    messages.push_back(text);
    lastIcon = shown;
    lastTitle = caption;
  }
  void askYesNo(const std::string& text, platform::MessageIcon, const std::string&,
                std::function<void(bool)> answer) override {
    question = text;
    answerYesNo = std::move(answer);
  }
  void chooseFolder(const std::string& prompt, const std::string& begin,
                    std::function<void(std::string)> answer) override {
    question = prompt;
    present = begin;
    answerChoice = std::move(answer);
  }
  void chooseFile(const std::string& title, const std::vector<FileFilter>& offered, const std::string& begin,
                  std::function<void(std::string)> answer) override {
    question = title;
    present = begin;
    filters = offered;
    answerChoice = std::move(answer);
  }
  void chooseSaveFile(const std::string& title, const std::vector<FileFilter>& offered,
                      std::function<void(std::string)> answer) override {
    chooseFile(title, offered, {}, std::move(answer));
  }
};

}  // namespace kova::fakes
