#include "server/private_paths.h"

#include <algorithm>

namespace kova::server {

namespace {

std::string joined(std::string folder, std::string_view name, char separator) {
  if (!folder.ends_with(separator)) folder += separator;
  return folder.append(name);
}

}  // namespace

PrivatePaths::PrivatePaths(const platform::Files& files, const std::vector<std::string>& paths)
    : files_(files) {
  const char separators[] = {'/', files.separator(), '\0'};
  const std::string beside = files.nameBelow(".new").value_or("");
  for (const std::string& path : paths) {
    std::vector<std::string> names = {files.canonical(path)};
    // A link is private under its own name as well.
    const std::string own = path.substr(0, path.find_last_not_of(separators) + 1);
    const auto nameAt = own.find_last_of(separators) + 1;
    if (const auto name = files.nameBelow(std::string_view(own).substr(nameAt)))
      names.push_back(joined(files.canonical(own.substr(0, nameAt).append(".")), *name, files.separator()));
    for (const std::string& each : names) {
      paths_.push_back(each);
      paths_.push_back(each + beside);
    }
  }
}

bool PrivatePaths::within(std::string_view path, std::string_view folder) const {
  if (!path.starts_with(folder)) return false;
  return path.size() == folder.size() || folder.ends_with(files_.separator()) ||
         path[folder.size()] == files_.separator();
}

bool PrivatePaths::hold(const std::string& pageDirectory, std::string_view name) {
  if (pageDirectory != pageDirectory_ || canonicalDirectory_.empty()) {
    pageDirectory_ = pageDirectory;
    canonicalDirectory_ = files_.canonical(pageDirectory);
    anyInside_ = std::any_of(paths_.begin(), paths_.end(), [this](const std::string& each) {
      return within(each, canonicalDirectory_) || within(canonicalDirectory_, each);
    });
  }
  if (!anyInside_) return false;
  const std::string full = joined(canonicalDirectory_, name, files_.separator());
  return std::any_of(paths_.begin(), paths_.end(),
                     [this, &full](const std::string& each) { return within(full, each); });
}

}  // namespace kova::server
