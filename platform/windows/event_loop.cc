#include "platform/windows/event_loop.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace kova::platform::windows {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr const wchar_t* kClassName = L"KovaWapEvents";
constexpr UINT_PTR kTimer = 1;

// The window's own messages. Every watch has one of its own, so that what is in the queue for a socket that
// is gone does not come to the next one of the same number.
constexpr UINT kCalls = WM_APP;
constexpr UINT kPosted = WM_APP + 1;
constexpr UINT kFirstWatch = WM_APP + 2;
constexpr UINT kLastWatch = 0xBFFF;

std::system_error failure(const char* what) {
  return {static_cast<int>(::GetLastError()), std::system_category(), what};
}

}  // namespace

void Mailbox::post(std::function<void()> call) {
  const std::lock_guard lock(mutex_);
  if (!window_) return;
  calls_.push_back(std::move(call));
  if (calls_.size() == 1) ::PostMessageW(window_, kPosted, 0, 0);
}

WindowsEventLoop::Watch::Watch(Watch&& other) noexcept
    : loop_(std::exchange(other.loop_, nullptr)), id_(std::exchange(other.id_, 0)) {}

WindowsEventLoop::Watch& WindowsEventLoop::Watch::operator=(Watch&& other) noexcept {
  if (this != &other) {
    reset();
    loop_ = std::exchange(other.loop_, nullptr);
    id_ = std::exchange(other.id_, 0);
  }
  return *this;
}

void WindowsEventLoop::Watch::setHandler(SocketHandler& handler) {
  if (loop_) loop_->watches_.at(id_).handler = &handler;
}

void WindowsEventLoop::Watch::again(int event) {
  if (!loop_) return;
  ::PostMessageW(loop_->window_, id_, static_cast<WPARAM>(loop_->watches_.at(id_).socket),
                 WSAMAKESELECTREPLY(event, 0));
}

void WindowsEventLoop::Watch::reset() {
  if (!loop_) return;
  ::WSAAsyncSelect(loop_->watches_.at(id_).socket, loop_->window_, 0, 0);
  loop_->watches_.erase(id_);
  loop_ = nullptr;
  id_ = 0;
}

WindowsEventLoop::WindowsEventLoop() : lastWatch_(kLastWatch), roundTime_(steady_clock::now()) {
  WNDCLASSEXW type{};
  type.cbSize = sizeof type;
  type.lpfnWndProc = &windowProcedure;
  type.hInstance = ::GetModuleHandleW(nullptr);
  type.lpszClassName = kClassName;
  // A program without its event loop cannot even say so; this ends it at its start.
  if (::RegisterClassExW(&type) == 0 && ::GetLastError() != ERROR_CLASS_ALREADY_EXISTS)
    throw failure("RegisterClassEx");
  // Rather not one for messages only: to those nobody says that the session ends.
  for (const HWND parent : {HWND{}, HWND_MESSAGE}) {
    if (window_) break;
    window_ = ::CreateWindowExW(WS_EX_TOOLWINDOW, kClassName, L"", WS_POPUP, 0, 0, 0, 0, parent, nullptr,
                                type.hInstance, nullptr);
  }
  if (!window_) throw failure("CreateWindowEx");
  ::SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  mailbox_->window_ = window_;
}

WindowsEventLoop::~WindowsEventLoop() {
  {
    const std::lock_guard lock(mailbox_->mutex_);
    mailbox_->window_ = nullptr;
    mailbox_->calls_.clear();
  }
  ::SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
  ::DestroyWindow(window_);
}

std::unique_ptr<EventLoop::Timer> WindowsEventLoop::callAfter(milliseconds delay,
                                                              std::function<void()> callback) {
  auto call = calls_.add(delay, std::move(callback));
  arm();
  return call;
}

WindowsEventLoop::Watch WindowsEventLoop::watch(SOCKET socket, int events, SocketHandler& handler) {
  if (watches_.size() > kLastWatch - kFirstWatch) return {};
  do {
    lastWatch_ = lastWatch_ == kLastWatch ? kFirstWatch : lastWatch_ + 1;
  } while (watches_.contains(lastWatch_));
  const UINT id = lastWatch_;
  watches_[id] = {&handler, socket};
  if (::WSAAsyncSelect(socket, window_, id, events) != 0) {
    watches_.erase(id);
    return {};
  }
  return {*this, id};
}

