#pragma once
#include "app/HostContext.h"
#include "http/Router.h"

namespace Kyr::WbmHost {

// GET /api/audit (administrators): the audit records with filters and paging, as JSON or CSV.
void AddAuditRoutes(Router& router, HostContext& context);

} // namespace Kyr::WbmHost
