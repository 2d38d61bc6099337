#include "platform/windows/clock.h"

#include <windows.h>

namespace kova::platform::windows {

namespace {

DateTime dateTime(const SYSTEMTIME& time) {
  return {time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond};
}

}  // namespace

DateTime WindowsClock::localNow() const {
  SYSTEMTIME time{};
  ::GetLocalTime(&time);
  return dateTime(time);
}

DateTime WindowsClock::utcNow() const {
  SYSTEMTIME time{};
  ::GetSystemTime(&time);
  return dateTime(time);
}

std::chrono::milliseconds WindowsClock::monotonic() const {
  return std::chrono::milliseconds(::GetTickCount64());
}

}  // namespace kova::platform::windows
