#include "platform/windows/machine.h"

#include <shellapi.h>

#include <cstdio>
#include <mutex>
#include <system_error>
#include <utility>

#include "platform/com_outlook/com_outlook.h"
#include "platform/windows_api/utf16.h"

namespace kova::platform {

namespace windows {

namespace {

/// Whom the console tells of Ctrl+C and the like; its handler is a function that nothing can be handed to.
struct ConsoleListener {
  std::mutex mutex;
  std::function<void()> told;
};

ConsoleListener& consoleListener() {
  static ConsoleListener listener;
  return listener;
}

/// Called on a thread of the system's own.
BOOL WINAPI onConsole(DWORD event) {
  {
    ConsoleListener& listener = consoleListener();
    const std::lock_guard lock(listener.mutex);
    if (!listener.told) return FALSE;
    listener.told();
  }
  // Of these the system ends the program when the handler returns, or some seconds later.
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) ::Sleep(INFINITE);
  return TRUE;
}

void listenToConsole(std::function<void()> told) {
  ConsoleListener& listener = consoleListener();
  const std::lock_guard lock(listener.mutex);
  listener.told = std::move(told);
}

}  // namespace

SocketsLibrary::SocketsLibrary() {
  WSADATA data{};
  // A server without sockets cannot even say so; this ends it at its start.
  if (const int error = ::WSAStartup(MAKEWORD(2, 2), &data); error != 0)
    throw std::system_error(error, std::system_category(), "WSAStartup");
}

WindowsMachine::WindowsMachine() {
  loop_.onEnd = [this] {
    if (onEnd) onEnd();
  };
  listenToConsole([this, mailbox = loop_.mailbox()] {
    mailbox->post([this] {
      if (onEnd) onEnd();
    });
  });
  ::SetConsoleCtrlHandler(&onConsole, TRUE);
}

WindowsMachine::~WindowsMachine() {
  ::SetConsoleCtrlHandler(&onConsole, FALSE);
  listenToConsole(nullptr);
}

std::unique_ptr<outlook::Automation> WindowsMachine::installedOutlook(Log log) {
  return com_outlook::makeOutlook(std::move(log));
}

}  // namespace windows

void prepareProcess() {
  // A drive without a disk is an error of ours to handle, not a box on the screen.
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  // A program with windows has no console; one that was started from there answers there.
  if (!::GetStdHandle(STD_OUTPUT_HANDLE) && ::AttachConsole(ATTACH_PARENT_PROCESS) != 0) {
    std::freopen("CONOUT$", "w", stdout);
    std::freopen("CONOUT$", "w", stderr);
  }
  ::SetConsoleOutputCP(CP_UTF8);
}

std::unique_ptr<Machine> makeMachine() { return std::make_unique<windows::WindowsMachine>(); }

std::vector<std::string> programArguments(int, char**) {
  // main()'s are in the owner's code page.
  std::vector<std::string> arguments;
  int count = 0;
  wchar_t** const words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  for (int i = 1; i < count; ++i) arguments.push_back(windows_api::toUtf8(words[i]));
  ::LocalFree(words);
  return arguments;
}

std::string executableFolder() {
  std::wstring path(32768, L'\0');
  path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  const auto slash = path.find_last_of(L'\\');
  return slash == std::wstring::npos ? "." : windows_api::toUtf8(path.substr(0, slash));
}

}  // namespace kova::platform
