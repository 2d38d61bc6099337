#pragma once

#include <winsock2.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "base/call_queue.h"
#include "platform/event_loop.h"
#include "platform/machine.h"

namespace kova::platform::windows {

/// Hears of what a watched socket can do.
class SocketHandler {
 public:
  /// `event` is one of Windows Sockets' (FD_READ, FD_CLOSE and so on), `error` its error code or 0. Comes
  /// once per state, as WSAAsyncSelect has it. May end its own watch or any other one, and destroy itself.
  virtual void onSocket(int event, int error) = 0;

 protected:
  ~SocketHandler() = default;
};

/// Is called once at the end of a round.
class RoundEndHandler {
 public:
  virtual void onRoundEnd() = 0;

 protected:
  ~RoundEndHandler() = default;
};

/// Takes calls for the loop's thread from any thread. What comes when the loop is gone is thrown away.
class Mailbox {
 public:
  void post(std::function<void()> call);

 private:
  friend class WindowsEventLoop;
  std::mutex mutex_;
  std::vector<std::function<void()>> calls_;
  HWND window_ = nullptr;
};

/// The event loop on the messages of a hidden window: either run() fetches them, or whatever loop the thread
/// runs, the toolkit's or that of a message box.
///
/// Every message to the window is one round: what it brings, then the round-end handlers.
class WindowsEventLoop final : public EventLoop, public PumpedLoop {
 public:
  using SteadyTime = base::CallQueue::SteadyTime;

  /// A socket under watch, until destroyed or reset. The loop, the handler and the socket must outlive it. A
  /// watched socket does not block.
  class Watch {
   public:
    Watch() = default;
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    Watch(Watch&& other) noexcept;
    Watch& operator=(Watch&& other) noexcept;
    ~Watch() { reset(); }

    explicit operator bool() const { return loop_ != nullptr; }
    void setHandler(SocketHandler& handler);
    /// Brings an event that has been there, behind what is pending.
    void again(int event);
    /// No event comes after this, not even one that is already in the queue.
    void reset();
    /// Different for the watches that there are; 0 for none.
    UINT id() const { return id_; }

   private:
    friend class WindowsEventLoop;
    Watch(WindowsEventLoop& loop, UINT id) : loop_(&loop), id_(id) {}
    WindowsEventLoop* loop_ = nullptr;
    UINT id_ = 0;
  };

  WindowsEventLoop();
  ~WindowsEventLoop() override;
  WindowsEventLoop(const WindowsEventLoop&) = delete;
  WindowsEventLoop& operator=(const WindowsEventLoop&) = delete;

  /// A Timer may outlive the loop; its call then never comes.
  [[nodiscard]] std::unique_ptr<Timer> callAfter(std::chrono::milliseconds delay,
                                                 std::function<void()> callback) override;

  /// `events` are Windows Sockets'. Not set (operator bool) when the system refuses.
  [[nodiscard]] Watch watch(SOCKET socket, int events, SocketHandler& handler);
  bool watching(UINT watchId) const { return watches_.contains(watchId); }

  /// Calls `handler` once at the end of the round that is under way, or of the next one. The handler must
  /// outlive the loop or cancelRoundEnd().
  void callAtRoundEnd(RoundEndHandler& handler);
  void cancelRoundEnd(RoundEndHandler& handler) { std::erase(roundEndHandlers_, &handler); }

  const std::shared_ptr<Mailbox>& mailbox() const { return mailbox_; }

  void run() override;
  void quit() override { quit_ = true; }
  /// Goes round until `done` or until `limit` is over; quit() does not end it. True when done.
  bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);

  int descriptor() override { return -1; }
  void dispatchSlice() override {}

  /// The time at which the present round began; cheap.
  SteadyTime roundTime() const { return roundTime_; }
  std::uint64_t roundNumber() const { return roundNumber_; }

  /// The program is told to end: by another program ("taskkill"), or because the owner logs off.
  std::function<void()> onEnd;

 private:
  struct Watched {
    SocketHandler* handler = nullptr;
    SOCKET socket = INVALID_SOCKET;
  };

  static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM first, LPARAM second);
  LRESULT onMessage(UINT message, WPARAM first, LPARAM second);
  void onSocketMessage(UINT id, SOCKET socket, LPARAM what);
  void runPosted();
  void endRound();
  /// Sees to it that a message comes when the next call is due.
  void arm();

  HWND window_ = nullptr;
  std::shared_ptr<Mailbox> mailbox_ = std::make_shared<Mailbox>();
  std::unordered_map<UINT, Watched> watches_;
  UINT lastWatch_;
  base::CallQueue calls_;
  std::vector<RoundEndHandler*> roundEndHandlers_;
  SteadyTime roundTime_;
  SteadyTime armedFor_ = SteadyTime::max();
  std::uint64_t roundNumber_ = 0;
  std::uint64_t postedBefore_ = 0;
  bool callsPosted_ = false;
  bool inRound_ = false;
  bool quit_ = false;
};

}  // namespace kova::platform::windows
