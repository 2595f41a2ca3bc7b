#pragma once
#include "app/HostContext.h"
#include "http/Router.h"

namespace Kyr::WbmHost {

// The code step of a login (POST /api/login/second-factor), the own second factor
// (/api/second-factor, its enrolment and removal) and the administrators' policy, list and reset.
void AddSecondFactorRoutes(Router& router, HostContext& context);

} // namespace Kyr::WbmHost
