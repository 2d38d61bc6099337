#include "platform/windows/line_output.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/windows_api/owners_only.h"

namespace kova::platform::windows {

struct WindowsLineOutput::Queue {
  std::mutex mutex;
  std::condition_variable changed;
  std::string lines;
  bool writing = false;
  bool ending = false;
  bool broken = false;
};

WindowsLineOutput::WindowsLineOutput(HANDLE handle) {
  if (!handle || handle == INVALID_HANDLE_VALUE) return;
  queue_ = std::make_shared<Queue>();
  try {
    std::thread([queue = queue_, handle] { write(queue, handle); }).detach();
  } catch (const std::system_error&) {
    queue_.reset();
  }
}

WindowsLineOutput::~WindowsLineOutput() {
  flush();
  if (!queue_) return;
  std::unique_lock lock(queue_->mutex);
  queue_->ending = true;
  queue_->changed.notify_all();
  queue_->changed.wait_for(lock, std::chrono::seconds(1),
                           [this] { return queue_->broken || (queue_->lines.empty() && !queue_->writing); });
}

bool WindowsLineOutput::flush() {
  if (!queue_) {
    added_.clear();
    return true;
  }
  const std::lock_guard lock(queue_->mutex);
  queue_->lines += added_;
  added_.clear();
  if (queue_->broken) queue_->lines.clear();
  if (queue_->lines.size() > kMaxKeptBytes) {
    const auto end = queue_->lines.find('\n', queue_->lines.size() - kMaxKeptBytes);
    queue_->lines.erase(0, end == std::string::npos ? end : end + 1);
  }
  queue_->changed.notify_all();
  // The thread goes on by itself.
  return true;
}

void WindowsLineOutput::write(const std::shared_ptr<Queue>& queue, HANDLE handle) {
  std::unique_lock lock(queue->mutex);
  while (!queue->broken) {
    queue->changed.wait(lock, [&queue] { return queue->ending || !queue->lines.empty(); });
    if (queue->lines.empty()) return;
    const std::string lines = std::exchange(queue->lines, {});
    queue->writing = true;
    lock.unlock();
    const bool written = windows_api::writeAll(handle, lines);
    lock.lock();
    queue->writing = false;
    queue->broken = !written;  // nobody reads any more
    queue->changed.notify_all();
  }
}

}  // namespace kova::platform::windows
