#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/com_outlook/values.h"

namespace kova::platform::com_outlook {

/// An object that the link's thread holds; 0 is none.
using ObjectId = unsigned;

struct Request {
  enum class Kind { kCreate, kMethod, kGet, kPut, kRelease };

  Kind kind = Kind::kRelease;
  ObjectId target = 0;              ///< none for kCreate
  std::wstring member;              ///< the program id for kCreate
  std::optional<Variant> argument;  ///< for kPut, and for methods that take one
};

struct Reply {
  HRESULT result = E_FAIL;
  std::string description;  ///< Outlook's own words for a failure, where it has any
  Variant value;            ///< what is no object
  ObjectId object = 0;      ///< the caller releases it
};

/// The thread that talks to Outlook. It holds the COM objects, none of which leaves it; requests are answered
/// one after another. An object that comes with an answer for which nobody waits any more is released; only
/// an application that comes late is kept for a minute, for the next kCreate: the session after one that
/// found Outlook still starting then finds it started.
///
/// Used by one other thread.
class Link {
 public:
  /// A request that Outlook refuses because it is busy is repeated for `busy`.
  explicit Link(std::chrono::milliseconds busy);
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;
  /// Releases all objects. A thread that waits for an answer of Outlook is left to itself after a second.
  ~Link();

  /// Empty when there was no answer in time.
  std::optional<Reply> ask(Request request, std::chrono::milliseconds limit);
  /// Does not wait.
  void release(ObjectId object);
  /// Outlook has still not answered a request for which nobody waits any more.
  bool waiting() const;

 private:
  struct Job {
    Request request;
    Reply reply;
    bool done = false;
    bool abandoned = false;
  };
  struct Queue {
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::shared_ptr<Job>> jobs;  ///< the first one is under way
    bool ending = false;
    bool ended = false;
  };

  // What the thread works with; it may outlive the link.
  class Objects;
  static void work(const std::shared_ptr<Queue>& queue, std::chrono::milliseconds busy);

  std::shared_ptr<Queue> queue_;
};

}  // namespace kova::platform::com_outlook
