#include <gmock/gmock.h>
#include <windows.h>
// After windows.h, on which it stands.
#include <aclapi.h>

#include <fstream>
#include <memory>

#include "platform/local_outlook/saving_fixture.h"

namespace kova::platform::local_outlook {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class FilesTest : public SavingTest {
 protected:
  static std::string card(const std::string& name) {
    return "BEGIN:VCARD\nVERSION:3.0\nN:" + name + ";;;;\nFN:" + name + "\nEND:VCARD\n";
  }
  Lines names() { return texts(FolderNumber::kContacts, TextProperty::kLastNameAndFirstName); }
};

using LocalMemory = std::unique_ptr<void, HLOCAL (*)(HLOCAL)>;

/// How many are allowed something on a file who are neither its owner nor the system or its administrators.
int strangersWithRights(const fs::path& path) {
  PSID owner = nullptr;
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR made = nullptr;
  const DWORD error = ::GetNamedSecurityInfoW(path.c_str(), SE_FILE_OBJECT,
                                              OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner,
                                              nullptr, &list, nullptr, &made);
  const LocalMemory holder(made, &::LocalFree);
  if (error != ERROR_SUCCESS || list == nullptr) return -1;
  int strangers = 0;
  for (DWORD i = 0; i < list->AceCount; ++i) {
    void* found = nullptr;
    if (::GetAce(list, i, &found) == 0) return -1;
    auto* const entry = static_cast<ACCESS_ALLOWED_ACE*>(found);
    if (entry->Header.AceType != ACCESS_ALLOWED_ACE_TYPE || entry->Mask == 0) continue;
    PSID const who = &entry->SidStart;
    bool known = ::EqualSid(who, owner) != 0;
    for (const WELL_KNOWN_SID_TYPE type :
         {WinCreatorOwnerRightsSid, WinLocalSystemSid, WinBuiltinAdministratorsSid})
      known = known || ::IsWellKnownSid(who, type) != 0;
    if (!known) ++strangers;
  }
  return strangers;
}

TEST_F(FilesTest, WhatIsSavedIsTheOwnersAlone) {
  ASSERT_TRUE(saveNote("x"));
  EXPECT_EQ(strangersWithRights(base::toPath(onlyFileIn(folders.notes))), 0);
  EXPECT_EQ(strangersWithRights(base::toPath(folders.notes)), 0);
  // The measure itself: a file that anybody may read.
  EXPECT_GT(strangersWithRights(base::toPath(write(root, "plain", "x"))), 0);
}

TEST_F(FilesTest, AFileThatAnotherProgramKeepsForItselfIsReadWhenItIsFree) {
  const std::string path = write(folders.contacts, "a.vcf", card("Anna"));
  write(folders.contacts, "b.vcf", card("Bert"));
  const HANDLE held =
      ::CreateFileW(base::toPath(path).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_THAT(names(), ElementsAre("Bert"));
  EXPECT_THAT(names(), ElementsAre("Bert"));
  EXPECT_THAT(log, ElementsAre(HasSubstr("a.vcf: ")));
  ::CloseHandle(held);
  EXPECT_THAT(names(), UnorderedElementsAre("Anna", "Bert"));
  EXPECT_EQ(log.size(), 1U);
}

TEST_F(FilesTest, WhatIsReadDoesNotKeepOtherProgramsFromTheFile) {
  const std::string path = write(folders.contacts, "a.vcf", card("Anna"));
  EXPECT_THAT(names(), ElementsAre("Anna"));
  const HANDLE held = ::CreateFileW(base::toPath(path).c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, 0,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_NE(held, INVALID_HANDLE_VALUE);
  ::CloseHandle(held);
  fs::remove_all(base::toPath(folders.contacts));
  EXPECT_FALSE(fs::exists(base::toPath(folders.contacts)));
}

/// The standard library does not come to an end with names of this length.
void removeFolder(const std::wstring& folder) {
  WIN32_FIND_DATAW entry{};
  const HANDLE search = ::FindFirstFileW((folder + L"\\*").c_str(), &entry);
  for (BOOL found = search != INVALID_HANDLE_VALUE; found; found = ::FindNextFileW(search, &entry)) {
    const std::wstring name = entry.cFileName;
    if (name == L"." || name == L"..") continue;
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
      removeFolder(folder + L'\\' + name);
    else
      ::DeleteFileW((folder + L'\\' + name).c_str());
  }
  ::FindClose(search);
  EXPECT_TRUE(::RemoveDirectoryW(folder.c_str()));
}

TEST_F(FilesTest, NamesOfAllKinds) {
  const std::string top = root;
  root += "/K\xC3\xA4se \xE4\xB8\x96\xE7\x95\x8C";
  for (int i = 0; i < 3; ++i) root += "/" + std::string(100, 'x');  // longer than the system takes otherwise
  folders.contacts = root + "/Kontakte \xF0\x9F\x98\x80";
  folders.notes = folders.contacts + "/notes";
  start();
  ASSERT_TRUE(saveNote("deep")) << testing::PrintToString(log);
  EXPECT_THAT(texts(FolderNumber::kNotes, TextProperty::kBody), ElementsAre("deep"));
  const std::string literal = R"(\\?\)" + base::fromPath(base::toPath(folders.contacts).make_preferred());
  const auto put = [&](const std::string& name, const std::string& text) {
    const HANDLE file = ::CreateFileW(base::toPath(literal + '\\' + name).c_str(), GENERIC_WRITE, 0, nullptr,
                                      CREATE_NEW, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << name;
    DWORD written = 0;
    ::WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    ::CloseHandle(file);
  };
  put("\xE6\x97\xA5\xE6\x9C\xAC.vcf", card("Anna"));
  put("con.vcf", card("Bert"));
  put("B\xC3\x84R.VCF", "nonsense");
  EXPECT_THAT(names(), UnorderedElementsAre("Anna", "Bert"));
  EXPECT_THAT(log, ElementsAre(HasSubstr(folders.contacts + "\\B\xC3\x84R.VCF")));
  removeFolder(LR"(\\?\)" + base::toPath(top).make_preferred().wstring());
}

TEST_F(FilesTest, ATypedPathOfWindows) {
  const std::string home = base::fromPath(base::toPath(root).make_preferred());
  folders.notes = home + "\\NOTES\\";
  start();
  ASSERT_TRUE(saveNote("x"));
  EXPECT_THAT(filesIn(root + "/notes"), testing::SizeIs(1));
  EXPECT_THAT(texts(FolderNumber::kNotes, TextProperty::kBody), ElementsAre("x"));
  std::ofstream(base::toPath(home + "\\file")) << "no folder";
  folders.notes = home + "\\file\\notes";
  start();
  EXPECT_FALSE(saveNote("x"));
  EXPECT_THAT(log, testing::SizeIs(1));
}

}  // namespace
}  // namespace kova::platform::local_outlook
