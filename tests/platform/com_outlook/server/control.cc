#include "platform/com_outlook/server/control.h"

#include <windows.h>

#include <fstream>
#include <utility>

namespace kova::test_outlook {

Control::Control(std::filesystem::path file) : file_(std::move(file)) {
  if (!file_.empty()) std::ofstream(std::filesystem::path(file_) += ".pid") << GetCurrentProcessId();
}

std::optional<std::string> Control::order(std::string_view verb, std::string_view member) const {
  if (file_.empty()) return std::nullopt;
  std::string start(verb);
  if (!member.empty()) start.append(" ").append(member);
  std::ifstream file(file_);
  for (std::string line; std::getline(file, line);) {
    if (line == start) return "";
    if (line.starts_with(start + " ")) return line.substr(start.size() + 1);
  }
  return std::nullopt;
}

}  // namespace kova::test_outlook
