#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "fakes/fake_outlook.h"
#include "platform/com_outlook/com_outlook.h"
#include "platform/com_outlook/sample_outlook.h"

namespace kova::platform::com_outlook {

/// test_outlook, which lies beside this program, is "Outlook.Application" while a test runs. On a machine
/// where another program has that name the tests do not run.
class OutlookTest : public ::testing::Test {
 protected:
  using milliseconds = std::chrono::milliseconds;

  OutlookTest() {
    wchar_t program[MAX_PATH];
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    server_ = std::filesystem::path(program).replace_filename(L"test_outlook.exe");
    control_ = std::filesystem::temp_directory_path() / L"test_outlook.control";
    test_outlook::fillSample(sample);
  }

  void SetUp() override {
    orders("");
    ASSERT_EQ(runServer(L"/register --control \"" + control_.wstring() + L"\""), 0u);
  }

  void TearDown() override {
    if (HasFailure()) {
      for (const std::string& line : log) std::cerr << line << '\n';
    }
    endServer();
    runServer(L"/unregister");
    std::filesystem::remove(control_);
    std::filesystem::remove(pidFile());
  }

  /// Tells the server to misbehave (server/control.h), or no longer.
  void orders(const std::string& text) const { std::ofstream(control_) << text; }

  /// Ends its process in the midst of whatever it does.
  void endServer() const {
    DWORD id = 0;
    if (!(std::ifstream(pidFile()) >> id)) return;
    const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, id);
    if (process) {
      orders("quit");
      EXPECT_EQ(WaitForSingleObject(process, 5000), WAIT_OBJECT_0);
      CloseHandle(process);
    }
    orders("");
    std::filesystem::remove(pidFile());
  }

  DWORD runServer(const std::wstring& arguments) const {
    std::wstring command = L"\"" + server_.wstring() + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(server_.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process)) {
      return GetLastError();
    }
    WaitForSingleObject(process.hProcess, 30000);
    DWORD exitCode = 1;
    GetExitCodeProcess(process.hProcess, &exitCode);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return exitCode;
  }

  std::unique_ptr<outlook::Automation> make(const Bounds& bounds = {}) {
    return makeOutlook([this](const std::string& line) { log.push_back(line); }, bounds);
  }

  /// The items of a folder; null when any step fails.
  struct Session {
    std::unique_ptr<outlook::Application> application;
    std::unique_ptr<outlook::NameSpace> nameSpace;
    std::unique_ptr<outlook::Folder> folder;
    std::unique_ptr<outlook::Items> items;
  };
  static Session open(outlook::Automation& automation, outlook::FolderNumber number) {
    Session session;
    session.application = automation.createObject("Outlook.Application");
    if (session.application) session.nameSpace = session.application->getNamespace("MAPI");
    if (session.nameSpace) session.folder = session.nameSpace->getDefaultFolder(number);
    if (session.folder) session.items = session.folder->items();
    return session;
  }

  // These end the test when there is nothing.
  static std::unique_ptr<outlook::Application> created(outlook::Automation& automation) {
    auto application = automation.createObject("Outlook.Application");
    if (!application) throw std::runtime_error("no application");
    return application;
  }
  static Session opened(outlook::Automation& automation, outlook::FolderNumber number) {
    Session session = open(automation, number);
    if (!session.items) throw std::runtime_error("the folder cannot be opened");
    return session;
  }

  template <typename Work>
  static milliseconds timeOf(Work work) {
    const auto before = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - before);
  }

  fakes::FakeOutlook sample;  ///< what the server holds when it has just started
  std::vector<std::string> log;

 private:
  std::filesystem::path pidFile() const { return control_.string() + ".pid"; }

  std::filesystem::path server_;
  std::filesystem::path control_;
};

}  // namespace kova::platform::com_outlook
