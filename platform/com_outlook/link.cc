#include "platform/com_outlook/link.h"

#include <algorithm>
#include <functional>
#include <map>
#include <thread>
#include <utility>

#include "platform/windows_api/utf16.h"

namespace kova::platform::com_outlook {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr LCID kLocale = MAKELCID(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), SORT_DEFAULT);
constexpr milliseconds kBeforeNextTry{100};
constexpr milliseconds kKeepsLateApplication{60000};
constexpr milliseconds kWaitsAtEnd{1000};

/// COM on this thread.
class Apartment {
 public:
  Apartment() : result_(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;
  ~Apartment() {
    if (SUCCEEDED(result_)) CoUninitialize();
  }

 private:
  HRESULT result_;  ///< a failure shows in every call that follows
};

struct ExceptionInfo : EXCEPINFO {
  ExceptionInfo() : EXCEPINFO{} {}
  ExceptionInfo(const ExceptionInfo&) = delete;
  ExceptionInfo& operator=(const ExceptionInfo&) = delete;
  ~ExceptionInfo() {
    SysFreeString(bstrSource);
    SysFreeString(bstrDescription);
    SysFreeString(bstrHelpFile);
  }
};

bool isBusy(HRESULT result) { return result == RPC_E_CALL_REJECTED || result == RPC_E_SERVERCALL_RETRYLATER; }

/// What creating an object gives while an Outlook before this one is ending, or is found to have ended.
bool hasJustEnded(HRESULT result) {
  return result == HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE) ||
         result == HRESULT_FROM_WIN32(RPC_S_CALL_FAILED) || result == CO_E_SERVER_STOPPING;
}

/// Repeats a call that Outlook has refused without having begun with it.
HRESULT repeat(bool (*again)(HRESULT), steady_clock::time_point deadline,
               const std::function<HRESULT()>& call) {
  while (true) {
    const HRESULT result = call();
    if (!again(result) || steady_clock::now() + kBeforeNextTry > deadline) return result;
    std::this_thread::sleep_for(kBeforeNextTry);
  }
}

}  // namespace

class Link::Objects {
 public:
  explicit Objects(milliseconds busy) : busy_(busy) {}

  Reply perform(Request& request) {
    Reply reply;
    const auto deadline = steady_clock::now() + busy_;
    switch (request.kind) {
      case Request::Kind::kCreate:
        reply.result = create(request, reply, deadline);
        break;
      case Request::Kind::kRelease:
        objects_.erase(request.target);
        reply.result = S_OK;
        break;
      default:
        reply.result = invoke(request, reply, deadline);
    }
    return reply;
  }

  void dropLate(const Request& request, const Reply& reply) {
    if (!reply.object) return;
    if (request.kind == Request::Kind::kCreate) {
      objects_.erase(std::exchange(lateApplication_, reply.object));
    } else {
      objects_.erase(reply.object);
    }
  }
  bool keepsLateApplication() const { return lateApplication_ != 0; }
  void forgetLateApplication() { objects_.erase(std::exchange(lateApplication_, 0)); }

 private:
  struct Object {
    Ref<IDispatch> dispatch;
    std::map<std::wstring, DISPID> members;  ///< those that were asked for
  };

  ObjectId add(Ref<IDispatch> dispatch) {
    while (++lastId_ == 0 || objects_.contains(lastId_)) {
    }
    objects_[lastId_].dispatch = std::move(dispatch);
    return lastId_;
  }

  HRESULT create(const Request& request, Reply& reply, steady_clock::time_point deadline) {
    if (lateApplication_) {
      reply.object = std::exchange(lateApplication_, 0);
      return S_OK;
    }
    CLSID id;
    const HRESULT known = CLSIDFromProgID(request.member.c_str(), &id);
    if (FAILED(known)) return known;
    IDispatch* application = nullptr;
    const HRESULT result = repeat([](HRESULT r) { return isBusy(r) || hasJustEnded(r); }, deadline,
                                  [&] {
                                    return CoCreateInstance(id, nullptr, CLSCTX_LOCAL_SERVER, IID_IDispatch,
                                                            reinterpret_cast<void**>(&application));
                                  });
    if (SUCCEEDED(result)) reply.object = add(Ref<IDispatch>(application));
    return result;
  }

