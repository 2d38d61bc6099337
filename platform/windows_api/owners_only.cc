#include "platform/windows_api/owners_only.h"

// After windows.h, on which it stands.
#include <sddl.h>

#include <algorithm>
#include <cstddef>

namespace kova::platform::windows_api {

OwnersOnly::OwnersOnly() {
  PSECURITY_DESCRIPTOR made = nullptr;
  if (::ConvertStringSecurityDescriptorToSecurityDescriptorW(
          L"D:P(A;OICI;FA;;;OW)(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)", SDDL_REVISION_1, &made, nullptr) != 0)
    descriptor_.reset(made);
  attributes_.lpSecurityDescriptor = descriptor_.get();
}

bool writeAll(HANDLE file, std::string_view bytes) {
  constexpr std::size_t kAtOnce = std::size_t{64} << 20;
  while (!bytes.empty()) {
    DWORD written = 0;
    if (::WriteFile(file, bytes.data(), static_cast<DWORD>(std::min(bytes.size(), kAtOnce)), &written,
                    nullptr) == 0)
      return false;
    bytes.remove_prefix(written);
  }
  return true;
}

}  // namespace kova::platform::windows_api
