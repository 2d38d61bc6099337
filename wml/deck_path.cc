#include "wml/deck_path.h"

#include <algorithm>

namespace kova::wml {

std::string deckPath(const Host& host, const platform::Files& files, const std::string& F) {
  std::string path = host.pageDirectory();
  if (!path.ends_with(files.separator())) path += files.separator();
  return path.append(F, std::min<std::size_t>(1, F.size()));
}

}  // namespace kova::wml
