#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"

namespace kova::server {

/// Files and folders that no phone gets, even where the page directory contains them, however the page
/// directory is written or linked. Links inside the page directory are the owner's own wish and are not
/// looked through.
class PrivatePaths {
 public:
  /// `paths` need not exist; relative ones are meant from the current directory. What another program or a
  /// crash leaves beside a file under its name + ".new" is as private as the file.
  PrivatePaths(const platform::Files& files, const std::vector<std::string>& paths);

  /// True when `name`, which is one of Files::nameBelow, is private inside `pageDirectory`. Asks the file
  /// system only when the page directory is another one than at the last call.
  bool hold(const std::string& pageDirectory, std::string_view name);

 private:
  /// True when `path` is `folder` or lies in it.
  bool within(std::string_view path, std::string_view folder) const;

  const platform::Files& files_;
  std::vector<std::string> paths_;
  std::string pageDirectory_;
  std::string canonicalDirectory_;
  bool anyInside_ = false;
};

}  // namespace kova::server
