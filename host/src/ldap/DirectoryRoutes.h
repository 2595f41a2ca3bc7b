#pragma once
#include "app/HostContext.h"
#include "http/Router.h"

namespace Kyr::WbmHost {

// GET /api/ldap/status and POST /api/ldap/test, for whoever may configure LDAP.
void AddDirectoryRoutes(Router& router, HostContext& context);

} // namespace Kyr::WbmHost
