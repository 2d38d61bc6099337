#pragma once

#include <memory>

#include "platform/local_outlook/local_outlook.h"
#include "platform/outlook.h"

namespace kova::platform::local_outlook {

/// A new unsaved item of a kind, which save() puts into its folder as a file of its own.
std::unique_ptr<outlook::Item> makeNewItem(outlook::ItemNumber number, const Folders& folders,
                                           const Log& log);

}  // namespace kova::platform::local_outlook
