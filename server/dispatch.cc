#include "server/dispatch.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "server/requests.h"
#include "server/route_names.h"

namespace kova::server {

namespace {

/// Whose query is percent-decoded; the others read theirs as it came.
bool decodesQuery(std::string_view route) {
  static constexpr std::string_view kDecoding[] = {"comd", "pop3", "acal", "atsk", "acon", "anot"};
  return std::find(std::begin(kDecoding), std::end(kDecoding), route) != std::end(kDecoding);
}

// In the order in which they are tried.
constexpr std::string_view kPostRoutes[] = {"ocal", "atsk", "acon", "anot", "acal", "ocon", "onot"};

constexpr std::string_view kSearchQuery = "?caltp=";

bool isRoute(std::string_view path, std::string_view name) {
  return path.starts_with('/') && path.substr(1).starts_with(name);
}

}  // namespace

Dispatcher::Dispatcher(ClientSlots& slots, platform::Files& files, Responses& responses,
                       std::function<std::string()> image)
    : slots_(slots), files_(files), responses_(responses), image_(std::move(image)) {}

base::Task<> Dispatcher::runGetRoutes(int index) {
  ClientRecord& client = slots_.client(index);
  std::string path = client.RequestPath;

  if (path.starts_with("oimg")) path.insert(0, "/");
  if (path.starts_with("/oimg")) {
    client.RequestPath = image_();
    const bool absolute = client.RequestPath.starts_with(files_.separator()) ||
                          client.RequestPath.find(':') != std::string::npos;
    client.Kind = absolute ? PathKind::kImage : PathKind::kRequested;
    answer(index);
    co_return;
  }

  for (const std::string_view route : kRouteNames) {
    if (path.starts_with(route)) path.insert(0, "/");
    if (!isRoute(path, route)) continue;

    const std::string_view rest = std::string_view(path).substr(1 + route.size());
    const Route& handlers = routes_[std::string(route)];
    const PageHandler* handler = &handlers.page;
    std::string parameters;
    if (rest.starts_with('?')) {
      handler = handlers.search && rest.starts_with(kSearchQuery) ? &handlers.search : &handlers.query;
      std::string whole = path;
      if (decodesQuery(route)) {
        auto decoded = converthexa(path);
        if (!decoded) {
          slots_.DropClient(index, kParseError);
          slots_.onStateChanged();
          co_return;
        }
        whole = std::move(*decoded);
      }
      parameters = whole.substr(whole.find('?') + 1);
    }
    const bool send = co_await build(index, route, handler, std::move(parameters));
    if (send) answer(index);
    co_return;
  }

  client.RequestPath = path;
  answer(index);
}

base::Task<> Dispatcher::runPostRoutes(int index, std::string body) {
  const std::string path = slots_.client(index).RequestPath;
  for (const std::string_view name : kPostRoutes) {
    if (!isRoute(path, name)) continue;
    const Route& handlers = routes_[std::string(name)];
    const PageHandler* handler = name == "ocon" ? &handlers.search : &handlers.query;
    const bool send = co_await build(index, name, handler, std::move(body));
    if (send) answer(index);
    co_return;
  }
  answer(index);
}

base::Task<bool> Dispatcher::build(int index, std::string_view name, const PageHandler* handler,
                                   std::string parameters) {
  PageRequest request;
  request.slot = index;
  request.F = temporaryDeckPath(name, index);
  request.parameters = std::move(parameters);
  const std::uint64_t generation = slots_.generation(index);
  request.wanted = [this, index, generation] { return slots_.serves(index, generation); };

  ClientRecord& client = slots_.client(index);
  client.RequestPath = request.F;
  client.Kind = PathKind::kTemporaryDeck;
  client.TemporaryDeck = responses_.inPageDirectory(request.F);
  // What a crash has left under this name answers nobody.
  files_.remove(client.TemporaryDeck);
  int status = 0;
  if (*handler) {
    status = co_await (*handler)(std::move(request));
  }
  co_return status <= 0 && slots_.serves(index, generation);
}

void Dispatcher::answer(int index) {
  responses_.WriteResponseHeaders(index);
  ClientRecord& client = slots_.client(index);
  // A page that could not be built is told in words; a file that is missing is not.
  if (client.Kind == PathKind::kTemporaryDeck && client.RequestState == kMissingHeaderQueued) {
    client.RequestState = kSendingNotFoundText;
  }
  responses_.SendResponse(index);
}

}  // namespace kova::server
