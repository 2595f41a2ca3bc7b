#pragma once
#include "app/HostContext.h"
#include "http/Router.h"

namespace Kyr::WbmHost {

// POST /api/login, POST /api/logout, GET /api/session.
void AddSessionRoutes(Router& router, HostContext& context);

} // namespace Kyr::WbmHost
