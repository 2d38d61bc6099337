#include "server/responses.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "server/route_names.h"

namespace kova::server {

namespace {

constexpr std::string_view kWmlType = "text/vnd.wap.wml";
constexpr std::string_view kNotFoundText = "Error 404: The Page is not available.";

std::string_view typeOfExtension(std::string_view extension) {
  static constexpr std::pair<std::string_view, std::string_view> kTypes[] = {
      {"htm", "text/html"},  {"html", "text/html"},      {"png", "image/png"}, {"bmp", "image/bmp"},
      {"jpg", "image/jpeg"}, {"gif", "image/gif"},       {"txt", "text/txt"},  {"wml", kWmlType},
      {"tmp", kWmlType},     {"exe", "application/exe"},
  };
  for (const auto& [ending, type] : kTypes) {
    if (extension == ending) return type;
  }
  return "application/octet-stream";
}

/// True when a path asked for by a phone leads out of the page directory on some system or other.
bool leadsOut(std::string_view path) {
  if (path.find(':') != std::string_view::npos) return true;
  while (true) {
    const auto end = path.find_first_of("/\\");
    if (path.substr(0, end) == "..") return true;
    if (end == std::string_view::npos) return false;
    path.remove_prefix(end + 1);
  }
}

}  // namespace

Responses::Responses(ClientSlots& slots, platform::Files& files, ServerLog& log, ResponseHost host)
    : slots_(slots),
      files_(files),
      log_(log),
      host_(std::move(host)),
      privatePaths_(files, host_.privatePaths) {}

std::string Responses::inPageDirectory(std::string_view path) const {
  std::string file = host_.pageDirectory();
  const auto isSeparator = [this](char c) { return c == '/' || c == files_.separator(); };
  const bool ends = !file.empty() && isSeparator(file.back());
  const bool begins = !path.empty() && isSeparator(path.front());
  if (ends && begins) path.remove_prefix(1);
  // Without a separator "pages" and "-old/x" would name a neighbour of the page directory.
  if (!ends && !begins) file += files_.separator();
  return file.append(path);
}

std::optional<std::string> Responses::fileOf(const ClientRecord& client) {
  if (client.Kind == PathKind::kImage) return client.RequestPath;
  if (client.Kind == PathKind::kRequested) {
    const auto name = files_.nameBelow(client.RequestPath);
    if (!name || leadsOut(client.RequestPath)) return std::nullopt;
    // Another phone's deck may hold what that phone gave a PIN for.
    if (namesTemporaryDeck(*name)) return std::nullopt;
    if (privatePaths_.hold(host_.pageDirectory(), *name)) return std::nullopt;
  }
  return inPageDirectory(client.RequestPath);
}

std::string Responses::ContentType(int index) {
  ClientRecord& client = slots_.client(index);
  const auto dot = client.RequestPath.rfind('.');
  const std::string_view path = client.RequestPath;
  const std::string_view type =
      typeOfExtension(dot == std::string::npos ? std::string_view() : path.substr(dot + 1));
  if (client.AcceptHeader.find(type) != std::string::npos || client.AcceptHeader == "text/html") {
    return std::string(type);
  }
  client.RequestPath = "/nosupport.wml";
  client.Kind = PathKind::kRequested;
  // kept: written to the current directory, sent from the page directory.
  host_.writeNoSupportDeck("nosupport.wml");
  return std::string(kWmlType);
}

void Responses::WriteResponseHeaders(int index) {
  ClientRecord& client = slots_.client(index);
  const std::string type = ContentType(index);

  platform::FileResult<std::unique_ptr<platform::InputFile>> opened;
  opened.error = platform::file_error::kNotFound;
  if (const auto path = fileOf(client)) opened = files_.open(*path);
  if (!opened) {
    log_.LogError("File Availability Error: " + client.RequestPath + "  #", opened.error,
                  slots_.sockServer(index).peerAddress(), client.SentPos);
  }
  // The file that is measured here is the one that is sent, whatever happens to its name meanwhile.
  client.FileNumber = opened ? std::move(*opened.value) : nullptr;
  const std::int64_t length = client.FileNumber ? client.FileNumber->length() : 0;

  std::string& header = client.SendBuffer;
  header = opened ? "HTTP/1.1 200 OK\r\n" : "HTTP/1.1 404 Not found\r\n";
  header.append("Content-Type: ").append(type).append(base::kCrLf);
  header.append("Cache-Control: no-cache, must-revalidate\r\n");
  header.append("Pragma: no-cache\r\n");
  header.append("Content-Length: ").append(std::to_string(length)).append(base::kCrLf);
  header.append(base::kCrLf);
  client.RequestState = opened ? kFoundHeaderQueued : kMissingHeaderQueued;
}

void Responses::SendResponse(int index) {
  ClientRecord& client = slots_.client(index);
  if (client.RequestState == kIdle) return;
  if (client.RequestState == kFoundHeaderQueued) {
    client.RequestState = kSendingBody;
    client.Announced = false;
    client.SentPos = 1;
  }
  if (client.RequestState == kSendingBody) {
    sendBody(index);
    return;
  }
  // A missing file of the page directory is answered by closing: its queued header is not sent.
  if (client.RequestState == kSendingNotFoundText) WriteString(index, kNotFoundText);
  finish(index);
}

void Responses::sendBody(int index) {
  ClientRecord& client = slots_.client(index);
  platform::Socket& socket = slots_.sockServer(index);

  const std::int64_t length = client.FileNumber->length();
  if (!std::exchange(client.Announced, true))
    log_.LogLine("Sending " + std::to_string(length) + " bytes to client " + std::to_string(index));

  // kept: the test is "longer than the 1-based position", so a file of 0 or 1 bytes sends nothing at all, and
  // the last byte is lost whenever the length is one more than a multiple of the piece.
  while (length > client.SentPos) {
    // Whoever is not ready gets the rest from its write-ready event.
    if (!socket.readyToWrite()) return;
    const auto left = static_cast<std::size_t>(length + 1 - client.SentPos);
    const std::size_t piece = std::min(left, kPieceBytes);
    const std::int64_t offset = client.SentPos - 1;
    // kept: a piece counts as sent before it is; one that the socket refuses is not sent again.
    client.SentPos += static_cast<std::int64_t>(piece);
    const std::string header = std::exchange(client.SendBuffer, {});
    if (socket.writeFile(header, client.FileNumber, offset, piece) < 0) {
      if (socket.lastError() == platform::socket_error::kFileUnreadable) {
        slots_.DropClient(index, "File error occurred during reading of file: " + client.RequestPath);
        slots_.onStateChanged();
        return;
      }
      waitsAfterWriteError(index, "WOULDBLOCK error occurred: Error #", "INPROGRESS error occurred: Error #");
      return;
    }
  }

  client.FileNumber.reset();
  // A temporary deck goes with its client.
  if (client.Kind == PathKind::kRequested && client.RequestPath.ends_with(".tmp")) {
    if (const auto file = fileOf(client)) files_.remove(*file);
  }
  finish(index);
}

void Responses::finish(int index) {
  slots_.DropClient(index, "Finished sending data");
  slots_.onStateChanged();
}

bool Responses::waitsAfterWriteError(int index, std::string_view wouldBlock, std::string_view inProgress) {
  ClientRecord& client = slots_.client(index);
  platform::Socket& socket = slots_.sockServer(index);
  const int error = socket.lastError();
  if (error == platform::socket_error::kWouldBlock || error == platform::socket_error::kInProgress) {
    log_.LogError(error == platform::socket_error::kWouldBlock ? wouldBlock : inProgress, error,
                  socket.peerAddress(), client.SentPos);
    client.Announced = false;
    return true;
  }
  client.FileNumber.reset();
  slots_.DropClient(index, "Error occurred during request state #" + std::to_string(client.RequestState) +
                               ": Error #" + std::to_string(error));
  slots_.onStateChanged();
  return false;
}

void Responses::WriteString(int index, std::string_view text) {
  ClientRecord& client = slots_.client(index);
  platform::Socket& socket = slots_.sockServer(index);
  const auto drop = [&] {
    text.remove_prefix(
        std::min(text.size(), static_cast<std::size_t>(std::max<std::int64_t>(client.SentPos, 0))));
  };
  drop();
  while (!text.empty()) {
    const long written = socket.write(text);
    if (written < 0) {
      waitsAfterWriteError(index, "WOULDBLOCK error occurred during writing of the headers: Error #",
                           "WSAEINPROGRESS error occurred during writing of the headers: Error #");
      return;
    }
    if (written == 0) return;
    client.SentPos = written;
    drop();
  }
}

}  // namespace kova::server
