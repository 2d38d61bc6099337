#pragma once

#include <windows.h>

#include <string>

#include "platform/windows_api/unique_handle.h"

namespace kova::platform::windows_api {

/// A path as the system takes it: absolute and in the form that neither has a limit of length nor knows of
/// devices (a "con.vcf" is a file then). The last name is taken as it is.
std::wstring diskPath(const std::string& path);

/// Opens what is there; a folder as well.
UniqueHandle openExisting(const std::wstring& path, DWORD access, DWORD flags = FILE_FLAG_BACKUP_SEMANTICS);

bool meansMissing(DWORD error);

/// What the system says of one of its error numbers, without a line end.
std::string errorText(DWORD error);

}  // namespace kova::platform::windows_api
