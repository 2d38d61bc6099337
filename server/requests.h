#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/task.h"
#include "platform/event_loop.h"
#include "server/dispatch.h"
#include "server/log.h"
#include "server/slots.h"

namespace kova::server {

inline constexpr std::string_view kParseError = "Error occurred while parsing the GET command";

/// Decodes the percent escapes behind the first "?" of a path (of the whole text when it has none); "+"
/// stays. Empty when a "%" is not followed by two hexadecimal digits.
std::optional<std::string> converthexa(std::string_view text);

/// Gathers the pieces of a client's request, parses it when it is complete, and has it answered. A connection
/// has one request; what comes behind it is read and thrown away.
class Requests {
 public:
  /// At most this much is read at a read event.
  static constexpr std::size_t kReadBytes = 2048;
  /// A request that is longer is no request.
  static constexpr std::size_t kMaxRequestBytes = 65536;

  Requests(platform::EventLoop& loop, ClientSlots& slots, ServerLog& log, Dispatcher& dispatcher);

  /// A client has this long from its connection to its whole request.
  static constexpr std::chrono::seconds kTimeForRequest{60};

  /// The connect event of a client slot.
  void connected(int index);

  /// The end of the program: what is under way for any client stops where it waits.
  void stop() { tasks_.clear(); }

  /// The read event of a client slot.
  void read(int index);

 private:
  /// What has been read for one slot and waits for its turn.
  struct Arrivals {
    std::uint64_t generation = 0;
    std::deque<std::string> pieces;
    bool underWay = false;  ///< a collect() is at work on them
    bool taken = false;     ///< the request is complete
    std::unique_ptr<platform::EventLoop::Timer> deadline;
  };

  Arrivals& arrivals(int index);
  base::Task<> collect(int index, std::uint64_t generation);
  base::Task<> HandleGetRequest(int index);
  base::Task<> PostCommand(int index);
  /// Takes the path and the rest of the request line off RequestText; empty when the client was dropped for
  /// it.
  std::optional<std::string> parseRequestLine(int index, std::size_t methodLength);
  /// Reads the header lines in RequestText, which is empty afterwards. A POST ends its header lines with an
  /// empty one; the result is what follows it. In a GET nothing does.
  std::string parseHeaders(int index, bool endsAtEmptyLine);
  void drop(int index, std::string_view reason, int error = 0);

  platform::EventLoop& loop_;
  ClientSlots& slots_;
  ServerLog& log_;
  Dispatcher& dispatcher_;
  std::deque<Arrivals> arrivals_;
  std::string buffer_;
  base::TaskGroup tasks_;
};

}  // namespace kova::server
