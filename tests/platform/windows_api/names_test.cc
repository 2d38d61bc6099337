#include "platform/windows_api/names.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "platform/windows_api/utf16.h"

namespace kova::platform::windows_api {
namespace {

namespace fs = std::filesystem;

TEST(NameBelow, IsTheOneFormOfAPath) {
  const struct {
    std::string_view path;
    const char* name;
  } kCases[] = {
      {"", ""},
      {"/", ""},
      {"/./", ""},
      {"/index.wml", "INDEX.WML"},
      {"index.wml/", "INDEX.WML"},
      {"//sub\\.\\/a b.Wml", R"(SUB\A B.WML)"},
      {"/.new", ".NEW"},
      {"/..a/...b", R"(..A\...B)"},
      {"/ x", " X"},
      {"/K\xC3\xA4se/\xCE\xB1\xD1\x8F.txt", "K\xC3\x84SE\\\xCE\x91\xD0\xAF.TXT"},
      {"/stra\xC3\x9F"
       "e",
       "STRA\xC3\x9F"
       "E"},
      {"/\xF0\x9F\x98\x80.wml", "\xF0\x9F\x98\x80.WML"},
      {"/server/share/x", R"(SERVER\SHARE\X)"},
      {"/console/com/com10/lpt/nul1/auxa.con", R"(CONSOLE\COM\COM10\LPT\NUL1\AUXA.CON)"},
      {"/longer than~1.txt", "LONGER THAN~1.TXT"},
      {"/~$plan.docx", "~$PLAN.DOCX"},
      {"/notes~1.tar.gz", "NOTES~1.TAR.GZ"},
      {"/1234567~1.txt", "1234567~1.TXT"},
  };
  for (const auto& c : kCases) EXPECT_EQ(nameBelow(c.path), c.name) << c.path;
}

TEST(NameBelow, SaysNothingOfWhatTheSystemMayTakeForSomethingElse) {
  const std::string_view kPaths[] = {
      // Out of the folder
      "..",
      "/..",
      "/a/../b",
      "\\..\\b",
      "a\\..",
      "...",
      "/.. /b",
      "/. ./b",
      "/a/ /b",
      // Drives, other roots, streams
      "C:",
      "/c:/x",
      "c:x",
      "/x.ini:stream",
      "/x.ini::$DATA",
      "/sub:$I30:$INDEX_ALLOCATION/x",
      R"(\\?\C:\x)",
      R"(/\\?\GLOBALROOT\x)",
      // Devices
      "/con",
      "/CON",
      "/nul.wml",
      "/aux.tar.gz",
      "/con .txt",
      "/prn",
      "/com1",
      "/COM9.x",
      "/lpt1",
      "/lpt0",
      "/conin$",
      "/ConOut$.y",
      "/clock$",
      "/com\xC2\xB9",
      "/lpt\xC2\xB3.txt",
      "/nul/x",
      R"(\\.\con)",
      // Ends that are dropped
      "/x.ini.",
      "/x.ini ",
      "/x.ini. .",
      "/x.ini...",
      "/sub./x",
      "/sub /x",
      // Short names, and those of servers that shorten in their own way
      "/PROGRA~1",
      "/tarvel~1.ini",
      "/a/OUTLOO~1/x",
      "/TA12AB~1.INI",
      "/t~1",
      "/TARV~XYZ.INI",
      "/~1.ini",
      // No name at all
      "/a*",
      "/a?.ini",
      "/<.ini",
      "/a>",
      "/\"a",
      "/a|b",
      "/a\tb",
      "/a\nb",
      std::string_view("/x.ini\0", 7),
      std::string_view("\0", 1),
      // Bytes that are no UTF-8
      "/K\xE4se",
      "/\xFF\xFE",
      "/\xED\xA0\x80",
      "/\xC0\xAE\xC0\xAE/x",
  };
  for (const std::string_view path : kPaths) EXPECT_EQ(nameBelow(path), std::nullopt) << path;
}

TEST(NameBelow, TakesALongPath) {
  std::string path;
  for (int i = 0; i < 20000; ++i) path += "/a";
  ASSERT_TRUE(nameBelow(path));
  EXPECT_EQ(nameBelow(path)->size(), 39999U);
}

class Canonical : public ::testing::Test {
 protected:
  Canonical()
      : root_(fs::temp_directory_path() /
              (L"Names Of Files \xE4" + std::to_wstring(std::random_device()()))) {
    fs::create_directories(root_ / "Data Of Owner" / L"\x4E16\x754C");
    fs::create_directories(root_ / "empty");
    std::ofstream(root_ / "Data Of Owner" / "Some Settings.ini") << "x";
    before_ = fs::current_path();
    fs::current_path(root_ / "Data Of Owner");
  }
  ~Canonical() override {
    fs::current_path(before_);
    fs::remove_all(root_);
  }
  static std::string narrow(const fs::path& path) { return toUtf8(path.wstring()); }
  std::string at(const std::string& rest) const { return narrow(root_) + rest; }

