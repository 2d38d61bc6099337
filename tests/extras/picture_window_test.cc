#include "extras/picture_window.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "extras/about_window.h"
#include "fakes/fake_dialogs.h"
#include "fakes/fake_files.h"

namespace kova::extras {
namespace {

using platform::Image;
using platform::PictureFormat;

/// Pictures in memory.
class FakePictures final : public platform::Pictures {
 public:
  struct Saved {
    Image image;
    PictureFormat format = PictureFormat::kPng;
  };

  std::map<std::string, Image> pictures;
  std::map<std::string, Saved> saved;
  bool failSave = false;

  std::optional<Image> load(const std::string& path) override {
    const auto found = pictures.find(path);
    return found == pictures.end() ? std::nullopt : std::optional(found->second);
  }
  bool save(const std::string& path, const Image& image, PictureFormat format) override {
    if (!failSave) saved[path] = {image, format};
    return !failSave;
  }
};

class PictureWindowTest : public ::testing::Test {
 protected:
  PictureWindowTest() {
    pictures.pictures["/pics/red.jpg"] = {2, 2, {255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0}};
  }

  void openFile(const std::string& path) {
    window.cmdOpen.click();
    dialogs.answerChoice(path);
  }
  void saveAs(const std::string& path) {
    window.cmdSave.click();
    dialogs.answerChoice(path);
  }
  void stretchTo(const std::string& width, const std::string& height) {
    window.editWidth.setText(width);
    window.editHeight.setText(height);
    window.cmdStretch.click();
  }
  std::string previewSize() const {
    const Image& image = window.picPreview.image();
    return std::to_string(image.width) + "x" + std::to_string(image.height);
  }

