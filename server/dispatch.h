#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "base/task.h"
#include "server/responses.h"
#include "server/slots.h"

namespace kova::server {

/// What a page builder or query handler is asked for.
struct PageRequest {
  int slot = 0;
  /// Name of the deck to write, in the page directory: "/ocal2.tmp".
  std::string F;
  /// The query behind the "?", or the body of a POST; empty when there is none.
  std::string parameters;
  /// False once the phone has hung up: whoever has waited asks before he writes the deck, since the slot, and
  /// with it the deck's name, may serve somebody else by then.
  std::function<bool()> wanted;
};

/// Writes a deck. Returns a status: greater than 0 when nothing is to be sent for this request.
using PageHandler = std::function<base::Task<int>(PageRequest)>;

/// The generated pages of one route. A handler that is not set makes no deck.
struct Route {
  PageHandler page;    ///< the path without a query
  PageHandler query;   ///< with one
  PageHandler search;  ///< "/ocon" only: a query that begins with "caltp="
};

/// The pages by route name ("ocal").
using RouteTable = std::map<std::string, Route, std::less<>>;

/// Decides which file answers a request, has it built when it is a generated page, and has it sent.
class Dispatcher {
 public:
  /// `image` gives the text of the displayed-image field. Until setRoutes() no route makes a deck.
  Dispatcher(ClientSlots& slots, platform::Files& files, Responses& responses,
             std::function<std::string()> image);

  void setRoutes(RouteTable routes) { routes_ = std::move(routes); }

  /// Answers the GET request whose path is in the client's RequestPath. A query that cannot be decoded drops
  /// the client.
  base::Task<> runGetRoutes(int index);

  /// Likewise for a POST; `body` is already decoded.
  base::Task<> runPostRoutes(int index, std::string body);

 private:
  /// Runs a handler; false when nothing is to be sent any more.
  base::Task<bool> build(int index, std::string_view name, const PageHandler* handler,
                         std::string parameters);
  void answer(int index);

  ClientSlots& slots_;
  platform::Files& files_;
  Responses& responses_;
  RouteTable routes_;
  std::function<std::string()> image_;
};

}  // namespace kova::server
