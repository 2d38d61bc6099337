#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/files.h"

namespace kova::server {

/// What is due to be sent to a client.
enum RequestState : std::int16_t {
  kIdle = 0,
  kFoundHeaderQueued = 1,
  kMissingHeaderQueued = 2,
  kSendingBody = 3,
  kSendingNotFoundText = 4,
};

/// What a request path names.
enum class PathKind {
  kRequested,      ///< as the phone asked for it: a name inside the page directory, or nothing
  kTemporaryDeck,  ///< a deck that a page builder made for this request; deleted after sending
  kImage,          ///< the configured image, an absolute file name
};

/// One client's request and answer, from accept to DropClient. Text is bytes as they come from the network.
struct ClientRecord {
  /// 1-based position of the next byte of the response file; in a text write, the count of the last write.
  std::int64_t SentPos = 0;
  /// The open response file, whose bytes the socket may still be sending when the record is done with it;
  /// null when none.
  std::shared_ptr<platform::InputFile> FileNumber;
  std::int16_t RequestState = kIdle;
  /// The log says what is being sent.
  bool Announced = false;
  /// Response header that is not written yet.
  std::string SendBuffer;
  /// Path of the file to send, in the page directory unless PathKind says otherwise.
  std::string RequestPath;
  /// The first piece of a request began with "GET " or "POST ".
  bool RequestStarted = false;
  std::string RequestText;
  /// Value of the "Accept: " line. Kept: a slot that is used again keeps its last client's value.
  std::string AcceptHeader;

  PathKind Kind = PathKind::kRequested;
  /// File name of the deck that is made for this request, removed with the request's end; empty when none.
  std::string TemporaryDeck;
};

/// Makes a record ready for the next client; AcceptHeader stays.
void ResetClientRecord(ClientRecord& record);

}  // namespace kova::server
