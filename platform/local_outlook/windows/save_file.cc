#include "platform/local_outlook/save_file.h"

#include "platform/local_outlook/read_file.h"
#include "platform/windows_api/disk.h"
#include "platform/windows_api/owners_only.h"

namespace kova::platform::local_outlook {
namespace {

std::string failure(const std::string& what, DWORD error) {
  return what + ": " + windows_api::errorText(error);
}

std::string makeFolders(const std::string& path, SECURITY_ATTRIBUTES* rights) {
  const Access access = folderAccess(path);
  if (access.ok()) return {};
  if (!access.missing) return path + ": " + access.problem;
  if (const auto slash = path.find_last_of("/\\"); slash != std::string::npos && slash > 0) {
    // "C:" and what stands in front of a share are there, or nothing can make them.
    const std::string parent = path.substr(0, slash);
    if (!parent.ends_with(':') && parent.find_first_not_of("/\\") != std::string::npos)
      if (std::string problem = makeFolders(parent, rights); !problem.empty()) return problem;
  }
  if (::CreateDirectoryW(windows_api::diskPath(path).c_str(), rights) != 0) return {};
  const DWORD error = ::GetLastError();
  return error == ERROR_ALREADY_EXISTS ? "" : failure("cannot make the folder " + path, error);
}

}  // namespace

std::string saveNewFile(const std::string& folder, const std::string& name, std::string_view bytes) {
  windows_api::OwnersOnly rights;
  if (rights.get() == nullptr) return failure(folder, ERROR_NOT_ENOUGH_MEMORY);
  std::string where = folder;
  while (where.size() > 1 && (where.back() == '/' || where.back() == '\\')) where.pop_back();
  if (std::string problem = makeFolders(where, rights.get()); !problem.empty()) return problem;

  const std::wstring temporary = windows_api::diskPath(where + kSeparator + "." + name + ".tmp");
  windows_api::UniqueHandle file(::CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, rights.get(), CREATE_NEW,
                                               FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return failure(where, ::GetLastError());
  const std::wstring saved = windows_api::diskPath(where + kSeparator + name);
  if (!windows_api::writeAll(file.get(), bytes) || ::FlushFileBuffers(file.get()) == 0 || !file.reset() ||
      ::MoveFileExW(temporary.c_str(), saved.c_str(), MOVEFILE_WRITE_THROUGH) == 0) {
    std::string problem = failure(where + kSeparator + name, ::GetLastError());
    file.reset();
    ::DeleteFileW(temporary.c_str());
    return problem;
  }
  return {};
}

}  // namespace kova::platform::local_outlook
