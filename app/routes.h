#pragma once

#include "launch/center.h"
#include "pop3/accounts.h"
#include "server/dispatch.h"
#include "wml/pages.h"

namespace kova::app {

/// The generated pages behind their routes. All that they are made of must outlive the table.
server::RouteTable makeRoutes(wml::Pages& pages, launch::Center& launchCenter, pop3::Accounts& accounts);

}  // namespace kova::app
