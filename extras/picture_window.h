#pragma once

#include <optional>
#include <string>

#include "base/task.h"
#include "platform/controls.h"
#include "platform/dialogs.h"
#include "platform/files.h"
#include "platform/image.h"
#include "platform/pictures.h"
#include "platform/window.h"

namespace kova::extras {

/// Stretches a picture to the size of a phone's screen and saves it, also in the phones' own format.
class frmPicture : public platform::Window {
 public:
  /// What a phone shows when nobody says otherwise, in pixels.
  static constexpr int kWidth = 96;
  static constexpr int kHeight = 65;
  /// The greatest width and height.
  static constexpr int kMost = 1000;

  /// All of it must outlive the window.
  frmPicture(platform::Dialogs& dialogs, platform::Pictures& pictures, platform::Files& files);

  /// The window keeps its picture while it is closed.
  void open() { show(); }

  platform::Button cmdOpen{"cmdOpen", "&Open..."};
  platform::Label lblFile{"lblFile", "No picture"};
  platform::TextBox editWidth{"editWidth", "&Width:"};
  platform::TextBox editHeight{"editHeight", "&Height:"};
  platform::Button cmdStretch{"cmdStretch", "S&tretch"};
  platform::CheckBox chkOneBit{"chkOneBit", "One &bit, as the phone shows it"};
  platform::Frame framePreview{"framePreview", "On the phone:"};
  platform::PictureBox picPreview{"picPreview"};
  platform::Button cmdSave{"cmdSave", "&Save as..."};
  platform::Button cmdClose{"cmdClose", "&Close"};

 private:
  base::Task<> cmdOpen_Click();
  base::Task<> cmdSave_Click();
  /// Stretches the picture to what the fields say. False, with a message and nothing changed, when they say
  /// no size.
  bool stretch();
  std::optional<int> sizeIn(platform::TextBox& field);
  void showPreview();
  void save(const std::string& path);
  void warn(const std::string& text);

  platform::Dialogs& dialogs_;
  platform::Pictures& pictures_;
  platform::Files& files_;
  std::string file_;  // where the next chooser begins
  platform::Image original_;
  platform::Image stretched_;
  int width_ = kWidth;
  int height_ = kHeight;
  base::TaskGroup tasks_;
};

}  // namespace kova::extras
