#include "app/options.h"

#include <string_view>
#include <utility>

namespace kova::app {

std::optional<Options> parseOptions(const std::vector<std::string>& arguments, std::string& error) {
  Options options;
  const std::pair<std::string_view, std::optional<std::string>*> valued[] = {
      {"--home", &options.home},       {"--address", &options.address},
      {"--port", &options.port},       {"--max-clients", &options.maxClients},
      {"--outlook", &options.outlook},
  };
  const std::pair<std::string_view, bool*> flags[] = {
      {"--start", &options.start},
      {"--start-paging", &options.startPaging},
      {"--help", &options.help},
      {"--version", &options.version},
  };

  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string_view argument = arguments[i];
    bool known = false;
    for (const auto& [name, flag] : flags) {
      if (argument != name) continue;
      *flag = true;
      known = true;
    }
    for (const auto& [name, value] : valued) {
      if (argument == name) {
        if (i + 1 == arguments.size()) {
          error = "option " + std::string(name) + " needs a value";
          return std::nullopt;
        }
        *value = arguments[++i];
        known = true;
        break;
      }
      if (argument.starts_with(name) && argument.substr(name.size()).starts_with('=')) {
        *value = argument.substr(name.size() + 1);
        known = true;
        break;
      }
    }
    if (!known) {
      error = "unknown option " + std::string(argument);
      return std::nullopt;
    }
  }
  if (options.outlook && *options.outlook != kOutlookFiles && *options.outlook != kOutlookRunning) {
    error = "option --outlook is either " + std::string(kOutlookFiles) + " or " + kOutlookRunning;
    return std::nullopt;
  }
  return options;
}

std::string usage(const std::string& program) {
  return "usage: " + program +
         " --home DIR [--address A] [--port N] [--max-clients N]\n"
         "         [--outlook SOURCE] [--start] [--start-paging]\n"
         "\n"
         "Serves the owner's calendar, contacts, inbox, tasks and notes to WAP phones.\n"
         "\n"
         "  --home DIR         the program's folder: tarvel_wap.ini lies in it (default: the folder of the "
         "program)\n"
         "  --address A        local IP address to listen on\n"
         "  --port N           TCP port, 1 to 65535\n"
         "  --max-clients N    phones served at once, 0 to 999\n"
         "  --outlook SOURCE   personal data: files (the folders of ordinary files), or outlook (an Outlook "
         "on\n"
         "                     this machine; default where there is one)\n"
         "  --start            start the WAP server\n"
         "  --start-paging     start the paging server\n"
         "  --help             show this text\n"
         "  --version          show the version\n";
}

}  // namespace kova::app
