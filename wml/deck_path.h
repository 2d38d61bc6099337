#pragma once

#include <string>

#include "platform/files.h"
#include "wml/host.h"

namespace kova::wml {

/// The full path of a deck in the page directory. `F` is its name as the dispatcher gives it, with a "/" in
/// front ("/ocal2.tmp").
std::string deckPath(const Host& host, const platform::Files& files, const std::string& F);

}  // namespace kova::wml
