#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kova::app {

inline constexpr const char* kOutlookFiles = "files";
inline constexpr const char* kOutlookRunning = "outlook";

/// What the command line asks for.
struct Options {
  std::optional<std::string> home;
  std::optional<std::string> address;
  std::optional<std::string> port;
  std::optional<std::string> maxClients;
  std::optional<std::string> outlook;  ///< where the personal data is: kOutlookFiles or kOutlookRunning
  bool start = false;
  bool startPaging = false;
  bool help = false;
  bool version = false;
};

/// The options as "--name value" or "--name=value". On a bad option the result is empty and `error` says
/// which.
std::optional<Options> parseOptions(const std::vector<std::string>& arguments, std::string& error);

/// The usage text of `program`.
std::string usage(const std::string& program);

}  // namespace kova::app
