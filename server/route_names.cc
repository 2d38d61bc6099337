#include "server/route_names.h"

#include <algorithm>

namespace kova::server {

namespace {

constexpr std::string_view kEnding = ".tmp";

}  // namespace

std::string temporaryDeckPath(std::string_view route, int slot) {
  return std::string("/").append(route).append(std::to_string(slot)).append(kEnding);
}

bool namesTemporaryDeck(std::string_view path) {
  const auto separator = path.find_last_of("/\\");
  std::string_view name = separator == std::string_view::npos ? path : path.substr(separator + 1);
  if (!name.ends_with(kEnding)) return false;
  name.remove_suffix(kEnding.size());
  for (const std::string_view route : kRouteNames) {
    if (!name.starts_with(route)) continue;
    const std::string_view number = name.substr(route.size());
    return !number.empty() &&
           std::all_of(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; });
  }
  return false;
}

}  // namespace kova::server
