#pragma once
#include "app/HostContext.h"
#include "http/Router.h"

namespace Kyr::WbmHost {

// GET /api/login-banner and GET|POST /api/{DataProvider}/{Function}: requests to the module's data providers.
void AddModuleRoutes(Router& router, HostContext& context);

} // namespace Kyr::WbmHost
