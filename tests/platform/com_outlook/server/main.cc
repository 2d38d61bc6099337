// test_outlook: an automation server that stands in for Outlook in tests.
//   test_outlook /register [--folder DIR] [--control FILE]   become "Outlook.Application" of this machine
//   test_outlook /unregister
// Without either it serves, as COM starts it, until nobody has called for half a minute. --folder: the data,
// kept as ordinary files; without it a few items in memory. --control: see control.h.

#include <windows.h>

#include <objbase.h>
#include <objidl.h>
#include <shellapi.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include "platform/com_outlook/sample_outlook.h"
#include "platform/com_outlook/server/control.h"
#include "platform/com_outlook/server/data.h"
#include "platform/com_outlook/server/object_model.h"
#include "platform/com_outlook/server/registration.h"

namespace kova::test_outlook {

namespace {

constexpr UINT kCheckMs = 50;
constexpr ULONGLONG kIdleLimitMs = 30000;

struct Options {
  bool registers = false;
  bool unregisters = false;
  std::filesystem::path folder;
  std::filesystem::path control;
};

Options readOptions() {
  Options options;
  int count = 0;
  wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
  for (int i = 1; i < count; ++i) {
    const std::wstring word = words[i];
    if (word == L"/register") options.registers = true;
    if (word == L"/unregister") options.unregisters = true;
    if (word == L"--folder" && i + 1 < count) options.folder = std::filesystem::absolute(words[++i]);
    if (word == L"--control" && i + 1 < count) options.control = std::filesystem::absolute(words[++i]);
  }
  LocalFree(words);
  return options;
}

int registerWith(const Options& options) {
  wchar_t program[MAX_PATH];
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  std::wstring command = L"\"" + std::wstring(program) + L"\"";
  if (!options.folder.empty()) command += L" --folder \"" + options.folder.wstring() + L"\"";
  if (!options.control.empty()) command += L" --control \"" + options.control.wstring() + L"\"";
  if (registerServer(command)) return EXIT_SUCCESS;
  std::cerr << "test_outlook: some other program is Outlook.Application, or its name may not be taken\n";
  return EXIT_FAILURE;
}

/// An object of the server's own that lives as long as the process.
template <typename Interface>
class Permanent : public Interface {
 public:
  virtual ~Permanent() = default;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** result) override {
    *result = nullptr;
    if (id != IID_IUnknown && id != __uuidof(Interface)) return E_NOINTERFACE;
    *result = static_cast<Interface*>(this);
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
};

class Factory final : public Permanent<IClassFactory> {
 public:
  explicit Factory(const Model& model) : model_(model) {}

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** result) override {
    *result = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    hang(model_, "CreateInstance");
    if (const auto code = model_.control.order("fail", "CreateInstance")) {
      return static_cast<HRESULT>(std::strtoul(code->c_str(), nullptr, 16));
    }
    IDispatch* const application = makeApplication(model_);
    if (!application) return E_FAIL;
    const HRESULT found = application->QueryInterface(id, result);
    application->Release();
    return found;
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

 private:
  const Model model_;
};

/// Refuses calls as a program does whose dialog stands open.
class Filter final : public Permanent<IMessageFilter> {
 public:
  explicit Filter(const Control& control) : control_(control) {}

  DWORD STDMETHODCALLTYPE HandleInComingCall(DWORD, HTASK, DWORD, LPINTERFACEINFO) override {
    lastCall_ = GetTickCount64();
    return control_.order("busy") ? SERVERCALL_REJECTED : SERVERCALL_ISHANDLED;
  }
  DWORD STDMETHODCALLTYPE RetryRejectedCall(HTASK, DWORD, DWORD) override { return static_cast<DWORD>(-1); }
  DWORD STDMETHODCALLTYPE MessagePending(HTASK, DWORD, DWORD) override { return PENDINGMSG_WAITDEFPROCESS; }

  bool idle() const { return GetTickCount64() - lastCall_ > kIdleLimitMs; }

 private:
  const Control& control_;
  ULONGLONG lastCall_ = GetTickCount64();
};

int serve(const Options& options) {
  const Control control(options.control);
  fakes::FakeOutlook sample;
  fillSample(sample);
  std::unique_ptr<platform::outlook::Automation> folders;
  if (!options.folder.empty()) folders = folderData(options.folder.string());

  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  DWORD registered = 0;
  // Wine goes on offering the class of a process that has not taken it back. The objects that clients still
  // hold go with the process.
  const auto end = [&registered] {
    CoRevokeClassObject(registered);
    ExitProcess(EXIT_SUCCESS);
  };
  Factory factory({folders ? *folders : sample, control, end});
  Filter filter(control);
  CoRegisterMessageFilter(&filter, nullptr);
  if (FAILED(
          CoRegisterClassObject(kClassId, &factory, CLSCTX_LOCAL_SERVER, REGCLS_MULTIPLEUSE, &registered))) {
    return EXIT_FAILURE;
  }
  SetTimer(nullptr, 0, kCheckMs, nullptr);
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0 && !filter.idle() && !control.order("quit")) {
    DispatchMessageW(&message);
  }
  end();
  return EXIT_SUCCESS;
}

}  // namespace

}  // namespace kova::test_outlook

int main() {
  using namespace kova::test_outlook;
  const Options options = readOptions();
  if (options.registers) return registerWith(options);
  if (options.unregisters) {
    unregisterServer();
    return EXIT_SUCCESS;
  }
  return serve(options);
}
