#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "platform/outlook.h"

namespace kova::platform::com_outlook {

/// How long the caller's thread waits for Outlook at most.
struct Bounds {
  /// An Outlook that refuses a call because it is busy (a dialog stands open) is asked again for so long.
  std::chrono::milliseconds busy{3000};
  /// One call. Longer than `busy`, so that the refusal is what the log tells of.
  std::chrono::milliseconds call{5000};
  /// createObject, for which Outlook may have to start.
  std::chrono::milliseconds start{15000};
  /// All calls of one session together; the time between them does not count.
  std::chrono::milliseconds session{20000};
  /// After one of the bounds above was hit, sessions fail at once for so long, and for as long as Outlook has
  /// still not answered the call in question. So a hung Outlook holds the program up once.
  std::chrono::milliseconds rest{30000};
};

/// Takes one line of plain text per session that failed, without a line end.
using Log = std::function<void(const std::string& line)>;

/// The Outlook beside this program, by automation. Null when the program id "Outlook.Application" is not
/// registered. A session starts Outlook where it does not run.
///
/// All calls are made on a thread of their own, in the multi-threaded apartment, while the caller's thread
/// waits: no window message and no event is dispatched inside a call, and the caller's thread need not know
/// of COM. Everything here, the log included, is called on one thread. A refused sort is no failure.
///
/// The objects of a session may be dropped after the automation.
std::unique_ptr<outlook::Automation> makeOutlook(Log log, const Bounds& bounds = {});

}  // namespace kova::platform::com_outlook