  fs::path root_;
  fs::path before_;
};

TEST_F(Canonical, IsOneForAllPathsOfAThing) {
  const std::string folder = canonical(at(R"(\Data Of Owner)"));
  EXPECT_TRUE(folder.ends_with(R"(\DATA OF OWNER)")) << folder;
  EXPECT_EQ(folder.substr(1, 2), R"(:\)") << folder;
  const std::string drive = narrow(root_).substr(0, 2);
  const struct {
    std::string path;
    std::string below;  // behind the folder
  } kCases[] = {
      {at("/data of owner/"), ""},
      {at(R"(\DATA OF OWNER\\)"), ""},
      {at(R"(\.\empty\..\Data Of Owner\.)"), ""},
      {at(R"(\missing\..\Data Of Owner)"), ""},
      {R"(\\?\)" + at(R"(\Data Of Owner)"), ""},
      {R"(\\.\)" + at(R"(\Data Of Owner)"), ""},
      {narrow(root_).substr(2) + R"(\data of owner)", ""},
      {drive, ""},  // the drive's current folder
      {"", ""},
      {".", ""},
      {"./", ""},
      {R"(..\data OF owner)", ""},
      {drive + "some settings.ini", R"(\SOME SETTINGS.INI)"},
      {"Some Settings.ini", R"(\SOME SETTINGS.INI)"},
      {"sOME sETTINGS.ini", R"(\SOME SETTINGS.INI)"},
      {"Some Settings.ini.", R"(\SOME SETTINGS.INI)"},
      {"Some Settings.ini.new", R"(\SOME SETTINGS.INI.NEW)"},
      {"none/of\\these//Ever", R"(\NONE\OF\THESE\EVER)"},
      {"\xE4\xB8\x96\xE7\x95\x8C/x", "\\\xE4\xB8\x96\xE7\x95\x8C\\X"},
      {"\xC3\xA4", "\\\xC3\x84"},
  };
  for (const auto& c : kCases) EXPECT_EQ(canonical(c.path), folder + c.below) << c.path;
}

TEST_F(Canonical, TellsDifferentThingsApart) {
  const std::string folder = canonical("");
  for (const char* other : {"..", R"(..\Data Of Owner2)", "Some Settings", "x", R"(..\empty)", "nul"})
    EXPECT_NE(canonical(other), folder) << other;
  EXPECT_NE(canonical("a\xCC\x88"), canonical("\xC3\xA4"));  // composed and not: two files
}

TEST_F(Canonical, IsTheFolderAndTheNameBelow) {
  const std::string folder = canonical(narrow(root_));
  for (const char* name :
       {"data of owner/some settings.INI", "Data Of Owner//./\xE4\xB8\x96\xE7\x95\x8C/x.txt",
        "/missing/\xC3\xA4\xC3\xB6.ics"}) {
    ASSERT_TRUE(nameBelow(name)) << name;
    EXPECT_EQ(canonical(narrow(root_) + '/' + name), folder + '\\' + *nameBelow(name)) << name;
  }
}

TEST_F(Canonical, EndsWithoutASeparatorButForADrive) {
  EXPECT_EQ(canonical("c:/"), "C:\\");
  EXPECT_EQ(canonical("C:\\.\\windows\\.."), "C:\\");
  EXPECT_EQ(canonical("C:\\None Such\\"), "C:\\NONE SUCH");
  EXPECT_EQ(canonical("Q:\\"), "Q:\\");
  EXPECT_EQ(canonical("q:/x/"), "Q:\\X");
  EXPECT_EQ(canonical("//None.Such/Share/"), R"(\\NONE.SUCH\SHARE)");
  EXPECT_EQ(canonical(R"(\\?\UNC\None.Such\Share\x)"), R"(\\NONE.SUCH\SHARE\X)");
}

TEST_F(Canonical, ShortNamesAreLong) {
  const std::wstring path = (root_ / "Data Of Owner" / "Some Settings.ini").wstring();
  wchar_t brief[MAX_PATH];
  const DWORD length = ::GetShortPathNameW(path.c_str(), brief, MAX_PATH);
  ASSERT_GT(length, 0U);
  const std::wstring name(brief, length);
  if (name == path) GTEST_SKIP() << "this drive has no short names";
  EXPECT_EQ(canonical(toUtf8(name)), canonical("Some Settings.ini"));
  EXPECT_EQ(canonical(toUtf8(name.substr(0, name.rfind(L'\\'))) + "\\none.ini"), canonical("none.ini"));
  // None of its own short names is a name for a stranger.
  EXPECT_EQ(nameBelow(toUtf8(name.substr(name.rfind(L'\\')))), std::nullopt) << toUtf8(name);
}

TEST_F(Canonical, LinksAndDrivesOfFoldersLeadToTheFolder) {
  if (::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr)
    GTEST_SKIP() << "Wine does not say where its drives and links lead to";
  const std::wstring folder = (root_ / "Data Of Owner").wstring();
  ASSERT_NE(::DefineDosDeviceW(0, L"R:", folder.c_str()), 0);
  EXPECT_EQ(canonical("R:\\some settings.ini"), canonical("Some Settings.ini"));
  EXPECT_EQ(canonical("R:\\none"), canonical("none"));
  ::DefineDosDeviceW(DDD_REMOVE_DEFINITION, L"R:", nullptr);

  if (::CreateSymbolicLinkW((root_ / "link").c_str(), folder.c_str(), SYMBOLIC_LINK_FLAG_DIRECTORY) == 0)
    GTEST_SKIP() << "this user or drive can have no links";
  EXPECT_EQ(canonical(at("/LINK/none.ini")), canonical("none.ini"));
}

}  // namespace
}  // namespace kova::platform::windows_api
