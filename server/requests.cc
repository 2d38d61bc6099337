#include "server/requests.h"

#include <algorithm>
#include <utility>

#include "base/number.h"
#include "base/text.h"
#include "base/wait.h"

namespace kova::server {

namespace {

constexpr std::string_view kGet = "GET ";
constexpr std::string_view kPost = "POST ";

}  // namespace

std::optional<std::string> converthexa(std::string_view text) {
  const auto question = text.find('?');
  const std::size_t begin = question == std::string_view::npos ? 0 : question + 1;
  std::string decoded(text.substr(0, begin));
  for (std::size_t at = begin; at < text.size(); ++at) {
    if (text[at] != '%') {
      decoded += text[at];
      continue;
    }
    if (at + 2 >= text.size()) return std::nullopt;
    const auto code = base::hexNumber(text.substr(at + 1, 2));
    if (!code) return std::nullopt;
    decoded += static_cast<char>(*code);
    at += 2;
  }
  return decoded;
}

Requests::Requests(platform::EventLoop& loop, ClientSlots& slots, ServerLog& log, Dispatcher& dispatcher)
    : loop_(loop), slots_(slots), log_(log), dispatcher_(dispatcher) {}

Requests::Arrivals& Requests::arrivals(int index) {
  const auto at = static_cast<std::size_t>(index);
  if (at >= arrivals_.size()) arrivals_.resize(at + 1);
  Arrivals& found = arrivals_[at];
  if (found.generation != slots_.generation(index)) {
    found = Arrivals();
    found.generation = slots_.generation(index);
  }
  return found;
}

void Requests::connected(int index) {
  const std::uint64_t generation = slots_.generation(index);
  // Whoever connects and asks for nothing must not keep a place from the others.
  arrivals(index).deadline = loop_.callAfter(kTimeForRequest, [this, index, generation] {
    if (slots_.serves(index, generation)) drop(index, kParseError);
  });
}

void Requests::read(int index) {
  platform::Socket& socket = slots_.sockServer(index);
  const long count = socket.read(buffer_, kReadBytes);
  if (count < 0) {
    const int error = socket.lastError();
    if (error == platform::socket_error::kWouldBlock || error == platform::socket_error::kInProgress) return;
    drop(index, "Error occurred durring the read event: Error #", error);
    return;
  }
  Arrivals& arrived = arrivals(index);
  if (count == 0 || arrived.taken) return;
  arrived.pieces.push_back(buffer_);
  // A piece that comes while an earlier one has let events run waits its turn, so the bytes keep their order.
  if (arrived.underWay) return;
  arrived.underWay = true;
  tasks_.spawn(collect(index, arrived.generation));
}

base::Task<> Requests::collect(int index, std::uint64_t generation) {
  ClientRecord& client = slots_.client(index);
  Arrivals& arrived = arrivals(index);
  while (!arrived.pieces.empty()) {
    if (!client.RequestStarted) {
      co_await base::yield(loop_);
      if (!slots_.serves(index, generation)) co_return;
      const std::string& first = arrived.pieces.front();
      client.RequestStarted = first.starts_with(kGet) || first.starts_with(kPost);
    }
    const std::string piece = std::move(arrived.pieces.front());
    arrived.pieces.pop_front();
    if (!client.RequestStarted) continue;
    client.RequestText += piece;
    co_await base::yield(loop_);
    if (!slots_.serves(index, generation)) co_return;

    if (client.RequestText.size() > kMaxRequestBytes) {
      drop(index, kParseError);
      co_return;
    }
    const bool isGet = client.RequestText.starts_with(kGet);
    if (isGet && !client.RequestText.ends_with("\r\n\r\n")) continue;
    client.RequestStarted = false;
    arrived.taken = true;
    arrived.deadline.reset();
    if (isGet) {
      co_await HandleGetRequest(index);
    } else {
      // What came while events ran counts as arrived with the first piece.
      for (const std::string& late : arrived.pieces) client.RequestText += late;
      co_await PostCommand(index);
    }
    co_return;
  }
  arrived.underWay = false;
}

base::Task<> Requests::HandleGetRequest(int index) {
  auto path = parseRequestLine(index, kGet.size());
  if (!path) co_return;
  parseHeaders(index, false);
  if (*path == "/") path = "/index.wml";
  log_.LogLine("Client " + std::to_string(index) + " requested " + *path);
  slots_.client(index).RequestPath = std::move(*path);
  co_await dispatcher_.runGetRoutes(index);
}

base::Task<> Requests::PostCommand(int index) {
  auto path = parseRequestLine(index, kPost.size());
  if (!path) co_return;
  const std::string body = parseHeaders(index, true);
  if (*path == "/") path = "/index.wml";
  log_.LogLine("Client " + std::to_string(index) + " requested " + *path);
  log_.LogLine("Client " + std::to_string(index) + " Post parameters: " + body);
  slots_.client(index).RequestPath = std::move(*path);
  auto decoded = converthexa(body);
  if (!decoded) {
    drop(index, kParseError);
    co_return;
  }
  co_await dispatcher_.runPostRoutes(index, std::move(*decoded));
}

std::optional<std::string> Requests::parseRequestLine(int index, std::size_t methodLength) {
  std::string& text = slots_.client(index).RequestText;
  const auto space = text.find(' ', methodLength);
  if (space == std::string::npos) {
    drop(index, kParseError);
    return std::nullopt;
  }
  std::string path = text.substr(methodLength, space - methodLength);
  text.erase(0, space + 1);

  const auto lineEnd = text.find('\n');
  if (lineEnd == std::string::npos) {
    platform::Socket& socket = slots_.sockServer(index);
    const std::string peer = socket.peerAddress();
    if (slots_.disconnect(index) != 0) {
      log_.LogError("Error occurred durring disconnect: Error #", socket.lastError(), peer,
                    slots_.client(index).SentPos);
    }
    drop(index, kParseError);
    return std::nullopt;
  }
  text.erase(0, lineEnd + 1);
  return path;
}

std::string Requests::parseHeaders(int index, bool endsAtEmptyLine) {
  ClientRecord& client = slots_.client(index);
  const std::string text = std::exchange(client.RequestText, {});
  std::string_view rest = text;
  while (!rest.empty()) {
    const auto lineEnd = rest.find('\n');
    if (lineEnd == std::string_view::npos) return {};
    // kept: the byte before the LF goes with it, whether it is a CR or not.
    const std::string_view line = rest.substr(0, lineEnd == 0 ? 0 : lineEnd - 1);
    rest.remove_prefix(lineEnd + 1);
    if (line.empty() && endsAtEmptyLine) break;
    constexpr std::string_view kAccept = "Accept: ";
    if (line.starts_with(kAccept)) client.AcceptHeader = line.substr(kAccept.size());
  }
  return std::string(rest);
}

void Requests::drop(int index, std::string_view reason, int error) {
  slots_.DropClient(index, reason, error);
  slots_.onStateChanged();
}

}  // namespace kova::server
