#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kova::platform {

enum class MessageIcon { kNone, kInformation, kQuestion, kExclamation, kCritical };

/// The boxes that the program puts in front of its owner.
class Dialogs {
 public:
  struct FileFilter {
    std::string label;    ///< "Jpeg Files (*.jpg)"
    std::string pattern;  ///< "*.jpg"
  };

  virtual ~Dialogs() = default;

  /// Shows a text and returns at once; the work goes on while the box stands.
  virtual void message(const std::string& text, MessageIcon icon, const std::string& title) = 0;

  // Questions. `answer` is called once, later from the event loop or before the call returns.
  virtual void askYesNo(const std::string& text, MessageIcon icon, const std::string& title,
                        std::function<void(bool)> answer) = 0;
  /// The answer is empty when the owner chose nothing. He begins at `present`, the folder or file that is
  /// chosen so far, where there is such a one.
  virtual void chooseFolder(const std::string& prompt, const std::string& present,
                            std::function<void(std::string)> answer) = 0;
  virtual void chooseFile(const std::string& title, const std::vector<FileFilter>& filters,
                          const std::string& present, std::function<void(std::string)> answer) = 0;
  /// For a file to be written; the owner has been asked whether one that is there may be replaced. A name
  /// without an extension gets that of the filter that he has chosen.
  virtual void chooseSaveFile(const std::string& title, const std::vector<FileFilter>& filters,
                              std::function<void(std::string)> answer) = 0;
};

}  // namespace kova::platform
