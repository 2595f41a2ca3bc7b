#pragma once
#include "app/HostContext.h"
#include "http/Router.h"

namespace Kyr::WbmHost {

// "/" (to the login page), /pages/{PageName} (registered pages, permission by their handler) and
// every other GET as a static file below the web root.
void AddPageRoutes(Router& router, HostContext& context);

} // namespace Kyr::WbmHost
