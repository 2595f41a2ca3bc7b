#pragma once
#include <httplib.h>

#include "HostContext.h"

namespace Kyr::WbmHost {

// "/" (to the login page), /pages/{PageName} (registered pages, permission by their handler) and
// every other GET as a static file below the web root.
void InstallPageRoutes(httplib::Server& server, HostContext& context);

} // namespace Kyr::WbmHost
