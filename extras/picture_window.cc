#include "extras/picture_window.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "base/wait.h"
#include "extras/dither.h"
#include "extras/scale.h"
#include "extras/wbmp.h"

namespace kova::extras {

namespace {

using platform::PictureFormat;

/// A kind of picture file by the end of its name.
struct Kind {
  std::string_view ending;
  std::optional<PictureFormat> format;  // none: the phones' own
};

constexpr std::array<Kind, 5> kKinds = {{{".wbmp", std::nullopt},
                                         {".png", PictureFormat::kPng},
                                         {".bmp", PictureFormat::kBmp},
                                         {".jpg", PictureFormat::kJpeg},
                                         {".jpeg", PictureFormat::kJpeg}}};

std::string fileName(const std::string& path) { return path.substr(path.find_last_of("/\\") + 1); }

}  // namespace

frmPicture::frmPicture(platform::Dialogs& dialogs, platform::Pictures& pictures, platform::Files& files)
    : Window("frmPicture", "Picture for the phone"), dialogs_(dialogs), pictures_(pictures), files_(files) {
  editWidth.setText(std::to_string(kWidth));
  editHeight.setText(std::to_string(kHeight));
  cmdSave.setEnabled(false);

  cmdOpen.onClick = [this] { tasks_.spawn(cmdOpen_Click()); };
  cmdSave.onClick = [this] {
    if (stretch()) tasks_.spawn(cmdSave_Click());
  };
  cmdStretch.onClick = [this] { stretch(); };
  cmdClose.onClick = [this] { close(); };
  chkOneBit.onClick = [this] { showPreview(); };
  for (platform::TextBox* field : {&editWidth, &editHeight}) {
    field->onFocus = [field] { field->selectAll(); };
  }

  using platform::Layout;
  setLayout(Layout::rows({Layout::columns({cmdOpen, Layout(lblFile).growing()}),
                          Layout::columns({editWidth, editHeight, cmdStretch}), chkOneBit,
                          Layout::rows({Layout(picPreview).growing()}).in(framePreview).growing(),
                          Layout::columns({cmdSave, cmdClose})}));
  setKeys(&cmdStretch, &cmdClose);
}

base::Task<> frmPicture::cmdOpen_Click() {
  base::Answer<std::string> question([this](std::function<void(std::string)> answer) {
    dialogs_.chooseFile(
        "Open picture",
        {{"Pictures (*.jpg, *.jpeg, *.bmp, *.png)", "*.jpg;*.jpeg;*.bmp;*.png"}, {"All files (*)", "*"}},
        file_, std::move(answer));
  });
  const std::string file = co_await question;
  if (file.empty()) co_return;
  auto picture = pictures_.load(file);
  if (!picture || picture->empty()) {
    warn("This is no JPEG, BMP or PNG picture that can be opened: " + file);
    co_return;
  }
  original_ = std::move(*picture);
  file_ = file;
  lblFile.setText(fileName(file) + " (" + std::to_string(original_.width) + " x " +
                  std::to_string(original_.height) + ")");
  cmdSave.setEnabled(true);
  stretched_ = scale(original_, width_, height_);
  showPreview();
}

bool frmPicture::stretch() {
  const auto width = sizeIn(editWidth);
  if (!width) return false;
  const auto height = sizeIn(editHeight);
  if (!height) return false;
  if (width_ != *width || height_ != *height) {
    width_ = *width;
    height_ = *height;
    stretched_ = scale(original_, width_, height_);
    showPreview();
  }
  return true;
}

std::optional<int> frmPicture::sizeIn(platform::TextBox& field) {
  const std::string_view text = base::trim(field.text());
  int size = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), size);
  const bool number = read.ec == std::errc() && read.ptr == text.data() + text.size();
  if (number && size >= 1 && size <= kMost) return size;
  warn("Width and height are whole numbers from 1 to " + std::to_string(kMost) + " pixels.");
  field.focus();
  return std::nullopt;
}

void frmPicture::showPreview() {
  if (stretched_.empty()) return;
  picPreview.setImage(chkOneBit.value() == 1 ? toImage(dither(stretched_)) : stretched_);
}

base::Task<> frmPicture::cmdSave_Click() {
  base::Answer<std::string> question([this](std::function<void(std::string)> answer) {
    dialogs_.chooseSaveFile("Save picture",
                            {{"Phone pictures (*.wbmp)", "*.wbmp"},
                             {"PNG files (*.png)", "*.png"},
                             {"BMP files (*.bmp)", "*.bmp"},
                             {"JPEG files (*.jpg)", "*.jpg"}},
                            std::move(answer));
  });
  const std::string file = co_await question;
  if (!file.empty()) save(file);
}

void frmPicture::save(const std::string& path) {
  const std::string name = base::asciiLower(path);
  const auto kind = std::find_if(kKinds.begin(), kKinds.end(),
                                 [&](const Kind& each) { return name.ends_with(each.ending); });
  if (kind == kKinds.end()) {
    warn("The name of the file says how it is written: it has to end in .wbmp, .png, .bmp or .jpg.");
    return;
  }
  const bool saved = kind->format ? pictures_.save(path, picPreview.image(), *kind->format)
                                  : files_.replace(path, encodeWbmp(dither(stretched_)));
  if (!saved) warn("The picture cannot be saved: " + path);
}

void frmPicture::warn(const std::string& text) {
  dialogs_.message(text, platform::MessageIcon::kExclamation, title());
}

}  // namespace kova::extras
