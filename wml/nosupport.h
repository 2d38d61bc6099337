#pragma once

#include <string>

#include "platform/files.h"

namespace kova::wml {

/// Writes the deck for a phone that cannot show the file it asked for. False when it could not be written.
bool writeNoSupportDeck(platform::Files& files, const std::string& path);

}  // namespace kova::wml
