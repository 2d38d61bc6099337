#pragma once

#include <windows.h>

#include <memory>
#include <string_view>

namespace kova::platform::windows_api {

/// Rights for the owner, and for the system and its administrators, from whom nothing can be kept: for a new
/// file or folder.
class OwnersOnly {
 public:
  OwnersOnly();
  OwnersOnly(const OwnersOnly&) = delete;
  OwnersOnly& operator=(const OwnersOnly&) = delete;
  /// Null when there is no memory for them.
  SECURITY_ATTRIBUTES* get() { return descriptor_ ? &attributes_ : nullptr; }

 private:
  std::unique_ptr<void, HLOCAL (*)(HLOCAL)> descriptor_{nullptr, &::LocalFree};
  SECURITY_ATTRIBUTES attributes_{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
};

bool writeAll(HANDLE file, std::string_view bytes);

}  // namespace kova::platform::windows_api
