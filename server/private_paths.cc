#include "server/private_paths.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace kova::server {

namespace {

namespace fs = std::filesystem;

/// Absolute, with links, "." and ".." resolved as far as the path exists, and without a separator at its end.
std::string resolved(const fs::path& path) {
  std::error_code error;
  fs::path full = fs::weakly_canonical(fs::absolute(path, error), error);
  if (error) full = path.lexically_normal();
  if (!full.has_filename() && full.has_relative_path()) full = full.parent_path();
  return full.string();
}

/// True when `path` is `folder` or lies in it.
bool within(const std::string& path, const std::string& folder) {
  if (!path.starts_with(folder)) return false;
  return path.size() == folder.size() || folder.ends_with(fs::path::preferred_separator) ||
         path[folder.size()] == fs::path::preferred_separator;
}

}  // namespace

PrivatePaths::PrivatePaths(const std::vector<std::string>& paths) {
  for (const fs::path path : paths) {
    const std::string target = resolved(path);
    // A link is private under its own name as well.
    const std::string name =
        resolved(path.parent_path()) + fs::path::preferred_separator + path.filename().string();
    for (const std::string& each : {target, name}) {
      paths_.push_back(each);
      paths_.push_back(each + ".new");
    }
  }
}

bool PrivatePaths::hold(const std::string& pageDirectory, std::string_view path) {
  if (pageDirectory != pageDirectory_ || canonicalDirectory_.empty()) {
    pageDirectory_ = pageDirectory;
    canonicalDirectory_ = resolved(pageDirectory);
    anyInside_ = std::any_of(paths_.begin(), paths_.end(), [this](const std::string& each) {
      return within(each, canonicalDirectory_) || within(canonicalDirectory_, each);
    });
  }
  if (!anyInside_) return false;
  while (!path.empty() && (path.front() == '/' || path.front() == '\\')) path.remove_prefix(1);
  const std::string full = (fs::path(canonicalDirectory_) / path).lexically_normal().string();
  return std::any_of(paths_.begin(), paths_.end(),
                     [&full](const std::string& each) { return within(full, each); });
}

}  // namespace kova::server
