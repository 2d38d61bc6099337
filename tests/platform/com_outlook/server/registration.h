#pragma once

#include <windows.h>

#include <string>

namespace kova::test_outlook {

inline constexpr CLSID kClassId = {
    0x6b1d4a52, 0x9c07, 0x4e1f, {0xa3, 0x5e, 0x21, 0x7f, 0x0c, 0x94, 0xd8, 0x36}};

/// Makes `command` the server of "Outlook.Application" on this machine. False, and nothing changed, when some
/// other program has that name: the owner's Outlook is never pushed aside. (For one user alone would do, but
/// Wine looks at the machine's classes only.)
bool registerServer(const std::wstring& command);
/// Takes back what registerServer did, and nothing else.
void unregisterServer();

}  // namespace kova::test_outlook
