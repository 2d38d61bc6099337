// Which files no phone gets, on a real file system: however the page directory is written, it is the same
// folder.

#include "server/private_paths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "platform/machine.h"

namespace kova::server {
namespace {

namespace fs = std::filesystem;

class PrivatePathsTest : public ::testing::Test {
 protected:
  PrivatePathsTest()
      : root_(fs::path(::testing::TempDir()) / ("private_paths_" + std::to_string(std::random_device()()))) {
    fs::create_directories(root_ / "home" / "outlook" / "notes");
    fs::create_directories(root_ / "home" / "pages");
    std::ofstream(root_ / "real.ini") << "[Main]";
    std::error_code failure;
    fs::create_directory_symlink(root_ / "home", root_ / "link", failure);
    if (!failure) fs::create_symlink(root_ / "real.ini", root_ / "home" / "tarvel_wap.ini", failure);
    hasLinks_ = !failure;
    before_ = fs::current_path();
    fs::current_path(root_ / "home");
  }
  ~PrivatePathsTest() override {
    fs::current_path(before_);
    fs::remove_all(root_);
  }

  fs::path root_;
  fs::path before_;
  bool hasLinks_ = false;  // not everywhere are they for every user
};

TEST_F(PrivatePathsTest, HoweverThePageDirectoryIsWritten) {
  const std::string home = (root_ / "home").string();
  const auto machine = platform::makeMachine();
  const platform::Files& files = machine->files();
  PrivatePaths paths(files, {home + "/tarvel_wap.ini", home + "/outlook/notes/"});
  struct Case {
    std::string directory;
    std::string path;
    bool held;
    bool byLink = false;
  };
  const Case cases[] = {
      {home + "/", "/tarvel_wap.ini", true},
      {home, "tarvel_wap.ini", true},
      {".", "/tarvel_wap.ini", true},
      {"./", "//tarvel_wap.ini", true},
      {"..", "/home/tarvel_wap.ini", true},
      {home + "/../home//", "/./tarvel_wap.ini", true},
      {(root_ / "link").string(), "/tarvel_wap.ini", true, true},
      {home, "/tarvel_wap.ini.new", true},
      {root_.string(), "/real.ini", true, true},
      {root_.string(), "/real.ini.new", true, true},
      {home, "/outlook/notes/x.ics", true},
      {home, "/outlook/notes", true},
      {home, "/tarvel_wap.ini/", true},
      {home, "/outlook//./notes//x.ics", true},
      {fs::path(home).root_path().string(), fs::path(home + "/tarvel_wap.ini").relative_path().string(),
       true},
      {home + "/outlook/notes", "/x.ics", true},
      {home, "/outlook/notes.txt", false},
      {home, "/index.wml", false},
      {home + "/pages/", "/tarvel_wap.ini", false},
      {root_.string() + "/elsewhere", "/tarvel_wap.ini", false},
  };
  for (const Case& c : cases) {
    if (c.byLink && !hasLinks_) continue;
    const auto name = files.nameBelow(c.path);
    EXPECT_EQ(!name || paths.hold(c.directory, *name), c.held) << c.directory << " " << c.path;
  }
}

}  // namespace
}  // namespace kova::server
