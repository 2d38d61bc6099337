#pragma once

#include <string>
#include <string_view>

namespace kova::server {

/// The routes of the generated pages, in the order in which a request is tried against them.
inline constexpr std::string_view kRouteNames[] = {"oabt", "comd", "pop3", "acal", "atsk", "acon",
                                                   "anot", "ocal", "otsk", "onot", "ocon", "oeml"};

/// Path of the temporary deck that answers a route for a slot: "/ocal2.tmp".
std::string temporaryDeckPath(std::string_view route, int slot);

/// True when a path's last name is that of a temporary deck, in whatever folder.
bool namesTemporaryDeck(std::string_view path);

}  // namespace kova::server
