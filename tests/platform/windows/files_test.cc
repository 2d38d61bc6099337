#include "platform/windows/files.h"

#include "loop_fixture.h"

namespace kova::platform::windows {
namespace {

class FilesTest : public LoopTest {
 protected:
  bool create(const std::string& name, const std::string& bytes) {
    const auto file = files_.create(name);
    return file && file->write(bytes) && file->close();
  }
  WindowsFiles files_;
};

TEST_F(FilesTest, NamesOfAllKinds) {
  const std::string folder = path(
      "Stra\xc3\x9f"
      "e \xe2\x82\xac");
  std::filesystem::create_directory(std::filesystem::path(reinterpret_cast<const char8_t*>(folder.c_str())));
  for (const std::string& name :
       {folder + "\\\xd0\x94\xd0\xb0.wml", folder + "/slash.wml", path(std::string(200, 'n'))}) {
    EXPECT_TRUE(create(name, "first"));
    EXPECT_TRUE(create(name, "second")) << "in place of what had that name";
    EXPECT_EQ("second", content(name));
    EXPECT_EQ(6, files_.length(name).value);
    EXPECT_TRUE(files_.append(name, " third"));
    EXPECT_TRUE(files_.remove(name));
    EXPECT_FALSE(files_.remove(name));
    EXPECT_TRUE(files_.append(name, "made"));
    EXPECT_TRUE(files_.replace(name, "replaced"));
    EXPECT_EQ("replaced", content(name));
    char piece[20];
    const auto file = files_.open(name);
    ASSERT_TRUE(file);
    EXPECT_EQ(5, (*file.value)->readAt(3, piece));
    EXPECT_EQ(0, (*file.value)->readAt(8, piece));
    EXPECT_LT((*file.value)->readAt(-1, piece), 0);
  }
}

TEST_F(FilesTest, LongPaths) {
  std::string folder = folder_.string();
  for (int i = 0; i < 5; ++i) {
    folder += "\\" + std::string(80, static_cast<char>('a' + i));
    ASSERT_NE(0, ::CreateDirectoryW((LR"(\\?\)" + std::filesystem::path(folder).wstring()).c_str(), nullptr));
  }
  EXPECT_TRUE(create(folder + "\\deck.wml", "deck"));
  EXPECT_EQ(4, files_.length(folder + "\\deck.wml").value);
  EXPECT_TRUE(files_.remove(folder + "\\deck.wml"));
}

TEST_F(FilesTest, WhatIsNoFile) {
  const std::string nul = path(std::string("a\0b", 3));
  for (const std::string& name :
       {folder_.string(), path("missing"), path("no\\folder"), nul, std::string(), path("a?b")}) {
    EXPECT_FALSE(files_.open(name)) << name;
    EXPECT_NE(file_error::kNone, files_.length(name).error) << name;
    EXPECT_FALSE(files_.remove(name)) << name;
  }
  for (const std::string& name : {folder_.string(), path("no\\folder"), nul, std::string(), path("a?b")}) {
    EXPECT_FALSE(create(name, "x")) << name;
    EXPECT_FALSE(files_.append(name, "x")) << name;
    EXPECT_FALSE(files_.replace(name, "x")) << name;
  }
  EXPECT_EQ(file_error::kNotFound, files_.open(path("missing")).error);
  EXPECT_EQ(file_error::kPathNotFound, files_.open(path("no\\folder")).error);
  EXPECT_TRUE(std::filesystem::is_directory(folder_));
}

}  // namespace
}  // namespace kova::platform::windows
