#include "platform/com_outlook/server/registration.h"

#include <objbase.h>

#include <array>

namespace kova::test_outlook {

namespace {

const std::wstring kClasses = L"Software\\Classes\\";
const std::wstring kProgramId = L"Outlook.Application";

std::wstring classIdText() {
  std::array<wchar_t, 64> text{};
  StringFromGUID2(kClassId, text.data(), static_cast<int>(text.size()));
  return text.data();
}

bool write(const std::wstring& key, const std::wstring& value) {
  const auto bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
  return RegSetKeyValueW(HKEY_LOCAL_MACHINE, (kClasses + key).c_str(), nullptr, REG_SZ, value.c_str(),
                         bytes) == ERROR_SUCCESS;
}

bool nameIsTaken() {
  CLSID present;
  return SUCCEEDED(CLSIDFromProgID(kProgramId.c_str(), &present)) && present != kClassId;
}

}  // namespace

bool registerServer(const std::wstring& command) {
  if (nameIsTaken()) return false;
  const std::wstring id = classIdText();
  return write(L"CLSID\\" + id, kProgramId) && write(L"CLSID\\" + id + L"\\LocalServer32", command) &&
         write(L"CLSID\\" + id + L"\\ProgID", kProgramId) && write(kProgramId + L"\\CLSID", id);
}

void unregisterServer() {
  if (!nameIsTaken()) RegDeleteTreeW(HKEY_LOCAL_MACHINE, (kClasses + kProgramId).c_str());
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, (kClasses + L"CLSID\\" + classIdText()).c_str());
}

}  // namespace kova::test_outlook