void WindowsEventLoop::callAtRoundEnd(RoundEndHandler& handler) {
  if (std::ranges::find(roundEndHandlers_, &handler) != roundEndHandlers_.end()) return;
  roundEndHandlers_.push_back(&handler);
  arm();
}

void WindowsEventLoop::run() {
  MSG message{};
  while (!quit_ && ::GetMessageW(&message, nullptr, 0, 0) > 0) {
    ::TranslateMessage(&message);
    ::DispatchMessageW(&message);
  }
  quit_ = false;
}

bool WindowsEventLoop::runUntil(const std::function<bool()>& done, milliseconds limit) {
  const SteadyTime end = steady_clock::now() + limit;
  while (!done()) {
    MSG message{};
    if (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
      ::TranslateMessage(&message);
      ::DispatchMessageW(&message);
      continue;
    }
    const SteadyTime now = steady_clock::now();
    if (now >= end) return false;
    const auto left = std::min<long long>(std::chrono::ceil<milliseconds>(end - now).count(), INFINITE - 1);
    ::MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(left), QS_ALLINPUT);
  }
  return true;
}

LRESULT CALLBACK WindowsEventLoop::windowProcedure(HWND window, UINT message, WPARAM first, LPARAM second) {
  auto* const loop = reinterpret_cast<WindowsEventLoop*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  return loop ? loop->onMessage(message, first, second) : ::DefWindowProcW(window, message, first, second);
}

LRESULT WindowsEventLoop::onMessage(UINT message, WPARAM first, LPARAM second) {
  const bool ending = message == WM_CLOSE || (message == WM_ENDSESSION && first != 0);
  const bool ours = ending || message == WM_TIMER || (message >= kCalls && message <= kLastWatch);
  if (!ours) return ::DefWindowProcW(window_, message, first, second);
  if (inRound_) {
    // Somebody fetches messages inside one of our callbacks; one thread's order is not turned upside down.
    if (message != WM_TIMER) ::PostMessageW(window_, message, first, second);
    return 0;
  }
  inRound_ = true;
  ++roundNumber_;
  roundTime_ = steady_clock::now();
  if (ending) {
    if (onEnd) onEnd();
  } else if (message == kPosted) {
    runPosted();
  } else if (message >= kFirstWatch) {
    onSocketMessage(message, static_cast<SOCKET>(first), second);
  } else {
    // What was asked for since the message was posted comes behind what was pending then.
    const bool posted = message == kCalls && std::exchange(callsPosted_, false);
    calls_.runDue(posted ? postedBefore_ : calls_.nextSequence());
  }
  endRound();
  inRound_ = false;
  arm();
  return 0;
}

void WindowsEventLoop::onSocketMessage(UINT id, SOCKET socket, LPARAM what) {
  const auto found = watches_.find(id);
  // A connection that nobody has taken yet reports under the number of its listener.
  if (found == watches_.end() || found->second.socket != socket) return;
  found->second.handler->onSocket(WSAGETSELECTEVENT(what), WSAGETSELECTERROR(what));
}

void WindowsEventLoop::runPosted() {
  std::vector<std::function<void()>> calls;
  {
    const std::lock_guard lock(mailbox_->mutex_);
    calls.swap(mailbox_->calls_);
  }
  for (const auto& call : calls) call();
}

void WindowsEventLoop::endRound() {
  while (!roundEndHandlers_.empty()) {
    RoundEndHandler* const handler = roundEndHandlers_.back();
    roundEndHandlers_.pop_back();
    handler->onRoundEnd();
  }
}

void WindowsEventLoop::arm() {
  if (inRound_ || callsPosted_) return;
  const int wait = roundEndHandlers_.empty() ? calls_.timeToNextMs() : 0;
  // A timer's message comes only when there is no other, which a busy server would never see.
  if (wait == 0) {
    callsPosted_ = ::PostMessageW(window_, kCalls, 0, 0) != 0;
    postedBefore_ = calls_.nextSequence();
    if (callsPosted_) return;
  }
  const SteadyTime due = calls_.nextDue().value_or(SteadyTime::max());
  if (due == armedFor_ && wait != 0) return;
  armedFor_ = due;
  if (due == SteadyTime::max() && wait != 0) {
    ::KillTimer(window_, kTimer);
  } else {
    ::SetTimer(window_, kTimer, static_cast<UINT>(wait), nullptr);
  }
}

}  // namespace kova::platform::windows
