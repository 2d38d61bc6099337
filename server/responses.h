#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "server/log.h"
#include "server/private_paths.h"
#include "server/slots.h"

namespace kova::server {

/// What the responses need of the program around them.
struct ResponseHost {
  std::function<std::string()> pageDirectory;
  /// See PrivatePaths.
  std::vector<std::string> privatePaths;
  /// Writes the deck that tells a phone that it cannot show a file, to a file of this name.
  std::function<void(const std::string& path)> writeNoSupportDeck;
};

/// Answers a request with a file: a file of the page directory, the configured image or a temporary deck. A
/// file goes out in pieces of 1024 bytes, as fast as the phone takes them; then the connection is closed.
class Responses {
 public:
  static constexpr std::size_t kPieceBytes = 1024;

  Responses(ClientSlots& slots, platform::Files& files, ServerLog& log, ResponseHost host);

  /// The file that the client's RequestPath names, whether it exists or not; empty when the path is one that
  /// a phone has asked for and leads, or could lead, out of the page directory.
  std::optional<std::string> fileOf(const ClientRecord& client);

  /// The file of a path in the page directory.
  std::string inPageDirectory(std::string_view path) const;

  /// The type of the client's file by its ending. A phone that does not accept the type gets
  /// "/nosupport.wml": the request is redirected there.
  std::string ContentType(int index);

  /// Opens the response file, puts the response header into SendBuffer and sets RequestState to found or
  /// missing. Writes nothing.
  void WriteResponseHeaders(int index);

  /// Sends what is due to the client, as far as the socket takes it, and ends the connection when all is
  /// sent. Called again for every write-ready event.
  void SendResponse(int index);

  /// Writes a text from byte SentPos on.
  void WriteString(int index, std::string_view text);

 private:
  void sendBody(int index);
  void finish(int index);
  /// Would-block and in-progress are logged and waited for (true); anything else drops the client.
  bool waitsAfterWriteError(int index, std::string_view wouldBlock, std::string_view inProgress);

  ClientSlots& slots_;
  platform::Files& files_;
  ServerLog& log_;
  ResponseHost host_;
  PrivatePaths privatePaths_;
};

}  // namespace kova::server
