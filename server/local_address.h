#pragma once

#include <string>

#include "platform/dialogs.h"
#include "platform/host_lookup.h"

namespace kova::server {

/// This machine's own address in dotted form, as a phone can reach it: the first address of its host name;
/// where the name leads only to the machine itself, the address of the interface that holds the default
/// route. Empty when it cannot be found, which a message box tells.
std::string GetLocalAddress(platform::HostLookup& lookup, platform::Dialogs& dialogs);

}  // namespace kova::server