  fakes::FakeDialogs dialogs;
  FakePictures pictures;
  fakes::FakeFiles files;
  frmPicture window{dialogs, pictures, files};
};

TEST_F(PictureWindowTest, ShowsAPictureAtThePhonesSize) {
  window.open();
  EXPECT_FALSE(window.cmdSave.enabled());
  openFile("/pics/red.jpg");
  EXPECT_EQ(previewSize(), "96x65");
  EXPECT_EQ(window.picPreview.image().rgb.at(0), 255);
  EXPECT_EQ(window.picPreview.image().rgb.at(1), 0);
  EXPECT_EQ(window.lblFile.text(), "red.jpg (2 x 2)");
  EXPECT_TRUE(window.cmdSave.enabled());
  stretchTo(" 1000 ", "1");
  EXPECT_EQ(previewSize(), "1000x1");
  EXPECT_TRUE(dialogs.messages.empty());
}

TEST_F(PictureWindowTest, BadSizesAreToldAndChangeNothing) {
  openFile("/pics/red.jpg");
  for (const auto& [width, height] :
       std::vector<std::pair<std::string, std::string>>{{"0", "65"},
                                                        {"96", "0"},
                                                        {"-5", "65"},
                                                        {"1001", "65"},
                                                        {"99999999999999999999", "65"},
                                                        {"", "65"},
                                                        {"40", "ninety"},
                                                        {"40", "6.5"},
                                                        {"40 50", "65"}}) {
    dialogs.messages.clear();
    stretchTo(width, height);
    EXPECT_EQ(dialogs.messages.size(), 1U) << width << ' ' << height;
    EXPECT_EQ(previewSize(), "96x65") << width << ' ' << height;

    // Nor is a picture saved in another size than the fields say.
    dialogs.question.clear();
    window.cmdSave.click();
    EXPECT_EQ(dialogs.question, "") << width << ' ' << height;
  }
  EXPECT_TRUE(window.editWidth.focused());
}

TEST_F(PictureWindowTest, WhatCannotBeLoadedLeavesThePictureThatIsThere) {
  openFile("/pics/none.png");
  EXPECT_EQ(dialogs.messages.size(), 1U);
  EXPECT_FALSE(window.cmdSave.enabled());
  openFile("/pics/red.jpg");
  openFile("/pics/none.png");
  EXPECT_EQ(dialogs.messages.size(), 2U);
  openFile("");
  EXPECT_EQ(dialogs.messages.size(), 2U);
  EXPECT_EQ(window.lblFile.text(), "red.jpg (2 x 2)");
  EXPECT_EQ(previewSize(), "96x65");
}

TEST_F(PictureWindowTest, TheNameSaysTheFormat) {
  openFile("/pics/red.jpg");
  const std::pair<const char*, PictureFormat> cases[] = {{"/a.jpg", PictureFormat::kJpeg},
                                                         {"/a.JPEG", PictureFormat::kJpeg},
                                                         {"/a.Bmp", PictureFormat::kBmp},
                                                         {"/a.wbmp.png", PictureFormat::kPng}};
  for (const auto& [path, format] : cases) {
    saveAs(path);
    ASSERT_TRUE(pictures.saved.contains(path)) << path;
    EXPECT_EQ(pictures.saved[path].format, format) << path;
    EXPECT_EQ(pictures.saved[path].image.width, 96) << path;
  }
  EXPECT_TRUE(dialogs.messages.empty());
  pictures.saved.clear();
  for (const char* path : {"/a", "/a.gif", "/png", "/a.png/b"}) {
    dialogs.messages.clear();
    saveAs(path);
    EXPECT_EQ(dialogs.messages.size(), 1U) << path;
  }
  EXPECT_TRUE(pictures.saved.empty());
  EXPECT_EQ(files.count(), 0U);
  saveAs("");
  EXPECT_EQ(dialogs.messages.size(), 1U);
}

TEST_F(PictureWindowTest, SavesWhatThePhonesRead) {
  pictures.pictures["/half.png"] = {2, 1, {255, 255, 255, 0, 0, 0}};
  openFile("/half.png");
  // A size that was typed and not yet shown counts as well.
  window.editWidth.setText("2");
  window.editHeight.setText("2");
  saveAs("/pages/Logo.WBMP");
  EXPECT_EQ(files.contents("/pages/Logo.WBMP"), std::string("\0\0\x02\x02\x80\x80", 6));
  EXPECT_EQ(previewSize(), "2x2");
  EXPECT_TRUE(pictures.saved.empty());
}

TEST_F(PictureWindowTest, FailedSavesAreTold) {
  openFile("/pics/red.jpg");
  files.put("/logo.wbmp", "as it was");
  files.freeBytes = 100;
  saveAs("/logo.wbmp");
  ASSERT_EQ(dialogs.messages.size(), 1U);
  EXPECT_NE(dialogs.messages[0].find("/logo.wbmp"), std::string::npos);
  EXPECT_EQ(files.contents("/logo.wbmp"), "as it was");
  pictures.failSave = true;
  saveAs("/logo.png");
  EXPECT_EQ(dialogs.messages.size(), 2U);
}

TEST_F(PictureWindowTest, OneBitIsShownAndSavedAsShown) {
  window.chkOneBit.setValue(1);  // without a picture there is nothing to show
  EXPECT_TRUE(window.picPreview.image().empty());
  openFile("/pics/red.jpg");
  for (const std::uint8_t value : window.picPreview.image().rgb) ASSERT_TRUE(value == 0 || value == 255);
  EXPECT_EQ(window.picPreview.image().rgb.at(0), window.picPreview.image().rgb.at(1));
  const auto shown = window.picPreview.image().rgb;
  saveAs("/a.png");
  EXPECT_EQ(pictures.saved["/a.png"].image.rgb, shown);
  window.chkOneBit.setValue(0);
  EXPECT_NE(window.picPreview.image().rgb, shown);
}

TEST(AboutWindow, EnterAndEscapeCloseIt) {
  frmAbout window("1.7");
  window.open();
  EXPECT_TRUE(window.visible());
  EXPECT_FALSE(window.modal()) << "the owner may work on meanwhile";
  EXPECT_EQ(window.lblVersion.text(), "Version 1.7");
  EXPECT_EQ(window.acceptButton(), window.cancelButton());
  window.cancelButton()->click();
  EXPECT_FALSE(window.visible());
}

}  // namespace
}  // namespace kova::extras
