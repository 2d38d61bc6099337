#pragma once

#include "server/dispatch.h"
#include "wml/pages.h"

namespace kova::app {

/// The generated pages behind their routes. `pages` must outlive the table.
server::RouteTable makeRoutes(wml::Pages& pages);

}  // namespace kova::app
