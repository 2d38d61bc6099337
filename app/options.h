#pragma once

#include <optional>
#include <span>
#include <string>

namespace kova::app {

/// What the command line asks for.
struct Options {
  std::optional<std::string> home;
  std::optional<std::string> address;
  std::optional<std::string> port;
  std::optional<std::string> maxClients;
  bool start = false;
  bool startPaging = false;
  bool help = false;
  bool version = false;
};

/// The options as "--name value" or "--name=value". On a bad option the result is empty and `error` says
/// which.
std::optional<Options> parseOptions(std::span<const char* const> arguments, std::string& error);

/// The usage text of `program`.
std::string usage(const std::string& program);

}  // namespace kova::app