  HRESULT invoke(Request& request, Reply& reply, steady_clock::time_point deadline) {
    const auto found = objects_.find(request.target);
    if (found == objects_.end()) return E_POINTER;
    Object& object = found->second;

    auto member = object.members.find(request.member);
    if (member == object.members.end()) {
      std::wstring name = request.member;
      wchar_t* names[] = {name.data()};
      DISPID id = DISPID_UNKNOWN;
      const HRESULT known = repeat(
          isBusy, deadline, [&] { return object.dispatch->GetIDsOfNames(IID_NULL, names, 1, kLocale, &id); });
      if (FAILED(known)) return known;
      member = object.members.emplace(std::move(name), id).first;
    }

    const bool put = request.kind == Request::Kind::kPut;
    DISPID putName = DISPID_PROPERTYPUT;
    DISPPARAMS parameters{};
    if (request.argument) {
      parameters.rgvarg = &request.argument->raw();
      parameters.cArgs = 1;
    }
    if (put) {
      parameters.rgdispidNamedArgs = &putName;
      parameters.cNamedArgs = 1;
    }
    const WORD flags = put                                   ? DISPATCH_PROPERTYPUT
                       : request.kind == Request::Kind::kGet ? DISPATCH_PROPERTYGET
                                                             : DISPATCH_METHOD;
    Variant value;
    const HRESULT result = repeat(isBusy, deadline, [&] {
      ExceptionInfo exception;
      UINT badArgument = 0;
      value = Variant();
      const HRESULT called = object.dispatch->Invoke(member->second, IID_NULL, kLocale, flags, &parameters,
                                                     put ? nullptr : &value.raw(), &exception, &badArgument);
      if (called != DISP_E_EXCEPTION) return called;
      if (exception.pfnDeferredFillIn) exception.pfnDeferredFillIn(&exception);
      if (exception.bstrDescription) {
        reply.description =
            windows_api::toUtf8({exception.bstrDescription, SysStringLen(exception.bstrDescription)});
      }
      return FAILED(exception.scode) ? static_cast<HRESULT>(exception.scode) : called;
    });
    if (FAILED(result)) return result;
    if (auto child = value.object()) {
      if (*child) reply.object = add(std::move(*child));
    } else {
      reply.value = std::move(value);
    }
    return result;
  }

  milliseconds busy_;
  std::map<ObjectId, Object> objects_;
  ObjectId lastId_ = 0;
  ObjectId lateApplication_ = 0;
};

void Link::work(const std::shared_ptr<Queue>& queue, milliseconds busy) {
  {
    const Apartment apartment;
    Objects objects(busy);
    std::unique_lock lock(queue->mutex);
    while (true) {
      const auto hasWork = [&] { return queue->ending || !queue->jobs.empty(); };
      if (!objects.keepsLateApplication()) {
        queue->changed.wait(lock, hasWork);
      } else if (!queue->changed.wait_for(lock, kKeepsLateApplication, hasWork)) {
        lock.unlock();
        objects.forgetLateApplication();
        lock.lock();
        continue;
      }
      if (queue->ending) break;

      const std::shared_ptr<Job> job = queue->jobs.front();
      if (!job->abandoned) {
        lock.unlock();
        Reply reply = objects.perform(job->request);
        lock.lock();
        if (job->abandoned) {
          lock.unlock();
          objects.dropLate(job->request, reply);
          lock.lock();
        } else {
          job->reply = std::move(reply);
          job->done = true;
        }
      }
      queue->jobs.pop_front();
      queue->changed.notify_all();
    }
  }
  const std::lock_guard lock(queue->mutex);
  queue->ended = true;
  queue->changed.notify_all();
}

Link::Link(milliseconds busy) : queue_(std::make_shared<Queue>()) {
  // On its own from the start: whether it ever returns is up to Outlook.
  std::thread([queue = queue_, busy] { work(queue, busy); }).detach();
}

Link::~Link() {
  std::unique_lock lock(queue_->mutex);
  queue_->ending = true;
  queue_->changed.notify_all();
  queue_->changed.wait_for(lock, kWaitsAtEnd, [this] { return queue_->ended; });
}

std::optional<Reply> Link::ask(Request request, milliseconds limit) {
  const auto job = std::make_shared<Job>();
  job->request = std::move(request);
  std::unique_lock lock(queue_->mutex);
  queue_->jobs.push_back(job);
  queue_->changed.notify_all();
  if (queue_->changed.wait_for(lock, limit, [&] { return job->done; })) return std::move(job->reply);
  job->abandoned = true;
  return std::nullopt;
}

void Link::release(ObjectId object) {
  if (!object) return;
  const auto job = std::make_shared<Job>();
  job->request.kind = Request::Kind::kRelease;
  job->request.target = object;
  const std::lock_guard lock(queue_->mutex);
  queue_->jobs.push_back(job);
  queue_->changed.notify_all();
}

bool Link::waiting() const {
  const std::lock_guard lock(queue_->mutex);
  return std::any_of(queue_->jobs.begin(), queue_->jobs.end(),
                     [](const std::shared_ptr<Job>& job) { return job->abandoned; });
}

}  // namespace kova::platform::com_outlook
